// Edits of tempi and of time: checked arguments, and the library's refusals as results.
#include "Kora/C/C_Song_p.h"
#include "Kora/Time/Edit/Time_SongEdit.h"
#include "Kora/Time/Tempo/Time_TempoEdit.h"

#include <cmath>
#include <limits>

static_assert(KORA_EDIT_OUT_OF_LIMITS == static_cast<int>(Time_TempoEditResult::eReason_OutOfLimits) &&
              KORA_EDIT_NO_SUCH_BEAT == static_cast<int>(Time_TempoEditResult::eReason_NoSuchBeat));
static_assert(KORA_CURVE_S == static_cast<int>(Time_TempoEdit::eCurve_S));

namespace {

kora_song& SongOf(kora_tempo_map& ioMap) { return *ioMap.mSong; }
kora_song& SongOf(kora_song& ioSong) { return ioSong; }

// An edit of a song or of its tempi, which is done as a whole or not at all.
template <class Handle, class Edit>
kora_status GuardEdit(kora_edit_result* oResult, Handle* iHandle, const char* iName, const Edit& iEdit)
{
    return C_GuardModel([&] {
        const kora_song::StTellBehind tell(SongOf(C_Get(iHandle, iName)),
                                           kora_song::StTellBehind::eAllOrNothing);
        C_Require(oResult == nullptr || oResult->size >= sizeof(kora_edit_result),
                  "size is smaller than the struct");
        const Time_TempoEditResult result = iEdit();
        if (oResult != nullptr) {
            oResult->reason = result.mReason;
            oResult->nearest =
                result.HasNearest() ? result.mNearest : std::numeric_limits<double>::quiet_NaN();
        }
        C_Require(static_cast<bool>(result), result.GetReasonText(), KORA_REFUSED);
    });
}

// Also of what is not a number.
void RequireFinite(double iValue, const char* iName)
{
    if (!std::isfinite(iValue)) C_ThrowFor(KORA_BAD_ARGUMENT, iName, " is not finite");
}

// Of an edit of a range.
Time_TempoMap& TempiOf(kora_tempo_map* iMap, std::int64_t iFrom, std::int64_t iTo)
{
    Time_TempoMap& tempi = C_Get(iMap, "map").ForEdit();
    C_CheckRange(iFrom, iTo);
    return tempi;
}

Time_SongEdit::Song MapsOf(kora_song* iSong)
{
    kora_song& song = C_Get(iSong, "song");
    song.CheckMayEdit();
    Kora_Song& of = song.Get();
    return {&of.GetMeterMap(), &of.GetTempoMap(), &of.GetKeyMap(), {}};
}

} // namespace

kora_status kora_tempo_map_set(kora_tempo_map* map, int64_t tick, double beats_per_minute,
                               int64_t ticks_per_beat, kora_edit_result* result)
{
    return GuardEdit(result, map, "map", [&] {
        Time_TempoMap& tempi = C_Get(map, "map").ForEdit();
        RequireFinite(beats_per_minute, "beats_per_minute");
        C_Require(ticks_per_beat >= 1, "ticks_per_beat is not above 0");
        return Time_TempoEdit::SetTempo(tempi, C_Tick(tick, "tick"),
                                        {beats_per_minute, Time_TickLength(ticks_per_beat)});
    });
}

kora_status kora_tempo_map_ramp(kora_tempo_map* map, int64_t from, int64_t to, double start_beats_per_minute,
                                double end_beats_per_minute, int32_t curve, size_t steps,
                                kora_edit_result* result)
{
    return GuardEdit(result, map, "map", [&] {
        Time_TempoMap& tempi = TempiOf(map, from, to);
        RequireFinite(start_beats_per_minute, "start_beats_per_minute");
        RequireFinite(end_beats_per_minute, "end_beats_per_minute");
        C_Require(curve >= KORA_CURVE_BARS && curve <= KORA_CURVE_S, "no such curve");
        return Time_TempoEdit::Ramp(tempi, Time_Tick(from), Time_Tick(to), {start_beats_per_minute},
                                    end_beats_per_minute, static_cast<Time_TempoEdit::ECurve>(curve), steps);
    });
}

