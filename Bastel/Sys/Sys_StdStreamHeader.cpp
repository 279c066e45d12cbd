#include "Bastel/Sys/Sys_StdStreamHeader.h"

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Bastel/Cmn/Cmn_Exception.h"
#include "Bastel/Sys/Sys_ByteOrder_p.h"
#include "Bastel/Sys/Sys_Crc32C.h"
#include "Bastel/Sys/Sys_StdStreamHeader_p.h"
#include "Bastel/Sys/Sys_StreamThrow_p.h"

#include <algorithm>
#include <bit>

using Fields = Sys_StdStreamHeaderFields;

namespace {

// Takes and puts integers at a place that moves on, in the stream's byte order.
template <class T>
T Take(const Cmn_UInt8*& ioFrom, bool iSwap)
{
    ioFrom += sizeof(T);
    return Sys_LoadInteger<T>(ioFrom - sizeof(T), iSwap);
}

template <class T>
void Put(T iValue, Cmn_UInt8*& ioTo, bool iSwap)
{
    Sys_StoreInteger(ioTo, iValue, iSwap);
    ioTo += sizeof(T);
}

void Tell(const Fields& iFields, std::string_view iName, Cmn_Int64 iBody, Sys_StdStreamHeaderInfo& oInfo)
{
    oInfo.mName = iName;
    oInfo.mVersion = iFields.mVersion;
    oInfo.mListIndex = iFields.mListIndex;
    oInfo.mIsList = iFields.IsList();
    oInfo.mHasSums = iFields.HasSums();
    oInfo.mIsComplete = iFields.IsComplete();
    oInfo.mBodySum = iFields.mBodySum;
    oInfo.mStart = iFields.mStart;
    oInfo.mBody = iBody;
    oInfo.mEnd = oInfo.mIsComplete ? iBody + Cmn_Int64{iFields.mBodySize} : iBody;
}

} // namespace

Cmn_UInt32 Fields::SumOf(const Cmn_UInt8* iHeader, std::size_t iSizeBeforeSum, Cmn_Int64 iStart)
{
    // Fixed on disk.
    constexpr int cTurn = 15;
    constexpr Cmn_UInt32 cAdded = 0x4B534833; // "KSH3"
    return std::rotr(Sys_Crc32C(0, iHeader, iSizeBeforeSum), cTurn) + cAdded +
           static_cast<Cmn_UInt32>(iStart);
}

std::size_t Fields::ReadFront(Sys_TypedInStream& ioStream, Bytes& oBytes)
{
    const Cmn_Int64 start = ioStream.GetPosition();
    ioStream.ReadBytes(oBytes.data(), cFixedFront);
    if (!std::equal(cMagic.begin(), cMagic.end(), oBytes.begin())) throw Sys_StreamReadException(start);
    return oBytes[cMagic.size()];
}

std::string Fields::ReadName(Sys_TypedInStream& ioStream)
{
    Bytes bytes;
    std::string name(ReadFront(ioStream, bytes), '\0');
    ioStream.ReadBytes(name.data(), name.size());
    return name;
}

Fields Fields::Read(Sys_TypedInStream& ioStream)
{
    Bytes bytes;
    const Cmn_Int64 start = ioStream.GetPosition();
    const std::size_t nameSize = ReadFront(ioStream, bytes);
    ioStream.ReadBytes(bytes.data() + cFixedFront, nameSize + cAfterName + cBlockSize);
    Fields fields = FromBytes(bytes.data(), start, ioStream.IsSwapped());
    fields.mName.assign(bytes.data() + cFixedFront, bytes.data() + cFixedFront + nameSize);
    return fields;
}

Fields Fields::FromBytes(const Cmn_UInt8* iBytes, Cmn_Int64 iStart, bool iSwap)
{
    Fields fields;
    fields.mStart = iStart;
    const Cmn_UInt8* from = iBytes + cFixedFront + iBytes[cMagic.size()];
    fields.mVersion = Take<Cmn_Int16>(from, iSwap);
    fields.mListIndex = Take<Cmn_UInt32>(from, iSwap);
    fields.mFlags = Take<Cmn_UInt16>(from, iSwap);
    fields.mBodySize = Take<Cmn_UInt32>(from, iSwap);
    fields.mBodySum = Take<Cmn_UInt32>(from, iSwap);
    if (fields.HasSums())
        fields.mComputedSum = SumOf(iBytes, static_cast<std::size_t>(from - iBytes), fields.mStart);
    fields.mHeaderSum = Take<Cmn_UInt32>(from, iSwap);
    if (fields.HasSums() && fields.IsComplete()) fields.mBodySum -= static_cast<Cmn_UInt32>(fields.mStart);
    return fields;
}

