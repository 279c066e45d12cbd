// Tool_SongRows: a song's tempo, meter and key changes and its end, each with its place in all units.
//
// They come out of the song's maps through its converter. Each list ascends by tick.
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
