// Time_Timecode: frames and labels of any number of days, as drop and non-drop timecode count them.
//
//     29.97 drop    frame   0 … 1799   1800         17981              2589407   2589408
//                   label   0 … 1799   1802         17999              2591999   2592000, of the next day
//
// Units:   frames from sample 0 on; a label's number is its hours, minutes, seconds and frames
//          counted through at the format's whole number of frames per second. Both may be
//          negative: days before the first.
// Formats: as Time_SMPTE, which holds one label of a day. Those without frames per second assert
//          "framesPerSecond != -1" and give the count unchanged.
// Threads: anywhere; format 0 is the global format at that moment.
#pragma once

#include "Export/Kora_API.h"
#include "Kora/Time/Formats/Time_ETimeCodeFormat.h"

class KORA_API Time_Timecode
{
public:
    // 2592000 at 30 frames per second, and in the drop formats of that count.
    [[nodiscard]] static Cmn_Int64 GetLabelsOfDay(ETimeCodeFormat iFormat);
    // How many frames have a label of one day: 2589408 of 29.97 drop.
    [[nodiscard]] static Cmn_Int64 GetFramesOfDay(ETimeCodeFormat iFormat);

    // The label of a frame.
    [[nodiscard]] static Cmn_Int64 FrameToLabel(Cmn_Int64 iFrame, ETimeCodeFormat iFormat);
    // The frame of a label. One that is left out is the frame of the first label of its minute.
    [[nodiscard]] static Cmn_Int64 LabelToFrame(Cmn_Int64 iLabel, ETimeCodeFormat iFormat);
    // Whether a frame has the label.
    [[nodiscard]] static bool IsLabel(Cmn_Int64 iLabel, ETimeCodeFormat iFormat);

private:
    Time_Timecode() = default;
};
