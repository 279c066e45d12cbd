// Time_FeetFrame: a place on film, as feet and the frames past them: "90+12".
//
// Units:    frames of film, 16 to a foot of 35 mm film (of four perforations each), 40
//           to a foot of 16 mm film.
// Rate:     the film's own, beside that of timecode: 24 frames a second until it is set.
// Offset:   the frame that lies at sample 0: 0 until it is set.
// Day:      frames count from 0 and start again with every 24 hours, as timecode does: at 24 frames a second
//           after 2073600 of them. A rate between whole numbers counts as the next one: 23.976 as 24.
// Entry:    feet alone are a foot's first frame: "90" is 90+00. Leading zeros may be missing: "5+3" is 5+03.
// Threads:  a plain value. Rate and offset are process-wide without a lock: set them from the host's main
//           thread while no conversion runs.
#pragma once

#include "Export/Kora_API.h"
#include "Kora/Time/Values/Time_Sample.h"

#include <compare>
#include <cstddef>
#include <functional>
#include <iosfwd>
#include <string>
#include <string_view>

// Frames to a foot.
enum Time_EFilmGauge : Cmn_Int32 {
    Time_eFilmGauge_35mm = 16,
    Time_eFilmGauge_16mm = 40,
};

class KORA_API_NODISCARD Time_FeetFrame
{
public:
    // 0+00
    constexpr Time_FeetFrame() = default;
    // A frame of the day. Negative ones assert and are 0.
    explicit Time_FeetFrame(Cmn_Int64 iFrames, Time_EFilmGauge iGauge = Time_eFilmGauge_35mm);

    constexpr Cmn_Int64 GetFrames() const { return mFrames; }
    constexpr Time_EFilmGauge GetGauge() const { return mGauge; }
    constexpr Cmn_Int64 GetFeet() const { return mFrames / mGauge; }
    constexpr Cmn_Int64 GetFramesPastFeet() const { return mFrames % mGauge; }

    // Frames a second, above 0: anything else asserts and is not taken.
    static double GetFilmRate();
    static void SetFilmRate(double iFramesPerSecond);
    // In frames, of any sign.
    static Cmn_Int64 GetFrameOffset();
    static void SetFrameOffset(Cmn_Int64 iFrames);
    static Cmn_Int64 GetFramesOfDay();

    // The frame whose start is nearest, at Time_Globals::GetPullSampleRate: ⌊s · film rate / sample
    // rate + ½⌋ and the offset.
    static Time_FeetFrame FromSample(Time_Sample iSample, Time_EFilmGauge iGauge = Time_eFilmGauge_35mm);
    // The sample nearest to the frame's start, on the first day: the frames behind the offset come first.
    Time_Sample ToSample() const;

    // The same counted through, without starting again: frames of any number of days, before the first below 0.
    [[nodiscard]] static Cmn_Int64 CountAtSample(Time_Sample iSample);
    // The sample nearest to the start of a frame that was counted so.
    static Time_Sample SampleOfCount(Cmn_Int64 iFrames);

    // "90+12": feet and the frames past them, two digits.
    [[nodiscard]] std::string ToString() const;
    static constexpr std::size_t cTextBytes = 32; // for ToText, the zero included
    // The same into the caller's cTextBytes, closed by a zero; allocates nothing. Returns the
    // characters before the zero.
    std::size_t ToText(char* oText) const;
    // Reads what ToString writes, and less; the gauge stays. Anything else is false and changes nothing;
    // oWhyNot is then a text for users, such as "a foot of this film has frames 0 to 15". Allocates nothing.
    [[nodiscard]] bool FromText(std::string_view iText, const char** oWhyNot = nullptr);
    // <iName framesPerFoot="16">90+12</iName>
    [[nodiscard]] Cmn_XMLNode GetAsXML(const std::string& iName) const;
    // "90+12 of 16"
    [[nodiscard]] std::string Dump() const;
    KORA_API friend std::ostream& operator<<(std::ostream& ioStream, const Time_FeetFrame& iTime);

    // By frames; the gauge plays no part.
    friend constexpr bool operator==(const Time_FeetFrame& iA, const Time_FeetFrame& iB)
    {
        return iA.mFrames == iB.mFrames;
    }
    friend constexpr auto operator<=>(const Time_FeetFrame& iA, const Time_FeetFrame& iB)
    {
        return iA.mFrames <=> iB.mFrames;
    }

private:
    Cmn_Int64 mFrames = 0;
    Time_EFilmGauge mGauge = Time_eFilmGauge_35mm;
};

template <>
struct std::hash<Time_FeetFrame>
{
    std::size_t operator()(const Time_FeetFrame& iTime) const noexcept
    {
        return std::hash<Cmn_Int64>()(iTime.GetFrames());
    }
};
