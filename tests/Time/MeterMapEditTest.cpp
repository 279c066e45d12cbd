#include "Support/AssertRecorder.h"
#include "Support/MeterMapText.h"
#include "Support/TimePrinters.h"

#include "Bastel/Sys/Sys_TypedStream.h"
#include "Kora/Cnn/Cnn_Receiver.h"
#include "Kora/Ndo/Ndo_Operation.h"
#include "Kora/Ndo/Ndo_StOperationRecorder.h"
#include "Kora/Time/Time_MeterMap_NdoState.h"

#include <gtest/gtest.h>

#include <functional>
#include <random>

namespace {

using Edit = std::function<void(Time_MeterMap&)>;

Time_TickLength Quarters(double iQuarters) { return At(iQuarters) - At(0); }

const Time_Meter c3_4(3, 4), c4_4(4, 4), c6_8(6, 8);

struct EditCase
{
    const char* mName;
    const char* mBefore;
    Edit mEdit;
    const char* mAfter;
};

template <std::size_t N>
void ExpectEdits(const EditCase (&iCases)[N])
{
    for (const EditCase& row : iCases) {
        Time_MeterMap map = MakeMeterMap(row.mBefore);
        row.mEdit(map);
        EXPECT_EQ(ToText(map), row.mAfter) << row.mName;
        EXPECT_EQ(map.FindBrokenInvariant(), "") << row.mName;
    }
}

// Counts what a map broadcasts and remembers how it was at the last time.
class Listener
{
public:
    explicit Listener(Time_MeterMap& ioMap)
        : mMap(ioMap)
    {
        mMap.GetListenerList().Add(&mReceiver);
    }
    ~Listener() { mMap.GetListenerList().Remove(&mReceiver); }

    int mTold = 0;
    std::string mLastSeen;

private:
    void OnChanged(const Mdl_SimpleValMessage_ValChanged&)
    {
        ++mTold;
        mLastSeen = mMap.Dump();
    }

    Time_MeterMap& mMap;
    Cnn_Receiver<Listener, Mdl_SimpleValMessage, &Listener::OnChanged> mReceiver{*this};
};

// A clip with 3/4 at its tick 0, from bar 50 of somewhere.
Time_MeterMap Clip()
{
    Time_MeterMap clip;
    clip.AddMeterChange(Time_cZeroTick, c3_4, 50);
    return clip;
}

// The map as undo restores it and documents bring it back.
std::vector<Cmn_UInt8> Canonical(const Time_MeterMap& iMap)
{
    const Time_MeterMap_NdoState state(iMap);
    Time_MeterMap copy;
    Sys_MemInStream bytes(state.GetBytes());
    Sys_TypedInStream stream(bytes);
    copy.StreamIn(stream);
    return Time_MeterMap_NdoState(copy).GetBytes();
}

} // namespace

TEST(MeterMapEdit, ChangesAreAddedRemovedAndForced)
{
    const auto add = [](double iQuarters, const Time_Meter& iMeter) -> Edit {
        return [=](Time_MeterMap& ioMap) { ioMap.AddMeterChange(At(iQuarters), iMeter); };
    };
    const auto force = [](Time_BarBeatTick iBBT, const Time_Meter& iMeter) -> Edit {
        return [=](Time_MeterMap& ioMap) { ioMap.ForceMeterAtBarBeat(iBBT, iMeter); };
    };
    const Time_Meter otherClick(4, 4, Time_NotationDurationValue(Time_eNoteDuration_Half, false));
    const EditCase cCases[] = {
        {"an empty map gets just the change",                             "",                      add(8,                                          c3_4),                                                                                            "3| 3/4 @8"},
        {"inside a bar it opens the next one",                                                               "1| 4/4   3| 6/8",                                                   add(1,                  c3_4),
         "1| 4/4 @0   2| 3/4 @1   5| 6/8 @8"},
        {"before the first one it is numbered as its place was",                             "1| 4/4",                                                    add(-6,                                             c3_4),
         "-1| 3/4 @-6   1| 4/4 @0"},
        {"removing joins the bars",                                                          "1| 4/4   2| 3/4 @1   4| 6/8",
         [](Time_MeterMap& ioMap) { ioMap.RemoveMeterChange(At(1)); },                                                                                                              "1| 4/4 @0   3| 6/8 @7"                                                                                                                                                                                     },
        {"removing beside a change is nothing",    "1| 4/4   2| 3/4",
         [](Time_MeterMap& ioMap) { ioMap.RemoveMeterChange(At(4, 1)); },"1| 4/4 @0   2| 3/4 @4"},
        {"forced from the start of the bar", "1| 4/4", force({3, 2, Time_TickLength(9)},                                                                                                           c6_8),
         "1| 4/4 @0   3| 6/8 @8"},
        {"forced over the changes up to the place",                               "1| 4/4   2| 2/4   3| 3/4",
         force({2, 3, Time_TickLength(0)},                                                                                                                  c4_4),                                                                                                                                                                                                                  "1| 4/4 @0   2| 4/4 @4   4| 3/4 @9"},
        {"another click forces nothing",       "1| 4/4",                                                         force({2, 1, Time_TickLength(0)},otherClick),
         "1| 4/4 @0"},
        {"forced on an empty map",                                  "",                                           force({5, 3, Time_TickLength(0)}, c4_4),                                                                                                      "5| 4/4 @16"},
        {"renumbering moves all",                                                               "1| 4/4   3| 3/4",                                                               [](Time_MeterMap& ioMap) { ioMap.RenumberBars(-5); },
         "-4| 4/4 @0   -2| 3/4 @8"                                                                                               },
        {"renumbering makes an empty map real",                                                   "",                                                                          [](Time_MeterMap& ioMap) { ioMap.RenumberBars(2); },
         "3| 4/4 @0"             },
    };
    ExpectEdits(cCases);
}

