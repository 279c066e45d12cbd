#include "Bastel/Sys/Sys_TypedStream.h"

#include "Bastel/Cmn/Cmn_Utf8.h"
#include "Bastel/Sys/Sys_ByteOrder_p.h"
#include "Bastel/Sys/Sys_StreamThrow_p.h"

#include <array>
#include <bit>
#include <limits>

namespace {

std::string Latin1FromUtf8(std::string_view iText)
{
    std::string latin1;
    while (!iText.empty()) {
        const char32_t character = Cmn_TakeUtf8(iText);
        latin1 += character <= 0xFF ? static_cast<char>(static_cast<unsigned char>(character)) : '?';
    }
    return latin1;
}

std::string Utf8FromLatin1(std::string_view iText)
{
    std::string utf8;
    for (const char character : iText)
        Cmn_AppendUtf8(utf8, static_cast<unsigned char>(character));
    return utf8;
}

std::string RepairedUtf8(std::string_view iText)
{
    std::string utf8;
    while (!iText.empty())
        Cmn_AppendUtf8(utf8, Cmn_TakeUtf8(iText));
    return utf8;
}

} // namespace

Sys_TypedInStream::Sys_TypedInStream(Sys_InStream& ioStream, bool iSwap, ETextEncoding iEncoding)
    : mStream(ioStream)
    , mSwap(iSwap)
    , mEncoding(iEncoding)
{
}

template <class T>
T Sys_TypedInStream::ReadInteger()
{
    std::array<Cmn_UInt8, sizeof(T)> bytes;
    ReadBytes(bytes.data(), bytes.size());
    return Sys_LoadInteger<T>(bytes.data(), mSwap);
}

bool Sys_TypedInStream::ReadBool()
{
    const Cmn_Int64 at = GetPosition();
    const Cmn_UInt8 value = ReadUInt8();
    if (value > 1) Sys_ThrowFrom<Sys_StreamReadException>(mStream, at);
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
    if (Cmn_Int64{count} > GetBytesLeft()) Sys_ThrowFrom<Sys_StreamReadException>(mStream, at);
    std::string text(count, '\0');
    ReadBytes(text.data(), text.size());
    return mEncoding == eTextEncoding_Latin1 ? Latin1FromUtf8(text) : text;
}

void Sys_TypedInStream::ReadBytes(void* oBytes, std::size_t iCount)
{
    const std::size_t count = mStream.Read(oBytes, iCount);
    if (count != iCount)
        Sys_ThrowFrom<Sys_StreamReadException>(mStream, GetPosition() - static_cast<Cmn_Int64>(count));
}

Sys_TypedOutStream::Sys_TypedOutStream(Sys_OutStream& ioStream, bool iSwap, ETextEncoding iEncoding,
                                       bool iRepairText)
    : mStream(ioStream)
    , mSwap(iSwap)
    , mEncoding(iEncoding)
    , mRepairText(iRepairText)
{
}

template <class T>
void Sys_TypedOutStream::WriteInteger(T iValue)
{
    std::array<Cmn_UInt8, sizeof(T)> bytes;
    Sys_StoreInteger(bytes.data(), iValue, mSwap);
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
    std::string converted;
    std::string_view text = iText;
    if (mEncoding == eTextEncoding_Latin1)
        text = converted = Utf8FromLatin1(iText);
    else if (mRepairText)
        text = converted = RepairedUtf8(iText);
    if (text.size() > std::numeric_limits<Cmn_UInt32>::max())
        Sys_ThrowFrom<Sys_StreamWriteException>(mStream, GetPosition());
    WriteUInt32(static_cast<Cmn_UInt32>(text.size()));
    WriteBytes(text.data(), text.size());
}

void Sys_TypedOutStream::WriteBytes(const void* iBytes, std::size_t iCount)
{
    const std::size_t count = mStream.Write(iBytes, iCount);
    if (count != iCount)
        Sys_ThrowFrom<Sys_StreamWriteException>(mStream, GetPosition() - static_cast<Cmn_Int64>(count));
}