kora_status kora_tempo_map_scale(kora_tempo_map* map, int64_t from, int64_t to, double factor,
                                 kora_edit_result* result)
{
    return GuardEdit(result, map, "map", [&] {
        Time_TempoMap& tempi = TempiOf(map, from, to);
        RequireFinite(factor, "factor");
        return Time_TempoEdit::Scale(tempi, Time_Tick(from), Time_Tick(to), factor);
    });
}

kora_status kora_tempo_map_offset(kora_tempo_map* map, int64_t from, int64_t to, double beats_per_minute,
                                  kora_edit_result* result)
{
    return GuardEdit(result, map, "map", [&] {
        Time_TempoMap& tempi = TempiOf(map, from, to);
        RequireFinite(beats_per_minute, "beats_per_minute");
        return Time_TempoEdit::Offset(tempi, Time_Tick(from), Time_Tick(to), beats_per_minute);
    });
}

kora_status kora_tempo_map_fit(kora_tempo_map* map, int64_t from, int64_t to, int64_t samples,
                               kora_edit_result* result)
{
    return GuardEdit(result, map, "map", [&] {
        Time_TempoMap& tempi = TempiOf(map, from, to);
        return Time_TempoEdit::FitToLength(tempi, Time_Tick(from), Time_Tick(to), Time_SampleLength(samples));
    });
}

kora_status kora_tempo_map_lock(kora_tempo_map* map, int64_t tick, int64_t sample, kora_edit_result* result)
{
    return GuardEdit(result, map, "map", [&] {
        Time_TempoMap& tempi = C_Get(map, "map").ForEdit();
        C_Require(sample >= 0 && sample <= Time_Typed::MaxTime(Time_eType_Samples).AsInt64(),
                  "sample is outside of the limits of samples");
        return Time_TempoEdit::LockToSample(tempi, C_Tick(tick, "tick"), Time_Sample(sample));
    });
}

kora_status kora_tempo_map_unlock(kora_tempo_map* map, int64_t tick, kora_edit_result* result)
{
    return GuardEdit(result, map, "map", [&] {
        Time_TempoMap& tempi = C_Get(map, "map").ForEdit();
        return Time_TempoEdit::RemoveLock(tempi, C_Tick(tick, "tick"));
    });
}

kora_status kora_song_insert_time(kora_song* song, int64_t at, int64_t ticks, kora_edit_result* result)
{
    return GuardEdit(result, song, "song", [&] {
        const Time_SongEdit::Song edited = MapsOf(song);
        return Time_SongEdit::InsertTime(edited, C_Tick(at, "at"), Time_TickLength(ticks));
    });
}

kora_status kora_song_delete_time(kora_song* song, int64_t from, int64_t to, kora_edit_result* result)
{
    return GuardEdit(result, song, "song", [&] {
        const Time_SongEdit::Song edited = MapsOf(song);
        C_CheckRange(from, to);
        return Time_SongEdit::DeleteTime(edited, Time_Tick(from), Time_Tick(to));
    });
}

kora_status kora_song_repeat_time(kora_song* song, int64_t from, int64_t to, size_t count,
                                  kora_edit_result* result)
{
    return GuardEdit(result, song, "song", [&] {
        const Time_SongEdit::Song edited = MapsOf(song);
        C_CheckRange(from, to);
        return Time_SongEdit::RepeatTime(edited, Time_Tick(from), Time_Tick(to), count);
    });
}

kora_status kora_song_move_time(kora_song* song, int64_t from, int64_t to, int64_t position,
                                kora_edit_result* result)
{
    return GuardEdit(result, song, "song", [&] {
        const Time_SongEdit::Song edited = MapsOf(song);
        C_CheckRange(from, to);
        return Time_SongEdit::MoveTime(edited, Time_Tick(from), Time_Tick(to), C_Tick(position, "position"));
    });
}
