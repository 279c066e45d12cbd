#include "Kora/Time/Time_KeySignatureMap.h"

#include "Bastel/Cmn/Cmn_Exception.h"
#include "Bastel/Cmn/Cmn_XMLNode.h"
#include "Bastel/Sys/Sys_TypedStream.h"
#include "Kora/Ndo/Ndo_Operation.h"
#include "Kora/Ndo/Ndo_StOperationRecorder.h"
#include "Kora/Time/Time_Convert.h"
#include "Support/AssertRecorder.h"
#include "Support/TimePrinters.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <map>
#include <random>

namespace {

using Map = Time_KeySignatureMap;
using Key = Time_KeySignature;
using Bytes = std::vector<Cmn_UInt8>;
using Entries = std::map<Cmn_Int64, Key>;

constexpr Key cC, cG(true, true, 1), cD(true, true, 2), cF(true, false, 1);
constexpr Cmn_Int64 cBase = 1000000000000; // where empty tempo and meter maps start the song

Time_Typed Ticks(Cmn_Int64 iTicks) { return Time_Typed(iTicks, Time_eType_Ticks); }

// Undoable maps leave the undo manager only through NdoDelete.
struct NdoDeleter
{
    void operator()(Map* ioMap) const { ioMap->NdoDelete(); }
};

Bytes Streamed(const Map& iMap)
{
    Sys_MemOutStream bytes;
    Sys_TypedOutStream stream(bytes);
    iMap.StreamOut(stream);
    return bytes.TakeBytes();
}

void ReadBack(Map& ioMap, const Bytes& iBytes)
{
    Sys_MemInStream bytes(iBytes);
    Sys_TypedInStream stream(bytes);
    ioMap.StreamIn(stream);
}

Entries EntriesOf(const Map& iMap)
{
    Entries entries;
    for (long i = 0; i < iMap.size(); ++i) {
        Time_Tick tick;
        Key key;
        EXPECT_TRUE(iMap.GetKeysSignature(i, tick, key) && iMap.at(i) == key);
        long index = -1;
        EXPECT_TRUE(iMap.GetIndexAtTick(tick, index) && index == i);
        EXPECT_TRUE(entries.empty() || entries.rbegin()->first < tick.AsInt64()) << iMap.Dump();
        entries[tick.AsInt64()] = key;
    }
    return entries;
}

void Put(Map& ioMap, Cmn_Int64 iTick, const Key& iKey) { ioMap.SetKeySignature(Time_Tick(iTick), iKey); }

// The same edits on a plain map, entry by entry.
Key KeyAt(const Entries& iEntries, Cmn_Int64 iTick)
{
    Key key;
    for (const auto& [tick, next] : iEntries)
        if (tick <= iTick) key = next;
    return key;
}

void Shift(Entries& ioEntries, Cmn_Int64 iFrom, Cmn_Int64 iTicks)
{
    Entries moved;
    for (const auto& [tick, key] : ioEntries)
        moved[tick >= iFrom ? tick + iTicks : tick] = key;
    ioEntries = moved;
}

void ExpectReadError(const std::string& iWhat, const Bytes& iBytes)
{
    Map map;
    Put(map, 7, cG);
    const Bytes before = Streamed(map);
    EXPECT_THROW(ReadBack(map, iBytes), Cmn_Exception) << iWhat;
    EXPECT_EQ(Streamed(map), before) << iWhat;
}

} // namespace

