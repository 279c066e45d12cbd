#include "Kora/Cnn/Cnn_ListenerMessageReceiver.h"
#include "Support/MeterMapText.h"
#include "Support/UndoHistory.h"
#include "Time/TimeFixture.h"

namespace {

using Edit = std::function<void(Time_MeterMap&)>;
#define EDIT(...) [&](Time_MeterMap& ioMap) { ioMap.__VA_ARGS__; }

Time_TickLength Quarters(double iQuarters) { return At(iQuarters) - At(0); }

const std::string cSource = "@$^$@Time/Time_MeterMap";
const std::string cOutOfOrder = "moved meter changes stay in order" + cSource;
const Time_Meter c3_4(3, 4), c4_4(4, 4), c6_8(6, 8);

struct EditCase
{
    const char* mName;
    const char* mBefore;
    Edit mEdit;
    const char* mAfter;
};

void ExpectEdits(const std::vector<EditCase>& iCases)
{
    for (const EditCase& row : iCases) {
        Time_MeterMap map = MakeMeterMap(row.mBefore);
        row.mEdit(map);
        EXPECT_EQ(ToText(map), row.mAfter) << row.mName;
        EXPECT_EQ(map.FindBrokenInvariant(), "") << row.mName;
    }
}

// Counts what a map broadcasts and remembers how it was at the last time.
class Listener : public Cnn_ListenerMessageReceiver
{
public:
    explicit Listener(Time_MeterMap& ioMap)
        : mMap(ioMap)
    {
        mMap.GetListenerList().Add(this);
    }
    ~Listener() override { mMap.GetListenerList().Remove(this); }
    void ReceiveMessage(const Cnn_ListenerMessage&) override { ++mTold, mLastSeen = mMap.Dump(); }
    std::type_index GetMessageClassInfo() const override { return typeid(Mdl_SimpleValMessage); }

    Time_MeterMap& mMap;
    int mTold = 0;
    std::string mLastSeen;
};

// A clip with 3/4 at its tick 0, from bar 50 of somewhere.
Time_MeterMap Clip()
{
    Time_MeterMap clip;
    clip.AddMeterChange(Time_cZeroTick, c3_4, 50);
    return clip;
}

// The map as undo restores it and documents bring it back.
Bytes Canonical(const Time_MeterMap& iMap)
{
    Time_MeterMap copy;
    ReadBack(copy, Streamed(iMap));
    return Streamed(copy);
}

} // namespace

