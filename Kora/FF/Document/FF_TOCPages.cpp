#include "Kora/FF/Document/FF_TOCPages_p.h"

#include "Bastel/Sys/Sys_Crc32C.h"
#include "Bastel/Sys/Sys_FileBasedInStream.h"
#include "Bastel/Sys/Sys_StdStreamHeader.h"
#include "Bastel/Sys/Sys_StreamThrow_p.h"
#include "Kora/FF/Format/FF_TOCGrammar_p.h"
#include "OstrelPlatformSupport/PSPrefetch_p.h"
#include "OstrelPlatformSupport/PSStdAtomic.h"

#include <algorithm>

using namespace FF_Format;

namespace {

constexpr std::size_t cCountSize = 4; // of keys, contexts, values
constexpr std::size_t cContextSize = FF_Document::Context::cStreamSize;

// What tells most keys apart: the type and the item of the outermost context, the type of the
// next. Ascends as keys do.
template <class GetRank>
Cmn_UInt64 PrefixOf(std::size_t iNumContexts, const GetRank& iGetRank)
{
    const Cmn_UInt64 first = iNumContexts == 0 ? 0 : iGetRank(0);
    const Cmn_UInt64 second = iNumContexts <= 1 ? 0 : iGetRank(1) >> 32;
    return first << 16 | second;
}

// The parts of a prefix.
constexpr int cItemShift = 16;
constexpr int cTypeShift = 48;

Cmn_UInt64 TypeOf(Cmn_UInt64 iPrefix) { return iPrefix >> cTypeShift; }

Cmn_UInt64 RankOf(const FF_Document::Context& iContext)
{
    return FF_TOCTable::Context(iContext.GetStreamType(), 0, false, iContext.GetListIndex()).GetRank();
}

} // namespace

// The records of a page one after the other, as source and sink of the walk. A record that is cut by the
// page's end reads as zeros from there on.
class FF_TOCPages::Part
{
public:
    Part(const FF_TOCPages& iPages, const Page& iPage)
        : mPages(iPages)
        , mBegin(iPage.mBytes.data())
        , mAt(mBegin)
        , mEnd(mBegin + iPage.mBytes.size())
        , mFrom(static_cast<Cmn_Int64>(iPage.mNumber * iPages.mIndex.mPageSize))
    {
    }

    Cmn_Int64 GetPosition() const { return mFrom + (mAt - mBegin); }
    void GoTo(Cmn_Int64 iPosition) { mAt = mBegin + (iPosition - mFrom); }
    bool IsAtEnd() const { return mAt >= mEnd; }
    bool IsCut() const { return mIsCut; }
    Cmn_UInt16 GetOffset() const { return static_cast<Cmn_UInt16>(mAt - mBegin); }
    const Cmn_UInt8* GetAt() const { return mAt; }

    template <class T>
    T Take()
    {
        if (!Skip(sizeof(T))) return 0;
        return Sys_LoadInteger<T>(mAt - sizeof(T), mPages.mSwap);
    }
    bool Skip(std::size_t iCount)
    {
        if (iCount <= static_cast<std::size_t>(mEnd - mAt)) {
            mAt += iCount;
            return true;
        }
        mIsCut = true;
        mAt = mEnd;
        return false;
    }
    void Require(bool iHolds) const
    {
        if (!iHolds && !mIsCut) mPages.Refuse(GetPosition());
    }
    Cmn_Int64 GetBytesLeft() const { return Cmn_Int64{mPages.mIndex.mSize} - GetPosition(); }

    static void Plain(std::size_t) {}
    static void Local(std::size_t) {}
    void Piece(Cmn_UInt32 iAt) const { Require(iAt >= mPages.mBegin && iAt < mPages.mEnd); }
    void Text(std::size_t iCount) { Skip(iCount); }
    void Bytes(FF_ETOCPart, Cmn_UInt8, std::size_t iSize) { Skip(iSize); }

private:
    const FF_TOCPages& mPages;
    const Cmn_UInt8* mBegin;
    const Cmn_UInt8* mAt;
    const Cmn_UInt8* mEnd;
    Cmn_Int64 mFrom;
    bool mIsCut = false;
};

FF_TOCPages::FF_TOCPages(Sys_FileBasedInStream& ioStream, bool iSwap)
    : mStream(ioStream)
    , mTyped(ioStream, iSwap)
    , mSwap(iSwap)
{
}

