// Sys_StdStreamHeaderWriter, Sys_StdStreamHeaderReader: the named, versioned frame around a streamed object.
//
//   offset   size  field
//   0        4     magic "KSH3" as bytes
//   4        1     n, length of the name
//   5        n     name, UTF-8
//   5 + n    2     version (signed)
//   7 + n    4     index in the enclosing list, 0 for none
//   11 + n   2     flags: 1 complete, 2 is a list, 4 has sums
//   13 + n   4     size of the body in bytes, 0xFFFFFFFF until it is known
//   17 + n   4     sum of the body   (0 without sums)
//   21 + n   4     sum of the header (0 without sums)
//   25 + n         the body; streams nest inside it
//
// The block from the flags on is written again when the size is known. Sums are CRC-32C (Sys_Crc32C.h) of the
// bytes as they are stored, unmasked; the header's is over all that stands before it, and stored turned right
// by 15 bits with 0x4B534833 added (modulo 2^32), so that the sums around a nested header tell it from any
// other. To both sums the header's position in the stream is added: a frame that is copied or moved to
// another position is none there. Streams in memory carry no sums.
// A reader takes only what a writer has finished: complete, no other flags, sums of 0 where there are
// none. Where there are sums both are checked before a value can be read: the body of an outermost
// stream, or of one that was jumped to, in one pass; what is nested inside lies within the verified
// stretch and needs none of its own.
// Ownership: the typed stream stays the caller's and must outlive the writer or reader. Threads: none inside.
#pragma once

#include "Bastel/Sys/Sys_TypedStream.h"

#include <array>
#include <exception>
#include <string>
#include <string_view>

class Sys_StdStreamHeaderWriter
{
public:
    // Writes the header; the body follows on the same stream. Names hold at most 255
    // bytes (asserted, then cut).
    Sys_StdStreamHeaderWriter(Sys_TypedOutStream& ioStream, std::string_view iName, Cmn_Int16 iVersion)
        : Sys_StdStreamHeaderWriter(ioStream, iName, iVersion, std::uncaught_exceptions())
    {
    }
    // Patches the size unless that was done. It lets no exception out. When an exception is what ends the
    // body, the stream takes back what was written or, in memory, the header stays incomplete: no reader
    // takes half an object. When the write fails, the stream remembers it.
    ~Sys_StdStreamHeaderWriter()
    {
        if (mState == eState_Open) Finish(std::uncaught_exceptions());
    }
    // Who ends the body: eEnd_ByOwner for an owner that knows of exceptions itself.
    enum EEnd : Cmn_Int32 { eEnd_ByOwner = 0 };
    // Writes the header as above. The owner ends the body by PatchSize or Abandon, in every case: the
    // destructor would take one left open for complete, even when an exception is what ended it.
    KORA_API Sys_StdStreamHeaderWriter(Sys_TypedOutStream& ioStream, std::string_view iName,
                                       Cmn_Int16 iVersion, EEnd iEnd);
    Sys_StdStreamHeaderWriter(const Sys_StdStreamHeaderWriter&) = delete;
    Sys_StdStreamHeaderWriter& operator=(const Sys_StdStreamHeaderWriter&) = delete;

    // Ends the body at the stream's position: writes its size and the mark that it is complete. Throws
    // Sys_StreamWriteException when the position is before the body or the body has 2^32 - 1 bytes or more.
    KORA_API void PatchSize();
    // Ends the body as one that is not complete, unless it has ended: what the destructor does when an
    // exception is on its way, for owners that know of one.
    KORA_API void Abandon();
    // Where the header starts, in bytes.
    Cmn_Int64 GetStart() const { return mStart; }
    // True once the header is complete on the stream.
    bool IsComplete() const { return mState == eState_Complete; }

private:
    enum EState { eState_Open, eState_Complete, eState_Abandoned };

    // Programs on Windows and the library each count the exceptions that they threw less those
    // that they caught, and what one throws the other may catch: only the sum of both counts
    // tells how many are in flight.
    KORA_API Sys_StdStreamHeaderWriter(Sys_TypedOutStream& ioStream, std::string_view iName,
                                       Cmn_Int16 iVersion, int iCallersExceptions);
    KORA_API void Finish(int iCallersExceptions) noexcept;

    void Open(std::string_view iName, Cmn_Int16 iVersion);

    Sys_TypedOutStream& mStream;
    Cmn_Int64 mStart;
    EState mState = eState_Open;
    int mExceptions; // in flight when the body was opened
    // The header as it was written last: what stands before its block stays, the block is made anew at the end.
    Cmn_UInt32 mFrontSum = 0; // 0 on a stream without sums
    std::size_t mFrontSize = 0;
    std::array<Cmn_UInt8, 280> mHeader;
};

// What a header says, for those who walk through headers without reading the bodies.
struct Sys_StdStreamHeaderInfo
{
    std::string mName;
    Cmn_Int16 mVersion = 0;
    Cmn_UInt32 mListIndex = 0; // 1 for the first item of the enclosing list, 0 outside
    bool mIsList = false;
    bool mHasSums = false;
    bool mIsComplete = false;
    Cmn_UInt32 mBodySum = 0;
    // The header is [start, body), what it frames [body, end); end is body when incomplete.
    Cmn_Int64 mStart = 0;
    Cmn_Int64 mBody = 0;
    Cmn_Int64 mEnd = 0;
};

class KORA_API Sys_StdStreamHeaderReader
{
public:
    // Reads the header at the position. Throws Sys_StreamReadException for anything but a complete header of
    // that name whose body lies within the stream, with the header's offset, and for a body that its sum does
    // not fit, with the body's.
    Sys_StdStreamHeaderReader(Sys_TypedInStream& ioStream, std::string_view iName);
    Sys_StdStreamHeaderReader(const Sys_StdStreamHeaderReader&) = delete;
    Sys_StdStreamHeaderReader& operator=(const Sys_StdStreamHeaderReader&) = delete;

    Cmn_Int16 GetVersion() const { return mInfo.mVersion; }
    const Sys_StdStreamHeaderInfo& GetInfo() const { return mInfo; }
    // Throws Cmn_DocumentTooOldException below iMin, Cmn_DocumentTooNewException above iMax.
    void CheckVersion(Cmn_Int16 iMin, Cmn_Int16 iMax) const;
    // Whether the body has bytes that were not read, and how many: the bound for counts that it holds.
    // Negative after reading past its end, which the stream does not prevent.
    bool IsMoreLeft() const { return GetBytesLeft() > 0; }
    Cmn_Int64 GetBytesLeft() const { return mInfo.mEnd - mStream.GetPosition(); }
    // Places the stream behind the body, whatever has been read of it; how readers pass over what
    // a later version appended.
    void SkipTheRest();

    // Name of the header at the position, which stays; empty when there is none.
    [[nodiscard]] static std::string PeekName(Sys_TypedInStream& ioStream);
    // The header at the position, which stays, with its own sum checked and its body not read. False for
    // anything but a header with known flags, a right sum where it has sums (and it must on a stream that
    // HasSums), and a body within the stream; one that was never completed is true, with isComplete false. A
    // header whose sum would be right only if it were complete is false.
    [[nodiscard]] static bool Peek(Sys_TypedInStream& ioStream, Sys_StdStreamHeaderInfo& oInfo);

private:
    // Peek; with a name for headers of that name only, without telling it.
    static bool PeekAs(Sys_TypedInStream& ioStream, const std::string_view* iName,
                       Sys_StdStreamHeaderInfo& oInfo);

    Sys_TypedInStream& mStream;
    Sys_StdStreamHeaderInfo mInfo;
};
