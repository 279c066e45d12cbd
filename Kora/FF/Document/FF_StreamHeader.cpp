#include "Kora/FF/Document/FF_StreamHeader.h"

#include "Bastel/Sys/Sys_StreamThrow_p.h"
#include "Kora/FF/Document/FF_OpenStreams_p.h"
#include "Kora/FF/Format/FF_Format_p.h"

FF_StreamHeaderWriter::FF_StreamHeaderWriter(FF_Document* iDocument, Sys_TypedOutStream& ioStream,
                                             Cmn_Int16 iStreamType, Cmn_Int16 iVersion,
                                             int iCallersExceptions)
    : mDocument(iDocument)
    , mStream(ioStream)
    , mExceptions(iCallersExceptions + std::uncaught_exceptions())
{
    const Cmn_Int64 start = mStream.GetPosition();
    try {
        if (iStreamType == FF_Document::cNoStreamType || iStreamType == FF_Document::cTOCStreamType)
            Sys_ThrowFrom<Sys_StreamWriteException>(mStream.GetStream(), start);
        mHeader.emplace(mStream, FF_Format::cStreamName, iVersion, Sys_StdStreamHeaderWriter::eEnd_ByOwner);
        mStream.WriteInt16(iStreamType);
        if (mDocument != nullptr)
            mDocument->GetOpenStreams().Push(iStreamType, static_cast<Cmn_UInt32>(start));
    } catch (...) {
        Abandon(start);
        throw;
    }
}

void FF_StreamHeaderWriter::Finish(int iCallersExceptions) noexcept
{
    if (mDocument != nullptr) mDocument->GetOpenStreams().Pop();
    if (iCallersExceptions + std::uncaught_exceptions() > mExceptions) return Abandon(mHeader->GetStart());
    try {
        mHeader->PatchSize();
    } catch (...) {
        // A destructor lets nothing out; the next write or Flush throws in its place.
        mStream.GetStream().RememberFailure();
        Abandon(mHeader->GetStart());
    }
}

// Takes back the stream, and from the table what says that it is there.
void FF_StreamHeaderWriter::Abandon(Cmn_Int64 iStart)
{
    if (mHeader) mHeader->Abandon();
    if (mDocument != nullptr) mDocument->GetOpenStreams().ForgetFrom(mStream.GetStream(), iStart);
}

FF_StreamHeaderReader::FF_StreamHeaderReader(FF_Document* iDocument, Sys_TypedInStream& ioStream,
                                             Cmn_Int16 iExpectedType, EUseExtendedTOC iUse, bool iStayInPlace)
    : mDocument(iDocument)
    , mStream(ioStream)
{
    try {
        Open(iExpectedType, iUse, iStayInPlace);
    } catch (...) {
        Pop();
        throw;
    }
}

void FF_StreamHeaderReader::Open(Cmn_Int16 iExpectedType, EUseExtendedTOC iUse, bool iStayInPlace)
{
    mHeader.emplace(mStream, FF_Format::cStreamName);
    const Sys_StdStreamHeaderInfo& info = mHeader->GetInfo();
    const Cmn_Int64 start = info.mStart;
    if (info.mEnd - info.mBody < FF_Format::cStreamTypeSize)
        Sys_ThrowFrom<Sys_StreamReadException>(mStream.GetStream(), start);
    mStreamType = mStream.ReadInt16();
    if (iExpectedType != FF_Document::cNoStreamType && iExpectedType != mStreamType)
        Sys_ThrowFrom(mStream.GetStream(), Cmn_eMessage_UnexpectedStreamType, start);
    if (mDocument == nullptr) return;
    Push();
    if (iUse == eUseExtendedTOC) AskTable(iExpectedType, iStayInPlace);
}

void FF_StreamHeaderReader::Push()
{
    const Sys_StdStreamHeaderInfo& info = mHeader->GetInfo();
    std::vector<FF_Document::Context>& contexts = mDocument->GetOpenStreams().GetContexts();
    // A list that is read in sequence, without seeking, has no item open: its next
    // header says which it is in.
    if (!contexts.empty() && contexts.back().IsList() && contexts.back().GetListIndex() == 0) {
        contexts.back().SetListIndex(static_cast<Cmn_Int32>(info.mListIndex));
        mHasLentIndex = true;
    }
    mDocument->PushContext(mStreamType, static_cast<Cmn_UInt32>(info.mStart));
    mIsPushed = true;
}

void FF_StreamHeaderReader::Pop()
{
    if (mIsPushed) mDocument->PopContext();
    if (mHasLentIndex) mDocument->GetOpenStreams().SetItem(0);
    mIsPushed = mHasLentIndex = false;
}

void FF_StreamHeaderReader::AskTable(Cmn_Int16 iExpectedType, bool iStayInPlace)
{
    const FF_Document::TOC& toc = mDocument->GetTOC();
    const FF_Document::TOC::Entry entry = toc.Find(mDocument->GetCurrentContext());
    if (entry == FF_Document::TOC::cNone) return;
    mDocument->GetOpenStreams().GetContexts().back().SetIsList(toc.IsList(entry));

    const Cmn_Int64 here = mHeader->GetInfo().mStart;
    Cmn_UInt32 registered = 0;
    if (!toc.GetFirstOffset(entry, 0, registered))
        Sys_ThrowFrom<FF_Document::InvalidContextException>(mStream.GetStream(), here);
    if (iStayInPlace || toc.HasOffset(entry, 0, static_cast<Cmn_UInt32>(here))) return;

    // The stream was written anew. The nested reader takes this one's context, and stays where it is sent.
    mIsPushed = false;
    mDocument->PopContext();
    mStream.SetPosition(registered);
    mNested =
        std::make_unique<FF_StreamHeaderReader>(mDocument, mStream, iExpectedType, eUseExtendedTOC, true);
}

FF_StreamHeaderReader::~FF_StreamHeaderReader()
{
    mNested.reset();
    Pop();
    mHeader->SkipTheRest();
}

Cmn_Int16 FF_StreamHeaderReader::GetStreamType() const
{
    return mNested ? mNested->GetStreamType() : mStreamType;
}

Cmn_Int16 FF_StreamHeaderReader::GetVersion() const
{
    return mNested ? mNested->GetVersion() : mHeader->GetVersion();
}

void FF_StreamHeaderReader::CheckVersion(Cmn_Int16 iMin, Cmn_Int16 iMax) const
{
    if (mNested) return mNested->CheckVersion(iMin, iMax);
    mHeader->CheckVersion(iMin, iMax);
}

bool FF_StreamHeaderReader::IsMoreLeft() const { return GetBytesLeft() > 0; }

Cmn_Int64 FF_StreamHeaderReader::GetBytesLeft() const
{
    return mNested ? mNested->GetBytesLeft() : mHeader->GetBytesLeft();
}

Cmn_Int16 FF_StreamHeaderReader::GetNextStreamType(Sys_TypedInStream& ioStream)
{
    const Cmn_Int64 position = ioStream.GetPosition();
    Cmn_Int16 type = FF_Document::cNoStreamType;
    try {
        type = FF_StreamHeaderReader(nullptr, ioStream, FF_Document::cNoStreamType, eUseExtendedTOC)
                   .GetStreamType();
    } catch (...) {
        ioStream.SetPosition(position);
        throw;
    }
    ioStream.SetPosition(position);
    return type;
}
