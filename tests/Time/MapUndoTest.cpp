// What undo keeps of the three maps, by one script: states of any age are put back, in any order, into the
// map or another one, between edits, copies and replacements.
#include "Kora/Ndo/Ndo_State.h"
#include "Kora/Time/Key/Time_KeySignatureMap.h"
#include "Kora/Time/Meter/Time_MeterMap.h"
#include "Support/AllocationCounter.h"
#include "Time/Tempo/TempoMapTools.h"

namespace {

using Random = std::mt19937_64;

Time_Tick AnyTick(Random& ioRandom)
{
    return Time_Tick(cStart + static_cast<Cmn_Int64>(ioRandom() % 2000) * cQuarter);
}

void Edit(Time_KeySignatureMap& ioMap, Random& ioRandom)
{
    const Time_Tick from = AnyTick(ioRandom),
                    to = from + Time_TickLength(static_cast<Cmn_Int64>(ioRandom() % 9) * cQuarter);
    const unsigned choice = ioRandom() % 12;
    if (choice == 0) return ioMap.Erase(from, to);
    if (choice == 1) return ioMap.DeleteTime(from, to);
    if (choice == 2) return ioMap.InsertTime(from, to - from, nullptr);
    if (choice == 3) return ioMap.Paste(from, to, &ioMap);
    ioMap.SetKeySignature(from,
                          {ioRandom() % 2 == 0, ioRandom() % 2 == 0, static_cast<Cmn_UInt8>(ioRandom() % 8)});
}

void Edit(Time_MeterMap& ioMap, Random& ioRandom)
{
    const Time_Tick from = AnyTick(ioRandom),
                    to = from + Time_TickLength(static_cast<Cmn_Int64>(ioRandom() % 9) * cQuarter);
    const Time_Meter meter(1 + static_cast<Cmn_Int32>(ioRandom() % 12), 4);
    const unsigned choice = ioRandom() % 24;
    Time_MeterMap clip;
    if (choice == 0) return ioMap.Erase(from, to);
    if (choice == 1) return ioMap.DeleteTime(from, to);
    if (choice == 2) return ioMap.InsertTime(from, to - from + Time_TickLength(cQuarter));
    if (choice == 3) return ioMap.SetSongStartTick(from);
    if (choice == 4) return ioMap.RenumberBars(3);
    if (choice == 5) return ioMap.RealignExistingMeterChangesToBBT(from);
    const auto there =
        ioMap.IterBegin() + static_cast<std::ptrdiff_t>(ioRandom() % ioMap.GetNumberOfChanges());
    if (choice == 6 || choice > 18) return ioMap.AddMeterChange(there->GetTick(), meter, 7);
    if (choice == 7) return ioMap.RemoveMeterChange(ioMap.IterBegin()->GetTick());
    if (choice == 8) return ioMap.Copy(&ioMap, from, ioMap.GetTickOfLastChange());
    if (choice == 9) ioMap.Copy(&clip, from, to + Time_TickLength(30 * cQuarter));
    if (choice == 9)
        return ioMap.Paste(AnyTick(ioRandom), AnyTick(ioRandom) + Time_TickLength(2000 * cQuarter), &clip);
    if (choice > 12) return ioMap.AddMeterChange(from, meter);
    ioMap.BeginEdit();
    for (int i = 0; i < 5; ++i)
        ioMap.AddMeterChange(AnyTick(ioRandom), meter);
    ioMap.EndEdit();
}

std::unique_ptr<Time_TempoMapSegment> AnySegment(Random& ioRandom)
{
    const Time_Tick tick = AnyTick(ioRandom);
    const bool isLocked = ioRandom() % 9 == 0;
    return SegmentRow{.mTick = tick.AsInt64(),
                      .mBpm = 60 + static_cast<double>(ioRandom() % 90),
                      .mLocked = isLocked,
                      .mComputed = ioRandom() % 9 == 0,
                      .mUnspecified = ioRandom() % 20 == 0,
                      .mSample = (tick.AsInt64() - cStart) / 40}
        .Make();
}

void Edit(Time_TempoMap& ioMap, Random& ioRandom)
{
    const Time_Tick from = AnyTick(ioRandom),
                    to = from + Time_TickLength(static_cast<Cmn_Int64>(ioRandom() % 9) * cQuarter);
    const unsigned choice = ioRandom() % 12;
    if (choice == 0) return ioMap.EraseSegments(from, to);
    if (choice == 1) return ioMap.EraseLockedSegmentsBySample(Time_Sample(0), Time_Sample(9000000));
    if (choice == 2) return ioMap.EnsureSongStart();
    ioMap.BeginEdit();
    for (std::size_t i = choice == 3 ? 5 : 1; i > 0; --i)
        ioMap.AddSegment(AnySegment(ioRandom));
    ioMap.EndEdit();
}

void EditOne(Time_KeySignatureMap& ioMap, Random& ioRandom)
{
    ioMap.SetKeySignature(AnyTick(ioRandom), {true, true, 3});
}
void EditOne(Time_MeterMap& ioMap, Random& ioRandom)
{
    ioMap.AddMeterChange(AnyTick(ioRandom), Time_Meter(3, 4));
}
void EditOne(Time_TempoMap& ioMap, Random& ioRandom)
{
    ioMap.AddSegment(SegmentRow{.mTick = AnyTick(ioRandom).AsInt64()}.Make());
}

template <class Map>
void Fill(Map& ioMap, std::size_t iCount, Random& ioRandom)
{
    constexpr bool cHasBrackets = requires { ioMap.BeginEdit(); };
    if constexpr (cHasBrackets) ioMap.BeginEdit();
    for (std::size_t i = 0; i < iCount; ++i)
        EditOne(ioMap, ioRandom);
    if constexpr (cHasBrackets) ioMap.EndEdit();
}

// All that shows of a map.
template <class Map>
std::string Shown(const Map& iMap)
{
    return iMap.Dump();
}
std::string Shown(const Time_TempoMap& iMap)
{
    const Bytes bytes = Streamed(iMap);
    const Lines lines = LinesOf(iMap.GetBasicTempoMap());
    return std::string(bytes.begin(), bytes.end()) +
           std::string(reinterpret_cast<const char*>(lines.data()), lines.size() * sizeof(Line));
}

template <class Map>
class MapUndo : public testing::Test
{
protected:
    // What a snapshot of the whole map would bring back.
    struct Kept
    {
        std::unique_ptr<Ndo_State> mState;
        std::string mShown;
    };
    Kept Keep()
    {
        Map whole;
        if constexpr (requires { whole.SetSampleRate(1.0); })
            whole.ReplaceWith(*mMap); // which asserts nothing
        else
            ReadBack(whole, Streamed(*mMap));
        return {std::unique_ptr<Ndo_State>(mMap->NdoGetState()), Shown(whole)};
    }
    void Restore(Map& ioMap, const Kept& iKept)
    {
        ioMap.NdoRestoreState(iKept.mState.get());
        ASSERT_TRUE(Shown(ioMap) == iKept.mShown) << ioMap.Dump();
    }
    // Each allocation is refused once: the map stays as it was, or what is restored is there.
    void RestoreWithoutMemory(const Kept& iKept)
    {
        bool isRefused = true;
        for (long long nth = 1; isRefused; ++nth) {
            const Kept before = Keep();
            const std::string shown = Shown(*mMap);
            bool isThrown = false;
            try {
                const StRefusedAllocation refused(nth);
                mMap->NdoRestoreState(iKept.mState.get());
                isRefused = refused.HasCome();
            } catch (const std::bad_alloc&) {
                isThrown = true;
            }
            ASSERT_TRUE(Shown(*mMap) == (isThrown ? shown : iKept.mShown)) << nth << mMap->Dump();
            Restore(*mMap, before);
        }
    }
    void Script(unsigned iSeed)
    {
        Random random(iSeed);
        mMap = std::make_unique<Map>();
        std::vector<Kept> states;
        Edit(*mMap, random);
        const bool isSmall = random() % 2 == 0;
        Fill(*mMap, isSmall ? 0 : 900, random);
        for (int step = 0; step < 50 && !testing::Test::HasFailure(); ++step) {
            states.push_back(Keep());
            Kept& any = states[random() % 2 == 0 ? states.size() - 1 : random() % states.size()];
            const unsigned choice = random() % 16;
            Map other(*mMap);
            if (choice < 5) Restore(*mMap, any);
            if (choice == 5) Restore(other, any);
            if (choice == 6) mMap->ReplaceWith(other);
            if (choice == 7) mMap = std::make_unique<Map>(other);
            if (choice == 8) std::swap(any, states.back()), states.pop_back();
            if (choice == 9 && isSmall) RestoreWithoutMemory(any);
            if (choice > 7) Edit(*mMap, random);
        }
        for (const Kept& kept : states)
            Restore(*mMap, kept);
        mMap = nullptr; // states outlive it
        for (const Kept& kept : states) {
            const std::unique_ptr<Ndo_Object> made(kept.mState->NdoCreateObject());
            Restore(dynamic_cast<Map&>(*made), kept);
        }
    }

