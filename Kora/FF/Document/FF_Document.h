// FF_Document: one file of streams inside streams, each of a type, with a table of contents
// that leads to any of them.
//
//   FF_Document document(Sys_FileLoc("take.kora"));
//   document.Open(Sys_Store::eOpenFlag_New);
//   Sys_TypedOutStream out = document.MakeTypedOutStream();
//   FF_Document::AddTOCEntry(&document, out.GetPosition(), cMyType, "my object");   // before the header
//   { FF_StreamHeaderWriter header(&document, out, cMyType, 1);  object.StreamOut(out); }
//   document.Flush();
//
// A key is the path of stream types and list indexes from the outermost stream inward.
// docs/file-format.md has the bytes.
//
// Units:     positions are bytes from the start of the file, below 2^32.
// States:    opened → appended to → flushed. In a file that is written in place the old table of contents is
//            overwritten by the first append: until the next Flush has returned, FF_DocumentRepair is the way
//            back to what was flushed before. FF_SafeSave has no such window.
// Throws:    Cmn_DocumentTooOldException, Cmn_DocumentTooNewException, Sys_StreamReadException ("an error
//            occurred while reading the document"), Sys_StreamWriteException ("an error occurred while
//            writing the document"), Cmn_Exception with Cmn_eMessage_NoTOC,
//            Cmn_eMessage_UnexpectedStreamType, Cmn_eMessage_UnknownStreamType or Cmn_eMessage_OSError; all
//            name the file, and the offset where there is one.
// Ownership: owns its files, streams and table. Typed streams that it makes must not outlive its being open.
// Threads:   one at a time.
#pragma once

#include "Bastel/Cmn/Cmn_Exception.h"
#include "Bastel/Sys/Sys_FileLoc.h"
#include "Bastel/Sys/Sys_FileSystem.h"
#include "Bastel/Sys/Sys_StdStreamHeader.h"
#include "Bastel/Sys/Sys_Store.h"
#include "Bastel/Sys/Sys_TypedStream.h"
#include "Kora/FF/Format/FF_EncryptionType.h"

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

class Sys_File;
class Sys_FileBasedInStream;
class Sys_FileBasedOutStream;

// How a document is written, and in what form its texts come and go:
//
//   FF_Document masked(location, {.mType = eFF_EncryptionType_Block93});
//
// What is left out has the value that most hosts want.
struct FF_DocumentOptions
{
    // The mask of a file that is made: none. An existing file brings its own.
    EFF_EncryptionType mType = eFF_EncryptionType_None;
    // Of the strings that typed streams of this document take and give. The file has UTF-8.
    ETextEncoding mEncoding = eTextEncoding_Utf8;
    // Whether ill-formed UTF-8 is written with U+FFFD for what is wrong (Sys_TypedOutStream), or as it stands.
    bool mRepairText = false;
};

// Not in the exported class, so that every module has them as constants of its own.
struct FF_ReservedStreamTypes
{
    // Stream types that the document keeps for itself; writers are refused them.
    static constexpr Cmn_Int16 cNoStreamType = 0;
    static constexpr Cmn_Int16 cTOCStreamType = 2; // the table of contents
};

class KORA_API FF_Document : public virtual Sys_Store, public FF_ReservedStreamTypes
{
public:
    // The parts of a table of contents: FF_Document_TOCKey.h, FF_Document_TOCValue.h, FF_Document_TOC.h.
    class Context;
    class TOCKey;
    class Location;
    class LocalLocation;
    class InvalidLocation;
    class DisplayInfo;
    class StringDisplayInfo;
    class InvalidDisplayInfo;
    class IndexInfo;
    class InvalidIndexInfo;
    class TOCValue;
    class TOC;

    // Codes of the exceptions below.
    enum EExceptionCode : Cmn_Int32 { XC_FailQuietly = 1, XC_InvalidContext = 2 };
    class FailQuietlyException;
    class InvalidContextException;

    // Makes a closed document; Open looks for the file.
    explicit FF_Document(Sys_FileLoc iLocation, const FF_DocumentOptions& iOptions = {});
    // The same with each option spelt out. iEncoding: of the strings that typed streams of this document take
    // and give. iRepairText: handed to every typed output stream that it makes (Sys_TypedOutStream). iType: of
    // a new file; an existing one brings its own.
    FF_Document(Sys_FileLoc iLocation, EFF_EncryptionType iType, ETextEncoding iEncoding, bool iRepairText);
    ~FF_Document() override;
    FF_Document(const FF_Document&) = delete;
    FF_Document& operator=(const FF_Document&) = delete;

    // Whether a file that begins with these bytes, 17 or more, is a document: of any
    // version, whole or damaged.
    static bool IsDocument(std::string_view iStart);

