// Time_TempoEdit: what users do to a tempo map.
//
//     range edits    | 120      | 90   | 90       becomes, scaled by 1.5 in [FROM, TO)
//                        FROM      TO
//                    | 120 |180 |135 |90
//
// Each call is one edit of its map, with one notice to undo and one broadcast; or it is refused with the
// reason and changes nothing; or the map is so already, and nobody is told. What lies behind a range edit
// keeps its tempo: where none starts at the range's end, the one in force there before is put there.
//
// Locks:      a locked position has its sample whatever is edited elsewhere. Between two locks there is
//             one tempo, which is computed. So tempi are edited behind the last lock only
//             (eReason_Locked elsewhere), and time that is inserted or deleted moves the locks behind it
//             along, by whole samples.
// Song start: a map without any lock gets one with its first tempo, at the sample nearest to where it is.
//             Nothing is edited before the first lock but by locking a position there.
// Units:      ticks are internal; tempi in beats per minute of their beat; samples at the map's
//             rate. Ranges are [from, to).
// Threads:    the map's own.
#pragma once

#include "Kora/Time/Tempo/Time_TempoEditResult.h"
#include "Kora/Time/Tempo/Time_TempoLimits.h"
#include "Kora/Time/Values/Time_Sample.h"
#include "Kora/Time/Values/Time_SampleLength.h"
#include "Kora/Time/Values/Time_Tick.h"
#include "Kora/Time/Values/Time_TypedLength.h"

#include <vector>

class Time_TempoMap;

// Not in the exported class, so that every module has it as a constant of its own.
struct Time_TempoEditLimits
{
    static constexpr std::size_t cMaxRampSteps =
        1000000; // of one ramp; more are refused (eReason_TooManySteps)
};

class KORA_API Time_TempoEdit : public Time_TempoEditLimits
{
public:
    // The course of a ramp's tempo from its start to its end.
    enum ECurve {
        eCurve_Bars = 0,   // linear in ticks
        eCurve_Linear = 1, // linear in time
        eCurve_S = 2       // half a cosine in ticks
    };

    struct Tempo
    {
        double mBeatsPerMinute;
        Time_TickLength mTicksPerBeat = Time_TickLength(Time_TickLength::cInternalPerQuarter);
    };
    struct Point
    {
        Time_Tick mTick;
        Time_Sample mSample;
    };
    // A stretch of tempi, by ticks from its beginning; the first of them is at 0.
    struct CopiedTempo
    {
        Time_TickLength mOffset;
        Tempo mTempo;
    };
    struct Copied
    {
        Time_TickLength mLength{0};
        std::vector<CopiedTempo> mTempi;
    };

    // The library's standard limits: 5 to 500 quarters and 5 to 999 beats per minute.
    static const Time_TempoLimits& GetTempoLimits();

    // --- Tempi

    // From a tick on, up to the next tempo.
    static Time_TempoEditResult SetTempo(Time_TempoMap& ioMap, Time_Tick iTick, const Tempo& iTempo);
    // The tempo before the range goes on through it; the song start keeps its own.
    static Time_TempoEditResult ClearRange(Time_TempoMap& ioMap, Time_Tick iFrom, Time_Tick iTo);
    // Steps of equal length, to a tick, each with the tempo that makes it last as long as the curve
    // does over it; from iTo on the second tempo, which counts the beats of the first. Neighbours
    // of one tempo are joined.
    static Time_TempoEditResult Ramp(Time_TempoMap& ioMap, Time_Tick iFrom, Time_Tick iTo,
                                     const Tempo& iStart, double iEndBeatsPerMinute, ECurve iCurve,
                                     std::size_t iSteps);
    // The same with steps of a length in ticks, on the grid of the default song start, or in samples at the
    // tempo of the step's beginning (Time_NewTempoEvents::NextQuantizedTick).
    static Time_TempoEditResult Ramp(Time_TempoMap& ioMap, Time_Tick iFrom, Time_Tick iTo,
                                     const Tempo& iStart, double iEndBeatsPerMinute, ECurve iCurve,
                                     const Time_TypedLength& iStep);
    // All tempi in the range times a factor.
    static Time_TempoEditResult Scale(Time_TempoMap& ioMap, Time_Tick iFrom, Time_Tick iTo, double iFactor);
    // All tempi in the range plus beats per minute of their own.
    static Time_TempoEditResult Offset(Time_TempoMap& ioMap, Time_Tick iFrom, Time_Tick iTo,
                                       double iBeatsPerMinute);
    // Scales so that iTo is on the sample of iFrom plus iLength.
    static Time_TempoEditResult FitToLength(Time_TempoMap& ioMap, Time_Tick iFrom, Time_Tick iTo,
                                            Time_SampleLength iLength);

    // --- Locks

    // This tick is at this sample. The stretch from the lock before gets the one tempo that fits,
    // and so does the one to the next lock; behind the last lock the tempi stay as they are. A
    // lock that is there is moved.
    static Time_TempoEditResult LockToSample(Time_TempoMap& ioMap, Time_Tick iTick, Time_Sample iSample);
    // The same of a lock that is there; refused where there is none (eReason_NoLock).
    static Time_TempoEditResult MoveLock(Time_TempoMap& ioMap, Time_Tick iTick, Time_Sample iSample);
    // The stretches to both sides become one; behind the last lock that is left the tempo
    // before goes on as it was.
    static Time_TempoEditResult RemoveLock(Time_TempoMap& ioMap, Time_Tick iTick);
    // Many at once, by ascending ticks and samples; locks between them go. Points in between whose
    // tick is within the tolerance of their sample without a lock of their own get none; the first
    // and the last one always do.
    static Time_TempoEditResult LockAll(Time_TempoMap& ioMap, const std::vector<Point>& iPoints,
                                        double iToleranceSamples = 0);

    // --- Time

    // iLength ticks at the tempo in force before iAt; all that is at iAt or later moves, but for the song
    // start. Deleting the same stretch then is the identity.
    static Time_TempoEditResult InsertTime(Time_TempoMap& ioMap, Time_Tick iAt, Time_TickLength iLength);
    // The tempo in force at iTo goes on from iFrom. Refused where what is left between two locks cannot have
    // a tempo within the limits (mNearest: the nearest sample of the later one).
    static Time_TempoEditResult DeleteTime(Time_TempoMap& ioMap, Time_Tick iFrom, Time_Tick iTo);
    // A stretch with the tempi that it has; locks are not copied.
    static Copied CopyRange(const Time_TempoMap& iMap, Time_Tick iFrom, Time_Tick iTo);
    // Opens a stretch with the copy's tempi; behind it the tempo in force at iAt goes on.
    static Time_TempoEditResult InsertCopied(Time_TempoMap& ioMap, Time_Tick iAt, const Copied& iCopied);
    // The stretch with its tempi to before what is at iPosition now, as deleted and
    // then inserted; its locks go.
    static Time_TempoEditResult MoveTime(Time_TempoMap& ioMap, Time_Tick iFrom, Time_Tick iTo,
                                         Time_Tick iPosition);
};
