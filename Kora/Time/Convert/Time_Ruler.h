// Time_Ruler: which lines a ruler above a time line shows, which are major, and which have a label.
//
//     bars      |1    .    .    .    |2    .    .    .    |3           bars and beats
//     minsec    |0:00     .     .     .     |0:05     .     .
//
// Lines:      of a form: bars and beats of bars, and the counts of timecode, minutes:seconds, samples and feet.
//             Counts are ranked by the round steps that divide them, of which each divides the next: bars
//             1, 2, 4, 8 …; milliseconds 1, 5, 10, 50 …, whole seconds, 5, 10, 30, minutes and so on.
// Choice:     a line is shown where the lines of its rank or higher on both sides are at least a distance
//             away, so that no two lines of a ruler are closer: of two the one of lower rank saw the other.
//             Major lines and labels are chosen in the same way by larger distances.
// Scrolling:  the choice looks at zoom and maps alone: the same lines come back, whatever was scrolled.
// Labels:     are measured by the host. Their distance is the widest that a label up to a last time can be,
//             and a gap; behind that time, such as the song's end, a label that is wider is left out.
// Cost:       grows with the lines that are shown, not with those of the song.
// Threads:    as Time_Converter. Ownership: borrows converter and function.
#pragma once

#include "Kora/Time/Convert/Time_Format.h"
#include "Kora/Time/Convert/Time_PixelMapper.h"
#include "Kora/Time/Formats/Time_FeetFrame.h"

#include <functional>
#include <string>

struct Time_RulerLine
{
    Cmn_Int64 mPixel = 0; // the nearest, as Time_PixelMapper::ToNearestPixel has it
    Time_Typed mTime;     // ticks of bars and beats, samples of the other forms
    bool mIsMajor = false;
    std::string mLabel; // empty: none. It begins at the line and has its room to the right.
};

// Least distances in pixels.
struct Time_RulerDistances
{
    double mLines = 6;
    double mMajors = 36;
    double mLabelGap = 8; // from the end of a label to the next
};

class KORA_API Time_Ruler
{
public:
    // Gives the width of a text, in pixels.
    using Measure = std::function<double(std::string_view)>;
    // Is given each line.
    using Take = std::function<void(const Time_RulerLine&)>;

    // Of Time_eForm_Bars, _Timecode, _MinSec, _Samples or _Feet; another form asserts "the form has rulers" and
    // is bars. iMeasure gives the width of a text in pixels.
    Time_Ruler(const Time_Converter& iConverter, Time_EForm iForm, const Time_Typed& iLast,
               const Measure& iMeasure, const Time_RulerDistances& iDistances = {},
               Time_EFilmGauge iGauge = Time_eFilmGauge_35mm);

    Time_EForm GetForm() const { return mForm; }
    // What a label needs, gap included.
    double GetLabelDistance() const { return mLabelDistance; }

    // Take(line) for each line of the pixels [0, iWidth), and before them of those whose label reaches in, in
    // ascending order.
    void Draw(const Time_PixelMapper& iMapper, double iWidth, const Take& iTake) const;

private:
    class Drawing;

    void FindWidest(const Time_Typed& iLast, const Measure& iMeasure);

    const Time_Converter* mConverter;
    Time_EForm mForm;
    Time_EFilmGauge mGauge;
    Time_RulerDistances mDistances;
    std::size_t mMostCharacters = 0; // of a label
    double mLabelDistance = 0;
};
