#include "Kora/Ndo/Ndo_ExternalRef.h"
#include "Kora/Ndo/Ndo_Operation.h"
#include "Kora/Ndo/Ndo_StDisableRecording.h"
#include "Kora/Ndo/Ndo_StOperationRecorder.h"
#include "Ndo/World.h"
#include "Support/AssertRecorder.h"

#include <gtest/gtest.h>

#include <functional>

using Reports = std::vector<std::string>;

namespace {

class OperationTest : public testing::Test
{
protected:
    OperationTest() { World::Reset(); }
    ~OperationTest() override
    {
        World::Reset();
        EXPECT_EQ(World::sNumStates, 0);
    }

    template <class Edit>
    static std::unique_ptr<Ndo_Operation> Record(Edit iEdit)
    {
        Ndo_StOperationRecorder recorder;
        iEdit();
        return recorder.OperationComplete();
    }
    // Dump's line of a note: "  1 modified\n".
    static std::string Line(const std::string& iName, const char* iWhat)
    {
        return "  " + iName + " " + iWhat + "\n";
    }

    AssertRecorder mRecorder;
};

} // namespace

TEST_F(OperationTest, RestoreCallsInItsOrder)
{
    Note* const note = Note::New(60);
    Note* const gone = Note::New(62);
    const std::string n = note->Name(), g = gone->Name();
    const auto operation = Record([&] {
        gone->NdoDelete();
        note->Set(61);
        note->Set(63);
        (new MoveFader(3))->LogAction();
        (new MoveFader(4))->LogAction();
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
    Note* const note = Note::New(60);
    const std::string n = note->Name();
    const auto comeBack = [&] { (new Note(Ndo_Object::kNoUndo, 64))->NdoRestoreUndoable(std::stoll(n)); };
    struct Case
    {
        const char* mShows;
        std::function<void()> mEdit;
        std::string mLogged;
        std::string mRestored;
    };
    const Case cases[] = {
        {"created and deleted leaves no trace", [] { Note::New(1)->NdoDelete(); }, "", n + "=60 "            },
        {"created and modified is a creation",  [] { Note::New(1)->Set(2); },
         Line(std::to_string(std::stoll(n) + 2),                                       "created"),             n + "=60 "},
        {"modified and deleted restores the first state",
         [&] {
             note->Set(61);
             note->NdoDelete();
         },                        Line(n,                                                                            "deleted"),                                                                     n + "=60 "},
        {"deleted and back is a modification",
         [&] {
             static_cast<Note*>(Ndo_gManager.LookupObject(std::stoll(n)))->NdoDelete();
             comeBack();
         },                                                            Line(n,                           "modified"),                                                                                                    n + "=60 "},
        {"nothing is logged while recording is disabled",
         [&] {
             const Ndo_StDisableRecording disabled;
             static_cast<Note*>(Ndo_gManager.LookupObject(std::stoll(n)))->Set(66);
         },                                                 "",                         n + "=66 "},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(row.mShows);
        const auto operation = Record(row.mEdit);
        EXPECT_EQ(operation->Dump(), "Ndo_Operation: 0 actions\n" + row.mLogged);
        operation->Restore();
        EXPECT_EQ(World::Text(), row.mRestored + "fader 0");
    }
    EXPECT_EQ(mRecorder.Take(), Reports{});
}

TEST_F(OperationTest, LoggingCanBeSwitchedOffByKind)
{
    Note* const note = Note::New(60);
    const std::string n = note->Name();
    for (const int kind : {0, 1, 2}) {
        Ndo_Operation::sDisableLog[kind] = true;
        Note* other = nullptr;
        const auto operation = Record([&] {
            note->Set(60);
            other = Note::New(2);
        });
        const std::string o = other->Name();
        const auto deletion = Record([&] { other->NdoDelete(); });
        EXPECT_EQ(operation->Dump(), "Ndo_Operation: 0 actions\n" + (kind == 0 ? "" : Line(n, "modified")) +
                                         (kind == 1 ? "" : Line(o, "created")));
        EXPECT_EQ(deletion->IsEmpty(), kind == 2);
        Ndo_Operation::sDisableLog[kind] = false;
    }
}

TEST_F(OperationTest, ADeletionDuringARestoreIsRefused)
{
    Note* const note = Note::New(60);
    Note* const victim = Note::New(62);
    note->mDeletesWhenRestored = victim;
    const auto operation = Record([&] { note->Set(61); });
    const auto redo = Record([&] { operation->Restore(); });
    EXPECT_EQ(World::Text(), note->Name() + "=60 " + victim->Name() + "=62 fader 0");
    EXPECT_EQ(redo->Dump(), "Ndo_Operation: 0 actions\n" + Line(note->Name(), "modified"));
    victim->NdoDelete();
    EXPECT_EQ(World::Text(), note->Name() + "=60 fader 0") << "accepted once restore mode is over";
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
    const auto failing = [](bool iAutoDelete) {
        auto action = new MoveFader(9);
        action->mSucceeds = false;
        action->mAutoDelete = iAutoDelete;
        action->LogAction();
        return action;
    };
    auto operation = Record([&] {
        failing(true);
        EXPECT_EQ(World::sNumActions, 0);
        delete failing(false);
        (new MoveFader(1))->LogAction();
        (new MoveFader(2))->LogAction();
    });
    World::sCalls.clear();
    operation.reset();
    EXPECT_EQ(World::sCalls, "drop 2; drop 1; ");
    EXPECT_EQ(World::sFader, 2);
}

TEST_F(OperationTest, AnActionThatNobodyRecordsIsReleasedWithoutItsDestructor)
{
    (new MoveFader(7))->LogAction();
    EXPECT_EQ(World::sFader, 7);
    EXPECT_EQ(World::sCalls, "");
    EXPECT_EQ(World::sNumActions, 1);
}
