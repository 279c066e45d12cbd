// SDS_Name: a node of the name tree.
//
//                 first ReserveName        nobody holds it     the oldest free cell is needed
//   (none) ──────▶ live ──────────────────▶ dormant ───────────▶ recycled for another name
//                   ◀── the same name under the same parent ──┘
//
//   live      on its parent's list of children (newest first), which holds the parent
//   dormant   at its place in the free list; its name and identity are kept, its object is not
//
// Invariants: (1) a node is in the table, by its parent and name, from its making until it is recycled
//             (2) a live node's parent is live  (3) counts never pass 32767
//             (4) what is dormant below a dormant node was freed before it, and so is recycled
//                 before it: a cell that is recycled has nothing below it, and the parent of a
//                 dormant node is there still.
// Layout:     a node is one line of the cache, which is written when the node is made, freed, or
//             heard by others; what changes more often lies behind the block's nodes, what few nodes
//             need in a record of its own.
// Threads:    producers read mActiveList at any time; everything else belongs to whoever uses the registry.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"

#include <atomic>
#include <bit>
#include <cstddef>
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

// Of a node that has, or had in its present life, listeners or connections.
struct SDS_NameAudience
{
    SDS_ConnectionRecord* mConnections = nullptr;
    SDS_TokenListener* mFirstListener = nullptr;
    SDS_TokenListener* mLastListener = nullptr;
    Cmn_Int32 mListenerCount = 0;
    SDS_NameListElement mBatchElement;
    SDS_NameAudience* mNextFree = nullptr;
};

// A name of at most 31 characters, filled up with zeros, so that it is compared and hashed by words.
struct SDS_NameText
{
    static constexpr unsigned cMaxLength = 31;

    Cmn_UInt64 mWords[4] = {};

    char* Text() { return reinterpret_cast<char*>(mWords); }
    const char* Text() const { return reinterpret_cast<const char*>(mWords); }
    // In bytes.
    std::size_t Length() const
    {
        std::size_t last = 0;
        while (last < 3 && mWords[last + 1] != 0)
            ++last;
        return 8 * last + (static_cast<std::size_t>(std::bit_width(mWords[last])) + 7) / 8;
    }
    // Word by word: a text that was just put together comes from registers then.
    bool operator==(const SDS_NameText& iOther) const
    {
        return mWords[0] == iOther.mWords[0] && mWords[1] == iOther.mWords[1] &&
               mWords[2] == iOther.mWords[2] && mWords[3] == iOther.mWords[3];
    }
};

// A node's place among its siblings, or in the free list, and who holds it.
struct SDS_NameLinks
{
    SDS_Name* mNext = nullptr;
    SDS_Name* mPrevious = nullptr;
    SDS_Name* mLiveChildren = nullptr;
    void* mObject = nullptr;
    Cmn_Int16 mReserveCount = 0;
    Cmn_Int16 mReferenceCount = 0; // without the children, whose list says enough
    Cmn_UInt8 mVisited = 0;        // while a closure is walked
};

struct alignas(64) SDS_Name
{
    static constexpr Cmn_UInt32 cLastGeneration = (1u << 23) - 1;

    SDS_NameText mText;
    SDS_Name* mParent = nullptr;
    // The dispatcher's. Null in a node that nobody has listened to.
    std::atomic<SDS_ActiveListenerList*> mActiveList{nullptr};
    SDS_NameAudience* mAudience = nullptr;
    Cmn_UInt32 mHash = 0; // the sum of the path from the root, with a slash behind each name
    Cmn_UInt32 mIndexInBlock : 8 = 0;
    Cmn_UInt32 mIsLive : 1 = 0;
    // How often the cell was recycled; it stops at the last one.
    Cmn_UInt32 mGeneration : 23 = 0;

    SDS_NameLinks& Links();
    SDS_ConnectionRecord* Connections() const { return mAudience ? mAudience->mConnections : nullptr; }
    bool IsQueued() const { return mAudience != nullptr && mAudience->mBatchElement.mQueued; }
};

struct SDS_NameBlock
{
    static constexpr unsigned cNames = 256;

    SDS_Name mNames[cNames];
    SDS_NameLinks mLinks[cNames];
};

static_assert(sizeof(SDS_Name) == 64);
static_assert(sizeof(SDS_NameBlock) == SDS_NameBlock::cNames * (64 + 40));

// A node's links are found by its index, since every node lies in a block.
inline SDS_NameLinks& SDS_Name::Links()
{
    return reinterpret_cast<SDS_NameBlock*>(this - mIndexInBlock)->mLinks[mIndexInBlock];
}

// False, and nothing changes, at 32767.
bool SDS_NameAddReference(SDS_Name& ioName);
// Frees the node, and its parents in turn, when nobody holds them any more.
void SDS_NameRelease(SDS_Name& ioName);
// False when there is no memory for it. Kept until the node is freed.
bool SDS_NameEnsureAudience(SDS_Name& ioName);
// Takes the listeners off a node that is being freed. The dispatcher's.
void SDS_DetachListeners(SDS_Name& ioName);