// The tables have one row a case; clang-format 14 fails on lambdas in them.
TEST(MeterMapEdit, ChangesAreAddedForcedAndRemovedAndTheSongStartKeepsItsBar)
{
    ExpectEdits({
        {"an empty map gets just the change", "", EDIT(AddMeterChange(At(8), c3_4)), "3| 3/4 @8"},
        {"in a bar it opens the next", "1| 4/4   3| 6/8", EDIT(AddMeterChange(At(1), c3_4)),
         "1| 4/4 @0   2| 3/4 @1   5| 6/8 @8"},
        {"before the first it has its place's bar", "1| 4/4", EDIT(AddMeterChange(At(-6), c3_4)),
         "-1| 3/4 @-6   1| 4/4 @0"},
        {"removing joins the bars", "1| 4/4   2| 3/4 @1   4| 6/8", EDIT(RemoveMeterChange(At(1))),
         "1| 4/4 @0   3| 6/8 @7"},
        {"forced from the bar's start", "1| 4/4", EDIT(ForceMeterAtBarBeat({3, 2, Quarters(0)}, c6_8)),
         "1| 4/4 @0   3| 6/8 @8"},
        {"over changes up to the place", "1| 4/4   2| 2/4   3| 3/4",
         EDIT(ForceMeterAtBarBeat({2, 3, Quarters(0)}, c4_4)), "1| 4/4 @0   2| 4/4 @4   4| 3/4 @9"},
        {"forced on an empty map", "", EDIT(ForceMeterAtBarBeat({5, 3, Quarters(0)}, c4_4)), "5| 4/4 @16"},
        {"renumbering moves all", "1| 4/4   3| 3/4", EDIT(RenumberBars(-5)), "-4| 4/4 @0   -2| 3/4 @8"},
        {"renumbering makes an empty map real", "", EDIT(RenumberBars(2)), "3| 4/4 @0"},
        {"made real, it starts at the default", "",
         [](auto& io) { io.SetSongStartTick(At(100)), io.MakeRealIfDefault(); }, "1| 4/4 @0"},
        // The song start keeps its bar.
        {"moved into a bar, which keeps its number", "1| 4/4", EDIT(SetSongStartTick(At(6))), "2| 4/4 @6"},
        {"the old one goes where redundant", "1| 3/4 @-6   3| 3/4 @0", EDIT(SetSongStartTick(At(3))),
         "1| 3/4 @-6   4| 3/4 @3"},
        {"and stays where not", "1| 4/4   2| 3/4", EDIT(SetSongStartTick(At(7))),
         "1| 4/4 @0   2| 3/4 @4   3| 3/4 @7"},
        {"deleted, it comes back with its bar", "1| 4/4   2| 3/4", EDIT(Delete(At(0), At(1))),
         "1| 3/4 @0   3| 3/4 @4"},
        {"unless it is kept as it is", "1| 4/4   2| 3/4", EDIT(Delete(At(0), At(1), true)), "2| 3/4 @4"},
        {"deleting all leaves an empty map", "1| 4/4   2| 3/4", EDIT(Delete(At(0), At(5))), ""},
        {"the meter before holds on", "1| 4/4   2| 3/4   4| 6/8", EDIT(Delete(At(4), At(10))),
         "1| 4/4 @0   4| 6/8 @10"},
        {"erased, it holds again from the next barline", "1| 4/4   2| 3/4   4| 6/8",
         EDIT(Erase(At(4), At(5))), "1| 4/4 @0   3| 3/4 @7   4| 6/8 @10"},
        {"nothing is added where it holds anyway", "1| 4/4   2| 3/4   3| 4/4", EDIT(Erase(At(4), At(7))),
         "1| 4/4 @0   3| 4/4 @7"},
    });
}

