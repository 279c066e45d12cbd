#include "Kora/Time/Key/Time_KeySignatureMap.h"

#include "Bastel/Cmn/Cmn_Exception.h"
#include "Bastel/Cmn/Cmn_XMLNode.h"
#include "Bastel/Sys/Sys_StdStreamHeader.h"
#include "Kora/Ndo/Ndo_State.h"
#include "Kora/Time/Convert/Time_Convert.h"
#include "Kora/Time/Numeric/Time_SearchIndex_p.h"
#include "Kora/Time/Numeric/Time_SharedRowTaker_p.h"

#include <algorithm>
#include <limits>
#include <memory>

namespace {

constexpr char cStreamName[] = "KeySignatures";
constexpr Cmn_Int16 cStreamVersion = 1;
constexpr Cmn_Int64 cBytesPerEntry = 8 + 1 + 1 + 1;

Time_Tick TickOf(const Time_Typed& iTime)
{
    return iTime.GetType() == Time_eType_Ticks ? iTime.AsTick() : Time_Convert::ToTick(iTime);
}

// The neighbour searches look from the next time that the time's own unit can name.
Time_TypedLength OneUnit(const Time_Typed& iTime) { return Time_TypedLength(1, iTime.GetType()); }

} // namespace

// The entries, shared with the states taken before and after.
class Time_KeySignatureMap_TState : public Ndo_State
{
public:
    using RowTaker = Time_SharedRowTaker<Time_KeySignatureMap::Entry>;

    explicit Time_KeySignatureMap_TState(RowTaker::RowP iRowP)
        : mRowP(std::move(iRowP))
    {
    }

    Ndo_Object* NdoCreateObject() override { return new Time_KeySignatureMap(Ndo_Object::kNoUndo); }

    std::size_t NdoGetByteCount() const noexcept override { return mRowP->GetByteCount(); }

    const RowTaker::RowP& GetRow() const { return mRowP; }

private:
    RowTaker::RowP mRowP;
};

Time_KeySignatureMap::Time_KeySignatureMap(EUndoFlag iUndoable)
    : Ndo_Object(iUndoable)
    , mIndex(std::make_unique<Time_SearchIndex<Cmn_Int64>>())
    , mRowTaker(std::make_unique<Time_SharedRowTaker<Entry>>())
{
}

Time_KeySignatureMap::Time_KeySignatureMap(const Time_KeySignatureMap& iOther)
    : Ndo_Object(kNoUndo)
    , mKeys(iOther.mKeys)
    , mIndex(std::make_unique<Time_SearchIndex<Cmn_Int64>>(*iOther.mIndex))
    , mRowTaker(std::make_unique<Time_SharedRowTaker<Entry>>())
{
}

Time_KeySignatureMap& Time_KeySignatureMap::operator=(const Time_KeySignatureMap& iOther)
{
    ReplaceWith(iOther);
    return *this;
}

Time_KeySignatureMap::~Time_KeySignatureMap() = default;

// --- Queries

// How many entries lie at or before the tick.
std::size_t Time_KeySignatureMap::CountUpTo(Time_Tick iTick) const
{
    return mKeys.empty() || iTick < mKeys.front().mTick
               ? 0
               : mIndex->Find(iTick.AsInt64(), [this](std::size_t i) { return mKeys[i].mTick.AsInt64(); }) +
                     1;
}

Time_KeySignatureMap::Entries::const_iterator Time_KeySignatureMap::FirstAtOrAfter(Time_Tick iTick) const
{
    const std::size_t count = CountUpTo(iTick);
    const bool isAtTick = count > 0 && mKeys[count - 1].mTick == iTick;
    return mKeys.begin() + static_cast<std::ptrdiff_t>(count - isAtTick);
}

Time_KeySignature Time_KeySignatureMap::KeyInForce(Time_Tick iTick) const
{
    const std::size_t count = CountUpTo(iTick);
    return count == 0 ? Time_KeySignature::sDefault : mKeys[count - 1].mKey;
}

Time_KeySignature Time_KeySignatureMap::GetKeySignatureAtTime(const Time_Typed& iTime) const
{
    return KeyInForce(TickOf(iTime));
}

bool Time_KeySignatureMap::FindKeySignatureBeforeTime(const Time_Typed& iTime, Time_Tick& oTick,
                                                      Time_KeySignature& oKey) const
{
    const Time_Typed sessionStart = Time_Convert::GetSessionStartTime(iTime.GetType());
    const Time_Typed stepped = Time_Convert::SubtractLength(iTime, OneUnit(iTime));
    const Time_Tick last = TickOf(stepped < sessionStart ? sessionStart : stepped);
    const std::size_t count = CountUpTo(last);
    if (count == 0) return false;
    oTick = mKeys[count - 1].mTick;
    oKey = mKeys[count - 1].mKey;
    return true;
}

