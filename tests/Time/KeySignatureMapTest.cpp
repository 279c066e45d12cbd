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

void Fill(Map& ioMap, const Entries& iEntries)
{
    for (const auto& [tick, key] : iEntries)
        ioMap.SetKeySignature(Time_Tick(tick), key);
}

// A plain map that does each edit entry by entry.
struct Model
{
    Entries keys;

    Key At(Cmn_Int64 iTick) const
    {
        Key key;
        for (const auto& [tick, next] : keys)
            if (tick <= iTick) key = next;
        return key;
    }
    void Erase(Cmn_Int64 iStart, Cmn_Int64 iEnd)
    {
        std::erase_if(keys,
                      [=](const auto& iEntry) { return iEntry.first >= iStart && iEntry.first < iEnd; });
    }
    void Shift(Cmn_Int64 iFrom, Cmn_Int64 iTicks)
    {
        Entries moved;
        for (const auto& [tick, key] : keys)
            moved[tick >= iFrom ? tick + iTicks : tick] = key;
        keys = moved;
    }
    void DeleteTime(Cmn_Int64 iStart, Cmn_Int64 iEnd)
    {
        if (iStart >= iEnd) return;
        const Key atEnd = At(iEnd);
        Erase(iStart, iEnd);
        Shift(iEnd, iStart - iEnd);
        keys[iStart] = atEnd;
    }
    void InsertTime(Cmn_Int64 iAt, Cmn_Int64 iLength, const Entries& iSource)
    {
        if (iLength < 1) return;
        Shift(iAt, iLength);
        if (!iSource.empty()) Paste(iAt, iAt + iLength, iSource);
    }
    void Paste(Cmn_Int64 iStart, Cmn_Int64 iEnd, const Entries& iSource)
    {
        if (iStart >= iEnd) return;
        const Key atEnd = At(iEnd);
        Erase(iStart, iEnd);
        const Key atStart = At(iStart);
        for (const auto& [tick, key] : iSource)
            if (tick >= 0 && tick < iEnd - iStart && (tick > 0 || key != atStart)) keys[iStart + tick] = key;
        if (At(iEnd) != atEnd) keys[iEnd] = atEnd;
    }
};

void ExpectReadError(const char* iWhat, const Bytes& iBytes)
{
    Map map;
    Fill(map, {
                  {7, cG}
    });
    EXPECT_THROW(ReadBack(map, iBytes), Cmn_Exception) << iWhat;
    EXPECT_EQ(EntriesOf(map), (Entries{
                                  {7, cG}
    }))
        << iWhat;
}

} // namespace