    const Sys_FileLoc& GetFileLoc() const { return mLocation; }
    // Where the file is from the next Open on: such as a Sys_MemoryFile. It must outlive the document's being open;
    // null, as at first, is the file system that is in force when it is opened.
    void SetFileSystem(Sys_FileSystem* iSystem) { mSystem = iSystem; }
    // The type in force: the constructor's until an existing file was opened.
    EFF_EncryptionType GetEncryptionType() const { return mType; }
    bool IsSwapped() const { return mSwap; }
    // Null while closed; the output file, and its stream, also where the document was opened for reading.
    Sys_File* GetInFile() const { return mInFile.get(); }
    Sys_File* GetOutFile() const { return mOutFile.get(); }

    // Streams with the document's byte order and text encoding. Making one of a document that is closed, or
    // an output stream of one that is not writable, asserts and gives a stream over nothing.
    Sys_TypedInStream MakeTypedInStream();
    // The same for writing.
    Sys_TypedOutStream MakeTypedOutStream();

    // --- The stack of open streams, kept by stream headers (FF_StreamHeader.h)

    // A stream of that type, whose header begins at iStreamStart, is open from here on, inside those that
    // were.
    void PushContext(Cmn_Int16 iStreamType, Cmn_UInt32 iStreamStart);
    void PopContext(); // asserts "!mCurrentContext.empty()" and does nothing on an empty stack
    const std::vector<Context>& GetCurrentContext() const;
    Cmn_UInt32 GetCurrentStreamStart() const;
    class OpenStreams; // for those who keep it (FF_OpenStreams_p.h)
    OpenStreams& GetOpenStreams() const { return *mOpenStreams; }

    // --- The table of contents
    TOC& GetTOC() { return *mTOC; }
    const TOC& GetTOC() const { return *mTOC; }
    Cmn_UInt32 GetTOCOffset() const { return mTOCOffset; }

    // Registers a stream, or one more piece of it: the position joins the offsets of the key's value
    // iValueIndex, which may be one past the last. A value that was invalidated starts anew with this
    // position. Throws std::length_error ("list<T> too long") for the 8192nd piece.
    void AddTOCEntry(const TOCKey& iKey, Cmn_Int32 iValueIndex, Cmn_UInt64 iPosition,
                     std::string_view iDescription);
    // Registers the stream of that type that is about to begin inside the open ones; nothing without a
    // document. To be called before the stream's header writer is constructed, which opens one context more.
    static void AddTOCEntry(FF_Document* iDocument, Cmn_UInt64 iPosition, Cmn_Int16 iStreamType,
                            std::string_view iDescription);
    // Registers an item, 0 for the first, of the list that is being written, at the output's position: value
    // iItem + 1 of the list's key; a list that is not registered gets its value 0 first, at the current
    // stream start. Outside a list: asserts, then throws InvalidContextException. Nothing without a document.
    static void AddListEntry(FF_Document* iDocument, Cmn_UInt32 iItem, std::string_view iDescription);
    // The value is no longer where it was registered: seeking fails and extended readers throw
    // InvalidContextException, until the key is registered anew. False where there is no such key
    // or value. The bytes stay.
    [[nodiscard]] bool InvalidateKey(const TOCKey& iKey, Cmn_Int32 iValueIndex);

    // Places the input at the stream of the key. False, with the position unchanged, where the table has no
    // such key, the stream is not in this file, or it was written after the last Flush. Does not set the
    // context: FF_StSetStreamContext does.
    [[nodiscard]] bool SeekToStream(const TOCKey& iKey, Sys_TypedInStream& ioStream) const;
    // Places the output behind the last stream, where new ones go.
    void SeekToEnd(Sys_TypedOutStream& ioStream) const;
    // Takes back the streams from the position on, with what the table has of them: for one that writes several
    // and is stopped between them. Asserts that no stream is open, and that the document is written.
    void TakeBackFrom(Cmn_Int64 iPosition);
    // How many bytes to read ahead so that the stream at the input's position comes in one read: header and
    // body where a sound header stands there, 8192 otherwise; at most 1 MB.
    [[nodiscard]] Cmn_Int32 GetReadAhead(Sys_TypedInStream& ioStream) const;

    // Writes the table of contents behind the last stream, waits for the disk, makes the header name it, and
    // waits again. When it throws, the header names what it named before or, where only the last wait failed,
    // the new table; a later Flush may succeed. Asserts and does nothing without an output stream
    // ("mOutStream"), and while stream headers are open, whose bodies are not complete. Streams that were
    // registered but never written are dropped from the table. Afterwards the output stands behind the last
    // stream: what is written next replaces the table.
    void Flush() override;
    // The largest size of the file, table included: at most, and at first, 2^32 − 1. A write that would leave
    // no room for the table throws Sys_StreamWriteException and is taken back with the stream that it was
    // part of, and so does an entry that would leave none; what is complete can still be flushed.
    void SetSizeLimit(Cmn_Int64 iBytes);

