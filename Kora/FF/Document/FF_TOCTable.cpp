// FF_TOCTable's keys: the hash, the order, what is added.
#include "Kora/FF/Document/FF_TOCTable_p.h"

#include <algorithm>
#include <memory>
#include <numeric>
#include <random>

namespace {

constexpr std::size_t cFewestSlots = 16;

// Odd, and another in every process: keys that were made to collide in one do not in the next.
Cmn_UInt64 RandomFactor()
{
    static const Cmn_UInt64 sFactor = [] {
        std::random_device device;
        return (Cmn_UInt64{device()} << 32 | device()) | 1;
    }();
    return sFactor;
}

// A value as it is added, with room for the piece that mostly comes.
constexpr std::size_t cDisplayHeader = FF_TOCBytes::cPartHeader + 4;
constexpr std::size_t cWithoutText =
    FF_TOCBytes::cLocalHeader + FF_TOCBytes::cOffsetSize + cDisplayHeader + FF_TOCBytes::cPartHeader;

inline void PutValue(Cmn_UInt8* oAt, std::string_view iText, const Cmn_UInt32* iOffset)
{
    FF_TOCBytes::StoreLocalHeader(oAt, iOffset != nullptr ? 1 : 0);
    oAt += FF_TOCBytes::cLocalHeader;
    if (iOffset != nullptr) {
        Sys_StoreInteger(oAt, *iOffset, false);
        oAt += FF_TOCBytes::cOffsetSize;
    }
    // Type, size, count as one word, which reaches into what follows.
    const Cmn_UInt64 count = iText.size();
    Sys_StoreInteger(oAt, FF_Document::DisplayInfo::cString | (4 + count) << 8 | count << 24, false);
    oAt += cDisplayHeader;
    if (!iText.empty()) Sys_CopyBytes(oAt, iText.data(), iText.size());
    // The index information, of type 0 and no bytes.
    std::memset(oAt + iText.size(), 0, FF_TOCBytes::cPartHeader);
}

} // namespace

FF_TOCTable::FF_TOCTable()
    : mFactor(RandomFactor())
{
}

// --- The hash

// The first bits choose the slot, the last ones are its tag.
template <class GetRank>
Cmn_UInt64 FF_TOCTable::HashOf(std::size_t iCount, const GetRank& iGetRank) const
{
    Cmn_UInt64 hash = mFactor;
    for (std::size_t i = 0; i < iCount; ++i) {
        hash = (hash ^ iGetRank(i)) * mFactor;
        hash ^= hash >> 32;
    }
    return hash * mFactor;
}

Cmn_UInt64 FF_TOCTable::HashOf(std::span<const FF_Document::Context> iContexts) const
{
    return HashOf(iContexts.size(), [&](std::size_t i) { return RankOf(iContexts[i]); });
}

Cmn_Int32 FF_TOCTable::FindAmongAll(std::span<const FF_Document::Context> iContexts) const
{
    if (IsBehindAll(iContexts)) return FF_Document::TOC::cNone;
    const auto last = static_cast<Cmn_Int32>(mKeys.size()) - 1;
    const Cmn_Int32 found =
        last >= 0 && IsKey(static_cast<Cmn_UInt32>(last), iContexts) ? last : FindBySlots(iContexts);
    if (found != FF_Document::TOC::cNone)
        mRecent[mNextRecent++ % mRecent.size()] = static_cast<Cmn_UInt32>(found);
    return found;
}

Cmn_Int32 FF_TOCTable::FindBySlots(std::span<const FF_Document::Context> iContexts) const
{
    if (mSlots.empty()) MakeSlotsFor(mKeys.size());
    const Cmn_UInt64 hash = HashOf(iContexts);
    for (std::size_t at = FirstSlotOf(hash); mSlots[at].mEntryPlusOne != 0;
         at = (at + 1) & (mSlots.size() - 1)) {
        const Slot& slot = mSlots[at];
        if (slot.mTag == static_cast<Cmn_UInt32>(hash) && IsKey(slot.mEntryPlusOne - 1, iContexts))
            return static_cast<Cmn_Int32>(slot.mEntryPlusOne - 1);
    }
    return FF_Document::TOC::cNone;
}

