// FF_TOCTable's stream: read from memory in one pass, written in large pieces.
#include "Kora/FF/Document/FF_TOCTable_p.h"

#include "Bastel/Sys/Sys_FileBasedOutStream.h"
#include "Kora/FF/Format/FF_TOCIndex_p.h"

#include <algorithm>
#include <memory>

namespace {

// Hands bytes to a stream in pieces that are large against the cost of a call.
class PieceWriter
{
public:
    // iTotal: of all that will be written.
    PieceWriter(Sys_TypedOutStream& ioStream, Cmn_Int64 iTotal, FF_TOCIndexMaker& ioIndex)
        : mStream(ioStream)
        , mIndex(ioIndex)
        , mSize(static_cast<std::size_t>(std::min(iTotal, cPiece)))
        , mBytes(std::make_unique_for_overwrite<Cmn_UInt8[]>(mSize))
    {
    }

    // Where the next iCount bytes go, at most as many as the largest value has.
    Cmn_UInt8* Take(std::size_t iCount)
    {
        if (iCount > mSize - mUsed) FlushBlocks();
        mUsed += iCount;
        return mBytes.get() + mUsed - iCount;
    }
    template <class T>
    void Put(T iValue)
    {
        Sys_StoreInteger(Take(sizeof(T)), iValue, mStream.IsSwapped());
    }
    // Of any count; where they stand, unless there are more than the largest value has.
    Cmn_UInt8* Copy(const Cmn_UInt8* iFrom, std::size_t iCount)
    {
        for (; iCount > FF_TOCBytes::cLargestValue; iCount -= FF_TOCBytes::cLargestValue) {
            std::memcpy(Take(FF_TOCBytes::cLargestValue), iFrom, FF_TOCBytes::cLargestValue);
            iFrom += FF_TOCBytes::cLargestValue;
        }
        Cmn_UInt8* const to = Take(iCount);
        // Most values have 16 to 32 bytes: two copies that overlap, in place of a call.
        constexpr std::size_t cHalf = 16;
        if (iCount < cHalf || iCount > 2 * cHalf) {
            if (iCount != 0) std::memcpy(to, iFrom, iCount);
        } else {
            std::memcpy(to, iFrom, cHalf);
            std::memcpy(to + iCount - cHalf, iFrom + iCount - cHalf, cHalf);
        }
        return to;
    }
    // Bytes so far.
    Cmn_Int64 GetPosition() const { return mFlushed + static_cast<Cmn_Int64>(mUsed); }
    void Flush() { Flush(mUsed); }

private:
    // More than a stream's buffer takes, so that nothing is copied twice.
    static constexpr Cmn_Int64 cBlock = Cmn_Int64{Sys_OutStreamLimits::cBlockSize};
    static constexpr Cmn_Int64 cPiece = cBlock + Cmn_Int64{Sys_OutStreamLimits::cBufferSize};
    static_assert(cPiece - cBlock > Cmn_Int64{FF_TOCBytes::cLargestValue});

    // Up to the end of the file's last whole block.
    void FlushBlocks()
    {
        Flush(mUsed -
              static_cast<std::size_t>((mStream.GetPosition() + static_cast<Cmn_Int64>(mUsed)) % cBlock));
    }
    void Flush(std::size_t iCount)
    {
        mIndex.Add(mBytes.get(), iCount);
        mStream.WriteBytes(mBytes.get(), iCount);
        mFlushed += static_cast<Cmn_Int64>(iCount);
        mUsed -= iCount;
        std::memmove(mBytes.get(), mBytes.get() + iCount, mUsed);
    }

    Sys_TypedOutStream& mStream;
    FF_TOCIndexMaker& mIndex;
    std::size_t mSize;
    std::unique_ptr<Cmn_UInt8[]> mBytes;
    std::size_t mUsed = 0;
    Cmn_Int64 mFlushed = 0;
};

} // namespace

void FF_TOCTable::WriteBody(Sys_TypedOutStream& ioStream, Cmn_Int64 iStart, Cmn_UInt32 iPageSize) const
{
    const bool swap = ioStream.IsSwapped();
    FF_TOCIndexMaker index(static_cast<Cmn_UInt32>(GetSizeOfKeys()), iPageSize);
    PieceWriter pieces(ioStream, GetSizeOfKeys(), index);
    const auto numKeys = static_cast<Cmn_UInt32>(mKeys.size());
    pieces.Put(numKeys);
    const bool isInOrder = mAscending == mKeys.size();
    for (Cmn_UInt32 nth = 0; nth < numKeys; ++nth) {
        const auto entry = static_cast<Cmn_Int32>(nth);
        const Key& key = GetKey(isInOrder ? entry : GetInOrder(entry));
        index.Key(pieces.GetPosition(), nth);
        pieces.Put(key.mContextCount);
        for (std::size_t i = 0; swap && i < key.mContextCount; ++i)
            Context(ContextAt(key, i), false).Put(pieces.Take(cContextSize), true);
        if (!swap) pieces.Copy(ContextAt(key, 0), key.mContextCount * cContextSize);
        pieces.Put(key.mValueCount);
        const Value* const values = key.IsAtHome() ? nullptr : mValues.data() + key.mFirstValue;
        for (Cmn_UInt32 i = 0; i < key.mValueCount; ++i) {
            index.Value(pieces.GetPosition(), nth, i);
            const Cmn_UInt8* const from = values == nullptr ? HomeOf(key) : BytesOf(values[i]);
            Cmn_UInt8* const at = pieces.Copy(from, values == nullptr ? key.mFirstValue : values[i].mSize);
            if (swap) FF_TOCBytes::SwapValue(at, false);
        }
    }
    pieces.Flush();
    const std::vector<Cmn_UInt8> bytes = index.Finish(numKeys, iStart, swap);
    ioStream.WriteBytes(bytes.data(), bytes.size());
}

