// FF_Document: opening, flushing and closing. FF_DocumentContents.cpp has the entries
// of the table and seeking.
#include "Kora/FF/Document/FF_Document.h"

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Bastel/Sys/Sys_Crc32C.h"
#include "Bastel/Sys/Sys_StreamThrow_p.h"
#include "Kora/FF/Document/FF_Document_TOC.h"
#include "Kora/FF/Document/FF_OpenStreams_p.h"
#include "Kora/FF/Format/FF_FileBasedEncrytpedStreams.h"
#include "Kora/FF/Format/FF_FileBasedSimpleEncryptedOutStream.h"
#include "Kora/FF/Format/FF_Format_p.h"

#include <algorithm>
#include <array>
#include <utility>

using namespace FF_Format;
using Fields = Sys_StdStreamHeaderFields;

static_assert(FF_Document::cNoStreamType == FF_Format::cNoStreamType);
static_assert(FF_Document::cTOCStreamType == FF_Format::cTOCStreamType);

namespace {

constexpr std::size_t cHeaderReadAhead = 8192;

void WriteRaw(Sys_File& ioFile, const void* iBytes, std::size_t iCount)
{
    const Cmn_Int64 position = ioFile.GetPosition();
    if (ioFile.Write(iBytes, iCount) != iCount) Sys_ThrowFrom<Sys_StreamWriteException>(ioFile, position);
}

void ReadRaw(Sys_File& ioFile, void* oBytes, std::size_t iCount)
{
    const Cmn_Int64 position = ioFile.GetPosition();
    if (ioFile.Read(oBytes, iCount) != iCount) Sys_ThrowFrom<Sys_StreamReadException>(ioFile, position);
}

} // namespace

// Takes and gives nothing.
class FF_Document::NoStream : public Sys_OutStream
{
public:
    std::size_t Write(const void*, std::size_t) override { return 0; }
    Cmn_Int64 GetPosition() const override { return 0; }
    void SetPosition(Cmn_Int64) override {}
    bool Patch(Cmn_Int64, const void*, std::size_t) override { return false; }
    bool PatchHeader(Cmn_Int64, const void*, std::size_t) override { return false; }
    Sys_InStream& GetIn() { return mIn; }

private:
    Sys_MemInStream mIn{{}};
};

// The streams of a document that was closed too early.
struct FF_Document::LeftOver
{
    std::unique_ptr<Sys_File> mInFile;
    std::unique_ptr<Sys_File> mOutFile;
    std::unique_ptr<Sys_FileBasedInStream> mInStream;
    std::unique_ptr<Sys_FileBasedOutStream> mOutStream;
};

FF_Document::FailQuietlyException::FailQuietlyException()
    : Cmn_Exception(Cmn_eMessage_FailQuietly)
{
}

FF_Document::FailQuietlyException::~FailQuietlyException() = default;

FF_Document::InvalidContextException::InvalidContextException(Cmn_Int64 iOffset)
    : Cmn_Exception(Cmn_eMessage_InvalidContext, iOffset)
{
}

FF_Document::InvalidContextException::~InvalidContextException() = default;

FF_Document::FF_Document(Sys_FileLoc iLocation, EFF_EncryptionType iType, ETextEncoding iEncoding,
                         bool iRepairText)
    : mLocation(std::move(iLocation))
    , mNewType(iType)
    , mType(iType)
    , mNoStream(std::make_unique<NoStream>())
    , mTOC(std::make_unique<TOC>())
    , mOpenStreams(std::make_unique<OpenStreams>(*this))
    , mEncoding(iEncoding)
    , mRepairText(iRepairText)
{
    mTOC->SetTextForm(mEncoding, mRepairText);
}

FF_Document::FF_Document(Sys_FileLoc iLocation, const FF_DocumentOptions& iOptions)
    : FF_Document(std::move(iLocation), iOptions.mType, iOptions.mEncoding, iOptions.mRepairText)
{
}

FF_Document::~FF_Document() { Close(); }

bool FF_Document::IsDocument(std::string_view iStart)
{
    return iStart.size() > cSignature.size() && iStart.substr(cSignaturePosition).starts_with(cSignature);
}

Sys_TypedInStream FF_Document::MakeTypedInStream()
{
    if (!Cmn_ASSERT(mInStream)) return Sys_TypedInStream(mNoStream->GetIn(), mSwap, mEncoding);
    return Sys_TypedInStream(*mInStream, mSwap, mEncoding);
}

