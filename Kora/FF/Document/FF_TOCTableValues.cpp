// FF_TOCTable's values: their bytes, and what changes in them.
#include "Kora/FF/Document/FF_TOCTable_p.h"

#include "Bastel/I18N/I18N_Utils.h"
#include "Kora/FF/Document/FF_TOCTexts_p.h"

#include <algorithm>
#include <limits>

namespace {

std::size_t CountOf(std::span<const Cmn_UInt8> iOffsets)
{
    return iOffsets.size() / FF_TOCBytes::cOffsetSize;
}

} // namespace

std::span<const Cmn_UInt8> FF_TOCTable::GetValue(Cmn_Int32 iEntry, Cmn_Int32 iValue) const
{
    const Key& key = GetKey(iEntry);
    if (key.IsAtHome()) return {HomeOf(key), key.mFirstValue};
    const Value& value = mValues[key.mFirstValue + static_cast<std::size_t>(iValue)];
    return {BytesOf(value), value.mSize};
}

std::span<const Cmn_UInt8> FF_TOCTable::GetOffsets(Cmn_Int32 iEntry, Cmn_Int32 iValue) const
{
    return FF_TOCBytes::Offsets(GetValue(iEntry, iValue).data());
}

FF_TOCTable::Value& FF_TOCTable::ValueOf(Cmn_Int32 iEntry, Cmn_Int32 iValue)
{
    Key& key = mKeys[static_cast<std::size_t>(iEntry)];
    LeaveHome(key);
    return mValues[key.mFirstValue + static_cast<std::size_t>(iValue)];
}

// What fails in it has changed nothing.
void FF_TOCTable::LeaveHome(Key& ioKey)
{
    if (!ioKey.IsAtHome()) return;
    mValues.ReserveMore(1);
    const std::size_t begin = mArena.size();
    mArena.Append(HomeOf(ioKey), HomeOf(ioKey) + ioKey.mFirstValue);
    mValues.push_back({begin, ioKey.mFirstValue, ioKey.mFirstValue});
    ioKey.mFirstValue = static_cast<Cmn_UInt32>(mValues.size() - 1);
    ioKey.mValueRoom = 1;
}

void FF_TOCTable::ResizeLocation(Value& ioValue, std::size_t iNewSize)
{
    const std::size_t oldSize = FF_TOCBytes::LocationSize(BytesOf(ioValue));
    const std::size_t tail = ioValue.mSize - oldSize;
    const std::size_t size = iNewSize + tail;
    if (size > ioValue.mRoom) {
        // As much room again as the location has bytes: pieces that keep coming move
        // a value ever more rarely.
        const std::size_t room = size + iNewSize;
        const bool isLast = ioValue.mBegin + ioValue.mRoom == mArena.size();
        const std::size_t begin = isLast ? ioValue.mBegin : mArena.size();
        mArena.resize(begin + room);
        if (!isLast) std::copy_n(BytesOf(ioValue), ioValue.mSize, mArena.data() + begin);
        ioValue.mBegin = begin;
        ioValue.mRoom = static_cast<Cmn_UInt32>(room);
    }
    Cmn_UInt8* const bytes = BytesOf(ioValue);
    std::memmove(bytes + iNewSize, bytes + oldSize, tail);
    mValueBytes += static_cast<Cmn_Int64>(size) - ioValue.mSize;
    ioValue.mSize = static_cast<Cmn_UInt32>(size);
}

void FF_TOCTable::AddOffset(Cmn_Int32 iEntry, Cmn_Int32 iValue, Cmn_UInt32 iOffset)
{
    Value& value = ValueOf(iEntry, iValue);
    const std::size_t count = CountOf(FF_TOCBytes::Offsets(BytesOf(value)));
    if (count >= FF_Document::LocalLocation::cMaxOffsets)
        throw std::length_error(I18N_Utils::GetString(FF_TOCTexts::eText_TooLong));
    const std::size_t end = FF_TOCBytes::cLocalHeader + FF_TOCBytes::cOffsetSize * count;
    ResizeLocation(value, end + FF_TOCBytes::cOffsetSize);
    FF_TOCBytes::StoreLocalHeader(BytesOf(value), count + 1);
    Sys_StoreInteger(BytesOf(value) + end, iOffset, false);
    mHighestOffset = std::max(mHighestOffset, iOffset);
}

void FF_TOCTable::Invalidate(Cmn_Int32 iEntry, Cmn_Int32 iValue) { InvalidateValue(ValueOf(iEntry, iValue)); }

void FF_TOCTable::InvalidateValue(Value& ioValue)
{
    // Nothing has to move: the smallest location fits wherever another stood.
    ResizeLocation(ioValue, FF_TOCBytes::cPartHeader);
    std::fill_n(BytesOf(ioValue), FF_TOCBytes::cPartHeader, Cmn_UInt8{0});
}

