#include "Bastel/Sys/Sys_OpenHeaders.h"

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Bastel/Sys/Sys_Crc32C.h"
#include "Bastel/Sys/Sys_StdStreamHeader_p.h"

#include <algorithm>

Sys_OpenHeaders::Sys_OpenHeaders() = default;
Sys_OpenHeaders::~Sys_OpenHeaders() = default;

void Sys_OpenHeaders::SetIsList()
{
    if (!mLevels.empty()) mLevels.back().mIsList = true;
}

void Sys_OpenHeaders::SetListIndex(Cmn_UInt32 iIndex)
{
    if (!mLevels.empty()) mLevels.back().mListIndex = iIndex;
}

void Sys_OpenHeaders::Open(Cmn_Int64 iStart, Cmn_Int64 iBody)
{
    Level& level = mLevels.emplace_back();
    level.mStart = level.mCovered = iStart;
    level.mBody = iBody;
}

void Sys_OpenHeaders::Add(const void* iBytes, std::size_t iCount)
{
    if (mLevels.empty()) return;
    Level& level = mLevels.back();
    const auto ofHeader = static_cast<std::size_t>(
        std::clamp<Cmn_Int64>(level.mBody - level.mCovered, 0, static_cast<Cmn_Int64>(iCount)));
    level.mSum = Sys_Crc32C(level.mSum, static_cast<const Cmn_UInt8*>(iBytes) + ofHeader, iCount - ofHeader);
    level.mCovered += static_cast<Cmn_Int64>(iCount);
}

void Sys_OpenHeaders::Close(const void* iHeader, std::size_t iHeaderSize, Cmn_UInt32 iBodySize)
{
    const Cmn_UInt32 bodySum = mLevels.back().mSum;
    mLevels.pop_back();
    if (mLevels.empty()) return;
    // In the two pieces that were stored: a word from both would have to wait for the second.
    const std::size_t front = iHeaderSize - Sys_StdStreamHeaderFields::cBlockSize;
    const Cmn_UInt8* const block = static_cast<const Cmn_UInt8*>(iHeader) + front;
    Level& parent = mLevels.back();
    const Cmn_UInt32 sum = Sys_Crc32C(Sys_Crc32C(parent.mSum, iHeader, front), block, iHeaderSize - front);
    parent.mSum = Sys_Crc32CCombine(sum, bodySum, iBodySize);
    parent.mCovered += static_cast<Cmn_Int64>(iHeaderSize) + Cmn_Int64{iBodySize};
}

void Sys_OpenHeaders::Abandon() { mLevels.pop_back(); }

void Sys_OpenHeaders::Replace(Cmn_Int64 iPosition, const void* iOld, const void* iNew, std::size_t iCount)
{
    const Cmn_Int64 end = iPosition + static_cast<Cmn_Int64>(iCount);
    for (auto level = mLevels.rbegin(); level != mLevels.rend(); ++level) {
        if (iPosition < level->mBody) continue;
        if (!Cmn_ASSERT(end <= level->mCovered)) return;
        // Sums are linear: old and new differ by the sum of their exclusive or, moved
        // to where the sum now ends.
        const Cmn_UInt32 change = Sys_Crc32C(0, iOld, iCount) ^ Sys_Crc32C(0, iNew, iCount);
        level->mSum ^= Sys_Crc32CCombine(change, 0, static_cast<Cmn_UInt64>(level->mCovered - end));
        return;
    }
    Cmn_ASSERT_TEXT(false, "iPosition is in an open body");
}
