#include "Kora/FF/Format/FF_TOCBytes_p.h"

#include "Bastel/Sys/Sys_StreamThrow_p.h"
#include "Kora/FF/Format/FF_TOCGrammar_p.h"

#include <algorithm>

namespace {

// Large against the cost of a call, small against the cache.
constexpr Cmn_Int64 cPiece = 256 * 1024;
static_assert(cPiece >= Cmn_Int64{FF_TOCBytes::cLargestValue});

constexpr Cmn_UInt8 cPlain = FF_Format::cPlainLocation;
constexpr Cmn_UInt8 cLocal = FF_Format::cLocalLocation;

// Passes over what it is told of; pieces lie in [mBegin, mEnd).
class Skipper
{
public:
    Skipper(FF_TOCCursor& ioCursor, Cmn_Int64 iBegin, Cmn_Int64 iEnd)
        : mCursor(ioCursor)
        , mBegin(iBegin)
        , mEnd(iEnd)
    {
    }

    void Plain(std::size_t) {}
    void Local(std::size_t) {}
    void Piece(Cmn_UInt32 iAt) { mCursor.Require(iAt >= mBegin && iAt < mEnd); }
    void Text(std::size_t iCount) { mCursor.Skip(iCount); }
    void Bytes(FF_ETOCPart, Cmn_UInt8, std::size_t iSize) { mCursor.Skip(iSize); }

private:
    FF_TOCCursor& mCursor;
    Cmn_Int64 mBegin;
    Cmn_Int64 mEnd;
};

// Both ends of the walk over a checked value: turns each integer where it stands.
class Swapper
{
public:
    Swapper(Cmn_UInt8* ioAt, bool iFromSwapped)
        : mAt(ioAt)
        , mFromSwapped(iFromSwapped)
    {
    }

    template <class T>
    T Take()
    {
        const T value = Sys_LoadInteger<T>(mAt, mFromSwapped);
        Sys_StoreInteger<T>(mAt, value, !mFromSwapped);
        mAt += sizeof(T);
        return value;
    }
    static void Require(bool) {}
    static Cmn_Int64 GetBytesLeft() { return FF_Format::cMaxPartSize; }

    static void Plain(std::size_t) {}
    static void Local(std::size_t) {}
    static void Piece(Cmn_UInt32) {}
    void Text(std::size_t iCount) { mAt += iCount; }
    void Bytes(FF_ETOCPart, Cmn_UInt8, std::size_t iSize) { mAt += iSize; }

private:
    Cmn_UInt8* mAt;
    bool mFromSwapped;
};

} // namespace

FF_TOCCursor::FF_TOCCursor(std::span<const Cmn_UInt8> iBytes)
    : mBegin(iBytes.data())
    , mAt(mBegin)
    , mEnd(mBegin + iBytes.size())
{
}

FF_TOCCursor::FF_TOCCursor(Sys_TypedInStream& ioStream, Cmn_Int64 iCount)
    : mStream(&ioStream)
    , mNotRead(iCount)
    , mOffset(ioStream.GetPosition())
    , mPiece(static_cast<std::size_t>(std::min(iCount, cPiece)))
    , mBytes(std::make_unique_for_overwrite<Cmn_UInt8[]>(mPiece))
    , mBegin(mBytes.get())
    , mAt(mBegin)
    , mEnd(mBegin)
    , mSwap(ioStream.IsSwapped())
{
}

FF_TOCCursor::FF_TOCCursor(std::span<const Cmn_UInt8> iBytes, Sys_TypedInStream& ioStream, Cmn_Int64 iPlace)
    : mStream(&ioStream)
    , mOffset(iPlace)
    , mBegin(iBytes.data())
    , mAt(mBegin)
    , mEnd(mBegin + iBytes.size())
    , mSwap(ioStream.IsSwapped())
{
}

void FF_TOCCursor::Refuse() const
{
    const Cmn_Int64 place = mOffset + (mAt - mBegin);
    if (mStream != nullptr) Sys_ThrowFrom<Sys_StreamReadException>(mStream->GetStream(), place);
    throw Sys_StreamReadException(place);
}

void FF_TOCCursor::Refill()
{
    const auto kept = static_cast<std::size_t>(mEnd - mAt);
    std::memmove(mBytes.get(), mAt, kept);
    mOffset += mAt - mBegin;
    mAt = mBegin;
    const auto more = static_cast<std::size_t>(std::min(mNotRead, static_cast<Cmn_Int64>(mPiece - kept)));
    mStream->ReadBytes(mBytes.get() + kept, more);
    mEnd = mBegin + kept + more;
    mNotRead -= static_cast<Cmn_Int64>(more);
}

void FF_TOCCursor::SkipKey()
{
    for (Cmn_Int32 left = TakeCount(FF_TOCBytes::cContextSize); left > 0; --left)
        Require(Skip(FF_TOCBytes::cContextSize)[6] <= 1);
    Require(Take<Cmn_Int32>() >= 0);
}

void FF_TOCCursor::SkipValue(Cmn_Int64 iBegin, Cmn_Int64 iEnd)
{
    Skipper skipper(*this, iBegin, iEnd);
    FF_TakeTOCValue(*this, skipper);
}

void FF_TOCBytes::SwapValue(Cmn_UInt8* ioValue, bool iFromSwapped)
{
    Swapper swapper(ioValue, iFromSwapped);
    FF_TakeTOCValue(swapper, swapper);
}

const Cmn_UInt8* FF_TOCBytes::LastLocation(const Cmn_UInt8* iValue)
{
    while (iValue[0] == cPlain && Sys_LoadInteger<Cmn_UInt16>(iValue + 1, false) != 0)
        iValue += cPartHeader;
    return iValue;
}

std::size_t FF_TOCBytes::LocationSize(const Cmn_UInt8* iValue)
{
    const Cmn_UInt8* const last = LastLocation(iValue);
    return static_cast<std::size_t>(last - iValue) + cPartHeader +
           Sys_LoadInteger<Cmn_UInt16>(last + 1, false);
}

std::span<const Cmn_UInt8> FF_TOCBytes::Offsets(const Cmn_UInt8* iLocation)
{
    if (iLocation[0] != cLocal) return {};
    return {iLocation + cLocalHeader,
            cOffsetSize * Sys_LoadInteger<Cmn_UInt16>(iLocation + cPartHeader, false)};
}
