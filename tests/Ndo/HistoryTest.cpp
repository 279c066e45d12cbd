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

// A history at random, and beside it a plain list of the texts that the world had at each position.
class HistoryScript : public History
{
protected:
    std::size_t Newest() const { return mTexts.size() - 1; }
    bool IsSavedAt(std::size_t iPosition) const { return mIsSavedReachable && mTexts[iPosition] == mSaved; }
    void Forget(std::size_t iPosition)
    {
        if (IsSavedAt(iPosition)) mIsSavedReachable = false;
        mTexts.erase(mTexts.begin() + static_cast<std::ptrdiff_t>(iPosition));
    }

    void Edit()
    {
        MoveFader::Log(++mValue); // makes each text another
        for (unsigned count = mRandom() % 4; count > 0; --count) {
            const unsigned kind = World::sNotes.empty() ? 0 : mRandom() % 4;
            Note* const note = kind == 0 ? nullptr : *World::sNotes.begin();
            kind == 0 ? void(Note::New(mValue)) : kind == 1 ? note->NdoDelete() : note->Set(mValue);
        }
    }
    void AddStep()
    {
        const bool asksToMerge = mRandom() % 2 == 0;
        if (!asksToMerge) mHistory.StopMerging();
        const bool merges = asksToMerge && mMayMerge && mPosition > 0 && !IsSavedAt(mPosition);
        Do(
            "", [&] { Edit(); }, 7);
        while (Newest() > mPosition)
            Forget(Newest());
        if (merges) mTexts.pop_back();
        mTexts.push_back(World::Text());
        mPosition = Newest();
        mMayMerge = true;
    }
    void Move(bool iIsUndo)
    {
        const std::size_t to = iIsUndo ? mPosition - 1 : mRandom() % mTexts.size();
        ASSERT_TRUE(iIsUndo ? mHistory.Undo() : mHistory.GoTo(to));
        mMayMerge = mMayMerge && mPosition == to;
        ASSERT_EQ(mTold, mPosition != to);
        mPosition = to;
    }
    void MarkSaved()
    {
        mHistory.MarkSaved();
        mSaved = mTexts[mPosition];
        mIsSavedReachable = true;
    }
    void Limit()
    {
        mLimit = mRandom() % 3 == 0 ? 1 + mRandom() % 12 : Ndo_History::cUnlimited;
        mHistory.SetLimits(mLimit, Ndo_History::cUnlimited);
    }

    std::mt19937 mRandom;
    std::vector<std::string> mTexts{World::Text()}; // [0] is the oldest that can be reached
    std::size_t mPosition = 0;
    std::size_t mLimit = Ndo_History::cUnlimited;
    std::string mSaved = mTexts[0]; // that of the position, which no other text is like
    bool mIsSavedReachable = true;
    bool mMayMerge = false;
    int mValue = 0;
    int mTold = 0; // since the step began
    Listener mListener{mHistory, [this] { ++mTold; }};
};

} // namespace

TEST_F(HistoryScript, FollowsAPlainListOfTexts)
{
    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    mRandom.seed(seed);
    for (int step = 0; step < 4000; ++step) {
        SCOPED_TRACE("step " + std::to_string(step));
        mTold = 0;
        const unsigned kind = mRandom() % 16;
        if (kind < 6)
            AddStep();
        else if (kind < 13)
            Move(kind < 9 && mPosition > 0);
        else if (kind == 13)
            MarkSaved();
        else
            Limit();
        for (; Newest() > mLimit; mPosition -= mPosition > 1)
            Forget(mPosition > 1 ? 0 : Newest());
        ASSERT_LE(mTold, 1);
        ASSERT_EQ(World::Text(), mTexts[mPosition]) << mHistory.Dump();
        ASSERT_EQ(mHistory.GetPosition(), mPosition);
        ASSERT_EQ(mHistory.GetNumberOfSteps(), Newest());
        ASSERT_EQ(mHistory.IsSaved(), IsSavedAt(mPosition)) << mHistory.Dump();
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
        const bool isUsedUp = thrown > 0; // the first one throws before anything is taken out of the step
        EXPECT_EQ(mHistory.CanUndo(), !isUsedUp) << thrown;
        EXPECT_EQ(mHistory.GetSavedPosition().has_value(), !isUsedUp) << thrown;
        if (!isUsedUp) {
            EXPECT_TRUE(mHistory.GoTo(0) && mHistory.GoTo(2));
            EXPECT_EQ(World::Text(), before);
        }
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
