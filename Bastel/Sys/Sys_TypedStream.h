// Sys_TypedInStream, Sys_TypedOutStream: values of fixed width over a byte stream.
//
// Layout: little-endian, or big-endian throughout when the swap mode is on; bool one byte (0 or 1);
// float64 as its IEEE bits; a string is a 32-bit byte count and its UTF-8 bytes, whatever encoding
// the caller's strings have.
// Throws: Sys_StreamReadException with the offset where the bytes end early, or where a bool is neither 0
// nor 1; Sys_StreamWriteException where the byte stream takes less than it was given, or a string has 2^32
// bytes or more. After an exception the position is undefined but inside the stream. No read allocates
// more than the stream holds.
// Ownership: the byte stream stays the caller's and must outlive the typed one. Threads: none inside.
#pragma once

#include "Bastel/Sys/Sys_Stream.h"

#include <string>
#include <string_view>

// The encoding of the strings that a caller gives and gets.
enum ETextEncoding : Cmn_Int32 {
    eTextEncoding_Utf8 = 0,
    // One byte a character, U+0000 to U+00FF. A character that has none is read as "?".
    eTextEncoding_Latin1 = 1,
};

class KORA_API Sys_TypedInStream
{
public:
    // Reads from the byte stream's position on; iSwap: the bytes are big-endian.
    explicit Sys_TypedInStream(Sys_InStream& ioStream, bool iSwap = false,
                               ETextEncoding iEncoding = eTextEncoding_Utf8);

    // One byte.
    bool ReadBool();
    // One byte.
    Cmn_UInt8 ReadUInt8();
    // Two bytes.
    Cmn_Int16 ReadInt16();
    // Two bytes.
    Cmn_UInt16 ReadUInt16();
    // Four bytes.
    Cmn_Int32 ReadInt32();
    // Four bytes.
    Cmn_UInt32 ReadUInt32();
    // Eight bytes.
    Cmn_Int64 ReadInt64();
    // Eight bytes, IEEE.
    double ReadFloat64();
    // The count and the bytes, in the caller's encoding.
    std::string ReadString();
    // All of them, as they stand.
    void ReadBytes(void* oBytes, std::size_t iCount);

    Cmn_Int64 GetPosition() const { return mStream.GetPosition(); }
    void SetPosition(Cmn_Int64 iPosition) { mStream.SetPosition(iPosition); }
    // Up to the end of the byte stream: the bound for every count that a stream claims.
    Cmn_Int64 GetBytesLeft() const { return mStream.GetLength() - mStream.GetPosition(); }
    bool IsSwapped() const { return mSwap; }
    ETextEncoding GetEncoding() const { return mEncoding; }
    Sys_InStream& GetStream() { return mStream; }

private:
    template <class T>
    T ReadInteger();

    Sys_InStream& mStream;
    bool mSwap;
    ETextEncoding mEncoding;
};

class KORA_API Sys_TypedOutStream
{
public:
    // iRepairText: UTF-8 strings that are ill-formed are written with U+FFFD for what is wrong (Cmn_Utf8.h);
    // without it they are written as they stand.
    explicit Sys_TypedOutStream(Sys_OutStream& ioStream, bool iSwap = false,
                                ETextEncoding iEncoding = eTextEncoding_Utf8, bool iRepairText = false);

    // One byte.
    void WriteBool(bool iValue);
    // One byte.
    void WriteUInt8(Cmn_UInt8 iValue);
    // Two bytes.
    void WriteInt16(Cmn_Int16 iValue);
    // Two bytes.
    void WriteUInt16(Cmn_UInt16 iValue);
    // Four bytes.
    void WriteInt32(Cmn_Int32 iValue);
    // Four bytes.
    void WriteUInt32(Cmn_UInt32 iValue);
    // Eight bytes.
    void WriteInt64(Cmn_Int64 iValue);
    // Eight bytes, IEEE.
    void WriteFloat64(double iValue);
    // The count and the bytes, as UTF-8.
    void WriteString(std::string_view iText);
    // As they stand.
    void WriteBytes(const void* iBytes, std::size_t iCount);

    Cmn_Int64 GetPosition() const { return mStream.GetPosition(); }
    void SetPosition(Cmn_Int64 iPosition) { mStream.SetPosition(iPosition); }
    bool IsSwapped() const { return mSwap; }
    ETextEncoding GetEncoding() const { return mEncoding; }
    Sys_OutStream& GetStream() { return mStream; }

private:
    template <class T>
    void WriteInteger(T iValue);

    Sys_OutStream& mStream;
    bool mSwap;
    ETextEncoding mEncoding;
    bool mRepairText;
};
