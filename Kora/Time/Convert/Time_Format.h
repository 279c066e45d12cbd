// Time_Format: one typed time in any of the forms that users read and type, for hosts with a menu of units.
//
//     form        text              of
//     samples     48000             the nearest sample
//     ticks       1000000960000     the internal tick
//     frames      30                the frame whose start is nearest, from sample 0
//     bars        2|3| 480          the nearest display tick of the meter map's bar and beat
//     bars-exact  2|3|480000        the internal tick
//     timecode    00:00:01;02       the frame whose start is nearest, from the frame offset on
//     subframes   00:00:01;02.50    the nearest hundredth of a frame
//     minsec      0:01.000          the nearest millisecond
//     feet        1+08              the frame of film whose start is nearest
//
// Conversion: timecode, subframes, minsec and feet go through the nearest sample; each form's own header has
//             its rounding, its rates and its rules for what is typed in part.
// Missing:    before sample 0 there is no timecode, subframe or foot; past 24 hours they start again.
// Threads:    those of the converter and its maps. Texts into the caller's buffer allocate nothing.
// Ownership:  borrows the converter.
#pragma once

#include "Kora/Time/Convert/Time_Converter.h"
#include "Kora/Time/Formats/Time_FeetFrame.h"

#include <span>
#include <string_view>

// The forms, in the order of a menu.
enum Time_EForm : Cmn_Int32 {
    Time_eForm_Samples,
    Time_eForm_Ticks,
    Time_eForm_Frames,
    Time_eForm_Bars,
    Time_eForm_BarsExact,
    Time_eForm_Timecode,
    Time_eForm_Subframes,
    Time_eForm_MinSec,
    Time_eForm_Feet,
};

class KORA_API Time_Format
{
public:
    // Borrows the converter.
    explicit Time_Format(const Time_Converter& iConverter)
        : mConverter(&iConverter)
    {
    }

    // All forms in their order above.
    [[nodiscard]] static std::span<const Time_EForm> GetForms();
    // As in the picture above, such as "bars-exact"; an unknown form asserts and has none.
    [[nodiscard]] static std::string_view GetFormName(Time_EForm iForm);
    // Whether a form has that name; else oForm stays.
    [[nodiscard]] static bool FindForm(std::string_view iName, Time_EForm& oForm);

    // The film that feet are counted on: 35 mm until it is set.
    Time_EFilmGauge GetFilmGauge() const { return mGauge; }
    void SetFilmGauge(Time_EFilmGauge iGauge) { mGauge = iGauge; }

    // The time in a form; empty where it has none there, and after an assertion where the form is unknown.
    [[nodiscard]] std::string ToString(Time_EForm iForm, const Time_Typed& iTime) const;
    static constexpr std::size_t cTextBytes = 48; // for ToText, the zero included
    // The same into the caller's cTextBytes, closed by a zero; allocates nothing. Returns the characters
    // before the zero.
    std::size_t ToText(Time_EForm iForm, const Time_Typed& iTime, char* oText) const;

    // Reads a time in a form: ticks and bars as ticks, frames as frames, all others as samples. What ToText
    // writes is read as a time that is written the same. A label that does not exist (a dropped frame, minute
    // 60, a beat past its bar), a time years away (2^42 samples) and anything else is false and changes
    // nothing; oWhyNot is then a text for users. Allocates nothing.
    [[nodiscard]] bool FromText(Time_EForm iForm, std::string_view iText, Time_Typed& oTime,
                                const char** oWhyNot = nullptr) const;

private:
    std::size_t LabelToText(Time_EForm iForm, Time_Sample iSample, char* oText) const;
    Time_BarBeatTick ToBars(Time_EForm iForm, const Time_Typed& iTime) const;
    const char* ReadCount(Time_EType iType, std::string_view iText, Time_Typed& oTime) const;
    const char* ReadBars(Time_EForm iForm, std::string_view iText, Time_Typed& oTime) const;
    const char* ReadLabel(Time_EForm iForm, std::string_view iText, Time_Typed& oTime) const;

    const Time_Converter* mConverter;
    Time_EFilmGauge mGauge = Time_eFilmGauge_35mm;
};
