#include "Ndo/World.h"

#include <random>

namespace {

using Operations = std::vector<std::unique_ptr<Ndo_Operation>>;

std::string Entries()
{
    const std::string dump = Ndo_gManager.Dump();
    return dump.substr(dump.find('\n'));
}

// Random steps, and beside them the world's text at each point of their history.
class UndoModel : public WorldTest
{
protected:
    Note* DrawNote()
    {
        return *std::next(World::sNotes.begin(), static_cast<long>(mRandom() % World::sNotes.size()));
    }
    void Edit()
    {
        for (unsigned count = mRandom() % 6; count > 0; --count) {
            const unsigned kind = World::sNotes.empty() ? 0 : mRandom() % 8;
            const int value = static_cast<int>(mRandom() % 100);
            if (kind < 2)
                Note::New(value);
            else if (kind < 5)
                DrawNote()->Set(value);
            else if (kind < 7)
                DrawNote()->NdoDelete();
            else
                MoveFader::Log(value);
        }
    }
    // Of a listener, which sometimes takes a step of its own and undoes it.
    void TakeAStepBack()
    {
        if (mDepth == 3 || mRandom() % 3 != 0) return;
        ++mDepth;
        const auto step = Record([&] {
            Note::New(1)->Set(2);
            DrawNote()->Set(3);
            MoveFader::Log(4);
        });
        Record([&] { step->Restore(); });
        --mDepth;
    }

    void AddStep()
    {
        mUndo.push_back(Record([&] { Edit(); }));
        mRedo.clear();
        mTexts.resize(mUndo.size());
        mTexts.push_back(World::Text());
    }
    void AbandonAStep()
    {
        Ndo_StOperationRecorder abandoned;
        Edit();
    }
    static void Restore(Operations& ioFrom, Operations& ioTo)
    {
        ioTo.push_back(Record([&] { ioFrom.back()->Restore(); }));
        ASSERT_TRUE(ioFrom.back()->IsEmpty());
        ioFrom.pop_back();
    }

    // References lead to their notes, and nowhere while these are not in the world.
    void CheckReferences() const
    {
        const std::string text = " " + World::Text();
        for (const Reference& reference : mReferences) {
            const Note* const note = reference.mNote.Get();
            const bool isThere = text.find(" " + std::to_string(reference.mID) + "=") != text.npos;
            ASSERT_EQ(note != nullptr, reference.mID != 0 && isThere);
            ASSERT_EQ(reference.mNote.IsNull(), reference.mID == 0);
            ASSERT_EQ(note != nullptr ? note->NdoGetID() : reference.mID, reference.mID);
        }
    }
    void TurnAReference()
    {
        Reference& reference = mReferences[mRandom() % mReferences.size()];
        const unsigned kind = mRandom() % 8;
        if (kind < 4) {
            reference = mReferences[mRandom() % mReferences.size()]; // which may be itself
        } else if (kind == 4) {
            reference = {nullptr, 0};
        } else if (!World::sNotes.empty()) {
            reference.mNote = DrawNote();
            reference.mID = reference.mNote->NdoGetID();
        }
    }

    struct Reference
    {
        Ndo_ExternalRef<Note> mNote;
        Cmn_Int64 mID = 0;
    };
    std::mt19937 mRandom;
    Operations mUndo;
    Operations mRedo;
    std::vector<std::string> mTexts{World::Text()}; // [mUndo.size()] is now
    std::vector<Reference> mReferences = std::vector<Reference>(5);
    int mDepth = 0; // of steps within steps
};

} // namespace

TEST_F(UndoModel, EveryPointOfTheHistoryComesBack)
{
    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    mRandom.seed(seed);
    const std::string entriesBefore = Entries();
    World::sWhenRestored = [&] { TakeAStepBack(); };
    for (int step = 0; step < 3000; ++step) {
        SCOPED_TRACE("step " + std::to_string(step));
        const unsigned kind = mRandom() % 10;
        if (kind < 3 && !mUndo.empty())
            Restore(mUndo, mRedo);
        else if (kind < 6 && !mRedo.empty())
            Restore(mRedo, mUndo);
        else if (kind < 7)
            AbandonAStep();
        else
            AddStep();
        ASSERT_EQ(World::Text(), mTexts[mUndo.size()]) << Ndo_gManager.Dump();
        ASSERT_NO_FATAL_FAILURE(CheckReferences());
        TurnAReference();
    }
    mUndo.clear();
    mRedo.clear();
    mReferences.clear();
    World::Reset();
    EXPECT_EQ(Entries(), entriesBefore);
}

// One operation of every kind of change is restored, and each call into the world throws in its turn.
TEST_F(UndoModel, AThrowingRestoreLeaksNothingAndARecorderTakesItBack)
{
    int throwAt = 0;
    for (bool threw = true; threw; ++throwAt) {
        SCOPED_TRACE("call " + std::to_string(throwAt));
        World::Reset();
        Note* const first = Note::New(60);
        Note* const second = Note::New(62);
        Note* const third = Note::New(64);
        auto operation = Record([&] {
            third->Set(65);
            first->NdoDelete();
            second->Set(63);
            second->NdoDelete();
            Note::New(70);
            MoveFader::Log(5);
            Note::New(72);
        });
        const std::string before = World::Text();
        threw = false;
        try {
            Ndo_StOperationRecorder recorder;
            World::sThrowAt = throwAt;
            operation->Restore();
            recorder.OperationComplete();
        } catch (const std::runtime_error&) {
            threw = true;
        }
        World::sThrowAt = -1;
        if (threw) {
            EXPECT_EQ(World::Text(), before);
        }
        for (Note* const note : World::sNotes)
            EXPECT_EQ(Ndo_gManager.LookupObject(note->NdoGetID()), note);
        operation.reset();
        EXPECT_EQ(World::sNumStates, 0);
        World::Reset();
        EXPECT_TRUE(World::sNotes.empty()) << "restore mode is off: deletions are accepted";
    }
    // 2 created, 1 snapshot for redo, 3 restored, 3 cleaned up, 2 snapshots of those removed,
    // 1 action; and once none.
    EXPECT_EQ(throwAt, 13);
}
