#include "Kora/Time/Formats/Time_SMPTEUtils.h"

#include "Bastel/Cmn/Cmn_FloatMath.h"
#include "Kora/Time/Formats/Time_Globals.h"
#include "Kora/Time/Formats/Time_Timecode.h"
#include "Kora/Time/Values/Time_Typed.h"

#include <algorithm>

namespace {

constexpr Cmn_Int64 cSubframesPerFrame = 100;

Cmn_Int64 InDay(Cmn_Int64 iFrame, ETimeCodeFormat iFormat)
{
    const Cmn_Int64 day = Time_Timecode::GetFramesOfDay(iFormat);
    return iFrame - Cmn_FloorDiv(iFrame, day) * day;
}

// From sample 0 to the label's first place, in frames.
Cmn_Int64 FramesFromStart(const Time_SMPTE& iLabel)
{
    const ETimeCodeFormat format = iLabel.GetFormat();
    return InDay(iLabel.GetTotalFrames() - Cmn_Int64{Time_Globals::GetFrameOffset(format)}, format);
}

Time_SMPTE LabelAt(Cmn_Int64 iFramesFromStart, ETimeCodeFormat iFormat)
{
    Time_SMPTE label(iFormat);
    const Cmn_Int64 frame = iFramesFromStart + Cmn_Int64{Time_Globals::GetFrameOffset(iFormat)};
    label.SetFromTotalFrames(static_cast<Cmn_Int32>(InDay(frame, iFormat)));
    return label;
}

double SamplesPerFrame(ETimeCodeFormat iFormat)
{
    return Time_Globals::GetPullSampleRate() / Time_SMPTE::GetRealRate(iFormat);
}

// The last frame that starts in the session, on its first day.
Cmn_Int64 LastFrame(ETimeCodeFormat iFormat)
{
    const auto last = static_cast<double>(Time_Typed::GetMaxSessionSample().AsInt64());
    Cmn_Int64 frame = Cmn_FloorToInt64(last / SamplesPerFrame(iFormat)) + 1;
    const auto starts = [&](Cmn_Int64 iFrame) {
        return Cmn_RoundHalfUp(static_cast<double>(iFrame) * SamplesPerFrame(iFormat));
    };
    while (frame > 0 && starts(frame) > Time_Typed::GetMaxSessionSample().AsInt64())
        --frame;
    return std::min(frame, Time_Timecode::GetFramesOfDay(iFormat) - 1);
}

} // namespace

Time_SMPTE Time_SMPTEUtils::SampleToLabel(Time_Sample iSample, ETimeCodeFormat iFormat)
{
    const auto samples = static_cast<double>(iSample.AsInt64());
    return LabelAt(Cmn_RoundHalfUp(samples / SamplesPerFrame(iFormat)), iFormat);
}

Time_SMPTE Time_SMPTEUtils::SampleToSubframe(Time_Sample iSample, ETimeCodeFormat iFormat)
{
    Time_SMPTE label(iFormat);
    label.SetToNearestSubframe(iSample);
    const Cmn_Int64 frame = label.GetTotalFrames() + Cmn_Int64{Time_Globals::GetFrameOffset(iFormat)};
    const Cmn_Int64 past = label.GetTotalSubframes() - label.GetTotalFrames() * cSubframesPerFrame;
    label.SetFromTotalSubframes(static_cast<Cmn_Int32>(InDay(frame, iFormat) * cSubframesPerFrame + past));
    return label;
}

Time_Sample Time_SMPTEUtils::LabelToSample(const Time_SMPTE& iLabel)
{
    const double start = static_cast<double>(FramesFromStart(iLabel)) * SamplesPerFrame(iLabel.GetFormat());
    return Time_Sample(Cmn_RoundHalfUp(start + iLabel.GetSubSamples()));
}

bool Time_SMPTEUtils::IsIn24Hours(const Time_SMPTE& iLabel) { return iLabel.IsLabel(); }

bool Time_SMPTEUtils::IsInSession(const Time_SMPTE& iLabel)
{
    return iLabel.IsLabel() && LabelToSample(iLabel) <= Time_Typed::GetMaxSessionSample();
}

bool Time_SMPTEUtils::PinToSession(Time_SMPTE& ioLabel)
{
    if (IsInSession(ioLabel) || Time_SMPTE::GetFramesPerSecond(ioLabel.GetFormat()) == -1) return false;
    const ETimeCodeFormat format = ioLabel.GetFormat();
    const Cmn_Int64 frame = FramesFromStart(ioLabel);
    const Cmn_Int64 last = LastFrame(format);
    const bool isNearerToStart = Time_Timecode::GetFramesOfDay(format) - frame < frame - last;
    ioLabel = LabelAt(isNearerToStart ? 0 : last, format);
    return true;
}

Time_SMPTE Time_SMPTEUtils::GetSessionStart(ETimeCodeFormat iFormat) { return LabelAt(0, iFormat); }

Time_SMPTE Time_SMPTEUtils::GetSessionEnd(ETimeCodeFormat iFormat)
{
    return LabelAt(LastFrame(iFormat), iFormat);
}
