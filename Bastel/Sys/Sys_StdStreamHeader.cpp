#include "Bastel/Sys/Sys_StdStreamHeader.h"

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Bastel/Cmn/Cmn_Exception.h"
#include "Bastel/Sys/Sys_ByteOrder_p.h"
#include "Bastel/Sys/Sys_Crc32C.h"
#include "Bastel/Sys/Sys_StdStreamHeader_p.h"
#include "Bastel/Sys/Sys_StreamThrow_p.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <tuple>

using Fields = Sys_StdStreamHeaderFields;
using Numbers = Sys_StdStreamHeaderNumbers;

namespace {

// Puts integers at a place that moves on, in the stream's byte order.
template <class T>
void Put(T iValue, Cmn_UInt8*& ioTo, bool iSwap)
{
    Sys_StoreInteger(ioTo, iValue, iSwap);
    ioTo += sizeof(T);
}

// The magic as a number whose lowest byte is its first.
constexpr Cmn_UInt64 cMagicBits = [] {
    Cmn_UInt64 bits = 0;
    for (std::size_t i = Fields::cMagic.size(); i-- > 0;)
        bits = bits << 8 | static_cast<Cmn_UInt8>(Fields::cMagic[i]);
    return bits;
}();

// In place of a call for the one byte that most names have.
bool AreEqual(std::string_view iA, std::string_view iB)
{
    if (iA.size() != iB.size()) return false;
    std::size_t i = 0;
    while (i < iA.size() && iA[i] == iB[i])
        ++i;
    return i == iA.size();
}

// What Peek and the reader ask of a header, and what it says, but for its name, where it is one.
inline bool Tell(const Sys_InStream& iStream, const Numbers& iNumbers, std::size_t iNameSize,
                 Sys_StdStreamHeaderInfo& oInfo)
{
    const auto size = Fields::cFixedFront + iNameSize + Fields::cAfterName + Fields::cBlockSize;
    const Cmn_Int64 body = iNumbers.mStart + static_cast<Cmn_Int64>(size);
    const bool isComplete = iNumbers.IsComplete();
    if (!iNumbers.IsGenuine()) return false;
    if (isComplete && Cmn_Int64{iNumbers.mBodySize} > iStream.GetLength() - body) return false;
    if (!iNumbers.HasSums() && iStream.HasSums()) return false;
    oInfo.mVersion = iNumbers.mVersion;
    oInfo.mListIndex = iNumbers.mListIndex;
    oInfo.mIsList = iNumbers.IsList();
    oInfo.mHasSums = iNumbers.HasSums();
    oInfo.mIsComplete = isComplete;
    oInfo.mBodySum = iNumbers.mBodySum;
    oInfo.mStart = iNumbers.mStart;
    oInfo.mBody = body;
    oInfo.mEnd = isComplete ? body + Cmn_Int64{iNumbers.mBodySize} : body;
    return true;
}

// Of any name, from a stream that may have nothing in memory.
bool ReadAndTell(Sys_TypedInStream& ioStream, const std::string_view* iName, Sys_StdStreamHeaderInfo& oInfo)
{
    const Cmn_Int64 start = ioStream.GetPosition();
    bool isHeader = false;
    try {
        const Fields fields = Fields::Read(ioStream);
        const bool isWanted = iName == nullptr || *iName == fields.mName;
        isHeader = isWanted && Tell(ioStream.GetStream(), fields, fields.mName.size(), oInfo);
        if (isHeader && iName == nullptr) oInfo.mName = fields.mName;
    } catch (const Cmn_Exception&) {
        // The bytes end within what would be a header.
    }
    ioStream.SetPosition(start);
    return isHeader;
}

} // namespace

Cmn_UInt32 Numbers::SumOf(const Cmn_UInt8* iHeader, std::size_t iSizeBeforeSum, Cmn_Int64 iStart)
{
    return TurnedSum(Sys_Crc32C(0, iHeader, iSizeBeforeSum), iStart);
}

