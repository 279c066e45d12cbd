#include "Kora/SDS/Source/SDS_NameStore_p.h"

#include "Kora/SDS/Source/SDS_TokenDispatcher.h"
#include "Kora/SDS/Source/SDS_TokenTracker.h"

#include <bit>
#include <new>
#include <utility>

namespace {

struct FreeList
{
    SDS_Name* mOldest = nullptr;
    SDS_Name* mNewest = nullptr;
};

// All of it belongs to whoever uses the registry, one thread at a time.
std::size_t sCellCount = 0;
SDS_Name* sBlockCursor = nullptr;
SDS_Name* sBlockEnd = nullptr;
FreeList sFree;
SDS_ConnectionRecord* sFreeRecords = nullptr; // linked through mNextOfA

void PutInTable(SDS_Name& ioName)
{
    SDS_Name*& chain = SDS_NameStore::ChainOf(ioName.mHash);
    ioName.mNextInTable = chain;
    chain = &ioName;
}

void TakeFromTable(SDS_Name& ioName)
{
    SDS_Name** link = &SDS_NameStore::ChainOf(ioName.mHash);
    while (*link != &ioName)
        link = &(*link)->mNextInTable;
    *link = ioName.mNextInTable;
}

// A table for so many cells, with four chains for each: a second name in a chain is a branch that nobody can
// foresee. False when there is no memory.
bool GrowTable(std::size_t iCells)
{
    const std::size_t size = std::bit_ceil(4 * iCells);
    const std::size_t sizeBefore = SDS_NameStore::sTable != nullptr ? SDS_NameStore::sTableMask + 1 : 0;
    if (size <= sizeBefore) return true;
    SDS_Name** const table = new (std::nothrow) SDS_Name*[size]();
    if (table == nullptr) return false;
    SDS_Name** const before = std::exchange(SDS_NameStore::sTable, table);
    SDS_NameStore::sTableMask = size - 1;
    for (std::size_t i = 0; i < sizeBefore; ++i) {
        for (SDS_Name* name = before[i]; name != nullptr;) {
            SDS_Name* const next = name->mNextInTable;
            PutInTable(*name);
            name = next;
        }
    }
    delete[] before;
    return true;
}

bool AddBlock(unsigned iCells)
{
    if (!GrowTable(sCellCount + iCells)) return false;
    void* const memory =
        ::operator new (sizeof(SDS_Name) * iCells, std::align_val_t{alignof(SDS_Name)}, std::nothrow);
    if (memory == nullptr) return false;
    sBlockCursor = static_cast<SDS_Name*>(memory);
    sBlockEnd = sBlockCursor + iCells;
    sCellCount += iCells;
    return true;
}

SDS_Name* CarveCell()
{
    if (sBlockCursor == sBlockEnd && !AddBlock(SDS_NameStore::cLaterBlock)) return nullptr;
    return new (sBlockCursor++) SDS_Name;
}

void PushFront(SDS_Name*& ioList, SDS_Name& ioName)
{
    ioName.mPrevious = nullptr;
    ioName.mNext = ioList;
    if (ioList != nullptr) ioList->mPrevious = &ioName;
    ioList = &ioName;
}

void Unlink(SDS_Name*& ioList, SDS_Name& ioName)
{
    (ioName.mPrevious != nullptr ? ioName.mPrevious->mNext : ioList) = ioName.mNext;
    if (ioName.mNext != nullptr) ioName.mNext->mPrevious = ioName.mPrevious;
    ioName.mNext = ioName.mPrevious = nullptr;
}

void AppendFree(SDS_Name& ioName)
{
    ioName.mNextFree = nullptr;
    ioName.mPreviousFree = sFree.mNewest;
    (sFree.mNewest != nullptr ? sFree.mNewest->mNextFree : sFree.mOldest) = &ioName;
    sFree.mNewest = &ioName;
}

void TakeFromFree(SDS_Name& ioName)
{
    (ioName.mPreviousFree != nullptr ? ioName.mPreviousFree->mNextFree : sFree.mOldest) = ioName.mNextFree;
    (ioName.mNextFree != nullptr ? ioName.mNextFree->mPreviousFree : sFree.mNewest) = ioName.mPreviousFree;
    ioName.mNextFree = ioName.mPreviousFree = nullptr;
}

// The cell of the node that was freed first, out of all lists; null when none is free.
SDS_Name* RecycleOldest()
{
    SDS_Name* const name = sFree.mOldest;
    if (name == nullptr) return nullptr;
    TakeFromFree(*name);
    if (name->mParent != nullptr) {
        Unlink(name->mParent->mDormantChildren, *name);
        TakeFromTable(*name);
    }
    // Nothing leads to its dormant children any more.
    for (SDS_Name* child = name->mDormantChildren; child != nullptr;) {
        SDS_Name* const next = child->mNext;
        TakeFromTable(*child);
        child->mParent = child->mNext = child->mPrevious = nullptr;
        child = next;
    }
    name->mDormantChildren = nullptr;
    return name;
}

void Initialise(SDS_Name& ioName)
{
    ioName.mReserveCount = ioName.mReferenceCount = 0;
    ioName.mVisited = 0;
    ioName.mIsLive = true;
    ioName.mLiveChildren = nullptr;
    ioName.mConnections = nullptr;
    ioName.mObject = nullptr;
    ioName.mFirstListener = ioName.mLastListener = nullptr;
    ioName.mListenerCount = 0;
    ioName.mBatchElement = {&ioName, nullptr, nullptr, false};
}

void MakeDormant(SDS_Name& ioName)
{
    SDS_TokenTracker::NameAboutToBeFreed(&ioName, ioName.mText.Text());
    SDS_DetachListeners(ioName);
    SDS_TokenDispatcher::TakeOffBatchList(ioName);
    // Before the cell can be used anew.
    static_cast<void>(SDS_TokenDispatcher::FreeActiveListenerList(&ioName));
    Unlink(ioName.mParent->mLiveChildren, ioName);
    PushFront(ioName.mParent->mDormantChildren, ioName);
    ioName.mIsLive = false;
    ioName.mObject = nullptr;
    AppendFree(ioName);
}

} // namespace

