#include "Kora/Ndo/Ndo_History.h"
#include "Kora/Ndo/Ndo_HistoryListener.h"
#include "Kora/Ndo/Ndo_StDisableRecording.h"
#include "Ndo/World.h"

#include <random>

namespace {

// Does what it was given, each time that it is told.
struct Listener : Ndo_HistoryListener
{
    Listener(Ndo_History& ioHistory, std::function<void()> iWhenTold)
        : mHistory(ioHistory)
        , mWhenTold(std::move(iWhenTold))
    {
        ioHistory.AddListener(this);
    }
    ~Listener() override { mHistory.RemoveListener(this); }
    void HistoryChanged(Ndo_History&) override { mWhenTold(); }
    Ndo_History& mHistory;
    std::function<void()> mWhenTold;
};

class History : public WorldTest
{
protected:
    ~History() override { mHistory.Clear(); }

    bool Do(const std::string& iName, const std::function<void()>& iEdit, Cmn_Int64 iMergeID = 0)
    {
        return mHistory.Add(Record(iEdit), iName, iMergeID);
    }
    bool Set(int iPitch, Cmn_Int64 iMergeID = 0)
    {
        return Do(
            std::to_string(iPitch), [&] { mNote->Set(iPitch); }, iMergeID);
    }

    Ndo_History mHistory;
    Note* mNote = Note::New(0);
};

} // namespace

// Random steps, merged, limited, saved, undone and redone, against the texts that the
// world had at each position.
TEST_F(History, FollowsAPlainListOfTexts)
{
    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    std::vector<std::string> texts{World::Text()}; // [0] is the oldest that can be reached
    std::size_t position = 0, limit = Ndo_History::cUnlimited;
    std::string saved = texts[0]; // that of the position, which no other text is like
    bool isSavedReachable = true, mayMerge = false;
    int told = 0;
    Listener listener(mHistory, [&] { ++told; });
    const auto isSavedAt = [&](std::size_t iAt) { return isSavedReachable && texts[iAt] == saved; };
    const auto forget = [&](std::size_t iAt) {
        if (isSavedAt(iAt)) isSavedReachable = false;
        texts.erase(texts.begin() + static_cast<std::ptrdiff_t>(iAt));
    };
    const auto keepLimit = [&] {
        for (; texts.size() - 1 > limit; position -= position > 1)
            forget(position > 1 ? 0 : texts.size() - 1);
    };
    int value = 0;
    const auto edit = [&] {
        MoveFader::Log(++value); // makes each text another
        for (unsigned count = random() % 4; count > 0; --count) {
            const unsigned kind = World::sNotes.empty() ? 0 : random() % 4;
            Note* const note = kind == 0 ? nullptr : *World::sNotes.begin();
            kind == 0 ? void(Note::New(value)) : kind == 1 ? note->NdoDelete() : note->Set(value);
        }
    };

    for (int step = 0; step < 4000; ++step) {
        const unsigned kind = random() % 16;
        const int toldBefore = told;
        if (kind < 6) {
            const bool merges = mayMerge && random() % 2 == 0 && position > 0 && !isSavedAt(position);
            Do("", edit, merges ? 7 : (mHistory.StopMerging(), 7));
            while (texts.size() - 1 > position)
                forget(texts.size() - 1);
            if (merges) texts.pop_back();
            texts.push_back(World::Text());
            position = texts.size() - 1;
            mayMerge = true;
        } else if (kind < 13) {
            const std::size_t to = kind < 9 && position > 0 ? position - 1 : random() % texts.size();
            ASSERT_TRUE(kind < 9 && position > 0 ? mHistory.Undo() : mHistory.GoTo(to));
            mayMerge = mayMerge && position == to;
            ASSERT_EQ(told - toldBefore, position != to);
            position = to;
        } else if (kind == 13) {
            mHistory.MarkSaved();
            saved = texts[position];
            isSavedReachable = true;
        } else {
            limit = random() % 3 == 0 ? 1 + random() % 12 : Ndo_History::cUnlimited;
            mHistory.SetLimits(limit, Ndo_History::cUnlimited);
        }
        keepLimit();
        ASSERT_LE(told - toldBefore, 1);
        ASSERT_EQ(World::Text(), texts[position]) << "step " << step << "\n" << mHistory.Dump();
        ASSERT_EQ(mHistory.GetPosition(), position) << "step " << step;
        ASSERT_EQ(mHistory.GetNumberOfSteps(), texts.size() - 1) << "step " << step;
        ASSERT_EQ(mHistory.IsSaved(), isSavedAt(position)) << "step " << step << "\n" << mHistory.Dump();
    }
    EXPECT_EQ(mRecorder.Take(), Reports{});
}

