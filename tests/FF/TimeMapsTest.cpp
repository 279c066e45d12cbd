#include "Bastel/Cmn/Cmn_XMLNode.h"
#include "FF/StDocument.h"
#include "Kora/FF/Song/FF_TimeMaps.h"
#include "Kora/Time/Key/Time_KeySignatureMap.h"
#include "Kora/Time/Tempo/Time_ConstantTempoSeg.h"
#include "Kora/Time/Tempo/Time_TempoMap.h"
#include "Kora/Time/Values/Time_Typed.h"
#include "Support/MeterMapText.h"

namespace {

using Texts = std::vector<std::string>; // of meter, tempo and key map

struct Maps
{
    Maps(const std::string& iMeters, double iTempo, Cmn_UInt8 iSharps)
        : mMeters(MakeMeterMap(iMeters))
    {
        mTempi.AddSegment(std::make_unique<Time_ConstantTempoSeg>(At(0), iTempo, Time_TickLength(cQuarter)));
        mKeys.SetKeySignature(At(4), Time_KeySignature(true, true, iSharps));
    }
    void Write(FF_Document& ioDocument) const { FF_TimeMaps::Write(ioDocument, mMeters, mTempi, mKeys); }
    Cmn_Int32 Read(FF_Document& ioDocument) { return FF_TimeMaps::Read(ioDocument, mMeters, mTempi, mKeys); }
    Texts Text() const
    {
        return {mMeters.GetAsXML().ToString(), mTempi.GetAsXML().ToString(), mKeys.GetAsXML().ToString()};
    }

    Time_MeterMap mMeters;
    Time_TempoMap mTempi;
    Time_KeySignatureMap mKeys;
};

using TimeMapsTest = StDocument;

TEST_F(TimeMapsTest, MapsComeBackAsTheyWereWrittenLast)
{
    const Maps cFirst("1| 4/4   5| 6/8", 90.5, 1);
    const Maps cSecond("1| 3/4   2| 5/4   9| 2/2", 120, 3);
    Document document(Sys_Store::eOpenFlag_New);
    Maps maps("", 60, 0);
    EXPECT_EQ(maps.Read(document), 0);
    EXPECT_EQ(maps.Text(), Maps("", 60, 0).Text());
    for (const Maps* written : {&cFirst, &cSecond}) {
        written->Write(document);
        document.Flush();
        EXPECT_EQ(maps.Read(document), 3);
        EXPECT_EQ(maps.Text(), written->Text());
    }
    document.SetSizeLimit(static_cast<Cmn_Int64>(FileBytes().size()) + 20);
    EXPECT_EQ(MessageOf([&] { cFirst.Write(document); }), Cmn_eMessage_WriteError);
    document.Flush();
    EXPECT_EQ(maps.Read(document), 3);
    EXPECT_EQ(maps.Text(), cSecond.Text()) << "what did not fit leaves what was there";
}

TEST_F(TimeMapsTest, OtherVersionsAreAnsweredAndTheOtherMapsStay)
{
    struct Row
    {
        const char* mName;
        Cmn_Int16 mType;
        Cmn_Int16 mVersion;
        const char* mInner;
        Cmn_Int16 mInnerVersion;
        int mMessage;
    };
    const Row rows[] = {
        {"a meter map too old to be wanted", 16, 1, "Meter", 1, 0},
        {"a newer meter map", 16, 1, "Meter", 3, Cmn_eMessage_DocumentTooNew},
        {"an older stream around a map", 17, 0, "TempoMap", 1, Cmn_eMessage_DocumentTooOld},
        {"a newer stream around a map", 18, 2, "KeySignatures", 1, Cmn_eMessage_DocumentTooNew},
        {"something else inside", 18, 1, "Meter", 2, Cmn_eMessage_ReadError},
    };
    const Maps cWritten("1| 4/4", 90.5, 1);
    for (const auto& row : rows) {
        Document document(Sys_Store::eOpenFlag_New);
        cWritten.Write(document);
        static_cast<void>(document.InvalidateKey(FF_Document::TOCKey(row.mType), 0));
        Sys_TypedOutStream out = document.MakeTypedOutStream();
        FF_Document::AddTOCEntry(&document, static_cast<Cmn_UInt64>(out.GetPosition()), row.mType, "by hand");
        {
            const FF_StreamHeaderWriter header(&document, out, row.mType, row.mVersion);
            const Sys_StdStreamHeaderWriter inner(out, row.mInner, row.mInnerVersion);
            out.WriteInt32(0);
        }
        document.Flush();
        Maps maps("1| 7/8", 60, 2);
        Texts expected = maps.Text();
        EXPECT_EQ(MessageOf([&] { maps.Read(document); }), row.mMessage) << row.mName;
        // Maps before the one that throws are read; one that is skipped lets those behind it be read too.
        for (std::size_t i = 0; i < 3; ++i)
            if (const auto type = static_cast<Cmn_Int16>(16 + i);
                type < row.mType || (type > row.mType && row.mMessage == 0))
                expected[i] = cWritten.Text()[i];
        EXPECT_EQ(maps.Text(), expected) << row.mName;
        EXPECT_TRUE(document.GetCurrentContext().empty());
    }
}

TEST_F(TimeMapsTest, TheSongsEndAndRateComeBackAsWrittenLastOrAreRefused)
{
    using Info = FF_TimeMaps::SongInfo;
    Time_Typed::Init();
    const double none = std::numeric_limits<double>::quiet_NaN();
    const Time_Tick past = Time_Typed::MaxTime(Time_eType_Ticks).AsTick() + Time_TickLength(1);
    // clang-format off
    const struct { const char* mName; Info mInfo; int mMessage; } rows[] = {
        {"as a song has them",     {At(7), 48000.0, eTimeCodeFormat_2997Drop}, 0},
        {"the slowest rate",       {At(7), 1000.0, eTimeCodeFormat_24}, 0},
        {"the fastest rate",       {At(7), 768000.0, eTimeCodeFormat_60Drop}, 0},
        {"a rate below",           {At(7), 999.9, eTimeCodeFormat_25}, Cmn_eMessage_ReadError},
        {"a rate that is no number", {At(7), none, eTimeCodeFormat_25}, Cmn_eMessage_ReadError},
        {"no format",              {At(7), 48000.0, eTimeCodeFormat_UseGlobal}, Cmn_eMessage_ReadError},
        {"a format without rate",  {At(7), 48000.0, eTimeCodeFormat_2997OMF}, Cmn_eMessage_ReadError},
        {"an end past all time",   {past, 48000.0, eTimeCodeFormat_25}, Cmn_eMessage_ReadError},
    };
    // clang-format on
    Document document(Sys_Store::eOpenFlag_New);
    Info read;
    EXPECT_FALSE(FF_TimeMaps::ReadInfo(document, read));
    for (const auto& row : rows) {
        FF_TimeMaps::WriteInfo(document, row.mInfo);
        document.Flush();
        const Info before = read;
        EXPECT_EQ(MessageOf([&] { EXPECT_TRUE(FF_TimeMaps::ReadInfo(document, read)); }), row.mMessage)
            << row.mName;
        const Info& expected = row.mMessage == 0 ? row.mInfo : before;
        EXPECT_TRUE(read.mEndTick == expected.mEndTick && read.mSampleRate == expected.mSampleRate &&
                    read.mTimeCodeFormat == expected.mTimeCodeFormat)
            << row.mName;
    }
    EXPECT_EQ(document.GetTOC().GetNumKeys(), 1);
}

} // namespace