std::unique_ptr<FF_TOCPages> FF_TOCPages::Open(Sys_FileBasedInStream& ioStream, bool iSwap, Cmn_Int64 iBegin,
                                               Cmn_Int64 iEnd)
{
    std::unique_ptr<FF_TOCPages> pages(new FF_TOCPages(ioStream, iSwap));
    Sys_TypedInStream& typed = pages->mTyped;
    Sys_StdStreamHeaderInfo header;
    if (!Sys_StdStreamHeaderReader::Peek(typed, header) || !header.mIsComplete) return nullptr;
    if (header.mName != cStreamName || header.mVersion != cTOCVersion) return nullptr;
    const Cmn_Int64 keys = header.mBody + cStreamTypeSize;
    if (header.mEnd < keys) return nullptr;
    typed.SetPosition(header.mBody);
    const bool isTable = typed.ReadInt16() == cTOCStreamType;
    const bool hasIndex = isTable && pages->mIndex.Read(typed, header.mStart, keys, header.mEnd - keys);
    typed.SetPosition(header.mStart);
    if (!hasIndex) return nullptr;
    pages->mStart = header.mStart;
    pages->mBody = keys;
    pages->mBegin = iBegin;
    pages->mEnd = iEnd;
    pages->mKnown.resize(pages->mIndex.GetNumPages());
    const std::size_t most = std::min(pages->MostPages(), pages->mIndex.GetNumPages());
    pages->mPages.reserve(most);
    pages->mCells.reserve(most);
    pages->mLarger.reserve(most);
    // Room for what a page of common keys has beside its bytes.
    pages->mMemory = std::make_unique<Sys_CellMemory>(pages->mIndex.mPageSize / 4 * 5);
    return pages;
}

void FF_TOCPages::Refuse(Cmn_Int64 iAt) const
{
    Sys_ThrowFrom<Sys_StreamReadException>(mStream, mBody + iAt);
}

// --- Pages

const FF_TOCPages::Page& FF_TOCPages::Read(std::size_t iPage, const Page* iKeep)
{
    const auto from = static_cast<Cmn_Int64>(iPage * mIndex.mPageSize);
    mRead.resize(
        static_cast<std::size_t>(std::min(Cmn_Int64{mIndex.mPageSize}, Cmn_Int64{mIndex.mSize} - from)));
    mStream.ReadAt(mBody + from, mRead.data(), mRead.size());
    if (Sys_Crc32C(0, mRead.data(), mRead.size()) != mIndex.mPages[iPage].mSum) Refuse(from);
    Page page;
    page.mNumber = static_cast<Cmn_UInt32>(iPage);
    page.mBytes = mRead;
    Decode(page);

    // The page that came first makes room.
    const std::size_t most = MostPages();
    if (mCells.size() < most) {
        mCells.push_back(new (mMemory->Take()) Key[mMemory->GetCellBytes() / sizeof(Key)]);
        mLarger.emplace_back();
        mPages.emplace_back().mNumber = page.mNumber;
    }
    if (iKeep == &mPages[mNextSlot]) mNextSlot = (mNextSlot + 1) % mPages.size();
    const std::size_t slot = mNextSlot;
    mKnown[mPages[slot].mNumber].mSlot = 0;
    TakeOver(page, slot);
    mPages[slot] = page;
    mKnown[iPage].mSlot = static_cast<Cmn_UInt32>(slot + 1);
    mNextSlot = (slot + 1) % most;
    return mPages[slot];
}

// What it has is still on its way in.
void FF_TOCPages::TakeOver(Page& ioPage, std::size_t iSlot)
{
    const std::size_t rest = ioPage.mRecords.size_bytes() + ioPage.mBytes.size();
    const std::size_t count = ioPage.mKeys.size() + (rest + sizeof(Key) - 1) / sizeof(Key);
    const bool fits = count <= mMemory->GetCellBytes() / sizeof(Key);
    mLarger[iSlot] = fits ? nullptr : std::make_unique<Key[]>(count);
    Key* const keys = fits ? mCells[iSlot] : mLarger[iSlot].get();
    auto* const records = reinterpret_cast<Cmn_UInt16*>(std::ranges::copy(ioPage.mKeys, keys).out);
    auto* const bytes = reinterpret_cast<Cmn_UInt8*>(std::ranges::copy(ioPage.mRecords, records).out);
    std::ranges::copy(ioPage.mBytes, bytes);
    ioPage.mKeys = {keys, ioPage.mKeys.size()};
    ioPage.mRecords = {records, ioPage.mRecords.size()};
    ioPage.mBytes = {bytes, ioPage.mBytes.size()};
}

