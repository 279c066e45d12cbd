#include "Kora/Ndo/Ndo_Manager_StRestoreWrapper.h"
#include "Kora/Ndo/Ndo_StDisableRecording.h"
#include "Ndo/World.h"

namespace {

using OperationTest = WorldTest;

// Dump's line of a note: "  1 modified\n".
std::string Line(const std::string& iName, const char* iWhat) { return "  " + iName + " " + iWhat + "\n"; }

} // namespace

TEST_F(OperationTest, RestoreCallsInItsOrder)
{
    Note* const note = Note::New(60);
    Note* const gone = Note::New(62);
    const std::string n = note->Name();
    const std::string g = gone->Name();
    const auto operation = Record([&] {
        gone->NdoDelete();
        note->Set(61);
        note->Set(63);
        MoveFader::Log(3);
        MoveFader::Log(4);
    });
    EXPECT_EQ(World::sCalls, "get " + g + "; get " + n + "; ") << "one snapshot, before the first change";
    EXPECT_EQ(operation->Dump(), "Ndo_Operation: 2 actions\n" + Line(n, "modified") + Line(g, "deleted"));
    World::sCalls.clear();
    operation->Restore();
    EXPECT_EQ(World::sCalls, "create " + g + "; restore " + n + "; restore " + g + "; cleanup " + n +
                                 "; free " + n + "; cleanup " + g + "; free " + g +
                                 "; undo 4; undo 3; drop 4; drop 3; ");
    EXPECT_EQ(World::Text(), n + "=60 " + g + "=62 fader 0");
    EXPECT_TRUE(operation->IsEmpty());
    EXPECT_EQ(mRecorder.Take(), Reports{});
}

TEST_F(OperationTest, WhatIsLoggedDependsOnWhatWasLogged)
{
    const Cmn_Int64 id = Note::New(60)->NdoGetID();
    const auto note = [&] { return static_cast<Note*>(Ndo_gManager.LookupObject(id)); };
    const std::string created = std::to_string(id + 1);
    const auto expect = [&](const std::function<void()>& iEdit, const std::string& iLine) {
        const auto operation = Record(iEdit);
        EXPECT_EQ(operation->Dump(), "Ndo_Operation: 0 actions\n" + iLine);
        operation->Restore();
        EXPECT_EQ(World::Text(), std::to_string(id) + "=60 fader 0") << iLine;
    };
    const auto deleteAndBringBack = [&] {
        note()->NdoDelete();
        (new Note(Ndo_Object::kNoUndo, 64))->NdoRestoreUndoable(id);
    };
    expect([] { Note::New(1)->Set(2); }, Line(created, "created"));
    const auto setUnrecorded = [&] {
        const Ndo_StDisableRecording disabled;
        note()->Set(60);
    };
    expect(setUnrecorded, "");
    expect(deleteAndBringBack, Line(std::to_string(id), "modified"));
    EXPECT_EQ(mRecorder.Take(), Reports{});

    const std::function<void()> edits[] = {[&] { note()->Set(60); }, [] { Note::New(1); },
                                           [&] { note()->NdoDelete(); }};
    for (const int kind : {0, 1, 2}) { // each can be switched off
        Ndo_Operation::sDisableLog[kind] = true;
        EXPECT_TRUE(Record(edits[kind])->IsEmpty()) << kind;
        Ndo_Operation::sDisableLog[kind] = false;
    }
}

// What one step did and what the next did to the same object, joined to one.
TEST_F(OperationTest, AppendLeadsBackFromBehindBoth)
{
    const Cmn_Int64 id = Note::New(60)->NdoGetID();
    const auto note = [&] { return static_cast<Note*>(Ndo_gManager.LookupObject(id)); };
    const Ndo_ExternalRef<Note> known(note());
    const std::function<void()> edits[] = {
        [&] { note()->Set(61); }, [&] { note()->NdoDelete(); },
        [&] { (new Note(Ndo_Object::kNoUndo, 64))->NdoRestoreUndoable(id); }, [] { MoveFader::Log(3); }};
    const char* const cScripts[] = {"00", "01", "12", "0120", "1201", "1212", "303", "31323"};
    for (const std::string script : cScripts) {
        const auto first = Record(edits[script[0] - '0']);
        for (const char edit : script.substr(1))
            first->Append(*Record(edits[edit - '0']));
        first->Append(*first);
        first->Restore();
        EXPECT_EQ(World::Text(), std::to_string(id) + "=60 fader 0") << script;
        EXPECT_EQ(mRecorder.Take(), Reports{"!IsRestoring()@$^$@Ndo/Ndo_Operation"}) << script;
    }
}

