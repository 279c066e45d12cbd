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
constexpr std::size_t cSecond = 4 + 36, cBBTs = cSecond + 36, cSongStart = cBBTs + 32;

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

TEST(MeterMapStream, HalvesAndLaterVersionsAreRefusedAndTheMapStays)
{
    Time_MeterMap map = MakeMeterMap("5| 7/8   6| 2/4");
    const Bytes good = BodyOf(map);
    const Bytes before = Streamed(map);
    for (const std::size_t length : {cSecond + 12, cBBTs + 24, cSongStart + 4}) {
        Bytes bytes = WithBody(2, Bytes(good.data(), good.data() + length));
        bytes.resize(bytes.size() + 200, 1); // what lies behind the body is not the map's
        EXPECT_THROW(ReadBack(map, bytes), Sys_StreamReadException) << length;
        EXPECT_EQ(Streamed(map), before) << length;
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