void FF_TOCPages::Decode(Page& ioPage)
{
    mReadKeys.clear();
    mReadRecords.clear();
    const auto from = static_cast<Cmn_Int64>(ioPage.mNumber * mIndex.mPageSize);
    if (ioPage.mNumber == 0 && Sys_LoadInteger<Cmn_UInt32>(ioPage.mBytes.data(), mSwap) != mIndex.mNumKeys)
        Refuse(from);
    if (mIndex.mPages[ioPage.mNumber].GetFirstAt() < from + static_cast<Cmn_Int64>(ioPage.mBytes.size()))
        TakeRecords(ioPage);
    ioPage.mKeys = mReadKeys;
    ioPage.mRecords = mReadRecords;
}

// Walks what begins in the page, and holds it against what the index says of this page and the next.
void FF_TOCPages::TakeRecords(Page& ioPage)
{
    const FF_TOCIndex::Page& index = mIndex.mPages[ioPage.mNumber];
    const FF_TOCIndex::Page& next = mIndex.mPages[ioPage.mNumber + 1];
    Part part(*this, ioPage);
    part.GoTo(index.GetFirstAt());
    std::span<const Cmn_UInt8> lastKey;
    Cmn_UInt32 key = index.mKey;     // the next one
    Cmn_UInt32 value = index.mValue; // the next one of the key before
    Cmn_UInt32 valuesLeft = 0;       // of the key before, once one began here
    while (!part.IsAtEnd()) {
        mReadRecords.push_back(part.GetOffset());
        if (lastKey.empty() ? part.GetPosition() == index.mKeyAt : valuesLeft == 0) {
            part.Require(key < mIndex.mNumKeys);
            Key& taken = mReadKeys.emplace_back();
            taken.mAt = part.GetOffset();
            taken.mRecord = static_cast<Cmn_UInt16>(mReadRecords.size() - 1);
            lastKey = TakeKey(part, lastKey, valuesLeft);
            taken.mSize = static_cast<Cmn_UInt32>(part.GetAt() - (ioPage.mBytes.data() + taken.mAt));
            ioPage.mIsKeyCut = part.IsCut();
            if (!part.IsCut()) taken.mPrefix = PrefixAt(lastKey);
            ++key;
            value = 0;
        } else {
            FF_TakeTOCValue(part, part);
            part.Require(!lastKey.empty() || part.GetPosition() <= index.mKeyAt);
            ++value;
            if (!lastKey.empty()) --valuesLeft;
        }
    }
    ioPage.mIsLastCut = part.IsCut();
    const bool hasMore = next.mValueAt < next.mKeyAt;
    if (next.mKey != key || (hasMore && next.mValue != value)) Refuse(next.mKeyAt);
    if (!lastKey.empty() && !ioPage.mIsKeyCut && hasMore != (valuesLeft != 0)) Refuse(next.mValueAt);
    if (!part.IsCut() && next.GetFirstAt() != part.GetPosition()) Refuse(part.GetPosition());
}

// The key's bytes, or those of the one before where it is cut.
std::span<const Cmn_UInt8> FF_TOCPages::TakeKey(Part& ioPart, std::span<const Cmn_UInt8> iBefore,
                                                Cmn_UInt32& oNumValues) const
{
    const Cmn_UInt8* const key = ioPart.GetAt();
    const auto count = ioPart.Take<Cmn_UInt32>();
    ioPart.Require(count <= ioPart.GetBytesLeft() / static_cast<Cmn_Int64>(cContextSize));
    const Cmn_UInt8* const contexts = ioPart.GetAt();
    if (!ioPart.Skip(count * cContextSize)) return iBefore;
    oNumValues = ioPart.Take<Cmn_UInt32>();
    if (ioPart.IsCut()) return iBefore;
    ioPart.Require(oNumValues <= ioPart.GetBytesLeft() / static_cast<Cmn_Int64>(FF_TOCBytes::cSmallestValue));
    for (Cmn_UInt32 i = 0; i < count; ++i)
        ioPart.Require(contexts[i * cContextSize + 6] <= 1);
    const std::span taken(key, ioPart.GetAt());
    ioPart.Require(iBefore.empty() || IsLess(iBefore, taken));
    return taken;
}