Cmn_UInt32 Numbers::TurnedSum(Cmn_UInt32 iPlainSum, Cmn_Int64 iStart)
{
    // Fixed on disk.
    constexpr int cTurn = 15;
    constexpr Cmn_UInt32 cAdded = 0x4B534833; // "KSH3"
    return std::rotr(iPlainSum, cTurn) + cAdded + static_cast<Cmn_UInt32>(iStart);
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
    Fields fields{FromBytes(bytes.data(), start, ioStream.IsSwapped()), {}};
    fields.mName.assign(bytes.data() + cFixedFront, bytes.data() + cFixedFront + nameSize);
    return fields;
}

std::size_t Numbers::PutFront(std::string_view iName, Cmn_Int16 iVersion, Cmn_UInt32 iListIndex, bool iSwap,
                              Cmn_UInt8* oFront)
{
    if (iName.size() == 1) { // as of the streams of documents
        const Cmn_UInt64 first = cMagicBits | Cmn_UInt64{1} << 32 |
                                 Cmn_UInt64{static_cast<Cmn_UInt8>(iName[0])} << 40 |
                                 Sys_StoredBits(iVersion, iSwap) << 48;
        Sys_StoreInteger(oFront, first, false);
        Sys_StoreInteger(oFront + sizeof first, iListIndex, iSwap);
        return sizeof first + sizeof iListIndex;
    }
    Cmn_UInt8* to = std::copy(cMagic.begin(), cMagic.end(), oFront);
    *to++ = static_cast<Cmn_UInt8>(iName.size());
    to = std::copy(iName.begin(), iName.end(), to);
    Put(iVersion, to, iSwap);
    Put(iListIndex, to, iSwap);
    return static_cast<std::size_t>(to - oFront);
}

void Numbers::PutBlock(Cmn_UInt32 iFrontSum, bool iSwap, Cmn_UInt8* oBlock)
{
    // flags 2, size 4, sum 4, header sum 4: a word, and what is left of the sums.
    const Cmn_UInt32 place = HasSums() && IsComplete() ? static_cast<Cmn_UInt32>(mStart) : 0;
    const Cmn_UInt64 bodySum = Sys_StoredBits(mBodySum + place, iSwap);
    const Cmn_UInt64 first =
        Sys_StoredBits(mFlags, iSwap) | Sys_StoredBits(mBodySize, iSwap) << 16 | bodySum << 48;
    Sys_StoreInteger(oBlock, first, false);
    Sys_StoreInteger(oBlock + 8, static_cast<Cmn_UInt16>(bodySum >> 16), false);
    mHeaderSum = HasSums() ? TurnedSum(Sys_Crc32C(iFrontSum, oBlock, cBlockSize - cSumSize), mStart) : 0;
    const Cmn_UInt64 rest = bodySum >> 16 | Sys_StoredBits(mHeaderSum, iSwap) << 16;
    Sys_StoreInteger(oBlock + 8, static_cast<Cmn_UInt32>(rest), false);
    Sys_StoreInteger(oBlock + 12, static_cast<Cmn_UInt16>(rest >> 32), false);
}

std::size_t Fields::ToBytes(bool iSwap, Bytes& oBytes)
{
    const std::size_t front = PutFront(mName, mVersion, mListIndex, iSwap, oBytes.data());
    PutBlock(Sys_Crc32C(0, oBytes.data(), front), iSwap, oBytes.data() + front);
    return GetSize();
}

Sys_StdStreamHeaderWriter::Sys_StdStreamHeaderWriter(Sys_TypedOutStream& ioStream, std::string_view iName,
                                                     Cmn_Int16 iVersion, int iCallersExceptions)
    : mStream(ioStream)
    , mStart(ioStream.GetPosition())
    , mExceptions(iCallersExceptions + std::uncaught_exceptions())
{
    Open(iName, iVersion);
}

Sys_StdStreamHeaderWriter::Sys_StdStreamHeaderWriter(Sys_TypedOutStream& ioStream, std::string_view iName,
                                                     Cmn_Int16 iVersion, EEnd)
    : mStream(ioStream)
    , mStart(ioStream.GetPosition())
    , mExceptions(std::numeric_limits<int>::max())
{
    Open(iName, iVersion);
}

