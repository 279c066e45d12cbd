#include "Tool/Tool_SongRows.h"

namespace {

Tool_SongRows::Place PlaceOf(const Tool_Song& iSong, Time_Tick iTick)
{
    const Time_Converter& converter = iSong.GetConverter();
    return {iTick, converter.ToSample(iTick), converter.ToBarBeatTick(iTick)};
}

} // namespace

Tool_SongRows::Tool_SongRows(const Tool_Song& iSong)
    : mEnd(PlaceOf(iSong, iSong.GetEndTick()))
{
    const Time_TempoMap& tempos = iSong.GetTempoMap();
    for (auto segment = tempos.SegmentBegin(); segment != tempos.SegmentEnd(); ++segment) {
        const Time_Tick tick = (*segment)->GetStartTick();
        Tempo row{PlaceOf(iSong, tick), 0, 0};
        Time_TickLength ticksPerBeat;
        tempos.GetTempoAtTick(row.mBeatsPerMinute, ticksPerBeat, tick);
        row.mTicksPerBeat = ticksPerBeat.AsInt64();
        mTempos.push_back(row);
    }
    const Time_MeterMap& meters = iSong.GetMeterMap();
    for (auto change = meters.IterBegin(); change != meters.IterEnd(); ++change)
        mMeters.push_back({PlaceOf(iSong, change->GetTick()), change->GetBarNumber(),
                           change->GetMeter().GetNumerator(), change->GetMeter().GetDenominator(),
                           change->IsOffBarline()});
    const Time_KeySignatureMap& keys = iSong.GetKeyMap();
    for (long i = 0; i < keys.size(); ++i) {
        Time_Tick tick;
        Key row;
        if (!keys.GetKeysSignature(i, tick, row.mKey)) continue;
        row.mPlace = PlaceOf(iSong, tick);
        mKeys.push_back(row);
    }
}