std::size_t FF_TOCPages::CountContexts(std::span<const Cmn_UInt8> iKey) const
{
    return Sys_LoadInteger<Cmn_UInt32>(iKey.data(), mSwap);
}

Cmn_UInt64 FF_TOCPages::RankAt(std::span<const Cmn_UInt8> iKey, std::size_t iContext) const
{
    return ContextAt(iKey.data() + cCountSize + iContext * cContextSize).GetRank();
}

Cmn_UInt64 FF_TOCPages::PrefixAt(std::span<const Cmn_UInt8> iKey) const
{
    return PrefixOf(CountContexts(iKey), [&](std::size_t i) { return RankAt(iKey, i); });
}

bool FF_TOCPages::IsLess(std::span<const Cmn_UInt8> iA, std::span<const Cmn_UInt8> iB) const
{
    const std::size_t a = CountContexts(iA);
    const std::size_t b = CountContexts(iB);
    for (std::size_t i = 0; i < std::min(a, b); ++i)
        if (const auto order = RankAt(iA, i) <=> RankAt(iB, i); order != 0) return order < 0;
    return a < b;
}

std::strong_ordering FF_TOCPages::Compare(std::span<const Cmn_UInt8> iKey,
                                          std::span<const FF_Document::Context> iContexts) const
{
    const std::size_t count = CountContexts(iKey);
    for (std::size_t i = 0; i < std::min(count, iContexts.size()); ++i)
        if (const auto order = RankAt(iKey, i) <=> RankOf(iContexts[i]); order != 0) return order;
    return count <=> iContexts.size();
}

FF_TOCTable::Context FF_TOCPages::ContextAt(const Cmn_UInt8* iAt) const { return {iAt, mSwap}; }

std::span<const Cmn_UInt8> FF_TOCPages::RecordAt(const Page& iPage, std::size_t iRecord)
{
    const std::size_t begin = iPage.mRecords[iRecord];
    const bool isLast = iRecord + 1 == iPage.mRecords.size();
    const std::size_t end = isLast ? iPage.mBytes.size() : iPage.mRecords[iRecord + 1];
    if (isLast && iPage.mIsLastCut) return CutRecordAt(iPage, begin);
    return {iPage.mBytes.data() + begin, end - begin};
}

std::span<const Cmn_UInt8> FF_TOCPages::CutRecordAt(const Page& iPage, std::size_t iBegin)
{
    const std::size_t from = iPage.mNumber * mIndex.mPageSize + iBegin;
    const std::size_t size = mIndex.mPages[iPage.mNumber + 1].GetFirstAt() - from;
    const bool isKey = !iPage.mKeys.empty() && iPage.mKeys.back().mAt == iBegin;
    if (!isKey && size > FF_TOCBytes::cLargestValue) Refuse(static_cast<Cmn_Int64>(from));
    mCut.assign(iPage.mBytes.begin() + static_cast<std::ptrdiff_t>(iBegin), iPage.mBytes.end());
    for (std::size_t next = iPage.mNumber + 1; mCut.size() < size; ++next) {
        const std::span<const Cmn_UInt8> more = Load(next, &iPage).mBytes;
        const auto part = more.first(std::min(more.size(), size - mCut.size()));
        mCut.insert(mCut.end(), part.begin(), part.end());
    }
    FF_TOCCursor cursor(mCut, mTyped, mBody + static_cast<Cmn_Int64>(from));
    if (isKey)
        cursor.SkipKey();
    else
        cursor.SkipValue(mBegin, mEnd);
    cursor.Require(cursor.GetBytesLeft() == 0);
    return mCut;
}

// --- What is asked for

Cmn_UInt64 FF_TOCPages::GetPrefix(std::size_t iPage)
{
    if (mKnown[iPage].mPrefix == 0) {
        const std::span<const Cmn_UInt8> key = FirstKeyFrom(iPage);
        mKnown[iPage].mPrefix = PrefixAt(key);
    }
    return mKnown[iPage].mPrefix;
}

