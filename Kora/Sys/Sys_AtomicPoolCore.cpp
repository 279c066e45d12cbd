#include "Kora/Sys/Sys_AtomicPoolCore.h"

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

        const std::size_t lines =
            (sizeof(Prefix) + size.mCellBytes + cPSCacheLineBytes - 1) / cPSCacheLineBytes;
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

// Called by one thread at a time.
bool Sys_AtomicPoolCore::AddBlock(unsigned iClass)
{
    Class& itsClass = *mClasses[iClass];
    const unsigned block = itsClass.mBlockCount;
    if (block == Sys_CellStack::cMaxBlocks) return false;
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
    NoteEnoughCells(iClass);
    itsClass.mFree.AddBlock(block, memory, itsClass.mBlockCells);
    return true;
}
