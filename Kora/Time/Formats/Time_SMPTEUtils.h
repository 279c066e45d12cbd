// Time_SMPTEUtils: timecode on the session's time line: where a label lies, and
// whether the session reaches it.
//
//     sample 0                          GetMaxSessionSample        24 hours behind the first label
//     ├──────────── session ────────────────────┤- - - - - - - - - - - - - -┤
//     the label of Time_Globals::GetFrameOffset                  the labels start again
//
// Units:   samples at Time_Globals::GetPullSampleRate; labels of a format, whose first frame on the time line
//          is Time_Globals::GetFrameOffset of that format.
// Formats: those without frames per second assert "framesPerSecond != -1", and nothing
// of them lies in a session.
// Threads: as Time_Globals.
#pragma once

#include "Kora/Time/Formats/Time_SMPTE.h"

class KORA_API Time_SMPTEUtils
{
public:
    // The label of the frame whose start is nearest. Days behind the first have its labels again.
    [[nodiscard]] static Time_SMPTE SampleToLabel(Time_Sample iSample,
                                                  ETimeCodeFormat iFormat = eTimeCodeFormat_UseGlobal);
    // The same of hundredths of a frame: Time_SMPTE::SetToNearestSubframe behind the frame offset.
    [[nodiscard]] static Time_SMPTE SampleToSubframe(Time_Sample iSample,
                                                     ETimeCodeFormat iFormat = eTimeCodeFormat_UseGlobal);
    // The sample nearest to the first place where the label's frame starts, with its subSamples.
    [[nodiscard]] static Time_Sample LabelToSample(const Time_SMPTE& iLabel);

    // Whether the fields are a label of the format's day, as Time_SMPTE::IsLabel.
    [[nodiscard]] static bool IsIn24Hours(const Time_SMPTE& iLabel);
    // Whether such a label lies at a sample of the session.
    [[nodiscard]] static bool IsInSession(const Time_SMPTE& iLabel);
    // Whether the label was moved to the nearer end of the session: the last frame that starts in it, or the
    // first. A label between them stays.
    [[nodiscard]] static bool PinToSession(Time_SMPTE& ioLabel);

    // The labels of sample 0 and of the last frame that starts in the session, or in its first 24 hours.
    [[nodiscard]] static Time_SMPTE GetSessionStart(ETimeCodeFormat iFormat = eTimeCodeFormat_UseGlobal);
    // The label of the last frame, as above.
    [[nodiscard]] static Time_SMPTE GetSessionEnd(ETimeCodeFormat iFormat = eTimeCodeFormat_UseGlobal);

private:
    Time_SMPTEUtils() = default;
};
