#include "Kora/Time/Formats/Time_FeetFrame.h"

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Bastel/Cmn/Cmn_FloatMath.h"
#include "Bastel/Cmn/Cmn_IntMath.h"
#include "Bastel/Cmn/Cmn_XMLNode.h"
#include "Kora/Time/Formats/Time_FormText_p.h"
#include "Kora/Time/Formats/Time_Globals.h"

#include <ostream>

namespace {

constexpr Cmn_Int64 cSecondsPerDay = 86400;
constexpr char cForm[] = "feet+frames is expected, such as 90+12";

double sFilmRate = 24.0;
Cmn_Int64 sFrameOffset = 0;

Cmn_Int64 InDay(Cmn_Int64 iFrames)
{
    const Cmn_Int64 day = Time_FeetFrame::GetFramesOfDay();
    return iFrames - Cmn_FloorDiv(iFrames, day) * day;
}

const char* TakeFrames(std::string_view iText, Cmn_Int64 iPerFoot, Cmn_Int64& oFrames)
{
    Time_FormReader reader(iText);
    Cmn_Int64 feet = 0;
    Cmn_Int64 frames = 0;
    if (reader.TakeNumber(feet) == 0) return cForm;
    if (reader.Take('+') && reader.TakeNumber(frames) == 0) return cForm;
    if (!reader.IsAtEnd()) return cForm;
    if (frames >= iPerFoot)
        return iPerFoot == Time_eFilmGauge_16mm ? "a foot of this film has frames 0 to 39"
                                                : "a foot of this film has frames 0 to 15";
    oFrames = feet * iPerFoot + frames;
    return oFrames < Time_FeetFrame::GetFramesOfDay() ? nullptr : "the film ends after 24 hours";
}

} // namespace

Time_FeetFrame::Time_FeetFrame(Cmn_Int64 iFrames, Time_EFilmGauge iGauge)
    : mFrames(Cmn_ASSERT(iFrames >= 0) ? iFrames : 0)
    , mGauge(iGauge)
{
}

double Time_FeetFrame::GetFilmRate() { return sFilmRate; }

void Time_FeetFrame::SetFilmRate(double iFramesPerSecond)
{
    if (Cmn_ASSERT(iFramesPerSecond > 0)) sFilmRate = iFramesPerSecond;
}

Cmn_Int64 Time_FeetFrame::GetFrameOffset() { return sFrameOffset; }

void Time_FeetFrame::SetFrameOffset(Cmn_Int64 iFrames) { sFrameOffset = iFrames; }

Cmn_Int64 Time_FeetFrame::GetFramesOfDay()
{
    return Cmn_WrapMul(-Cmn_FloorToInt64(-sFilmRate), cSecondsPerDay);
}

Time_FeetFrame Time_FeetFrame::FromSample(Time_Sample iSample, Time_EFilmGauge iGauge)
{
    return Time_FeetFrame(InDay(CountAtSample(iSample)), iGauge);
}

Cmn_Int64 Time_FeetFrame::CountAtSample(Time_Sample iSample)
{
    const auto samples = static_cast<double>(iSample.AsInt64());
    const Cmn_Int64 frames = Cmn_RoundHalfUp(samples * sFilmRate / Time_Globals::GetPullSampleRate());
    return Cmn_WrapAdd(frames, sFrameOffset);
}

Time_Sample Time_FeetFrame::ToSample() const
{
    return SampleOfCount(Cmn_WrapAdd(InDay(Cmn_WrapSub(mFrames, sFrameOffset)), sFrameOffset));
}

Time_Sample Time_FeetFrame::SampleOfCount(Cmn_Int64 iFrames)
{
    const auto frames = static_cast<double>(Cmn_WrapSub(iFrames, sFrameOffset));
    return Time_Sample(Cmn_RoundHalfUp(frames * Time_Globals::GetPullSampleRate() / sFilmRate));
}

std::string Time_FeetFrame::ToString() const
{
    char text[cTextBytes];
    return std::string(text, ToText(text));
}

std::size_t Time_FeetFrame::ToText(char* oText) const
{
    char* at = Time_WriteNumber(oText, static_cast<Cmn_UInt64>(GetFeet()));
    *at++ = '+';
    at = Time_WriteTwoDigits(at, static_cast<Cmn_UInt32>(GetFramesPastFeet()));
    *at = '\0';
    return static_cast<std::size_t>(at - oText);
}

bool Time_FeetFrame::FromText(std::string_view iText, const char** oWhyNot)
{
    Cmn_Int64 frames = 0;
    if (const char* const whyNot = TakeFrames(iText, mGauge, frames)) {
        if (oWhyNot != nullptr) *oWhyNot = whyNot;
        return false;
    }
    mFrames = frames;
    return true;
}

std::string Time_FeetFrame::Dump() const { return ToString() + " of " + std::to_string(mGauge); }

Cmn_XMLNode Time_FeetFrame::GetAsXML(const std::string& iName) const
{
    Cmn_XMLNode node(iName);
    node.AddAttribute("framesPerFoot", std::to_string(mGauge));
    node.SetText(ToString());
    return node;
}

std::ostream& operator<<(std::ostream& ioStream, const Time_FeetFrame& iTime)
{
    char text[Time_FeetFrame::cTextBytes];
    iTime.ToText(text);
    return ioStream << text;
}