void FF_TOCTable::PutInSlot(Cmn_UInt64 iHash, std::size_t iEntry) const
{
    std::size_t at = FirstSlotOf(iHash);
    while (mSlots[at].mEntryPlusOne != 0)
        at = (at + 1) & (mSlots.size() - 1);
    mSlots[at] = {static_cast<Cmn_UInt32>(iHash), static_cast<Cmn_UInt32>(iEntry + 1)};
}

void FF_TOCTable::MakeSlotsFor(std::size_t iKeys) const
{
    const std::size_t wanted = std::max(cFewestSlots, std::bit_ceil(iKeys + iKeys / 4));
    if (wanted <= mSlots.size()) return;
    std::vector<Slot>(wanted).swap(mSlots);
    mSlotShift = 64 - std::countr_zero(wanted);
    FillSlots();
}

void FF_TOCTable::FillSlots() const
{
    if (mSlots.empty()) return;
    std::fill(mSlots.begin(), mSlots.end(), Slot{});
    for (std::size_t i = 0; i < mKeys.size(); ++i)
        PutInSlot(HashOf(mKeys[i].mContextCount, [&](std::size_t iNth) { return RankAt(mKeys[i], iNth); }),
                  i);
}

// --- The order

bool FF_TOCTable::IsLess(const Key& iA, const Key& iB) const
{
    for (std::size_t i = 0; i < std::min(iA.mContextCount, iB.mContextCount); ++i)
        if (const Cmn_UInt64 a = RankAt(iA, i), b = RankAt(iB, i); a != b) return a < b;
    return iA.mContextCount < iB.mContextCount;
}

Cmn_Int32 FF_TOCTable::GetInOrder(Cmn_Int32 iNth) const
{
    if (mAscending == mKeys.size()) return iNth;
    if (mOrder.size() < mKeys.size()) UpdateOrder();
    return mOrder[static_cast<std::size_t>(iNth)];
}

// Sorts what was added since the last time, and merges.
void FF_TOCTable::UpdateOrder() const
{
    const auto sorted = static_cast<std::ptrdiff_t>(mOrder.empty() ? mAscending : mOrder.size());
    std::vector<Cmn_Int32> order = mOrder;
    order.resize(mKeys.size());
    const std::ptrdiff_t known = mOrder.empty() ? 0 : sorted;
    std::iota(order.begin() + known, order.end(), static_cast<Cmn_Int32>(known));
    const auto isLess = [this](Cmn_Int32 iA, Cmn_Int32 iB) { return IsLess(GetKey(iA), GetKey(iB)); };
    std::sort(order.begin() + sorted, order.end(), isLess);
    std::inplace_merge(order.begin(), order.begin() + sorted, order.end(), isLess);
    mOrder.swap(order);
}

void FF_TOCTable::CountAscending()
{
    mOrder.clear();
    mAscending = std::min<std::size_t>(1, mKeys.size());
    while (mAscending < mKeys.size() && IsLess(mKeys[mAscending - 1], mKeys[mAscending]))
        ++mAscending;
}

// --- What is added

void FF_TOCTable::TakeParents(Cmn_Int32 iEntry, std::span<const FF_Document::Context> iContexts)
{
    Cmn_UInt8* parent = ContextAt(GetKey(iEntry), 0) + 2;
    for (const FF_Document::Context& context : iContexts) {
        if (context.GetParentPosition() != FF_Document::Context::cNoParent)
            Sys_StoreInteger(parent, context.GetParentPosition(), false);
        parent += cContextSize;
    }
}