TEST(MeterMapEdit, ChangeInsideABarShortensIt)
{
    const Time_MeterMap map = MakeMeterMap("1| 4/4   2| 3/4 @1   3| 6/8");
    EXPECT_FALSE(map.IterBegin()[0].IsOffBarline());
    EXPECT_TRUE(map.IterBegin()[1].IsOffBarline());
    EXPECT_FALSE(map.IterBegin()[2].IsOffBarline());
}

TEST(MeterMapEdit, OverwritingKeepsTheBarNumber)
{
    Time_MeterMap map = MakeMeterMap("1| 4/4   3| 3/4   5| 4/4");
    map.AddMeterChange(At(8), c6_8, 77);
    EXPECT_EQ(ToText(map), "1| 4/4 @0   3| 6/8 @8   5| 4/4 @14");
    EXPECT_EQ(map.IterBegin()[1].GetBBT().mBar, 77);
    map.AddMeterChange(At(0), c4_4, 9);
    EXPECT_EQ(map.IterBegin()[0].GetBBT().mBar, 9);
    EXPECT_EQ(map.IterBegin()[1].GetBBT().mBar, 3); // a renumbering has passed over it
    map.RenumberBars(10);
    EXPECT_EQ(map.IterBegin()[0].GetBBT().mBar, 11);
    EXPECT_EQ(map.GetSongStartBar(), 11);
}

TEST(MeterMapEdit, MakeRealUsesTheDefaultSongStart)
{
    Time_MeterMap map;
    map.SetSongStartTick(At(100));
    map.MakeRealIfDefault();
    EXPECT_EQ(ToText(map), "1| 4/4 @0");
    map.MakeRealIfDefault();
    EXPECT_EQ(map.GetNumberOfChanges(), 1);
}