bool Fields::IsGenuineElsewhere() const
{
    constexpr Cmn_UInt16 cKnownFlags = cFlagComplete | cFlagList | cFlagSums;
    return (mFlags & ~cKnownFlags) == 0 && (HasSums() || (mHeaderSum == 0 && mBodySum == 0)) &&
           IsComplete() == (mBodySize != cUnknownSize);
}

bool Fields::IsSound(Cmn_Int64 iBytesLeft) const
{
    return IsGenuine() && IsComplete() && Cmn_Int64{mBodySize} <= iBytesLeft;
}

std::size_t Fields::ToBytes(bool iSwap, Bytes& oBytes)
{
    Cmn_UInt8* to = std::copy(cMagic.begin(), cMagic.end(), oBytes.data());
    *to++ = static_cast<Cmn_UInt8>(mName.size());
    to = std::copy(mName.begin(), mName.end(), to);
    Put(mVersion, to, iSwap);
    Put(mListIndex, to, iSwap);
    Put(mFlags, to, iSwap);
    Put(mBodySize, to, iSwap);
    Put(HasSums() && IsComplete() ? mBodySum + static_cast<Cmn_UInt32>(mStart) : mBodySum, to, iSwap);
    mHeaderSum = HasSums() ? SumOf(oBytes.data(), static_cast<std::size_t>(to - oBytes.data()), mStart) : 0;
    Put(mHeaderSum, to, iSwap);
    return GetSize();
}

Sys_StdStreamHeaderWriter::Sys_StdStreamHeaderWriter(Sys_TypedOutStream& ioStream, std::string_view iName,
                                                     Cmn_Int16 iVersion, int iCallersExceptions)
    : mStream(ioStream)
    , mStart(ioStream.GetPosition())
    , mName(iName.substr(0, Fields::cMaxName))
    , mVersion(iVersion)
    , mListIndex(ioStream.GetStream().GetOpenHeaders().GetListIndex())
    , mExceptions(iCallersExceptions + std::uncaught_exceptions())
{
    Cmn_ASSERT(iName.size() <= Fields::cMaxName);
    Sys_OutStream& stream = mStream.GetStream();
    Fields fields;
    fields.mStart = mStart;
    fields.mName = mName;
    fields.mVersion = mVersion;
    fields.mListIndex = mListIndex;
    fields.mFlags = stream.HasSums() ? Fields::cFlagSums : 0;
    Fields::Bytes bytes;
    const std::size_t size = fields.ToBytes(mStream.IsSwapped(), bytes);
    stream.UpdateSums(); // the enclosing sum covers what stands before this header
    stream.GetOpenHeaders().Open(mStart, mStart + static_cast<Cmn_Int64>(size));
    try {
        mStream.WriteBytes(bytes.data(), size);
    } catch (...) {
        Abandon();
        throw;
    }
    mBlock = mStart + static_cast<Cmn_Int64>(size) - Fields::cBlockSize;
}

void Sys_StdStreamHeaderWriter::Abandon()
{
    if (mState != eState_Open) return;
    Sys_OutStream& stream = mStream.GetStream();
    stream.GetOpenHeaders().Abandon();
    stream.TakeBack(mStart);
    mState = eState_Abandoned;
}

void Sys_StdStreamHeaderWriter::Finish(int iCallersExceptions) noexcept
{
    if (mState != eState_Open) return;
    // A body whose writing ended with an exception is not complete, and nobody must find it.
    const bool isExceptionOnItsWay = iCallersExceptions + std::uncaught_exceptions() > mExceptions;
    try {
        if (!isExceptionOnItsWay) return PatchSize();
    } catch (...) {
        // A destructor lets nothing out; the next write or flush of the stream throws in its place.
        mStream.GetStream().RememberFailure();
    }
    Abandon();
}