bool Time_KeySignatureMap::FindKeySignatureAfterTime(const Time_Typed& iTime, Time_Tick& oTick,
                                                     Time_KeySignature& oKey, bool iIncludeTime) const
{
    const Time_Typed sessionEnd = Time_Convert::GetSessionEndTime(iTime.GetType());
    const Time_Typed stepped = iIncludeTime ? iTime : Time_Convert::AddLength(iTime, OneUnit(iTime));
    const auto found = FirstAtOrAfter(TickOf(stepped > sessionEnd ? sessionEnd : stepped));
    if (found == mKeys.end()) return false;
    oTick = found->mTick;
    oKey = found->mKey;
    return true;
}

bool Time_KeySignatureMap::GetIndexAtTick(Time_Tick iTick, long& oIndex) const
{
    const auto found = FirstAtOrAfter(iTick);
    if (found == mKeys.end() || found->mTick != iTick) return false;
    oIndex = static_cast<long>(found - mKeys.begin());
    return true;
}

bool Time_KeySignatureMap::GetKeysSignature(long iIndex, Time_Tick& oTick, Time_KeySignature& oKey) const
{
    if (!Cmn_ASSERT(IsIndex(iIndex))) return false;
    const Entry& entry = mKeys[static_cast<std::size_t>(iIndex)];
    oTick = entry.mTick;
    oKey = entry.mKey;
    return true;
}

Time_KeySignature Time_KeySignatureMap::at(long iIndex) const
{
    if (!Cmn_ASSERT(IsIndex(iIndex))) return Time_KeySignature::sDefault;
    return mKeys[static_cast<std::size_t>(iIndex)].mKey;
}

bool Time_KeySignatureMap::GetKeySignaturesRange(Time_Tick& oStart, Time_Tick& oEnd) const
{
    if (mKeys.empty()) return false;
    oStart = mKeys.front().mTick;
    oEnd = mKeys.back().mTick + Time_TickLength(1);
    return true;
}

bool Time_KeySignatureMap::RangeContainsData(Time_Tick iStart, Time_Tick iEnd) const
{
    const auto found = FirstAtOrAfter(iStart);
    return found != mKeys.end() && found->mTick < iEnd;
}

// --- Edits

void Time_KeySignatureMap::AboutToModify()
{
    NdoAboutToModify();
    mIsModified = true;
}

// Every mutation ends here. The first iFront entries and the last iBack are as they were.
void Time_KeySignatureMap::Changed(std::size_t iFront, std::size_t iBack)
{
    const std::size_t same = iFront + iBack;
    mRowTaker->Replaced(iFront, mIndex->GetCount() - same, mKeys.size() - same);
    mIndex->Splice(mKeys.size(), iFront, iBack, [this](std::size_t i) { return mKeys[i].mTick.AsInt64(); });
#ifndef NDEBUG
    const auto stuck = std::ranges::adjacent_find(mKeys, std::ranges::greater_equal{}, &Entry::mTick);
    Cmn_ASSERT_TEXT(stuck == mKeys.end(), "ticks ascend");
#endif
}

void Time_KeySignatureMap::Store(Time_Tick iTick, const Time_KeySignature& iKey)
{
    const auto place = mKeys.begin() + (FirstAtOrAfter(iTick) - mKeys.cbegin());
    if (place != mKeys.end() && place->mTick == iTick) {
        place->mKey = iKey;
        mRowTaker->Replaced(static_cast<std::size_t>(place - mKeys.begin()), 1, 1);
        return;
    }
    const auto front = static_cast<std::size_t>(place - mKeys.begin());
    mKeys.insert(place, Entry{iTick, iKey});
    Changed(front, mKeys.size() - front - 1);
}

void Time_KeySignatureMap::EraseEntries(Time_Tick iStart, Time_Tick iEnd)
{
    if (!(iStart < iEnd)) return;
    const auto behind = mKeys.erase(FirstAtOrAfter(iStart), FirstAtOrAfter(iEnd));
    Changed(static_cast<std::size_t>(behind - mKeys.begin()), static_cast<std::size_t>(mKeys.end() - behind));
}

void Time_KeySignatureMap::SetKeySignature(Time_Tick iTick, const Time_KeySignature& iKey)
{
    AboutToModify();
    Store(iTick, iKey);
}

