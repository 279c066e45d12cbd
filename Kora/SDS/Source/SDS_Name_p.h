// SDS_Name: a node of the name tree.
//
//                 first ReserveName        counts at 0         the oldest free cell is needed
//   (none) ──────▶ live ──────────────────▶ dormant ───────────▶ recycled for another name
//                   ◀── the same name under the same parent ──┘
//
//   live      on its parent's live list (newest first), which it holds by a reference
//   dormant   on its parent's dormant list (newest first) and at its place in the free list; name,
//             identity and its own dormant children are kept, its object is not. Its parent is null
//             once that has been recycled
//
// Invariants: (1) a node is found by its parent and name in the table while it has a parent, live or dormant
//             (2) a live node's parent is live  (3) counts never pass 32767.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"

#include <atomic>
#include <cstring>

class SDS_ActiveListenerList;
class SDS_TokenListener;
struct SDS_Name;

// An undirected connection, threaded through the lists of both of its nodes, newest first.
struct SDS_ConnectionRecord
{
    SDS_Name* mA;
    SDS_ConnectionRecord* mNextOfA;
    SDS_Name* mB;
    SDS_ConnectionRecord* mNextOfB;
    SDS_ConnectionRecord* mPreviousOfA;
    SDS_ConnectionRecord* mPreviousOfB;

    SDS_Name* OtherThan(const SDS_Name* iName) const { return mA == iName ? mB : mA; }
    SDS_ConnectionRecord*& NextOf(const SDS_Name* iName) { return mA == iName ? mNextOfA : mNextOfB; }
    SDS_ConnectionRecord*& PreviousOf(const SDS_Name* iName)
    {
        return mA == iName ? mPreviousOfA : mPreviousOfB;
    }
};

// A node's place in the list of those whose rebuild waits.
struct SDS_NameListElement
{
    SDS_Name* mName = nullptr;
    SDS_NameListElement* mNext = nullptr;
    SDS_NameListElement* mPrevious = nullptr;
    bool mQueued = false;
};

// A name of at most 31 characters, filled up with zeros, so that it is compared and hashed by words.
struct SDS_NameText
{
    static constexpr unsigned cMaxLength = 31;

    Cmn_UInt64 mWords[4] = {};

    char* Text() { return reinterpret_cast<char*>(mWords); }
    const char* Text() const { return reinterpret_cast<const char*>(mWords); }
    // Word by word: a text that was just put together comes from registers then.
    bool operator==(const SDS_NameText& iOther) const
    {
        return mWords[0] == iOther.mWords[0] && mWords[1] == iOther.mWords[1] &&
               mWords[2] == iOther.mWords[2] && mWords[3] == iOther.mWords[3];
    }
};

struct alignas(64) SDS_Name
{
    // What a look-up reads.
    SDS_NameText mText;
    SDS_Name* mParent = nullptr;
    SDS_Name* mNextInTable = nullptr;
    Cmn_UInt32 mHash = 0;
    Cmn_Int16 mReserveCount = 0;
    Cmn_Int16 mReferenceCount = 0;
    Cmn_UInt8 mVisited = 0; // while a closure is walked
    bool mIsLive = false;

    // In the parent's list, live or dormant.
    SDS_Name* mNext = nullptr;
    SDS_Name* mPrevious = nullptr;
    SDS_Name* mLiveChildren = nullptr;
    SDS_Name* mDormantChildren = nullptr;
    SDS_ConnectionRecord* mConnections = nullptr;
    // A dormant node has no object, and stands in the free list.
    void* mObject = nullptr;
    SDS_Name* mNextFree = nullptr;
    SDS_Name* mPreviousFree = nullptr;

    // The dispatcher's. Null in a node that nobody has listened to.
    std::atomic<SDS_ActiveListenerList*> mActiveList{nullptr};
    SDS_TokenListener* mFirstListener = nullptr;
    SDS_TokenListener* mLastListener = nullptr;
    Cmn_Int32 mListenerCount = 0;
    SDS_NameListElement mBatchElement;
};

// False, and nothing changes, at 32767.
bool SDS_NameAddReference(SDS_Name& ioName);
// Frees the node, and its parents in turn, when nobody holds them any more.
void SDS_NameRelease(SDS_Name& ioName);
// Takes the listeners off a node that is being freed. The dispatcher's.
void SDS_DetachListeners(SDS_Name& ioName);
