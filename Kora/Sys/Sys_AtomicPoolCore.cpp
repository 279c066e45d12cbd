#include "Kora/Sys/Sys_AtomicPoolCore.h"

#include "OstrelPlatformSupport/PSPrefetch_p.h"

#include <new>

namespace {

constexpr std::align_val_t cBlockAlignment{cPSCacheLineBytes};

void* TakeFromHeap(std::size_t iBytes) { return ::operator new(iBytes, cBlockAlignment, std::nothrow); }
void GiveToHeap(void* iBlock) { ::operator delete(iBlock, cBlockAlignment); }

} // namespace

Sys_AtomicPoolCore::Sys_AtomicPoolCore(std::span<const Sys_AtomicPoolSize> iSizes)
    : Sys_AtomicPoolCore(iSizes, {TakeFromHeap, GiveToHeap})
{
}

Sys_AtomicPoolCore::Sys_AtomicPoolCore(std::span<const Sys_AtomicPoolSize> iSizes,
                                       const Sys_AtomicPoolMemory& iMemory)
    : mMemory(iMemory)
{
    std::size_t smaller = 0;
    for (const Sys_AtomicPoolSize& size : iSizes) {
        const bool ascends = Cmn_ASSERT(size.mCellBytes > smaller);
        const bool isInRange =
            Cmn_ASSERT(size.mCellCount >= 1 && size.mCellCount <= Sys_CellStack::cMaxCellsInBlock);
        if (!ascends || !isInRange || !Cmn_ASSERT(mClassCount < cMaxClasses)) continue;

        std::size_t lines = (sizeof(Prefix) + size.mCellBytes + cPSCacheLineBytes - 1) / cPSCacheLineBytes;
        // Odd, so that the first lines of many cells, which are written for each token, spread over all of the
        // cache's sets; with 8 lines a cell they would crowd an eighth of them.
        if (lines > 2) lines |= 1;
        mCellBytes[mClassCount] = smaller = size.mCellBytes;
        mClasses[mClassCount] = std::make_unique<Class>(lines * cPSCacheLineBytes, size.mCellCount);
        AddBlock(mClassCount++);
    }
}

Sys_AtomicPoolCore::~Sys_AtomicPoolCore()
{
    for (unsigned i = 0; i < mClassCount; ++i) {
        for (unsigned block = 0; block < mClasses[i]->mBlockCount; ++block)
            mMemory.mGive(
                mClasses[i]->mFree.Locate(static_cast<Cmn_UInt16>(block << Sys_CellStack::cPlaceBits)));
    }
}

unsigned Sys_AtomicPoolCore::GetFreeCount(unsigned iClass) const
{
    return iClass < mClassCount ? mClasses[iClass]->mFree.GetFreeCount() : 0;
}

unsigned Sys_AtomicPoolCore::GetCellCount(unsigned iClass) const
{
    return iClass < mClassCount ? mClasses[iClass]->mBlockCount * mClasses[iClass]->mBlockCells : 0;
}

// Hints are looked at before they are written, so that a pool which stays low does not take
// the line from its readers.
void Sys_AtomicPoolCore::NoteFewCells(unsigned iClass, unsigned iLeft)
{
    if (iLeft < mClasses[iClass]->mScarceCells && !IsScarce(iClass)) mScarceClasses.fetch_or(1u << iClass);
    if (mClasses[iClass]->mBlockCount < Sys_CellStack::cMaxBlocks && !mRunningLow) mRunningLow = true;
}

// Who takes cells meanwhile and finds few left sets the hint again, now or with the next one.
void Sys_AtomicPoolCore::NoteEnoughCells(unsigned iClass) { mScarceClasses.fetch_and(~(1u << iClass)); }

Cmn_UInt32 Sys_AtomicPoolCore::GrowIfLow()
{
    if (!IsRunningLow() || mGrowing.exchange(true)) return 0;

    // Before the counts are looked at: who takes cells after that raises the flag again.
    mRunningLow = false;
    Cmn_UInt32 added = 0;
    for (unsigned i = 0; i < mClassCount; ++i) {
        const Class& itsClass = *mClasses[i];
        if (itsClass.mFree.GetFreeCount() < itsClass.mFewCells && AddBlock(i)) ++added;
    }
    mGrowing = false;
    return added;
}

void Sys_AtomicPoolCore::Batch::Return(unsigned iClass)
{
    Held& held = mHeld[iClass];
    if (held.mCount > 0) mPool.Return(iClass, mCells[iClass], held.mCount);
    held.mCount = 0;
    held.mHasReturned = true;
}

// The first one goes back alone: most batches have no other, and take no share.
void Sys_AtomicPoolCore::Batch::ReturnFull(unsigned iClass)
{
    Held& held = mHeld[iClass];
    if (held.mShare == 0 && held.mHasReturned)
        held.mShare = static_cast<Cmn_UInt16>(
            Class::TakeShare(mPool.mClasses[iClass]->mShareLeft, Sys_CellStack::cMaxBatch));
    if (held.mCount >= held.mShare || mPool.IsScarce(iClass)) Return(iClass);
}

