#include "Bastel/Sys/Sys_StdStreamHeader.h"

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Bastel/Cmn/Cmn_Exception.h"
#include "Bastel/Sys/Sys_StdStreamHeader_p.h"

using Fields = Sys_StdStreamHeaderFields;

std::string Fields::ReadName(Sys_TypedInStream& ioStream)
{
    const Cmn_Int64 start = ioStream.GetPosition();
    std::array<char, cMagic.size()> magic;
    ioStream.ReadBytes(magic.data(), magic.size());
    if (magic != cMagic) throw Sys_StreamReadException(start);
    std::string name(ioStream.ReadUInt8(), '\0');
    ioStream.ReadBytes(name.data(), name.size());
    return name;
}

Fields Fields::Read(Sys_TypedInStream& ioStream)
{
    Fields fields;
    fields.name = ReadName(ioStream);
    fields.version = ioStream.ReadInt16();
    fields.listIndex = ioStream.ReadUInt32();
    fields.flags = ioStream.ReadUInt16();
    fields.bodySize = ioStream.ReadUInt32();
    fields.bodySum = ioStream.ReadUInt32();
    fields.headerSum = ioStream.ReadUInt32();
    return fields;
}

bool Fields::IsSound(Cmn_Int64 iBytesLeft) const
{
    constexpr Cmn_UInt16 cKnownFlags = cFlagComplete | cFlagList | cFlagSums;
    const bool sumsFit = (flags & cFlagSums) != 0 || (bodySum == 0 && headerSum == 0);
    return (flags & cFlagComplete) != 0 && (flags & ~cKnownFlags) == 0 && sumsFit &&
           bodySize != cUnknownSize && Cmn_Int64{bodySize} <= iBytesLeft;
}

void Fields::WriteFront(Sys_TypedOutStream& ioStream) const
{
    ioStream.WriteBytes(cMagic.data(), cMagic.size());
    ioStream.WriteUInt8(static_cast<Cmn_UInt8>(name.size()));
    ioStream.WriteBytes(name.data(), name.size());
    ioStream.WriteInt16(version);
    ioStream.WriteUInt32(listIndex);
}

void Fields::WriteBlock(Sys_TypedOutStream& ioStream) const
{
    ioStream.WriteUInt16(flags);
    ioStream.WriteUInt32(bodySize);
    ioStream.WriteUInt32(bodySum);
    ioStream.WriteUInt32(headerSum);
}

Sys_StdStreamHeaderWriter::Sys_StdStreamHeaderWriter(Sys_TypedOutStream& iStream, std::string_view iName,
                                                     Cmn_Int16 iVersion, int iCallersExceptions)
    : mStream(iStream)
    , mStart(iStream.GetPosition())
    , mCallersExceptions(iCallersExceptions)
    , mOwnExceptions(std::uncaught_exceptions())
{
    Cmn_ASSERT(iName.size() <= Fields::cMaxName);
    Fields fields;
    fields.name = iName.substr(0, Fields::cMaxName);
    fields.version = iVersion;
    fields.WriteFront(mStream);
    mBlock = mStream.GetPosition();
    fields.WriteBlock(mStream);
}

void Sys_StdStreamHeaderWriter::Finish(int iCallersExceptions) noexcept
{
    // A body whose writing ended with an exception is not complete, and its header goes on saying so.
    if (iCallersExceptions > mCallersExceptions || std::uncaught_exceptions() > mOwnExceptions) return;
    try {
        PatchSize();
    } catch (...) {
        // A destructor lets nothing out. The header stays incomplete, so that no reader takes it.
    }
}

void Sys_StdStreamHeaderWriter::PatchSize()
{
    if (mPatched) return;
    const Cmn_Int64 end = mStream.GetPosition();
    const Cmn_Int64 size = end - mBlock - Fields::cBlockSize;
    if (size < 0 || size >= Cmn_Int64{Fields::cUnknownSize}) throw Sys_StreamWriteException(mStart);
    Fields fields;
    fields.flags = Fields::cFlagComplete;
    fields.bodySize = static_cast<Cmn_UInt32>(size);
    mStream.SetPosition(mBlock);
    fields.WriteBlock(mStream);
    mStream.SetPosition(end);
    mPatched = true;
}

Sys_StdStreamHeaderReader::Sys_StdStreamHeaderReader(Sys_TypedInStream& iStream, std::string_view iName)
    : mStream(iStream)
    , mStart(iStream.GetPosition())
{
    // The name first: bytes that hold something else are refused for that, not for what follows.
    if (PeekName(mStream) != iName) throw Sys_StreamReadException(mStart);
    const Fields fields = Fields::Read(mStream);
    if (!fields.IsSound(mStream.GetBytesLeft())) throw Sys_StreamReadException(mStart);
    mVersion = fields.version;
    mEnd = mStream.GetPosition() + Cmn_Int64{fields.bodySize};
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
        name = Fields::ReadName(iStream);
    } catch (const Cmn_Exception&) {
        // No header: the empty name says so.
    }
    iStream.SetPosition(start);
    return name;
}
