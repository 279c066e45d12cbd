// FF_Document::TOC: checks what callers and streams give, and turns the flat table's
// bytes into objects and back.
#include "Kora/FF/Document/FF_Document_TOC.h"

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Bastel/Sys/Sys_StdStreamHeader.h"
#include "Bastel/Sys/Sys_StreamThrow_p.h"
#include "Kora/FF/Document/FF_TOCTable_p.h"

#include <limits>

constexpr FF_Document::TOC::Entry FF_Document::TOC::cNone;

namespace {

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

void FF_Document::TOC::Clear() { mTable = std::make_unique<FF_TOCTable>(); }

// --- asking

Cmn_Int32 FF_Document::TOC::GetNumKeys() const { return static_cast<Cmn_Int32>(mTable->GetNumKeys()); }
FF_Document::TOC::Entry FF_Document::TOC::Find(const TOCKey& iKey) const { return Find(iKey.GetContexts()); }
FF_Document::TOC::Entry FF_Document::TOC::Find(std::span<const Context> iContexts) const
{
    return mTable->Find(iContexts);
}

FF_Document::TOC::Entry FF_Document::TOC::GetInOrder(Cmn_Int32 iNth) const
{
    return Cmn_ASSERT(iNth >= 0 && iNth < GetNumKeys()) ? mTable->GetInOrder(iNth) : cNone;
}

FF_Document::TOCKey FF_Document::TOC::GetKey(Entry iEntry) const
{
    TOCKey key;
    if (!Cmn_ASSERT(iEntry >= 0 && iEntry < GetNumKeys())) return key;
    for (const FF_TOCTable::Context& context : mTable->GetContexts(mTable->GetKey(iEntry)))
        key.GetContexts().emplace_back(context.GetStreamType(), context.mParent, context.mIsList,
                                       context.GetListIndex());
    return key;
}

Cmn_Int32 FF_Document::TOC::GetNumValues(Entry iEntry) const
{
    if (!Cmn_ASSERT(iEntry >= 0 && iEntry < GetNumKeys())) return 0;
    return static_cast<Cmn_Int32>(mTable->GetKey(iEntry).mValueCount);
}

bool FF_Document::TOC::Has(Entry iEntry, Cmn_Int32 iValue) const
{
    return iEntry >= 0 && iEntry < GetNumKeys() && iValue >= 0 &&
           static_cast<Cmn_UInt32>(iValue) < mTable->GetKey(iEntry).mValueCount;
}

FF_Document::TOCValue FF_Document::TOC::GetValue(Entry iEntry, Cmn_Int32 iValue) const
{
    if (!Cmn_ASSERT(Has(iEntry, iValue))) return TOCValue({}, mEncoding);
    Sys_MemInStream bytes(mTable->GetValue(iEntry, iValue));
    Sys_TypedInStream stream(bytes, false, mEncoding);
    return TOCValue::StreamIn(stream);
}

bool FF_Document::TOC::GetFirstOffset(Entry iEntry, Cmn_Int32 iValue, Cmn_UInt32& oOffset) const
{
    const bool isKnown = iEntry >= 0 && iEntry < GetNumKeys();
    if (isKnown && iValue == 0 && mTable->GetKey(iEntry).mValueCount == 0) return false;
    if (!Cmn_ASSERT(Has(iEntry, iValue))) return false;
    const std::span<const Cmn_UInt8> offsets = mTable->GetOffsets(iEntry, iValue);
    if (offsets.empty()) return false;
    oOffset = Sys_LoadInteger<Cmn_UInt32>(offsets.data(), false);
    return true;
}

bool FF_Document::TOC::HasOffset(Entry iEntry, Cmn_Int32 iValue, Cmn_UInt32 iOffset) const
{
    if (!Cmn_ASSERT(Has(iEntry, iValue))) return false;
    const std::span<const Cmn_UInt8> offsets = mTable->GetOffsets(iEntry, iValue);
    for (std::size_t at = 0; at < offsets.size(); at += FF_TOCBytes::cOffsetSize)
        if (Sys_LoadInteger<Cmn_UInt32>(offsets.data() + at, false) == iOffset) return true;
    return false;
}

bool FF_Document::TOC::IsList(Entry iEntry) const
{
    if (!Cmn_ASSERT(iEntry >= 0 && iEntry < GetNumKeys())) return false;
    const std::span<const FF_TOCTable::Context> contexts = mTable->GetContexts(mTable->GetKey(iEntry));
    return !contexts.empty() && contexts.back().mIsList;
}

// --- changing

void FF_Document::TOC::SetIsList(Entry iEntry, bool iIsList)
{
    if (Cmn_ASSERT(iEntry >= 0 && iEntry < GetNumKeys())) mTable->SetIsList(iEntry, iIsList);
}

FF_Document::TOC::Entry FF_Document::TOC::Insert(std::span<const Context> iContexts)
{
    return mTable->Insert(iContexts);
}

void FF_Document::TOC::AddValue(Entry iEntry, std::string_view iDescription)
{
    if (!Cmn_ASSERT(iEntry >= 0 && iEntry < GetNumKeys())) return;
    if (mEncoding == eTextEncoding_Utf8 && !mRepairText)
        return mTable->AddValue(iEntry, StringDisplayInfo::Cut(iDescription));
    const std::string text = StringDisplayInfo::Utf8From(iDescription, mEncoding, mRepairText);
    mTable->AddValue(iEntry, StringDisplayInfo::Cut(text));
}

void FF_Document::TOC::AddOffset(Entry iEntry, Cmn_Int32 iValue, Cmn_UInt32 iOffset)
{
    if (Cmn_ASSERT(Has(iEntry, iValue))) mTable->AddOffset(iEntry, iValue, iOffset);
}

void FF_Document::TOC::Invalidate(Entry iEntry, Cmn_Int32 iValue)
{
    if (Cmn_ASSERT(Has(iEntry, iValue))) mTable->Invalidate(iEntry, iValue);
}

void FF_Document::TOC::SetValue(Entry iEntry, Cmn_Int32 iValue, const TOCValue& iNew)
{
    if (!Cmn_ASSERT(Has(iEntry, iValue))) return;
    Sys_MemOutStream bytes;
    Sys_TypedOutStream stream(bytes);
    iNew.StreamOut(stream);
    // Hosts may derive kinds of their own, and what they write is not ours to know.
    if (!IsValue(bytes.GetBytes())) throw Sys_StreamWriteException();
    mTable->SetValue(iEntry, iValue, bytes.GetBytes());
}

void FF_Document::TOC::ForgetOffsetsFrom(Cmn_UInt32 iFrom) { mTable->ForgetOffsetsFrom(iFrom); }

// --- streams

Cmn_Int64 FF_Document::TOC::GetStreamSize() const
{
    return FF_Format::cFrameSize + FF_Format::cStreamTypeSize + mTable->GetBodySize();
}

// FF_StreamHeaderWriter refuses this type to everybody else, so its header is written here.
void FF_Document::TOC::StreamOut(Sys_TypedOutStream& ioStream) const
{
    Sys_StdStreamHeaderWriter header(ioStream, FF_Format::cStreamName, FF_Format::cTOCVersion);
    ioStream.WriteInt16(cTOCStreamType);
    mTable->WriteBody(ioStream);
    header.PatchSize();
}

void FF_Document::TOC::StreamIn(Sys_TypedInStream& ioStream, Cmn_Int64 iEnd, Cmn_Int64 iBegin)
{
    Sys_StdStreamHeaderReader header(ioStream, FF_Format::cStreamName);
    const Cmn_Int64 at = ioStream.GetPosition();
    if (header.GetBytesLeft() < FF_Format::cStreamTypeSize)
        Sys_ThrowFrom<Sys_StreamReadException>(ioStream.GetStream(), at);
    if (ioStream.ReadInt16() != cTOCStreamType)
        Sys_ThrowFrom(ioStream.GetStream(), Cmn_eMessage_UnexpectedStreamType, header.GetInfo().start);
    header.CheckVersion(FF_Format::cTOCVersion, FF_Format::cTOCVersion);

    // The header was held against the stream's length, so that its size can be believed.
    FF_TOCCursor cursor(ioStream, header.GetBytesLeft());
    auto table = std::make_unique<FF_TOCTable>();
    table->ReadBody(cursor, iBegin, iEnd);
    header.SkipTheRest();

    mTable.swap(table);
    mEncoding = ioStream.GetEncoding();
}

std::string FF_Document::TOC::Dump() const
{
    std::string text;
    for (Cmn_Int32 nth = 0; nth < GetNumKeys(); ++nth) {
        const Entry entry = mTable->GetInOrder(nth);
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
