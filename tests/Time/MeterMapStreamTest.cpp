#include "Support/AssertRecorder.h"
#include "Support/MeterMapText.h"
#include "Support/TimePrinters.h"

#include "Bastel/Cmn/Cmn_Exception.h"
#include "Bastel/Cmn/Cmn_XMLNode.h"
#include "Bastel/Sys/Sys_StdStreamHeader.h"

#include <gtest/gtest.h>

#include <functional>

namespace {

using Bytes = std::vector<Cmn_UInt8>;

Bytes StreamedOut(const Time_MeterMap& iMap)
{
    Sys_MemOutStream bytes;
    Sys_TypedOutStream stream(bytes);
    iMap.StreamOut(stream);
    return bytes.TakeBytes();
}

// How many bytes the map took.
Cmn_Int64 StreamInto(Time_MeterMap& ioMap, const Bytes& iBytes)
{
    Sys_MemInStream bytes(iBytes);
    Sys_TypedInStream stream(bytes);
    ioMap.StreamIn(stream);
    return stream.GetPosition();
}

Bytes Written(Cmn_Int16 iVersion, const std::function<void(Sys_TypedOutStream&)>& iBody)
{
    Sys_MemOutStream bytes;
    Sys_TypedOutStream stream(bytes);
    Sys_StdStreamHeaderWriter header(stream, "Meter", iVersion);
    iBody(stream);
    header.PatchSize();
    return bytes.TakeBytes();
}

void WriteChange(Sys_TypedOutStream& ioStream, Cmn_Int64 iTick, Cmn_Int32 iNumerator, Cmn_Int32 iDenominator,
                 Cmn_Int32 iClickCode = 3)
{
    ioStream.WriteInt64(iTick);
    ioStream.WriteInt32(1);
    ioStream.WriteInt32(iNumerator);
    ioStream.WriteInt32(iDenominator);
    ioStream.WriteInt16(1); // the click, version 1
    ioStream.WriteInt32(iClickCode);
    ioStream.WriteBool(false);
    ioStream.WriteBool(false);
    ioStream.WriteInt32(2);
    ioStream.WriteInt32(3);
}

Time_MeterMap Sample()
{
    Time_MeterMap map = MakeMeterMap("-2| 4/4   3| 6/8   9| 3/4   14| 5/16 @50+7");
    map.AddMeterChange(At(60), Time_Meter(2, 4, Time_NotationDurationValue(Time_eNoteDuration_Half, true)),
                       0);
    map.SetSongStartTick(At(4));
    return map;
}

} // namespace

TEST(MeterMapStream, TheStreamHasItsFieldsInOrder)
{
    Time_MeterMap map = MakeMeterMap("7| 4/4   8| 3/4");
    map.SetSongStartTick(At(0));
    const Bytes expected = Written(2, [](Sys_TypedOutStream& ioStream) {
        ioStream.WriteInt32(2);
        for (const Cmn_Int32 bar : {7, 8}) {
            ioStream.WriteInt64(At((bar - 7) * 4).AsInt64());
            ioStream.WriteInt32(bar);
            ioStream.WriteInt32(bar == 7 ? 4 : 3);
            ioStream.WriteInt32(4);
            Time_NotationDurationValue().StreamOut(ioStream);
        }
        for (const Cmn_Int32 bar : {7, 8}) {
            ioStream.WriteInt32(bar);
            ioStream.WriteInt32(1);
            ioStream.WriteInt64(0);
        }
        ioStream.WriteInt64(At(0).AsInt64());
    });
    EXPECT_EQ(StreamedOut(map), expected);
}

TEST(MeterMapStream, OutInAndOutAgainGivesTheSameBytes)
{
    for (const Time_MeterMap& map : {Sample(), MakeMeterMap("1| 4/4"), Time_MeterMap()}) {
        const Bytes bytes = StreamedOut(map);
        Time_MeterMap copy = MakeMeterMap("5| 7/8   6| 2/4");
        EXPECT_EQ(StreamInto(copy, bytes), static_cast<Cmn_Int64>(bytes.size()));
        EXPECT_EQ(StreamedOut(copy), bytes);
        EXPECT_EQ(copy.Dump(), map.Dump());
        EXPECT_EQ(copy.FindBrokenInvariant(), "");
    }
}

TEST(MeterMapStream, ShorterBodiesKeepWhatTheyDoNotHave)
{
    const Bytes changesOnly = Written(2, [](Sys_TypedOutStream& ioStream) {
        ioStream.WriteInt32(1);
        WriteChange(ioStream, At(0).AsInt64(), 3, 4);
    });
    Time_MeterMap map = Sample();
    StreamInto(map, changesOnly);
    EXPECT_EQ(ToText(map), "1| 3/4 @0");
    EXPECT_EQ(map.IterBegin()->GetBBT(), Time_BarBeatTick(1, 1, Time_TickLength(0)));
    EXPECT_EQ(map.GetSongStartTick(), At(4));

    const Bytes versionOne = Written(1, [](Sys_TypedOutStream& ioStream) { ioStream.WriteInt64(-1); });
    EXPECT_EQ(StreamInto(map, versionOne), static_cast<Cmn_Int64>(versionOne.size())); // skipped whole
    EXPECT_EQ(ToText(map), "1| 3/4 @0");
}

