#include "Bastel/Sys/Sys_Stream.h"

#include "Bastel/Cmn/Cmn_Assert.h"

#include <algorithm>
#include <cstring>
#include <utility>

Sys_InStream::~Sys_InStream() = default;
Sys_OutStream::~Sys_OutStream() = default;
Sys_MemInStream::~Sys_MemInStream() = default;
Sys_MemOutStream::Sys_MemOutStream() = default;
Sys_MemOutStream::~Sys_MemOutStream() = default;

Sys_MemInStream::Sys_MemInStream(std::span<const Cmn_UInt8> iBytes)
    : mBytes(iBytes)
{
}

std::size_t Sys_MemInStream::Read(void* oBytes, std::size_t iCount)
{
    const std::size_t count = std::min(iCount, mBytes.size() - mPosition);
    if (count != 0) std::memcpy(oBytes, mBytes.data() + mPosition, count);
    mPosition += count;
    return count;
}

void Sys_MemInStream::SetPosition(Cmn_Int64 iPosition)
{
    if (Cmn_ASSERT(iPosition >= 0 && iPosition <= this->GetLength()))
        mPosition = static_cast<std::size_t>(iPosition);
}

std::size_t Sys_MemOutStream::Write(const void* iBytes, std::size_t iCount)
{
    const auto* const bytes = static_cast<const Cmn_UInt8*>(iBytes);
    const std::size_t over = std::min(iCount, mBytes.size() - mPosition);
    std::copy_n(bytes, over, mBytes.begin() + static_cast<std::ptrdiff_t>(mPosition));
    mBytes.insert(mBytes.end(), bytes + over, bytes + iCount);
    mPosition += iCount;
    return iCount;
}

void Sys_MemOutStream::SetPosition(Cmn_Int64 iPosition)
{
    if (Cmn_ASSERT(iPosition >= 0 && iPosition <= static_cast<Cmn_Int64>(mBytes.size())))
        mPosition = static_cast<std::size_t>(iPosition);
}

std::vector<Cmn_UInt8> Sys_MemOutStream::TakeBytes()
{
    mPosition = 0;
    return std::exchange(mBytes, {});
}
