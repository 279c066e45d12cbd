// SDS_DispatcherState: what the dispatcher keeps for the process; it lives until the process ends.
#pragma once

#include "Kora/SDS/Source/SDS_DeliveryQueue_p.h"
#include "Kora/SDS/Source/SDS_TokenDispatcher.h"

struct SDS_NameListElement;

// Nodes whose rebuild waits for the end of a pause.
struct SDS_BatchList
{
    SDS_NameListElement* mFirst = nullptr;
    SDS_NameListElement* mLast = nullptr;
    Cmn_Int32 mCount = 0;
};

// As a node's list of listeners.
struct SDS_GlobalListeners
{
    SDS_TokenListener* mFirstListener = nullptr;
    SDS_TokenListener* mLastListener = nullptr;
    Cmn_Int32 mListenerCount = 0;
};

struct SDS_DispatcherState
{
    // Written once, by Init, before other threads come.
    inline static IPSSyncPrim* fCS = nullptr;
    inline static SDS_TokenPool* fTokenPool = nullptr;
    // Any thread.
    inline static std::atomic<Cmn_UInt32> fTokenPoolGrowCount{0};
    inline static std::atomic<SDS_TokenDispatcher::TokenFilter> fTokenFilter{nullptr};
    inline static std::atomic<void (*)()> fInterleavingHook{nullptr};
    // Written under the section, read by any thread.
    inline static std::atomic<Cmn_Int32> fTokensPausedCount{0};
    inline static std::atomic<SDS_ActiveListenerList*> fActiveGlobalListeners{nullptr};
    // Under the section.
    inline static SDS_GlobalListeners fGlobalListeners;
    inline static SDS_ActiveListenerList* fListsToFree = nullptr;
    inline static SDS_BatchList fBatchRebuildActiveListenerList;
};
