#include "Bastel/Sys/Sys_LargeBlock_p.h"

#include <sys/mman.h>

void* Sys_LargeBlock::Grow(void* ioOld, std::size_t iOldSize, std::size_t iSize) noexcept
{
    void* const block = ioOld == nullptr
                            ? mmap(nullptr, iSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)
                            : mremap(ioOld, iOldSize, iSize, MREMAP_MAYMOVE);
    if (block == MAP_FAILED) return nullptr;
    madvise(block, iSize, MADV_HUGEPAGE); // a wish
    return block;
}

void Sys_LargeBlock::Free(void* ioBlock, std::size_t iSize) noexcept
{
    if (ioBlock != nullptr) munmap(ioBlock, iSize);
}
