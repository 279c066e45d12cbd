// Tool_SongReport: a song's tempo, meter and key changes and its end, as a table for people or JSON for programs.
//
// Both forms read the same rows, which come out of the song's maps through its converter.
#pragma once

#include "Kora/Time/Time_BarBeatTick.h"
#include "Kora/Time/Time_KeySignature.h"
#include "Tool/Tool_Song.h"

#include <string>
#include <vector>

class Tool_SongReport
{
public:
    // iFile is the name that the report shows.
    Tool_SongReport(const Tool_Song& iSong, std::string iFile);

    // At most 100 columns: a header, then a row for each change in time order, of those at one tick tempo first, then
    // meter, then key; the end last. Positions in display ticks, 960 to a quarter note.
    std::string Table() const;
    // One object, indented by 2, with a newline at its end. Positions in internal ticks.
    std::string Json() const;

private:
    struct Place
    {
        Time_Tick mTick;
        Time_Sample mSample;
        Time_BarBeatTick mPosition;
    };
    struct TempoRow
    {
        Place mPlace;
        double mBeatsPerMinute;
        Cmn_Int64 mTicksPerBeat;
    };
    struct MeterRow
    {
        Place mPlace;
        Cmn_Int32 mBar;
        Cmn_Int32 mNumerator;
        Cmn_Int32 mDenominator;
        bool mIsOffBarline;
    };
    struct KeyRow
    {
        Place mPlace;
        Time_KeySignature mKey;
    };
    struct TableRow
    {
        const Place* mPlace;
        std::string mChange;
    };

    Place PlaceOf(Time_Tick iTick) const;
    void CollectTempos();
    void CollectMeters();
    void CollectKeys();
    std::vector<TableRow> TableRows() const;
    std::string TimecodeOf(const Place& iPlace) const;

    const Tool_Song& mSong;
    std::string mFile;
    std::vector<TempoRow> mTempos;
    std::vector<MeterRow> mMeters;
    std::vector<KeyRow> mKeys;
    Place mEnd;
};
