// Sys_LargeBlock: memory for arrays that grow to megabytes, which moves pages in place of
// bytes where the system can.
//
// The first touch of a page costs microseconds on some machines, so large pages are asked for too.
// Threads: any.
#pragma once

#include <cstddef>

class Sys_LargeBlock
{
public:
    // Sizes are multiples of it.
    static constexpr std::size_t cUnit = std::size_t{2} << 20;

    // A block of iSize bytes that begins with the first iOldSize of the old one, which is gone then; null for
    // no old block. Null, with the old block as it was, where there is no memory.
    static void* Grow(void* ioOld, std::size_t iOldSize, std::size_t iSize) noexcept;
    static void Free(void* ioBlock, std::size_t iSize) noexcept;
};