    // The document's file, table and open streams as text, for debuggers and failing tests.
    [[nodiscard]] std::string Dump() const;

protected:
    void OpenImpl(EOpenFlag iFlag) override;
    void CloseImpl() override;
    // The two ways to begin: a new file's header, an existing file's header and table.
    void WriteHeader();
    void ParseHeader(EOpenFlag iFlag);

private:
    friend class FF_DocumentRepair;
    friend class FF_SafeSave;

    // Whether somebody may open the file between the table and the header that names it.
    enum EReaders { eReaders_None, eReaders_Possible };

    // A stream for a document that has none, so that a broken precondition reaches no dangling reference.
    class NoStream;
    struct LeftOver;

    void OpenFiles(EOpenFlag iFlag);
    void OpenLent(Sys_FileSystem::Handle iHandle);
    [[nodiscard]] bool FlushTOC(EReaders iReaders); // false where it asserted
    void EndFlush(Cmn_Int64 iEnd);
    void WriteTOC(Cmn_UInt32 iOffset, EReaders iReaders);
    void PatchTOCOffset(Cmn_UInt32 iOffset);
    void WriteStreamHeader();
    // Turns the byte order of a new document that holds nothing yet: repair keeps the old one's.
    void SwapNewHeader();
    void ReadStreamHeader(Sys_TypedInStream& ioStream);
    void Reset();
    // Entries for what lies at iStart and behind, which was taken back.
    void ForgetFrom(Cmn_Int64 iStart);
    // Leaves room for the table in the file.
    void UpdateLimit();
    void LimitStream(Cmn_Int64 iTable); // bytes of the table's stream
    // iKnown: the key's entry, negative for none. iValueIndex: of a value of it, or one past the last. Returns the
    // entry that it is then.
    Cmn_Int32 Register(std::span<const Context> iKey, Cmn_Int32 iKnown, Cmn_Int32 iValueIndex,
                       Cmn_UInt64 iPosition, std::string_view iDescription);
    void RequireRoomFor(Cmn_Int64 iTable) const;
    // Adds the file's name to an exception that has none.
    void Name(Cmn_Exception& ioException) const;

    Sys_FileLoc mLocation;
    Sys_FileSystem* mSystem = nullptr; // null is the one in force
    EFF_EncryptionType mNewType;       // of files that are made
    EFF_EncryptionType mType;          // of the one that is, or was last, open
    std::unique_ptr<Sys_File> mInFile;
    std::unique_ptr<Sys_File> mOutFile;
    std::unique_ptr<Sys_FileBasedInStream> mInStream;
    std::unique_ptr<Sys_FileBasedOutStream>
        mOutStream; // its end is the end of the stream data, where the table goes
    std::unique_ptr<NoStream> mNoStream;
    std::unique_ptr<LeftOver> mLeftOver;
    // The file that the next Open of a new document borrows, and whether the open one is borrowed: the one
    // that a safe save has made.
    Sys_FileSystem::Handle mLent = Sys_FileSystem::cNoHandle;
    bool mIsLent = false;
    Cmn_UInt32 mTOCOffset = 0;
    Cmn_Int64 mTOCOffsetPosition = 0; // of the header field that holds it
    Sys_StdStreamHeaderInfo mHeader;  // of the header stream
    Cmn_UInt32 mHeaderRestSum = 0; // of its body behind the TOC offset, which a later version may have filled
    std::unique_ptr<TOC> mTOC;
    std::unique_ptr<OpenStreams> mOpenStreams;
    ETextEncoding mEncoding;
    bool mRepairText;
    bool mSwap = false;
    Cmn_Int64 mSizeLimit = 0xFFFFFFFF;
};

// Not in the exported classes, so that every module has them as constants of its own.
template <FF_Document::EExceptionCode tCode>
struct FF_ExceptionCode
{
    // Tells such exceptions apart without their type.
    static constexpr FF_Document::EExceptionCode cCode = tCode;
};

class KORA_API FF_Document::FailQuietlyException : public Cmn_Exception,
                                                   public FF_ExceptionCode<FF_Document::XC_FailQuietly>
{
public:
    // Ends reading without a message: what() is empty.
    FailQuietlyException();
    ~FailQuietlyException() override;
};

class KORA_API FF_Document::InvalidContextException : public Cmn_Exception,
                                                      public FF_ExceptionCode<FF_Document::XC_InvalidContext>
{
public:
    // A list item outside a list, or a stream whose registration is no longer valid.
    explicit InvalidContextException(Cmn_Int64 iOffset = cNoOffset);
    ~InvalidContextException() override;
};