// Of the first key that begins in the page or behind it, which must be there.
std::span<const Cmn_UInt8> FF_TOCPages::FirstKeyFrom(std::size_t iPage)
{
    const Page& page = Load(mIndex.mPages[iPage].mKeyAt / mIndex.mPageSize);
    if (page.mKeys.empty()) Refuse(mIndex.mPages[iPage].mKeyAt);
    return KeyAt(page, 0);
}

// Items of a list mostly follow at even distances.
std::size_t FF_TOCPages::Run::Guess(Cmn_UInt64 iPrefix) const
{
    if (iPrefix <= mFirstPrefix) return mFirst;
    if (iPrefix >= mLastPrefix) return mLast;
    const Cmn_UInt64 all = (mLastPrefix - mFirstPrefix) >> cItemShift;
    const Cmn_UInt64 nth = (iPrefix - mFirstPrefix) >> cItemShift;
    return all == 0 ? mFirst : mFirst + static_cast<std::size_t>(nth * (mLast - mFirst) / all);
}

void FF_TOCPages::Run::Take(std::size_t iPage, Cmn_UInt64 iPrefix)
{
    const bool isOther = TypeOf(mFirstPrefix) != TypeOf(iPrefix);
    if (isOther || iPage < mFirst) {
        mFirst = iPage;
        mFirstPrefix = iPrefix;
    }
    if (isOther || iPage > mLast) {
        mLast = iPage;
        mLastPrefix = iPrefix;
    }
}

bool FF_TOCPages::BeginsBehind(std::size_t iPage, std::span<const FF_Document::Context> iContexts,
                               Cmn_UInt64 iPrefix)
{
    Cmn_UInt64 first = mKnown[iPage].mPrefix;
    if (first != 0 && first != iPrefix) return first > iPrefix;
    if (mIndex.mPages[iPage].mKey == mIndex.mNumKeys) return true;
    first = GetPrefix(iPage);
    return first > iPrefix || (first == iPrefix && Compare(FirstKeyFrom(iPage), iContexts) > 0);
}

// The last page whose first key is not behind the contexts, as far as there is one: the
// key can only begin there.
std::size_t FF_TOCPages::FindPage(std::span<const FF_Document::Context> iContexts, Cmn_UInt64 iPrefix)
{
    std::size_t from = 0; // pages before it begin with a key that is not behind the contexts
    std::size_t to = mIndex.GetNumPages();
    // From the run's guess on in steps that double, and once they have passed the page by halves.
    Run& run = mRuns[TypeOf(iPrefix) % mRuns.size()];
    const bool isGuessed = run.mLast != 0 && TypeOf(run.mFirstPrefix) == TypeOf(iPrefix);
    std::size_t middle = isGuessed ? std::min(run.Guess(iPrefix), to - 1) : to / 2;
    for (std::size_t step = isGuessed ? 1 : to; from < to; step *= 2) {
        if (BeginsBehind(middle, iContexts, iPrefix)) {
            to = middle;
            middle = to - std::min(step, (to - from + 1) / 2);
        } else {
            from = middle + 1;
            middle = from + std::min(step - 1, (to - from) / 2);
        }
    }
    const std::size_t page = from == 0 ? 0 : from - 1;
    if (TypeOf(mKnown[page].mPrefix) == TypeOf(iPrefix)) run.Take(page, mKnown[page].mPrefix);
    return page;
}

// Keys of a list's items mostly follow at even distances, so that the first keys of this page and the next tell
// where a key is, and a search meets one line of memory in place of four.
std::size_t FF_TOCPages::GuessKey(const Page& iPage, Cmn_UInt64 iPrefix, std::size_t iCount) const
{
    const Cmn_UInt64 first = mKnown[iPage.mNumber].mPrefix;
    const Cmn_UInt64 next = iPage.mNumber + 1 < mKnown.size() ? mKnown[iPage.mNumber + 1].mPrefix : 0;
    const Cmn_UInt64 all = next > first ? (next - first) >> cItemShift : 0;
    if (first == 0 || all == 0 || iPrefix < first || iPrefix > next) return iCount / 2;
    const Cmn_UInt64 nth = (iPrefix - first) >> cItemShift;
    return static_cast<std::size_t>((nth * iCount + all / 2) / all);
}