TEST(KeySignatureMap, RandomEditsFollowThePlainModelAndUndoRestoresEveryByte)
{
    for (unsigned seed = 1; seed <= 60; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::mt19937 random(seed);
        const std::unique_ptr<Map, NdoDeleter> map(new Map(Map::kUndoable));
        Entries model;
        std::vector<std::unique_ptr<Ndo_Operation>> undo, redo;
        std::vector<Bytes> steps = {Streamed(*map)};
        for (int step = 0; step < 40; ++step) {
            const Cmn_Int64 start = static_cast<Cmn_Int64>(random() % 120) - 20;
            const Cmn_Int64 end = start + static_cast<Cmn_Int64>(random() % 50) - 5;
            const auto isInside = [&](const auto& iEntry) {
                return iEntry.first >= start && iEntry.first < end;
            };
            const Key key(random() % 2, random() % 2, static_cast<Cmn_UInt8>(random() % 3));
            const Key keyAtEnd = KeyAt(model, end);
            Ndo_StOperationRecorder recorder;
            switch (random() % 6) {
            case 0:
                map->Erase(Time_Tick(start), Time_Tick(end));
                std::erase_if(model, isInside);
                break;
            case 1:
                map->DeleteTime(Time_Tick(start), Time_Tick(end));
                if (start >= end) break;
                std::erase_if(model, isInside);
                Shift(model, end, start - end);
                model[start] = keyAtEnd;
                break;
            case 2:
                map->InsertTime(Time_Tick(start), Time_TickLength(end - start), nullptr);
                if (start < end) Shift(model, start, end - start);
                break;
            case 3:
                if (model.empty()) break;
                model.erase(std::next(model.begin(), step % map->size()));
                map->remove(step % map->size());
                break;
            default:
                map->SetKeySignature(Time_Tick(start), key);
                model[start] = key;
            }
            undo.push_back(recorder.OperationComplete());
            steps.push_back(Streamed(*map));
            ASSERT_EQ(EntriesOf(*map), model) << map->Dump();
            for (Cmn_Int64 tick = -40; tick < 200; tick += 3)
                ASSERT_EQ(map->GetKeySignatureAtTime(Ticks(tick)), KeyAt(model, tick)) << map->Dump();
            const bool hasData = map->RangeContainsData(Time_Tick(start), Time_Tick(end));
            ASSERT_EQ(hasData, std::any_of(model.begin(), model.end(), isInside));
        }
        const auto restore = [](auto& ioFrom, auto& ioInto) {
            Ndo_StOperationRecorder recorder;
            ioFrom.back()->Restore();
            ioFrom.pop_back();
            ioInto.push_back(recorder.OperationComplete());
        };
        while (!undo.empty()) {
            restore(undo, redo);
            ASSERT_EQ(Streamed(*map), steps[undo.size()]);
        }
        while (!redo.empty()) {
            restore(redo, undo);
            ASSERT_EQ(Streamed(*map), steps[undo.size()]);
        }
    }
}

TEST(KeySignatureMap, APastedCopySoundsLikeItsOriginalAndNothingElseChanges)
{
    std::mt19937 random(7);
    for (int round = 0; round < 300; ++round) {
        const auto tick = [&] { return static_cast<Cmn_Int64>(random() % 60); };
        Map from, to, copied;
        for (int i = 0; i < 4; ++i) {
            from.SetKeySignature(Time_Tick(tick()), Key(true, true, static_cast<Cmn_UInt8>(random() % 3)));
            to.SetKeySignature(Time_Tick(tick()), Key(true, true, static_cast<Cmn_UInt8>(random() % 3)));
        }
        const Cmn_Int64 start = tick(), length = 1 + tick(), target = tick();
        from.Copy(&copied, Time_Tick(start), Time_Tick(start + length));
        Map before(to);
        if (round % 2 == 0) {
            to.Paste(Time_Tick(target), Time_Tick(target + length), &copied);
        } else {
            to.InsertTime(Time_Tick(target), Time_TickLength(length), &copied);
            before.InsertTime(Time_Tick(target), Time_TickLength(length), nullptr);
        }
        for (Cmn_Int64 at = -5; at < 200; ++at) {
            const bool isInside = at >= target && at < target + length;
            const Key expected = isInside ? from.GetKeySignatureAtTime(Ticks(at - target + start))
                                          : before.GetKeySignatureAtTime(Ticks(at));
            ASSERT_EQ(to.GetKeySignatureAtTime(Ticks(at)), expected)
                << "round " << round << " tick " << at << "\n"
                << before.Dump() << to.Dump();
        }
    }
}

