// The streams of documents of the C interface: what is written into them and read from them, and what there is.
#include "Kora/C/C_Document_p.h"
#include "Kora/C/C_Give_p.h"
#include "Kora/FF/Document/FF_Document_TOC.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <string_view>

namespace {

using Context = FF_Document::Context;

// Inside one another: those who check and repair take no more for streams.
constexpr std::size_t cMostStreams = 64;

Cmn_Int16 SixteenBits(std::int32_t iNumber, const char* iName)
{
    using Limits = std::numeric_limits<Cmn_Int16>;
    if (iNumber < (Limits::min)() || iNumber > (Limits::max)())
        C_ThrowFor(KORA_BAD_ARGUMENT, iName, " has more than 16 bits");
    return static_cast<Cmn_Int16>(iNumber);
}

Cmn_Int16 StreamType(std::int32_t iType)
{
    const Cmn_Int16 type = SixteenBits(iType, "type");
    C_Require(type != FF_Document::cNoStreamType && type != FF_Document::cTOCStreamType,
              "types 0 and 2 are the document's own");
    return type;
}

// Of a key's way: where the last step leads, or into an item of it.
std::vector<Context> WayOf(const kora_step* iSteps, size_t iDepth)
{
    C_Out(iSteps, "steps");
    C_Require(iDepth > 0, "there are no steps");
    std::vector<Context> way;
    for (size_t i = 0; i < iDepth; ++i) {
        C_Require(iSteps[i].item >= KORA_NO_ITEM && iSteps[i].item < (std::numeric_limits<Cmn_Int32>::max)(),
                  "a step has no such item");
        way.emplace_back(StreamType(iSteps[i].type), Context::cNoParent, false, iSteps[i].item + 1);
    }
    C_Require(way.back().GetListIndex() == 0, "the last step has an item");
    return way;
}

// --- Writing

// Whether the stream that is about to begin inside the open ones is in the table already.
bool IsTaken(const FF_Document& iDocument, Cmn_Int16 iType)
{
    std::vector<Context> way = iDocument.GetCurrentContext();
    way.emplace_back(iType);
    return iDocument.GetTOC().Find(way) != FF_Document::TOC::cNone;
}

// Where a stream of the type may begin.
kora_document::Place& PlaceFor(kora_document& ioDocument, Cmn_Int16 iType, bool iHasKey)
{
    auto& writing = ioDocument.mWriting;
    kora_document::Places& places = writing.empty() ? ioDocument.mOutermost : writing.back()->mInside;
    kora_document::Place& place = places[iType];
    C_Require(iHasKey || !writing.empty(), "an outermost stream needs a description", KORA_REFUSED);
    C_Require(!place.mHasKey, "a stream of that type stands there, and a key leads to it", KORA_REFUSED);
    if (!iHasKey) return place;
    C_Require(place.mCount == 0 && !IsTaken(ioDocument.ToWrite(), iType),
              "a stream of that type stands there, and a key would lead to it too", KORA_REFUSED);
    for (const auto& level : writing)
        C_Require(level->mPlace->mCount == 1, "of the streams around, one has others of its type beside it",
                  KORA_REFUSED);
    return place;
}

void RequireOpenItem(const kora_document& iDocument)
{
    if (iDocument.mWriting.empty()) return;
    const kora_document::Writing& inner = *iDocument.mWriting.back();
    C_Require(!inner.mList || inner.mItems > 0, "no item of the list has begun", KORA_REFUSED);
}

// An item is where its first byte is; the table has no place for one without any.
void RequireItemWritten(const kora_document& iDocument, const kora_document::Writing& iLevel)
{
    C_Require(iLevel.mItems == 0 || iDocument.mOut->GetPosition() > iLevel.mItemStart,
              "the item that has begun is empty", KORA_REFUSED);
}

// iCount: of the items of a list.
void Begin(kora_document& ioDocument, std::int32_t iType, std::int32_t iVersion, const char* iDescription,
           std::optional<Cmn_Int32> iCount = std::nullopt)
{
    FF_Document& document = ioDocument.ToWrite();
    const Cmn_Int16 type = StreamType(iType);
    const Cmn_Int16 version = SixteenBits(iVersion, "version");
    RequireOpenItem(ioDocument);
    C_Require(ioDocument.mWriting.size() < cMostStreams, "64 streams are open inside one another",
              KORA_REFUSED);
    const bool hasKey = iDescription != nullptr;
    auto level = std::make_unique<kora_document::Writing>();
    level->mPlace = &PlaceFor(ioDocument, type, hasKey);
    ioDocument.mWriting.reserve(ioDocument.mWriting.size() + 1);
    Sys_TypedOutStream& out = *ioDocument.mOut;
    if (hasKey) {
        const auto position = static_cast<Cmn_UInt64>(out.GetPosition());
        FF_Document::AddTOCEntry(&document, position, type, iDescription);
    }
    level->mHeader.emplace(&document, out, type, version);
    if (iCount) level->mList.emplace(&document, out, *iCount);
    level->mCount = iCount.value_or(0); // from here on nothing throws
    ++level->mPlace->mCount;
    ioDocument.mWriting.push_back(std::move(level));
    if (hasKey)
        for (const auto& each : ioDocument.mWriting)
            each->mPlace->mHasKey = true;
}

kora_document::Writing& ForValues(kora_document& ioDocument)
{
    ioDocument.ToWrite();
    kora_document::Writing& inner = ioDocument.GetWriting();
    RequireOpenItem(ioDocument);
    return inner;
}

// --- Values

template <class T, class Put>
void PutAll(const void* iValues, size_t iCount, const Put& iPut)
{
    const auto* at = static_cast<const char*>(iValues);
    for (size_t i = 0; i < iCount; ++i, at += sizeof(T)) {
        T value;
        std::memcpy(&value, at, sizeof value);
        iPut(value);
    }
}

void Write(Sys_TypedOutStream& ioOut, std::int32_t iKind, const void* iValues, size_t iCount)
{
    switch (iKind) {
    case KORA_UINT8:
        return ioOut.WriteBytes(iValues, iCount);
    case KORA_INT16:
        return PutAll<Cmn_Int16>(iValues, iCount, [&](Cmn_Int16 iValue) { ioOut.WriteInt16(iValue); });
    case KORA_UINT16:
        return PutAll<Cmn_UInt16>(iValues, iCount, [&](Cmn_UInt16 iValue) { ioOut.WriteUInt16(iValue); });
    case KORA_INT32:
        return PutAll<Cmn_Int32>(iValues, iCount, [&](Cmn_Int32 iValue) { ioOut.WriteInt32(iValue); });
    case KORA_UINT32:
        return PutAll<Cmn_UInt32>(iValues, iCount, [&](Cmn_UInt32 iValue) { ioOut.WriteUInt32(iValue); });
    case KORA_INT64:
        return PutAll<Cmn_Int64>(iValues, iCount, [&](Cmn_Int64 iValue) { ioOut.WriteInt64(iValue); });
    default:
        return PutAll<double>(iValues, iCount, [&](double iValue) { ioOut.WriteFloat64(iValue); });
    }
}

template <class Get>
void GetAll(void* oValues, size_t iCount, const Get& iGet)
{
    auto* at = static_cast<char*>(oValues);
    for (size_t i = 0; i < iCount; ++i) {
        const auto value = iGet();
        std::memcpy(at, &value, sizeof value);
        at += sizeof value;
    }
}

void Read(Sys_TypedInStream& ioIn, std::int32_t iKind, void* oValues, size_t iCount)
{
    switch (iKind) {
    case KORA_UINT8:
        return ioIn.ReadBytes(oValues, iCount);
    case KORA_INT16:
        return GetAll(oValues, iCount, [&] { return ioIn.ReadInt16(); });
    case KORA_UINT16:
        return GetAll(oValues, iCount, [&] { return ioIn.ReadUInt16(); });
    case KORA_INT32:
        return GetAll(oValues, iCount, [&] { return ioIn.ReadInt32(); });
    case KORA_UINT32:
        return GetAll(oValues, iCount, [&] { return ioIn.ReadUInt32(); });
    case KORA_INT64:
        return GetAll(oValues, iCount, [&] { return ioIn.ReadInt64(); });
    default:
        return GetAll(oValues, iCount, [&] { return ioIn.ReadFloat64(); });
    }
}

std::uint64_t SizeOf(std::int32_t iKind)
{
    static constexpr std::uint64_t cSizes[] = {1, 2, 2, 4, 4, 8, 8};
    C_Require(iKind >= KORA_UINT8 && iKind <= KORA_FLOAT64, "no such kind of value");
    return cSizes[iKind];
}

// --- Reading

// An item's own size is not known: what is read stays inside the stream around it.
std::int64_t BytesLeft(kora_document& ioDocument) { return ioDocument.GetReading().mHeader->GetBytesLeft(); }

[[noreturn]] void ThrowPastTheEnd() { C_Throw(KORA_BAD_FILE, "the stream has no more bytes"); }

// What throws half-way leaves the place where reading goes on.
template <class Call>
void ReadOrStay(kora_document& ioDocument, const Call& iCall)
{
    Sys_TypedInStream& in = *ioDocument.mIn;
    const Cmn_Int64 before = in.GetPosition();
    try {
        iCall();
    } catch (...) {
        in.SetPosition(before);
        throw;
    }
}

void Enter(kora_document& ioDocument, std::unique_ptr<kora_document::Reading> iLevel, Cmn_Int16 iType,
           int32_t* oVersion)
{
    ioDocument.mReading.reserve(ioDocument.mReading.size() + 1);
    ReadOrStay(ioDocument, [&] {
        iLevel->mHeader.emplace(&ioDocument.ToRead(), *ioDocument.mIn, iType,
                                FF_StreamHeaderReader::eUseExtendedTOC);
    });
    if (oVersion != nullptr) *oVersion = iLevel->mHeader->GetVersion();
    ioDocument.mReading.push_back(std::move(iLevel));
}

// How many items the table of contents has of the list that is open; -1 where it has none.
Cmn_Int32 ItemsInTable(const FF_Document& iDocument)
{
    std::vector<Context> way = iDocument.GetCurrentContext();
    if (way.empty() || !way.back().IsList()) return -1;
    way.back().SetListIndex(0);
    const FF_Document::TOC::Entry entry = iDocument.GetTOC().Find(way);
    return entry == FF_Document::TOC::cNone ? 0 : iDocument.GetTOC().GetNumValues(entry) - 1;
}

// --- What there is

FF_Document::TOC::Entry EntryAt(const FF_Document& iDocument, size_t iIndex)
{
    C_Require(iIndex < static_cast<size_t>(iDocument.GetTOC().GetNumKeys()), "there is no such key",
              KORA_NOT_FOUND);
    return iDocument.GetTOC().GetInOrder(static_cast<Cmn_Int32>(iIndex));
}

} // namespace