TEST(MeterMapEdit, TheSongStartKeepsItsBar)
{
    const auto songStart = [](double iQuarters) -> Edit {
        return [=](Time_MeterMap& ioMap) { ioMap.SetSongStartTick(At(iQuarters)); };
    };
    const auto deleteRange = [](double iFrom, double iTo, bool iKeep) -> Edit {
        return [=](Time_MeterMap& ioMap) { ioMap.Delete(At(iFrom), At(iTo), iKeep); };
    };
    const auto erase = [](double iFrom, double iTo, bool iKeep) -> Edit {
        return [=](Time_MeterMap& ioMap) { ioMap.Erase(At(iFrom), At(iTo), iKeep); };
    };
    const EditCase cCases[] = {
        {"moved into a bar, which keeps its number", "1| 4/4",               songStart(6),                                                 "2| 4/4 @6"                                                                                                                         },
        {                                                                                                                                                                                                                                                                               "the old one goes where it is redundant", "1| 3/4 @-6   3| 3/4 @0",                                           songStart(3),
         "1| 3/4 @-6   4| 3/4 @3"                                                                                                                                                                                                                },
        {                                                                                                                                                                                                                     "and stays where it is not",           "1| 4/4   2| 3/4",                  songStart(4),                                     "1| 4/4 @0   2| 3/4 @4"                                                                                                                                                   },
        {                                                                                                                                                                                                                                                                                                                                                                                                                                                                                                                    "the first one goes only before an equal meter",                                                                                                                                                                                                                                                                                                                                                                                                                     "1| 4/4   2| 3/4",          songStart(7),
         "1| 4/4 @0   2| 3/4 @4   3| 3/4 @7"                                                                                                                                       },
        {                                                                                                                                                                                                                                                                                                                                                                                                                                                                                                                                "deleted, it comes back with its bar",                                                                                                                                                                                                                                                                                                                                                                                                                                                                                                                                                                        "1| 4/4   2| 3/4",          deleteRange(0,                                                   1,                                                                                                     false),
         "1| 3/4 @0   3| 3/4 @4"},
        {                                                                                                                                                                                                     "unless it is kept as it is",                                                                                                                                                                                                                                             "1| 4/4   2| 3/4",                   deleteRange(0,                                                                              1,                                                                                                                                                                    true), "2| 3/4 @4"},
        {                                                                                                                                                                                                                                                                                                                                       "deleting all leaves an empty map",                                                                                                                                                                                                                                                                                                                                                                               "1| 4/4   2| 3/4", deleteRange(0,                                         5,                                                                                                          false), ""},
        {                                                                                                                                                                                                                                                                                                                                                                                                                                                                                                                               "the meter before a deleted one holds on",                                                                                                                                                                                                                                                                                                                                                                                                                                                                                                                                                                       "1| 4/4   2| 3/4   4| 6/8",                   deleteRange(4,                                                               10,                                                                                                                          true),
         "1| 4/4 @0   4| 6/8 @10"},
        {                                                                                                                                                                                                                                                                                                                                                                                                                                                                                                                                "the end of a range is not in it",                                                                                                                                                                                                                                                                                                                                                                                                                                                                                                                                                                        "1| 4/4   2| 3/4",                deleteRange(1,                                                                     4,                                                                                                                                         true),
         "1| 4/4 @0   2| 3/4 @4"},
        {                                                                                                                                                                                                                                                                                                                                                                                                                                                                                                                   "an erased one holds again from the next barline",                                                                                                                                                                                                                                                                                                                                                                                                                                                                                                                                                           "1| 4/4   2| 3/4   4| 6/8",       erase(4,                                                            5,                                                                                                                                true),
         "1| 4/4 @0   3| 3/4 @7   4| 6/8 @10"},
        {                                                                                                                                                                                                                                                                                                                                                                                                                                                                                                                                "nothing is added where the meter holds anyway",                                                                                                                                                                                                                                                                                                                                                                                                                                                                                                                                                                        "1| 4/4   2| 3/4   3| 4/4",       erase(4,                                                            7,                                                                                                                                                                                          true),
         "1| 4/4 @0   3| 4/4 @7"},
        {                                                                                                                                                                                                                                                                                                                                                                                                                                                                                                                                "erasing the song start brings it back",                                                                                                                                                                                                                                                                                                                                                                                                                                                                                                                                                                        "1| 4/4   2| 3/4",       erase(0, 1, false),
         "1| 3/4 @0   3| 3/4 @4"},
        { "erasing an empty range is nothing",                                         "1| 4/4",                                                                  erase(5,                                                                                                                               5,                                                                                                                                                                                                                                                                    false), "1| 4/4 @0"},
    };
    ExpectEdits(cCases);
}

TEST(MeterMapEdit, DeletedTimeClosesTheGapAndRefitsItsBars)
{
    const auto cut = [](double iFrom, double iTo) -> Edit {
        return [=](Time_MeterMap& ioMap) { ioMap.DeleteTime(At(iFrom), At(iTo)); };
    };
    const EditCase cCases[] = {
        {"a whole bar",                                                   "1| 4/4   5| 3/4",          cut(4,   8),   "1| 4/4 @0   4| 3/4 @12"                  },
        {"a whole bar with a change loses it",                            "1| 4/4   2| 3/4   3| 4/4", cut(4,   7),
         "1| 4/4 @0   2| 4/4 @4"                                                                                                                               },
        {"one beat makes a 3/4 bar",                                      "1| 4/4",                   cut(5,   6),   "1| 4/4 @0   2| 3/4 @4   3| 4/4 @7"       },
        {"half a beat makes a 7/8 bar",                                   "1| 4/4",                   cut(5,   5.5), "1| 4/4 @0   2| 7/8 @4   3| 4/4 @7+480000"},
        {"a short rest joins the bar before",                             "1| 4/4",                   cut(4.5, 7.5), "1| 5/4 @0   2| 4/4 @5"                   },
        {"two quarters join to 6/4, which is split in two",               "1| 4/4",                   cut(4.5, 6.5), "1| 3/4 @0   3| 4/4 @6"                   },
        {"from the first bar, the bar there keeps its number",            "1| 4/4   3| 3/4",          cut(0,   4),
         "1| 3/4 @0   3| 3/4 @4"                                                                                                                               },
        {"up to a barline, only the bars from the start on are refitted", "1| 4/4",                   cut(5,   8),
         "1| 4/4 @0   2| 4/4 @4   3| 4/4 @5"                                                                                                                   },
        {"an odd rest is left as a cut bar",                              "1| 4/4",
         [](Time_MeterMap& ioMap) { ioMap.DeleteTime(At(5), At(5, 7)); },
         "1| 4/4 @0   2| 4/4 @4   3| 4/4 @7+959993"                                                                },
        {"an empty map stays so for whole bars",                                                             "",                      cut(4,      8),   ""                                          },
    };
    ExpectEdits(cCases);
}

