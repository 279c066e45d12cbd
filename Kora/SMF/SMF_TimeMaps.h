// SMF_TimeMaps: a MIDI file's tempo, meter and key events as maps, and maps as such events.
//
// Units:   file ticks, the file's division of them to a quarter note, count from the file's beginning;
//          library ticks, 960000 to a quarter note, from cStartTick there. Each way rounds half up, and a
//          file tick comes back from the library tick that it became.
// Tempi:   a file has whole microseconds to a quarter note, 1 to 16777215 (3.58 to
//          60,000,000 quarters a minute).
// Threads: those of the maps and the file.
#pragma once

#include "Kora/SMF/SMF_File.h"
#include "Kora/Time/Values/Time_SongDefaults.h"

class Time_KeySignatureMap;
class Time_MeterMap;
class Time_TempoMap;

class KORA_API SMF_TimeMaps
{
public:
    // Where a file's beginning comes to lie: bar 1, sample 0.
    static constexpr Time_Tick cStartTick = Time_DefaultSongStart::cDefaultSongStartTick;
    // Library ticks, into which file ticks are turned.
    static constexpr Cmn_Int64 cTicksPerQuarter = Time_TickLength::cInternalPerQuarter;

    // start + round half up (iFileTick × 960000 / iDivision), in integers; INT64_MAX where that does not fit.
    // iFileTick is 0 or more, iDivision 1 to 32767.
    static Cmn_Int64 FromFileTick(Cmn_Int64 iFileTick, Cmn_Int32 iDivision);
    // round half up (iTicks × iDivision / 960000) of a length from the start, 0 or more; the product of the
    // quarters has to fit 64 bits, as it does for times inside Time_Typed's limits.
    static Cmn_Int64 ToFileTick(Cmn_Int64 iTicks, Cmn_Int32 iDivision);

    // Replaces the maps' contents by what the file says, from cStartTick on: 120 quarters a minute and 4/4
    // until it says otherwise, no key. Of several events of a kind at one tick the last in the file holds.
    // Returns the last event of any track. Throws SMF_Exception, and leaves the maps as they were, when that
    // lies past the limits of Time_Typed at the tempo map's sample rate, or past the last bar number.
    static Time_Tick Read(const SMF_File& iFile, Time_MeterMap& oMeters, Time_TempoMap& oTempi,
                          Time_KeySignatureMap& oKeys);
    // The same of a file that is given away: it lets go of its bytes before the tempo map takes its memory.
    static Time_Tick Read(SMF_File&& ioFile, Time_MeterMap& oMeters, Time_TempoMap& oTempi,
                          Time_KeySignatureMap& oKeys);

    // Which of the maps an entry of a report is from.
    enum EKind { eKind_Tempo, eKind_Meter, eKind_Key };

    // A map's entry that no file tick expresses. The error is what was written less what was
    // asked, in library ticks.
    struct RoundedTick
    {
        EKind mKind;
        Time_Tick mTick;
        Cmn_Int64 mFileTick;
        Cmn_Int64 mError;
        // A later entry of the kind fell on the same file tick and took its place.
        bool mIsReplaced;
    };
    // A tempo that no whole number of microseconds expresses, both in quarters a minute.
    struct InexactTempo
    {
        Time_Tick mTick;
        double mAsked;
        double mWritten;
    };
    struct Report
    {
        std::vector<RoundedTick> mRoundedTicks;
        std::vector<InexactTempo> mInexactTempi;
    };
    struct Maps
    {
        const Time_MeterMap& mMeters;
        const Time_TempoMap& mTempi;
        const Time_KeySignatureMap& mKeys;
        // The file's beginning; what lies before it and is in force there is written at it.
        Time_Tick mStart = cStartTick;
        // The first track's end is put here if all tracks end before it.
        Time_Tick mEnd = cStartTick;
    };
    // The division of a file that is written: what it was, or a finer one.
    enum EDivision {
        eDivision_Keep,
        // The smallest multiple that expresses every tick of the maps, where one below
        // 32768 does; else as Keep.
        eDivision_Raise
    };

    // Makes the file say what the maps say. An event that says so already stays as it is, in whatever
    // track; others of the three kinds go, and what is missing is put into the first track, before the
    // other events of its tick, tempo before meter before key. A file without a track gets one. A tempo of
    // 120 or a meter of 4/4 at the beginning is not put into a file that has tracks and says nothing there.
    // New time signatures have a click of a beat and 8 thirty-seconds to a quarter. Throws SMF_Exception,
    // and leaves the file as it was, for a meter of more than 255 beats or of a denominator that is no
    // power of two up to 2048, a key of more than 7 accidentals and a tempo out of a file's range;
    // std::length_error as SMF_TrackBuilder.
    static Report Write(SMF_File& ioFile, const Maps& iMaps, EDivision iDivision = eDivision_Keep);
};