kora_document::Reading& kora_document::GetReading()
{
    C_Require(!mReading.empty(), "no stream is open", KORA_REFUSED);
    return *mReading.back();
}

kora_document::Writing& kora_document::GetWriting()
{
    C_Require(!mWriting.empty(), "no stream has begun", KORA_REFUSED);
    return *mWriting.back();
}

kora_status kora_document_begin(kora_document* document, int32_t type, int32_t version,
                                const char* description)
{
    return C_Guard([&] { Begin(C_Get(document, "document"), type, version, description); });
}

kora_status kora_document_begin_list(kora_document* document, int32_t type, int32_t version,
                                     const char* description, int32_t count)
{
    return C_Guard([&] {
        kora_document& to = C_Get(document, "document");
        C_Require(count >= 0, "count is below 0");
        // Its items have keys, and so has the list.
        Begin(to, type, version, description != nullptr ? description : "", count);
    });
}

kora_status kora_document_begin_item(kora_document* document, const char* description)
{
    return C_Guard([&] {
        kora_document& to = C_Get(document, "document");
        to.ToWrite();
        kora_document::Writing& level = to.GetWriting();
        C_Require(level.mList.has_value(), "the innermost stream is no list", KORA_REFUSED);
        C_Require(level.mItems < level.mCount, "the list has all its items", KORA_REFUSED);
        RequireItemWritten(to, level);
        level.mList->AddListEntry(level.mItems, description != nullptr ? description : "");
        level.mItemStart = to.mOut->GetPosition();
        level.mInside.clear();
        ++level.mItems;
    });
}

