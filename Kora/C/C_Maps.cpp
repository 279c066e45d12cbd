// The three maps of a song as entries by index and by tick.
#include "Kora/C/C_Song_p.h"

#include <iterator>

namespace {

constexpr int32_t cMaxMeterNumber = 32767;

[[noreturn]] void ThrowNotFound() { C_Throw(KORA_NOT_FOUND, "no entry there"); }

kora_tempo TempoOf(const Time_TempoMap& iMap, Time_TempoMap::SegmentIter iAt)
{
    const Time_TempoMapSegment& segment = **iAt;
    Time_TickLength ticksPerBeat;
    kora_tempo tempo{};
    tempo.tick = segment.GetStartTick().AsInt64();
    iMap.GetTempoAtTick(tempo.beats_per_minute, ticksPerBeat, segment.GetStartTick());
    tempo.ticks_per_beat = ticksPerBeat.AsInt64();
    if (segment.IsLockedToSample()) {
        tempo.flags |= KORA_TEMPO_LOCKED;
        tempo.locked_sample = segment.GetStartSample().AsInt64();
    }
    if (segment.IsSongStart()) tempo.flags |= KORA_TEMPO_SONG_START;
    if (segment.IsComputed()) tempo.flags |= KORA_TEMPO_COMPUTED;
    return tempo;
}

kora_meter MeterOf(const Time_MeterChange& iChange)
{
    return {iChange.GetTick().AsInt64(), iChange.GetMeter().GetNumerator(),
            iChange.GetMeter().GetDenominator(), iChange.GetBarNumber(), iChange.IsOffBarline() ? 1 : 0};
}

kora_key KeyOf(const Time_KeySignatureMap& iMap, long iIndex)
{
    Time_Tick tick;
    Time_KeySignature key;
    if (!iMap.GetKeysSignature(iIndex, tick, key)) ThrowNotFound();
    kora_key entry{};
    entry.tick = tick.AsInt64();
    entry.is_major = key.IsMajor() ? 1 : 0;
    entry.is_sharps = key.IsSharps() ? 1 : 0;
    entry.accidentals = key.GetAccidentalCount();
    return entry;
}

// Behind a lock tempi are free; before one the stretch to it would have to be computed anew.
void CheckNoLockFrom(const Time_TempoMap& iMap, Time_Tick iTick)
{
    for (auto segment = iMap.SegmentEnd(); segment != iMap.SegmentBegin();) {
        --segment;
        if ((*segment)->GetStartTick() < iTick) return;
        C_Require(!(*segment)->IsLockedToSample() && !(*segment)->IsSongStart(),
                  "a locked position lies there or behind", KORA_REFUSED);
    }
}

} // namespace

kora_status kora_tempo_map_count(kora_tempo_map* map, size_t* out)
{
    return C_Guard([&] { C_Out(out, "out") = C_Get(map, "map").Get().GetNumberOfSegments(); });
}

kora_status kora_tempo_map_get(kora_tempo_map* map, size_t index, kora_tempo* out)
{
    return C_Guard([&] {
        const Time_TempoMap& tempi = C_Get(map, "map").Get();
        C_Out(out, "out");
        if (index >= tempi.GetNumberOfSegments()) ThrowNotFound();
        *out = TempoOf(tempi, tempi.SegmentBegin() + static_cast<std::ptrdiff_t>(index));
    });
}

kora_status kora_tempo_map_find(kora_tempo_map* map, int64_t tick, kora_tempo* out)
{
    return C_Guard([&] {
        const Time_TempoMap& tempi = C_Get(map, "map").Get();
        C_Out(out, "out");
        const auto segment = tempi.FindControllingSegment(Time_Tick(tick));
        if (segment == tempi.SegmentEnd()) ThrowNotFound();
        *out = TempoOf(tempi, segment);
    });
}

kora_status kora_tempo_map_remove(kora_tempo_map* map, int64_t tick)
{
    return C_GuardModel([&] {
        Time_TempoMap& tempi = C_Get(map, "map").ForEdit();
        const auto segment = tempi.FindSegment(Time_Tick(tick));
        if (segment == tempi.SegmentEnd()) ThrowNotFound();
        CheckNoLockFrom(tempi, Time_Tick(tick));
        tempi.DeleteSegment(segment);
    });
}

kora_status kora_tempo_map_clear(kora_tempo_map* map, int64_t from, int64_t to)
{
    return C_GuardModel([&] {
        Time_TempoMap& tempi = C_Get(map, "map").ForEdit();
        C_CheckRange(from, to);
        CheckNoLockFrom(tempi, Time_Tick(from));
        tempi.EraseSegments(Time_Tick(from), Time_Tick(to));
    });
}

kora_status kora_meter_map_count(kora_meter_map* map, size_t* out)
{
    return C_Guard(
        [&] { C_Out(out, "out") = static_cast<size_t>(C_Get(map, "map").Get().GetNumberOfChanges()); });
}

kora_status kora_meter_map_get(kora_meter_map* map, size_t index, kora_meter* out)
{
    return C_Guard([&] {
        const Time_MeterMap& meters = C_Get(map, "map").Get();
        C_Out(out, "out");
        if (index >= static_cast<size_t>(meters.GetNumberOfChanges())) ThrowNotFound();
        *out = MeterOf(*(meters.IterBegin() + static_cast<std::ptrdiff_t>(index)));
    });
}