void FF_TOCTable::SetValue(Cmn_Int32 iEntry, Cmn_Int32 iValue, std::span<const Cmn_UInt8> iBytes)
{
    Value& value = ValueOf(iEntry, iValue);
    if (iBytes.size() > value.mRoom) {
        const std::size_t begin = mArena.size();
        const std::size_t room = std::max<std::size_t>(iBytes.size(), 2 * std::size_t{value.mRoom});
        mArena.resize(begin + room);
        mValueBytes -= value.mSize;
        value = {begin, 0, static_cast<Cmn_UInt32>(room)};
    }
    std::copy(iBytes.begin(), iBytes.end(), BytesOf(value));
    mHighestOffset = std::numeric_limits<Cmn_UInt32>::max(); // it may have any
    mValueBytes += static_cast<Cmn_Int64>(iBytes.size()) - value.mSize;
    value.mSize = static_cast<Cmn_UInt32>(iBytes.size());
}

// --- Forgetting

bool FF_TOCTable::ForgetPieces(Value& ioValue, Cmn_UInt32 iFrom)
{
    Cmn_UInt8* const bytes = BytesOf(ioValue);
    const Cmn_UInt8* const last = FF_TOCBytes::LastLocation(bytes);
    const std::span<const Cmn_UInt8> offsets = FF_TOCBytes::Offsets(last);
    std::size_t kept = 0;
    for (std::size_t i = 0; i < CountOf(offsets); ++i) {
        const auto offset = Sys_LoadInteger<Cmn_UInt32>(offsets.data() + FF_TOCBytes::cOffsetSize * i, false);
        if (offset >= iFrom) continue;
        // Written over what was read before; the count still tells of the old ones.
        if (last == bytes)
            Sys_StoreInteger(bytes + FF_TOCBytes::cLocalHeader + FF_TOCBytes::cOffsetSize * kept, offset,
                             false);
        ++kept;
    }
    if (kept == CountOf(offsets)) return true;
    // A chain that leads to a lost piece is lost as a whole: nobody registers pieces
    // behind others' locations.
    if (kept == 0 || last != bytes) return false;
    ResizeLocation(ioValue, FF_TOCBytes::cLocalHeader + FF_TOCBytes::cOffsetSize * kept);
    FF_TOCBytes::StoreLocalHeader(bytes, kept);
    return true;
}

void FF_TOCTable::ForgetValues(Key& ioKey, Cmn_UInt32 iFrom)
{
    if (ioKey.IsAtHome()) {
        if (Sys_LoadInteger<Cmn_UInt32>(HomeOf(ioKey) + FF_TOCBytes::cLocalHeader, false) < iFrom) return;
        mValueBytes -= ioKey.mFirstValue;
        ioKey.mFirstValue = ioKey.mValueCount = 0;
    }
    for (std::size_t i = ioKey.mValueCount; i-- > 0;) {
        Value& value = mValues[ioKey.mFirstValue + i];
        if (ForgetPieces(value, iFrom)) continue;
        if (i + 1 == ioKey.mValueCount) {
            mValueBytes -= value.mSize;
            --ioKey.mValueCount;
        } else {
            InvalidateValue(value);
        }
    }
}

void FF_TOCTable::ForgetOffsetsFrom(Cmn_UInt32 iFrom)
{
    if (mHighestOffset >= iFrom) {
        for (Key& key : mKeys)
            ForgetValues(key, iFrom);
        mHighestOffset = iFrom == 0 ? 0 : iFrom - 1;
    }
    const auto isEmpty = [](const Key& iKey) { return iKey.mValueCount == 0; };
    if (std::any_of(mKeys.begin(), mKeys.end(), isEmpty)) RemoveKeysWithoutValues();
}

void FF_TOCTable::RemoveKeysWithoutValues()
{
    std::size_t records = 0;
    std::size_t values = 0;
    std::size_t keys = 0;
    for (const Key& old : mKeys) {
        if (old.mValueCount == 0) {
            mKeyBytes -= KeySize(old.mContextCount);
            continue;
        }
        Key key = old;
        const std::size_t size = cContextSize * old.mContextCount + (old.IsAtHome() ? old.mFirstValue : 0);
        std::copy_n(ContextAt(old, 0), size, mRecords.begin() + records);
        key.mRecord = static_cast<Cmn_UInt32>(records);
        records += size;
        if (!key.IsAtHome()) values = std::max(values, key.mFirstValue + std::size_t{key.mValueRoom});
        mKeys[keys++] = key;
    }
    mKeys.resize(keys);
    mRecords.Truncate(records);
    mValues.resize(values);
    std::size_t arena = 0;
    for (const Key& key : mKeys) {
        for (std::size_t i = 0; i < std::min(key.mValueCount, key.mValueRoom); ++i) { // none that is at home
            const Value& value = mValues[key.mFirstValue + i];
            arena = std::max<std::size_t>(arena, value.mBegin + value.mRoom);
        }
    }
    mArena.resize(arena);
    FillSlots();
    CountAscending();
}
