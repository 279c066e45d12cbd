// SDS_DeliveryElement: what carries a copy of a token to one listener: a header of 48
// bytes, and the copy behind it.
//
// An element is at one place at a time, and whoever holds that place alone touches it:
//
//   pool ─▶ producer ─▶ inbound queue ─▶ pending list ─▶ in hand ─▶ pool
//                   └─▶ mailbox ────────────┘
//
// Each element on its way holds one use of the list that it was dispatched from, so
// its active listener lives.
#pragma once

#include "Kora/SDS/FicInterface/SDS_Token.h"
#include "OstrelPlatformSupport/PSAtomicStructures.h"

class SDS_ActiveListenerList;
struct SDS_ActiveListener;

struct SDS_DeliveryElement : PSAtomicQueueLink // next in the inbound queue, then in the pending list
{
    enum class Kind : Cmn_UInt8 {
        eToken,
        eMailbox // no token: says that the mailbox of mActiveListener has one
    };

    SDS_DeliveryElement*
        mPrevious; // in the inbound queue a hint, which is never followed; then in the pending list
    SDS_ActiveListener* mActiveListener;
    SDS_ActiveListenerList* mList;
    Cmn_UInt64 mNumber; // its place in the order of the task's queue
    Kind mKind;
    bool mIsLatest; // while pending: newer ones drop it

    SDS_DeliveryElement* GetNext() const { return static_cast<SDS_DeliveryElement*>(mNext); }
    SDS_Token* GetToken() { return reinterpret_cast<SDS_Token*>(this + 1); }
    static SDS_DeliveryElement* OfToken(SDS_Token& iToken) { return iToken.element; }
};

static_assert(sizeof(void*) != 8 || sizeof(SDS_DeliveryElement) == 48);