Cmn_Int32 FF_TOCTable::Add(std::span<const FF_Document::Context> iContexts, bool iIsBehindAll)
{
    // Room first: what follows must not fail half-way.
    const std::size_t bytes = cContextSize * iContexts.size();
    if (!HasPlaceFor(bytes)) throw std::bad_alloc();
    mKeys.ReserveMore(1);
    mRecords.ReserveMore(bytes);
    if (!mSlots.empty()) MakeSlotsFor(mKeys.size() + 1);
    const std::size_t entry = mKeys.size();
    *mKeys.Extend(1) = {static_cast<Cmn_UInt32>(mRecords.size()), static_cast<Cmn_UInt32>(iContexts.size()),
                        0, 0, 0};
    Cmn_UInt8* to = mRecords.Extend(bytes);
    for (const FF_Document::Context& context : iContexts) {
        Flat(context).Put(to, false);
        to += cContextSize;
    }
    if (!mSlots.empty()) PutInSlot(HashOf(iContexts), entry);
    mKeyBytes += KeySize(iContexts.size());
    if (iIsBehindAll) ++mAscending;
    return static_cast<Cmn_Int32>(entry);
}

void FF_TOCTable::SetIsList(Cmn_Int32 iEntry, bool iIsList)
{
    const Key& key = GetKey(iEntry);
    if (key.mContextCount != 0) ContextAt(key, key.mContextCount - 1)[cListMark] = iIsList ? 1 : 0;
}

bool FF_TOCTable::IsList(Cmn_Int32 iEntry) const
{
    const Key& key = GetKey(iEntry);
    return key.mContextCount != 0 && ContextAt(key, key.mContextCount - 1)[cListMark] != 0;
}

std::vector<FF_Document::Context> FF_TOCTable::GetContexts(Cmn_Int32 iEntry) const
{
    const Key& key = GetKey(iEntry);
    std::vector<FF_Document::Context> contexts;
    contexts.reserve(key.mContextCount);
    for (std::size_t i = 0; i < key.mContextCount; ++i)
        contexts.push_back(Context(ContextAt(key, i), false).Make());
    return contexts;
}

void FF_TOCTable::MakeRoomForValues(Key& ioKey, std::size_t iMore)
{
    if (ioKey.mFirstValue + std::size_t{ioKey.mValueRoom} == mValues.size()) {
        mValues.Extend(iMore);
    } else {
        const std::size_t first = mValues.size();
        mValues.Extend(ioKey.mValueRoom + iMore);
        std::copy_n(mValues.begin() + ioKey.mFirstValue, ioKey.mValueCount,
                    mValues.begin() + static_cast<std::ptrdiff_t>(first));
        ioKey.mFirstValue = static_cast<Cmn_UInt32>(first);
    }
    ioKey.mValueRoom += static_cast<Cmn_UInt32>(iMore);
}

void FF_TOCTable::Reserve(Cmn_Int32 iEntry, std::size_t iValues)
{
    Key& key = mKeys[static_cast<std::size_t>(iEntry)];
    LeaveHome(key);
    if (iValues > key.mValueRoom) MakeRoomForValues(key, iValues - key.mValueRoom);
}

void FF_TOCTable::AddValue(Cmn_Int32 iEntry, std::string_view iText, const Cmn_UInt32* iOffset)
{
    Key& key = mKeys[static_cast<std::size_t>(iEntry)];
    const std::size_t room = cWithoutText + iText.size();
    std::size_t size = room;
    if (iOffset != nullptr && key.mValueRoom == 0 && HomeOf(key) == mRecords.end() && HasPlaceFor(room)) {
        PutValue(mRecords.Extend(room), iText, iOffset);
        key.mFirstValue = static_cast<Cmn_UInt32>(size);
    } else {
        LeaveHome(key);
        if (key.mValueCount == key.mValueRoom)
            MakeRoomForValues(key, std::max<std::size_t>(1, key.mValueRoom));
        const std::size_t begin = mArena.size();
        PutValue(mArena.Extend(room), iText, iOffset);
        if (iOffset == nullptr) size -= FF_TOCBytes::cOffsetSize;
        mValues[key.mFirstValue + std::size_t{key.mValueCount}] = {begin, static_cast<Cmn_UInt32>(size),
                                                                   static_cast<Cmn_UInt32>(room)};
    }
    ++key.mValueCount;
    mValueBytes += static_cast<Cmn_Int64>(size);
    if (iOffset != nullptr) mHighestOffset = std::max(mHighestOffset, *iOffset);
}
