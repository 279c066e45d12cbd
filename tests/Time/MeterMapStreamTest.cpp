#include "Support/MeterMapText.h"
#include "Time/TimeFixture.h"

namespace {

struct RawChange
{
    Cmn_Int64 mTick;
    Cmn_Int32 mBar, mNumerator, mDenominator, mClickCode;
};

// A stream "Meter" as its fields follow one another; without BBTs and song start unless iWhole.
Bytes Written(Cmn_Int16 iVersion, Cmn_Int32 iCount, const std::vector<RawChange>& iChanges,
              bool iWhole = false, int iBytesMore = 0)
{
    Sys_MemOutStream bytes;
    Sys_TypedOutStream stream(bytes);
    Sys_StdStreamHeaderWriter header(stream, "Meter", iVersion);
    stream.WriteInt32(iCount);
    for (const RawChange& change : iChanges) {
        stream.WriteInt64(change.mTick);
        for (const Cmn_Int32 value : {change.mBar, change.mNumerator, change.mDenominator})
            stream.WriteInt32(value);
        stream.WriteInt16(1); // the click, version 1
        stream.WriteInt32(change.mClickCode);
        stream.WriteInt16(0); // neither dotted nor a tuplet
        stream.WriteInt32(2);
        stream.WriteInt32(3);
    }
    for (std::size_t i = 0; iWhole && i < iChanges.size(); ++i) {
        stream.WriteInt32(iChanges[i].mBar);
        stream.WriteInt32(1);
        stream.WriteInt64(0);
    }
    if (iWhole) stream.WriteInt64(At(0).AsInt64());
    for (int i = 0; i < iBytesMore; i += 4)
        stream.WriteInt32(0);
    header.PatchSize();
    return bytes.TakeBytes();
}

} // namespace

TEST(MeterMapStream, TheStreamHasItsFieldsInOrder)
{
    const RawChange first{At(0).AsInt64(), 7, 4, 4, 3}, second{At(4).AsInt64(), 8, 3, 4, 3};
    EXPECT_EQ(Streamed(MakeMeterMap("7| 4/4   8| 3/4")), Written(2, 2, {first, second}, true));
}

TEST(MeterMapStream, ShorterBodiesKeepWhatTheyDoNotHave)
{
    const RawChange change = {At(0).AsInt64(), 1, 3, 4, 3};
    Time_MeterMap map = MakeMeterMap("5| 7/8   6| 2/4");
    map.SetSongStartTick(At(4));
    ReadBack(map, Written(2, 1, {change}));
    EXPECT_EQ(ToText(map), "1| 3/4 @0");
    EXPECT_EQ(map.IterBegin()->GetBBT(), Time_BarBeatTick(1, 1, Time_TickLength(0)));
    EXPECT_EQ(map.GetSongStartTick(), At(4));

    const Bytes versionOne = Written(1, -1, {change});
    EXPECT_EQ(ReadBack(map, versionOne), static_cast<Cmn_Int64>(versionOne.size())); // skipped whole
    EXPECT_EQ(ToText(map), "1| 3/4 @0");
}

TEST(MeterMapStream, WhatNoMapWritesIsRefusedAndTheMapStays)
{
    // clang-format off
    const RawChange good = {5, 1, 4, 4, 3};
    const struct
    {
        const char* mName;
        std::vector<RawChange> mChanges;
        Cmn_Int32 mCount = static_cast<Cmn_Int32>(mChanges.size());
        int mBytesMore = 0;
    } cCases[] = {
        {"a negative count", {good}, -1},
        {"one change more than the body holds", {good}, 2},
        {"more changes than memory", {good}, 2147483647},
        {"numerator 0", {{5, 1, 0, 4, 3}}},
        {"denominator 0", {{5, 1, 4, 0, 3}}},
        {"denominator -4", {{5, 1, 4, -4, 3}}},
        {"a beat below one tick", {{5, 1, 4, 3840001, 3}}},
        {"a click that is no note", {{5, 1, 4, 4, 8}}},
        {"two changes at one tick", {good, good}},
        {"descending ticks", {good, {4, 1, 4, 4, 3}}},
        {"half a BBT", {good}, 1, 8},
        {"a BBT and half a song start", {good}, 1, 20},
    };
    // clang-format on
    for (const auto& row : cCases) {
        Time_MeterMap map = MakeMeterMap("5| 7/8   6| 2/4");
        const std::string before = map.Dump();
        Bytes bytes = Written(2, row.mCount, row.mChanges, false, row.mBytesMore);
        bytes.resize(bytes.size() + 200, 1); // what lies behind the body is not the map's
        EXPECT_THROW(ReadBack(map, bytes), Sys_StreamReadException) << row.mName;
        EXPECT_EQ(map.Dump(), before) << row.mName;
    }
    Time_MeterMap map;
    EXPECT_THROW(ReadBack(map, Written(3, 1, {good})), Cmn_DocumentTooNewException);
}

TEST(MeterMapStream, TheXMLFormNamesEveryField)
{
    const std::string text = MakeMeterMap("2| 6/8").GetAsXML().ToString();
    for (const char* field :
         {"<MeterMap>", "<nChangeCount>1<", "<nSongStartTick>1000000000000<", "<nSessionTick>1000000000000<",
          "<mBarNumber>2<", "<nBar>2<", "<mNumerator>6<", "<mDenominator>8<", "<NotationDuration>"})
        EXPECT_NE(text.find(field), std::string::npos) << field << "\n" << text;
    EXPECT_NE(Time_MeterMap().GetAsXML().ToString().find("<nChangeCount>0<"), std::string::npos);
}
