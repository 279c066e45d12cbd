#include "Ndo/World.h"

#include <random>

namespace {

using UndoModel = WorldTest;

std::string Entries()
{
    const std::string dump = Ndo_gManager.Dump();
    return dump.substr(dump.find('\n'));
}

} // namespace

// Random steps, undone, redone and abandoned, against the world's text after each of them.
TEST_F(UndoModel, EveryPointOfTheHistoryComesBack)
{
    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const std::string entriesBefore = Entries();

    std::vector<std::unique_ptr<Ndo_Operation>> undo, redo;
    std::vector<std::string> history{World::Text()}; // [undo.size()] is now
    std::vector<Ndo_ExternalRef<Note>> references(5);
    std::vector<Cmn_Int64> referred(5, 0);

    const auto randomNote = [&] {
        return *std::next(World::sNotes.begin(), static_cast<long>(random() % World::sNotes.size()));
    };
    // Sometimes a listener takes a step of its own and undoes it, which nobody may notice.
    int depth = 0;
    World::sWhenRestored = [&] {
        if (depth == 3 || random() % 3 != 0) return;
        ++depth;
        const auto step = Record([&] {
            Note::New(1)->Set(2);
            randomNote()->Set(3);
            MoveFader::Log(4);
        });
        Record([&] { step->Restore(); });
        --depth;
    };
    const auto edit = [&] {
        for (unsigned count = random() % 6; count > 0; --count) {
            const unsigned kind = World::sNotes.empty() ? 0 : random() % 8;
            const int value = static_cast<int>(random() % 100);
            if (kind < 2)
                Note::New(value);
            else if (kind < 5)
                randomNote()->Set(value);
            else if (kind < 7)
                randomNote()->NdoDelete();
            else
                MoveFader::Log(value);
        }
    };
    const auto restore = [](auto& ioFrom, auto& ioTo) {
        ioTo.push_back(Record([&] { ioFrom.back()->Restore(); }));
        ASSERT_TRUE(ioFrom.back()->IsEmpty());
        ioFrom.pop_back();
    };

    for (int step = 0; step < 3000; ++step) {
        const unsigned kind = random() % 10;
        if (kind < 3 && !undo.empty()) {
            restore(undo, redo);
        } else if (kind < 6 && !redo.empty()) {
            restore(redo, undo);
        } else if (kind < 7) {
            Ndo_StOperationRecorder abandoned;
            edit();
        } else {
            undo.push_back(Record(edit));
            redo.clear();
            history.resize(undo.size());
            history.push_back(World::Text());
        }
        ASSERT_EQ(World::Text(), history[undo.size()]) << "step " << step << "\n" << Ndo_gManager.Dump();

        for (std::size_t at = 0; at < references.size(); ++at) {
            Note* const note = references[at].Get();
            const std::string now = " " + World::Text(), id = " " + std::to_string(referred[at]) + "=";
            ASSERT_EQ(note != nullptr, referred[at] != 0 && now.find(id) != now.npos) << "step " << step;
            if (note != nullptr) {
                ASSERT_EQ(note->NdoGetID(), referred[at]);
            }
        }
        const std::size_t at = random() % references.size();
        if (random() % 2 == 0) {
            references[at] = references[(at + 1) % references.size()];
            referred[at] = referred[(at + 1) % referred.size()];
        } else if (!World::sNotes.empty()) {
            references[at] = randomNote();
            referred[at] = references[at]->NdoGetID();
        }
    }

    undo.clear();
    redo.clear();
    references.clear();
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