void Sys_StdStreamHeaderWriter::Open(std::string_view iName, Cmn_Int16 iVersion)
{
    static_assert(std::tuple_size_v<decltype(mHeader)> == Fields::cMaxSize);
    Cmn_ASSERT(iName.size() <= Fields::cMaxName);
    Sys_OutStream& stream = mStream.GetStream();
    const bool swap = mStream.IsSwapped();
    mFrontSize = Fields::PutFront(iName.substr(0, Fields::cMaxName), iVersion,
                                  stream.GetOpenHeaders().GetListIndex(), swap, mHeader.data());
    Numbers fields;
    fields.mStart = mStart;
    if (stream.HasSums()) {
        fields.mFlags = Fields::cFlagSums;
        mFrontSum = Sys_Crc32C(0, mHeader.data(), mFrontSize);
    }
    fields.PutBlock(mFrontSum, swap, mHeader.data() + mFrontSize);
    const std::size_t size = mFrontSize + Fields::cBlockSize;
    stream.UpdateSums(); // the enclosing sum covers what stands before this header
    stream.GetOpenHeaders().Open(mStart, mStart + static_cast<Cmn_Int64>(size));
    try {
        mStream.WriteBytes(mHeader.data(), size);
    } catch (...) {
        Abandon();
        throw;
    }
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
    const Cmn_Int64 block = mStart + static_cast<Cmn_Int64>(mFrontSize);
    const Cmn_Int64 size = mStream.GetPosition() - block - Fields::cBlockSize;
    if (size < 0 || size >= Cmn_Int64{Fields::cUnknownSize})
        Sys_ThrowFrom<Sys_StreamWriteException>(mStream.GetStream(), mStart);

    const bool hasSums = stream.HasSums();
    Numbers fields;
    fields.mStart = mStart;
    fields.mFlags = Fields::cFlagComplete;
    if (open.IsList()) fields.mFlags |= Fields::cFlagList;
    fields.mBodySize = static_cast<Cmn_UInt32>(size);
    if (hasSums) {
        stream.UpdateSums();
        fields.mFlags |= Fields::cFlagSums;
        fields.mBodySum = open.GetBodySum();
    }
    Cmn_UInt8* const bytes = mHeader.data() + mFrontSize;
    fields.PutBlock(mFrontSum, mStream.IsSwapped(), bytes);
    if (!stream.PatchHeader(block, bytes, Fields::cBlockSize))
        Sys_ThrowFrom<Sys_StreamWriteException>(mStream.GetStream(), mStart);
    if (hasSums)
        open.Close(mHeader.data(), mFrontSize + Fields::cBlockSize, fields.mBodySize);
    else
        open.Abandon();
    mState = eState_Complete;
}

Sys_StdStreamHeaderReader::Sys_StdStreamHeaderReader(Sys_TypedInStream& ioStream, std::string_view iName)
    : mStream(ioStream)
    , mInfo{std::string(iName)}
{
    if (!PeekAs(mStream, &iName, mInfo) || !mInfo.mIsComplete)
        Sys_ThrowFrom<Sys_StreamReadException>(mStream.GetStream(), mStream.GetPosition());
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
    return PeekAs(ioStream, nullptr, oInfo);
}

bool Sys_StdStreamHeaderReader::PeekAs(Sys_TypedInStream& ioStream, const std::string_view* iName,
                                       Sys_StdStreamHeaderInfo& oInfo)
{
    // Nearly all headers have a short name and stand in memory: they are taken from there.
    Sys_InStream& stream = ioStream.GetStream();
    const std::span<const Cmn_UInt8> bytes = stream.Look(Fields::cShortSize);
    if (bytes.empty()) return ReadAndTell(ioStream, iName, oInfo);
    if (Sys_LoadInteger<Cmn_UInt32>(bytes.data(), false) != cMagicBits) return false;
    const std::size_t nameSize = bytes[Fields::cMagic.size()];
    if (nameSize > Fields::cMaxShortName) return ReadAndTell(ioStream, iName, oInfo);
    const std::string_view name(reinterpret_cast<const char*>(bytes.data()) + Fields::cFixedFront, nameSize);
    if (iName != nullptr && !AreEqual(*iName, name)) return false;
    const Numbers numbers = Numbers::FromBytes(bytes.data(), stream.GetPosition(), ioStream.IsSwapped());
    if (!Tell(stream, numbers, nameSize, oInfo)) return false;
    if (iName == nullptr) oInfo.mName = name;
    return true;
}