// Three restores, each from the listener of the one before, and what the innermost listener does.
TEST_F(OperationTest, ARestoreInsideAnothersIsItsOwn)
{
    std::unique_ptr<Ndo_Operation> outer;
    std::unique_ptr<Ndo_Operation> middle;
    std::unique_ptr<Ndo_Operation> inner;
    std::unique_ptr<Ndo_Operation> middleRedo;
    const struct
    {
        const char* mWhat;
        std::function<void()> mEdit;
        Reports mReports = {};
    } cRows[] = {
        {"nothing", [] {}},
        {"the outermost, and the inner", [&] { outer->Restore(), inner->Restore(); },
         Reports(2, "!IsRestoring()@$^$@Ndo/Ndo_Operation")},
        {"they are destroyed", [&] { outer.reset(), inner.reset(); }},
        {"one more clears the recording",
         [] {
             const Ndo_Manager_StRestoreWrapper mode;
             Ndo_gManager.SetRecordingOperation(nullptr);
         }},
        {"an exception", [] { throw std::runtime_error("the innermost listener"); }},
    };
    for (const auto& row : cRows) {
        SCOPED_TRACE(row.mWhat);
        World::Reset();
        Note *const a = Note::New(60), *const b = Note::New(62), *const c = Note::New(64);
        const std::string restored = World::Text();
        outer = Record([&] { a->Set(61), Note::New(70), MoveFader::Log(5); });
        const std::string outerDone = World::Text();
        middle = Record([&] { b->Set(63), Note::New(71); });
        inner = Record([&] { c->Set(65), Note::New(72); });
        const std::string before = World::Text();
        a->mWhenRestored = [&] {
            middleRedo = Record([&] { middle->Restore(); }); // a step of its own
            b->NdoDelete();
        };
        b->mWhenRestored = [&] { inner->Restore(), c->NdoDelete(); }; // a part of that step
        c->mWhenRestored = row.mEdit;
        if (row.mWhat == std::string("an exception")) {
            EXPECT_THROW(Record([&] { outer->Restore(); }), std::runtime_error);
            EXPECT_EQ(World::Text(), before) << "the recorders take back all of it";
        } else {
            const auto redo = Record([&] { outer->Restore(); });
            EXPECT_EQ(World::Text(), restored);
            redo->Restore();
            EXPECT_EQ(World::Text(), outerDone) << "all of the outer one is recorded";
            middleRedo->Restore();
            EXPECT_EQ(World::Text(), before) << "and all of the others";
        }
        Reports reports = mRecorder.Take();
        std::erase(reports, "mRecordingOpP == 0@$^$@Ndo/Ndo_Manager"); // recorders do not nest
        EXPECT_EQ(reports, row.mReports);
        EXPECT_FALSE(Ndo_gManager.IsRecording());
        a->NdoDelete();
        EXPECT_EQ(World::sNotes.count(a), 0u) << "restore mode is over";
    }
}

TEST_F(OperationTest, ASnapshotThatFailsLeavesNoMarkOfACreation)
{
    Note* const note = Note::New(60);
    const auto operation = Record([&] {
        World::sThrowAt = 0;
        EXPECT_THROW(note->Set(61), std::runtime_error);
        note->mNoState = true;
        note->Set(62);
        EXPECT_EQ(mRecorder.Take(), Reports{"state != 0@$^$@Ndo/Ndo_Operation"});
    });
    EXPECT_TRUE(operation->IsEmpty());
    operation->Restore();
    EXPECT_EQ(World::Text(), note->Name() + "=62 fader 0");
}

TEST_F(OperationTest, AnObjectThatIsGoneIsReportedAndSkipped)
{
    Note* const note = Note::New(60);
    Note* const gone = Note::New(62);
    const auto operation = Record([&] {
        gone->Set(63);
        note->Set(61);
    });
    gone->NdoDelete();
    operation->Restore();
    EXPECT_EQ(World::Text(), note->Name() + "=60 fader 0");
    const std::string unknown = "iter != mObjDict.end()@$^$@Ndo/Ndo_Manager";
    EXPECT_EQ(mRecorder.Take(), (Reports{unknown, "iObjP != 0@$^$@Ndo/Ndo_Manager", unknown}));
}

TEST_F(OperationTest, AnOperationHasOneOwner)
{
    Note* const note = Note::New(60);
    const auto operation = Record([&] { note->Set(61); });
    Ndo_Operation copy(*operation);
    copy = *operation;
    EXPECT_TRUE(copy.IsEmpty());
    EXPECT_EQ(mRecorder.Take(), Reports(2, "iOther.IsEmpty()@$^$@Ndo/Ndo_Operation"));
    operation->Restore();
    EXPECT_EQ(note->Pitch(), 60);
}

TEST_F(OperationTest, RecordersDoNotNestAndCompleteOnce)
{
    {
        Ndo_StOperationRecorder outer;
        Ndo_StOperationRecorder inner;
        EXPECT_EQ(mRecorder.Take(), Reports{"mRecordingOpP == 0@$^$@Ndo/Ndo_Manager"});
        EXPECT_NE(inner.OperationComplete(), nullptr);
        EXPECT_FALSE(Ndo_gManager.IsRecording());
        EXPECT_EQ(inner.OperationComplete(), nullptr);
        EXPECT_EQ(mRecorder.Take(), Reports{"mOpP != 0@$^$@Ndo/Ndo_StOperationRecorder"});
    }
    {
        Note* const note = Note::New(60);
        Ndo_StOperationRecorder abandoned;
        note->Set(61);
        World::sThrowAt = 0;
    }
    EXPECT_EQ(mRecorder.Take(), Reports{"Restore threw an exception@$^$@Ndo/Ndo_StOperationRecorder"});
}

TEST_F(OperationTest, AnActionsOwnerDependsOnItsOutcome)
{
    auto operation = Record([&] {
        MoveFader::Log(1);
        MoveFader::Log(2);
        auto* const kept = new MoveFader(8);
        auto* const dropped = new MoveFader(9);
        kept->mSucceeds = dropped->mSucceeds = kept->mAutoDelete = false;
        kept->LogAction();
        dropped->LogAction();
        EXPECT_EQ(World::sCalls, "drop 9; ");
        delete kept;
    });
    World::sCalls.clear();
    operation.reset();
    EXPECT_EQ(World::sCalls, "drop 2; drop 1; ");
    EXPECT_EQ(World::sFader, 2);
    World::sCalls.clear();
    MoveFader::Log(7);
    EXPECT_EQ(World::sFader, 7);
    EXPECT_EQ(World::sCalls, "") << "nobody records it, and it is released without its destructor";
}
