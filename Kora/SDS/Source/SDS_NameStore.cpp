#include "Kora/SDS/Source/SDS_NameStore_p.h"

#include "Kora/SDS/Source/SDS_PathReader_p.h"
#include "Kora/SDS/Source/SDS_TokenDispatcher.h"
#include "Kora/SDS/Source/SDS_TokenTracker.h"

#include <new>
#include <utility>

namespace {

struct FreeList
{
    SDS_Name* mOldest = nullptr;
    SDS_Name* mNewest = nullptr;
};

// All of it belongs to whoever uses the registry, one thread at a time.
SDS_NameBlock* sBlock = nullptr; // its memory; a node is made when its cell is taken
unsigned sBlockCursor = 0;
SDS_NameBlock* sBlocksEnd = nullptr;
FreeList sFree;
SDS_ConnectionRecord* sFreeRecords = nullptr; // linked through mNextOfA
SDS_NameAudience* sFreeAudiences = nullptr;

bool AddBlocks(unsigned iBlocks)
{
    void* const memory = ::operator new (sizeof(SDS_NameBlock) * iBlocks,
                                         std::align_val_t{alignof(SDS_NameBlock)}, std::nothrow);
    if (memory == nullptr) return false;
    sBlock = static_cast<SDS_NameBlock*>(memory);
    sBlocksEnd = sBlock + iBlocks;
    sBlockCursor = 0;
    return true;
}

SDS_Name* CarveCell()
{
    if (sBlockCursor == SDS_NameBlock::cNames) {
        if (++sBlock == sBlocksEnd && !AddBlocks(1)) {
            --sBlock;
            return nullptr;
        }
        sBlockCursor = 0;
    }
    SDS_Name* const name = new (&sBlock->mNames[sBlockCursor]) SDS_Name;
    new (&sBlock->mLinks[sBlockCursor]) SDS_NameLinks;
    name->mIndexInBlock = static_cast<Cmn_UInt8>(sBlockCursor++);
    return name;
}

void PushFront(SDS_Name*& ioList, SDS_Name& ioName)
{
    SDS_NameLinks& links = ioName.Links();
    links.mPrevious = nullptr;
    links.mNext = ioList;
    if (ioList != nullptr) ioList->Links().mPrevious = &ioName;
    ioList = &ioName;
}

void Unlink(SDS_Name*& ioList, SDS_Name& ioName)
{
    const SDS_NameLinks& links = ioName.Links();
    (links.mPrevious != nullptr ? links.mPrevious->Links().mNext : ioList) = links.mNext;
    if (links.mNext != nullptr) links.mNext->Links().mPrevious = links.mPrevious;
}

void AppendFree(SDS_Name& ioName)
{
    SDS_NameLinks& links = ioName.Links();
    links.mNext = nullptr;
    links.mPrevious = sFree.mNewest;
    (sFree.mNewest != nullptr ? sFree.mNewest->Links().mNext : sFree.mOldest) = &ioName;
    sFree.mNewest = &ioName;
}

void TakeFromFree(SDS_Name& ioName)
{
    if (sFree.mNewest == &ioName) sFree.mNewest = ioName.Links().mPrevious;
    Unlink(sFree.mOldest, ioName);
}

void PrependFree(SDS_Name& ioName)
{
    PushFront(sFree.mOldest, ioName);
    if (sFree.mNewest == nullptr) sFree.mNewest = &ioName;
}

void FreeAudience(SDS_Name& ioName)
{
    SDS_NameAudience* const audience = std::exchange(ioName.mAudience, nullptr);
    if (audience == nullptr) return;
    audience->mNextFree = sFreeAudiences;
    sFreeAudiences = audience;
}

void MakeDormant(SDS_Name& ioName)
{
    SDS_TokenTracker::NameAboutToBeFreed(&ioName, ioName.GetText());
    SDS_DetachListeners(ioName);
    SDS_TokenDispatcher::TakeOffBatchList(ioName);
    // Before the cell can be used anew.
    static_cast<void>(SDS_TokenDispatcher::FreeActiveListenerList(&ioName));
    FreeAudience(ioName);
    Unlink(ioName.mParent->Links().mLiveChildren, ioName);
    ioName.mIsLive = 0;
    AppendFree(ioName);
}

bool IsHeld(SDS_Name& ioName)
{
    const SDS_NameLinks& links = ioName.Links();
    return links.mReserveCount > 0 || links.mReferenceCount > 0 || links.mLiveChildren != nullptr;
}

} // namespace

