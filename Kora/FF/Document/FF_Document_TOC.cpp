// FF_Document::TOC: checks what callers and streams give, and turns the flat table's
// bytes into objects and back.
#include "Kora/FF/Document/FF_Document_TOC.h"

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Bastel/Sys/Sys_FileBasedInStream.h"
#include "Bastel/Sys/Sys_StdStreamHeader.h"
#include "Bastel/Sys/Sys_StreamThrow_p.h"
#include "Kora/FF/Document/FF_TOCPages_p.h"

#include <algorithm>
#include <limits>

namespace {

using Bytes = std::vector<Cmn_UInt8>;

constexpr Cmn_Int64 cNoEnd = std::numeric_limits<Cmn_Int64>::max();

// Whether bytes are one value, and nothing behind it.
bool IsValue(const std::vector<Cmn_UInt8>& iBytes)
{
    FF_TOCCursor cursor(iBytes);
    try {
        cursor.SkipValue(0, cNoEnd);
    } catch (const Sys_StreamReadException&) {
        return false;
    }
    return cursor.GetBytesLeft() == 0;
}

} // namespace

FF_Document::TOC::TOC()
    : mTable(std::make_unique<FF_TOCTable>())
{
}
FF_Document::TOC::~TOC() = default;

void FF_Document::TOC::SetTextForm(ETextEncoding iEncoding, bool iRepairText)
{
    mEncoding = iEncoding;
    mRepairText = iRepairText;
}

void FF_Document::TOC::Clear()
{
    // In place: closing allocates nothing, for destructors close.
    std::destroy_at(mTable.get());
    std::construct_at(mTable.get());
    mPages.reset();
}

FF_TOCTable& FF_Document::TOC::ReadWhole() const
{
    Sys_TypedInStream stream(mPages->GetStream(), mPages->IsSwapped());
    const Cmn_Int64 before = stream.GetPosition();
    TOC whole;
    stream.SetPosition(mPages->GetStart());
    whole.StreamIn(stream, mPages->GetEnd(), mPages->GetBegin());
    stream.SetPosition(before);
    mTable.swap(whole.mTable);
    mPages.reset();
    return *mTable;
}

// --- Asking

Cmn_Int32 FF_Document::TOC::GetNumKeys() const
{
    return static_cast<Cmn_Int32>(mPages != nullptr ? mPages->GetNumKeys() : mTable->GetNumKeys());
}

FF_Document::TOC::Entry FF_Document::TOC::Find(const TOCKey& iKey) const { return Find(iKey.GetContexts()); }
FF_Document::TOC::Entry FF_Document::TOC::Find(std::span<const Context> iContexts) const
{
    return mPages != nullptr ? mPages->Find(iContexts) : mTable->Find(iContexts);
}

FF_Document::TOC::Entry FF_Document::TOC::GetInOrder(Cmn_Int32 iNth) const
{
    if (!Cmn_ASSERT(iNth >= 0 && iNth < GetNumKeys())) return cNone;
    return mPages != nullptr ? iNth : mTable->GetInOrder(iNth);
}

std::vector<FF_Document::Context> FF_Document::TOC::GetContexts(Entry iEntry) const
{
    return mPages != nullptr ? mPages->GetContexts(iEntry) : mTable->GetContexts(iEntry);
}

std::span<const Cmn_UInt8> FF_Document::TOC::GetBytes(Entry iEntry, Cmn_Int32 iValue) const
{
    return mPages != nullptr ? mPages->GetValue(iEntry, iValue) : mTable->GetValue(iEntry, iValue);
}

std::span<const Cmn_UInt8> FF_Document::TOC::GetPieces(Entry iEntry, Cmn_Int32 iValue) const
{
    return FF_TOCBytes::Offsets(GetBytes(iEntry, iValue).data());
}

FF_Document::TOCKey FF_Document::TOC::GetKey(Entry iEntry) const
{
    if (!Cmn_ASSERT(iEntry >= 0 && iEntry < GetNumKeys())) return TOCKey();
    return TOCKey(GetContexts(iEntry));
}

Cmn_Int32 FF_Document::TOC::GetNumValues(Entry iEntry) const
{
    if (!Cmn_ASSERT(iEntry >= 0 && iEntry < GetNumKeys())) return 0;
    return static_cast<Cmn_Int32>(mPages != nullptr ? mPages->GetNumValues(iEntry)
                                                    : mTable->GetKey(iEntry).mValueCount);
}

bool FF_Document::TOC::Has(Entry iEntry, Cmn_Int32 iValue) const
{
    return iEntry >= 0 && iEntry < GetNumKeys() && iValue >= 0 && iValue < GetNumValues(iEntry);
}

FF_Document::TOCValue FF_Document::TOC::GetValue(Entry iEntry, Cmn_Int32 iValue) const
{
    if (!Cmn_ASSERT(Has(iEntry, iValue))) return TOCValue({}, mEncoding);
    Sys_MemInStream bytes(GetBytes(iEntry, iValue));
    Sys_TypedInStream stream(bytes, false, mEncoding);
    return TOCValue::StreamIn(stream);
}

