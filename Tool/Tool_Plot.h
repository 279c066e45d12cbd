// Tool_Plot: a song as a picture: its tempo over time, with meter and key changes
// marked, over bars and seconds.
//
//   title, bars, length, tempo range
//   key     |D major            |B minor        |D major
//   meter   |4/4     |3/4       |4/4  |7/8      |4/4
//   lock    |0:11.429                              where the map has locks behind its start
//   bpm     tempo curve, a step at each change
//   bar       1 2 3 …                              rulers: Time_Ruler
//   timecode  00:00:00:00 00:00:05:00 …
//   min:sec   0:00 0:05 …
//
// The picture is SVG that needs nothing else and follows the viewer's light or dark scheme. It has the same
// bytes on every platform: places are integers, tenths of a pixel. Its size is bounded however many changes a
// song has: those that fall on one tenth of a pixel become one vertical stroke of the curve, and of marks
// less than a pixel apart the last is drawn, whose state holds from there on. Tool_PlotLabels.h says what is
// labelled; a mark tells its text to whoever points at it.
#pragma once

#include "Tool/Tool_Song.h"

#include <optional>
#include <string>

struct Tool_PlotOptions
{
    static constexpr Cmn_Int64 cLeastWidth = 320;
    static constexpr Cmn_Int64 cLeastHeight = 300;
    static constexpr Cmn_Int64 cMost = 16000;

    std::optional<Time_Tick> mFrom; // the song's start and end where there are none
    std::optional<Time_Tick> mTo;
    Cmn_Int64 mWidth = 960; // pixels, within the bounds above
    Cmn_Int64 mHeight = 432;
};

// A range that begins behind the song's start shows what holds there as its first state.
std::string Tool_Plot(const Tool_Song& iSong, const std::string& iTitle,
                      const Tool_PlotOptions& iOptions = {});
