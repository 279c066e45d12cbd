// FF_TOCBytes: the bytes of a table of contents in memory: integers, a walk that stays inside, values as they
// stand on disk (FF_TOCGrammar_p.h).
//
// Bytes that were not checked are read through FF_TOCCursor only; the functions below it trust bytes that
// FF_TOCCursor::SkipValue has passed over, little-endian.
#pragma once

#include "Bastel/Cmn/Cmn_Exception.h"
#include "Bastel/Sys/Sys_ByteOrder_p.h"
#include "Bastel/Sys/Sys_TypedStream.h"
#include "Kora/FF/Format/FF_Format_p.h"

#include <cstring>
#include <memory>
#include <span>
#include <type_traits>

namespace FF_TOCBytes {

using FF_Format::cPartHeader;
constexpr std::size_t cLocalHeader = cPartHeader + 2; // and count
constexpr std::size_t cOffsetSize = FF_Format::cPieceSize;
constexpr std::size_t cContextSize = 11;
constexpr std::size_t cSmallestValue = 3 * cPartHeader;
// A chain of plain locations, and three parts with bodies of what 16 bits can tell.
constexpr std::size_t cLargestValue =
    3 * (cPartHeader + FF_Format::cMaxPartSize) + cPartHeader * FF_Format::cMaxLocations;

} // namespace FF_TOCBytes

// Reads on while there are bytes; throws Sys_StreamReadException with the place in the
// file where there are none.
class FF_TOCCursor
{
public:
    // Over bytes in memory, little-endian.
    explicit FF_TOCCursor(std::span<const Cmn_UInt8> iBytes);
    // Over the next iCount bytes of a stream that has them, taken in large pieces: Fill says when.
    FF_TOCCursor(Sys_TypedInStream& ioStream, Cmn_Int64 iCount);
    // Over bytes in memory that were read from the stream at iPlace, in its byte order.
    FF_TOCCursor(std::span<const Cmn_UInt8> iBytes, Sys_TypedInStream& ioStream, Cmn_Int64 iPlace);
    FF_TOCCursor(const FF_TOCCursor&) = delete;
    FF_TOCCursor& operator=(const FF_TOCCursor&) = delete;

    // Brings the next iCount bytes, or as many as there are, into memory; at most cLargestValue. What Skip
    // and GetAt gave before is no longer there.
    void Fill(std::size_t iCount)
    {
        if (mNotRead != 0 && static_cast<std::size_t>(mEnd - mAt) < iCount) Refill();
    }
    const Cmn_UInt8* GetAt() const { return mAt; }
    Cmn_Int64 GetBytesLeft() const { return mEnd - mAt + mNotRead; }
    bool IsSwapped() const { return mSwap; }
    void Require(bool iHolds) const
    {
        if (!iHolds) Refuse();
    }
    // The next iCount bytes, which were filled in, passed over.
    const Cmn_UInt8* Skip(std::size_t iCount)
    {
        Require(iCount <= static_cast<std::size_t>(mEnd - mAt));
        mAt += iCount;
        return mAt - iCount;
    }
    template <class T>
    T Take()
    {
        return Sys_LoadInteger<T>(Skip(sizeof(T)), mSwap);
    }
    // A count that is not negative and whose elements, of iSize bytes at least, can be there.
    Cmn_Int32 TakeCount(std::size_t iSize)
    {
        const Cmn_Int32 count = Sys_LoadInteger<Cmn_Int32>(Skip(4), mSwap);
        Require(count >= 0 && count <= GetBytesLeft() / static_cast<Cmn_Int64>(iSize));
        return count;
    }
    // Passes over one key, up to the count of its values, which were filled in.
    void SkipKey();
    // Passes over one value, and throws for whatever no writer writes, for chains without end, and for pieces
    // before iBegin or from iEnd on.
    void SkipValue(Cmn_Int64 iBegin, Cmn_Int64 iEnd);

private:
    [[noreturn]] void Refuse() const;
    void Refill();

    Sys_TypedInStream* mStream = nullptr;
    Cmn_Int64 mNotRead = 0; // of the stream's bytes
    Cmn_Int64 mOffset = 0;  // of mBegin in the stream
    std::size_t mPiece = 0;
    std::unique_ptr<Cmn_UInt8[]> mBytes;
    const Cmn_UInt8* mBegin;
    const Cmn_UInt8* mAt;
    const Cmn_UInt8* mEnd;
    bool mSwap = false;
};

namespace FF_TOCBytes {

// Turns one value from big-endian (iFromSwapped) to little-endian or back.
void SwapValue(Cmn_UInt8* ioValue, bool iFromSwapped);
// Where the last location of the chain stands, and how many bytes the chain has.
const Cmn_UInt8* LastLocation(const Cmn_UInt8* iValue);
std::size_t LocationSize(const Cmn_UInt8* iValue);
// The pieces of a location, as bytes; none where it is not local.
std::span<const Cmn_UInt8> Offsets(const Cmn_UInt8* iLocation);
inline void StoreLocalHeader(Cmn_UInt8* oLocation, std::size_t iCount)
{
    oLocation[0] = FF_Format::cLocalLocation;
    Sys_StoreInteger(oLocation + 1, static_cast<Cmn_UInt16>(2 + cOffsetSize * iCount), false);
    Sys_StoreInteger(oLocation + cPartHeader, static_cast<Cmn_UInt16>(iCount), false);
}

} // namespace FF_TOCBytes
