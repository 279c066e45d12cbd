// SPSStartupOptionSInt32: a setting that is fixed when the library is loaded.
//
//   static const SPSStartupOptionSInt32 sUse24HourTimeline("Use24HourTimeline", 1);
//
// reads the environment variable OSTREL_OPTION_Use24HourTimeline. Its value counts when it is a decimal
// integer of 32 bits, with a sign or without, and nothing else; any other text leaves the default.
//
// Threads: construct it as a static: the environment must not change meanwhile. GetValue may
// be called from any thread.
#pragma once

#include "Export/Kora_API.h"

#include <cstdint>
#include <string>

class KORA_API SPSStartupOptionSInt32
{
public:
    // iName is the variable's without OSTREL_OPTION_.
    SPSStartupOptionSInt32(const std::string& iName, std::int32_t iDefault);

    std::int32_t GetValue() const { return mValue; }

private:
    std::int32_t mValue;
};