kora_status kora_document_end(kora_document* document)
{
    return C_Guard([&] {
        kora_document& to = C_Get(document, "document");
        to.ToWrite();
        const kora_document::Writing& level = to.GetWriting();
        C_Require(level.mItems == level.mCount, "the list has fewer items than it said", KORA_REFUSED);
        RequireItemWritten(to, level);
        to.mWriting.pop_back();
    });
}

kora_status kora_document_write(kora_document* document, int32_t kind, const void* values, size_t count)
{
    return C_Guard([&] {
        kora_document& to = C_Get(document, "document");
        SizeOf(kind);
        ForValues(to);
        if (count == 0) return;
        C_Out(static_cast<const char*>(values), "values");
        to.WriteValues([&](Sys_TypedOutStream& ioOut) { Write(ioOut, kind, values, count); });
    });
}

kora_status kora_document_write_text(kora_document* document, const char* text)
{
    return C_Guard([&] {
        kora_document& to = C_Get(document, "document");
        C_Out(text, "text");
        ForValues(to);
        to.WriteValues([&](Sys_TypedOutStream& ioOut) { ioOut.WriteString(text); });
    });
}

kora_status kora_document_enter(kora_document* document, const kora_step* steps, size_t depth,
                                int32_t* version)
{
    return C_Guard([&] {
        kora_document& from = C_Get(document, "document");
        FF_Document& source = from.ToRead();
        std::vector<Context> way = WayOf(steps, depth);
        auto level = std::make_unique<kora_document::Reading>();
        level->mBefore = from.mIn->GetPosition();
        C_Require(source.SeekToStream(FF_Document::TOCKey(way), *from.mIn), "there is no such key",
                  KORA_NOT_FOUND);
        const Cmn_Int16 type = way.back().GetStreamType();
        way.pop_back();
        const Cmn_Int64 before = level->mBefore;
        try {
            level->mWay.emplace(source, FF_Document::TOCKey(std::move(way)));
            Enter(from, std::move(level), type, version);
        } catch (...) {
            from.mIn->SetPosition(before);
            throw;
        }
    });
}

