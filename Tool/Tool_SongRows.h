// Tool_SongRows: a song's tempo, meter and key changes and its end, each with its place in all units.
//
// They come out of the song's maps through its converter. Each list ascends by tick. Tool_SongRows keeps all of
// them, Tool_SongWalk one at a time.
#pragma once

#include "Kora/Time/Formats/Time_BarBeatTick.h"
#include "Kora/Time/Key/Time_KeySignature.h"
#include "Tool/Tool_Song.h"

#include <vector>

struct Tool_SongRows
{
    struct Place
    {
        Time_Tick mTick;
        Time_Sample mSample;
        Time_BarBeatTick mPosition;
    };
    struct Tempo
    {
        Place mPlace;
        double mBeatsPerMinute;
        Cmn_Int64 mTicksPerBeat;
    };
    struct Meter
    {
        Place mPlace;
        Cmn_Int32 mBar;
        Cmn_Int32 mNumerator;
        Cmn_Int32 mDenominator;
        bool mIsOffBarline; // cuts the bar before it short
    };
    struct Key
    {
        Place mPlace;
        Time_KeySignature mKey;
    };

    explicit Tool_SongRows(const Tool_Song& iSong);

    std::vector<Tempo> mTempos;
    std::vector<Meter> mMeters;
    std::vector<Key> mKeys;
    Place mEnd;
};

// The rows one by one, for outputs that keep none. Each Next is false once its list is through.
class Tool_SongWalk
{
public:
    // The song must outlive it, unchanged.
    explicit Tool_SongWalk(const Tool_Song& iSong);

    bool Next(Tool_SongRows::Tempo& oRow);
    bool Next(Tool_SongRows::Meter& oRow);
    bool Next(Tool_SongRows::Key& oRow);
    // How many rows there are in all, the end among them, and how many were given.
    Cmn_Int64 GetCount() const;
    Cmn_Int64 GetNumGiven() const { return mGiven; }
    Tool_SongRows::Place GetEnd() const { return PlaceOf(mSong.GetEndTick()); }

private:
    Tool_SongRows::Place PlaceOf(Time_Tick iTick) const;

    const Tool_Song& mSong;
    Time_TempoMap::SegmentIter mTempo;
    Time_MeterMap::ConstIter mMeter;
    long mKey = 0;
    Cmn_Int64 mGiven = 0;
};
