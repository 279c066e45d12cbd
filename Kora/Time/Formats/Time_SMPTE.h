// Time_SMPTE: a timecode label, hours:minutes:seconds:frames, with the samples past the start of its frame.
//
// Units:      frames of the format; 100 subframes to a frame; samples at Time_Globals::GetPullSampleRate.
// Rates:      labels count by a whole number (30 for 29.97), samples by the real rate (30000/1001).
// Drop:       the drop formats leave out the first 2 labels (4 at 60 frames) of every minute but each tenth:
//             00:00:59;29 is followed by 00:01:00;02. No frame is lost, only labels.
// Format 0:   every computation takes the global format as it stands at that moment.
// Invariants: subSamples < GetPullSampleRate / real rate. Fields that would be
// negative wrap into their 8 bits.
// Asserts:    formats without frames per second (4, 6, unknown ones) assert "framesPerSecond != -1", and the
//             computation goes on with -1.
#pragma once

#include "Kora/Time/Formats/Time_ETimeCodeFormat.h"
#include "Kora/Time/Values/Time_Sample.h"

#include <compare>
#include <cstddef>
#include <functional>
#include <iosfwd>
#include <string>
#include <string_view>

class KORA_API_NODISCARD Time_SMPTE
{
public:
    // 00:00:00:00
    explicit Time_SMPTE(ETimeCodeFormat iFormat = eTimeCodeFormat_UseGlobal);
    // The fields as they stand; only iSubSamples is checked.
    Time_SMPTE(Cmn_UInt8 iHours, Cmn_UInt8 iMinutes, Cmn_UInt8 iSeconds, Cmn_UInt8 iFrames,
               ETimeCodeFormat iFormat = eTimeCodeFormat_UseGlobal, double iSubSamples = 0);

    // The fields of a label by their names; those that are not named are 0.
    struct Fields
    {
        Cmn_UInt8 mHours = 0;   // 0 to 23
        Cmn_UInt8 mMinutes = 0; // 0 to 59
        Cmn_UInt8 mSeconds = 0; // 0 to 59
        Cmn_UInt8 mFrames = 0;  // below the format's frames per second
        double mSubSamples = 0; // samples past the frame's start
    };
    // Of({.mMinutes = 1, .mFrames = 2}, eTimeCodeFormat_2997Drop) is 00:01:00;02. As the constructor, it takes the
    // fields as they stand and checks the samples alone.
    static Time_SMPTE Of(const Fields& iFields, ETimeCodeFormat iFormat = eTimeCodeFormat_UseGlobal);
    // The label of a frame, as SetFromTotalFrames gives it.
    static Time_SMPTE FromFrames(Cmn_Int32 iFrames, ETimeCodeFormat iFormat = eTimeCodeFormat_UseGlobal);
    // The label of a subframe, hundredths of a frame, as SetFromTotalSubframes gives it.
    static Time_SMPTE FromSubframes(Cmn_Int32 iSubframes,
                                    ETimeCodeFormat iFormat = eTimeCodeFormat_UseGlobal);
    // The label whose frame holds the sample, as SetFromTotalSamples gives it.
    static Time_SMPTE FromSample(const Time_Sample& iSample,
                                 ETimeCodeFormat iFormat = eTimeCodeFormat_UseGlobal);

    Cmn_UInt8 GetHours() const { return mHours; }
    Cmn_UInt8 GetMinutes() const { return mMinutes; }
    Cmn_UInt8 GetSeconds() const { return mSeconds; }
    Cmn_UInt8 GetFrames() const { return mFrames; }
    double GetSubSamples() const { return mSubSamples; }
    ETimeCodeFormat GetFormat() const { return mFormat; }
    void SetHours(Cmn_UInt8 iHours) { mHours = iHours; }
    void SetMinutes(Cmn_UInt8 iMinutes) { mMinutes = iMinutes; }
    void SetSeconds(Cmn_UInt8 iSeconds) { mSeconds = iSeconds; }
    void SetSubSamples(double iSubSamples);
    // The fields stay: the label is read in another format from here on.
    void SetFormat(ETimeCodeFormat iFormat) { mFormat = iFormat; }
    // Takes frames below the format's frames per second; refuses others with false.
    [[nodiscard]] bool SetFrames(Cmn_UInt8 iFrames);
    // The same of binary-coded decimals: 0x29 is 29.
    [[nodiscard]] bool SetFramesBCD(Cmn_UInt8 iFrames);

    // Frames since 00:00:00:00. 29.97 drop: 00:10:00;00 is 17982.
    Cmn_Int32 GetTotalFrames() const;
    // The label of a frame; subSamples become 0. A negative count is taken from the day's end, once; hours
    // above 23 are taken down by 24, once. 25 fps: -1 is 23:59:59:24.
    // Deliberate: negative counts in drop formats go the same way: -1 in 29.97 drop is 00:01:26;13, for a day
    // has fewer frames than labels. Test: CountsOutsideTheDayWrapOnce
    void SetFromTotalFrames(Cmn_Int32 iFrames);

    // The label of the next frame: as SetFromTotalFrames(GetTotalFrames() + 1), at a fraction of its cost.
    void StepToNextFrame();

    // Frames × 100, and of the rest the last subframe that starts at or before it.
    Cmn_Int32 GetTotalSubframes() const;
    // Negative counts are 0. GetTotalSubframes gives the same count back.
    void SetFromTotalSubframes(Cmn_Int32 iSubframes);

