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

Sys_StdStreamHeaderInfo InfoOf(Fields&& iFields, Cmn_Int64 iStart, Cmn_Int64 iBody)
{
    Sys_StdStreamHeaderInfo info;
    info.name = std::move(iFields.name);
    info.version = iFields.version;
    info.listIndex = iFields.listIndex;
    info.isList = iFields.IsList();
    info.hasSums = iFields.HasSums();
    info.isComplete = iFields.IsComplete();
    info.bodySum = iFields.bodySum;
    info.start = iStart;
    info.body = iBody;
    info.end = info.isComplete ? iBody + Cmn_Int64{iFields.bodySize} : iBody;
    return info;
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
    Fields fields;
    fields.start = ioStream.GetPosition();
    const std::size_t nameSize = ReadFront(ioStream, bytes);
    Cmn_UInt8* const behindFront = bytes.data() + cFixedFront;
    ioStream.ReadBytes(behindFront, nameSize + cAfterName + cBlockSize);
    fields.name.assign(behindFront, behindFront + nameSize);
    const bool swap = ioStream.IsSwapped();
    const Cmn_UInt8* from = behindFront + nameSize;
    fields.version = Take<Cmn_Int16>(from, swap);
    fields.listIndex = Take<Cmn_UInt32>(from, swap);
    fields.flags = Take<Cmn_UInt16>(from, swap);
    fields.bodySize = Take<Cmn_UInt32>(from, swap);
    fields.bodySum = Take<Cmn_UInt32>(from, swap);
    if (fields.HasSums())
        fields.computedSum = SumOf(bytes.data(), static_cast<std::size_t>(from - bytes.data()), fields.start);
    fields.headerSum = Take<Cmn_UInt32>(from, swap);
    if (fields.HasSums() && fields.IsComplete()) fields.bodySum -= static_cast<Cmn_UInt32>(fields.start);
    return fields;
}

bool Fields::IsGenuineElsewhere() const
{
    constexpr Cmn_UInt16 cKnownFlags = cFlagComplete | cFlagList | cFlagSums;
    return (flags & ~cKnownFlags) == 0 && (HasSums() || (headerSum == 0 && bodySum == 0)) &&
           IsComplete() == (bodySize != cUnknownSize);
}

bool Fields::IsSound(Cmn_Int64 iBytesLeft) const
{
    return IsGenuine() && IsComplete() && Cmn_Int64{bodySize} <= iBytesLeft;
}

std::size_t Fields::ToBytes(bool iSwap, Bytes& oBytes)
{
    Cmn_UInt8* to = std::copy(cMagic.begin(), cMagic.end(), oBytes.data());
    *to++ = static_cast<Cmn_UInt8>(name.size());
    to = std::copy(name.begin(), name.end(), to);
    Put(version, to, iSwap);
    Put(listIndex, to, iSwap);
    Put(flags, to, iSwap);
    Put(bodySize, to, iSwap);
    Put(HasSums() && IsComplete() ? bodySum + static_cast<Cmn_UInt32>(start) : bodySum, to, iSwap);
    headerSum = HasSums() ? SumOf(oBytes.data(), static_cast<std::size_t>(to - oBytes.data()), start) : 0;
    Put(headerSum, to, iSwap);
    return GetSize();
}