TEST(KeySignatureMap, RandomEditsFollowThePlainModelAndUndoRestoresEveryByte)
{
    for (unsigned seed = 1; seed <= 40; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::mt19937 random(seed);
        const auto upTo = [&](int iLimit) {
            return static_cast<int>(random() % static_cast<unsigned>(iLimit));
        };
        const auto anyKey = [&] { return Key(upTo(2), upTo(2), static_cast<Cmn_UInt8>(upTo(3))); };
        const std::unique_ptr<Map, NdoDeleter> map(new Map(Map::kUndoable));
        Model model;
        std::vector<std::unique_ptr<Ndo_Operation>> undo, redo;
        std::vector<Bytes> steps = {Streamed(*map)};

        for (int step = 0; step < 40; ++step) {
            Map source;
            for (int i = upTo(4); i > 0; --i)
                source.SetKeySignature(Time_Tick(upTo(50) - 10), anyKey());
            const Entries sourceKeys = EntriesOf(source);
            const Cmn_Int64 start = upTo(120) - 20, end = start + upTo(50) - 5;
            const Time_Tick startTick(start), endTick(end);
            const Key key = anyKey();
            Ndo_StOperationRecorder recorder;
            switch (upTo(8)) {
            case 0:
                map->Erase(startTick, endTick);
                model.Erase(start, end);
                break;
            case 1:
                map->DeleteTime(startTick, endTick);
                model.DeleteTime(start, end);
                break;
            case 2:
                map->InsertTime(startTick, endTick - startTick, step % 2 != 0 ? &source : nullptr);
                model.InsertTime(start, end - start, step % 2 != 0 ? sourceKeys : Entries());
                break;
            case 3:
                map->Paste(startTick, endTick, &source);
                model.Paste(start, end, sourceKeys);
                break;
            case 4:
                map->Paste(startTick, endTick, map.get());
                model.Paste(start, end, Entries(model.keys));
                break;
            case 5:
                if (map->size() == 0) break;
                model.keys.erase(std::next(model.keys.begin(), step % map->size()));
                map->remove(step % map->size());
                break;
            default:
                map->SetKeySignature(startTick, key);
                model.keys[start] = key;
            }
            undo.push_back(recorder.OperationComplete());
            steps.push_back(Streamed(*map));
            ASSERT_EQ(EntriesOf(*map), model.keys) << map->Dump();
            for (Cmn_Int64 tick = -40; tick < 200; tick += 3)
                ASSERT_EQ(map->GetKeySignatureAtTime(Ticks(tick)), model.At(tick)) << tick << "\n"
                                                                                   << map->Dump();
            const auto isInside = [&](const auto& iEntry) {
                return iEntry.first >= start && iEntry.first < end;
            };
            ASSERT_EQ(map->RangeContainsData(startTick, endTick), std::ranges::any_of(model.keys, isInside));
        }
        const auto restore = [](auto& ioFrom, auto& ioInto) {
            Ndo_StOperationRecorder recorder;
            ioFrom.back()->Restore();
            ioFrom.pop_back();
            ioInto.push_back(recorder.OperationComplete());
        };
        for (std::size_t step = undo.size(); step-- > 0;) {
            restore(undo, redo);
            ASSERT_EQ(Streamed(*map), steps[step]);
        }
        for (std::size_t step = 1; !redo.empty(); ++step) {
            restore(redo, undo);
            ASSERT_EQ(Streamed(*map), steps[step]);
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
        const Map before(to);
        to.Paste(Time_Tick(target), Time_Tick(target + length), &copied);
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
    const Entries keys = {
        {0,   cG},
        {100, cD}
    };
    Fill(*map, keys);
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
    expectSilent("a range that ends before it starts", [&] { map->Erase(Time_Tick(101), Time_Tick(0)); });
    expectSilent("no time deleted", [&] { map->DeleteTime(Time_Tick(100), Time_Tick(100)); });
    expectSilent("no time inserted", [&] { map->InsertTime(Time_Tick(0), Time_TickLength(0), &other); });
    expectSilent("an empty range pasted", [&] { map->Paste(Time_Tick(5), Time_Tick(5), &other); });
    expectSilent("itself", [&] { map->ReplaceWith(*map); });
    expectSilent("no source", [&] { map->Paste(Time_Tick(5), Time_Tick(6), nullptr); });
    expectSilent("no destination", [&] { map->Copy(nullptr, Time_Tick(5), Time_Tick(6)); });
    expectSilent("an index past the end", [&] { map->remove(2); });
    expectSilent("a negative index", [&] { map->remove(-1); });
    expectSilent("entries out of 64 bits", [&] { map->InsertTime(Time_Tick(50), most, nullptr); });
    EXPECT_EQ(EntriesOf(*map), keys);
    EXPECT_EQ(asserts.Take(),
              std::vector<std::string>({"iSource != nullptr@$^$@Time/Time_KeySignatureMap",
                                        "oDest != nullptr@$^$@Time/Time_KeySignatureMap",
                                        "IsIndex(iIndex)@$^$@Time/Time_KeySignatureMap",
                                        "IsIndex(iIndex)@$^$@Time/Time_KeySignatureMap",
                                        "the shifted entries stay in range@$^$@Time/Time_KeySignatureMap"}));
    Ndo_StOperationRecorder recorder;
    map->SetKeySignature(Time_Tick(0), cG);
    EXPECT_TRUE(map->IsModified()) << "the same key stored again is an edit";
    EXPECT_FALSE(recorder.OperationComplete()->IsEmpty());
}

TEST(KeySignatureMap, CopiesTakeTheKeysAlone)
{
    const std::unique_ptr<Map, NdoDeleter> map(new Map(Map::kUndoable));
    Fill(*map, {
                   {0, cG}
    });
    const Map copy(*map);
    EXPECT_EQ(copy.NdoIsUndoable(), Map::kNoUndo);
    EXPECT_FALSE(copy.IsModified());
    const Cmn_Int64 id = map->NdoGetID();
    Map other;
    Fill(other, {
                    {5, cF}
    });
    *map = other;
    EXPECT_EQ(map->NdoGetID(), id);
    EXPECT_EQ(EntriesOf(*map), EntriesOf(other));
    map->Copy(map.get(), Time_Tick(4), Time_Tick(6));
    EXPECT_EQ(EntriesOf(*map), (Entries{
                                   {0, cC},
                                   {1, cF}
    }));
    Time_Tick start, end;
    EXPECT_TRUE(map->GetKeySignaturesRange(start, end));
    EXPECT_EQ(std::pair(start, end), std::pair(Time_Tick(0), Time_Tick(2)));
    map->clear();
    EXPECT_FALSE(map->GetKeySignaturesRange(start, end));
    EXPECT_EQ(end, Time_Tick(2));
}

TEST(KeySignatureMap, NeighboursAreSoughtOneUnitAway)
{
    const Time_Convert::StTempoMap scope(nullptr); // 43.54 ticks to a sample at 44100 Hz, sample 0 at cBase
    const Cmn_Int64 sessionEnd = Time_Convert::GetSessionEndTime(Time_eType_Ticks).AsInt64();
    constexpr Cmn_Int64 cNone = -1, c1 = cBase, c2 = cBase + 1000, c3 = cBase + 2000;
    const Cmn_Int64 c4 = sessionEnd + 10;
    const Time_Typed frameZero(0, Time_eType_Frames);
    Map map;
    Fill(map, {
                  {c1, cG},
                  {c2, cD},
                  {c3, cF},
                  {c4, cC}
    });
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
        const auto found = [&](auto iSearch) {
            Time_Tick tick(cNone);
            Key key;
            if (!iSearch(tick, key)) return tick.AsInt64();
            EXPECT_EQ(key, map.GetKeySignatureAtTime(tick)) << row.what;
            return tick.AsInt64();
        };
        const auto before = [&](Time_Tick& oTick, Key& oKey) {
            return map.FindKeySignatureBeforeTime(row.time, oTick, oKey);
        };
        const auto after = [&](bool iInclude) {
            return [&, iInclude](Time_Tick& oTick, Key& oKey) {
                return map.FindKeySignatureAfterTime(row.time, oTick, oKey, iInclude);
            };
        };
        EXPECT_EQ(found(before), row.before) << row.what;
        EXPECT_EQ(found(after(false)), row.after) << row.what;
        EXPECT_EQ(found(after(true)), row.atOrAfter) << row.what;
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
    constexpr Cmn_Int64 cLast = std::numeric_limits<Cmn_Int64>::max();
    Fill(map, {
                  {-5,    cG       },
                  {4,     Key(false, true, 255)},
                  {5, cD         },
                  {cLast,   cF  }
    });
    const Bytes good = Streamed(map);
    Map back;
    ReadBack(back, good);
    EXPECT_EQ(EntriesOf(back), EntriesOf(map));
    EXPECT_EQ(Streamed(back), good);

    const std::size_t body = good.size() - 4 - 4 * 11;
    for (std::size_t length = 0; length < good.size(); ++length)
        ExpectReadError(("cut at " + std::to_string(length)).c_str(),
                        Bytes(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(length)));
    struct Row
    {
        const char* what;
        std::size_t offset;
        Cmn_UInt8 value;
    };
    const Row rows[] = {
        {"a negative count",                body + 3,          0xFF},
        {"more entries than bytes",         body,              5   },
        {"2^24 entries",                    body + 3,          1   },
        {"the tick of the entry before it", body + 4 + 2 * 11, 4   },
        {"a tick below that",               body + 4 + 2 * 11, 3   },
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
