// Time_SampleGrid: the lines of a grid by the clock: samples, milliseconds, timecode labels or frames of film.
//
//     Time_SampleGrid::Timecode(30)    a line each second of 30 frame timecode
//     Time_SampleGrid::MinSec(250)     four lines a second
//
// Units:   a line's count is in the grid's unit: samples, milliseconds from sample 0, labels counted through as
//          Time_Timecode does, frames of film. Lines lie at the counts that the step divides.
// Places:  the nearest sample, as the unit's own class has it (Time_MinSec, Time_SMPTEUtils, Time_FeetFrame), at
//          the rates, offsets and formats of the moment in which it is asked.
// Drop:    a label that drop-frame counting leaves out has no line of its own.
// Begin:   timecode and film have no lines before sample 0; behind 24 hours the counts go on.
// Range:   lines of samples of -2^42 to 2^42, more than a day at any rate; a place beyond is looked for as the end.
// Cost:    constant; nothing allocates.
// Threads: as Time_Globals.
#pragma once

#include "Kora/Time/Formats/Time_ETimeCodeFormat.h"
#include "Kora/Time/Formats/Time_FeetFrame.h"
#include "Kora/Time/Values/Time_Range.h"

class KORA_API_NODISCARD Time_SampleGrid
{
public:
    // What is counted.
    enum EUnit : Cmn_Int32 { eSamples, eMilliseconds, eLabels, eFilmFrames };
    // What a line is: of timecode and minutes:seconds the largest whole unit, of film whole feet.
    enum EKind : Cmn_Int32 { eFine, eFoot, eSecond, eMinute, eHour };

    struct Line
    {
        Time_Sample mSample;
        Cmn_Int64 mCount = 0;
        EKind mKind = eFine;

        friend bool operator==(const Line&, const Line&) = default;
    };

    // A step below 1 asserts "iStep >= 1" and is 1.
    static Time_SampleGrid Samples(Cmn_Int64 iStep) { return Time_SampleGrid(eSamples, iStep); }
    // Milliseconds, iStep apart.
    static Time_SampleGrid MinSec(Cmn_Int64 iStep) { return Time_SampleGrid(eMilliseconds, iStep); }
    // Labels, iStep apart as they are numbered; those that are left out have no line.
    static Time_SampleGrid Timecode(Cmn_Int64 iStep, ETimeCodeFormat iFormat = eTimeCodeFormat_UseGlobal)
    {
        Time_SampleGrid grid(eLabels, iStep);
        grid.mFormat = iFormat;
        return grid;
    }
    // Frames of film, iStep apart.
    static Time_SampleGrid Feet(Cmn_Int64 iStep, Time_EFilmGauge iGauge = Time_eFilmGauge_35mm)
    {
        Time_SampleGrid grid(eFilmFrames, iStep);
        grid.mGauge = iGauge;
        return grid;
    }

    EUnit GetUnit() const { return mUnit; }
    Cmn_Int64 GetStep() const { return mStep; }

    // Where a count lies, whether the step divides it or not, and what it is.
    Time_Sample GetSample(Cmn_Int64 iCount) const;
    // What a line at that count is.
    EKind GetKind(Cmn_Int64 iCount) const;

    // The first line at or behind a sample.
    Line AtOrAfter(Time_Sample iSample) const;
    // The last line at or before a sample; false where there is none.
    [[nodiscard]] bool AtOrBefore(Time_Sample iSample, Line& oLine) const;
    // Halfway between two lines it is the later.
    Line Nearest(Time_Sample iSample) const;
    // The line behind a line.
    Line Next(const Line& iLine) const;
    // The line before a line; false where there is none.
    [[nodiscard]] bool Previous(const Line& iLine, Line& oLine) const;

    // Take(line) for each line of a range of samples, [start, end), in order. A range of another unit is
    // reported as "time_type_mismatch".
    template <class Take>
    void ForEach(const Time_Range& iRange, const Take& iTake) const
    {
        Cmn_ASSERT_AS(iRange.GetType() == Time_eType_Samples, "time_type_mismatch", "time/Time_TypedBase");
        const Time_Sample end(iRange.GetEnd().AsInt64());
        for (Line line = AtOrAfter(Time_Sample(iRange.GetStart().AsInt64())); line.mSample < end;
             line = Next(line))
            iTake(line);
    }

private:
    Time_SampleGrid(EUnit iUnit, Cmn_Int64 iStep);

    Cmn_Int64 NearCount(Time_Sample iSample) const;
    Line LineOf(Cmn_Int64 iCount) const { return {GetSample(iCount), iCount, GetKind(iCount)}; }
    bool HasLinesBefore0() const { return mUnit == eSamples || mUnit == eMilliseconds; }

    EUnit mUnit;
    Cmn_Int64 mStep;
    ETimeCodeFormat mFormat = eTimeCodeFormat_UseGlobal;
    Time_EFilmGauge mGauge = Time_eFilmGauge_35mm;
};
