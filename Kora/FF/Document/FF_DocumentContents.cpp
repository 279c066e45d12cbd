// FF_Document: the stack of open streams, the entries of the table, and seeking by them.
#include "Kora/FF/Document/FF_Document.h"

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Bastel/Sys/Sys_FileBasedOutStream.h"
#include "Kora/FF/Document/FF_Document_TOC.h"
#include "Kora/FF/Document/FF_OpenStreams_p.h"
#include "Kora/FF/Document/FF_TOCTable_p.h"
#include "Kora/FF/Format/FF_Format_p.h"

#include <algorithm>

namespace {

constexpr Cmn_Int64 cCountSize = 4; // of values, of the bytes of a text
constexpr Cmn_Int64 cPartHead = FF_Format::cPartHeader;
constexpr Cmn_Int64 cOffsetSize = FF_Format::cPieceSize;
constexpr Cmn_Int64 cOffsetCountSize = 2;

constexpr Cmn_Int32 cDefaultReadAhead = 8192;
constexpr Cmn_Int64 cMaxReadAhead = Cmn_Int64{1} << 20;

} // namespace

void FF_Document::PushContext(Cmn_Int16 iStreamType, Cmn_UInt32 iStreamStart)
{
    mOpenStreams->Push(iStreamType, iStreamStart);
}

void FF_Document::PopContext() { mOpenStreams->Pop(); }

const std::vector<FF_Document::Context>& FF_Document::GetCurrentContext() const
{
    return mOpenStreams->GetContexts();
}

Cmn_UInt32 FF_Document::GetCurrentStreamStart() const { return mOpenStreams->GetStart(); }

void FF_Document::AddTOCEntry(const TOCKey& iKey, Cmn_Int32 iValueIndex, Cmn_UInt64 iPosition,
                              std::string_view iDescription)
{
    const TOC::Entry known = mTOC->Find(iKey);
    const Cmn_Int32 numValues = known == TOC::cNone ? 0 : mTOC->GetNumValues(known);
    if (Cmn_ASSERT_TEXT(static_cast<Cmn_UInt32>(iValueIndex) <= static_cast<Cmn_UInt32>(numValues),
                        "(Cmn_UInt32)iValueIndex <= values.size()"))
        Register(iKey.GetContexts(), known, iValueIndex, iPosition, iDescription);
}

Cmn_Int32 FF_Document::Register(std::span<const Context> iKey, Cmn_Int32 iKnown, Cmn_Int32 iValueIndex,
                                Cmn_UInt64 iPosition, std::string_view iDescription)
{
    FF_TOCTable& table = mTOC->GetTable();
    const bool isNewKey = iKnown < 0;
    const bool isNewValue =
        isNewKey || static_cast<Cmn_UInt32>(iValueIndex) == table.GetKey(iKnown).mValueCount;
    // What is not taken as it stands has at most three bytes of UTF-8 for each of its own.
    const bool isAsGiven =
        mEncoding == eTextEncoding_Utf8 && !mRepairText && iDescription.size() <= StringDisplayInfo::cMaxText;
    Cmn_Int64 growth = cPartHead + cOffsetCountSize + cOffsetSize;
    if (isNewKey) growth += 2 * cCountSize + static_cast<Cmn_Int64>(iKey.size()) * Context::cStreamSize;
    if (isNewValue) {
        const std::size_t text = isAsGiven ? iDescription.size() : 3 * iDescription.size();
        growth +=
            2 * cPartHead + cCountSize + static_cast<Cmn_Int64>(std::min(text, StringDisplayInfo::cMaxText));
    }
    const Cmn_Int64 most = table.GetStreamSize(growth);
    if (mOutStream) RequireRoomFor(most);

    const auto offset = static_cast<Cmn_UInt32>(iPosition);
    const TOC::Entry entry =
        isNewKey ? table.Add(iKey, iKnown == FF_TOCTable::cBehindAll || table.IsBehindAll(iKey)) : iKnown;
    if (!isNewKey) table.TakeParents(entry, iKey);
    if (!isNewValue)
        table.AddOffset(entry, iValueIndex, offset);
    else if (isAsGiven)
        table.AddValue(entry, iDescription, &offset);
    else
        mTOC->AddValue(entry, iDescription, &offset);
    if (mOutStream) LimitStream(isNewValue && isAsGiven ? most : table.GetStreamSize(0));
    return entry;
}

void FF_Document::RequireRoomFor(Cmn_Int64 iTable) const
{
    if (mOutStream->GetEnd() + iTable <= mSizeLimit) return;
    Sys_StreamWriteException exception(mOutStream->GetEnd());
    Name(exception);
    throw exception;
}

void FF_Document::LimitStream(Cmn_Int64 iTable)
{
    mOutStream->SetLimit(std::max<Cmn_Int64>(mSizeLimit - iTable, 0));
}

