#include "Kora/FF/Document/FF_TOCPages_p.h"

#include "Bastel/Sys/Sys_Crc32C.h"
#include "Bastel/Sys/Sys_FileBasedInStream.h"
#include "Bastel/Sys/Sys_StdStreamHeader.h"
#include "Bastel/Sys/Sys_StreamThrow_p.h"
#include "Kora/FF/Format/FF_TOCGrammar_p.h"

#include <algorithm>

using namespace FF_Format;

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
    if (mNextSlot == mPages.size()) {
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
