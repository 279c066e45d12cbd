#include "Bastel/Sys/Sys_Stream.h"

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Bastel/Cmn/Cmn_Exception.h"
#include "Bastel/Sys/Sys_Crc32C.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

Sys_InStream::~Sys_InStream() = default;
Sys_OutStream::Sys_OutStream() = default;
Sys_OutStream::~Sys_OutStream() = default;
Sys_MemInStream::~Sys_MemInStream() = default;
Sys_MemOutStream::Sys_MemOutStream() = default;
Sys_MemOutStream::~Sys_MemOutStream() = default;

Cmn_UInt32 Sys_InStream::SumOf(Cmn_Int64 iFrom, Cmn_Int64 iCount)
{
    const Cmn_Int64 before = GetPosition();
    if (iFrom < 0 || iCount < 0 || iCount > GetLength() - iFrom) throw Sys_StreamReadException(iFrom);
    SetPosition(iFrom);
    Cmn_UInt32 sum = 0;
    std::array<Cmn_UInt8, 4096> block;
    for (Cmn_Int64 left = iCount; left > 0;) {
        const auto wanted = static_cast<std::size_t>(std::min(left, static_cast<Cmn_Int64>(block.size())));
        const Cmn_Int64 at = GetPosition();
        if (Read(block.data(), wanted) != wanted) throw Sys_StreamReadException(at);
        sum = Sys_Crc32C(sum, block.data(), wanted);
        left -= static_cast<Cmn_Int64>(wanted);
    }
    SetPosition(before);
    return sum;
}

std::span<const Cmn_UInt8> Sys_InStream::Look(std::size_t) { return {}; }

// Memory has no name, and no system that could fail.
void Sys_InStream::Explain(Cmn_Exception&) const {}
void Sys_OutStream::Explain(Cmn_Exception&) const {}

// Memory keeps what was written: the header says that it is not complete.
void Sys_OutStream::TakeBack(Cmn_Int64) {}

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

bool Sys_MemOutStream::Patch(Cmn_Int64 iPosition, const void* iBytes, std::size_t iCount)
{
    if (!Cmn_ASSERT(iPosition >= 0 && iPosition <= static_cast<Cmn_Int64>(mBytes.size()) &&
                    iCount <= mBytes.size() - static_cast<std::size_t>(iPosition)))
        return false;
    const auto* const bytes = static_cast<const Cmn_UInt8*>(iBytes);
    std::copy_n(bytes, iCount, mBytes.begin() + static_cast<std::ptrdiff_t>(iPosition));
    return true;
}

bool Sys_MemOutStream::PatchHeader(Cmn_Int64 iPosition, const void* iBytes, std::size_t iCount)
{
    return Patch(iPosition, iBytes, iCount);
}

std::vector<Cmn_UInt8> Sys_MemOutStream::TakeBytes()
{
    mPosition = 0;
    return std::exchange(mBytes, {});
}
