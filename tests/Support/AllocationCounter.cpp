#include "Support/AllocationCounter.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <new>

constinit thread_local long long AllocationCounter::sAllocations = 0;
constinit thread_local long long AllocationCounter::sReleases = 0;
constinit thread_local std::size_t AllocationCounter::sLargest = 0;
constinit thread_local long long AllocationCounter::sRefused = 0;

namespace {

void* Allocate(std::size_t iSize) noexcept
{
    if (++AllocationCounter::sAllocations == AllocationCounter::sRefused) return nullptr;
    AllocationCounter::sLargest = std::max(AllocationCounter::sLargest, iSize);
    return std::malloc(iSize == 0 ? 1 : iSize);
}

void Release(void* iMemory) noexcept
{
    if (iMemory != nullptr) ++AllocationCounter::sReleases;
    std::free(iMemory);
}

} // namespace

void* operator new(std::size_t iSize)
{
    if (void* const memory = Allocate(iSize)) return memory;
    throw std::bad_alloc();
}

// std::stable_sort asks this way. The sanitizers bring one of their own, whose memory the
// deletes below may not take.
void* operator new(std::size_t iSize, const std::nothrow_t&) noexcept { return Allocate(iSize); }

// Over-aligned: what malloc gave stands before what it is used as.
void* operator new(std::size_t iSize, std::align_val_t iAlignment, const std::nothrow_t&) noexcept
{
    const auto alignment = static_cast<std::size_t>(iAlignment);
    char* const memory = static_cast<char*>(Allocate(iSize + alignment));
    if (memory == nullptr) return nullptr;
    void** const aligned =
        reinterpret_cast<void**>(memory + alignment - reinterpret_cast<std::uintptr_t>(memory) % alignment);
    aligned[-1] = memory;
    return aligned;
}
void* operator new(std::size_t iSize, std::align_val_t iAlignment)
{
    if (void* const memory = ::operator new(iSize, iAlignment, std::nothrow)) return memory;
    throw std::bad_alloc();
}
void operator delete(void* iMemory, std::align_val_t) noexcept
{
    if (iMemory != nullptr) Release(static_cast<void**>(iMemory)[-1]);
}
void operator delete(void* iMemory, std::size_t, std::align_val_t iAlignment) noexcept
{
    ::operator delete(iMemory, iAlignment);
}

void operator delete(void* iMemory) noexcept { Release(iMemory); }
void operator delete(void* iMemory, std::size_t) noexcept { Release(iMemory); }
