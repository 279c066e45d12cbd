// Sys_StdStreamHeaderWriter, Sys_StdStreamHeaderReader: the named, versioned frame around a streamed object.
//
//   offset   size  field
//   0        4     magic "KSH1" as bytes
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
// The block from the flags on is written again when the size is known. Streams in memory carry no sums.
// A reader takes only what a writer has finished: complete, no other flags, sums of 0 where there are none.
// Ownership: the typed stream stays the caller's and must outlive the writer or reader. Threads: none inside.
#pragma once

#include "Bastel/Sys/Sys_TypedStream.h"

#include <exception>
#include <string>
#include <string_view>

class Sys_StdStreamHeaderWriter
{
public:
    // Writes the header; the body follows on the same stream. Names hold at most 255 bytes (asserted, then cut).
    Sys_StdStreamHeaderWriter(Sys_TypedOutStream& iStream, std::string_view iName, Cmn_Int16 iVersion)
        : Sys_StdStreamHeaderWriter(iStream, iName, iVersion, std::uncaught_exceptions())
    {
    }
    // Patches the size unless that was done. It lets no exception out, and leaves the header incomplete when the
    // write fails or when an exception is what ends the body: no reader takes half an object.
    ~Sys_StdStreamHeaderWriter() { Finish(std::uncaught_exceptions()); }
    Sys_StdStreamHeaderWriter(const Sys_StdStreamHeaderWriter&) = delete;
    Sys_StdStreamHeaderWriter& operator=(const Sys_StdStreamHeaderWriter&) = delete;

    // Ends the body at the stream's position: writes its size and the mark that it is complete. Throws
    // Sys_StreamWriteException when the position is before the body or the body has 2^32 - 1 bytes or more.
    KORA_API void PatchSize();
    // Where the header starts, in bytes.
    Cmn_Int64 GetStart() const { return mStart; }

private:
    // Programs on Windows and the library each count their own exceptions in flight, so both counts are kept.
    KORA_API Sys_StdStreamHeaderWriter(Sys_TypedOutStream& iStream, std::string_view iName,
                                       Cmn_Int16 iVersion, int iCallersExceptions);
    KORA_API void Finish(int iCallersExceptions) noexcept;

    Sys_TypedOutStream& mStream;
    Cmn_Int64 mStart;
    Cmn_Int64 mBlock = 0; // where the flags stand
    bool mPatched = false;
    int mCallersExceptions; // when the body was opened
    int mOwnExceptions;
};

class KORA_API Sys_StdStreamHeaderReader
{
public:
    // Reads the header at the position. Throws Sys_StreamReadException for anything but a complete header of
    // that name whose body lies within the stream.
    Sys_StdStreamHeaderReader(Sys_TypedInStream& iStream, std::string_view iName);
    Sys_StdStreamHeaderReader(const Sys_StdStreamHeaderReader&) = delete;
    Sys_StdStreamHeaderReader& operator=(const Sys_StdStreamHeaderReader&) = delete;

    Cmn_Int16 GetVersion() const { return mVersion; }
    // Throws Cmn_DocumentTooOldException below iMin, Cmn_DocumentTooNewException above iMax.
    void CheckVersion(Cmn_Int16 iMin, Cmn_Int16 iMax) const;
    // Whether the body has bytes that were not read, and how many: the bound for counts that it holds. Negative
    // after reading past its end, which the stream does not prevent.
    bool IsMoreLeft() const { return GetBytesLeft() > 0; }
    Cmn_Int64 GetBytesLeft() const { return mEnd - mStream.GetPosition(); }
    // Places the stream behind the body, whatever has been read of it; how readers pass over what a later version
    // appended.
    void SkipTheRest();

    // Name of the header at the position, which stays; empty when there is none.
    static std::string PeekName(Sys_TypedInStream& iStream);

private:
    Sys_TypedInStream& mStream;
    Cmn_Int64 mStart = 0;
    Cmn_Int64 mEnd = 0;
    Cmn_Int16 mVersion = 0;
};