Sys_StdStreamHeaderWriter::Sys_StdStreamHeaderWriter(Sys_TypedOutStream& iStream, std::string_view iName,
                                                     Cmn_Int16 iVersion, int iCallersExceptions)
    : mStream(iStream)
    , mStart(iStream.GetPosition())
    , mName(iName.substr(0, Fields::cMaxName))
    , mVersion(iVersion)
    , mListIndex(iStream.GetStream().GetOpenHeaders().GetListIndex())
    , mExceptions(iCallersExceptions + std::uncaught_exceptions())
{
    Cmn_ASSERT(iName.size() <= Fields::cMaxName);
    Sys_OutStream& stream = mStream.GetStream();
    Fields fields;
    fields.start = mStart;
    fields.name = mName;
    fields.version = mVersion;
    fields.listIndex = mListIndex;
    fields.flags = stream.HasSums() ? Fields::cFlagSums : 0;
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
    fields.start = mStart;
    fields.name = mName;
    fields.version = mVersion;
    fields.listIndex = mListIndex;
    fields.flags = Fields::cFlagComplete;
    if (open.IsList()) fields.flags |= Fields::cFlagList;
    if (stream.HasSums()) fields.flags |= Fields::cFlagSums;
    fields.bodySize = static_cast<Cmn_UInt32>(size);
    fields.bodySum = stream.HasSums() ? open.GetBodySum() : 0;
    Fields::Bytes bytes;
    const std::size_t headerSize = fields.ToBytes(mStream.IsSwapped(), bytes);
    const Cmn_UInt8* const block = bytes.data() + headerSize - Fields::cBlockSize;
    if (!stream.PatchHeader(mBlock, block, Fields::cBlockSize))
        Sys_ThrowFrom<Sys_StreamWriteException>(mStream.GetStream(), mStart);
    if (stream.HasSums())
        open.Close(bytes.data(), headerSize, fields.bodySize);
    else
        open.Abandon();
    mState = eState_Complete;
}

Sys_StdStreamHeaderReader::Sys_StdStreamHeaderReader(Sys_TypedInStream& iStream, std::string_view iName)
    : mStream(iStream)
{
    const Cmn_Int64 start = mStream.GetPosition();
    if (!Peek(mStream, mInfo) || !mInfo.isComplete || mInfo.name != iName)
        Sys_ThrowFrom<Sys_StreamReadException>(mStream.GetStream(), start);
    Sys_InStream& stream = mStream.GetStream();
    if (mInfo.hasSums && !stream.IsVerified(mInfo.body, mInfo.end)) {
        if (stream.SumOf(mInfo.body, mInfo.end - mInfo.body) != mInfo.bodySum)
            Sys_ThrowFrom<Sys_StreamReadException>(mStream.GetStream(), mInfo.body);
        stream.SetVerified(mInfo.start, mInfo.end);
    }
    mStream.SetPosition(mInfo.body);
}

void Sys_StdStreamHeaderReader::CheckVersion(Cmn_Int16 iMin, Cmn_Int16 iMax) const
{
    if (mInfo.version < iMin) Sys_ThrowFrom<Cmn_DocumentTooOldException>(mStream.GetStream(), mInfo.start);
    if (mInfo.version > iMax) Sys_ThrowFrom<Cmn_DocumentTooNewException>(mStream.GetStream(), mInfo.start);
}

void Sys_StdStreamHeaderReader::SkipTheRest() { mStream.SetPosition(mInfo.end); }

std::string Sys_StdStreamHeaderReader::PeekName(Sys_TypedInStream& iStream)
{
    const Cmn_Int64 start = iStream.GetPosition();
    std::string name;
    try {
        name = Fields::ReadName(iStream);
    } catch (const Cmn_Exception&) {
        // No header: the empty name says so.
    }
    iStream.SetPosition(start);
    return name;
}

bool Sys_StdStreamHeaderReader::Peek(Sys_TypedInStream& iStream, Sys_StdStreamHeaderInfo& oInfo)
{
    const Cmn_Int64 start = iStream.GetPosition();
    bool isHeader = false;
    try {
        Fields fields = Fields::Read(iStream);
        const Cmn_Int64 body = iStream.GetPosition();
        const bool fits = fields.IsComplete() ? fields.IsSound(iStream.GetBytesLeft()) : fields.IsGenuine();
        isHeader = fits && (fields.HasSums() || !iStream.GetStream().HasSums());
        if (isHeader) oInfo = InfoOf(std::move(fields), start, body);
    } catch (const Cmn_Exception&) {
        // The bytes end within what would be a header.
    }
    iStream.SetPosition(start);
    return isHeader;
}