Sys_TypedOutStream FF_Document::MakeTypedOutStream()
{
    if (!Cmn_ASSERT(mOutStream)) return Sys_TypedOutStream(*mNoStream, mSwap, mEncoding, mRepairText);
    return Sys_TypedOutStream(*mOutStream, mSwap, mEncoding, mRepairText);
}

void FF_Document::Name(Cmn_Exception& ioException) const
{
    if (ioException.GetFile().empty()) ioException.SetFile(mLocation.GetPath());
}

void FF_Document::OpenImpl(EOpenFlag iFlag)
{
    const Sys_FileSystem::Handle lent = std::exchange(mLent, Sys_FileSystem::cNoHandle);
    try {
        if (lent != Sys_FileSystem::cNoHandle)
            OpenLent(lent);
        else
            OpenFiles(iFlag);
        if (iFlag == eOpenFlag_New)
            WriteHeader();
        else
            ParseHeader(iFlag);
    } catch (...) {
        Reset();
        throw;
    }
    UpdateLimit();
}

void FF_Document::OpenFiles(EOpenFlag iFlag)
{
    if (iFlag != eOpenFlag_Read) {
        // The output first: it keeps other writers away, so that what is read afterwards stays.
        mOutFile = std::make_unique<Sys_File>(mLocation, mSystem);
        mOutFile->Open(iFlag == eOpenFlag_New               ? Sys_FileSystem::eAccess_New
                       : iFlag == eOpenFlag_ReadWriteShared ? Sys_FileSystem::eAccess_WriteShared
                                                            : Sys_FileSystem::eAccess_Write);
    }
    mInFile = std::make_unique<Sys_File>(mLocation, mSystem);
    mInFile->Open(Sys_FileSystem::eAccess_Read);
}

void FF_Document::OpenLent(Sys_FileSystem::Handle iHandle)
{
    for (std::unique_ptr<Sys_File>* const file : {&mOutFile, &mInFile}) {
        *file = std::make_unique<Sys_File>(mLocation);
        (*file)->Borrow(mSystem != nullptr ? *mSystem : Sys_FileSystem::Get(), iHandle);
    }
    mIsLent = true;
}

void FF_Document::CloseImpl()
{
    const bool isDone =
        Cmn_ASSERT(mOpenStreams->IsEmpty() && (!mOutStream || mOutStream->GetOpenHeaders().IsEmpty()));
    if (!isDone) {
        // The headers that are still open end on their streams later; the files are closed all the same.
        mInFile->Close();
        if (mOutFile) mOutFile->Close();
        mLeftOver.reset(new LeftOver{std::move(mInFile), std::move(mOutFile), std::move(mInStream),
                                     std::move(mOutStream)});
    }
    Reset();
}

void FF_Document::Reset()
{
    mInStream.reset();
    mOutStream.reset();
    mInFile.reset();
    mOutFile.reset();
    mTOC->Clear();
    mTOCOffset = 0;
    mTOCOffsetPosition = 0;
    mOpenStreams->Clear();
    mSwap = false;
    mIsLent = false;
}

void FF_Document::WriteHeader()
{
    mSwap = false;
    mType = mNewType;
    WriteRaw(*mOutFile, &cVersion, 1);
    WriteRaw(*mOutFile, cSignature.data(), cSignature.size());
    const Cmn_UInt8 swapFlag = 0;
    WriteRaw(*mOutFile, &swapFlag, 1);
    const Cmn_UInt8 type = mType;
    WriteRaw(*mOutFile, &type, 1);
    const Cmn_UInt8 key = FF_FileBasedSimpleEncryptedOutStream::DrawKey();
    if (IsMasked(type)) WriteRaw(*mOutFile, &key, 1);
    mInFile->SetPosition(mOutFile->GetPosition());
    FF_FileBasedEncrytpedStreams::CreateBehindFront(*mInFile, mOutFile.get(), mType, key, mInStream,
                                                    mOutStream);
    if (!mInStream || !mOutStream) Sys_ThrowFrom<Sys_StreamWriteException>(*mOutFile, cMaskTypePosition);
    WriteStreamHeader();
}

void FF_Document::WriteStreamHeader()
{
    Sys_TypedOutStream out = MakeTypedOutStream();
    Sys_StdStreamHeaderWriter header(out, cStreamName, cHeaderStreamVersion);
    mTOCOffsetPosition = out.GetPosition();
    out.WriteUInt32(mTOCOffset);
    header.PatchSize();
    mTOCOffset = static_cast<Cmn_UInt32>(out.GetPosition());

    mHeader = {};
    mHeader.mName = cStreamName;
    mHeader.mVersion = cHeaderStreamVersion;
    mHeader.mStart = header.GetStart();
    mHeader.mBody = mTOCOffsetPosition;
    mHeader.mEnd = out.GetPosition();
    mHeaderRestSum = 0;
}

