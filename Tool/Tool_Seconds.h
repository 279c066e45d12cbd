// Tool_Seconds: decimal seconds to samples and back, exact where exactness has a meaning.
//
// Meaning:  seconds = samples / sample rate, so second 0 is sample 0; both may be negative.
// Rounding: seconds become the nearest sample and samples the nearest microsecond, halves upward. At a
//           whole-numbered rate both are computed in integers, however many digits the text has: 0.005 s at
//           44100 Hz is 220.5 samples and gives 221, where a product of doubles may come out a hair below the
//           half. Other rates multiply and divide in double precision.
// Range:    rates from 1000 to 768000 Hz. Below a million, six decimals tell any two samples apart, so that a
//           sample written out in seconds reads back as itself.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"

#include <string>
#include <string_view>

class Tool_Seconds
{
public:
    static constexpr double cMinRate = 1000.0;
    static constexpr double cMaxRate = 768000.0;
    // Texts of more seconds than this have no sample: 2^40 samples lie beyond every time limit.
    static constexpr Cmn_Int64 cMaxSeconds = Cmn_Int64{1} << 40;

    explicit Tool_Seconds(double iSampleRate);

    // Reads "12", "12.5", "-0.25", ".5" and "3." whole; false for anything else and past cMaxSeconds. The
    // sample then saturates far beyond the time limits instead of wrapping.
    bool Parse(std::string_view iText, Cmn_Int64& oSample) const;

    // "0.005011" for sample 221 at 44100 Hz: six decimals, always.
    void Append(Cmn_Int64 iSample, std::string& ioText) const;
    // "1:05.250", for reading: minutes and seconds to the nearest millisecond.
    std::string MinutesAndSeconds(Cmn_Int64 iSample) const;

    // The nearest unit of which iUnitsPerSecond make a second, halves upward. |iSample| at most 2^36.
    Cmn_Int64 ToUnits(Cmn_Int64 iSample, Cmn_Int64 iUnitsPerSecond) const;

private:
    double mRate;
    Cmn_Int64 mWholeRate; // 0 when the rate is not a whole number
};
