#include "Kora/FF/Format/FF_TOCIndex_p.h"

#include "Bastel/Sys/Sys_ByteOrder_p.h"
#include "Bastel/Sys/Sys_Crc32C.h"

#include <algorithm>
#include <bit>
#include <limits>

using namespace FF_Format;

namespace {

constexpr std::size_t cSumSize = 4;
constexpr Cmn_UInt32 cCountSize = 4;

std::size_t CountPages(Cmn_Int64 iSize, Cmn_UInt32 iPageSize)
{
    return static_cast<std::size_t>((iSize + iPageSize - 1) / iPageSize);
}

Cmn_UInt32 SumOf(const std::vector<Cmn_UInt8>& iIndex, Cmn_Int64 iStart)
{
    return Sys_Crc32C(0, iIndex.data(), iIndex.size() - cSumSize) + static_cast<Cmn_UInt32>(iStart);
}

// Both ways through the fields of a page, in the order of the disk.
template <class Field>
void ForEachField(FF_TOCIndex::Page& ioPage, const Field& iField)
{
    for (Cmn_UInt32* const field :
         {&ioPage.mSum, &ioPage.mKey, &ioPage.mKeyAt, &ioPage.mValue, &ioPage.mValueAt})
        iField(*field);
}

} // namespace

Cmn_UInt32 FF_TOCIndex::PageSizeFor(Cmn_Int64 iSizeOfKeys)
{
    if (iSizeOfKeys <= cLargestWithoutIndex) return 0;
    auto pageSize = static_cast<Cmn_UInt32>(cIndexPage);
    while (CountPages(iSizeOfKeys, pageSize) > cMaxIndexPages)
        pageSize *= 2;
    return pageSize;
}

bool FF_TOCIndex::ReadTail(const Cmn_UInt8* iTail, bool iSwap, Cmn_Int64 iBodySize)
{
    mSize = Sys_LoadInteger<Cmn_UInt32>(iTail, iSwap);
    mPageSize = Sys_LoadInteger<Cmn_UInt32>(iTail + 4, iSwap);
    mNumKeys = Sys_LoadInteger<Cmn_UInt32>(iTail + 8, iSwap);
    if (Sys_LoadInteger<Cmn_UInt32>(iTail + 12, iSwap) != cIndexMagic) return false;
    if (!std::has_single_bit(mPageSize) || mPageSize < cSmallestIndexPage || mPageSize > cLargestIndexPage)
        return false;
    const auto bytes =
        static_cast<Cmn_Int64>(CountPages(mSize, mPageSize) * cIndexEntrySize + cIndexTailSize);
    return Cmn_Int64{mSize} + bytes == iBodySize && mNumKeys <= std::numeric_limits<Cmn_Int32>::max();
}

bool FF_TOCIndex::Read(Sys_TypedInStream& ioStream, Cmn_Int64 iStart, Cmn_Int64 iBody, Cmn_Int64 iBodySize)
{
    constexpr auto cTail = static_cast<Cmn_Int64>(cIndexTailSize);
    if (iBodySize < cTail) return false;
    const bool swap = ioStream.IsSwapped();
    std::vector<Cmn_UInt8> bytes(cIndexTailSize);
    ioStream.SetPosition(iBody + iBodySize - cTail);
    ioStream.ReadBytes(bytes.data(), bytes.size());
    if (!ReadTail(bytes.data(), swap, iBodySize)) return false;
    bytes.resize(static_cast<std::size_t>(iBodySize - mSize));
    ioStream.SetPosition(iBody + mSize);
    ioStream.ReadBytes(bytes.data(), bytes.size());
    const Cmn_UInt8* const sum = bytes.data() + bytes.size() - cSumSize;
    if (SumOf(bytes, iStart) != Sys_LoadInteger<Cmn_UInt32>(sum, swap)) return false;

    mPages.resize(CountPages(mSize, mPageSize));
    const Cmn_UInt8* at = bytes.data();
    for (Page& page : mPages)
        ForEachField(page, [&](Cmn_UInt32& oField) {
            oField = Sys_LoadInteger<Cmn_UInt32>(at, swap);
            at += sizeof oField;
        });
    mPages.push_back({0, mNumKeys, mSize, 0, mSize});
    return IsConsistent();
}