bool FF_Document::TOC::GetFirstOffset(Entry iEntry, Cmn_Int32 iValue, Cmn_UInt32& oOffset) const
{
    const bool isKnown = iEntry >= 0 && iEntry < GetNumKeys();
    if (isKnown && iValue == 0 && GetNumValues(iEntry) == 0) return false;
    if (!Cmn_ASSERT(Has(iEntry, iValue))) return false;
    const std::span<const Cmn_UInt8> offsets = GetPieces(iEntry, iValue);
    if (offsets.empty()) return false;
    oOffset = Sys_LoadInteger<Cmn_UInt32>(offsets.data(), false);
    return true;
}

void FF_Document::TOC::GetOffsets(Entry iEntry, Cmn_Int32 iValue, std::vector<Cmn_UInt32>& oOffsets) const
{
    oOffsets.clear();
    if (!Cmn_ASSERT(Has(iEntry, iValue))) return;
    const std::span<const Cmn_UInt8> pieces = GetPieces(iEntry, iValue);
    for (std::size_t at = 0; at < pieces.size(); at += FF_TOCBytes::cOffsetSize)
        oOffsets.push_back(Sys_LoadInteger<Cmn_UInt32>(pieces.data() + at, false));
}

bool FF_Document::TOC::HasOffset(Entry iEntry, Cmn_Int32 iValue, Cmn_UInt32 iOffset) const
{
    if (!Cmn_ASSERT(Has(iEntry, iValue))) return false;
    const std::span<const Cmn_UInt8> offsets = GetPieces(iEntry, iValue);
    for (std::size_t at = 0; at < offsets.size(); at += FF_TOCBytes::cOffsetSize)
        if (Sys_LoadInteger<Cmn_UInt32>(offsets.data() + at, false) == iOffset) return true;
    return false;
}

bool FF_Document::TOC::IsList(Entry iEntry) const
{
    if (!Cmn_ASSERT(iEntry >= 0 && iEntry < GetNumKeys())) return false;
    return mPages != nullptr ? mPages->IsList(iEntry) : mTable->IsList(iEntry);
}

// --- Changing

void FF_Document::TOC::SetIsList(Entry iEntry, bool iIsList)
{
    if (Cmn_ASSERT(iEntry >= 0 && iEntry < GetNumKeys())) GetTable().SetIsList(iEntry, iIsList);
}

void FF_Document::TOC::Reserve(Entry iEntry, Cmn_Int32 iValues)
{
    if (!Cmn_ASSERT(iEntry >= 0 && iEntry < GetNumKeys())) return;
    GetTable().Reserve(iEntry, static_cast<std::size_t>(std::clamp<Cmn_Int32>(iValues, 0, cMostReserved)));
}

FF_Document::TOC::Entry FF_Document::TOC::Insert(std::span<const Context> iContexts)
{
    FF_TOCTable& table = GetTable();
    const Entry known = table.Find(iContexts);
    if (known == cNone) return table.Add(iContexts);
    table.TakeParents(known, iContexts);
    return known;
}

void FF_Document::TOC::AddValue(Entry iEntry, std::string_view iDescription)
{
    if (!Cmn_ASSERT(iEntry >= 0 && iEntry < GetNumKeys())) return;
    AddValue(iEntry, iDescription, nullptr);
}

void FF_Document::TOC::AddValue(Entry iEntry, std::string_view iDescription, const Cmn_UInt32* iOffset)
{
    FF_TOCTable& table = GetTable();
    if (mEncoding == eTextEncoding_Utf8 && !mRepairText) {
        const bool isShort = iDescription.size() <= StringDisplayInfo::cMaxText;
        return table.AddValue(iEntry, isShort ? iDescription : StringDisplayInfo::Cut(iDescription), iOffset);
    }
    const std::string text = StringDisplayInfo::Utf8From(iDescription, mEncoding, mRepairText);
    table.AddValue(iEntry, StringDisplayInfo::Cut(text), iOffset);
}

void FF_Document::TOC::AddOffset(Entry iEntry, Cmn_Int32 iValue, Cmn_UInt32 iOffset)
{
    if (Cmn_ASSERT(Has(iEntry, iValue))) GetTable().AddOffset(iEntry, iValue, iOffset);
}

void FF_Document::TOC::Invalidate(Entry iEntry, Cmn_Int32 iValue)
{
    if (Cmn_ASSERT(Has(iEntry, iValue))) GetTable().Invalidate(iEntry, iValue);
}