void Sys_AtomicPoolCore::Batch::ReturnAllScarce()
{
    for (unsigned i = 0; i < mPool.mClassCount; ++i) {
        if (mPool.IsScarce(i)) Return(i);
    }
}

void Sys_AtomicPoolCore::Batch::FlushClass(unsigned iClass)
{
    Return(iClass);
    Held& held = mHeld[iClass];
    if (held.mShare > 0) mPool.mClasses[iClass]->mShareLeft.fetch_add(held.mShare);
    held = {};
}

bool Sys_AtomicPoolCore::Magazine::Fetch(std::size_t iBytes) KORA_NONBLOCKING
{
    if (iBytes - mLeastBytes >= mSizes && !Choose(iBytes)) return false;
    if (mTop == mBottom) Fill();
    return mTop != mBottom;
}

// The class that fits becomes the current one; false when none does.
bool Sys_AtomicPoolCore::Magazine::Choose(std::size_t iBytes)
{
    const unsigned fit = mPool.FitOf(iBytes);
    if (fit == mPool.mClassCount) return false;
    if (mSizes > 0) mHeld[mClass].mTop = mTop;
    mClass = fit;
    mLeastBytes = fit == 0 ? 0 : mPool.mCellBytes[fit - 1] + 1;
    mSizes = mPool.mCellBytes[fit] + 1 - mLeastBytes;
    mTop = mHeld[fit].mTop;
    mBottom = mHeld[fit].mCells;
    return true;
}

// While the class is scarce, or without a share, one cell at a time, as without a magazine.
void Sys_AtomicPoolCore::Magazine::Fill()
{
    Held& held = mHeld[mClass];
    Class& itsClass = *mPool.mClasses[mClass];
    if (held.mShare == 0) held.mShare = Class::TakeShare(itsClass.mMagazinesLeft, cMaxMagazine);
    Cmn_UInt16 indices[Sys_CellStack::cMaxBatch];
    const unsigned count =
        mPool.TakeIndices(mClass, indices, mPool.IsScarce(mClass) ? 1 : (std::max)(held.mShare, 1u));
    const std::size_t stride = itsClass.mFree.GetStride();
    void** place = mTop = mBottom + count;
    for (unsigned i = count; i-- > 0;) { // as they are taken
        std::byte* const prefix = itsClass.mFree.Locate(indices[i]);
        *--place = prefix + sizeof(Prefix);
        // Whoever gave the cells back has their lines: without this a producer waits for each of them in turn.
        PSPrefetchForWrite(prefix);
        if (stride > cPSCacheLineBytes) PSPrefetchForWrite(prefix + cPSCacheLineBytes);
        if (stride > 2 * cPSCacheLineBytes) PSPrefetchForWrite(prefix + 2 * cPSCacheLineBytes);
    }
}

void Sys_AtomicPoolCore::Magazine::Flush()
{
    if (mSizes > 0) mHeld[mClass].mTop = mTop;
    mSizes = 0;
    for (unsigned i = 0; i < mPool.mClassCount; ++i) {
        Held& held = mHeld[i];
        while (held.mTop != held.mCells)
            mPool.Free(*--held.mTop);
        if (held.mShare > 0) mPool.mClasses[i]->mMagazinesLeft.fetch_add(held.mShare);
        held.mShare = 0;
    }
}

// Called by one thread at a time.
bool Sys_AtomicPoolCore::AddBlock(unsigned iClass)
{
    Class& itsClass = *mClasses[iClass];
    const unsigned block = itsClass.mBlockCount;
    if (block == Sys_CellStack::cMaxBlocks || !itsClass.mFree.AddLinks(block, itsClass.mBlockCells))
        return false;
    const std::size_t stride = itsClass.mFree.GetStride();
    std::byte* const memory = static_cast<std::byte*>(mMemory.mTake(itsClass.mBlockCells * stride));
    if (memory == nullptr) return false;

    for (unsigned i = 0; i < itsClass.mBlockCells; ++i) {
        const unsigned index = block << Sys_CellStack::cPlaceBits | i;
        new (memory + i * stride)
            Prefix{this, static_cast<Cmn_UInt16>(iClass), static_cast<Cmn_UInt16>(index)};
    }
    itsClass.mBlockCount = block + 1; // before the cells, so that no more are free than there are
    itsClass.mShareLeft.fetch_add(itsClass.mBlockCells / cShareOfBatches);
    itsClass.mMagazinesLeft.fetch_add(itsClass.mBlockCells / cShareOfMagazines);
    NoteEnoughCells(iClass);
    itsClass.mFree.AddBlock(block, memory, itsClass.mBlockCells);
    return true;
}
