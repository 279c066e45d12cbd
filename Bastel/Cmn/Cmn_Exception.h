// Cmn_Exception: bad document data, as a text of the library's message table with the place it was met.
//
// what() is the message text alone; Describe() adds the file, the system's reason and the offset where they
// are known, in one line for a log or a terminal.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"
#include "Export/Kora_API.h"

#include <stdexcept>
#include <string>

// Message-table entries (I18N_Utils) that exceptions carry.
enum Cmn_EMessage : Cmn_Int32 {
    Cmn_eMessage_ReadError = 2001,
    Cmn_eMessage_WriteError = 2002,
    Cmn_eMessage_UnexpectedStreamType = 2003,
    Cmn_eMessage_UnknownStreamType = 2004,
    Cmn_eMessage_DocumentTooOld = 2005,
    Cmn_eMessage_DocumentTooNew = 2006,
    Cmn_eMessage_NotAnInteger = 2007,
    Cmn_eMessage_IntegerOutOfRange = 2008,
    Cmn_eMessage_OSError = 2009,
    Cmn_eMessage_NoTOC = 2010,
    Cmn_eMessage_InvalidContext = 2011,
    Cmn_eMessage_FailQuietly = 2012,
    Cmn_eMessage_InPlaceUnsynced = 2013,
};

class KORA_API Cmn_Exception : public std::runtime_error
{
public:
    static constexpr Cmn_Int64 cNoOffset = -1; // the error has no place

    // iOffset in bytes; iFile in UTF-8, empty where there is none.
    explicit Cmn_Exception(Cmn_EMessage iMessage, Cmn_Int64 iOffset = cNoOffset, std::string iFile = {});
    ~Cmn_Exception() override;

    // GetMessage is a macro of the Windows headers, which hosts include.
    Cmn_EMessage GetMessageID() const { return mMessage; }
    // Bytes from the start of the file or buffer; cNoOffset when the error has no place.
    Cmn_Int64 GetOffset() const { return mOffset; }
    const std::string& GetFile() const { return mFile; }
    void SetFile(std::string iFile) { mFile = std::move(iFile); }

    // What was found and what was expected, in words; empty where the message says all.
    const std::string& GetReason() const { return mReason; }
    void SetReason(std::string iReason) { mReason = std::move(iReason); }

    // The code for what went wrong below, the system's or one of the library's (Sys_OSErrorText has the words
    // for both); 0 where there is none.
    Cmn_Int32 GetOSError() const { return mOSError; }
    void SetOSError(Cmn_Int32 iError) { mOSError = iError; }

    // "song.kora: an error occurred while reading the document (byte 17)"
    // "song.kora: an error occurred while reading the document: 0 beats per minute, expected more (byte 17)"
    // "song.kora: an error occurred while writing the document: No space left on device (byte 17)"
    // "song.kora: Permission denied" for Cmn_eMessage_OSError
    [[nodiscard]] std::string Describe() const;

private:
    Cmn_EMessage mMessage;
    Cmn_Int64 mOffset;
    Cmn_Int32 mOSError = 0;
    std::string mFile;
    std::string mReason;
};

// A stream whose version is below, or above, what its reader takes.
class KORA_API Cmn_DocumentTooOldException : public Cmn_Exception
{
public:
    // iOffset: where the version stands.
    explicit Cmn_DocumentTooOldException(Cmn_Int64 iOffset = cNoOffset);
    ~Cmn_DocumentTooOldException() override;
};

class KORA_API Cmn_DocumentTooNewException : public Cmn_Exception
{
public:
    // iOffset: where the version stands.
    explicit Cmn_DocumentTooNewException(Cmn_Int64 iOffset = cNoOffset);
    ~Cmn_DocumentTooNewException() override;
};

// Bytes that end early or hold what no writer writes.
class KORA_API Sys_StreamReadException : public Cmn_Exception
{
public:
    // iOffset: where reading failed; iReason: what was found and what was expected.
    explicit Sys_StreamReadException(Cmn_Int64 iOffset = cNoOffset, std::string iReason = {});
    ~Sys_StreamReadException() override;
};

class KORA_API Sys_StreamWriteException : public Cmn_Exception
{
public:
    // iOffset: where writing failed.
    explicit Sys_StreamWriteException(Cmn_Int64 iOffset = cNoOffset);
    ~Sys_StreamWriteException() override;
};

// Throws a Cmn_Exception (Cmn_eMessage_OSError) that names the code and the file, unless the code is 0.
KORA_API void Sys_ThrowIfOSErr(Cmn_Int32 iError, std::string iFile = {});
