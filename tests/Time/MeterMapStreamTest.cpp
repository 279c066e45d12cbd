#include "Support/MeterMapText.h"
#include "Time/TimeFixture.h"

namespace {

Bytes WithBody(Cmn_Int16 iVersion, const Bytes& iBody)
{
    Sys_MemOutStream bytes;
    Sys_TypedOutStream stream(bytes);
    Sys_StdStreamHeaderWriter header(stream, "Meter", iVersion);
    stream.WriteBytes(iBody.data(), iBody.size());
    header.PatchSize();
    return bytes.TakeBytes();
}

// The count, two changes of 36 bytes, two BBTs of 16, the song start.
constexpr std::size_t cFirst = 4, cSecond = cFirst + 36, cBBTs = cSecond + 36, cSongStart = cBBTs + 32;

Bytes BodyOf(const Time_MeterMap& iMapOfTwo)
{
    const Bytes bytes = Streamed(iMapOfTwo);
    return {bytes.end() - cSongStart - 8, bytes.end()};
}

} // namespace

TEST(MeterMapStream, TheStreamHasItsFieldsInOrder)
{
    const Time_MeterMap map = MakeMeterMap("7| 4/4   8| 3/4");
    const Bytes body =
        FromHex("02000000 0010A5D4E8000000 07000000 04000000 04000000 0100 03000000 0000 02000000 03000000"
                "         00A8DFD4E8000000 08000000 03000000 04000000 0100 03000000 0000 02000000 03000000"
                "07000000 01000000 0000000000000000 08000000 01000000 0000000000000000 0010A5D4E8000000");
    EXPECT_EQ(Streamed(map), WithBody(2, body));

    Time_MeterMap read = MakeMeterMap("5| 7/8   6| 2/4");
    read.SetSongStartTick(At(4));
    ReadBack(read, WithBody(2, Bytes(body.begin(), body.begin() + cBBTs)));
    EXPECT_EQ(ToText(read), ToText(map));
    EXPECT_EQ(read.IterBegin()->GetBBT(), map.IterBegin()->GetBBT());
    EXPECT_EQ(read.GetSongStartTick(), At(4)) << "the shorter body has none";
    const Bytes versionOne = WithBody(1, {1, 2, 3});
    EXPECT_EQ(ReadBack(read, versionOne), static_cast<Cmn_Int64>(versionOne.size())) << "skipped whole";
    EXPECT_EQ(ToText(read), ToText(map));
}

TEST(MeterMapStream, WhatNoMapWritesIsRefusedAndTheMapStays)
{
    Time_MeterMap two, map = MakeMeterMap("5| 7/8   6| 2/4");
    two.AddMeterChange(Time_Tick(5), Time_Meter(4, 4), 1);
    two.AddMeterChange(Time_Tick(6), Time_Meter(4, 4), 1);
    const Bytes good = BodyOf(two), before = Streamed(map);
    constexpr std::size_t cWhole = cSongStart + 8;
    constexpr std::tuple<const char*, std::size_t, int, std::size_t> cRows[] = {
        {"a negative count",                    3,           0xFF, cWhole        },
        {"one change more than the body holds", 0,           3,    cBBTs         },
        {"more changes than memory",            3,           0x7F, cWhole        },
        {"numerator 0",                         cFirst + 12, 0,    cWhole        },
        {"denominator 0",                       cFirst + 16, 0,    cWhole        },
        {"a negative denominator",              cFirst + 19, 0xFF, cWhole        },
        {"a beat below one tick",               cFirst + 18, 0x3B, cWhole        },
        {"a click that is no note",             cFirst + 22, 8,    cWhole        },
        {"two changes at one tick",             cSecond,     5,    cWhole        },
        {"descending ticks",                    cSecond,     4,    cWhole        },
        {"half a BBT",                          0,           2,    cBBTs + 24    },
        {"half a song start",                   0,           2,    cSongStart + 4},
    };
    for (const auto& [name, byte, value, length] : cRows) {
        Bytes body(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(length));
        body[byte] = static_cast<Cmn_UInt8>(value);
        Bytes bytes = WithBody(2, body);
        bytes.resize(bytes.size() + 200, 1); // what lies behind the body is not the map's
        EXPECT_THROW(ReadBack(map, bytes), Sys_StreamReadException) << name;
        EXPECT_EQ(Streamed(map), before) << name;
    }
    EXPECT_THROW(ReadBack(map, WithBody(3, good)), Cmn_DocumentTooNewException);
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