TEST(KeySignatureMap, EditsThatHaveNothingToDoTellNobody)
{
    const std::unique_ptr<Map, NdoDeleter> map(new Map(Map::kUndoable));
    Put(*map, 0, cG);
    Put(*map, 100, cD);
    const Bytes before = Streamed(*map);
    map->SetModified(false);
    Map other;
    const AssertRecorder asserts;
    const auto expectSilent = [&](const char* iWhat, auto iEdit) {
        Ndo_StOperationRecorder recorder;
        iEdit();
        EXPECT_TRUE(recorder.OperationComplete()->IsEmpty()) << iWhat;
        EXPECT_FALSE(map->IsModified()) << iWhat;
    };
    const Time_TickLength most(std::numeric_limits<Cmn_Int64>::max());
    expectSilent("an erased range without entries", [&] { map->Erase(Time_Tick(1), Time_Tick(100)); });
    expectSilent("no time deleted", [&] { map->DeleteTime(Time_Tick(100), Time_Tick(100)); });
    expectSilent("no time inserted", [&] { map->InsertTime(Time_Tick(0), Time_TickLength(0), &other); });
    expectSilent("an empty range pasted", [&] { map->Paste(Time_Tick(5), Time_Tick(5), &other); });
    expectSilent("itself", [&] { map->ReplaceWith(*map); });
    expectSilent("no source", [&] { map->Paste(Time_Tick(5), Time_Tick(6), nullptr); });
    expectSilent("no destination", [&] { map->Copy(nullptr, Time_Tick(5), Time_Tick(6)); });
    expectSilent("an index past the end", [&] { map->remove(2); });
    expectSilent("a negative index", [&] { map->remove(-1); });
    expectSilent("entries out of 64 bits", [&] { map->InsertTime(Time_Tick(50), most, nullptr); });
    EXPECT_EQ(Streamed(*map), before);
    std::vector<std::string> expected = {"iSource != nullptr", "oDest != nullptr", "IsIndex(iIndex)",
                                         "IsIndex(iIndex)", "the shifted entries stay in range"};
    for (std::string& text : expected)
        text += "@$^$@Time/Time_KeySignatureMap";
    EXPECT_EQ(asserts.Take(), expected);
    Ndo_StOperationRecorder recorder;
    map->SetKeySignature(Time_Tick(0), cG);
    EXPECT_TRUE(map->IsModified()) << "the same key stored again is an edit";
    EXPECT_FALSE(recorder.OperationComplete()->IsEmpty());
}

TEST(KeySignatureMap, CopiesTakeTheKeysAlone)
{
    const std::unique_ptr<Map, NdoDeleter> map(new Map(Map::kUndoable));
    Put(*map, 0, cG);
    const Map copy(*map);
    EXPECT_EQ(copy.NdoIsUndoable(), Map::kNoUndo);
    EXPECT_FALSE(copy.IsModified());
    const Cmn_Int64 id = map->NdoGetID();
    Map other;
    Put(other, 5, cF);
    *map = other;
    EXPECT_EQ(map->NdoGetID(), id);
    EXPECT_EQ(Streamed(*map), Streamed(other));

    map->Copy(map.get(), Time_Tick(4), Time_Tick(6));
    EXPECT_EQ(map->Dump(), "2 key signatures\n  0  C major (0 sharps)\n  1  F major (1 flats)\n");
    map->Paste(Time_Tick(0), Time_Tick(2), map.get()); // C major is in force at 0 and not repeated
    map->Paste(Time_Tick(2), Time_Tick(9), &other);
    EXPECT_EQ(map->Dump(), "2 key signatures\n  1  F major (1 flats)\n  7  F major (1 flats)\n");
    map->Erase(Time_Tick(2), Time_Tick(8));
    Time_Tick start, end;
    EXPECT_TRUE(map->GetKeySignaturesRange(start, end));
    EXPECT_EQ(std::pair(start, end), std::pair(Time_Tick(1), Time_Tick(2)));
    map->clear();
    EXPECT_FALSE(map->GetKeySignaturesRange(start, end));
    EXPECT_EQ(end, Time_Tick(2));
}