kora_status kora_document_enter_next(kora_document* document, int32_t type, int32_t* version)
{
    return C_Guard([&] {
        kora_document& from = C_Get(document, "document");
        from.ToRead();
        const Cmn_Int16 expected = type == 0 ? FF_Document::cNoStreamType : StreamType(type);
        if (BytesLeft(from) <= 0) ThrowPastTheEnd();
        Enter(from, std::make_unique<kora_document::Reading>(), expected, version);
    });
}

kora_status kora_document_next_type(kora_document* document, int32_t* out)
{
    return C_Guard([&] {
        kora_document& from = C_Get(document, "document");
        from.ToRead();
        int32_t& type = C_Out(out, "out");
        C_Require(BytesLeft(from) > 0, "the stream has no more bytes", KORA_NOT_FOUND);
        type = FF_StreamHeaderReader::GetNextStreamType(*from.mIn);
    });
}

kora_status kora_document_enter_list(kora_document* document, int32_t* count)
{
    return C_Guard([&] {
        kora_document& from = C_Get(document, "document");
        FF_Document& source = from.ToRead();
        kora_document::Reading& level = from.GetReading();
        int32_t& items = C_Out(count, "count");
        C_Require(!level.mList, "the list has been entered", KORA_REFUSED);
        if (BytesLeft(from) < static_cast<std::int64_t>(sizeof(Cmn_Int32))) ThrowPastTheEnd();
        ReadOrStay(from, [&] { level.mList.emplace(&source, *from.mIn); });
        items = level.mList->GetNumItems();
    });
}

