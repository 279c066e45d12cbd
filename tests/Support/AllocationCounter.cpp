#include "Support/AllocationCounter.h"

#include <cstdlib>
#include <new>

thread_local long long AllocationCounter::sAllocations = 0;

void* operator new(std::size_t iSize)
{
    ++AllocationCounter::sAllocations;
    if (void* const memory = std::malloc(iSize == 0 ? 1 : iSize)) return memory;
    throw std::bad_alloc();
}

// std::stable_sort asks this way. The sanitizers bring one of their own, whose memory the deletes below may not take.
void* operator new(std::size_t iSize, const std::nothrow_t&) noexcept
{
    ++AllocationCounter::sAllocations;
    return std::malloc(iSize == 0 ? 1 : iSize);
}

void operator delete(void* iMemory) noexcept { std::free(iMemory); }
void operator delete(void* iMemory, std::size_t) noexcept { std::free(iMemory); }