TEST(MeterMapEdit, DeletedAndInsertedTimeRefitsItsBars)
{
    const Time_MeterMap clip = Clip();
    ExpectEdits({
        {"a whole bar", "1| 4/4   5| 3/4", EDIT(DeleteTime(At(4), At(8))), "1| 4/4 @0   4| 3/4 @12"},
        {"with the changes in it", "1| 4/4   2| 3/4   3| 4/4", EDIT(DeleteTime(At(4), At(7))),
         "1| 4/4 @0   2| 4/4 @4"},
        {"one beat makes a 3/4 bar", "1| 4/4", EDIT(DeleteTime(At(5), At(6))),
         "1| 4/4 @0   2| 3/4 @4   3| 4/4 @7"},
        {"half a beat makes 7/8", "1| 4/4", EDIT(DeleteTime(At(5), At(5.5))),
         "1| 4/4 @0   2| 7/8 @4   3| 4/4 @7+480000"},
        {"a short rest joins the bar before", "1| 4/4", EDIT(DeleteTime(At(4.5), At(7.5))),
         "1| 5/4 @0   2| 4/4 @5"},
        {"to 6/4, which is split in two", "1| 4/4", EDIT(DeleteTime(At(4.5), At(6.5))),
         "1| 3/4 @0   3| 4/4 @6"},
        {"to 8/8, which is reduced", "1| 7/8", EDIT(DeleteTime(At(3.75), At(6.75))), "1| 4/4 @0   2| 7/8 @4"},
        {"the first bar keeps its number", "1| 4/4   3| 3/4", EDIT(DeleteTime(At(0), At(4))),
         "1| 3/4 @0   3| 3/4 @4"},
        {"bars before the start are not refitted", "1| 4/4", EDIT(DeleteTime(At(5), At(8))),
         "1| 4/4 @0   2| 4/4 @4   3| 4/4 @5"},
        {"what no meter has is cut", "1| 4/4", EDIT(DeleteTime(At(5), At(5, 7))),
         "1| 4/4 @0   2| 4/4 @4   3| 4/4 @7+959993"},
        {"an empty map stays so for whole bars", "", EDIT(DeleteTime(At(4), At(8))), ""},
        // Inserted.
        {"a whole bar", "1| 4/4   3| 3/4", EDIT(InsertTime(At(4), Quarters(4))), "1| 4/4 @0   4| 3/4 @12"},
        {"a beat at a barline joins the bar before", "1| 4/4", EDIT(InsertTime(At(4), Quarters(1))),
         "1| 5/4 @0   2| 4/4 @5"},
        {"inside a bar it lengthens it", "1| 4/4", EDIT(InsertTime(At(5), Quarters(1))),
         "1| 4/4 @0   2| 5/4 @4   3| 4/4 @9"},
        {"before a shorter bar it goes into that", "1| 4/4   2| 2/4   3| 4/4",
         EDIT(InsertTime(At(4), Quarters(1))), "1| 4/4 @0   2| 3/4 @4   3| 4/4 @7"},
        {"a clip fills the gap", "1| 4/4", EDIT(InsertTime(At(4), Quarters(3), &clip)),
         "1| 4/4 @0   2| 3/4 @4   3| 4/4 @7"},
        {"6/8 becomes 3/4: a quarter divides it", "1| 6/8", EDIT(InsertTime(At(3), Quarters(3))),
         "1| 6/8 @0   2| 3/4 @3"},
        {"whole bars leave an empty map as it is", "", EDIT(InsertTime(At(5), Quarters(4))), ""},
        {"an empty map gets a pinned meter", "", EDIT(InsertTime(At(5), Quarters(1))),
         "1| 4/4 @0   2| 5/4 @4   3| 4/4 @9"},
        {"a million bars", "1| 4/4   3| 3/4", EDIT(InsertTime(At(4), Quarters(4e6))),
         "1| 4/4 @0   1000003| 3/4 @4000008"},
    });
}

TEST(MeterMapEdit, MovedChangesKeepTheirOrder)
{
    const auto shift = [](double iFrom, double iBy) {
        return [=](Time_MeterMap& ioMap) { ioMap.ShiftMeterChangesStartingAt(At(iFrom), Quarters(iBy)); };
    };
    const auto realignBehindFirst = [](Time_MeterMap& ioMap) {
        ioMap.AddMeterChange(At(4), c3_4, 2); // its BBT is 2|1|0 now, two bars before the first change
        ioMap.RealignExistingMeterChangesToBBT(At(4));
    };
    ExpectEdits({
        {"forward", "1| 4/4   2| 3/4   3| 5/4", shift(4, 1), "1| 4/4 @0   3| 3/4 @5   4| 5/4 @8"},
        {"back", "1| 4/4   3| 3/4   4| 5/4", shift(8, -4), "1| 4/4 @0   2| 3/4 @4   3| 5/4 @7"},
        {"realigned by as much as the bar was cut", "1| 4/4   2| 3/4 @1   5| 5/8 @10",
         EDIT(RealignExistingMeterChangesToBBT(At(1))), "1| 4/4 @0   2| 3/4 @1   4| 5/8 @7"},
        {"realigned by nothing", "1| 4/4   2| 3/4   4| 5/8", EDIT(RealignExistingMeterChangesToBBT(At(0))),
         "1| 4/4 @0   2| 3/4 @4   4| 5/8 @10"},
        {"all, numbers stay", "7| 4/4   8| 3/4", EDIT(ShiftAllMeterEventsByNumTicks(Quarters(-9))),
         "7| 4/4 @-9   8| 3/4 @-5"},
    });
    const Time_MeterMap cut = MakeMeterMap("1| 4/4   2| 3/4 @1   3| 6/8");
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_EQ(cut.IterBegin()[i].IsOffBarline(), i == 1) << i;
    const AssertRecorder recorder;
    ExpectEdits({
        {"onto one that stays: the moved one stays", "1| 4/4   2| 3/4   3| 5/4", shift(7, -3),
         "1| 4/4 @0   2| 5/4 @4"},
        {"past one that stays", "1| 4/4   2| 3/4   3| 5/4", shift(7, -5),
         "1| 4/4 @0   2| 5/4 @2   3| 3/4 @4"},
        {"onto the realigned one", "1| 4/4   2| 3/4 @1   3| 5/8 @4",
         EDIT(RealignExistingMeterChangesToBBT(At(1))), "1| 4/4 @0   2| 5/8 @1"},
        {"before its predecessor", "4| 4/4   5| 3/4   6| 5/8", realignBehindFirst,
         "2| 3/4 @-8   5| 4/4 @0   10| 5/8 @19"},
    });
    EXPECT_EQ(recorder.Take(), Reports(4, cOutOfOrder));
}