TEST(MeterMapEdit, InsertedTimeOpensAGapAndRefitsItsBars)
{
    const auto insert = [](double iAt, double iLength) -> Edit {
        return [=](Time_MeterMap& ioMap) { ioMap.InsertTime(At(iAt), Quarters(iLength)); };
    };
    const Edit insertClip = [](Time_MeterMap& ioMap) {
        const Time_MeterMap clip = Clip();
        ioMap.InsertTime(At(4), Quarters(3), &clip);
    };
    const EditCase cCases[] = {
        {"a whole bar",                                      "1| 4/4   3| 3/4",          insert(4,   4),                                  "1| 4/4 @0   4| 3/4 @12"           },
        {"a beat at a barline joins the bar before",         "1| 4/4",                   insert(4,   1),                                  "1| 5/4 @0   2| 4/4 @5"            },
        {"a beat inside a bar lengthens it",                 "1| 4/4",                   insert(5,   1),                                  "1| 4/4 @0   2| 5/4 @4   3| 4/4 @9"},
        {"before a shorter bar the time goes into that bar", "1| 4/4   2| 2/4   3| 4/4", insert(4,   1),
         "1| 4/4 @0   2| 3/4 @4   3| 4/4 @7"                                                                                                                                 },
        {"before an equal bar it does not",                  "1| 4/4   2| 4/4   3| 2/4", insert(4,   1),
         "1| 5/4 @0   2| 4/4 @5   3| 2/4 @9"                                                                                                                                 },
        {"a clip fills the gap",                             "1| 4/4",                   insertClip, "1| 4/4 @0   2| 3/4 @4   3| 4/4 @7"},
        {"6/8 bars become 3/4: a quarter divides them",                                          "1| 6/8",                   insert(3,         3),             "1| 6/8 @0   2| 3/4 @3"                                   },
        {"an empty map gets what pins its meter, and its song start",                                                "",                   insert(5,         4),                                  ""},
        {"a million bars",                                 "1| 4/4   3| 3/4",                   insert(4,       4e6), "1| 4/4 @0   1000003| 3/4 @4000008"                                   },
    };
    ExpectEdits(cCases);
}

TEST(MeterMapEdit, RefittingResetsTheClick)
{
    const Time_NotationDurationValue half(Time_eNoteDuration_Half, false);
    Time_MeterMap map;
    map.AddMeterChange(At(0), Time_Meter(4, 4, half), 1);
    map.InsertTime(At(5), Quarters(1));
    EXPECT_EQ(map.GetClicksAtTick(At(0)), half.GetTicks());
    EXPECT_EQ(map.GetClicksAtTick(At(4)), Quarters(1));
    EXPECT_EQ(map.GetClicksAtTick(At(9)), half.GetTicks());
}

TEST(MeterMapEdit, MovedChangesKeepTheirOrder)
{
    const auto shift = [](double iFrom, double iBy) -> Edit {
        return [=](Time_MeterMap& ioMap) { ioMap.ShiftMeterChangesStartingAt(At(iFrom), Quarters(iBy)); };
    };
    const EditCase cCases[] = {
        {"forward",                            "1| 4/4   2| 3/4   3| 5/4", shift(4, 1),                                                            "1| 4/4 @0   3| 3/4 @5   4| 5/4 @8"},
        {"back",                                    "1| 4/4   3| 3/4   4| 5/4",                                                         shift(8,   -4), "1| 4/4 @0   2| 3/4 @4   3| 5/4 @7"},
        {"all, numbers stay", "7| 4/4   8| 3/4",
         [](Time_MeterMap& ioMap) { ioMap.ShiftAllMeterEventsByNumTicks(Quarters(-9)); },
         "7| 4/4 @-9   8| 3/4 @-5"                                                           },
    };
    ExpectEdits(cCases);

    const AssertRecorder recorder;
    const EditCase cPastOthers[] = {
        {"onto one that stays: the moved one stays", "1| 4/4   2| 3/4   3| 5/4", shift(7,              -3),
         "1| 4/4 @0   2| 5/4 @4"},
        {"past one that stays",                                          "1| 4/4   2| 3/4   3| 5/4",                                                shift(7, -5),
         "1| 4/4 @0   2| 5/4 @2   3| 3/4 @4"},
        {"a realignment onto the realigned one",        "1| 4/4   2| 3/4 @1   3| 5/8 @4",
         [](Time_MeterMap& ioMap) { ioMap.RealignExistingMeterChangesToBBT(At(1)); },
         "1| 4/4 @0   2| 5/8 @1"                               },
        {"a realignment before its predecessor",                    "4| 4/4   5| 3/4   6| 5/8",
         [](Time_MeterMap& ioMap) {
             ioMap.AddMeterChange(At(4), c3_4, 2); // BBT 2|1|0, two bars before the first change
             ioMap.RealignExistingMeterChangesToBBT(At(4));
         },                             "2| 3/4 @-8   5| 4/4 @0   10| 5/8 @19"      },
    };
    ExpectEdits(cPastOthers);
    EXPECT_EQ(recorder.Take(),
              std::vector<std::string>(4, "moved meter changes stay in order@$^$@Time/Time_MeterMap"));
}

