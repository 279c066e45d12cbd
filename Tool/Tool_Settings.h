// Tool_Settings: the session format that a user asks for: sample rate and timecode format.
#pragma once

#include "Kora/Time/Formats/Time_Globals.h"

#include <optional>
#include <string>
#include <string_view>

struct Tool_Settings
{
    double mSampleRate = 44100.0;
    ETimeCodeFormat mTimeCodeFormat = eTimeCodeFormat_30;

    // Makes them the process's: sample rate, timecode format and its frame rate, no
    // frame offset and no pulls.
    void Apply() const;
};

// What a user asks for, where something is: the rest is the song's own or the default.
struct Tool_AskedSettings
{
    std::optional<double> mSampleRate;
    std::optional<ETimeCodeFormat> mTimeCodeFormat;

    Tool_Settings Over(const Tool_Settings& iSettings) const
    {
        return {mSampleRate.value_or(iSettings.mSampleRate),
                mTimeCodeFormat.value_or(iSettings.mTimeCodeFormat)};
    }
};

// From Tool_Seconds::cMinRate to cMaxRate; not for what is no number.
bool Tool_IsRate(double iRate);
// A format that has frames per second: all but the two OMF formats.
bool Tool_IsTimeCodeFormat(ETimeCodeFormat iFormat);

// A decimal number of Hz that is a rate; false, with the out untouched, for anything else.
bool Tool_ParseRate(std::string_view iText, double& oRate);

// A name as Time_Globals::GetTimeCodeFormatString gives it, with or without its blanks and "fps": "29.97 fps
// drop", "29.97drop". False for anything else and for the two OMF formats, which have no frames per second.
bool Tool_ParseTimeCodeFormat(std::string_view iName, ETimeCodeFormat& oFormat);
// The short names, "24, 25, …", for messages.
std::string Tool_TimeCodeFormatNames();