kora_status kora_meter_map_find(kora_meter_map* map, int64_t tick, kora_meter* out)
{
    return C_Guard([&] {
        const Time_MeterMap& meters = C_Get(map, "map").Get();
        C_Out(out, "out");
        if (meters.IterBegin() == meters.IterEnd()) ThrowNotFound();
        auto change = meters.IterFindFirstGE(Time_Tick(tick));
        const bool isThere = change != meters.IterEnd() && change->GetTick() == Time_Tick(tick);
        if (!isThere && change != meters.IterBegin()) --change;
        *out = MeterOf(*change);
    });
}

kora_status kora_meter_map_set(kora_meter_map* map, int64_t tick, int32_t numerator, int32_t denominator)
{
    return C_GuardModel([&] {
        Time_MeterMap& meters = C_Get(map, "map").ForEdit();
        const Time_Tick at = C_Tick(tick, "tick");
        C_Require(numerator >= 1 && numerator <= cMaxMeterNumber, "numerator is not between 1 and 32767");
        C_Require(denominator >= 1 && denominator <= cMaxMeterNumber,
                  "denominator is not between 1 and 32767");
        C_Require(at >= meters.IterBegin()->GetTick(), "tick is before the first meter", KORA_REFUSED);
        meters.AddMeterChange(at, Time_Meter(numerator, denominator));
    });
}

kora_status kora_meter_map_remove(kora_meter_map* map, int64_t tick)
{
    return C_GuardModel([&] {
        Time_MeterMap& meters = C_Get(map, "map").ForEdit();
        const auto change = meters.IterFindFirstGE(Time_Tick(tick));
        if (change == meters.IterEnd() || change->GetTick() != Time_Tick(tick)) ThrowNotFound();
        C_Require(change != meters.IterBegin(), "the first meter stays", KORA_REFUSED);
        meters.RemoveMeterChange(Time_Tick(tick));
    });
}

kora_status kora_meter_map_clear(kora_meter_map* map, int64_t from, int64_t to)
{
    return C_GuardModel([&] {
        Time_MeterMap& meters = C_Get(map, "map").ForEdit();
        C_CheckRange(from, to);
        const Time_Tick first = meters.IterBegin()->GetTick();
        C_Require(Time_Tick(from) > first || Time_Tick(to) <= first, "the first meter stays", KORA_REFUSED);
        meters.Delete(Time_Tick(from), Time_Tick(to));
    });
}

kora_status kora_key_map_count(kora_key_map* map, size_t* out)
{
    return C_Guard([&] { C_Out(out, "out") = static_cast<size_t>(C_Get(map, "map").Get().size()); });
}

kora_status kora_key_map_get(kora_key_map* map, size_t index, kora_key* out)
{
    return C_Guard([&] {
        const Time_KeySignatureMap& keys = C_Get(map, "map").Get();
        C_Out(out, "out");
        if (index >= static_cast<size_t>(keys.size())) ThrowNotFound();
        *out = KeyOf(keys, static_cast<long>(index));
    });
}

kora_status kora_key_map_find(kora_key_map* map, int64_t tick, kora_key* out)
{
    return C_Guard([&] {
        const Time_KeySignatureMap& keys = C_Get(map, "map").Get();
        C_Out(out, "out");
        // The last entry at or before the tick, without the map's searches by time: those want a converter.
        long first = 0;
        for (long size = keys.size(); size > 0;) {
            const long half = size / 2;
            const bool isBefore = KeyOf(keys, first + half).tick <= tick;
            first = isBefore ? first + half + 1 : first;
            size = isBefore ? size - half - 1 : half;
        }
        if (first == 0) ThrowNotFound();
        *out = KeyOf(keys, first - 1);
    });
}

kora_status kora_key_map_set(kora_key_map* map, const kora_key* key)
{
    return C_GuardModel([&] {
        kora_key_map& edited = C_Get(map, "map");
        Time_KeySignatureMap& keys = edited.ForEdit();
        const kora_song::StTellBehind tell(*edited.mSong);
        const kora_key& entry = C_Out(key, "key");
        const Time_Tick at = C_Tick(entry.tick, "tick");
        C_Require(at >= edited.mSong->Get().GetStartTick(), "tick is before the song's start", KORA_REFUSED);
        C_Require(entry.is_major <= 1 && entry.is_sharps <= 1 && entry.accidentals <= 7, "no such key");
        keys.SetKeySignature(at,
                             Time_KeySignature(entry.is_major != 0, entry.is_sharps != 0, entry.accidentals));
    });
}

kora_status kora_key_map_remove(kora_key_map* map, int64_t tick)
{
    return C_GuardModel([&] {
        kora_key_map& edited = C_Get(map, "map");
        Time_KeySignatureMap& keys = edited.ForEdit();
        const kora_song::StTellBehind tell(*edited.mSong);
        long index = 0;
        if (!keys.GetIndexAtTick(Time_Tick(tick), index)) ThrowNotFound();
        keys.remove(index);
    });
}

kora_status kora_key_map_clear(kora_key_map* map, int64_t from, int64_t to)
{
    return C_GuardModel([&] {
        kora_key_map& edited = C_Get(map, "map");
        Time_KeySignatureMap& keys = edited.ForEdit();
        const kora_song::StTellBehind tell(*edited.mSong);
        C_CheckRange(from, to);
        keys.Erase(Time_Tick(from), Time_Tick(to));
    });
}
