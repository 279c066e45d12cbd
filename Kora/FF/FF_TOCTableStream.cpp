// FF_TOCTable's stream: read from memory in one pass, written in large pieces.
#include "Kora/FF/FF_TOCTable_p.h"

#include <algorithm>
#include <memory>

namespace {

// Hands bytes to a stream in pieces that are large against the cost of a call.
class PieceWriter
{
public:
    // iTotal: of all that will be written.
    PieceWriter(Sys_TypedOutStream& ioStream, Cmn_Int64 iTotal)
        : mStream(ioStream)
        , mSize(static_cast<std::size_t>(std::min(iTotal, cPiece)))
        , mBytes(std::make_unique_for_overwrite<Cmn_UInt8[]>(mSize))
    {
    }

    // Where the next iCount bytes go, at most as many as the largest value has.
    Cmn_UInt8* Take(std::size_t iCount)
    {
        if (iCount > mSize - mUsed) Flush();
        mUsed += iCount;
        return mBytes.get() + mUsed - iCount;
    }
    template <class T>
    void Put(T iValue)
    {
        FF_TOCBytes::Store(Take(sizeof(T)), iValue, mStream.IsSwapped());
    }
    void Flush()
    {
        mStream.WriteBytes(mBytes.get(), mUsed);
        mUsed = 0;
    }

private:
    static constexpr Cmn_Int64 cPiece = 256 * 1024;
    // A chain, and three bodies with sizes of 16 bits.
    static_assert(cPiece > 3 * FF_Document::Location::cMaxChain + 3 * (3 + 32767));

    Sys_TypedOutStream& mStream;
    std::size_t mSize;
    std::unique_ptr<Cmn_UInt8[]> mBytes;
    std::size_t mUsed = 0;
};

} // namespace

void FF_TOCTable::WriteBody(Sys_TypedOutStream& ioStream) const
{
    const bool swap = ioStream.IsSwapped();
    PieceWriter pieces(ioStream, GetBodySize());
    pieces.Put(static_cast<Cmn_Int32>(mKeys.size()));
    for (std::size_t nth = 0; nth < mKeys.size(); ++nth) {
        const Key& key = GetKey(GetInOrder(static_cast<Cmn_Int32>(nth)));
        pieces.Put(key.contextCount);
        for (const Context& context : GetContexts(key)) {
            Cmn_UInt8* const at = pieces.Take(cContextSize);
            FF_TOCBytes::Store(at, context.GetStreamType(), swap);
            FF_TOCBytes::Store(at + 2, context.parent, swap);
            at[6] = static_cast<Cmn_UInt8>(context.isList);
            FF_TOCBytes::Store(at + 7, context.GetListIndex(), swap);
        }
        pieces.Put(key.valueCount);
        for (std::size_t i = 0; i < key.valueCount; ++i) {
            const Value& value = mValues[key.firstValue + i];
            Cmn_UInt8* const at = pieces.Take(value.size);
            std::memcpy(at, BytesOf(value), value.size);
            if (swap) FF_TOCBytes::SwapValue(at, false);
        }
    }
    pieces.Flush();
}

void FF_TOCTable::ReadBody(FF_TOCCursor& ioCursor, Cmn_Int64 iEnd)
{
    // Keys ascend, so that one at most, the first, has no contexts, and every other takes KeySize(1) bytes.
    const Cmn_Int32 count = ioCursor.Take<Cmn_Int32>();
    ioCursor.Require(count >= 0 && count * KeySize(1) - cContextSize <= ioCursor.GetBytesLeft());
    Reserve(ioCursor, static_cast<std::size_t>(count));
    for (Cmn_Int32 i = 0; i < count; ++i) {
        ReadKey(ioCursor);
        ReadValues(ioCursor, iEnd);
    }
    // No later version appends to this one: its number would be another.
    ioCursor.Require(ioCursor.GetBytesLeft() == 0);
    mAscending = mKeys.size();
    MakeSlotsFor(mKeys.size());
}

// The keys of a document mostly are of one depth, with one value each.
void FF_TOCTable::Reserve(FF_TOCCursor iCursor, std::size_t iKeys)
{
    if (iKeys == 0) return;
    const auto left = static_cast<std::size_t>(iCursor.GetBytesLeft());
    const auto depth = static_cast<std::size_t>(iCursor.TakeCount(cContextSize));
    const std::size_t contexts = std::min(left / cContextSize, iKeys * depth);
    mKeys.reserve(iKeys);
    mContexts.reserve(contexts);
    mValues.reserve(std::min(left / FF_TOCBytes::cSmallestValue, iKeys));
    const std::size_t keyBytes = contexts * cContextSize + iKeys * 2 * cCountSize;
    mArena.reserve(left > keyBytes ? left - keyBytes : 0);
}

void FF_TOCTable::ReadKey(FF_TOCCursor& ioCursor)
{
    Key key{static_cast<Cmn_UInt32>(mContexts.size()), 0, static_cast<Cmn_UInt32>(mValues.size()), 0, 0};
    key.contextCount = static_cast<Cmn_UInt32>(ioCursor.TakeCount(cContextSize));
    const bool swap = ioCursor.IsSwapped();
    for (Cmn_UInt32 i = 0; i < key.contextCount; ++i) {
        const Cmn_UInt8* const at = ioCursor.Skip(cContextSize);
        ioCursor.Require(at[6] <= 1);
        const auto type = FF_TOCBytes::Load<Cmn_Int16>(at, swap);
        const auto listIndex = FF_TOCBytes::Load<Cmn_Int32>(at + 7, swap);
        mContexts.push_back({RankOf(type, listIndex), FF_TOCBytes::Load<Cmn_UInt32>(at + 2, swap), at[6]});
    }
    ioCursor.Require(mKeys.empty() || IsLess(mKeys.back(), key));
    mKeys.push_back(key);
    mKeyBytes += KeySize(key.contextCount);
}

void FF_TOCTable::ReadValues(FF_TOCCursor& ioCursor, Cmn_Int64 iEnd)
{
    Key& key = mKeys.back();
    key.valueCount = key.valueRoom = static_cast<Cmn_UInt32>(ioCursor.TakeCount(FF_TOCBytes::cSmallestValue));
    const Cmn_UInt8* const from = ioCursor.GetAt();
    std::size_t begin = mArena.size();
    for (Cmn_UInt32 i = 0; i < key.valueCount; ++i) {
        const Cmn_UInt8* const at = ioCursor.GetAt();
        ioCursor.SkipValue(iEnd);
        const auto size = static_cast<Cmn_UInt32>(ioCursor.GetAt() - at);
        mValues.push_back({begin, size, size});
        begin += size;
    }
    mArena.insert(mArena.end(), from, ioCursor.GetAt());
    mValueBytes += ioCursor.GetAt() - from;
    if (!ioCursor.IsSwapped()) return;
    for (std::size_t i = 0; i < key.valueCount; ++i)
        FF_TOCBytes::SwapValue(BytesOf(mValues[key.firstValue + i]), true);
}