void Time_KeySignatureMap::remove(long iIndex)
{
    if (!Cmn_ASSERT(IsIndex(iIndex))) return;
    AboutToModify();
    mKeys.erase(mKeys.begin() + iIndex);
    Changed(static_cast<std::size_t>(iIndex), static_cast<std::size_t>(size() - iIndex));
}

void Time_KeySignatureMap::clear()
{
    if (mKeys.empty()) return;
    AboutToModify();
    mKeys.clear();
    Changed(0);
}

void Time_KeySignatureMap::Erase(Time_Tick iStart, Time_Tick iEnd)
{
    if (!RangeContainsData(iStart, iEnd)) return;
    AboutToModify();
    EraseEntries(iStart, iEnd);
}

void Time_KeySignatureMap::DeleteTime(Time_Tick iStart, Time_Tick iEnd)
{
    if (!(iStart < iEnd)) return;
    AboutToModify();
    const Time_KeySignature keyAtEnd = KeyInForce(iEnd);
    EraseEntries(iStart, iEnd);
    // The differences wrap and wrap back: what follows the end lands at or after the start.
    const auto firstLater = FirstAtOrAfter(iEnd) - mKeys.cbegin();
    for (auto later = mKeys.begin() + firstLater; later != mKeys.end(); ++later)
        later->mTick = iStart + (later->mTick - iEnd);
    Changed(static_cast<std::size_t>(firstLater));
    Store(iStart, keyAtEnd);
}

void Time_KeySignatureMap::InsertTime(Time_Tick iAt, const Time_TickLength& iLength,
                                      const Time_KeySignatureMap* iSource)
{
    const Cmn_Int64 length = iLength.AsInt64();
    if (length < 1) return;
    const Cmn_Int64 lastThatFits = std::numeric_limits<Cmn_Int64>::max() - length;
    const Time_Tick last = mKeys.empty() ? iAt : std::max(iAt, mKeys.back().mTick);
    if (!Cmn_ASSERT_TEXT(last.AsInt64() <= lastThatFits, "the shifted entries stay in range")) return;

    AboutToModify();
    // Before it moves, if it is this map.
    const Entries source = iSource != nullptr ? iSource->mKeys : Entries();
    const auto firstMoved = FirstAtOrAfter(iAt) - mKeys.cbegin();
    for (auto moved = mKeys.begin() + firstMoved; moved != mKeys.end(); ++moved)
        moved->mTick += iLength;
    Changed(static_cast<std::size_t>(firstMoved));
    if (!source.empty()) PasteEntries(iAt, iAt + iLength, source);
}

void Time_KeySignatureMap::Copy(Time_KeySignatureMap* oDest, Time_Tick iStart, Time_Tick iEnd) const
{
    if (!Cmn_ASSERT(oDest != nullptr)) return;
    Entries copied;
    if (iStart < iEnd) {
        copied.push_back({Time_cZeroTick, KeyInForce(iStart)});
        for (auto entry = FirstAtOrAfter(iStart); entry != FirstAtOrAfter(iEnd); ++entry)
            if (entry->mTick != iStart)
                copied.push_back({Time_cZeroTick + (entry->mTick - iStart), entry->mKey});
    }
    oDest->AboutToModify();
    oDest->mKeys = std::move(copied);
    oDest->Changed(0);
}

void Time_KeySignatureMap::Paste(Time_Tick iStart, Time_Tick iEnd, const Time_KeySignatureMap* iSource)
{
    if (!Cmn_ASSERT(iSource != nullptr) || !(iStart < iEnd)) return;
    AboutToModify();
    PasteEntries(iStart, iEnd, Entries(iSource->mKeys));
}

void Time_KeySignatureMap::PasteEntries(Time_Tick iStart, Time_Tick iEnd, const Entries& iSource)
{
    const Time_KeySignature keyAtEnd = KeyInForce(iEnd);
    EraseEntries(iStart, iEnd);
    const Time_KeySignature keyAtStart = KeyInForce(iStart);
    // Unsigned, since a range may be longer than a signed length can say.
    const auto span = static_cast<Cmn_UInt64>((iEnd - iStart).AsInt64());
    for (const Entry& entry : iSource) {
        const Cmn_Int64 offset = entry.mTick.AsInt64();
        if (offset < 0 || static_cast<Cmn_UInt64>(offset) >= span) continue;
        if (offset == 0 && entry.mKey == keyAtStart) continue;
        Store(iStart + Time_TickLength(offset), entry.mKey);
    }
    if (!(KeyInForce(iEnd) == keyAtEnd)) Store(iEnd, keyAtEnd);
}

void Time_KeySignatureMap::ReplaceWith(const Time_KeySignatureMap& iOther)
{
    if (&iOther != this) ReplaceWith(Time_KeySignatureMap(iOther));
}