bool SDS_NameAddReference(SDS_Name& ioName)
{
    Cmn_Int16& count = ioName.Links().mReferenceCount;
    if (count >= SDS_NameStore::cMaxCount) return false;
    ++count;
    return true;
}

void SDS_NameRelease(SDS_Name& ioName)
{
    --ioName.Links().mReferenceCount;
    SDS_NameStore::FreeUnlessHeld(&ioName);
}

bool SDS_NameEnsureAudience(SDS_Name& ioName)
{
    if (ioName.mAudience != nullptr) return true;
    if (sFreeAudiences == nullptr) {
        SDS_NameAudience* const block = new (std::nothrow) SDS_NameAudience[SDS_NameStore::cAudienceBlock];
        if (block == nullptr) return false;
        for (unsigned i = 0; i < SDS_NameStore::cAudienceBlock; ++i) {
            block[i].mNextFree = sFreeAudiences;
            sFreeAudiences = &block[i];
        }
    }
    SDS_NameAudience* const audience = std::exchange(sFreeAudiences, sFreeAudiences->mNextFree);
    *audience = SDS_NameAudience();
    audience->mBatchElement.mName = &ioName;
    ioName.mAudience = audience;
    return true;
}

bool SDS_NameStore::Init() { return sBlock != nullptr || (sTable.Init() && AddBlocks(cFirstBlocks)); }

// The oldest free cell, with nothing below it, or a new one; in the table under its new name.
SDS_Name* SDS_NameStore::MakeCell(SDS_Name& ioParent, std::string_view iName, Cmn_UInt32 iHash)
{
    const bool isRecycled = sFree.mOldest != nullptr;
    SDS_Name* const name = isRecycled ? sFree.mOldest : CarveCell();
    if (name == nullptr) return nullptr;
    if (isRecycled) {
        TakeFromFree(*name);
        if (name->mParent != nullptr) sTable.Erase(*name);
    }
    name->SetName(ioParent, iName, iHash);
    if (sTable.Insert(*name, iHash)) return name;
    // Nameless it is the first to be tried again.
    name->mParent = nullptr;
    PrependFree(*name);
    return nullptr;
}

SDS_Name* SDS_NameStore::Create(SDS_Name& ioParent, std::string_view iName, Cmn_UInt32 iHash)
{
    SDS_Name* name = Find(ioParent, iName, iHash);
    if (name != nullptr)
        TakeFromFree(*name);
    else
        name = MakeCell(ioParent, iName, iHash);
    if (name == nullptr) return nullptr;
    name->mIsLive = 1;
    name->Links() = SDS_NameLinks();
    PushFront(ioParent.Links().mLiveChildren, *name);
    return name;
}

SDS_Name* SDS_NameStore::CreateRoot()
{
    SDS_Name* const root = CarveCell();
    if (root == nullptr) return nullptr;
    root->mIsLive = 1;
    root->Links().mReferenceCount = 1;
    return root;
}

void SDS_NameStore::FreeUnlessHeld(SDS_Name* ioName)
{
    while (ioName->mIsLive && ioName->mParent != nullptr && !IsHeld(*ioName)) {
        SDS_Name* const parent = ioName->mParent;
        MakeDormant(*ioName);
        ioName = parent;
    }
}

ESDSError SDS_NameStore::FindEach(SDS_Name& iBase, std::string_view iPath, SDS_Name*& oName)
{
    if (SDS_WholePath(iPath).IsPlain()) return eSDSErr_NameNotFound;
    SDS_PathReader path(iPath);
    SDS_Name* name = &iBase;
    std::string_view text;
    ESDSError result = eSDSErr_None;
    while (path.Next(text, result)) {
        if (result != eSDSErr_None) return result;
        name = Find(*name, text, SDS_PathHash::Of(name->mHashBelow, text.data(), text.size()));
        if (name == nullptr || !name->mIsLive) return eSDSErr_NameNotFound;
    }
    oName = name;
    return eSDSErr_None;
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