    double GetTotalSamplesFloat() const;
    // Rounded to the nearest sample.
    Time_Sample GetTotalSamples() const;
    // The label whose frame holds the sample: the last frame whose start, rounded to a sample, is at or
    // before it. GetTotalSamples gives the same sample back within the day.
    void SetFromTotalSamples(const Time_Sample& iSample);

    // In drop formats moves a label that the skip rule leaves out to the first label of its minute:
    // 00:01:00;00 becomes 00:01:00;02.
    void MakeIntoLegalDropFrameLocation();

    // Label count to frame count in the drop formats. Formats other than 5 and 8 count as 60 frames. 29.97
    // drop: label 1802 is frame 1800.
    [[nodiscard]] Cmn_Int32 DropFrames(Cmn_Int32 iLabels) const;
    // Frame count to label count, under the same rules.
    [[nodiscard]] Cmn_Int32 UndropFrames(Cmn_Int32 iFrames) const;

    // Whether the fields are a label of the format: in their ranges and not left out by the skip rule.
    [[nodiscard]] bool IsLabel() const;
    // "01:02:03:04", in drop formats "01:02:03;04". The fields as they stand.
    [[nodiscard]] std::string ToString() const;
    static constexpr std::size_t cTextBytes = 16; // for ToText, the zero included
    // The same into the caller's cTextBytes, closed by a zero; allocates nothing. Returns the characters
    // before the zero: 11 for a label, more where a field is above 99.
    std::size_t ToText(char* oText) const;
    // Reads what ToString writes; drop formats also take ":" before the frames. Only labels of the format are
    // taken; subSamples become 0. Anything else is false and changes nothing; oWhyNot is then a text for
    // users, such as "drop-frame counting leaves this label out". FromText allocates nothing.
    [[nodiscard]] bool FromString(const std::string& iText) { return FromText(iText); }
    // As FromString, with the reason.
    [[nodiscard]] bool FromText(std::string_view iText, const char** oWhyNot = nullptr);

    // With hundredths of a frame, those of GetTotalSubframes: "01:02:03:04.05". The text form needs
    // cSubframeTextBytes.
    [[nodiscard]] std::string ToSubframeString() const;
    static constexpr std::size_t cSubframeTextBytes = 20; // the zero included
    // As ToText.
    std::size_t ToSubframeText(char* oText) const;
    // Reads what ToSubframeString writes; a label alone has none of them.
    [[nodiscard]] bool FromSubframeText(std::string_view iText, const char** oWhyNot = nullptr);
    // The subframe whose start is nearest to the sample, ⌊s · 100 · real rate / sample rate + ½⌋ of them, in
    // its day: what rulers show, where SetFromTotalSamples keeps the sample itself.
    void SetToNearestSubframe(const Time_Sample& iSample);

    // <iName format="29.97 fps drop">01:02:03;04</iName>, with an attribute "subSamples" where there are any.
    [[nodiscard]] Cmn_XMLNode GetAsXML(const std::string& iName) const;
    // What ToString gives.
    KORA_API friend std::ostream& operator<<(std::ostream& ioStream, const Time_SMPTE& iTime);
    // "01:02:03;04 + 12.5 samples [29.97 fps drop]"
    [[nodiscard]] std::string Dump() const;

    // 24, 25, 30, 50 or 60, and -1 where there is none. Format 0 is the global format here too.
    [[nodiscard]] static Cmn_Int32 GetFramesPerSecond(ETimeCodeFormat iFormat);
    // 30000/1001 for 29.97 fps, and -1 where there is none.
    [[nodiscard]] static double GetRealRate(ETimeCodeFormat iFormat);
    // Whether the format leaves labels out.
    [[nodiscard]] static bool IsDropFormat(ETimeCodeFormat iFormat);

    // By hours, minutes, seconds, frames and subSamples; the format plays no part.
    friend bool operator==(const Time_SMPTE& iA, const Time_SMPTE& iB) { return (iA <=> iB) == 0; }
    KORA_API friend std::partial_ordering operator<=>(const Time_SMPTE& iA, const Time_SMPTE& iB);

private:
    template <Cmn_Int32 cFramesPerSecond>
    void SetFields(Cmn_Int32 iLabels);
    const char* ReadLabel(std::string_view iText);
    void CheckSubSamples() const;
    double SamplesOfFrames(Cmn_Int64 iFrames) const;
    double SamplesOfSubframes(Cmn_Int64 iSubframes) const;

    Cmn_UInt8 mHours = 0;
    Cmn_UInt8 mMinutes = 0;
    Cmn_UInt8 mSeconds = 0;
    Cmn_UInt8 mFrames = 0;
    double mSubSamples = 0;
    ETimeCodeFormat mFormat;
};

// Equal labels have the same.
template <>
struct std::hash<Time_SMPTE>
{
    std::size_t operator()(const Time_SMPTE& iTime) const noexcept
    {
        Cmn_UInt32 label = 0;
        for (const Cmn_UInt32 part :
             {iTime.GetHours(), iTime.GetMinutes(), iTime.GetSeconds(), iTime.GetFrames()})
            label = label << 8 | part;
        return std::hash<Cmn_UInt32>()(label) ^ std::hash<double>()(iTime.GetSubSamples());
    }
};
