// Time_TimecodeRules: how each timecode format counts: its rates, and the labels that drop formats leave out.
//
// Units:   frames and labels, both from 0; a label's number is its hours, minutes, seconds and frames counted
//          through at the format's whole number of frames per second.
// Threads: plain functions; format 0 reads Time_Globals.
#pragma once

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Bastel/Cmn/Cmn_IntMath.h"
#include "Kora/Time/Formats/Time_Globals.h"

#include <array>

namespace Time_TimecodeRules {

inline constexpr Cmn_Int32 cSecondsPerDay = 86400;

struct Format
{
    Cmn_Int32 mFramesPerSecond;
    double mRealRate;
    Cmn_Int32 mDroppedPerMinute;
};

inline constexpr Format cNoFormat = {-1, -1.0, 0};
// Indexed by ETimeCodeFormat.
inline constexpr std::array<Format, 15> cFormats = {{
    cNoFormat,
    {24, 24.0, 0},
    {25, 25.0, 0},
    {30, 30000.0 / 1001.0, 0},
    cNoFormat,
    {30, 30000.0 / 1001.0, 2},
    cNoFormat,
    {30, 30.0, 0},
    {30, 30.0, 2},
    {24, 24000.0 / 1001.0, 0},
    {50, 50.0, 0},
    {60, 60000.0 / 1001.0, 0},
    {60, 60000.0 / 1001.0, 4},
    {60, 60.0, 0},
    {60, 60.0, 4},
}};

inline ETimeCodeFormat Resolved(ETimeCodeFormat iFormat)
{
    return iFormat == eTimeCodeFormat_UseGlobal ? Time_Globals::GetGlobalTimeCodeFormat() : iFormat;
}

inline const Format& FormatOf(ETimeCodeFormat iFormat)
{
    const Cmn_UInt32 index = static_cast<Cmn_UInt32>(Resolved(iFormat));
    return index < cFormats.size() ? cFormats[index] : cNoFormat;
}

// For computations, which report a format that has no rate.
inline const Format& CheckedFormatOf(ETimeCodeFormat iFormat)
{
    const Format& format = FormatOf(iFormat);
    Cmn_ASSERT_AS(format.mFramesPerSecond != -1, "framesPerSecond != -1", "Time/Time_SMPTE");
    return format;
}

// The skip rule, for one block of ten minutes. Minute 0 keeps all its labels; each later
// one lacks the first few.
struct DropRule
{
    Cmn_Int32 mDroppedPerMinute;
    Cmn_Int32 mLabelsPerMinute;
    Cmn_Int32 mLabelsPerBlock;
    Cmn_Int32 mFramesPerBlock;
    // The frame that opens each minute; the last entry is past every frame.
    std::array<Cmn_Int32, 11> mMinuteStarts;
};

inline constexpr Cmn_Int32 cPastAll = 0x7FFFFFFF;
inline constexpr DropRule cDrop30 = {
    2, 1800, 18000, 17982, {0, 1800, 3598, 5396, 7194, 8992, 10790, 12588, 14386, 16184, cPastAll}};
// Deliberate: minute 7 opens a frame early, at 25175 instead of 25176, so that minute 6 is short by
// one frame and minute 7 long. Frame 25175 is labelled 00:07:00;03, and 00:06:59;59 is never
// written. Test: EveryFrameOfADay
inline constexpr DropRule cDrop60 = {
    4, 3600, 36000, 35964, {0, 3600, 7196, 10792, 14388, 17984, 21580, 25175, 28772, 32368, cPastAll}};

template <const DropRule& cRule>
Cmn_Int32 FramesOfLabels(Cmn_Int32 iLabels)
{
    constexpr Cmn_Int32 cDroppedPerBlock = 9 * cRule.mDroppedPerMinute;
    const Cmn_Int32 block = iLabels / cRule.mLabelsPerBlock;
    const Cmn_Int32 inBlock = iLabels % cRule.mLabelsPerBlock;
    const Cmn_Int32 minute = inBlock < 0 ? 0 : inBlock / cRule.mLabelsPerMinute;
    return Cmn_WrapSub(iLabels, cDroppedPerBlock * block + cRule.mDroppedPerMinute * minute);
}

template <const DropRule& cRule>
Cmn_Int32 LabelsOfFrames(Cmn_Int32 iFrames)
{
    constexpr Cmn_Int32 cDroppedPerBlock = 9 * cRule.mDroppedPerMinute;
    const Cmn_Int32 block = iFrames / cRule.mFramesPerBlock;
    const Cmn_Int32 inBlock = iFrames % cRule.mFramesPerBlock;
    Cmn_UInt32 minute = 0;
    if (inBlock >= 0) {
        // Minutes open somewhat earlier than every mLabelsPerMinute frames, never by a whole minute.
        minute = static_cast<Cmn_UInt32>(inBlock) / static_cast<Cmn_UInt32>(cRule.mLabelsPerMinute);
        minute += inBlock >= cRule.mMinuteStarts[minute + 1] ? 1 : 0;
    }
    return Cmn_WrapAdd(iFrames,
                       cDroppedPerBlock * block + cRule.mDroppedPerMinute * static_cast<Cmn_Int32>(minute));
}

inline Cmn_Int32 DropLabels(Cmn_Int32 iLabels, const Format& iFormat)
{
    return iFormat.mDroppedPerMinute == cDrop30.mDroppedPerMinute ? FramesOfLabels<cDrop30>(iLabels)
                                                                  : FramesOfLabels<cDrop60>(iLabels);
}

inline Cmn_Int32 UndropLabels(Cmn_Int32 iFrames, const Format& iFormat)
{
    return iFormat.mDroppedPerMinute == cDrop30.mDroppedPerMinute ? LabelsOfFrames<cDrop30>(iFrames)
                                                                  : LabelsOfFrames<cDrop60>(iFrames);
}

// The frame whose label no skip-rule counter knows, but ours writes: see cDrop60.
inline constexpr bool IsEarlySeventhMinute(const Format& iFormat, Cmn_Int32 iMinutes, Cmn_Int32 iFrames)
{
    return iFormat.mFramesPerSecond == 60 && iMinutes % 10 == 7 && iFrames == 3;
}

// The frames that a day's labels name: 2589408 in 29.97 drop. Not for formats without frames per second.
inline Cmn_Int32 FramesOfDay(const Format& iFormat)
{
    const Cmn_Int32 labels = iFormat.mFramesPerSecond * cSecondsPerDay;
    return iFormat.mDroppedPerMinute != 0 ? DropLabels(labels, iFormat) : labels;
}

} // namespace Time_TimecodeRules