    std::unique_ptr<Map> mMap;
};
using Maps = testing::Types<Time_KeySignatureMap, Time_MeterMap, Time_TempoMap>;
TYPED_TEST_SUITE(MapUndo, Maps);

} // namespace

TYPED_TEST(MapUndo, StatesOfAnyAgeBringBackWhatTheWholeMapWas)
{
    const AssertRecorder asserts; // locks out of order
    for (unsigned seed = 0; seed < 10 && !testing::Test::HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        this->Script(seed);
    }
    for (const std::string& report : asserts.Take())
        ASSERT_EQ(report.find("what did not change"), std::string::npos) << report;
}

// A stretch, and a pointer to each of the others.
TYPED_TEST(MapUndo, AStepAmidManyChangesTakesWhatItChanged)
{
    constexpr std::size_t cLongest = 192;
    constexpr std::size_t cShortest = 48;
    constexpr std::size_t cWidest = 48;
    const AssertRecorder asserts;
    Random random(1);
    TypeParam map;
    Fill(map, 4000, random);
    std::size_t steps = 0;
    std::size_t bytes = 0;
    for (int i = 0; i < 50; ++i) {
        const std::unique_ptr<Ndo_State> state(map.NdoGetState());
        const AllocationCounter allocations;
        const std::unique_ptr<Ndo_State> same(map.NdoGetState());
        ASSERT_LE(allocations.Count(), 1);
        if (i > 0) bytes += state->NdoGetByteCount();
        steps += i > 0;
        EditOne(map, random);
    }
    EXPECT_LT(bytes / steps, cLongest * cWidest + 2000 / cShortest * sizeof(void*) + 200);
}
