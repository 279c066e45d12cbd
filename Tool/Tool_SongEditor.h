// Tool_SongEditor: the operations of "kora edit" on a song's maps and, of a MIDI file, on its events.
//
// Each reads its arguments through the maps as the operation before left them. What a lock holds where it is
// stays there until time is inserted, deleted, repeated or moved before it. A document's own locks stay.
#pragma once

#include "Kora/SMF/SMF_TimeEdit.h"
#include "Kora/Time/Edit/Time_SongEdit.h"
#include "Tool/Tool_EditText.h"

#include <iosfwd>
#include <set>
#include <span>
#include <string>
#include <vector>

// As it stands on the command line.
struct Tool_EditOperation
{
    // "--ramp 5|1|0 6|1|0 120 60 --curve linear"
    std::string Text() const;

    std::string mName; // "--ramp"
    std::vector<std::string> mArguments;
    // What stands behind it: "--curve", "--steps", "--tolerance" and its value.
    std::vector<std::pair<std::string, std::string>> mModifiers;
};

// What one came to.
struct Tool_EditEffect
{
    Time_Tick mFrom;
    std::optional<Time_Tick> mTo;
    std::string mPlace; // of both, in bars as they were
    std::string mText;
    std::string mNote; // what the user might not expect
    bool mIsChange = true;
    bool mMovesTime = false;
    SMF_TimeEdit::Report mEvents;
};

class Tool_SongEditor
{
public:
    // Null without events. iFileTick is the length of the file's tick, 1 where any tick can be written.
    Tool_SongEditor(Tool_Song& ioSong, SMF_TimeEdit* ioEvents, Cmn_Int64 iFileTick, std::istream& ioIn);

    // An operation as it is typed, and how many arguments it has at least and at most.
    struct Form
    {
        const char* mName;
        const char* mValues;
        int mLeast, mMost;
        Tool_EditEffect (Tool_SongEditor::*mApply)();
        const char* mHelp;
    };
    static std::span<const Form> Forms();
    // What stands behind an operation and belongs to it.
    struct Modifier
    {
        const char* mName;
        const char* mOf;
        const char* mValue;
        const char* mHelp;
    };
    static std::span<const Modifier> Modifiers();

    // Throws Tool_UsageError for arguments that make no sense and Tool_InputError for what the song rules
    // out; both begin with the operation.
    Tool_EditEffect Apply(const Tool_EditOperation& iOperation);
    // Locks are for the rest of the command: what it writes has tempi in their place.
    void ReleaseLocks() { ReleaseLocksFrom(mSong.GetStartTick()); }

private:
    using Effect = Tool_EditEffect;

    Effect SetTempo();
    Effect Ramp();
    Effect Scale();
    Effect Fit();
    Effect Lock();
    Effect LockBeats();
    Effect Insert();
    Effect Delete();
    Effect Move();
    Effect Repeat();
    Effect SetMeter();
    Effect SetKey();

    const std::string& Argument(std::size_t iIndex) const { return mOperation->mArguments[iIndex]; }
    const std::string* ModifierNamed(const char* iName) const;
    Time_Tick PositionAt(std::size_t iIndex) const { return mText.Position(Argument(iIndex)); }
    double TempoAt(std::size_t iIndex) const;
    // The effect of the range that the two arguments from iIndex on name.
    Effect Range(std::size_t iIndex) const;
    Effect At(Time_Tick iTick, std::string iText) const;
    std::size_t Steps(const Effect& iRange) const;

    Time_SongEdit::Song Song();
    std::vector<Time_TempoEdit::Point> ReadBeats(const std::string& iName, std::string& oNote) const;
    [[noreturn]] void Refuse(const Time_TempoEditResult& iResult, const std::string& iNearest) const;
    std::string Why(const Time_TempoEditResult& iResult, const std::string& iNearest) const;
    std::string NearestSample(const Time_TempoEditResult& iResult) const;
    void Check(const Time_TempoEditResult& iResult, const std::string& iNearest = {}) const;
    void ReleaseLocksFrom(Time_Tick iTick);
    Effect TimeMoved(Effect iEffect, const SMF_TimeEdit::Report& iEvents) const;

    Tool_Song& mSong;
    SMF_TimeEdit* mEvents;
    Cmn_Int64 mFileTick;
    std::istream& mIn;
    Tool_EditText mText;
    const Tool_EditOperation* mOperation = nullptr; // while it is applied
    Time_Tick mEnd;
    std::set<Time_Tick> mLocks; // those of the command itself
};
