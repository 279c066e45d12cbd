// The streams of the three maps, all by the same test.
#include "Kora/Time/Key/Time_KeySignatureMap.h"
#include "Kora/Time/Tempo/Time_ConstantTempoSeg.h"
#include "Kora/Time/Tempo/Time_TempoMap.h"
#include "Support/AllocationCounter.h"
#include "Support/MeterMapText.h"
#include "Time/TimeFixture.h"

namespace {

// iOne comes back byte for byte. Cut anywhere it is refused, and iOther stays; with a byte changed, refused
// or sound: iExpectSound gets the map and the bytes that it was read from.
template <class Map>
void ExpectStreams(const Map& iOne, const Map& iOther,
                   const std::function<void(Map&, const Bytes&)>& iExpectSound)
{
    const AssertRecorder asserts; // what reads need be no map that a document holds
    const Bytes good = Streamed(iOne), other = Streamed(iOther);
    Map back = iOther;
    const auto isRefused = [&](const Bytes& iBytes) {
        Map read = iOther;
        const AllocationCounter allocations;
        try {
            ReadBack(read, iBytes);
        } catch (const Cmn_Exception&) {
            EXPECT_LT(allocations.Largest(), 10000U) << "no count is believed";
            EXPECT_EQ(Streamed(read), other);
            return true;
        }
        iExpectSound(read, iBytes);
        return false;
    };
    for (std::size_t at = 0; at < good.size(); ++at) {
        EXPECT_TRUE(isRefused(Bytes(good.data(), good.data() + at))) << "cut at " << at;
        for (const int mask : {0x01, 0x02, 0x40, 0x80, 0xFF}) {
            Bytes bad = good;
            bad[at] ^= static_cast<Cmn_UInt8>(mask);
            isRefused(bad);
        }
    }
    Bytes more = good;
    more.resize(good.size() + 9, 1); // what lies behind belongs to somebody else
    EXPECT_EQ(ReadBack(back, more), static_cast<Cmn_Int64>(good.size()));
    EXPECT_EQ(Streamed(back), good);
    iExpectSound(back, good);
}

} // namespace

TEST(MapStream, KeysComeBackOrAreRefused)
{
    Time_KeySignatureMap one;
    Time_KeySignatureMap other;
    for (const Cmn_Int64 tick : std::initializer_list<Cmn_Int64>{-5, 4, 5, cMost})
        one.SetKeySignature(Time_Tick(tick), {false, true, static_cast<Cmn_UInt8>(tick)});
    other.SetKeySignature(Time_Tick(4), {true, true, 3});
    ExpectStreams<Time_KeySignatureMap>(one, other, [](auto& iMap, const Bytes& iBytes) {
        Time_Tick tick;
        Time_Tick before;
        Time_KeySignature key;
        for (long i = 0; iMap.GetKeysSignature(i, tick, key); before = tick)
            ASSERT_TRUE(i++ == 0 || before < tick) << iMap.Dump();
        const Bytes again = Streamed(iMap);
        const bool isWhole = again.size() == iBytes.size();
        ASSERT_TRUE(!isWhole || std::equal(again.end() - 48, again.end(), iBytes.end() - 48));
    });
}

TEST(MapStream, KeysOfALaterVersionAreRefused)
{
    Time_KeySignatureMap map;
    Bytes later = Streamed(map);
    later[5 + 13] = 2;
    EXPECT_THROW(ReadBack(map, later), Cmn_DocumentTooNewException);
}

TEST(MapStream, MetersComeBackOrAreRefused)
{
    Time_MeterMap one = MakeMeterMap("-2| 4/4   3| 6/8   9| 3/4   14| 5/16 @50+7");
    one.AddMeterChange(At(60), Time_Meter(2, 4, {Time_eNoteDuration_Half, true}), 0);
    one.AddMeterChange(At(60, 1), Time_Meter(3, 4)); // one bit beside the one before
    one.SetSongStartTick(At(4));
    ExpectStreams<Time_MeterMap>(one, MakeMeterMap("1| 4/4   2| 3/4"), [](auto& ioMap, const Bytes&) {
        ASSERT_EQ(ioMap.FindBrokenInvariant(), "");
        static_cast<void>(ioMap.ComputeDurationBetween(At(0), At(1000)));
        ioMap.InsertTime(At(3), Time_TickLength(100));
    });
}

TEST(MapStream, TemposComeBackOrAreRefused)
{
    Time_TempoMap one;
    Time_TempoMap other;
    for (const int second : {1, 0}) { // the lock first that ends the computed one
        auto segment = std::make_unique<Time_ConstantTempoSeg>(At(second), 77.0);
        segment->LockToSample(Time_Sample(48000 * second));
        segment->SetIsComputed(second == 0);
        one.AddSegment(std::move(segment));
    }
    other.AddSegment(std::make_unique<Time_ConstantTempoSeg>(At(0), 99.0));
    ExpectStreams<Time_TempoMap>(one, other,
                                 [](auto& iMap, const Bytes&) { EXPECT_GT(iMap.GetSerialSize(), 0); });
}