TEST(MeterMapEdit, PasteFillsTheRangeAndKeepsTheMeterBehindIt)
{
    const Time_MeterMap song = MakeMeterMap("1| 4/4   2| 3/4   4| 6/8"); // 3/4 at 4, 6/8 at 10
    const Time_MeterMap fifty = Clip();
    Time_MeterMap whole;
    Time_MeterMap carried;
    Time_MeterMap held;
    song.Copy(&whole, At(4), At(11));
    song.Copy(&carried, At(5), At(12));
    song.Copy(&held, At(5), At(9));
    const auto paste = [](double iStart, double iEnd, const Time_MeterMap& iClip, bool iKeep = false) {
        return [=, &iClip](Time_MeterMap& ioMap) { ioMap.Paste(At(iStart), At(iEnd), &iClip, iKeep); };
    };
    ExpectEdits({
        {"changes as they were", "1| 4/4", paste(20, 27, whole),
         "1| 4/4 @0   6| 3/4 @20   8| 6/8 @26   9| 4/4 @28"},
        {"a carried one at its barline", "1| 4/4", paste(20, 27, carried),
         "1| 4/4 @0   7| 3/4 @22   8| 6/8 @25   9| 4/4 @28"},
        {"but not where its meter holds", "1| 3/4", paste(1, 5, held), "1| 3/4 @0"},
        {"old changes of the range go", "1| 4/4   3| 5/8   4| 7/8", paste(8, 15, whole),
         "1| 4/4 @0   3| 3/4 @8   5| 6/8 @14   7| 7/8 @17+480000"},
        {"what does not fit is left out", "1| 4/4   2| 2/4   3| 4/4", paste(4, 6, whole),
         "1| 4/4 @0   2| 3/4 @4   3| 4/4 @6"},
        {"the song start comes back", "1| 4/4 @-8   3| 2/4 @0", paste(-4, 3, whole),
         "0| 4/4 @-8   1| 3/4 @-4   3| 3/4 @0   4| 6/8 @2   5| 2/4 @4"},
        {"or not", "1| 4/4 @-8   3| 2/4 @0", paste(-4, 3, whole, true),
         "1| 4/4 @-8   2| 3/4 @-4   4| 6/8 @2   5| 2/4 @4"},
        {"the song start is set before bars are numbered", "1| 4/4 @-8", paste(-4, 3, fifty),
         "-48| 4/4 @-8   -47| 3/4 @-4   -45| 3/4 @0   -43| 4/4 @4"},
        {"over the default change", "", paste(0, 7, whole), "2| 3/4 @0   4| 6/8 @6   5| 4/4 @8"},
    });
}

