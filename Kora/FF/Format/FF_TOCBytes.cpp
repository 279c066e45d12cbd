#include "Kora/FF/Format/FF_TOCBytes_p.h"

#include <algorithm>

namespace {

// Large against the cost of a call, small against the cache.
constexpr Cmn_Int64 cPiece = 256 * 1024;
static_assert(cPiece >= Cmn_Int64{FF_TOCBytes::cLargestValue});

constexpr Cmn_UInt8 cPlain = FF_Format::cPlainLocation;
constexpr Cmn_UInt8 cLocal = FF_Format::cLocalLocation;
constexpr Cmn_UInt8 cString = FF_Format::cStringDescription;

// Walks a checked value and turns each of its integers.
class Swapper
{
public:
    Swapper(Cmn_UInt8* ioAt, bool iFromSwapped)
        : mAt(ioAt)
        , mFromSwapped(iFromSwapped)
    {
    }

    template <class T>
    T Turn()
    {
        const T value = Sys_LoadInteger<T>(mAt, mFromSwapped);
        Sys_StoreInteger<T>(mAt, value, !mFromSwapped);
        mAt += sizeof(T);
        return value;
    }
    Cmn_UInt8 TakeType() { return *mAt++; }
    void Skip(std::size_t iCount) { mAt += iCount; }

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

std::size_t FF_TOCCursor::TakeSize()
{
    const Cmn_Int16 size = Take<Cmn_Int16>();
    Require(size >= 0 && size <= GetBytesLeft());
    return static_cast<std::size_t>(size);
}

void FF_TOCCursor::SkipLocation(Cmn_Int64 iBegin, Cmn_Int64 iEnd)
{
    for (int link = 0; link < FF_Format::cMaxLocations; ++link) {
        const Cmn_UInt8 type = *Skip(1);
        const std::size_t size = TakeSize();
        if (type == cPlain && size != 0) continue;
        if (type != cLocal) {
            Skip(size);
            return;
        }
        const Cmn_Int16 count = Take<Cmn_Int16>();
        Require(count >= 0 && size == 2 + FF_TOCBytes::cOffsetSize * static_cast<std::size_t>(count));
        for (Cmn_Int16 i = 0; i < count; ++i) {
            const auto offset = Cmn_Int64{Take<Cmn_UInt32>()};
            Require(offset >= iBegin && offset < iEnd);
        }
        return;
    }
    Require(false);
}

void FF_TOCCursor::SkipValue(Cmn_Int64 iBegin, Cmn_Int64 iEnd)
{
    SkipLocation(iBegin, iEnd);
    const Cmn_UInt8 displayType = *Skip(1);
    std::size_t displaySize = TakeSize();
    if (displayType == cString) {
        const Cmn_UInt32 count = Take<Cmn_UInt32>();
        Require(displaySize == sizeof count + std::size_t{count});
        displaySize = count;
    }
    Skip(displaySize);
    Skip(1);
    Skip(TakeSize());
}

void FF_TOCBytes::SwapValue(Cmn_UInt8* ioValue, bool iFromSwapped)
{
    Swapper swapper(ioValue, iFromSwapped);
    Cmn_UInt8 type;
    Cmn_Int16 size;
    do {
        type = swapper.TakeType();
        size = swapper.Turn<Cmn_Int16>();
    } while (type == cPlain && size != 0);
    if (type == cLocal) {
        for (Cmn_Int16 left = swapper.Turn<Cmn_Int16>(); left > 0; --left)
            swapper.Turn<Cmn_UInt32>();
    } else {
        swapper.Skip(static_cast<std::size_t>(size));
    }
    type = swapper.TakeType();
    size = swapper.Turn<Cmn_Int16>();
    if (type == cString)
        swapper.Skip(swapper.Turn<Cmn_UInt32>());
    else
        swapper.Skip(static_cast<std::size_t>(size));
    swapper.TakeType();
    swapper.Turn<Cmn_Int16>();
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

void FF_TOCBytes::StoreLocalHeader(Cmn_UInt8* oLocation, std::size_t iCount)
{
    oLocation[0] = cLocal;
    Sys_StoreInteger(oLocation + 1, static_cast<Cmn_UInt16>(2 + cOffsetSize * iCount), false);
    Sys_StoreInteger(oLocation + cPartHeader, static_cast<Cmn_UInt16>(iCount), false);
}
