#include "Ndo/World.h"

using Ref = Ndo_ExternalRef<Note>;

namespace {

// Registered before main: the manager is there before any constructor of a static object.
const Cmn_Int64 sFirstID = [] {
    Note* const note = Note::New(0);
    const Cmn_Int64 id = note->NdoGetID();
    note->NdoDelete();
    return id;
}();

using ObjectTest = WorldTest;

// "live, count 2" and the like; empty when the note's entry is gone.
std::string Entry(const std::string& iName)
{
    const std::string dump = Ndo_gManager.Dump();
    const std::string line = "\n  " + iName + " ";
    const std::size_t at = dump.find(line);
    if (at == dump.npos) return "";
    return dump.substr(at + line.size(), dump.find('\n', at + 1) - at - line.size());
}

} // namespace

TEST_F(ObjectTest, IdsStartAtOneAndAscend)
{
    EXPECT_EQ(sFirstID, 1);
    (new Note(Ndo_Object::kNoUndo))->NdoDelete();
    EXPECT_TRUE(World::sNotes.empty()) << "an object outside of undo is deleted at once";
    Note note(Ndo_Object::kNoUndo);
    EXPECT_EQ(note.NdoGetID(), -1);
    EXPECT_EQ(note.NdoIsUndoable(), Ndo_Object::kNoUndo);
    Note* const before = Note::New(0);
    note.NdoMakeUndoable();
    EXPECT_EQ(note.NdoGetID(), before->NdoGetID() + 1);
    note.NdoMakeUndoable();
    EXPECT_EQ(note.NdoGetID(), before->NdoGetID() + 1);
    EXPECT_EQ(note.NdoIsUndoable(), Ndo_Object::kUndoable);
    const Note copy = note;
    EXPECT_EQ(copy.NdoGetID(), note.NdoGetID());
    EXPECT_EQ(Ndo_gManager.LookupObject(copy.NdoGetID()), &note);
    EXPECT_TRUE(Ndo_gManager.AboutToDeleteObject(&note));
    EXPECT_EQ(mRecorder.Take(), Reports{});
    EXPECT_EQ(Ndo_gManager.LookupObject(note.NdoGetID()), nullptr);
    EXPECT_FALSE(Ndo_gManager.AboutToDeleteObject(&note));
    EXPECT_EQ(mRecorder.Take(), Reports(2, "iter != mObjDict.end()@$^$@Ndo/Ndo_Manager"));
}

TEST_F(ObjectTest, NullAndWrongUseAssert)
{
    EXPECT_EQ(Ndo_gManager.RegisterObject(nullptr), 0);
    Ndo_gManager.RegisterObjectWithID(nullptr, 1);
    Ndo_gManager.AboutToModifyObject(nullptr);
    EXPECT_FALSE(Ndo_gManager.AboutToDeleteObject(nullptr));
    EXPECT_EQ(mRecorder.Take(), Reports(4, "iObjP != 0@$^$@Ndo/Ndo_Manager"));
    Note* const note = Note::New(0);
    note->NdoRestoreUndoable(note->NdoGetID());
    EXPECT_EQ(mRecorder.Take(), Reports{"!this->NdoIsUndoable()@$^$@Ndo/Ndo_Object"});
    EXPECT_EQ(Entry(note->Name()), "live, count 2");
    const std::string name = note->Name();
    note->NdoDelete();
    EXPECT_EQ(Entry(name), "deleted, count 1") << "the second registration was one too many";
}

TEST_F(ObjectTest, AReferenceFollowsItsObjectThroughDeletionAndReturn)
{
    Note* const note = Note::New(60);
    const std::string name = note->Name();
    Ref ref = note;
    const auto deletion = Record([&] { note->NdoDelete(); });
    EXPECT_EQ(Entry(name), "deleted, count 1");
    EXPECT_EQ(ref.Get(), nullptr);
    EXPECT_EQ(ref.operator->(), nullptr);
    EXPECT_EQ(mRecorder.Take(), Reports{"objP != 0@$^$@Ndo/Ndo_ExternalRef"});
    EXPECT_EQ(ref, Ref(ref)) << "two references to one deleted object are equal";
    EXPECT_NE(ref, Ref()) << "and unlike a null one";
    deletion->Restore();
    EXPECT_EQ(ref->Pitch(), 60);

    const auto secondDeletion = Record([&] { ref->NdoDelete(); });
    ref = nullptr;
    EXPECT_EQ(Entry(name), "") << "the last reference takes the entry along";
    secondDeletion->Restore();
    EXPECT_EQ(Entry(name), "live, count 1") << "undo registers a fresh entry under the old ID";
    EXPECT_EQ(mRecorder.Take(), Reports{});
}

TEST_F(ObjectTest, AnObjectOutsideOfUndoLeavesAReferenceAsItWas)
{
    Note* const note = Note::New(60);
    Note outside(Ndo_Object::kNoUndo);
    Ref ref = note;
    ref = &outside;
    EXPECT_EQ(ref, note);
    EXPECT_TRUE(Ref(&outside).IsNull());
    EXPECT_EQ(Entry(note->Name()), "live, count 2");
    EXPECT_EQ(mRecorder.Take(), Reports(2, "iter != mObjDict.end()@$^$@Ndo/Ndo_Manager"));
}