void FF_Document::TOC::SetValue(Entry iEntry, Cmn_Int32 iValue, const TOCValue& iNew)
{
    if (!Cmn_ASSERT(Has(iEntry, iValue))) return;
    Sys_MemOutStream bytes;
    Sys_TypedOutStream stream(bytes);
    iNew.StreamOut(stream);
    // Hosts may derive kinds of their own, and what they write is not ours to know.
    if (!IsValue(bytes.GetBytes())) throw Sys_StreamWriteException();
    GetTable().SetValue(iEntry, iValue, bytes.GetBytes());
}

void FF_Document::TOC::ForgetOffsetsFrom(Cmn_UInt32 iFrom) { GetTable().ForgetOffsetsFrom(iFrom); }

// --- Streams

Cmn_Int64 FF_Document::TOC::GetStreamSize() const
{
    return FF_TOCTable::StreamSizeFor(mPages != nullptr ? mPages->GetSizeOfKeys() : mTable->GetSizeOfKeys());
}

// FF_StreamHeaderWriter refuses this type to everybody else, so its header is written here.
void FF_Document::TOC::StreamOut(Sys_TypedOutStream& ioStream) const
{
    const FF_TOCTable& table = GetTable();
    Sys_StdStreamHeaderWriter header(ioStream, FF_Format::cStreamName, FF_Format::cTOCVersion);
    ioStream.WriteInt16(cTOCStreamType);
    table.WriteBody(ioStream, header.GetStart(), FF_TOCIndex::PageSizeFor(table.GetSizeOfKeys()));
    header.PatchSize();
}

void FF_Document::TOC::Open(Sys_FileBasedInStream& ioStream, bool iSwap, Cmn_Int64 iEnd, Cmn_Int64 iBegin)
{
    auto pages = FF_TOCPages::Open(ioStream, iSwap, iBegin, iEnd);
    if (pages == nullptr) {
        Sys_TypedInStream stream(ioStream, iSwap, mEncoding);
        return StreamIn(stream, iEnd, iBegin);
    }
    Clear();
    mPages = std::move(pages);
}

void FF_Document::TOC::StreamIn(Sys_TypedInStream& ioStream, Cmn_Int64 iEnd, Cmn_Int64 iBegin)
{
    Sys_StdStreamHeaderReader header(ioStream, FF_Format::cStreamName);
    const Cmn_Int64 at = ioStream.GetPosition();
    if (header.GetBytesLeft() < FF_Format::cStreamTypeSize)
        Sys_ThrowFrom<Sys_StreamReadException>(ioStream.GetStream(), at);
    if (ioStream.ReadInt16() != cTOCStreamType)
        Sys_ThrowFrom(ioStream.GetStream(), Cmn_eMessage_UnexpectedStreamType, header.GetInfo().mStart);
    header.CheckVersion(FF_Format::cTOCVersion, FF_Format::cTOCVersion);

    // The header was held against the stream's length, so that its size can be believed.
    FF_TOCCursor cursor(ioStream, header.GetBytesLeft());
    auto table = std::make_unique<FF_TOCTable>();
    table->ReadBody(cursor, iBegin, iEnd);
    header.SkipTheRest();

    mTable.swap(table);
    mPages.reset();
    mEncoding = ioStream.GetEncoding();
}

bool FF_Document::TOC::FitsIndex(Sys_TypedInStream& ioStream, const Sys_StdStreamHeaderInfo& iHeader) const
{
    const FF_TOCTable& table = GetTable();
    const Cmn_Int64 body = iHeader.mBody + FF_Format::cStreamTypeSize;
    const Cmn_Int64 behindKeys = body + table.GetSizeOfKeys();
    if (behindKeys == iHeader.mEnd) return true;
    FF_TOCIndex index;
    if (!index.Read(ioStream, iHeader.mStart, body, iHeader.mEnd - body)) return false;
    Bytes there(static_cast<std::size_t>(iHeader.mEnd - behindKeys));
    ioStream.SetPosition(behindKeys);
    ioStream.ReadBytes(there.data(), there.size());
    Sys_MemOutStream written;
    Sys_TypedOutStream out(written, ioStream.IsSwapped());
    table.WriteBody(out, iHeader.mStart, index.mPageSize);
    const auto rest = std::span(written.GetBytes()).subspan(static_cast<std::size_t>(table.GetSizeOfKeys()));
    return std::equal(rest.begin(), rest.end(), there.begin(), there.end());
}

std::string FF_Document::TOC::Dump() const
{
    std::string text;
    for (Cmn_Int32 nth = 0; nth < GetNumKeys(); ++nth) {
        const Entry entry = GetInOrder(nth);
        const std::string key = GetKey(entry).Dump();
        const Cmn_Int32 values = GetNumValues(entry);
        if (values == 0) text += key + "\n";
        for (Cmn_Int32 i = 0; i < values; ++i) {
            const TOCValue value = GetValue(entry, i);
            text += key + (i == 0 ? std::string() : " #" + std::to_string(i));
            text += "  " + value.GetLocation().Dump() + "  " + value.GetDisplayInfo().GetText() + "\n";
        }
    }
    return text;
}
