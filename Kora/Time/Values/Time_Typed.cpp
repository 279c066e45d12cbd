#include "Kora/Time/Values/Time_Typed.h"

#include "Bastel/I18N/I18N_Utils.h"
#include "Kora/Sys/Sys_AssertInitialized.h"
#include "OstrelPlatformSupport/SPSStartupOptionSInt32.h"

namespace {

constexpr Cmn_Int64 cMaxTicksAndFrames = 0x07FFFFFFFFFFFFFF;
constexpr Cmn_Int64 cMaxSamplesOfADay = 0x7FFFFFFFF;
constexpr Cmn_Int64 cMaxSamplesShort = 0x7FFFFFFF;
constexpr Cmn_Int64 cMaxSessionSampleShort = 0x75B347FF;
constexpr Cmn_Int32 cUnitNames = 1341; // and the two that follow

// Both are made at library load, or before by a static object of the host that calls Init: where the library
// is a static one, it may come first.
bool Uses24HourTimeline()
{
    static const SPSStartupOptionSInt32 sUse24HourTimeline("Use24HourTimeline", 1);
    return sUse24HourTimeline.GetValue() != 0;
}

std::string& TypeString(Time_EType iType)
{
    static std::string sTypeStrings[3]; // empty until Init
    return sTypeStrings[iType];
}

[[maybe_unused]] const bool sAreMadeAtLoad = (Uses24HourTimeline(), TypeString(Time_eType_Samples), true);

} // namespace

// The tables hold zeros until Init.
constinit Time_Typed Time_Typed::sMinTimes[3];
constinit Time_Typed Time_Typed::sMaxTimes[3];
constinit Time_Sample Time_Typed::sMaxSessionSample;
constinit bool Time_Typed::sInited = false;

void Time_Typed::Init()
{
    if (sInited) return;
    sInited = true;

    const Cmn_Int64 maxSample = Uses24HourTimeline() ? cMaxSamplesOfADay : cMaxSamplesShort;
    sMinTimes[Time_eType_Samples] = Time_Typed(0, Time_eType_Samples);
    sMaxTimes[Time_eType_Samples] = Time_Typed(maxSample, Time_eType_Samples);
    for (const Time_EType type : {Time_eType_Ticks, Time_eType_Frames}) {
        sMinTimes[type] = Time_Typed(-cMaxTicksAndFrames, type);
        sMaxTimes[type] = Time_Typed(cMaxTicksAndFrames, type);
    }
    for (const Time_EType type : {Time_eType_Samples, Time_eType_Ticks, Time_eType_Frames})
        TypeString(type) = I18N_Utils::GetString(cUnitNames + static_cast<Cmn_Int32>(type));
    sMaxSessionSample = Time_Sample(Uses24HourTimeline() ? cMaxSamplesOfADay : cMaxSessionSampleShort);
}

// One of the limits is 0 afterwards too.
const Time_Typed& Time_Typed::Checked(const Time_Typed& iLimit)
{
    if (iLimit.AsInt64() == 0) Sys_ASSERT_INITIALIZED(sInited);
    return iLimit;
}

void Time_Typed::PinToValidRange()
{
    if (!Cmn_ASSERT_AS(GetType() <= Time_eType_Frames, "0", "Time/Time_Typed")) return;
    const Cmn_Int64 maximum = Checked(sMaxTimes[GetType()]).AsInt64();
    const Cmn_Int64 minimum = sMinTimes[GetType()].AsInt64();
    if (AsInt64() >= maximum)
        SetTime(maximum);
    else if (AsInt64() <= minimum)
        SetTime(minimum);
}

Time_Typed Time_Typed::MinTime(Time_EType iType) { return Checked(sMinTimes[iType]); }

Time_Typed Time_Typed::MaxTime(Time_EType iType) { return Checked(sMaxTimes[iType]); }

const std::string& Time_Typed::GetTimeTypedString(Time_EType iType)
{
    const std::string& name = TypeString(iType);
    if (name.empty()) Sys_ASSERT_INITIALIZED(sInited);
    return name;
}

Time_Sample Time_Typed::AtMostTheMaximum(Time_Sample iSample)
{
    const Time_Sample maximum(sMaxTimes[Time_eType_Samples].AsInt64());
    if (iSample < maximum) return iSample;
    return Time_Sample(Checked(sMaxTimes[Time_eType_Samples]).AsInt64());
}

Time_Sample Time_Typed::GetMaxSessionSample()
{
    if (sMaxSessionSample == Time_Sample(0)) Sys_ASSERT_INITIALIZED(sInited);
    return sMaxSessionSample;
}

void Time_Typed::SetMaxSessionSample(const Time_Sample& iSample)
{
    Sys_ASSERT_INITIALIZED(sInited);
    if (!Uses24HourTimeline()) return;
    Cmn_ASSERT_AS(sMaxSessionSample <= sMaxTimes[Time_eType_Samples].AsSample(),
                  "sMaxSessionSample <= Time_Typed::MaxTime(Time_eType_Samples).AsSample()",
                  "Time/Time_Typed");
    sMaxSessionSample = iSample;
}
