// Tool_Click: a song's metronome as sound: a WAV file of 16 bits, mono, at the song's sample rate.
//
// Clicks:  one on each of the meter's own beats, at the sample that the converter gives for it; a bar's beat is
//          higher and twice as loud. A click is audible at its very sample, rings for at most 30 ms, and ends
//          before the next beat, so that silence stands before each.
// Length:  from the first tick to the last, in whole samples.
#pragma once

#include "Tool/Tool_Song.h"

#include <functional>
#include <string>

class Tool_Click
{
public:
    // Throws Tool_InputError, in which iName stands for the song, for a rate that is no whole number and for
    // more than a WAV file holds, 4294967295 bytes. The song must outlive it.
    Tool_Click(const Tool_Song& iSong, Time_Tick iFrom, Time_Tick iTo, const std::string& iName);

    Cmn_Int64 GetNumSamples() const { return mTo - mFrom; }
    // The file, block by block: iTake(bytes) for each.
    void Write(const std::function<void(const std::string&)>& iTake) const;

private:
    std::string Header() const;

    const Tool_Song& mSong;
    Time_Tick mFromTick;
    Time_Tick mToTick;
    Cmn_Int64 mFrom; // samples, both
    Cmn_Int64 mTo;
    Cmn_Int64 mRate;
};
