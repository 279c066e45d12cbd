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

void operator delete(void* iMemory) noexcept { std::free(iMemory); }
void operator delete(void* iMemory, std::size_t) noexcept { std::free(iMemory); }