void FF_TOCIndex::Skip(FF_TOCCursor& ioCursor, Cmn_Int64 iSizeOfKeys)
{
    const Cmn_Int64 size = iSizeOfKeys + ioCursor.GetBytesLeft();
    while (ioCursor.GetBytesLeft() > static_cast<Cmn_Int64>(cIndexTailSize)) {
        ioCursor.Fill(cIndexEntrySize);
        ioCursor.Skip(cIndexEntrySize);
    }
    ioCursor.Fill(cIndexTailSize);
    FF_TOCIndex index;
    ioCursor.Require(index.ReadTail(ioCursor.Skip(cIndexTailSize), ioCursor.IsSwapped(), size) &&
                     Cmn_Int64{index.mSize} == iSizeOfKeys);
}

bool FF_TOCIndex::IsConsistent() const
{
    // The first key stands behind their count.
    if (mSize < cCountSize || mPages[0].mKey != 0) return false;
    if (mPages[0].GetFirst().second != 0 || mPages[0].mKeyAt != (mNumKeys == 0 ? mSize : cCountSize))
        return false;
    for (std::size_t i = 0; i < GetNumPages(); ++i) {
        const Page& page = mPages[i];
        if (page.mValueAt < i * mPageSize || page.mValueAt > page.mKeyAt || page.mKeyAt > mSize) return false;
        if ((page.mKeyAt == mSize) != (page.mKey == mNumKeys) ||
            (page.mValueAt < page.mKeyAt && page.mKey == 0))
            return false;
        const Page& next = mPages[i + 1];
        if (page.mKey > next.mKey || page.mKeyAt > next.mKeyAt || page.GetFirst() > next.GetFirst())
            return false;
    }
    return true;
}

FF_TOCIndexMaker::FF_TOCIndexMaker(Cmn_UInt32 iSizeOfKeys, Cmn_UInt32 iPageSize)
    : mSize(iSizeOfKeys)
    , mPageSize(iPageSize)
{
    if (mPageSize == 0)
        mNextKeyAt = mNextValueAt = std::numeric_limits<Cmn_Int64>::max();
    else
        mPages.resize(CountPages(mSize, mPageSize));
}

// A key is the first key, and leaves no first value, of all pages up to its place that have none yet; a value
// is the first value of pages whose first key is still to come.
void FF_TOCIndexMaker::Note(Cmn_Int64 iAt, Cmn_UInt32 iKey, Cmn_UInt32 iValue, bool iIsKey)
{
    const std::size_t upTo = std::min(static_cast<std::size_t>(iAt / mPageSize) + 1, mPages.size());
    const auto at = static_cast<Cmn_UInt32>(iAt);
    for (; iIsKey && mWithKey < upTo; ++mWithKey) {
        mPages[mWithKey].mKey = iKey;
        mPages[mWithKey].mKeyAt = at;
    }
    for (; mWithValue < upTo; ++mWithValue) {
        mPages[mWithValue].mValue = iValue;
        mPages[mWithValue].mValueAt = at;
    }
    mNextKeyAt = static_cast<Cmn_Int64>(mWithKey * mPageSize);
    mNextValueAt = static_cast<Cmn_Int64>(mWithValue * mPageSize);
}

void FF_TOCIndexMaker::Add(const Cmn_UInt8* iBytes, std::size_t iCount)
{
    while (mPageSize != 0 && iCount != 0) {
        const auto page = static_cast<std::size_t>(mAdded / mPageSize);
        const std::size_t count = std::min(iCount, mPageSize - static_cast<std::size_t>(mAdded % mPageSize));
        mPages[page].mSum = Sys_Crc32C(mPages[page].mSum, iBytes, count);
        mAdded += static_cast<Cmn_Int64>(count);
        iBytes += count;
        iCount -= count;
    }
}

std::vector<Cmn_UInt8> FF_TOCIndexMaker::Finish(Cmn_UInt32 iNumKeys, Cmn_Int64 iStart, bool iSwap)
{
    if (mPageSize == 0) return {};
    for (; mWithKey < mPages.size(); ++mWithKey) {
        mPages[mWithKey].mKey = iNumKeys;
        mPages[mWithKey].mKeyAt = mSize;
    }
    for (; mWithValue < mPages.size(); ++mWithValue) {
        mPages[mWithValue].mValue = 0;
        mPages[mWithValue].mValueAt = mSize;
    }
    std::vector<Cmn_UInt8> bytes(mPages.size() * cIndexEntrySize + cIndexTailSize);
    Cmn_UInt8* at = bytes.data();
    const auto put = [&](Cmn_UInt32 iField) {
        Sys_StoreInteger(at, iField, iSwap);
        at += sizeof iField;
    };
    for (FF_TOCIndex::Page& page : mPages)
        ForEachField(page, put);
    for (const Cmn_UInt32 field : {mSize, mPageSize, iNumKeys, cIndexMagic})
        put(field);
    put(SumOf(bytes, iStart));
    return bytes;
}