// The keys of the page that have the prefix, without one that is cut.
std::pair<std::size_t, std::size_t> FF_TOCPages::FindPrefix(const Page& iPage, Cmn_UInt64 iPrefix) const
{
    const std::size_t count = iPage.mKeys.size() - (iPage.mIsKeyCut ? 1 : 0);
    const auto begin = iPage.mKeys.begin();
    const auto end = begin + static_cast<std::ptrdiff_t>(count);
    const std::size_t guess = GuessKey(iPage, iPrefix, count);
    // What the key says is wanted next, and lies about as far on among the bytes.
    const Cmn_UInt8* const about =
        iPage.mBytes.data() + iPage.mBytes.size() * guess / std::max<std::size_t>(count, 1);
    PSPrefetch(about);
    PSPrefetch(about + cPSCacheLineBytes);
    for (std::size_t at = guess == 0 ? 0 : guess - 1; at < std::min(count, guess + 2); ++at) {
        const bool isAlone = iPage.mKeys[at].mPrefix == iPrefix &&
                             (at == 0 || iPage.mKeys[at - 1].mPrefix != iPrefix) &&
                             (at + 1 >= count || iPage.mKeys[at + 1].mPrefix != iPrefix);
        if (isAlone) return {at, at + 1};
    }
    const auto isLess = [](const Key& iKey, Cmn_UInt64 iWanted) { return iKey.mPrefix < iWanted; };
    const auto isAbove = [](Cmn_UInt64 iWanted, const Key& iKey) { return iWanted < iKey.mPrefix; };
    const auto from = std::lower_bound(begin, end, iPrefix, isLess);
    const auto to = std::upper_bound(from, end, iPrefix, isAbove);
    return {static_cast<std::size_t>(from - begin), static_cast<std::size_t>(to - begin)};
}

// The number of the page's key; that of its keys where it is not among them.
std::size_t FF_TOCPages::FindKey(const Page& iPage, std::span<const FF_Document::Context> iContexts,
                                 Cmn_UInt64 iPrefix)
{
    auto [from, to] = FindPrefix(iPage, iPrefix);
    // A cut key has no prefix here, and is the last.
    if (iPage.mIsKeyCut && to + 1 == iPage.mKeys.size()) to = iPage.mKeys.size();
    while (from < to) {
        const std::size_t middle = from + (to - from) / 2;
        const auto order = Compare(KeyAt(iPage, middle), iContexts);
        if (order == 0) return middle;
        if (order > 0)
            to = middle;
        else
            from = middle + 1;
    }
    return iPage.mKeys.size();
}

bool FF_TOCPages::FindLately(std::span<const FF_Document::Context> iContexts, Cmn_UInt64 iPrefix)
{
    for (const Found& found : mFound) {
        if (found.mPrefix != iPrefix || found.mPlace.mEntry == cNoEntry) continue;
        if (found.mRanks.size() != iContexts.size()) continue;
        std::size_t i = 0;
        while (i < iContexts.size() && found.mRanks[i] == RankOf(iContexts[i]))
            ++i;
        if (i < iContexts.size()) continue;
        mPlace = found.mPlace;
        return true;
    }
    return false;
}

Cmn_Int32 FF_TOCPages::Find(std::span<const FF_Document::Context> iContexts)
{
    const Cmn_UInt64 prefix = PrefixOf(iContexts.size(), [&](std::size_t i) { return RankOf(iContexts[i]); });
    if (!FindLately(iContexts, prefix)) {
        const Page& page = Load(FindPage(iContexts, prefix));
        const std::size_t key = FindKey(page, iContexts, prefix);
        if (key == page.mKeys.size()) return FF_Document::TOC::cNone;
        Remember(page, key);
        Found& found = mFound[mNextFound++ % mFound.size()];
        found.mPrefix = prefix;
        found.mPlace = mPlace;
        found.mRanks.clear();
        for (const FF_Document::Context& context : iContexts)
            found.mRanks.push_back(RankOf(context));
    }
    return static_cast<Cmn_Int32>(mPlace.mEntry);
}

