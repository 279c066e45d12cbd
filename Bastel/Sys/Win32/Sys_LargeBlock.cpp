#include "Bastel/Sys/Sys_LargeBlock_p.h"

#include <cstdlib>

void* Sys_LargeBlock::Grow(void* ioOld, std::size_t, std::size_t iSize) noexcept
{
    return std::realloc(ioOld, iSize);
}

void Sys_LargeBlock::Free(void* ioBlock, std::size_t) noexcept { std::free(ioBlock); }
