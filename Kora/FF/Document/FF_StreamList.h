// FF_StreamListWriter, FF_StreamListReader: the items of a stream that is a list.
//
// A list's body opens with how many items follow, in 32 signed bits. Made inside the list stream's header
// writer or reader; with a null document the same bytes are written and read.
//
//   FF_StreamHeaderWriter header(document, out, cClips, 1);
//   FF_StreamListWriter list(document, out, 2);
//   list.AddListEntry(0, "first clip");  { FF_StreamHeaderWriter item(document, out, cClip, 1); … }
//   list.AddListEntry(1, "second clip"); { FF_StreamHeaderWriter item(document, out, cClip, 1); … }
//
// Ownership: document and typed stream stay the caller's. Threads: one at a time.
#pragma once

#include "Kora/FF/Document/FF_Document.h"

class KORA_API FF_StreamListWriter
{
public:
    // Writes the count and marks the innermost open stream as a list. iCount items follow.
    FF_StreamListWriter(FF_Document* iDocument, Sys_TypedOutStream& ioStream, Cmn_Int32 iCount);
    virtual ~FF_StreamListWriter(); // no item is open any more
    FF_StreamListWriter(const FF_StreamListWriter&) = delete;
    FF_StreamListWriter& operator=(const FF_StreamListWriter&) = delete;

    // Opens item iItem, 0 for the first, at the stream's position, and registers it there. An item has a byte at
    // least: one behind which nothing is written in the document is not in the table.
    void AddListEntry(Cmn_Int32 iItem, std::string_view iDescription);

private:
    FF_Document* mDocument;
    Sys_TypedOutStream& mStream;
};

class KORA_API FF_StreamListReader
{
public:
    // A negative count, or one of more items than bytes can hold, throws Sys_StreamReadException.
    FF_StreamListReader(FF_Document* iDocument, Sys_TypedInStream& ioStream);
    virtual ~FF_StreamListReader();
    FF_StreamListReader(const FF_StreamListReader&) = delete;
    FF_StreamListReader& operator=(const FF_StreamListReader&) = delete;

    Cmn_Int32 GetNumItems() const { return mCount; }
    // -1 before the first SeekToListEntry.
    Cmn_Int32 GetCurrentItem() const { return mCurrent; }
    // Places the input at item iItem and opens it in the context. With a document, inside a list, the table
    // says where; otherwise the items' headers are walked from the first. Throws
    // FF_Document::InvalidContextException for an item that is not registered in this file.
    void SeekToListEntry(Cmn_Int32 iItem);

private:
    FF_Document* mDocument;
    Sys_TypedInStream& mStream;
    void SeekByTable(Cmn_Int32 iItem);
    void SeekByWalk(Cmn_Int32 iItem);

    std::size_t mDepth = 0; // of the document's open streams, the list included
    Cmn_Int32 mCount;
    Cmn_Int64 mFirst;
    Cmn_Int32 mCurrent = -1;
    // Where the last walk ended: the next goes on from there, so that walking through a whole list is linear.
    Cmn_Int32 mWalkedItem = 0;
    Cmn_Int64 mWalkedTo;
};