void Time_KeySignatureMap::ReplaceWith(Time_KeySignatureMap&& ioOther)
{
    if (&ioOther == this) return;
    AboutToModify(); // from here on nothing throws
    mKeys.swap(ioOther.mKeys);
    Changed(0);
}

// --- Undo, persistence, diagnostics

Ndo_State* Time_KeySignatureMap::NdoGetState()
{
    return new Time_KeySignatureMap_TState(
        mRowTaker->Take(mKeys.size(), [this](std::size_t i) { return mKeys[i]; }));
}

void Time_KeySignatureMap::NdoRestoreState(Ndo_State* iState)
{
    const auto* const state = dynamic_cast<const Time_KeySignatureMap_TState*>(iState);
    if (!Cmn_ASSERT(state != nullptr)) return;
    const auto& row = *state->GetRow();
    const auto [front, back] =
        mRowTaker->Take(mKeys.size(), [this](std::size_t i) { return mKeys[i]; })->CommonWith(row);
    Entries between;
    between.reserve(row.size() - front - back);
    row.ForEach(front, row.size() - back, [&](const Entry& iEntry) { between.push_back(iEntry); });
    Time_SharedRowTaker<Entry> taker(state->GetRow());
    mKeys.reserve(row.size()); // from here on nothing throws

    const auto at = [this](std::size_t i) { return mKeys.begin() + static_cast<std::ptrdiff_t>(i); };
    mKeys.erase(at(front), at(mKeys.size() - back));
    mKeys.insert(at(front), between.begin(), between.end());
    Changed(front, back);
    *mRowTaker = std::move(taker);
    mIsModified = true;
}

void Time_KeySignatureMap::StreamOut(Sys_TypedOutStream& ioStream) const
{
    Sys_StdStreamHeaderWriter header(ioStream, cStreamName, cStreamVersion);
    ioStream.WriteInt32(static_cast<Cmn_Int32>(mKeys.size()));
    for (const Entry& entry : mKeys) {
        ioStream.WriteInt64(entry.mTick.AsInt64());
        ioStream.WriteBool(entry.mKey.IsMajor());
        ioStream.WriteBool(entry.mKey.IsSharps());
        ioStream.WriteUInt8(entry.mKey.GetAccidentalCount());
    }
    header.PatchSize();
}

void Time_KeySignatureMap::StreamIn(Sys_TypedInStream& ioStream)
{
    Sys_StdStreamHeaderReader header(ioStream, cStreamName);
    header.CheckVersion(cStreamVersion, cStreamVersion);
    const Cmn_Int32 count = ioStream.ReadInt32();
    if (count < 0 || count > header.GetBytesLeft() / cBytesPerEntry)
        throw Sys_StreamReadException(ioStream.GetPosition());

    Entries read;
    read.reserve(static_cast<std::size_t>(count));
    for (Cmn_Int32 i = 0; i < count; ++i) {
        const Time_Tick tick(ioStream.ReadInt64());
        if (!read.empty() && tick <= read.back().mTick) throw Sys_StreamReadException(ioStream.GetPosition());
        const bool isMajor = ioStream.ReadBool();
        const bool isSharps = ioStream.ReadBool();
        read.push_back({tick, Time_KeySignature(isMajor, isSharps, ioStream.ReadUInt8())});
    }
    header.SkipTheRest();
    mKeys = std::move(read);
    Changed(0);
}

Cmn_XMLNode Time_KeySignatureMap::GetAsXML() const
{
    Cmn_XMLNode node("KeySignatureMap");
    node.AddValue("nKeyCount", static_cast<Cmn_Int64>(mKeys.size()));
    Cmn_XMLNode& keys = node.AddChild(Cmn_XMLNode("Keys"));
    for (const Entry& entry : mKeys) {
        Cmn_XMLNode& key = keys.AddChild(Cmn_XMLNode("Key"));
        key.AddValue("nTick", entry.mTick.AsInt64());
        key.AddValue("mIsMajor", entry.mKey.IsMajor());
        key.AddValue("mIsSharps", entry.mKey.IsSharps());
        key.AddValue("nAccidentals", Cmn_Int32{entry.mKey.GetAccidentalCount()});
    }
    return node;
}

std::string Time_KeySignatureMap::Dump() const
{
    std::string text = std::to_string(mKeys.size()) + " key signatures\n";
    for (const Entry& entry : mKeys)
        text += "  " + std::to_string(entry.mTick.AsInt64()) + "  " + entry.mKey.Dump() + "\n";
    return text;
}
