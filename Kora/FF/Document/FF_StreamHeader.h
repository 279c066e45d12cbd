// FF_StreamHeaderWriter, FF_StreamHeaderReader: the frame of one stream in a document.
//
// The frame opens with a standard stream header "Z", which has the stream's version, and the stream's type
// in 16 signed bits; the body follows. Scoped objects: made where the stream starts, destroyed where it
// ends. With a document they keep its stack of open streams; with null the same bytes are written and
// read, and no context is kept.
//
// Ownership: document and typed stream stay the caller's and must outlive the object. Threads: one at a time.
#pragma once

#include "Bastel/Sys/Sys_StdStreamHeader.h"
#include "Kora/FF/Document/FF_Document.h"

#include <exception>
#include <memory>
#include <optional>

class FF_StreamHeaderWriter
{
public:
    // Throws Sys_StreamWriteException for the stream types that documents keep for themselves (cNoStreamType,
    // cTOCStreamType), before anything is written.
    FF_StreamHeaderWriter(FF_Document* iDocument, Sys_TypedOutStream& ioStream, Cmn_Int16 iStreamType,
                          Cmn_Int16 iVersion)
        : FF_StreamHeaderWriter(iDocument, ioStream, iStreamType, iVersion, std::uncaught_exceptions())
    {
    }
    // Ends the stream. When an exception is on its way the stream is taken back, and so are the
    // table's entries for it and for what it holds. Lets no exception out: a failed write surfaces at
    // the next write or Flush.
    ~FF_StreamHeaderWriter() { Finish(std::uncaught_exceptions()); }
    FF_StreamHeaderWriter(const FF_StreamHeaderWriter&) = delete;
    FF_StreamHeaderWriter& operator=(const FF_StreamHeaderWriter&) = delete;

    Cmn_Int64 GetStart() const { return mHeader->GetStart(); }

private:
    // Programs on Windows and the library each count the exceptions that they threw less those
    // that they caught, and what one throws the other may catch: only the sum of both counts
    // tells how many are in flight.
    KORA_API FF_StreamHeaderWriter(FF_Document* iDocument, Sys_TypedOutStream& ioStream,
                                   Cmn_Int16 iStreamType, Cmn_Int16 iVersion, int iCallersExceptions);
    KORA_API void Finish(int iCallersExceptions) noexcept;
    void Abandon(Cmn_Int64 iStart);

    FF_Document* mDocument;
    Sys_TypedOutStream& mStream;
    std::optional<Sys_StdStreamHeaderWriter> mHeader;
    int mExceptions; // in flight when the body was opened
};

class KORA_API FF_StreamHeaderReader
{
public:
    // Whether a reader asks the table where the stream of its key is now.
    enum EUseExtendedTOC : Cmn_Int32 { eIgnoreExtendedTOC = 0, eUseExtendedTOC = 1 };

    // Opens the stream at the position. iExpectedType 0 takes any type.
    //
    // With eUseExtendedTOC and a document the table is asked for the stream's key:
    //   no entry                              the stream in place is read
    //   value 0 lies here, as one of its pieces   the same; the context takes the entry's list state
    //   value 0 lies elsewhere in this file   the stream was written anew: unless iStayInPlace,
    //                                         that one is opened instead, and afterwards the input
    //                                         stands behind the one in place
    //   value 0 is invalid                    throws FF_Document::InvalidContextException
    // A redirected reader does not redirect again.
    //
    // Throws Cmn_Exception (Cmn_eMessage_UnexpectedStreamType) for another type, and what
    // Sys_StdStreamHeaderReader throws; the document's contexts are then as they were.
    FF_StreamHeaderReader(FF_Document* iDocument, Sys_TypedInStream& ioStream, Cmn_Int16 iExpectedType,
                          EUseExtendedTOC iUse = eIgnoreExtendedTOC, bool iStayInPlace = false);
    // Places the input behind the stream in place and pops the context.
    virtual ~FF_StreamHeaderReader();
    FF_StreamHeaderReader(const FF_StreamHeaderReader&) = delete;
    FF_StreamHeaderReader& operator=(const FF_StreamHeaderReader&) = delete;

    // Of the stream that is being read, which is the other one after a redirection.
    Cmn_Int16 GetStreamType() const;
    Cmn_Int16 GetVersion() const;
    // Throws Cmn_DocumentTooOldException or Cmn_DocumentTooNewException for a version outside of [iMin, iMax].
    void CheckVersion(Cmn_Int16 iMin, Cmn_Int16 iMax) const;
    [[nodiscard]] bool IsMoreLeft() const;
    Cmn_Int64 GetBytesLeft() const;
    bool IsRedirected() const { return mNested != nullptr; }

    // The type of the stream at the position, which stays.
    [[nodiscard]] static Cmn_Int16 GetNextStreamType(Sys_TypedInStream& ioStream);

private:
    void Open(Cmn_Int16 iExpectedType, EUseExtendedTOC iUse, bool iStayInPlace);
    void AskTable(Cmn_Int16 iExpectedType, bool iStayInPlace);
    void Push();
    void Pop();

    FF_Document* mDocument;
    Sys_TypedInStream& mStream;
    std::optional<Sys_StdStreamHeaderReader> mHeader;
    Cmn_Int16 mStreamType = 0;
    bool mIsPushed = false;     // this reader's context is the innermost
    bool mHasLentIndex = false; // the enclosing list's context has this header's list index
    std::unique_ptr<FF_StreamHeaderReader> mNested;
};
