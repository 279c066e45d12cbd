#include "Tool/Tool_SongRows.h"

Tool_SongWalk::Tool_SongWalk(const Tool_Song& iSong)
    : mSong(iSong)
    , mTempo(iSong.GetTempoMap().SegmentBegin())
    , mMeter(iSong.GetMeterMap().IterBegin())
{
}

Tool_SongRows::Place Tool_SongWalk::PlaceOf(Time_Tick iTick) const
{
    const Time_Converter& converter = mSong.GetConverter();
    return {iTick, converter.ToSample(iTick), converter.ToBarBeatTick(iTick)};
}

Cmn_Int64 Tool_SongWalk::GetCount() const
{
    return Cmn_Int64{1} + static_cast<Cmn_Int64>(mSong.GetTempoMap().GetNumberOfSegments()) +
           static_cast<Cmn_Int64>(mSong.GetMeterMap().GetNumberOfChanges()) + mSong.GetKeyMap().size();
}

bool Tool_SongWalk::Next(Tool_SongRows::Tempo& oRow)
{
    const Time_TempoMap& tempos = mSong.GetTempoMap();
    if (mTempo == tempos.SegmentEnd()) return false;
    const Time_Tick tick = (*mTempo)->GetStartTick();
    ++mTempo;
    ++mGiven;
    Time_TickLength ticksPerBeat;
    oRow.mPlace = PlaceOf(tick);
    tempos.GetTempoAtTick(oRow.mBeatsPerMinute, ticksPerBeat, tick);
    oRow.mTicksPerBeat = ticksPerBeat.AsInt64();
    return true;
}

bool Tool_SongWalk::Next(Tool_SongRows::Meter& oRow)
{
    if (mMeter == mSong.GetMeterMap().IterEnd()) return false;
    const Time_MeterChange& change = *mMeter;
    ++mMeter;
    ++mGiven;
    oRow = {PlaceOf(change.GetTick()), change.GetBarNumber(), change.GetMeter().GetNumerator(),
            change.GetMeter().GetDenominator(), change.IsOffBarline()};
    return true;
}

bool Tool_SongWalk::Next(Tool_SongRows::Key& oRow)
{
    const Time_KeySignatureMap& keys = mSong.GetKeyMap();
    Time_Tick tick;
    while (mKey < keys.size()) {
        ++mGiven;
        if (!keys.GetKeysSignature(mKey++, tick, oRow.mKey)) continue;
        oRow.mPlace = PlaceOf(tick);
        return true;
    }
    return false;
}

Tool_SongRows::Tool_SongRows(const Tool_Song& iSong)
{
    Tool_SongWalk walk(iSong);
    for (Tempo row; walk.Next(row);)
        mTempos.push_back(row);
    for (Meter row; walk.Next(row);)
        mMeters.push_back(row);
    for (Key row; walk.Next(row);)
        mKeys.push_back(row);
    mEnd = walk.GetEnd();
}