const FF_TOCPages::KeyPlace& FF_TOCPages::Remember(const Page& iPage, std::size_t iKey)
{
    const std::span<const Cmn_UInt8> key = KeyAt(iPage, iKey);
    mPlace.mEntry = mIndex.mPages[iPage.mNumber].mKey + static_cast<Cmn_UInt32>(iKey);
    mPlace.mPage = iPage.mNumber;
    mPlace.mKey = iKey;
    mPlace.mNumValues = Sys_LoadInteger<Cmn_UInt32>(key.data() + key.size() - cCountSize, mSwap);
    return mPlace;
}

const FF_TOCPages::KeyPlace& FF_TOCPages::Locate(Cmn_UInt32 iEntry)
{
    if (mPlace.mEntry == iEntry) return mPlace;
    for (const Found& found : mFound)
        if (found.mPlace.mEntry == iEntry) return mPlace = found.mPlace;
    const auto after =
        std::upper_bound(mIndex.mPages.begin(), mIndex.mPages.end() - 1, iEntry,
                         [](Cmn_UInt32 iKey, const FF_TOCIndex::Page& iPage) { return iKey < iPage.mKey; });
    const auto number =
        static_cast<std::size_t>(std::max<std::ptrdiff_t>(after - mIndex.mPages.begin(), 1) - 1);
    const Page& page = Load(number);
    const std::size_t key = iEntry - mIndex.mPages[number].mKey;
    if (key >= page.mKeys.size()) Refuse(mIndex.mPages[number].mKeyAt);
    return Remember(page, key);
}

std::vector<FF_Document::Context> FF_TOCPages::GetContexts(Cmn_Int32 iEntry)
{
    const KeyPlace& place = Locate(static_cast<Cmn_UInt32>(iEntry));
    const std::span<const Cmn_UInt8> key = KeyAt(Load(place.mPage), place.mKey);
    std::vector<FF_Document::Context> contexts;
    contexts.reserve(key.size() / cContextSize);
    for (std::size_t at = cCountSize; at + cCountSize < key.size(); at += cContextSize)
        contexts.push_back(ContextAt(key.data() + at).Make());
    return contexts;
}

bool FF_TOCPages::IsList(Cmn_Int32 iEntry)
{
    const KeyPlace& place = Locate(static_cast<Cmn_UInt32>(iEntry));
    const std::span<const Cmn_UInt8> key = KeyAt(Load(place.mPage), place.mKey);
    return CountContexts(key) != 0 && ContextAt(key.data() + key.size() - cCountSize - cContextSize).mIsList;
}

std::span<const Cmn_UInt8> FF_TOCPages::RawValue(Cmn_UInt32 iEntry, Cmn_UInt32 iValue)
{
    const KeyPlace& place = Locate(iEntry);
    // The first values mostly stand beside their key.
    const Page* page = &Load(place.mPage);
    std::size_t record = page->mKeys[place.mKey].mRecord + std::size_t{1} + iValue;
    if (record < page->mRecords.size()) return RecordAt(*page, record);

    const std::pair wanted{iEntry, iValue + 1};
    const auto after = std::upper_bound(
        mIndex.mPages.begin(), mIndex.mPages.end() - 1, wanted,
        [](const auto& iWanted, const FF_TOCIndex::Page& iPage) { return iWanted < iPage.GetFirst(); });
    const auto number =
        static_cast<std::size_t>(std::max<std::ptrdiff_t>(after - mIndex.mPages.begin(), 1) - 1);
    const FF_TOCIndex::Page& index = mIndex.mPages[number];
    page = &Load(number);
    record = iValue - index.mValue;
    const std::size_t numLeading = page->mKeys.empty() ? page->mRecords.size() : page->mKeys[0].mRecord;
    if (index.GetFirst().second == 0 || index.mKey - 1 != iEntry || record >= numLeading)
        Refuse(index.mValueAt);
    return RecordAt(*page, record);
}

std::span<const Cmn_UInt8> FF_TOCPages::GetValue(Cmn_Int32 iEntry, Cmn_Int32 iValue)
{
    const std::span<const Cmn_UInt8> bytes =
        RawValue(static_cast<Cmn_UInt32>(iEntry), static_cast<Cmn_UInt32>(iValue));
    if (!mSwap) return bytes;
    mSwapped.assign(bytes.begin(), bytes.end());
    FF_TOCBytes::SwapValue(mSwapped.data(), true);
    return mSwapped;
}