TEST(MeterMapEdit, CopyCarriesTheMeterInForceIn)
{
    const struct
    {
        const char* mName;
        double mStart, mEnd;
        const char* mClip;
        bool mIsCarriedIn;
    } cCases[] = {
        {"from a change on", 4, 12, "2| 3/4 @0   4| 6/8 @6", false},
        {"from inside a bar: at the next barline", 5, 12, "3| 3/4 @2   4| 6/8 @5", true},
        {"where no change lies", 12, 20, "5| 6/8 @1", true},
        {"up to the next barline: nothing to carry", 5, 7, "", false},
        {"an empty range", 5, 5, "", false},
    };
    for (const auto& row : cCases) {
        Time_MeterMap map = MakeMeterMap("1| 4/4   2| 3/4   4| 6/8");
        Time_MeterMap clip = Clip();
        map.Copy(&clip, At(row.mStart), At(row.mEnd));
        EXPECT_EQ(!clip.IsDefault() && clip.IterBegin()->IsCarriedIn(), row.mIsCarriedIn) << row.mName;
        map.Copy(&map, At(row.mStart), At(row.mEnd));
        EXPECT_EQ(map.Dump(), clip.Dump()) << row.mName;
        clip.ShiftAllMeterEventsByNumTicks(At(0) - Time_cZeroTick);
        EXPECT_EQ(ToText(clip), row.mClip) << row.mName;
    }
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
        {"an initial change is silent", "", EDIT(AddInitialMeterChange(At(0), c3_4, 1)), 0, true},
        {"making real is silent", "", EDIT(MakeRealIfDefault()), 0, true},
        {"Clear is silent", "1| 4/4", EDIT(Clear()), 0, true},
        {"assignment is silent", "1| 4/4", EDIT(operator=(other)), 0, true},
        {"a song start without changes is silent", "", EDIT(SetSongStartTick(At(1))), 0, true},
        {"the same song start is nothing", "1| 4/4", EDIT(SetSongStartTick(At(0))), 0, false},
        {"adding", "1| 4/4", EDIT(AddMeterChange(At(4), c3_4)), 1, true},
        {"removing", "1| 4/4", EDIT(RemoveMeterChange(At(0))), 1, true},
        {"a song start onto a change", "1| 4/4   2| 3/4", EDIT(SetSongStartTick(At(4))), 1, true},
        {"deleting", "1| 4/4   2| 3/4", EDIT(Delete(At(4), At(5))), 1, true},
        {"shifting", "1| 4/4", EDIT(ShiftAllMeterEventsByNumTicks(Quarters(1))), 1, true},
        {"removing nothing still notifies undo", "1| 4/4", EDIT(RemoveMeterChange(At(1))), 0, true},
        {"deleting nothing", "1| 4/4", EDIT(Delete(At(4), At(5))), 0, true},
        {"erasing an empty range is nothing", "1| 4/4", EDIT(Erase(At(0), At(0))), 0, false},
        {"shifting by zero is nothing", "1| 4/4", EDIT(ShiftAllMeterEventsByNumTicks(Quarters(0))), 0, false},
        {"shifting an empty map is nothing", "", EDIT(ShiftAllMeterEventsByNumTicks(Quarters(1))), 0, false},
        {"forcing on an empty map", "", EDIT(ForceMeterAtBarBeat({2, 1, Quarters(0)}, c3_4)), 1, true},
        {"forcing what is in force is nothing", "1| 4/4",
         EDIT(ForceMeterAtBarBeat({2, 1, Quarters(0)}, c4_4)), 0, false},
        {"replacing", "1| 4/4", EDIT(ReplaceWith(other)), 1, true},
        {"a copy's destination", "", [&](auto& ioMap) { other.Copy(&ioMap, At(0), At(9)); }, 1, true},
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
    Time_MeterMap clip;
    const std::string before = map.Dump();
    const AssertRecorder recorder;
    const struct
    {
        const char* mText;
        Edit mEdit;
    } cCases[] = {
        {"iSrcP", EDIT(Paste(At(0), At(4), nullptr))},
        {"oDestP", EDIT(Copy(nullptr, At(0), At(4)))},
        {"iStartTick <= iEndTick", EDIT(Delete(At(4), At(0)))},
        {"iStartTick <= iEndTick", EDIT(Copy(&clip, At(4), At(0)))},
        {"iStateP", EDIT(NdoRestoreState(nullptr))},
        {"iTicksToInsert > Time_TickLength(0)", EDIT(InsertTime(At(8), Quarters(0)))},
    };
    for (const auto& row : cCases) {
        row.mEdit(map);
        EXPECT_EQ(recorder.Take(), Reports{row.mText + cSource});
        EXPECT_EQ(map.Dump(), before) << row.mText;
    }
    map.AddInitialMeterChange(At(2), c6_8, 5); // goes on as any other change
    EXPECT_EQ(recorder.Take(), Reports{"this->IsDefault()" + cSource});
    EXPECT_EQ(ToText(map), "1| 4/4 @0   2| 6/8 @2   3| 3/4 @4");
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

TEST(MeterMapEdit, CopiesTakeTheContentOnly)
{
    Time_MeterMap map(Ndo_Object::kUndoable);
    map = MakeMeterMap("1| 4/4   2| 3/4");
    const Listener listener(map);
    const Cmn_Int64 id = map.NdoGetID();
    Time_MeterMap copy = map;
    EXPECT_EQ(copy.NdoIsUndoable(), Ndo_Object::kNoUndo);
    copy.AddMeterChange(At(8), c4_4);
    EXPECT_EQ(listener.mTold, 0);
    map = copy;
    EXPECT_EQ(map.NdoGetID(), id);
    EXPECT_EQ(map.Dump(), copy.Dump());
}

namespace {

// Any edits in any order, of one map.
class EditScript
{
public:
    explicit EditScript(unsigned iSeed)
        : mRandom(iSeed)
    {
    }

    void Step()
    {
        mFrom = AnyTick(), mTo = AnyTick();
        if (mTo < mFrom) std::swap(mFrom, mTo);
        mKeep = mRandom() % 2 == 0;
        mKind = static_cast<int>(mRandom() % std::size(mEdits));
        const Time_MeterMap before = mMap;
        const int toldBefore = mListener.mTold;
        mHistory.Record(mEdits[mKind]);
        SCOPED_TRACE("edit " + std::to_string(mKind) + "\n" + before.Dump() + "became\n" + mMap.Dump());
        ASSERT_EQ(mMap.FindBrokenInvariant(), "");
        const bool wasTold = mListener.mTold > toldBefore;
        if (wasTold || !before.IsDefault() || !mMap.IsDefault()) {
            ASSERT_EQ(mMap.Dump(), wasTold ? mListener.mLastSeen : before.Dump());
        }
        Time_MeterMap laidOutAnew;
        laidOutAnew.ReplaceWith(mMap);
        for (int i = 0; i < 10; ++i) {
            const Time_Tick probe = AnyTick();
            ASSERT_EQ(mMap.TickToBarBeat(probe), laidOutAnew.TickToBarBeat(probe));
        }
        if (mKind == cErase && mFrom < mTo) ExpectTheMetersBesideToStay(before);
    }
    void ExpectEveryState() { mHistory.ExpectEveryState(); }

private:
    static constexpr int cErase = 0;

    Time_Tick AnyTick()
    {
        const int quarter = static_cast<int>(mRandom() % 60) - 10;
        return At(quarter, mRandom() % 3 == 0 ? static_cast<Cmn_Int64>(mRandom() % 960000) : 0);
    }
    Time_Meter AnyMeter()
    {
        const Time_NotationDurationValue click(Time_ENoteDuration(1 + mRandom() % 7), mRandom() % 2);
        return Time_Meter(1 + mRandom() % 12, 1 << mRandom() % 7, click);
    }
    Time_Tick AnyChange() { return mMap.IterBegin()[mRandom() % mMap.GetNumberOfChanges()].GetTick(); }
    Time_TickLength Length() const { return mTo - mFrom + Time_TickLength(1); }

    void PasteItself()
    {
        Time_MeterMap expected = mMap;
        expected.Paste(mFrom, mTo, &std::as_const(mMap), mKeep);
        mMap.Paste(mFrom, mTo, &mMap, mKeep);
        EXPECT_EQ(mMap.Dump(), expected.Dump());
    }
    // With a query or another edit between, as one by one.
    void AddInABracket()
    {
        Time_MeterMap plain = mMap;
        const Time_Tick known = AnyChange();
        const int toldBefore = mListener.mTold;
        mMap.BeginEdit();
        for (int i = static_cast<int>(mRandom() % 12); i >= 0; --i) {
            const Time_Tick at = i % 4 == 0 ? known : AnyTick();
            const Time_Meter meter = AnyMeter();
            const unsigned kind = mRandom() % 20;
            for (Time_MeterMap* each : {&mMap, &plain}) {
                if (kind < 8) each->AddMeterChange(at, meter);
                if (kind >= 8) each->AddMeterChange(at, meter, i);
                if (kind == 0) each->Erase(mFrom, mTo, mKeep);
            }
            if (kind == 1) {
                EXPECT_EQ(mMap.TickToBarBeat(mTo), plain.TickToBarBeat(mTo));
            }
        }
        mMap.EndEdit();
        EXPECT_EQ(mMap.Dump(), plain.Dump());
        EXPECT_EQ(Streamed(mMap), Streamed(plain));
        EXPECT_EQ(mListener.mTold, toldBefore + 1);
    }
    // Those of the range's last bar do not.
    void ExpectTheMetersBesideToStay(const Time_MeterMap& iBefore)
    {
        Time_BarBeatTick behind = iBefore.TickToBarBeat(mTo);
        if (!behind.IsOnBarline()) behind.AdvanceToNextBarline();
        for (int i = 0; i < 20; ++i) {
            const Time_Tick probe = AnyTick();
            const bool isInFront = probe < mFrom && iBefore.IterBegin()->GetTick() < mFrom;
            if (!isInFront && probe < iBefore.BarBeatToTick(behind)) continue;
            ASSERT_EQ(mMap.GetMeterAtTick(probe), iBefore.GetMeterAtTick(probe));
        }
    }

    std::mt19937 mRandom;
    Time_Tick mFrom;
    Time_Tick mTo;
    bool mKeep = false;
    int mKind = 0;
    Time_MeterMap mMap{Ndo_Object::kUndoable};
    Time_MeterMap mClip;
    const Listener mListener{mMap};
    UndoHistory<Time_MeterMap> mHistory{mMap, &Canonical};
    const std::function<void()> mEdits[18] = {
        [&] { mMap.Erase(mFrom, mTo, mKeep); },
        [&] { mMap.AddMeterChange(mFrom, AnyMeter(), 5); },
        [&] { mMap.RemoveMeterChange(AnyChange()); },
        [&] { mMap.ForceMeterAtBarBeat(mMap.TickToBarBeat(mFrom), AnyMeter()); },
        [&] { mMap.RenumberBars(static_cast<int>(mRandom() % 9) - 4); },
        [&] { mMap.SetSongStartTick(mFrom); },
        [&] { mMap.AddBackSongStartMeter(3); },
        [&] { mMap.Delete(mFrom, mTo, mKeep); },
        [&] { mMap.DeleteTime(mFrom, mTo); },
        [&] { mMap.InsertTime(mFrom, Length()); },
        [&] { mMap.InsertTime(mFrom, Length(), &mClip); },
        [&] { mMap.ShiftMeterChangesStartingAt(mFrom, mTo - AnyTick()); },
        [&] { mMap.RealignExistingMeterChangesToBBT(mFrom); },
        [&] { mMap.Copy(&mClip, mFrom, mTo); },
        [&] { mMap.Paste(mFrom, mTo, &mClip, mKeep); },
        [&] { PasteItself(); },
        [&] { mClip.Copy(&mMap, Time_cZeroTick, mTo); },
        [&] { AddInABracket(); },
    };
};

} // namespace

// The invariants hold, the last broadcast shows the final map, undo and redo give the bytes.
TEST(MeterMapEdit, ScriptsOfEditsKeepTheInvariantsAndCanBeUndoneAndRedone)
{
    const AssertRecorder asserts; // negative shifts and realignments may report; nothing else may
    for (unsigned seed = 1; seed <= 200; ++seed) {
        SCOPED_TRACE(seed);
        EditScript script(seed);
        for (int step = 0; step < 25 && !testing::Test::HasFailure(); ++step)
            script.Step();
        script.ExpectEveryState();
        if (testing::Test::HasFailure()) return;
    }
    for (const std::string& report : asserts.Take())
        ASSERT_EQ(report, cOutOfOrder);
}