void FF_Document::AddTOCEntry(FF_Document* iDocument, Cmn_UInt64 iPosition, Cmn_Int16 iStreamType,
                              std::string_view iDescription)
{
    if (iDocument == nullptr) return;
    // The key of the stream is the path that its header writer is about to make. Mostly streams are written in
    // the order of their keys.
    const OpenStreams::StInnermost innermost(*iDocument->mOpenStreams, iStreamType);
    const std::vector<Context>& path = iDocument->GetCurrentContext();
    const FF_TOCTable& table = iDocument->mTOC->GetTable();
    const TOC::Entry known = table.IsBehindAll(path) ? FF_TOCTable::cBehindAll : table.Find(path);
    iDocument->Register(path, known, 0, iPosition, iDescription);
}

void FF_Document::AddListEntry(FF_Document* iDocument, Cmn_UInt32 iItem, std::string_view iDescription)
{
    if (iDocument == nullptr) return;
    std::vector<Context>& contexts = iDocument->mOpenStreams->GetContexts();
    if (!Cmn_ASSERT_TEXT(!contexts.empty() && contexts.back().IsList(),
                         "mDocument->mCurrentContext.back().mIsList"))
    {
        InvalidContextException exception;
        iDocument->Name(exception);
        throw exception;
    }
    if (!Cmn_ASSERT_TEXT(iDocument->mOutStream, "mOutStream")) return;

    FF_TOCTable& table = iDocument->mTOC->GetTable();
    const FF_StNoItem noItem(contexts);
    TOC::Entry entry = table.Find(contexts);
    const auto numValues = static_cast<Cmn_Int32>(entry == TOC::cNone ? 0 : table.GetKey(entry).mValueCount);
    // Value 0 is the list itself.
    const auto listIndex = static_cast<Cmn_Int32>(iItem + 1);
    if (!Cmn_ASSERT_TEXT(listIndex > 0 && listIndex <= std::max(numValues, 1),
                         "iListIndex <= (Cmn_Int32)values.size()"))
        return;
    if (numValues == 0)
        entry = iDocument->Register(contexts, entry, 0, iDocument->GetCurrentStreamStart(), {});
    const auto position = static_cast<Cmn_UInt64>(iDocument->mOutStream->GetPosition());
    entry = iDocument->Register(contexts, entry, listIndex, position, iDescription);
    table.SetIsList(entry, true);
}

bool FF_Document::InvalidateKey(const TOCKey& iKey, Cmn_Int32 iValueIndex)
{
    const TOC::Entry entry = mTOC->Find(iKey);
    if (entry == TOC::cNone) return false;
    const auto numValues = static_cast<Cmn_UInt32>(mTOC->GetNumValues(entry));
    if (!Cmn_ASSERT_TEXT(static_cast<Cmn_UInt32>(iValueIndex) <= numValues,
                         "(Cmn_UInt32)iValueIndex <= values.size()"))
        return false;
    if (static_cast<Cmn_UInt32>(iValueIndex) == numValues) return false;
    mTOC->Invalidate(entry, iValueIndex);
    UpdateLimit();
    return true;
}

void FF_Document::ForgetFrom(Cmn_Int64 iStart)
{
    mTOC->ForgetOffsetsFrom(static_cast<Cmn_UInt32>(iStart));
    UpdateLimit();
}

void FF_Document::TakeBackFrom(Cmn_Int64 iPosition)
{
    if (!Cmn_ASSERT(mOutStream) || !Cmn_ASSERT(mOutStream->GetOpenHeaders().IsEmpty())) return;
    mOutStream->TakeBack(iPosition);
    ForgetFrom(iPosition);
}

bool FF_Document::SeekToStream(const TOCKey& iKey, Sys_TypedInStream& ioStream) const
{
    const TOC::Entry entry = mTOC->Find(iKey);
    Cmn_UInt32 offset = 0;
    if (entry == TOC::cNone || !mTOC->GetFirstOffset(entry, 0, offset)) return false;
    if (Cmn_Int64{offset} >= ioStream.GetStream().GetLength()) return false;
    ioStream.SetPosition(offset);
    return true;
}

void FF_Document::SeekToEnd(Sys_TypedOutStream& ioStream) const
{
    if (Cmn_ASSERT(mOutStream)) ioStream.SetPosition(mOutStream->GetEnd());
}

Cmn_Int32 FF_Document::GetReadAhead(Sys_TypedInStream& ioStream) const
{
    Sys_StdStreamHeaderInfo info;
    if (!Sys_StdStreamHeaderReader::Peek(ioStream, info)) return cDefaultReadAhead;
    return static_cast<Cmn_Int32>(std::min(info.mEnd - info.mStart, cMaxReadAhead));
}