void Sys_StdStreamHeaderWriter::PatchSize()
{
    if (mState != eState_Open) return;
    Sys_OutStream& stream = mStream.GetStream();
    Sys_OpenHeaders& open = stream.GetOpenHeaders();
    if (!Cmn_ASSERT(!open.IsEmpty() && open.GetStart() == mStart))
        return; // headers close from the inside out
    const Cmn_Int64 size = mStream.GetPosition() - mBlock - Fields::cBlockSize;
    if (size < 0 || size >= Cmn_Int64{Fields::cUnknownSize})
        Sys_ThrowFrom<Sys_StreamWriteException>(mStream.GetStream(), mStart);

    stream.UpdateSums();
    Fields fields;
    fields.mStart = mStart;
    fields.mName = mName;
    fields.mVersion = mVersion;
    fields.mListIndex = mListIndex;
    fields.mFlags = Fields::cFlagComplete;
    if (open.IsList()) fields.mFlags |= Fields::cFlagList;
    if (stream.HasSums()) fields.mFlags |= Fields::cFlagSums;
    fields.mBodySize = static_cast<Cmn_UInt32>(size);
    fields.mBodySum = stream.HasSums() ? open.GetBodySum() : 0;
    Fields::Bytes bytes;
    const std::size_t headerSize = fields.ToBytes(mStream.IsSwapped(), bytes);
    const Cmn_UInt8* const block = bytes.data() + headerSize - Fields::cBlockSize;
    if (!stream.PatchHeader(mBlock, block, Fields::cBlockSize))
        Sys_ThrowFrom<Sys_StreamWriteException>(mStream.GetStream(), mStart);
    if (stream.HasSums())
        open.Close(bytes.data(), headerSize, fields.mBodySize);
    else
        open.Abandon();
    mState = eState_Complete;
}

Sys_StdStreamHeaderReader::Sys_StdStreamHeaderReader(Sys_TypedInStream& ioStream, std::string_view iName)
    : mStream(ioStream)
{
    const Cmn_Int64 start = mStream.GetPosition();
    if (!Peek(mStream, mInfo) || !mInfo.mIsComplete || mInfo.mName != iName)
        Sys_ThrowFrom<Sys_StreamReadException>(mStream.GetStream(), start);
    Sys_InStream& stream = mStream.GetStream();
    if (mInfo.mHasSums && !stream.IsVerified(mInfo.mBody, mInfo.mEnd)) {
        if (stream.SumOf(mInfo.mBody, mInfo.mEnd - mInfo.mBody) != mInfo.mBodySum)
            Sys_ThrowFrom<Sys_StreamReadException>(mStream.GetStream(), mInfo.mBody);
        stream.SetVerified(mInfo.mStart, mInfo.mEnd);
    }
    mStream.SetPosition(mInfo.mBody);
}

void Sys_StdStreamHeaderReader::CheckVersion(Cmn_Int16 iMin, Cmn_Int16 iMax) const
{
    if (mInfo.mVersion < iMin) Sys_ThrowFrom<Cmn_DocumentTooOldException>(mStream.GetStream(), mInfo.mStart);
    if (mInfo.mVersion > iMax) Sys_ThrowFrom<Cmn_DocumentTooNewException>(mStream.GetStream(), mInfo.mStart);
}

void Sys_StdStreamHeaderReader::SkipTheRest() { mStream.SetPosition(mInfo.mEnd); }

std::string Sys_StdStreamHeaderReader::PeekName(Sys_TypedInStream& ioStream)
{
    const Cmn_Int64 start = ioStream.GetPosition();
    std::string name;
    try {
        name = Fields::ReadName(ioStream);
    } catch (const Cmn_Exception&) {
        // No header: the empty name says so.
    }
    ioStream.SetPosition(start);
    return name;
}

bool Sys_StdStreamHeaderReader::Peek(Sys_TypedInStream& ioStream, Sys_StdStreamHeaderInfo& oInfo)
{
    Sys_InStream& stream = ioStream.GetStream();
    const Cmn_Int64 start = stream.GetPosition();
    const auto take = [&](const Fields& iFields, std::string_view iName) {
        const auto size = Fields::cFixedFront + iName.size() + Fields::cAfterName + Fields::cBlockSize;
        const Cmn_Int64 body = start + static_cast<Cmn_Int64>(size);
        const bool fits =
            iFields.IsComplete() ? iFields.IsSound(stream.GetLength() - body) : iFields.IsGenuine();
        if (!fits || (!iFields.HasSums() && stream.HasSums())) return false;
        Tell(iFields, iName, body, oInfo);
        return true;
    };
    // Nearly all headers have a short name and stand in memory: they are taken from there.
    const std::span<const Cmn_UInt8> bytes = stream.Look(Fields::cShortSize);
    if (!bytes.empty()) {
        if (!std::equal(Fields::cMagic.begin(), Fields::cMagic.end(), bytes.begin())) return false;
        const std::size_t nameSize = bytes[Fields::cMagic.size()];
        if (nameSize <= Fields::cMaxShortName)
            return take(Fields::FromBytes(bytes.data(), start, ioStream.IsSwapped()),
                        {reinterpret_cast<const char*>(bytes.data()) + Fields::cFixedFront, nameSize});
    }
    bool isHeader = false;
    try {
        const Fields fields = Fields::Read(ioStream);
        isHeader = take(fields, fields.mName);
    } catch (const Cmn_Exception&) {
        // The bytes end within what would be a header.
    }
    ioStream.SetPosition(start);
    return isHeader;
}
