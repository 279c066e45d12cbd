// FF_TOCPages: what is asked for, and the search for it.
#include "Kora/FF/Document/FF_TOCPages_p.h"
#include "OstrelPlatformSupport/PSPrefetch_p.h"
#include "OstrelPlatformSupport/PSStdAtomic.h"

#include <algorithm>

namespace {

// The parts of a prefix.
constexpr int cItemShift = 16;
constexpr int cTypeShift = 48;

Cmn_UInt64 TypeOf(Cmn_UInt64 iPrefix) { return iPrefix >> cTypeShift; }

} // namespace

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