kora_status kora_document_go_to_item(kora_document* document, int32_t item)
{
    return C_Guard([&] {
        kora_document& from = C_Get(document, "document");
        FF_Document& source = from.ToRead();
        kora_document::Reading& level = from.GetReading();
        C_Require(level.mList.has_value(), "no list has been entered", KORA_REFUSED);
        const Cmn_Int32 inTable = ItemsInTable(source);
        C_Require(item >= 0 && item < level.mList->GetNumItems() && (inTable < 0 || item < inTable),
                  "the list has no such item", KORA_NOT_FOUND);
        ReadOrStay(from, [&] { level.mList->SeekToListEntry(item); });
    });
}

kora_status kora_document_leave(kora_document* document)
{
    return C_Guard([&] {
        kora_document& from = C_Get(document, "document");
        from.ToRead();
        kora_document::Reading& level = from.GetReading();
        const bool isJump = level.mWay.has_value();
        const Cmn_Int64 before = level.mBefore;
        from.mReading.pop_back();
        if (isJump) from.mIn->SetPosition(before);
    });
}

kora_status kora_document_read(kora_document* document, int32_t kind, void* values, size_t count)
{
    return C_Guard([&] {
        kora_document& from = C_Get(document, "document");
        from.ToRead();
        const std::uint64_t size = SizeOf(kind);
        const std::int64_t left = BytesLeft(from);
        if (left < 0 || count > static_cast<std::uint64_t>(left) / size) ThrowPastTheEnd();
        if (count == 0) return;
        C_Out(static_cast<char*>(values), "values");
        ReadOrStay(from, [&] { Read(*from.mIn, kind, values, count); });
    });
}

kora_status kora_document_read_text(kora_document* document, char* buffer, size_t capacity, size_t* size)
{
    return C_Guard([&] {
        kora_document& from = C_Get(document, "document");
        from.ToRead();
        if (BytesLeft(from) <= 0) ThrowPastTheEnd();
        ReadOrStay(from, [&] {
            const std::string text = from.mIn->ReadString();
            if (BytesLeft(from) < 0) ThrowPastTheEnd();
            C_GiveText(text, buffer, capacity, size);
        });
    });
}

kora_status kora_document_bytes_left(kora_document* document, int64_t* out)
{
    return C_Guard([&] {
        kora_document& from = C_Get(document, "document");
        from.ToRead();
        C_Out(out, "out") = (std::max)(BytesLeft(from), std::int64_t{0});
    });
}

kora_status kora_document_key_count(kora_document* document, size_t* out)
{
    return C_Guard([&] {
        const FF_Document& from = C_Get(document, "document").ToRead();
        C_Out(out, "out") = static_cast<size_t>(from.GetTOC().GetNumKeys());
    });
}

kora_status kora_document_get_key(kora_document* document, size_t index, kora_step* steps, size_t capacity,
                                  size_t* depth, int32_t* items)
{
    return C_Guard([&] {
        const FF_Document& from = C_Get(document, "document").ToRead();
        size_t& needed = C_Out(depth, "depth");
        C_Require(steps != nullptr || capacity == 0, "steps is null", KORA_NULL_ARGUMENT);
        const FF_Document::TOC::Entry entry = EntryAt(from, index);
        const std::vector<Context> way = from.GetTOC().GetKey(entry).GetContexts();
        needed = way.size();
        C_Require(capacity >= way.size(), "the buffer is too small", KORA_TOO_SMALL);
        for (const Context& context : way)
            *steps++ = {context.GetStreamType(), context.GetListIndex() - 1};
        const FF_Document::TOC& toc = from.GetTOC();
        if (items != nullptr) *items = toc.IsList(entry) ? toc.GetNumValues(entry) - 1 : KORA_NO_ITEM;
    });
}

kora_status kora_document_get_description(kora_document* document, size_t index, int32_t item, char* buffer,
                                          size_t capacity, size_t* size)
{
    return C_Guard([&] {
        const FF_Document& from = C_Get(document, "document").ToRead();
        const FF_Document::TOC::Entry entry = EntryAt(from, index);
        C_Require(item >= KORA_NO_ITEM && item < from.GetTOC().GetNumValues(entry) - 1,
                  "the stream has no such item", KORA_NOT_FOUND);
        const FF_Document::TOCValue value = from.GetTOC().GetValue(entry, item + 1);
        C_GiveText(value.GetDisplayInfo().GetText(), buffer, capacity, size);
    });
}