void FF_TOCTable::ReadBody(FF_TOCCursor& ioCursor, Cmn_Int64 iBegin, Cmn_Int64 iEnd)
{
    // Keys ascend, so that one at most, the first, has no contexts, and every other takes KeySize(1) bytes.
    ioCursor.Fill(cCountSize);
    const auto count = ioCursor.Take<Cmn_Int32>();
    ioCursor.Require(count >= 0 && KeySize(0) + (count - 1) * KeySize(1) <= ioCursor.GetBytesLeft());
    for (Cmn_Int32 i = 0; i < count; ++i) {
        ReadKey(ioCursor);
        // The keys of a document mostly are of one depth, with one value each.
        if (i == 0) Reserve(ioCursor.GetBytesLeft(), static_cast<std::size_t>(count), mKeys[0].mContextCount);
        ReadValues(ioCursor, iBegin, iEnd);
    }
    // No later version appends to this one: its number would be another.
    if (ioCursor.GetBytesLeft() != 0) FF_TOCIndex::Skip(ioCursor, GetSizeOfKeys());
    mAscending = mKeys.size();
    mHighestOffset = static_cast<Cmn_UInt32>(std::clamp<Cmn_Int64>(iEnd - 1, 0, FF_Format::cMaxFileSize));
}

void FF_TOCTable::Reserve(Cmn_Int64 iBytes, std::size_t iKeys, std::size_t iDepth)
{
    const auto bytes = static_cast<std::size_t>(iBytes);
    const std::size_t contexts = std::min(bytes / cContextSize, iKeys * iDepth);
    const std::size_t keyBytes = contexts * cContextSize + iKeys * 2 * cCountSize;
    mKeys.reserve(iKeys);
    mRecords.reserve(mRecords.size() + contexts * cContextSize);
    mValues.reserve(std::min(bytes / FF_TOCBytes::cSmallestValue, iKeys));
    if (bytes > keyBytes) mArena.reserve(bytes - keyBytes);
}

void FF_TOCTable::ReadKey(FF_TOCCursor& ioCursor)
{
    Key key{static_cast<Cmn_UInt32>(mRecords.size()), 0, static_cast<Cmn_UInt32>(mValues.size()), 0, 0};
    ioCursor.Fill(cCountSize);
    key.mContextCount = static_cast<Cmn_UInt32>(ioCursor.TakeCount(cContextSize));
    const bool swap = ioCursor.IsSwapped();
    for (Cmn_UInt32 i = 0; i < key.mContextCount; ++i) {
        ioCursor.Fill(cContextSize);
        const Cmn_UInt8* const at = ioCursor.Skip(cContextSize);
        ioCursor.Require(at[cListMark] <= 1);
        Cmn_UInt8* const to = mRecords.Extend(cContextSize);
        if (swap)
            Context(at, true).Put(to, false);
        else
            std::memcpy(to, at, cContextSize);
    }
    ioCursor.Require(mKeys.empty() || IsLess(mKeys.back(), key));
    mKeys.push_back(key);
    mKeyBytes += KeySize(key.mContextCount);
}

void FF_TOCTable::ReadValues(FF_TOCCursor& ioCursor, Cmn_Int64 iBegin, Cmn_Int64 iEnd)
{
    ioCursor.Fill(cCountSize);
    const Cmn_Int32 count = ioCursor.TakeCount(FF_TOCBytes::cSmallestValue);
    mKeys.back().mValueCount = mKeys.back().mValueRoom = static_cast<Cmn_UInt32>(count);
    for (Cmn_Int32 i = 0; i < count; ++i) {
        ioCursor.Fill(FF_TOCBytes::cLargestValue);
        const Cmn_UInt8* const from = ioCursor.GetAt();
        ioCursor.SkipValue(iBegin, iEnd);
        const Cmn_UInt8* const to = ioCursor.GetAt();
        const auto size = static_cast<Cmn_UInt32>(to - from);
        mValues.push_back({mArena.size(), size, size});
        mArena.Append(from, to);
        if (ioCursor.IsSwapped()) FF_TOCBytes::SwapValue(BytesOf(mValues.back()), true);
        mValueBytes += size;
    }
}