bool SDS_NameAddReference(SDS_Name& ioName)
{
    if (ioName.mReferenceCount >= SDS_NameStore::cMaxCount) return false;
    ++ioName.mReferenceCount;
    return true;
}

void SDS_NameRelease(SDS_Name& ioName)
{
    --ioName.mReferenceCount;
    SDS_NameStore::FreeUnlessHeld(&ioName);
}

bool SDS_NameStore::Init() { return AddBlock(cFirstBlock); }

SDS_Name* SDS_NameStore::Create(SDS_Name& ioParent, const SDS_NameText& iText, Cmn_UInt32 iHash)
{
    if (ioParent.mReferenceCount >= cMaxCount) return nullptr;
    SDS_Name* name = Find(ioParent, iText, iHash);
    if (name != nullptr) {
        Unlink(ioParent.mDormantChildren, *name);
        TakeFromFree(*name);
    } else {
        name = RecycleOldest();
        if (name == nullptr) name = CarveCell();
        if (name == nullptr) return nullptr;
        name->mText = iText;
        name->mParent = &ioParent;
        name->mHash = iHash;
        PutInTable(*name);
    }
    Initialise(*name);
    ++ioParent.mReferenceCount;
    PushFront(ioParent.mLiveChildren, *name);
    return name;
}

SDS_Name* SDS_NameStore::CreateRoot()
{
    SDS_Name* const root = CarveCell();
    if (root == nullptr) return nullptr;
    Initialise(*root);
    root->mReferenceCount = 1;
    return root;
}

void SDS_NameStore::FreeUnlessHeld(SDS_Name* ioName)
{
    while (ioName->mIsLive && ioName->mReserveCount <= 0 && ioName->mReferenceCount <= 0 &&
           ioName->mParent != nullptr)
    {
        SDS_Name* const parent = ioName->mParent;
        MakeDormant(*ioName);
        --parent->mReferenceCount;
        ioName = parent;
    }
}

SDS_ConnectionRecord* SDS_NameStore::CreateRecord()
{
    if (sFreeRecords == nullptr) {
        SDS_ConnectionRecord* const block = new (std::nothrow) SDS_ConnectionRecord[cRecordBlock]();
        if (block == nullptr) return nullptr;
        for (unsigned i = 0; i < cRecordBlock; ++i)
            FreeRecord(&block[i]);
    }
    SDS_ConnectionRecord* const record = sFreeRecords;
    sFreeRecords = record->mNextOfA;
    return record;
}

void SDS_NameStore::FreeRecord(SDS_ConnectionRecord* ioRecord)
{
    ioRecord->mNextOfA = sFreeRecords;
    sFreeRecords = ioRecord;
}
