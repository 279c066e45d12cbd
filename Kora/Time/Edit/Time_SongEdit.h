// Time_SongEdit: what arrangers do to the time of a whole song: delete, insert, cut, copy, paste,
// repeat and move a range of it in the meter, tempo and key maps together, and in what the host
// keeps on the same time line.
//
//     const Time_SongEdit::Song song{&meters, &tempi, &keys, [&](const Time_TickPieces& iPieces) {
//     MoveNotes(iPieces); }}; const Time_TempoEditResult result = Time_SongEdit::DeleteTime(song, from, to);
//     if (!result) …      // why, and what is nearest; nothing has changed
//
// Steps:      each call is one edit and one broadcast of each map that it changes, and part of the undoable
//             operation that is being recorded, if one is. Maps that come out as they were are not edited.
//             The host is called once, when all maps are as they will be and before anyone is told; not for a
//             call that is refused or moves nothing. What the host throws comes through; the maps are edited
//             then, and it is for the host to undo the step.
// Seams:      what is repeated, moved or pasted begins in the meter, the tempo and the key that it had where
//             it came from, and behind it what was in force goes on: a change is put at a seam only where it
//             is needed. Inserted time has what is in force before it. Of what is deleted the last meter,
//             tempo and key take effect at its end, unless a change there sets them anew.
// Song start: what stands at the song's first tick (GetSongStartTick) stays there; time that is inserted
//             there goes behind it, and where the first of the song's time goes, what comes first then is set
//             up there. Nothing is edited before.
// Meters:     changes move tick by tick, off a barline if need be; no bar is refitted. The bar at the song's
//             first tick keeps its number, and so do all before the edit.
// Locks:      those of positions behind move along, as in Time_TempoEdit; a copy has none, and a
//             moved range loses its own.
// Identity:   deleting what was just inserted gives the maps that were. Where the first meter change is
//             not before the place, and what came was no whole bars, one more change that changes nothing
//             holds the bars before it.
// Units:      internal ticks; ranges are [from, to).
// Threads:    the maps' own.
#pragma once

#include "Kora/Time/Edit/Time_TickPieces.h"
#include "Kora/Time/Key/Time_KeySignature.h"
#include "Kora/Time/Meter/Time_Meter.h"
#include "Kora/Time/Tempo/Time_TempoEdit.h"

#include <functional>
#include <vector>

class Time_KeySignatureMap;
class Time_MeterMap;

// Not in the exported class, so that every module has it as a constant of its own.
struct Time_SongEditLimits
{
    // Copies and what they copy, in one call; more are refused (eReason_TooManySteps).
    static constexpr std::size_t cMaxCopies = 1000000;
};

class KORA_API Time_SongEdit : public Time_SongEditLimits
{
public:
    // Whether the edit was done, or why not.
    using Result = Time_TempoEditResult;

    // A song is without the maps that are null.
    struct Song
    {
        Time_MeterMap* mMeters = nullptr;
        Time_TempoMap* mTempi = nullptr;
        Time_KeySignatureMap* mKeys = nullptr;
        std::function<void(const Time_TickPieces&)> mMoveTheRest; // may be empty
    };

    // A stretch's meters, tempi and keys by ticks from its beginning, the first of each at 0. What comes from
    // a song without one of the maps has none of it, and leaves that map's in force where it is pasted.
    struct ClipMeter
    {
        Time_TickLength mOffset;
        Time_Meter mMeter;
    };
    struct ClipKey
    {
        Time_TickLength mOffset;
        Time_KeySignature mKey;
    };
    struct Clip
    {
        Time_TickLength mLength{0};
        std::vector<ClipMeter> mMeters;
        Time_TempoEdit::Copied mTempi;
        std::vector<ClipKey> mKeys;
    };

    // That of the tempo map; without tempi that of the meter map, without that the default one.
    static Time_Tick GetSongStartTick(const Song& iSong);

    // Closes the gap: what was at iTo comes to iFrom.
    static Result DeleteTime(const Song& iSong, Time_Tick iFrom, Time_Tick iTo);
    // A length of 0 is done, and nothing.
    static Result InsertTime(const Song& iSong, Time_Tick iAt, const Time_TickLength& iLength);
    // What InsertTime takes at iAt so that the inserted time lasts iSamples: at the tempo that it will
    // have, rounded to a tick.
    static Time_TickLength LengthOfSamples(const Song& iSong, Time_Tick iAt, double iSamples);

    // Fills the clip with what is in force at iFrom and changes before iTo. The song stays as it is.
    static Result Copy(const Song& iSong, Time_Tick iFrom, Time_Tick iTo, Clip& oClip);
    // On a refusal the clip stays as it was.
    static Result Cut(const Song& iSong, Time_Tick iFrom, Time_Tick iTo, Clip& oClip);
    // Opens the clip's length at iAt; the host puts its own into the new ticks that no piece covers.
    static Result Paste(const Song& iSong, Time_Tick iAt, const Clip& iClip);
    // iCount copies behind the range; 0 is done, and nothing.
    static Result RepeatTime(const Song& iSong, Time_Tick iFrom, Time_Tick iTo, std::size_t iCount);
    // To before what is at iPosition now. Inside the range it is refused (eReason_InsideRange); at
    // either end nothing moves.
    static Result MoveTime(const Song& iSong, Time_Tick iFrom, Time_Tick iTo, Time_Tick iPosition);
};
