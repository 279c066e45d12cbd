#include "Kora/Time/Convert/Time_Convert.h"
#include "Kora/Time/Key/Time_KeySignatureMap.h"
#include "Support/UndoHistory.h"
#include "Time/TimeFixture.h"

namespace {

using Map = Time_KeySignatureMap;
using Key = Time_KeySignature;
using Entries = std::map<Time_Tick, Key>;

constexpr Key cC, cG(true, true, 1), cD(true, true, 2), cF(true, false, 1);

// Undoable maps leave the undo manager only through NdoDelete.
struct NdoDeleter
{
    void operator()(Map* ioMap) const { ioMap->NdoDelete(); }
};
using MapPtr = std::unique_ptr<Map, NdoDeleter>;

Entries EntriesOf(const Map& iMap)
{
    Entries entries;
    for (long i = 0; i < iMap.size(); ++i) {
        Time_Tick tick;
        Key key;
        long index = -1;
        EXPECT_TRUE(iMap.GetKeysSignature(i, tick, key) && iMap.at(i) == key);
        EXPECT_TRUE(iMap.GetIndexAtTick(tick, index) && index == i);
        EXPECT_TRUE(entries.empty() || entries.rbegin()->first < tick) << iMap.Dump();
        entries[tick] = key;
    }
    return entries;
}

// A plain map that does each edit entry by entry.
struct Model
{
    Entries mKeys;

    Key At(Time_Tick iTick) const
    {
        const auto next = mKeys.upper_bound(iTick);
        return next == mKeys.begin() ? Key() : std::prev(next)->second;
    }
    void SetKeySignature(Time_Tick iTick, const Key& iKey) { mKeys[iTick] = iKey; }
    void remove(long iIndex) { mKeys.erase(std::next(mKeys.begin(), iIndex)); }
    void Erase(Time_Tick iStart, Time_Tick iEnd)
    {
        std::erase_if(mKeys, [=](const auto& i) { return i.first >= iStart && i.first < iEnd; });
    }
    void Shift(Time_Tick iFrom, const Time_TickLength& iTicks)
    {
        for (const auto& [tick, key] : std::exchange(mKeys, Entries()))
            mKeys[tick >= iFrom ? tick + iTicks : tick] = key;
    }
    void DeleteTime(Time_Tick iStart, Time_Tick iEnd)
    {
        if (iStart >= iEnd) return;
        const Key atEnd = At(iEnd);
        Erase(iStart, iEnd);
        Shift(iEnd, iStart - iEnd);
        mKeys[iStart] = atEnd;
    }
    void InsertTime(Time_Tick iAt, const Time_TickLength& iLength, const Model* iSource)
    {
        if (iLength.AsInt64() < 1) return;
        Shift(iAt, iLength);
        if (iSource != nullptr && !iSource->mKeys.empty()) Paste(iAt, iAt + iLength, iSource);
    }
    void Paste(Time_Tick iStart, Time_Tick iEnd, const Model* iSource)
    {
        if (iStart >= iEnd) return;
        const Entries source = iSource->mKeys;
        const Key atEnd = At(iEnd);
        Erase(iStart, iEnd);
        const Key atStart = At(iStart);
        for (const auto& [tick, key] : source) {
            const Time_Tick at(iStart.AsInt64() + tick.AsInt64());
            if (at >= iStart && at < iEnd && (at > iStart || key != atStart)) mKeys[at] = key;
        }
        if (At(iEnd) != atEnd) mKeys[iEnd] = atEnd;
    }
};

} // namespace

TEST(KeySignatureMap, RandomEditsFollowThePlainModelCopiesSoundAlikeAndUndoRestoresEveryByte)
{
    for (unsigned seed = 1; seed <= 40; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::mt19937 random(seed);
        const auto upTo = [&](unsigned iLimit) { return static_cast<int>(random() % iLimit); };
        const auto anyKey = [&] { return Key(upTo(2), upTo(2), static_cast<Cmn_UInt8>(upTo(3))); };
        const MapPtr map(new Map(Map::kUndoable));
        Model model;
        UndoHistory history(*map);

        for (int step = 0; step < 40; ++step) {
            Map source;
            for (int i = upTo(4); i > 0; --i)
                source.SetKeySignature(Time_Tick(upTo(50) - 10), anyKey());
            const Time_Tick start(upTo(120) - 20);
            const Time_Tick end = start + Time_TickLength(upTo(50) - 5);
            const Map before(*map);
            const Map original(source);
            const bool isCopy = upTo(2) == 0;
            if (isCopy) source.Copy(&source, start, end);
            const Model sourceModel{EntriesOf(source)};
            const Key key = anyKey();
            const int which = upTo(9);
            const long size = map->size();
            const auto edit = [&](auto& ioMap, const auto* iSource) {
                if (which == 0) ioMap.Erase(start, end);
                if (which == 1) ioMap.DeleteTime(start, end);
                if (which == 2) ioMap.InsertTime(start, end - start, step % 2 != 0 ? iSource : nullptr);
                if (which == 3) ioMap.Paste(start, end, iSource);
                if (which == 4) ioMap.Paste(start, end, &ioMap);
                if (which == 5 && size != 0) ioMap.remove(step % size);
                if (which == 6) ioMap = *iSource;
                if (which > 6) ioMap.SetKeySignature(start, key);
            };
            const bool isLogged = history.Record([&] { edit(*map, &source); });
            ASSERT_TRUE(start < end || which > 4 || !isLogged);
            edit(model, &sourceModel);
            ASSERT_EQ(EntriesOf(*map), model.mKeys) << map->Dump();
            for (Time_Tick tick(-40); tick < Time_Tick(200); ++tick) {
                const Key sounds = map->GetKeySignatureAtTime(tick);
                ASSERT_EQ(sounds, model.At(tick)) << tick.Dump() << map->Dump();
                const Map& heard = tick >= start && tick < end ? original : before;
                ASSERT_TRUE(which != 3 || !isCopy || sounds == heard.GetKeySignatureAtTime(tick));
            }
            const auto first = model.mKeys.lower_bound(start);
            ASSERT_EQ(map->RangeContainsData(start, end), first != model.mKeys.end() && first->first < end);
        }
        history.ExpectEveryState();
    }
}