TEST(MeterMapEdit, RealigningMovesTheChangesBehind)
{
    const EditCase cCases[] = {
        {"by as much as the bar was cut", "1| 4/4   2| 3/4 @1   5| 5/8 @10",
         [](Time_MeterMap& ioMap) { ioMap.RealignExistingMeterChangesToBBT(At(1)); },
         "1| 4/4 @0   2| 3/4 @1   4| 5/8 @7" },
        {"not at all where it was not",   "1| 4/4   2| 3/4   4| 5/8",
         [](Time_MeterMap& ioMap) { ioMap.RealignExistingMeterChangesToBBT(At(0)); },
         "1| 4/4 @0   2| 3/4 @4   4| 5/8 @10"},
    };
    ExpectEdits(cCases);
}

TEST(MeterMapEdit, CopyCarriesTheMeterInForceIn)
{
    const Time_MeterMap song = MakeMeterMap("1| 4/4   2| 3/4   4| 6/8"); // 3/4 at 4, 6/8 at 10
    const struct
    {
        const char* mName;
        double mStart, mEnd;
        const char* mClip;
    } cCases[] = {
        {"from a change on",                                  4,  12, "2| 3/4 @0   4| 6/8 @6"},
        {"from inside a bar: carried in at the next barline", 5,  12, "3| 3/4 @2   4| 6/8 @5"},
        {"where no change lies: carried in",                  12, 20, "5| 6/8 @1"            },
        {"up to the next barline: nothing to carry",          5,  7,  ""                     },
        {"an empty range",                                    5,  5,  ""                     },
    };
    for (const auto& row : cCases) {
        Time_MeterMap clip = Clip();
        song.Copy(&clip, At(row.mStart), At(row.mEnd));
        const bool isCarriedIn = !clip.IsDefault() && clip.IterBegin()->IsCarriedIn();
        clip.ShiftAllMeterEventsByNumTicks(At(0) - Time_cZeroTick);
        EXPECT_EQ(ToText(clip), row.mClip) << row.mName;
        EXPECT_EQ(isCarriedIn, std::string(row.mName).find(": carried in") != std::string::npos) << row.mName;
    }
    Time_MeterMap self = song;
    self.Copy(&self, At(4), At(12));
    EXPECT_EQ(self.GetNumberOfChanges(), 2);
}

TEST(MeterMapEdit, PasteFillsTheRangeAndKeepsTheMeterBehindIt)
{
    const auto paste = [](double iCopyFrom, double iCopyTo, double iAt, bool iKeep = false) -> Edit {
        return [=](Time_MeterMap& ioMap) {
            Time_MeterMap clip;
            MakeMeterMap("1| 4/4   2| 3/4   4| 6/8").Copy(&clip, At(iCopyFrom), At(iCopyTo));
            ioMap.Paste(At(iAt), At(iAt + iCopyTo - iCopyFrom), &clip, iKeep);
        };
    };
    const EditCase cCases[] = {
        {"changes as they were",                             "1| 4/4",                                         paste(4,                                                    11,                                                                                                               20),
         "1| 4/4 @0   6| 3/4 @20   8| 6/8 @26   9| 4/4 @28"},
        {"what is carried in goes to its barline", "1| 4/4",                                                 paste(5,                                                                    12,                                                                                                                                                                            20),
         "1| 4/4 @0   7| 3/4 @22   8| 6/8 @25   9| 4/4 @28"},
        {"and is left out where its meter holds anyway",                                                "1| 3/4",                                                                                             paste(5,                                                                                                               9,                                                                                                                                                                                                                               1), "1| 3/4 @0"},
        {"old changes of the range go","1| 4/4   3| 5/8   4| 7/8",paste(4,11,8),
         "1| 4/4 @0   3| 3/4 @8   5| 6/8 @14   7| 7/8 @17+480000"},
        {"a change at the end tick stays",                                                  "1| 4/4   2| 2/4   3| 4/4",                                                                      paste(4,                                                                                                            6,                                                                                                                                                                                                                                                                              4),
         "1| 4/4 @0   2| 3/4 @4   3| 4/4 @6"},
        {"the song start comes back",                                                "1| 4/4 @-8   3| 2/4 @0",                                             paste(4,                                                                                                       11,                                                                                                                                                                                        -4),
         "0| 4/4 @-8   1| 3/4 @-4   3| 3/4 @0   4| 6/8 @2   5| 2/4 @4"},
        {"a range that begins with the default change",                                           "",                     paste(4,11,                                                                                                                                                                                                                                                0),
         "2| 3/4 @0   4| 6/8 @6   5| 4/4 @8"},
        {"a map into itself",                        "1| 4/4   2| 3/4",
         [](Time_MeterMap& ioMap) {
             ioMap.ShiftAllMeterEventsByNumTicks(Time_cZeroTick - At(0));
             ioMap.Paste(At(0), At(5), &ioMap, true);
         },        "1| 4/4 @-1041667+320000   2| 3/4 @-1041663+320000   347223| 4/4 @0   347224| 3/4 @4   347225| 3/4 @6+320000"               },
    };
    ExpectEdits(cCases);
}

