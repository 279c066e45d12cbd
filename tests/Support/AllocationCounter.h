// AllocationCounter: how often a scope allocates on this thread, for claims about real-time paths, and how
// much at once, for claims about what is believed of a file, and whether it releases it all again.
//
//     const AllocationCounter allocations;
//     map.TickToSample(tick);
//     EXPECT_EQ(allocations.Count(), 0);
//
// It also refuses one, for claims about what is left when memory runs out:
//
//     const StRefusedAllocation refused(3); // the third one of the scope
//
// A test program that uses it lists ../Support/AllocationCounter.cpp among its sources: that file replaces
// the program's operator new. On Linux the library's allocations are counted as well; a Windows DLL has an
// operator new of its own, and there only what the headers' inline code allocates is counted, or refused.
#pragma once

#include <cstddef>

class AllocationCounter
{
public:
    AllocationCounter()
        : mBefore(sAllocations)
        , mReleasesBefore(sReleases)
    {
        sLargest = 0;
    }
    // Since construction.
    long long Count() const { return sAllocations - mBefore; }
    // Allocations that were not released, where this thread releases its own.
    long long Kept() const { return Count() - (sReleases - mReleasesBefore); }
    // Bytes of the largest one since the last counter was made.
    static std::size_t Largest() { return sLargest; }

    // constinit: without it GCC reaches the counter through a wrapper, which the sanitizer
    // takes for a null pointer.
    static constinit thread_local long long sAllocations;
    static constinit thread_local long long sReleases;
    static constinit thread_local std::size_t sLargest;
    static constinit thread_local long long sRefused; // the number of the one that is refused; 0 for none

private:
    long long mBefore;
    long long mReleasesBefore;
};

class StRefusedAllocation
{
public:
    explicit StRefusedAllocation(long long iNth)
    {
        AllocationCounter::sRefused = AllocationCounter::sAllocations + iNth;
    }
    ~StRefusedAllocation() { AllocationCounter::sRefused = 0; }
    bool HasCome() const { return AllocationCounter::sAllocations >= AllocationCounter::sRefused; }
};
