// SMF_TimeEdit: time that comes into a MIDI file, goes out of it and is moved, with the music left whole.
//
//     DeleteTime(FROM, TO)        FROM      TO                     FROM
//     a note across it       |-----|---------|----|  becomes   |-----|----|
//     one that ends inside   |-----|---|     |                 |-----|
//     one that begins inside       | |-------|--|                    (none)
//     programs, bends ...    1     | 2    3  |                 1     3
//
// Notes:   of equal notes of a track that overlap, the first begun is the first ended. What an insertion
//          falls into sounds on through it; a note that ends exactly there ends there still.
// State:   tempo, meter, key, and of each channel the program with its bank, controllers, registered and
//          non-registered parameters, bend and pressure are at every place that is kept what they were:
//          where they would differ behind a seam, the event that set them is put there, unless one that is
//          there sets them anew. What a stretch was never told is what players begin with, as far as that
//          is agreed on. Commands to what sounds at the moment (controllers 96, 97, 120 and 123) set
//          nothing.
// Deleted: texts, markers, sysex and key pressure inside a deletion go.
// Start:   what is no note and no key pressure at the file's very first tick stays there, whatever is
//          inserted or deleted.
// Order:   events of one tick keep their order, at seams too. Inserting a stretch and deleting it again is
//          the identity.
// Ends:    a track's end is where the edit moves it, and never before its last event.
// Units:   library ticks from SMF_TimeMaps::cStartTick, the file's beginning. They are rounded half up to
//          file ticks once, when GetFile writes them, so that edits in a row do not drift. The division
//          stays.
// Cost:    an edit takes time in proportion to the events that there are after it; memory is 32 bytes an
//          event.
// Throws:  as SMF_TrackBuilder, in GetFile.
// Threads: a plain value.
#pragma once

#include "Kora/SMF/SMF_File.h"
#include "Kora/Time/Values/Time_Tick.h"

#include <memory>
#include <vector>

class KORA_API SMF_TimeEdit
{
public:
    // What an edit came to, in events.
    struct Report
    {
        Cmn_Int64 mMoved = 0;     // put at a later or earlier tick
        Cmn_Int64 mDropped = 0;   // gone
        Cmn_Int64 mAdded = 0;     // copies, and what restores the state at seams
        Cmn_Int64 mCutNotes = 0;  // notes that lost their end but not their beginning
        Cmn_Int64 mGoneNotes = 0; // notes that are gone
    };

    // The file as it is, before any edit. Its bytes are shared, not copied.
    explicit SMF_TimeEdit(const SMF_File& iFile);
    ~SMF_TimeEdit();
    SMF_TimeEdit(const SMF_TimeEdit&) = delete;
    SMF_TimeEdit& operator=(const SMF_TimeEdit&) = delete;

    // A negative length, a position before the file's beginning and an empty range assert and change nothing.
    Report InsertTime(Time_Tick iAt, Time_TickLength iLength);
    // What begins inside the range goes; what lies behind it moves to iFrom.
    Report DeleteTime(Time_Tick iFrom, Time_Tick iTo);
    // Copies of the range behind it, 0 or more. Notes that begin in a copy end with it.
    Report RepeatTime(Time_Tick iFrom, Time_Tick iTo, Cmn_Int64 iTimes);
    // Takes the range out and puts it before what is at iPosition now. Strictly inside the range that
    // asserts; at its edges nothing moves.
    Report MoveTime(Time_Tick iFrom, Time_Tick iTo, Time_Tick iPosition);

    // How many events a copy of the range is made of.
    Cmn_Int64 CountEvents(Time_Tick iFrom, Time_Tick iTo) const;
    // The end of the longest track.
    Time_Tick GetEndTick() const;
    // The file as it is now. Tracks that no edit touched are the same bytes.
    SMF_File GetFile() const;

private:
    struct Clip;
    struct Tracks;

    Clip CopyTime(Cmn_Int64 iFrom, Cmn_Int64 iTo) const;
    Report Delete(Cmn_Int64 iFrom, Cmn_Int64 iTo);
    Report InsertClip(Cmn_Int64 iAt, const Clip& iClip, Cmn_Int64 iTimes);

    SMF_File mFile; // as it was; it keeps the bytes
    std::unique_ptr<Tracks> mTracks;
};