TEST(MeterMapEdit, PasteSetsTheSongStartBeforeItRenumbers)
{
    Time_MeterMap map = MakeMeterMap("1| 4/4");
    const Time_MeterMap clip = Clip();
    map.Paste(At(-4), At(3), &clip);
    EXPECT_EQ(ToText(map), "50| 3/4 @-4   52| 4/4 @0");
    EXPECT_EQ(map.GetSongStartBar(), 52);
}

TEST(MeterMapEdit, RemovingNothingStillNotifiesUndo)
{
    Time_MeterMap map(Ndo_Object::kUndoable);
    Ndo_StOperationRecorder recorder;
    map.RemoveMeterChange(At(3));
    EXPECT_FALSE(recorder.OperationComplete()->IsEmpty());
}

TEST(MeterMapEdit, BroadcastsAreCounted)
{
    const Time_MeterMap other = MakeMeterMap("1| 3/4");
    const struct
    {
        const char* mName;
        const char* mBefore;
        Edit mEdit;
        int mTold;
        bool mNoticed;
    } cCases[] = {
        {"AddInitialMeterChange is silent",        "",
         [](auto& ioMap) { ioMap.AddInitialMeterChange(At(0), c3_4, 1); },                                                                   0, true },
        {"MakeRealIfDefault is silent",            "",                [](auto& ioMap) { ioMap.MakeRealIfDefault(); },                        0, true },
        {"Clear is silent",                        "1| 4/4",          [](auto& ioMap) { ioMap.Clear(); },                                    0, true },
        {"assignment is silent",                   "1| 4/4",          [&](auto& ioMap) { ioMap = other; },                                   0, true },
        {"a song start without changes is silent", "",                [](auto& ioMap) { ioMap.SetSongStartTick(At(1)); },                    0,
         true                                                                                                                                        },
        {"the same song start is nothing",         "1| 4/4",          [](auto& ioMap) { ioMap.SetSongStartTick(At(0)); },                    0,
         false                                                                                                                                       },
        {"adding",                                 "1| 4/4",          [](auto& ioMap) { ioMap.AddMeterChange(At(4), c3_4); },                1, true },
        {"removing",                               "1| 4/4",          [](auto& ioMap) { ioMap.RemoveMeterChange(At(0)); },                   1, true },
        {"removing nothing",                       "1| 4/4",          [](auto& ioMap) { ioMap.RemoveMeterChange(At(1)); },                   0, true },
        {"a song start onto a change",             "1| 4/4   2| 3/4", [](auto& ioMap) { ioMap.SetSongStartTick(At(4)); },
         1,                                                                                                                                     true },
        {"deleting",                               "1| 4/4   2| 3/4", [](auto& ioMap) { ioMap.Delete(At(4), At(5)); },                       1, true },
        {"deleting nothing",                       "1| 4/4",          [](auto& ioMap) { ioMap.Delete(At(4), At(5)); },                       0, true },
        {"erasing an empty range is nothing",      "1| 4/4",          [](auto& ioMap) { ioMap.Erase(At(0), At(0)); },                        0,
         false                                                                                                                                       },
        {"shifting by zero is nothing",            "1| 4/4",
         [](auto& ioMap) { ioMap.ShiftAllMeterEventsByNumTicks(Quarters(0)); },                                                              0, false},
        {"shifting nothing",                       "",                [](auto& ioMap) { ioMap.ShiftAllMeterEventsByNumTicks(Quarters(1)); }, 0,
         false                                                                                                                                       },
        {"shifting",                               "1| 4/4",          [](auto& ioMap) { ioMap.ShiftAllMeterEventsByNumTicks(Quarters(1)); }, 1,
         true                                                                                                                                        },
        {"forcing on an empty map",                "",
         [](auto& ioMap) {
             ioMap.ForceMeterAtBarBeat({2, 1, Quarters(0)}, c3_4);
         },                                                                                                                                  1, true },
        {"forcing what is in force is nothing",    "1| 4/4",
         [](auto& ioMap) {
             ioMap.ForceMeterAtBarBeat({2, 1, Quarters(0)}, c4_4);
         },                                                                                                                                  0, false},
        {"replacing",                              "1| 4/4",          [&](auto& ioMap) { ioMap.ReplaceWith(other); },                        1, true },
        {"a copy's destination",                   "",                [&](auto& ioMap) { other.Copy(&ioMap, At(0), At(9)); },                1, true },
    };
    for (const auto& row : cCases) {
        Time_MeterMap map(Ndo_Object::kUndoable);
        map = MakeMeterMap(row.mBefore);
        const Listener listener(map);
        Ndo_StOperationRecorder recorder;
        row.mEdit(map);
        EXPECT_EQ(listener.mTold, row.mTold) << row.mName;
        EXPECT_EQ(!recorder.OperationComplete()->IsEmpty(), row.mNoticed) << row.mName;
    }
}