TEST(KeySignatureMap, NeighboursAreSoughtOneUnitAway)
{
    const Time_Convert::StTempoMap scope(nullptr); // 43.54 ticks to a sample at 44100 Hz, sample 0 at cBase
    const Cmn_Int64 sessionEnd = Time_Convert::GetSessionEndTime(Time_eType_Ticks).AsInt64();
    constexpr Cmn_Int64 c1 = cBase, c2 = cBase + 1000, c3 = cBase + 2000;
    const Cmn_Int64 c4 = sessionEnd + 10;
    const Time_Typed frameZero(0, Time_eType_Frames);
    Map map;
    Put(map, c1, cG);
    Put(map, c2, cD);
    Put(map, c3, cF);
    Put(map, c4, cC);
    struct Row
    {
        const char* what;
        Time_Typed time;
        Cmn_Int64 before, after, atOrAfter;
    };
    const Row rows[] = {
        {"on an entry",                           Ticks(c2),        c1, c3, c2},
        {"one tick after it",                     Ticks(c2 + 1),    c2, c3, c3},
        {"one tick before it",                    Ticks(c2 - 1),    c1, c2, c2},
        {"before the session",                    Ticks(0),         c1, c1, c1},
        {"after the session",                     Ticks(c4 + 5000), c4, c4, c4},
        {"sample 23 is at tick 1001 of the song", Time_Sample(23),  c1, c3, c3},
        {"sample 24 is a unit after it",          Time_Sample(24),  c2, c3, c3},
        {"frame 0 has none before the session",   frameZero,        c1, c4, c1},
    };
    for (const auto& row : rows) {
        Time_Tick before, after, atOrAfter;
        Key key;
        EXPECT_TRUE(map.FindKeySignatureBeforeTime(row.time, before, key)) << row.what;
        EXPECT_EQ(key, map.GetKeySignatureAtTime(before)) << row.what;
        EXPECT_TRUE(map.FindKeySignatureAfterTime(row.time, after, key, false)) << row.what;
        EXPECT_EQ(key, map.GetKeySignatureAtTime(after)) << row.what;
        EXPECT_TRUE(map.FindKeySignatureAfterTime(row.time, atOrAfter, key, true)) << row.what;
        EXPECT_EQ(std::tuple(before, after, atOrAfter),
                  std::tuple(Time_Tick(row.before), Time_Tick(row.after), Time_Tick(row.atOrAfter)))
            << row.what;
    }
    map.clear();
    Time_Tick tick(5);
    Key key = cF;
    EXPECT_FALSE(map.FindKeySignatureBeforeTime(Ticks(cBase), tick, key));
    EXPECT_FALSE(map.FindKeySignatureAfterTime(Ticks(cBase), tick, key, true));
    EXPECT_EQ(std::pair(tick, key), std::pair(Time_Tick(5), cF));
    EXPECT_EQ(map.GetKeySignatureAtTime(Time_Sample(100)), cC);
}

TEST(KeySignatureMap, DamagedStreamsAreRefusedAndChangeNothing)
{
    Map map;
    Put(map, -5, cG);
    Put(map, 4, Key(false, true, 255));
    Put(map, 5, cD);
    Put(map, std::numeric_limits<Cmn_Int64>::max(), cF);
    const Bytes good = Streamed(map);
    Map back;
    ReadBack(back, good);
    EXPECT_EQ(EntriesOf(back), EntriesOf(map));
    EXPECT_EQ(Streamed(back), good);

    const std::size_t body = good.size() - 4 - 4 * 11;
    for (std::size_t length = 0; length < good.size(); ++length)
        ExpectReadError("cut at " + std::to_string(length), Bytes(good.data(), good.data() + length));
    struct Row
    {
        const char* what;
        std::size_t offset;
        Cmn_UInt8 value;
    };
    const Row rows[] = {
        {"a negative count",                body + 3,          0xFF},
        {"more entries than bytes",         body,              5   },
        {"the tick of the entry before it", body + 4 + 2 * 11, 4   },
        {"a bool that is neither",          body + 4 + 8,      2   },
        {"another name",                    5,                 'X' },
        {"a later version",                 5 + 13,            2   },
    };
    for (const auto& row : rows) {
        Bytes bad = good;
        bad[row.offset] = row.value;
        ExpectReadError(row.what, bad);
    }
    for (std::size_t at = 0; at < good.size(); ++at) {
        Bytes bad = good;
        bad[at] ^= 0x41;
        try {
            ReadBack(back, bad);
        } catch (const Cmn_Exception&) {
        }
        EntriesOf(back); // in order, whatever was read
    }
}