TEST(MeterMapStream, WhatNoMapWritesIsRefusedAndTheMapStays)
{
    const auto one = [](Cmn_Int32 iNumerator, Cmn_Int32 iDenominator, Cmn_Int32 iClickCode) {
        return [=](Sys_TypedOutStream& ioStream) {
            ioStream.WriteInt32(1);
            WriteChange(ioStream, 5, iNumerator, iDenominator, iClickCode);
        };
    };
    const auto two = [](Cmn_Int64 iSecondTick) {
        return [=](Sys_TypedOutStream& ioStream) {
            ioStream.WriteInt32(2);
            WriteChange(ioStream, 5, 4, 4);
            WriteChange(ioStream, iSecondTick, 4, 4);
        };
    };
    const auto count = [](Cmn_Int32 iCount) {
        return [=](Sys_TypedOutStream& ioStream) {
            ioStream.WriteInt32(iCount);
            WriteChange(ioStream, 5, 4, 4);
        };
    };
    const struct
    {
        const char* mName;
        std::function<void(Sys_TypedOutStream&)> mBody;
        // clang-format off
        } cCases[] = {
            {"a negative count", count(-1)},
            {"one change more than the body holds", count(2)},
            {"more changes than memory", count(2147483647)},
            {"no count", [](Sys_TypedOutStream&) {}},
            {"numerator 0", one(0, 4, 3)},
            {"denominator 0", one(4, 0, 3)},
            {"denominator -4", one(4, -4, 3)},
            {"a beat below one tick", one(4, 3840001, 3)},
            {"a click that is no note", one(4, 4, 8)},
            {"two changes at one tick", two(5)},
            {"descending ticks", two(4)},
            {"half a BBT", [=](Sys_TypedOutStream& ioStream) {one(4, 4, 3)(ioStream), ioStream.WriteInt64(1);}},
            {"half a song start", [](Sys_TypedOutStream& ioStream) {ioStream.WriteInt64(0);}},
        };
    // clang-format on
    for (const auto& row : cCases) {
        Time_MeterMap map = Sample();
        const std::string before = map.Dump();
        Bytes bytes = Written(2, row.mBody);
        bytes.resize(bytes.size() + 200, 1); // what lies behind the body is not the map's
        EXPECT_THROW(StreamInto(map, bytes), Sys_StreamReadException) << row.mName;
        EXPECT_EQ(map.Dump(), before) << row.mName;
    }
    Time_MeterMap map = Sample();
    EXPECT_THROW(StreamInto(map, Written(3, two(6))), Cmn_DocumentTooNewException);
}

// Whatever a byte is changed to, and wherever the stream ends: the map is a sound one, or what it was.
TEST(MeterMapStream, DamagedBytesNeverBreakAMap)
{
    const Bytes good = StreamedOut(Sample());
    int refused = 0;
    const auto tryOut = [&refused](const Bytes& iBytes) {
        const AssertRecorder asserts; // inserting time may move changes past the end of all time
        Time_MeterMap map = MakeMeterMap("1| 4/4   2| 3/4");
        try {
            StreamInto(map, iBytes);
        } catch (const Cmn_Exception&) {
            ++refused;
            ASSERT_EQ(ToText(map), "1| 4/4 @0   2| 3/4 @4");
        }
        ASSERT_EQ(map.FindBrokenInvariant(), "");
        map.ComputeDurationBetween(At(0), At(1000));
        map.InsertTime(At(3), Time_TickLength(100));
    };
    for (std::size_t i = 0; i < good.size(); ++i) {
        tryOut(Bytes(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(i)));
        for (const Cmn_UInt8 flip : {1, 2, 0x40, 0x80, 0xFF}) {
            Bytes bad = good;
            bad[i] ^= flip;
            tryOut(bad);
        }
    }
    EXPECT_GT(refused, static_cast<int>(good.size())); // every cut, and more
}

TEST(MeterMapStream, TheXMLFormNamesEveryField)
{
    const Cmn_XMLNode node = MakeMeterMap("1| 4/4   2| 6/8").GetAsXML();
    EXPECT_EQ(node.GetName(), "MeterMap");
    EXPECT_EQ(node.FindChild("nChangeCount")->GetText(), "2");
    EXPECT_EQ(node.FindChild("nSongStartTick")->GetText(), "1000000000000");
    const Cmn_XMLNode& change = node.FindChild("Changes")->GetChildren().at(1);
    EXPECT_EQ(change.GetName(), "MeterChange");
    const char* const cNames[] = {"nSessionTick", "mBarNumber", "nBar", "nBeat", "nTick"};
    const char* const cTexts[] = {"1000003840000", "2", "2", "1", "0"};
    for (std::size_t i = 0; i < std::size(cNames); ++i)
        EXPECT_EQ(change.FindChild(cNames[i])->GetText(), cTexts[i]) << cNames[i];
    EXPECT_EQ(change.FindChild("Meter")->FindChild("mNumerator")->GetText(), "6");
    EXPECT_NE(change.FindChild("Meter")->FindChild("NotationDuration"), nullptr);
    EXPECT_EQ(Time_MeterMap().GetAsXML().FindChild("nChangeCount")->GetText(), "0");
}