TEST(MeterMapEdit, BrokenPreconditionsAreReportedInTheseWords)
{
    Time_MeterMap map = MakeMeterMap("1| 4/4   2| 3/4");
    const std::string before = map.Dump();
    const AssertRecorder recorder;
    const struct
    {
        const char* mText;
        Edit mEdit;
    } cCases[] = {
        {"iSrcP",                               [](auto& ioMap) { ioMap.Paste(At(0), At(4), nullptr); }  },
        {"oDestP",                              [](auto& ioMap) { ioMap.Copy(nullptr, At(0), At(4)); }   },
        {"iStartTick <= iEndTick",              [](auto& ioMap) { ioMap.Delete(At(4), At(0)); }          },
        {"iStartTick <= iEndTick",
         [](auto& ioMap) {
             Time_MeterMap clip;
             ioMap.Copy(&clip, At(4), At(0));
         }                                                                                               },
        {"iStateP",                             [](auto& ioMap) { ioMap.NdoRestoreState(nullptr); }      },
        {"iTicksToInsert > Time_TickLength(0)", [](auto& ioMap) { ioMap.InsertTime(At(8), Quarters(0)); }},
    };
    for (const auto& row : cCases) {
        row.mEdit(map);
        EXPECT_EQ(recorder.Take(),
                  std::vector<std::string>{row.mText + std::string("@$^$@Time/Time_MeterMap")});
        EXPECT_EQ(map.Dump(), before) << row.mText;
    }
    map.AddInitialMeterChange(At(2), c6_8, 5); // goes on as any other change
    EXPECT_EQ(recorder.Take(), std::vector<std::string>{"this->IsDefault()@$^$@Time/Time_MeterMap"});
    EXPECT_EQ(ToText(map), "1| 4/4 @0   2| 6/8 @2   3| 3/4 @4");
}

TEST(MeterMapEdit, CopiesTakeTheContentOnly)
{
    Time_MeterMap map(Ndo_Object::kUndoable);
    map = MakeMeterMap("1| 4/4   2| 3/4");
    const Listener listener(map);
    Time_MeterMap copy = map;
    EXPECT_EQ(copy.Dump(), map.Dump());
    EXPECT_EQ(copy.NdoIsUndoable(), Ndo_Object::kNoUndo);
    copy.AddMeterChange(At(8), c4_4);
    EXPECT_EQ(listener.mTold, 0);
    const Cmn_Int64 id = map.NdoGetID();
    map = copy;
    EXPECT_EQ(map.NdoGetID(), id);
    EXPECT_EQ(map.TickToBarBeat(At(7)), Time_BarBeatTick(3, 1, Quarters(0)));
    map.RenumberBars(1);
    EXPECT_EQ(listener.mTold, 1);
}

