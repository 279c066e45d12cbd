#include "Bastel/Sys/Sys_StdStreamHeader.h"

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Bastel/Cmn/Cmn_Exception.h"

#include <array>
#include <cstring>

namespace {

// Fixed on disk.
constexpr std::array<char, 4> cMagic = {'K', 'S', 'H', '1'};
constexpr Cmn_UInt16 cFlagComplete = 1;
constexpr Cmn_UInt32 cUnknownSize = 0xFFFFFFFF;
constexpr std::size_t cMaxName = 255;

void WriteBlock(Sys_TypedOutStream& ioStream, Cmn_UInt16 iFlags, Cmn_UInt32 iSize)
{
    ioStream.WriteUInt16(iFlags);
    ioStream.WriteUInt32(iSize);
    ioStream.WriteUInt32(0); // sum of the body
    ioStream.WriteUInt32(0); // sum of the header
}

// Magic and name; throws where there are none.
std::string ReadName(Sys_TypedInStream& ioStream)
{
    const Cmn_Int64 start = ioStream.GetPosition();
    std::array<char, 4> magic;
    ioStream.ReadBytes(magic.data(), magic.size());
    if (magic != cMagic) throw Sys_StreamReadException(start);
    std::string name(ioStream.ReadUInt8(), '\0');
    ioStream.ReadBytes(name.data(), name.size());
    return name;
}

} // namespace

Sys_StdStreamHeaderWriter::Sys_StdStreamHeaderWriter(Sys_TypedOutStream& iStream, std::string_view iName,
                                                     Cmn_Int16 iVersion)
    : mStream(iStream)
    , mStart(iStream.GetPosition())
{
    Cmn_ASSERT(iName.size() <= cMaxName);
    const std::string_view name = iName.substr(0, cMaxName);
    mStream.WriteBytes(cMagic.data(), cMagic.size());
    mStream.WriteUInt8(static_cast<Cmn_UInt8>(name.size()));
    mStream.WriteBytes(name.data(), name.size());
    mStream.WriteInt16(iVersion);
    mStream.WriteUInt32(0); // not in a list
    mBlock = mStream.GetPosition();
    WriteBlock(mStream, 0, cUnknownSize);
}

Sys_StdStreamHeaderWriter::~Sys_StdStreamHeaderWriter()
{
    try {
        PatchSize();
    } catch (...) {
        // A destructor lets nothing out; the header stays marked as incomplete, so no reader takes it.
    }
}

void Sys_StdStreamHeaderWriter::PatchSize()
{
    if (mPatched) return;
    const Cmn_Int64 end = mStream.GetPosition();
    constexpr Cmn_Int64 cBlockSize = 14;
    const Cmn_Int64 size = end - mBlock - cBlockSize;
    if (size < 0 || size >= Cmn_Int64{cUnknownSize}) throw Sys_StreamWriteException(mStart);
    mStream.SetPosition(mBlock);
    WriteBlock(mStream, cFlagComplete, static_cast<Cmn_UInt32>(size));
    mStream.SetPosition(end);
    mPatched = true;
}

Sys_StdStreamHeaderReader::Sys_StdStreamHeaderReader(Sys_TypedInStream& iStream, std::string_view iName)
    : mStream(iStream)
    , mStart(iStream.GetPosition())
{
    if (ReadName(mStream) != iName) throw Sys_StreamReadException(mStart);
    mVersion = mStream.ReadInt16();
    mStream.ReadUInt32(); // index in the enclosing list
    const Cmn_UInt16 flags = mStream.ReadUInt16();
    const Cmn_UInt32 size = mStream.ReadUInt32();
    mStream.ReadUInt32(); // sum of the body
    mStream.ReadUInt32(); // sum of the header
    mEnd = mStream.GetPosition() + Cmn_Int64{size};
    if ((flags & cFlagComplete) == 0 || Cmn_Int64{size} > mStream.GetBytesLeft())
        throw Sys_StreamReadException(mStart);
}

void Sys_StdStreamHeaderReader::CheckVersion(Cmn_Int16 iMin, Cmn_Int16 iMax) const
{
    if (mVersion < iMin) throw Cmn_DocumentTooOldException(mStart);
    if (mVersion > iMax) throw Cmn_DocumentTooNewException(mStart);
}

void Sys_StdStreamHeaderReader::SkipTheRest() { mStream.SetPosition(mEnd); }

std::string Sys_StdStreamHeaderReader::PeekName(Sys_TypedInStream& iStream)
{
    const Cmn_Int64 start = iStream.GetPosition();
    std::string name;
    try {
        name = ReadName(iStream);
    } catch (const Cmn_Exception&) {
    }
    iStream.SetPosition(start);
    return name;
}