void FF_Document::SwapNewHeader()
{
    const Cmn_UInt8 swapFlag = 1;
    if (mOutFile->WriteAt(cSwapFlagPosition, &swapFlag, 1) != 1)
        Sys_ThrowFrom<Sys_StreamWriteException>(*mOutFile, cSwapFlagPosition);
    mSwap = true;
    mOutStream->TakeBack(mHeader.mStart);
    WriteStreamHeader();
}

void FF_Document::ParseHeader(EOpenFlag iFlag)
{
    Cmn_UInt8 version = 0;
    ReadRaw(*mInFile, &version, 1);
    if (version != cVersion) {
        // Deliberate: the byte compares as a signed one, so that 128 to 255 are too
        // old. Test: EveryLeadingByte
        if (static_cast<signed char>(version) < cVersion + 1)
            Sys_ThrowFrom<Cmn_DocumentTooOldException>(*mInFile, 0);
        Sys_ThrowFrom<Cmn_DocumentTooNewException>(*mInFile, 0);
    }
    std::array<char, cSignature.size()> signature;
    ReadRaw(*mInFile, signature.data(), signature.size());
    if (std::string_view(signature.data(), signature.size()) != cSignature)
        Sys_ThrowFrom<Sys_StreamReadException>(*mInFile, cSignaturePosition);
    Cmn_UInt8 swapFlag = 0;
    ReadRaw(*mInFile, &swapFlag, 1);
    mSwap = swapFlag != 0;

    Cmn_UInt8 type = 0;
    Cmn_UInt8 key = 0;
    ReadRaw(*mInFile, &type, 1);
    if (type != eFF_EncryptionType_None && !IsMasked(type))
        Sys_ThrowFrom(*mInFile, Cmn_eMessage_UnknownStreamType, cMaskTypePosition);
    if (IsMasked(type)) ReadRaw(*mInFile, &key, 1);
    mType = static_cast<EFF_EncryptionType>(type);
    const bool isWritable = iFlag == eOpenFlag_ReadWrite || iFlag == eOpenFlag_ReadWriteShared;
    if (isWritable) mOutFile->SetPosition(mInFile->GetPosition());
    FF_FileBasedEncrytpedStreams::CreateBehindFront(*mInFile, isWritable ? mOutFile.get() : nullptr, mType,
                                                    key, mInStream, mOutStream);

    mInStream->SetReadAhead(cHeaderReadAhead);
    Sys_TypedInStream in = MakeTypedInStream();
    ReadStreamHeader(in);
    if (mTOCOffset < mHeader.mEnd || mTOCOffset >= mInStream->GetLength())
        Sys_ThrowFrom(*mInFile, Cmn_eMessage_NoTOC, mTOCOffsetPosition);
    in.SetPosition(mTOCOffset);
    if (!isWritable) return mTOC->Open(*mInStream, mSwap, mTOCOffset, mHeader.mEnd);
    mTOC->StreamIn(in, mTOCOffset, mHeader.mEnd);
    // The table lives in memory from now on: the streams end where it begins, and what is
    // written now replaces it.
    mOutStream->SetPosition(mTOCOffset);
    mOutStream->TakeBack(mTOCOffset);
}

void FF_Document::ReadStreamHeader(Sys_TypedInStream& ioStream)
{
    Sys_StdStreamHeaderReader header(ioStream, cStreamName);
    header.CheckVersion(cHeaderStreamVersion, cHeaderStreamVersion);
    mHeader = header.GetInfo();
    mTOCOffsetPosition = ioStream.GetPosition();
    if (header.GetBytesLeft() < static_cast<Cmn_Int64>(cTOCOffsetSize))
        Sys_ThrowFrom<Sys_StreamReadException>(*mInStream, mTOCOffsetPosition);
    mTOCOffset = ioStream.ReadUInt32();
    mHeaderRestSum = mInStream->SumOf(ioStream.GetPosition(), header.GetBytesLeft());
    header.SkipTheRest();
}

// Flush, step by step. What holds in the file after each:
//
//   table and streams written   the header names the old table, whose place the streams and the new table
//                               have taken: repair finds the streams
//   waited for the disk         the same, and the new table is there, whatever happens
//   header patched              the header names the new table
//   waited for the disk         the same, whatever happens
void FF_Document::Flush() { static_cast<void>(FlushTOC(eReaders_Possible)); }

