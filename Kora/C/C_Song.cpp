#include "Kora/C/C_Song_p.h"

#include "Kora/Ndo/Ndo_Manager.h"
#include "Kora/Time/Formats/Time_Globals.h"
#include "Kora/Time/Formats/Time_SMPTE.h"

namespace {

bool IsTimeCodeFormat(int32_t iFormat)
{
    return iFormat >= KORA_TIMECODE_24 && iFormat <= KORA_TIMECODE_60_DROP &&
           iFormat != eTimeCodeFormat_2997OMF && iFormat != eTimeCodeFormat_2997DropOMF;
}

template <class Handle>
kora_status GetMap(kora_song* iSong, Handle** oMap)
{
    return C_Guard([&] {
        Handle*& out = C_Out(oMap, "out");
        out = new Handle(C_Get(iSong, "song"));
    });
}

} // namespace

static_assert(KORA_TICKS_PER_QUARTER == Time_TickLength::cInternalPerQuarter);
static_assert(KORA_SONG_START_TICK == Kora_Song::cStartTick.AsInt64());
static_assert(KORA_SAMPLES == static_cast<int>(Time_eType_Samples) &&
              KORA_TICKS == static_cast<int>(Time_eType_Ticks) &&
              KORA_FRAMES == static_cast<int>(Time_eType_Frames));

kora_song::kora_song()
    : C_Handle(cKind, &C_Delete<kora_song>)
{
    mSong.GetTempoMap().GetListenerList().Add(&mTempiReceiver);
    mSong.GetMeterMap().GetListenerList().Add(&mMetersReceiver);
}

kora_song::~kora_song()
{
    mSong.GetTempoMap().GetListenerList().Remove(&mTempiReceiver);
    mSong.GetMeterMap().GetListenerList().Remove(&mMetersReceiver);
}

void kora_song::CheckMayEdit() const
{
    CheckNoCallback();
    C_Require(mIsRecorded || !Ndo_gManager.IsRecording(), "another song's history records", KORA_BUSY);
}

void kora_song::SetListener(kora_song_listener iListener, void* iUser)
{
    mListener = iListener;
    mUser = iUser;
}

Time_Tick C_Tick(std::int64_t iTick, const char* iName)
{
    if (iTick < 0 || iTick > Time_Typed::MaxTime(Time_eType_Ticks).AsInt64())
        C_ThrowFor(KORA_BAD_ARGUMENT, iName, " is outside of the limits of ticks");
    return Time_Tick(iTick);
}

void C_CheckRange(std::int64_t iFrom, std::int64_t iTo)
{
    C_Require(C_Tick(iFrom, "from") <= C_Tick(iTo, "to"), "the range ends before it begins");
}

kora_status kora_set_session(double sample_rate, int32_t timecode_format)
{
    return C_Guard([&] {
        // Written so that "not a number" is refused too.
        C_Require(sample_rate >= FF_TimeMaps::cMinSampleRate && sample_rate <= FF_TimeMaps::cMaxSampleRate,
                  "sample_rate is not between 1000 and 768000");
        C_Require(IsTimeCodeFormat(timecode_format), "timecode_format is none");
        const auto format = static_cast<ETimeCodeFormat>(timecode_format);
        Time_Globals::SetSampleRate(sample_rate);
        Time_Globals::SetGlobalTimeCodeFormat(format);
        Time_Globals::SetFrameRate(Time_SMPTE::GetRealRate(format));
    });
}

kora_status kora_song_get_info(kora_song* song, kora_song_info* out)
{
    return C_Guard([&] {
        const Kora_Song& from = C_Get(song, "song").Get();
        kora_song_info& info = C_Out(out, "out");
        C_Require(info.size >= sizeof(kora_song_info), "size is smaller than the struct");
        info.timecode_format = from.GetTimeCodeFormat();
        info.sample_rate = from.GetTempoMap().GetSampleRate();
        info.start_tick = from.GetStartTick().AsInt64();
        info.end_tick = from.GetEndTick().AsInt64();
    });
}

kora_status kora_song_set_listener(kora_song* song, kora_song_listener listener, void* user)
{
    return C_Guard([&] { C_Get(song, "song").SetListener(listener, user); });
}

kora_status kora_song_get_tempo_map(kora_song* song, kora_tempo_map** out) { return GetMap(song, out); }
kora_status kora_song_get_meter_map(kora_song* song, kora_meter_map** out) { return GetMap(song, out); }
kora_status kora_song_get_key_map(kora_song* song, kora_key_map** out) { return GetMap(song, out); }
