#include "Kora/Time/Formats/Time_Timecode.h"

#include "Kora/Time/Formats/Time_TimecodeRules_p.h"

using namespace Time_TimecodeRules;

namespace {

constexpr Cmn_Int32 cMinutesPerBlock = 10;

struct InDay
{
    Cmn_Int64 mDay;
    Cmn_Int32 mRest;
};
InDay Split(Cmn_Int64 iCount, Cmn_Int64 iPerDay)
{
    const Cmn_Int64 day = Cmn_FloorDiv(iCount, iPerDay);
    return {day, static_cast<Cmn_Int32>(iCount - day * iPerDay)};
}

// Moved to the first label of its minute where it is left out.
Cmn_Int32 Legal(Cmn_Int32 iLabel, const Format& iFormat)
{
    const Cmn_Int32 perMinute = iFormat.mFramesPerSecond * 60;
    const Cmn_Int32 minute = iLabel / perMinute % cMinutesPerBlock;
    const Cmn_Int32 inMinute = iLabel % perMinute;
    if (minute == 0 || inMinute >= iFormat.mDroppedPerMinute) return iLabel;
    if (IsEarlySeventhMinute(iFormat, minute, inMinute)) return iLabel;
    return iLabel - inMinute + iFormat.mDroppedPerMinute;
}

bool Counts(const Format& iFormat) { return iFormat.mFramesPerSecond != -1; }

} // namespace

Cmn_Int64 Time_Timecode::GetLabelsOfDay(ETimeCodeFormat iFormat)
{
    return Cmn_Int64{CheckedFormatOf(iFormat).mFramesPerSecond} * cSecondsPerDay;
}

Cmn_Int64 Time_Timecode::GetFramesOfDay(ETimeCodeFormat iFormat)
{
    return FramesOfDay(CheckedFormatOf(iFormat));
}

Cmn_Int64 Time_Timecode::FrameToLabel(Cmn_Int64 iFrame, ETimeCodeFormat iFormat)
{
    const Format& format = CheckedFormatOf(iFormat);
    if (!Counts(format) || format.mDroppedPerMinute == 0) return iFrame;
    const InDay frame = Split(iFrame, FramesOfDay(format));
    return Cmn_WrapAdd(Cmn_WrapMul(frame.mDay, GetLabelsOfDay(iFormat)),
                       Cmn_Int64{UndropLabels(frame.mRest, format)});
}

Cmn_Int64 Time_Timecode::LabelToFrame(Cmn_Int64 iLabel, ETimeCodeFormat iFormat)
{
    const Format& format = CheckedFormatOf(iFormat);
    if (!Counts(format) || format.mDroppedPerMinute == 0) return iLabel;
    const InDay label = Split(iLabel, GetLabelsOfDay(iFormat));
    return label.mDay * FramesOfDay(format) + DropLabels(Legal(label.mRest, format), format);
}

bool Time_Timecode::IsLabel(Cmn_Int64 iLabel, ETimeCodeFormat iFormat)
{
    const Format& format = CheckedFormatOf(iFormat);
    if (!Counts(format)) return false;
    const Cmn_Int32 inDay = Split(iLabel, GetLabelsOfDay(iFormat)).mRest;
    return Legal(inDay, format) == inDay;
}