// Any edits in any order: the invariants hold, the last broadcast shows the final map, undo and redo give the bytes.
TEST(MeterMapEdit, ScriptsOfEditsKeepTheInvariantsAndCanBeUndoneAndRedone)
{
    const AssertRecorder asserts; // negative shifts and realignments may report; nothing else may
    for (unsigned seed = 1; seed <= 300; ++seed) {
        std::mt19937 random(seed);
        const auto tick = [&random] {
            const int quarter = static_cast<int>(random() % 60) - 10;
            return At(quarter, random() % 3 == 0 ? static_cast<Cmn_Int64>(random() % 960000) : 0);
        };
        const auto meter = [&random] {
            return Time_Meter(1 + random() % 12, 1 << random() % 7,
                              Time_NotationDurationValue(static_cast<Time_ENoteDuration>(1 + random() % 7),
                                                         random() % 2 == 0));
        };
        Time_MeterMap map(Ndo_Object::kUndoable), clip;
        const Listener listener(map);
        std::vector<std::unique_ptr<Ndo_Operation>> undo;
        std::vector<std::vector<Cmn_UInt8>> states;
        for (int step = 0; step < 25; ++step) {
            Time_Tick a = tick(), b = tick();
            if (b < a) std::swap(a, b);
            const bool keep = random() % 2 == 0;
            const int kind = static_cast<int>(random() % 18);
            const Time_MeterMap before = map;
            const int toldBefore = listener.mTold;
            states.push_back(Canonical(map));
            Ndo_StOperationRecorder recorder;
            switch (kind) {
            case 0:
                map.AddMeterChange(a, meter(), 5);
                break;
            case 1:
                map.AddMeterChange(a, meter());
                break;
            case 2:
                map.RemoveMeterChange((map.IterBegin() + random() % map.GetNumberOfChanges())->GetTick());
                break;
            case 3:
                map.ForceMeterAtBarBeat(map.TickToBarBeat(a), meter());
                break;
            case 4:
                map.RenumberBars(static_cast<int>(random() % 9) - 4);
                break;
            case 5:
                map.SetSongStartTick(a);
                break;
            case 6:
                map.AddBackSongStartMeter(3);
                break;
            case 7:
                map.Delete(a, b, keep);
                break;
            case 8:
                map.Erase(a, b, keep);
                break;
            case 9:
                map.DeleteTime(a, b);
                break;
            case 10:
                map.InsertTime(a, b - a + Time_TickLength(1));
                break;
            case 11:
                map.InsertTime(a, b - a + Time_TickLength(1), &clip);
                break;
            case 12:
                map.ShiftMeterChangesStartingAt(a, b - tick());
                break;
            case 13:
                map.RealignExistingMeterChangesToBBT(a);
                break;
            case 14:
                map.Copy(&clip, a, b);
                break;
            case 15:
                map.Paste(a, b, &clip, keep);
                break;
            case 16:
                map.Paste(a, b, &map, keep);
                break;
            case 17:
                clip.Copy(&map, Time_cZeroTick, b);
                break;
            }
            undo.push_back(recorder.OperationComplete());
            const std::string where = "seed " + std::to_string(seed) + " step " + std::to_string(step) +
                                      " edit " + std::to_string(kind) + "\n" + before.Dump() + "became\n" +
                                      map.Dump();
            ASSERT_EQ(map.FindBrokenInvariant(), "") << where;
            if (listener.mTold > toldBefore) {
                ASSERT_EQ(listener.mLastSeen, map.Dump()) << where;
            } else if (!before.IsDefault() || !map.IsDefault()) {
                ASSERT_EQ(map.Dump(), before.Dump()) << where;
            }
            if (kind == 8 && a < b) { // beside the range and its last bar, meters stay
                const Time_BarBeatTick end = before.TickToBarBeat(b);
                const Time_Tick barline =
                    end.IsOnBarline() ? b : before.BarBeatToTick({end.mBar + 1, 1, Quarters(0)});
                for (int i = 0; i < 20; ++i) {
                    const Time_Tick probe = tick();
                    if (probe >= barline || (probe < a && before.IterBegin()->GetTick() < a)) {
                        ASSERT_EQ(map.GetMeterAtTick(probe), before.GetMeterAtTick(probe))
                            << probe.Dump() << where;
                    }
                }
            }
        }
        std::vector<std::unique_ptr<Ndo_Operation>> redo;
        const std::vector<Cmn_UInt8> last = Canonical(map);
        for (std::size_t i = undo.size(); i-- > 0;) {
            Ndo_StOperationRecorder recorder;
            undo[i]->Restore();
            redo.push_back(recorder.OperationComplete());
            ASSERT_EQ(Time_MeterMap_NdoState(map).GetBytes(), states[i]) << "seed " << seed << " step " << i;
        }
        for (; !redo.empty(); redo.pop_back())
            redo.back()->Restore();
        ASSERT_EQ(Time_MeterMap_NdoState(map).GetBytes(), last) << "seed " << seed;
    }
    for (const std::string& report : asserts.Take())
        ASSERT_EQ(report, "moved meter changes stay in order@$^$@Time/Time_MeterMap");
}
