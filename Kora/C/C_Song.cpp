#include "Kora/C/C_Song_p.h"

#include "Kora/Ndo/Ndo_Manager.h"
#include "Kora/SMF/SMF_TimeMaps.h"
#include "Kora/Time/Formats/Time_Globals.h"
#include "Kora/Time/Formats/Time_SMPTE.h"
#include "Kora/Time/Tempo/Time_ConstantTempoSeg.h"

#include <algorithm>
#include <iterator>
#include <memory>

namespace {

bool IsTimeCodeFormat(int32_t iFormat)
{
    return iFormat >= KORA_TIMECODE_24 && iFormat <= KORA_TIMECODE_60_DROP &&
           iFormat != eTimeCodeFormat_2997OMF && iFormat != eTimeCodeFormat_2997DropOMF;
}

void CheckPlace(bool iIsPlace, const char* iWhat, Time_Tick iTick)
{
    if (!iIsPlace)
        throw C_Error(KORA_BAD_FILE, std::string(iWhat) + " at tick " + std::to_string(iTick.AsInt64()) +
                                         " is outside of the song or of the limits of times");
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
static_assert(KORA_SONG_START_TICK == SMF_TimeMaps::cStartTick.AsInt64());
static_assert(KORA_SAMPLES == static_cast<int>(Time_eType_Samples) &&
              KORA_TICKS == static_cast<int>(Time_eType_Ticks) &&
              KORA_FRAMES == static_cast<int>(Time_eType_Frames));

kora_song::kora_song()
    : C_Handle(cKind)
{
    mInfo.mSampleRate = Time_Globals::GetSampleRate();
    mInfo.mTimeCodeFormat = Time_Globals::GetGlobalTimeCodeFormat();
    mInfo.mEndTick = SMF_TimeMaps::cStartTick;
    mConverter.SetMeterMap(&mMeters);
    mConverter.SetTempoMap(&mTempi);
    mMeters.AddInitialMeterChange(SMF_TimeMaps::cStartTick, Time_Meter(), 1);
    AddFirstTempo();
    mTempi.GetListenerList().Add(&mTempiReceiver);
    mMeters.GetListenerList().Add(&mMetersReceiver);
}

kora_song::~kora_song()
{
    mTempi.GetListenerList().Remove(&mTempiReceiver);
    mMeters.GetListenerList().Remove(&mMetersReceiver);
}

void kora_song::AddFirstTempo()
{
    auto segment = std::make_unique<Time_ConstantTempoSeg>(SMF_TimeMaps::cStartTick);
    segment->SetTempo(Time_DefaultTempo::cDefaultBeatsPerMinute, Time_TickLength::cQuarter);
    segment->SetIsSongStart(true);
    segment->LockToSample(Time_Sample(0));
    mTempi.AddSegment(std::move(segment));
}

void kora_song::Read(const SMF_File& iFile)
{
    mInfo.mEndTick = SMF_TimeMaps::Read(iFile, mMeters, mTempi, mKeys);
}

void kora_song::Read(FF_Document& ioDocument)
{
    const bool hasInfo = FF_TimeMaps::ReadInfo(ioDocument, mInfo);
    mTempi.SetSampleRate(mInfo.mSampleRate); // first: where computed segments end depends on it
    if (FF_TimeMaps::Read(ioDocument, mMeters, mTempi, mKeys) == 0 && !hasInfo)
        throw C_Error(KORA_BAD_FILE, "no song in this document");
    mMeters.MakeRealIfDefault();
    if (mTempi.GetNumberOfSegments() == 0) AddFirstTempo();
    CheckPlaces();
}

Time_Tick kora_song::GetEnd() const
{
    Time_Tick last = (std::max)({mInfo.mEndTick, mTempi.GetSongStartTick(), mMeters.GetTickOfLastChange()});
    if (mTempi.GetNumberOfSegments() > 0)
        last = (std::max)(last, (*std::prev(mTempi.SegmentEnd()))->GetStartTick());
    Time_Tick tick;
    Time_KeySignature key;
    if (mKeys.size() > 0 && mKeys.GetKeysSignature(mKeys.size() - 1, tick, key))
        last = (std::max)(last, tick);
    return last;
}

// A document may come from anywhere: every place that is asked for must be one.
void kora_song::CheckPlaces() const
{
    const Cmn_Int64 maxTick = Time_Typed::MaxTime(Time_eType_Ticks).AsInt64();
    const Cmn_Int64 maxSample = Time_Typed::MaxTime(Time_eType_Samples).AsInt64();
    const auto check = [&](const char* iWhat, Time_Tick iTick) {
        CheckPlace(iTick >= mTempi.GetSongStartTick() && iTick.AsInt64() <= maxTick, iWhat, iTick);
        const Cmn_Int64 sample = mTempi.TickToSample(iTick, false).AsInt64();
        CheckPlace(sample >= 0 && sample <= maxSample, iWhat, iTick);
        CheckPlace(mMeters.BarBeatToTick(mMeters.TickToBarBeat(iTick)) == iTick, iWhat, iTick);
    };
    for (auto change = mMeters.IterBegin(); change != mMeters.IterEnd(); ++change)
        check("a meter", change->GetTick());
    for (auto segment = mTempi.SegmentBegin(); segment != mTempi.SegmentEnd(); ++segment)
        check("a tempo", (*segment)->GetStartTick());
    for (long i = 0; i < mKeys.size(); ++i) {
        Time_Tick tick;
        Time_KeySignature key;
        if (mKeys.GetKeysSignature(i, tick, key)) check("a key", tick);
    }
    check("the end", GetEnd());
}

void kora_song::CheckMayEdit() const
{
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
        throw C_Error(KORA_BAD_ARGUMENT, std::string(iName) + " is outside of the limits of ticks");
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
        const kora_song& from = C_Get(song, "song");
        kora_song_info& info = C_Out(out, "out");
        C_Require(info.size >= sizeof(kora_song_info), "size is smaller than the struct");
        info.timecode_format = from.mInfo.mTimeCodeFormat;
        info.sample_rate = from.mTempi.GetSampleRate();
        info.start_tick = from.mTempi.GetSongStartTick().AsInt64();
        info.end_tick = from.GetEnd().AsInt64();
    });
}

kora_status kora_song_set_listener(kora_song* song, kora_song_listener listener, void* user)
{
    return C_Guard([&] { C_Get(song, "song").SetListener(listener, user); });
}

kora_status kora_song_get_tempo_map(kora_song* song, kora_tempo_map** out) { return GetMap(song, out); }
kora_status kora_song_get_meter_map(kora_song* song, kora_meter_map** out) { return GetMap(song, out); }
kora_status kora_song_get_key_map(kora_song* song, kora_key_map** out) { return GetMap(song, out); }
