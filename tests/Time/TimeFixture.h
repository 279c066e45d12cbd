// TimeFixture: what the tests of times share: recorded reports, bytes, texts, units,
// and the ends of the range.
#pragma once

#include "Bastel/Cmn/Cmn_Exception.h"
#include "Bastel/Cmn/Cmn_XMLNode.h"
#include "Bastel/Sys/Sys_StdStreamHeader.h"
#include "Kora/Time/Values/Time_TypedLocal.h"
#include "Kora/Time/Values/Time_TypedVector.h"
#include "Support/AssertRecorder.h"
#include "Support/StTimeGlobals.h"
#include "Support/StreamBytes.h"
#include "Support/TimePrinters.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <limits>
#include <map>
#include <random>

using Reports = std::vector<std::string>;

constexpr Cmn_Int64 cMost = std::numeric_limits<Cmn_Int64>::max(),
                    cLeast = std::numeric_limits<Cmn_Int64>::min();
constexpr Time_EType cSamples = Time_eType_Samples, cTicks = Time_eType_Ticks, cFrames = Time_eType_Frames;
constexpr Time_EType cUnits[] = {cSamples, cTicks, cFrames}, cInvalid = static_cast<Time_EType>(3);
const std::string cMixedTicks =
    "leftHandValue.mTickType == rightHandValue.mTickType@$^$@time/Time_TickLength";
