// AllocationCounter: how often a scope allocates on this thread, for claims about real-time paths.
//
//     const AllocationCounter allocations;
//     map.TickToSample(tick);
//     EXPECT_EQ(allocations.Count(), 0);
//
// A test program that uses it lists ../Support/AllocationCounter.cpp among its sources: that file replaces the
// program's operator new. On Linux the library's allocations are counted as well; a Windows DLL has an operator new of
// its own, and there only what the headers' inline code allocates is counted. Over-aligned allocations are not.
#pragma once

class AllocationCounter
{
public:
    AllocationCounter()
        : mBefore(sAllocations)
    {
    }
    // Since construction.
    long long Count() const { return sAllocations - mBefore; }

    // constinit: without it GCC reaches the counter through a wrapper, which the sanitizer takes for a null pointer.
    static constinit thread_local long long sAllocations;

private:
    long long mBefore;
};
