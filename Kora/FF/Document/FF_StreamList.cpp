#include "Kora/FF/Document/FF_StreamList.h"

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Bastel/Sys/Sys_StreamThrow_p.h"
#include "Kora/FF/Document/FF_OpenStreams_p.h"

FF_StreamListWriter::FF_StreamListWriter(FF_Document* iDocument, Sys_TypedOutStream& ioStream,
                                         Cmn_Int32 iCount)
    : mDocument(iDocument)
    , mStream(ioStream)
{
    if (mDocument != nullptr && Cmn_ASSERT(!mDocument->GetOpenStreams().IsEmpty())) {
        const FF_Document::TOC::Entry entry = mDocument->GetOpenStreams().FindEntry();
        if (entry != FF_Document::TOC::cNone) {
            FF_Document::TOC& toc = mDocument->GetTOC();
            toc.SetIsList(entry, true);
            // Value 0 is the list itself.
            if (iCount < FF_Document::TOC::cMostReserved) toc.Reserve(entry, iCount + 1);
        }
        mDocument->GetOpenStreams().GetContexts().back().SetIsList(true);
    }
    // The header says it too, so that a reader without the table knows.
    mStream.GetStream().GetOpenHeaders().SetIsList();
    mStream.WriteInt32(iCount);
}

FF_StreamListWriter::~FF_StreamListWriter()
{
    mStream.GetStream().GetOpenHeaders().SetListIndex(0);
    if (mDocument != nullptr) mDocument->GetOpenStreams().SetItem(0);
}

void FF_StreamListWriter::AddListEntry(Cmn_Int32 iItem, std::string_view iDescription)
{
    // Deliberate: one more than the item's index, since 0 says that no item is open.
    // Test: ThreeItemsAreOneTwoThreeAndTheBytesAreTheSameWithoutDocument
    const Cmn_UInt32 listIndex = static_cast<Cmn_UInt32>(iItem) + 1;
    if (mDocument != nullptr && mDocument->GetOpenStreams().IsList())
        mDocument->GetOpenStreams().SetItem(static_cast<Cmn_Int32>(listIndex));
    FF_Document::AddListEntry(mDocument, static_cast<Cmn_UInt32>(iItem), iDescription);
    mStream.GetStream().GetOpenHeaders().SetListIndex(listIndex);
}

FF_StreamListReader::FF_StreamListReader(FF_Document* iDocument, Sys_TypedInStream& ioStream)
    : mDocument(iDocument)
    , mStream(ioStream)
    , mDepth(iDocument == nullptr ? 0 : iDocument->GetCurrentContext().size())
    , mCount(ioStream.ReadInt32())
    , mFirst(ioStream.GetPosition())
    , mWalkedTo(mFirst)
{
    if (mCount >= 0 && mCount <= ioStream.GetBytesLeft()) return;
    Sys_ThrowFrom<Sys_StreamReadException>(ioStream.GetStream(), mFirst - Cmn_Int64{sizeof(Cmn_Int32)});
}

FF_StreamListReader::~FF_StreamListReader()
{
    // What follows the items inside the list's stream is in none of them.
    if (mDepth != 0 && mCurrent >= 0 && mDocument->GetCurrentContext().size() == mDepth)
        mDocument->GetOpenStreams().SetItem(0);
}

void FF_StreamListReader::SeekToListEntry(Cmn_Int32 iItem)
{
    if (mDocument != nullptr && mDocument->GetOpenStreams().IsList()) return SeekByTable(iItem);
    SeekByWalk(iItem);
    mCurrent = iItem;
    if (mDocument != nullptr) mDocument->GetOpenStreams().SetItem(iItem + 1);
}

void FF_StreamListReader::SeekByTable(Cmn_Int32 iItem)
{
    const FF_Document::TOC& toc = mDocument->GetTOC();
    const FF_Document::TOC::Entry entry = mDocument->GetOpenStreams().FindEntry();
    const Cmn_Int32 numValues = entry == FF_Document::TOC::cNone ? 0 : toc.GetNumValues(entry);
    // Value 0 is the list itself.
    if (!Cmn_ASSERT_TEXT(iItem < numValues, "iListIndex <= (Cmn_Int32)values.size()")) return;
    const Cmn_Int32 listIndex = iItem + 1;
    Cmn_UInt32 offset = 0;
    // Behind the input's end stands what was registered after the last Flush.
    if (listIndex < 1 || listIndex == numValues || !toc.GetFirstOffset(entry, listIndex, offset) ||
        Cmn_Int64{offset} >= mStream.GetStream().GetLength())
    {
        FF_Document::InvalidContextException exception;
        mDocument->GetOpenStreams().Name(exception);
        throw exception;
    }
    mDocument->GetOpenStreams().SetItem(listIndex);
    mStream.SetPosition(offset);
    mCurrent = iItem;
}

void FF_StreamListReader::SeekByWalk(Cmn_Int32 iItem)
{
    if (iItem < 0 || iItem >= mCount)
        Sys_ThrowFrom<FF_Document::InvalidContextException>(mStream.GetStream(), mStream.GetPosition());
    if (iItem < mWalkedItem) {
        mWalkedItem = 0;
        mWalkedTo = mFirst;
    }
    for (mStream.SetPosition(mWalkedTo); mWalkedItem < iItem; ++mWalkedItem) {
        Sys_StdStreamHeaderInfo info;
        if (!Sys_StdStreamHeaderReader::Peek(mStream, info) || !info.mIsComplete)
            Sys_ThrowFrom<Sys_StreamReadException>(mStream.GetStream(), mWalkedTo);
        mWalkedTo = info.mEnd;
        mStream.SetPosition(mWalkedTo);
    }
}