TEST_F(History, ADragIsOneStepThatStopsAtWhatWasSaved)
{
    for (int pitch = 1; pitch <= 1000; ++pitch)
        Set(pitch, 1);
    EXPECT_EQ(mHistory.Dump(), "Ndo_History: 8 bytes\n  0 saved\n  1, 8 bytes\n> 1\n");
    mHistory.MarkSaved();
    Set(1001, 1);
    Do("", [] {}); // nothing happened
    Set(1002, 2);
    EXPECT_EQ(mHistory.GetNumberOfSteps(), 3U);
    mHistory.GoTo(1);
    EXPECT_EQ(mNote->Pitch(), 1000);
    EXPECT_TRUE(mHistory.IsSaved());
    EXPECT_EQ(mHistory.GetUndoName() + " " + mHistory.GetRedoName(), "1 1001");
    mHistory.SetLimits(Ndo_History::cUnlimited, 7);
    EXPECT_EQ(mHistory.Dump(), "Ndo_History: 8 bytes\n  0\n  1, 8 bytes\n> 1 saved\n") << "one stays";
    mHistory.SetLimits(0, 0);
    EXPECT_TRUE(mHistory.IsSaved());
    Set(3);
    EXPECT_FALSE(mHistory.IsSaved() || mHistory.CanUndo() || mHistory.GetSavedPosition());
}

// Each of the calls that a restore makes throws in its turn, and in the last round so does the way back.
TEST_F(History, AStepThatThrowsLeavesTheDocumentAndTheOtherSide)
{
    const auto fill = [&] {
        mHistory.Clear();
        World::Reset();
        mNote = Note::New(0);
        mHistory.MarkSaved();
        Set(1);
        Do("all", [&] { mNote->NdoDelete(), MoveFader::Log(5), mNote = Note::New(2); });
        Do("last", [] { MoveFader::Log(6); });
        mHistory.Undo();
    };
    int thrown = 0;
    for (bool threw = true; threw; ++thrown) {
        fill();
        const std::string before = World::Text();
        World::sThrowAt = thrown;
        threw = false;
        try {
            EXPECT_TRUE(mHistory.GoTo(1));
        } catch (const std::runtime_error&) {
            threw = true;
        }
        World::sThrowAt = -1;
        if (!threw) continue;
        EXPECT_EQ(World::Text(), before) << thrown;
        EXPECT_FALSE(mHistory.CanUndo() || mHistory.GetSavedPosition()) << thrown;
        EXPECT_TRUE(mHistory.Redo()) << thrown;
        EXPECT_EQ(World::sFader, 6);
    }
    EXPECT_EQ(thrown, 6);
    fill();
    Set(3), mHistory.MarkSaved(), Set(4), mHistory.Undo();
    World::sWhenRestored = [] { throw std::runtime_error("always"); };
    EXPECT_THROW(mHistory.Undo(), std::runtime_error);
    EXPECT_EQ(mHistory.Dump(), "Ndo_History: 0 bytes\n> 0\n") << "nobody knows what the document is";
    EXPECT_EQ(mRecorder.Take(), Reports{});
}

// From the listener of an object that is restored: all that changes the history is refused.
TEST_F(History, ARestoreThatIsCalledAgainFromItsOwnListenerIsRefused)
{
    Set(1), Set(2);
    mHistory.Undo();
    std::unique_ptr<Ndo_Operation> kept;
    mNote->mWhenRestored = [&] {
        EXPECT_FALSE(mHistory.CanUndo() || mHistory.CanRedo() || mHistory.IsSaved());
        EXPECT_FALSE(mHistory.Undo() || mHistory.Redo() || mHistory.GoTo(2));
        const Ndo_StDisableRecording disabled;
        kept = Record([] { MoveFader::Log(1); });
        EXPECT_FALSE(mHistory.Add(std::move(kept), "inside"));
        mHistory.MarkSaved(), mHistory.MarkUnsaved(), mHistory.Clear(), mHistory.SetLimits(0, 0);
    };
    EXPECT_TRUE(mHistory.Undo());
    EXPECT_NE(kept, nullptr) << "what is refused stays the caller's";
    EXPECT_EQ(mHistory.GetNumberOfSteps(), 2U);
    EXPECT_TRUE(mHistory.IsSaved());
    EXPECT_EQ(mRecorder.Take(), Reports(5, "!mIsBusy@$^$@Ndo/Ndo_History"));

    Record([&] { EXPECT_FALSE(mHistory.Redo()) << "somebody records"; });
    EXPECT_EQ(mRecorder.Take(), Reports{"!Ndo_gManager.IsRecording()@$^$@Ndo/Ndo_History"});
}

TEST_F(History, ListenersComeGoAndThrowWhileTheyAreTold)
{
    std::string told;
    std::unique_ptr<Listener> late;
    Listener self(mHistory, [&] { told += "self ", mHistory.RemoveListener(&self); });
    Listener victim(mHistory, [&] { told += "victim "; });
    Listener killer(mHistory, [&] { told += "killer ", mHistory.RemoveListener(&victim); });
    mHistory.RemoveListener(&victim);
    mHistory.AddListener(&victim); // behind the killer
    Listener thrower(mHistory, [] { throw 1; });
    Listener again(mHistory, [&] {
        told += "again ";
        if (!late) late = std::make_unique<Listener>(mHistory, [&] { told += "late "; });
        mHistory.Undo();
    });
    Set(1);
    // The undo of the last tells those that are left, and the new one.
    EXPECT_EQ(told, "self killer again killer again late ");
    EXPECT_EQ(mNote->Pitch(), 0);
    EXPECT_EQ(mRecorder.Take(), Reports(2, "a listener threw an exception@$^$@Ndo/Ndo_History"));
}