TEST(KeySignatureMap, EditsThatHaveNothingToDoTellNobody)
{
    const MapPtr map(new Map(Map::kUndoable));
    map->SetKeySignature(Time_Tick(0), cG);
    map->SetKeySignature(Time_Tick(100), cD);
    map->SetModified(false);
    const Entries keys = EntriesOf(*map);
    const AssertRecorder asserts;
    {
        Ndo_StOperationRecorder recorder;
        map->Erase(Time_Tick(1), Time_Tick(100));
        map->ReplaceWith(*map);
        map->Paste(Time_Tick(5), Time_Tick(6), nullptr);
        map->Copy(nullptr, Time_Tick(5), Time_Tick(6));
        map->remove(2);
        map->remove(-1);
        map->InsertTime(Time_Tick(50), Time_TickLength(cMost), nullptr);
        EXPECT_TRUE(recorder.OperationComplete()->IsEmpty() && !map->IsModified());
    }
    EXPECT_EQ(EntriesOf(*map), keys);
    std::string reports;
    for (const std::string& report : asserts.Take())
        reports += report.substr(0, report.find("@$^$@Time/Time_KeySignatureMap")) + "\n";
    EXPECT_EQ(reports, "iSource != nullptr\noDest != nullptr\nIsIndex(iIndex)\nIsIndex(iIndex)\n"
                       "the shifted entries stay in range\n");
    Ndo_StOperationRecorder recorder;
    map->SetKeySignature(Time_Tick(0), cG);
    EXPECT_FALSE(recorder.OperationComplete()->IsEmpty()) << "the same key stored again is an edit";
    EXPECT_TRUE(map->IsModified());
    const Map copy(*map);
    EXPECT_TRUE(copy.NdoIsUndoable() == Map::kNoUndo && !copy.IsModified() && EntriesOf(copy) == keys);
}

TEST(KeySignatureMap, NeighboursAreSoughtOneUnitAway)
{
    const Time_Convert::StTempoMap scope(nullptr); // 43.54 ticks to a sample at 44100 Hz, sample 0 at c1
    constexpr Time_Tick c1(1000000000000), c2 = c1 + Time_TickLength(1000), c3 = c1 + Time_TickLength(2000);
    const Time_Tick c4 = Time_Convert::GetSessionEndTime(Time_eType_Ticks).AsTick() + Time_TickLength(10);
    const Time_TickLength one(1);
    Map map;
    Time_Tick start;
    Time_Tick end;
    Key key;
    for (const Time_Tick tick : std::initializer_list<Time_Tick>{c1, c2, c3, c4})
        map.SetKeySignature(tick, Key(true, true, static_cast<Cmn_UInt8>(map.size())));
    EXPECT_TRUE(map.GetKeySignaturesRange(start, end));
    EXPECT_EQ(std::pair(start, end), std::pair(c1, c4 + one));
    const Time_Typed frameZero(0, Time_eType_Frames);
    const std::tuple<const char*, Time_Typed, Time_Tick, Time_Tick, Time_Tick> rows[] = {
        {"on an entry", c2, c1, c3, c2},
        {"one tick after it", c2 + one, c2, c3, c3},
        {"one tick before it", c2 - one, c1, c2, c2},
        {"before the session", Time_Tick(0), c1, c1, c1},
        {"after the session", c4 + one, c4, c4, c4},
        {"sample 23 is at tick 1001 of the song", Time_Sample(23), c1, c3, c3},
        {"sample 24 is a unit after it", Time_Sample(24), c2, c3, c3},
        {"frame 0 has none before the session", frameZero, c1, c4, c1},
    };
    for (const auto& [what, time, before, after, atOrAfter] : rows) {
        Time_Tick tick;
        EXPECT_TRUE(map.FindKeySignatureBeforeTime(time, tick, key) && tick == before) << what;
        EXPECT_EQ(key, map.GetKeySignatureAtTime(before)) << what;
        EXPECT_TRUE(map.FindKeySignatureAfterTime(time, tick, key, false) && tick == after) << what;
        EXPECT_EQ(key, map.GetKeySignatureAtTime(after)) << what;
        EXPECT_TRUE(map.FindKeySignatureAfterTime(time, tick, key, true) && tick == atOrAfter) << what;
    }
    map.clear();
    key = cF;
    EXPECT_FALSE(map.FindKeySignatureBeforeTime(c2, start, key));
    EXPECT_FALSE(map.FindKeySignatureAfterTime(c2, start, key, true));
    EXPECT_FALSE(map.GetKeySignaturesRange(start, end));
    EXPECT_EQ(std::tuple(start, end, key), std::tuple(c1, c4 + one, cF));
    EXPECT_EQ(map.GetKeySignatureAtTime(Time_Sample(100)), cC);
}