bool FF_Document::FlushTOC(EReaders iReaders)
{
    if (!Cmn_ASSERT(mOutStream)) return false;
    if (!Cmn_ASSERT(mOutStream->GetOpenHeaders().IsEmpty())) return false;
    const Cmn_Int64 end = mOutStream->GetEnd();
    try {
        // An entry that was registered while its stream never came would make the table
        // one that no reader takes.
        mTOC->ForgetOffsetsFrom(static_cast<Cmn_UInt32>(end));
        mOutStream->SetLimit(mSizeLimit);
        WriteTOC(static_cast<Cmn_UInt32>(end), iReaders);
    } catch (...) {
        EndFlush(end);
        throw;
    }
    EndFlush(end);
    mTOCOffset = static_cast<Cmn_UInt32>(end);
    return true;
}

void FF_Document::EndFlush(Cmn_Int64 iEnd)
{
    // What is written next replaces the table.
    if (mOutStream->GetPosition() >= iEnd) mOutStream->TakeBack(iEnd);
    try {
        // A stream that remembers a failure takes bytes again once its flush has told.
        mOutStream->Flush();
    } catch (const Cmn_Exception&) {
        // The exception that brought us here tells it.
    }
    UpdateLimit();
    mInStream->Forget();
}

void FF_Document::WriteTOC(Cmn_UInt32 iOffset, EReaders iReaders)
{
    Sys_TypedOutStream out = MakeTypedOutStream();
    SeekToEnd(out);
    mTOC->StreamOut(out);
    mOutStream->Flush();
    // Before the header names it: what is left of a longer, older file behind the
    // table goes in the same wait.
    mOutStream->Truncate();
    if (iReaders == eReaders_Possible) mOutFile->Sync();
    PatchTOCOffset(iOffset);
    mOutStream->Flush();
    mOutFile->Sync();
}

// The header block and the offset behind it change in one write, so that the header's sums and what they
// cover agree at every moment.
void FF_Document::PatchTOCOffset(Cmn_UInt32 iOffset)
{
    Sys_MemOutStream offset;
    Sys_TypedOutStream(offset, mSwap).WriteUInt32(iOffset);
    const std::vector<Cmn_UInt8>& offsetBytes = offset.GetBytes();

    Fields fields;
    fields.mStart = mHeader.mStart;
    fields.mName = mHeader.mName;
    fields.mVersion = mHeader.mVersion;
    fields.mListIndex = mHeader.mListIndex;
    fields.mFlags = Fields::cFlagComplete | Fields::cFlagSums;
    if (mHeader.mIsList) fields.mFlags |= Fields::cFlagList;
    fields.mBodySize = static_cast<Cmn_UInt32>(mHeader.mEnd - mHeader.mBody);
    fields.mBodySum = Sys_Crc32CCombine(Sys_Crc32C(0, offsetBytes.data(), offsetBytes.size()), mHeaderRestSum,
                                        fields.mBodySize - cTOCOffsetSize);
    Fields::Bytes header;
    const std::size_t headerSize = fields.ToBytes(mSwap, header);

    std::array<Cmn_UInt8, Fields::cBlockSize + cTOCOffsetSize> patch;
    const auto behindBlock =
        std::copy_n(header.data() + headerSize - Fields::cBlockSize, Fields::cBlockSize, patch.data());
    std::copy(offsetBytes.begin(), offsetBytes.end(), behindBlock);
    if (!mOutStream->Patch(mTOCOffsetPosition - Fields::cBlockSize, patch.data(), patch.size()))
        Sys_ThrowFrom<Sys_StreamWriteException>(*mOutStream, mTOCOffsetPosition);
}

void FF_Document::SetSizeLimit(Cmn_Int64 iBytes)
{
    mSizeLimit = std::clamp<Cmn_Int64>(iBytes, 0, cMaxFileSize);
    UpdateLimit();
}

void FF_Document::UpdateLimit()
{
    if (mOutStream) LimitStream(mTOC->GetStreamSize());
}

std::string FF_Document::Dump() const
{
    std::string text = mLocation.GetPath() + ": ";
    text += !IsOpen() ? "closed" : IsWritable() ? "open for writing" : "open for reading";
    text += ", encryption type " + std::to_string(mType) + (mSwap ? ", swapped" : "") + "\n";
    if (IsOpen()) {
        text += "table at " + std::to_string(mTOCOffset);
        if (mOutStream)
            text += ", streams end at " + std::to_string(mOutStream->GetEnd()) + ", size limit " +
                    std::to_string(mSizeLimit);
        text += "\n";
    }
    if (!mOpenStreams->IsEmpty()) text += "open streams: " + TOCKey(GetCurrentContext()).Dump() + "\n";
    return text + mTOC->Dump();
}
