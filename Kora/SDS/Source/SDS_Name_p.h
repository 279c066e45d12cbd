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
#include "Kora/SDS/Source/SDS_PathHash_p.h"

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
    static constexpr std::size_t cMaxLength = 31; // of the name, in bytes
    static constexpr std::size_t cEnding = 32;

    // The last bytes of the path from the root, each name with a slash before it; zeros before a shorter one, and one
    // behind. So most paths are compared in one go, without the nodes above.
    char mEnding[cEnding + 1] = {};
    Cmn_UInt8 mIndexInBlock = 0;
    Cmn_UInt8 mLength : 5 = 0; // of the name, in bytes
    Cmn_UInt8 mIsLive : 1 = 0;
    Cmn_UInt32 mHashBelow = SDS_PathHash::cStart; // where those of the nodes below begin
    SDS_Name* mParent = nullptr;
    // The dispatcher's. Null in a node that nobody has listened to.
    std::atomic<SDS_ActiveListenerList*> mActiveList{nullptr};
    SDS_NameAudience* mAudience = nullptr;

    void SetName(SDS_Name& ioParent, std::string_view iName, Cmn_UInt32 iHash);
    const char* GetEnd() const { return mEnding + cEnding; }
    // With a zero behind.
    const char* GetText() const { return GetEnd() - mLength; }
    char* GetText() { return mEnding + cEnding - mLength; }
    std::string_view GetName() const { return {GetText(), mLength}; }
    // Of its path.
    Cmn_UInt32 GetHash() const { return SDS_PathHash::WithoutSlash(mHashBelow); }
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

// Of one to 31 bytes. Neither the parent's path nor the hash changes while the node has it.
inline void SDS_Name::SetName(SDS_Name& ioParent, std::string_view iName, Cmn_UInt32 iHash)
{
    const std::size_t kept = cEnding - 1 - iName.size();
    std::memcpy(mEnding, ioParent.GetEnd() - kept, kept);
    mEnding[kept] = '/';
    std::memcpy(mEnding + kept + 1, iName.data(), iName.size());
    mLength = iName.size() & cMaxLength;
    mHashBelow = SDS_PathHash::WithSlash(iHash);
    mParent = &ioParent;
}

// False, and nothing changes, at 32767.
bool SDS_NameAddReference(SDS_Name& ioName);
// Frees the node, and its parents in turn, when nobody holds them any more.
void SDS_NameRelease(SDS_Name& ioName);
// False when there is no memory for it. Kept until the node is freed.
bool SDS_NameEnsureAudience(SDS_Name& ioName);
// Takes the listeners off a node that is being freed. The dispatcher's.
void SDS_DetachListeners(SDS_Name& ioName);
