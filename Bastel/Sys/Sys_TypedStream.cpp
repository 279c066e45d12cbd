#include "Bastel/Sys/Sys_TypedStream.h"

#include "Bastel/Cmn/Cmn_Exception.h"

#include <array>
#include <bit>
#include <limits>
#include <type_traits>

Sys_TypedInStream::Sys_TypedInStream(Sys_InStream& iStream, bool iSwap)
    : mStream(iStream)
    , mSwap(iSwap)
{
}

template <class T>
T Sys_TypedInStream::ReadInteger()
{
    using U = std::make_unsigned_t<T>;
    std::array<Cmn_UInt8, sizeof(T)> bytes;
    ReadBytes(bytes.data(), bytes.size());
    Cmn_UInt64 value = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const std::size_t place = mSwap ? bytes.size() - 1 - i : i;
        value |= Cmn_UInt64{bytes[i]} << (8 * place);
    }
    return static_cast<T>(static_cast<U>(value));
}

bool Sys_TypedInStream::ReadBool()
{
    const Cmn_Int64 at = GetPosition();
    const Cmn_UInt8 value = ReadUInt8();
    if (value > 1) throw Sys_StreamReadException(at);
    return value == 1;
}

Cmn_UInt8 Sys_TypedInStream::ReadUInt8() { return ReadInteger<Cmn_UInt8>(); }
Cmn_Int16 Sys_TypedInStream::ReadInt16() { return ReadInteger<Cmn_Int16>(); }
Cmn_UInt16 Sys_TypedInStream::ReadUInt16() { return ReadInteger<Cmn_UInt16>(); }
Cmn_Int32 Sys_TypedInStream::ReadInt32() { return ReadInteger<Cmn_Int32>(); }
Cmn_UInt32 Sys_TypedInStream::ReadUInt32() { return ReadInteger<Cmn_UInt32>(); }
Cmn_Int64 Sys_TypedInStream::ReadInt64() { return ReadInteger<Cmn_Int64>(); }
double Sys_TypedInStream::ReadFloat64() { return std::bit_cast<double>(ReadInteger<Cmn_Int64>()); }

std::string Sys_TypedInStream::ReadString()
{
    const Cmn_Int64 at = GetPosition();
    const Cmn_UInt32 count = ReadUInt32();
    // Checked before anything is allocated: a damaged count must not cost more than the stream holds.
    if (Cmn_Int64{count} > GetBytesLeft()) throw Sys_StreamReadException(at);
    std::string text(count, '\0');
    ReadBytes(text.data(), text.size());
    return text;
}

void Sys_TypedInStream::ReadBytes(void* oBytes, std::size_t iCount)
{
    const Cmn_Int64 at = GetPosition();
    if (mStream.Read(oBytes, iCount) != iCount) throw Sys_StreamReadException(at);
}

Sys_TypedOutStream::Sys_TypedOutStream(Sys_OutStream& iStream, bool iSwap)
    : mStream(iStream)
    , mSwap(iSwap)
{
}

template <class T>
void Sys_TypedOutStream::WriteInteger(T iValue)
{
    using U = std::make_unsigned_t<T>;
    std::array<Cmn_UInt8, sizeof(T)> bytes;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const std::size_t place = mSwap ? bytes.size() - 1 - i : i;
        bytes[i] = static_cast<Cmn_UInt8>(Cmn_UInt64{static_cast<U>(iValue)} >> (8 * place));
    }
    WriteBytes(bytes.data(), bytes.size());
}

void Sys_TypedOutStream::WriteBool(bool iValue) { WriteUInt8(iValue ? 1 : 0); }
void Sys_TypedOutStream::WriteUInt8(Cmn_UInt8 iValue) { WriteInteger(iValue); }
void Sys_TypedOutStream::WriteInt16(Cmn_Int16 iValue) { WriteInteger(iValue); }
void Sys_TypedOutStream::WriteUInt16(Cmn_UInt16 iValue) { WriteInteger(iValue); }
void Sys_TypedOutStream::WriteInt32(Cmn_Int32 iValue) { WriteInteger(iValue); }
void Sys_TypedOutStream::WriteUInt32(Cmn_UInt32 iValue) { WriteInteger(iValue); }
void Sys_TypedOutStream::WriteInt64(Cmn_Int64 iValue) { WriteInteger(iValue); }
void Sys_TypedOutStream::WriteFloat64(double iValue) { WriteInteger(std::bit_cast<Cmn_Int64>(iValue)); }

void Sys_TypedOutStream::WriteString(std::string_view iText)
{
    if (iText.size() > std::numeric_limits<Cmn_UInt32>::max()) throw Sys_StreamWriteException(GetPosition());
    WriteUInt32(static_cast<Cmn_UInt32>(iText.size()));
    WriteBytes(iText.data(), iText.size());
}

void Sys_TypedOutStream::WriteBytes(const void* iBytes, std::size_t iCount)
{
    const Cmn_Int64 at = GetPosition();
    if (mStream.Write(iBytes, iCount) != iCount) throw Sys_StreamWriteException(at);
}
