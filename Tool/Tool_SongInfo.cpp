#include "Tool/Tool_SongInfo.h"

#include "Kora/FF/Document/FF_Document_TOCKey.h"
#include "Kora/FF/Document/FF_StSetStreamContext.h"
#include "Kora/FF/Document/FF_StreamHeader.h"
#include "Kora/Time/Values/Time_Typed.h"

static_assert(Tool_SongInfo::cStreamType == 32 && Tool_SongInfo::cVersion == 1, "fixed on disk");

void Tool_SongInfo::Write(FF_Document& ioDocument) const
{
    Sys_TypedOutStream out = ioDocument.MakeTypedOutStream();
    ioDocument.SeekToEnd(out);
    FF_Document::AddTOCEntry(&ioDocument, static_cast<Cmn_UInt64>(out.GetPosition()), cStreamType,
                             "song info");
    const FF_StreamHeaderWriter header(&ioDocument, out, cStreamType, cVersion);
    out.WriteInt64(mEndTick.AsInt64());
    out.WriteFloat64(mSettings.mSampleRate);
    out.WriteInt32(mSettings.mTimeCodeFormat);
}

bool Tool_SongInfo::Read(FF_Document& ioDocument)
{
    const FF_StSetStreamContext outermost(ioDocument, FF_Document::TOCKey());
    Sys_TypedInStream in = ioDocument.MakeTypedInStream();
    if (!ioDocument.SeekToStream(FF_Document::TOCKey(cStreamType), in)) return false;
    const FF_StreamHeaderReader header(&ioDocument, in, cStreamType);
    header.CheckVersion(cVersion, cVersion);
    const Cmn_Int64 start = in.GetPosition();
    const Cmn_Int64 endTick = in.ReadInt64();
    const double rate = in.ReadFloat64();
    const auto format = static_cast<ETimeCodeFormat>(in.ReadInt32());
    const bool isTick = endTick >= Time_Typed::MinTime(Time_eType_Ticks).AsInt64() &&
                        endTick <= Time_Typed::MaxTime(Time_eType_Ticks).AsInt64();
    if (!isTick || !Tool_IsRate(rate) || !Tool_IsTimeCodeFormat(format)) throw Sys_StreamReadException(start);
    *this = {
        Time_Tick(endTick), {rate, format}
    };
    return true;
}
