#include "Bastel/Cmn/Cmn_XMLNode.h"
#include "FF/StDocument.h"
#include "Kora/FF/FF_TimeMaps.h"
#include "Kora/Time/Time_ConstantTempoSeg.h"
#include "Kora/Time/Time_KeySignatureMap.h"
#include "Kora/Time/Time_TempoMap.h"
#include "Support/MeterMapText.h"

namespace {

struct Maps
{
    Maps() = default;
    Maps(const std::string& iMeters, double iTempo, Cmn_Int32 iSharps)
        : meters(MakeMeterMap(iMeters))
    {
        tempi.AddSegment(std::make_unique<Time_ConstantTempoSeg>(At(0), iTempo, Time_TickLength(cQuarter)));
        keys.SetKeySignature(At(4), Time_KeySignature(true, true, static_cast<Cmn_UInt8>(iSharps)));
    }
    std::vector<std::string> Text() const
    {
        return {meters.GetAsXML().ToString(), tempi.GetAsXML().ToString(), keys.GetAsXML().ToString()};
    }

    Time_MeterMap meters;
    Time_TempoMap tempi;
    Time_KeySignatureMap keys;
};

class TimeMapsTest : public StDocument
{
protected:
    TimeMapsTest() { mDocument.Open(Sys_Store::eOpenFlag_New); }
    void Write(const Maps& iMaps)
    {
        FF_TimeMaps::Write(mDocument, iMaps.meters, iMaps.tempi, iMaps.keys);
        mDocument.Flush();
    }
    Cmn_Int32 Read(Maps& oMaps) { return FF_TimeMaps::Read(mDocument, oMaps.meters, oMaps.tempi, oMaps.keys); }

    FF_Document mDocument = Document();
    const Maps mFirst{"1| 4/4   5| 6/8", 90.5, 1};
    const Maps mSecond{"1| 3/4   2| 5/4   9| 2/2", 120, 3};
};

TEST_F(TimeMapsTest, MapsComeBackAsTheyWereWrittenLast)
{
    Maps maps;
    EXPECT_EQ(Read(maps), 0);
    EXPECT_EQ(maps.Text(), Maps().Text());
    for (const Maps* written : {&mFirst, &mSecond}) {
        Write(*written);
        EXPECT_EQ(Read(maps), 3);
        EXPECT_EQ(maps.Text(), written->Text());
    }
    // The third does not fit: what was there stays.
    mDocument.SetSizeLimit(static_cast<Cmn_Int64>(FileBytes().size()) + 20);
    EXPECT_THROW(Write(mFirst), Sys_StreamWriteException);
    mDocument.Flush();
    EXPECT_EQ(Read(maps), 3);
    EXPECT_EQ(maps.Text(), mSecond.Text());
}

TEST_F(TimeMapsTest, OtherVersionsAreAnsweredAndTheOtherMapsStay)
{
    // clang-format off
    const struct { const char* name; Cmn_Int16 type; Cmn_Int16 version; const char* inner; Cmn_Int16 innerVersion; int message; } rows[] = {
        {"a meter map too old to be wanted", 16, 1, "Meter",         1, 0},
        {"a newer meter map",                16, 1, "Meter",         3, Cmn_eMessage_DocumentTooNew},
        {"a newer tempo map",                17, 1, "TempoMap",      2, Cmn_eMessage_DocumentTooNew},
        {"an older stream around one",       17, 0, "TempoMap",      1, Cmn_eMessage_DocumentTooOld},
        {"a newer stream around one",        18, 2, "KeySignatures", 1, Cmn_eMessage_DocumentTooNew},
        {"something else inside",            18, 1, "Meter",         2, Cmn_eMessage_ReadError},
    };
    // clang-format on
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        mDocument.Close();
        mDocument.Open(Sys_Store::eOpenFlag_New);
        Write(mFirst);
        const FF_Document::TOCKey key(row.type);
        mDocument.InvalidateKey(key, 0);
        Sys_TypedOutStream out = mDocument.MakeTypedOutStream();
        mDocument.AddTOCEntry(key, 0, static_cast<Cmn_UInt64>(out.GetPosition()), "by hand");
        {
            const FF_StreamHeaderWriter header(&mDocument, out, row.type, row.version);
            const Sys_StdStreamHeaderWriter inner(out, row.inner, row.innerVersion);
            out.WriteInt32(0);
        }
        mDocument.Flush();
        Maps maps("1| 7/8", 60, 2);
        std::vector<std::string> expected = maps.Text();
        int message = 0;
        try {
            Read(maps);
        } catch (const Cmn_Exception& exception) {
            message = exception.GetMessageID();
        }
        EXPECT_EQ(message, row.message);
        // Maps before the one that throws are read; one that is skipped lets those behind it be read too.
        for (Cmn_Int16 type = 16; type <= 18; ++type)
            if (type < row.type || (type > row.type && message == 0))
                expected[static_cast<std::size_t>(type - 16)] = mFirst.Text()[static_cast<std::size_t>(type - 16)];
        EXPECT_EQ(maps.Text(), expected);
        EXPECT_TRUE(mDocument.GetCurrentContext().empty());
    }
}

} // namespace
