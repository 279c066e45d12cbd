// Tool_Plot: a song as a picture: its tempo over time, with meter and key changes
// marked, over bars and seconds.
//
//   title, bars, length, tempo range
//   key     |D major            |B minor        |D major
//   meter   |4/4     |3/4       |4/4  |7/8      |4/4
//   bpm     tempo curve, a step at each change
//   bar     1 2 3 …
//   time    0:00 0:05 …
//
// The picture is SVG that needs nothing else and follows the viewer's light or dark scheme. It has the same
// bytes on every platform: places are integers, tenths of a pixel. Its size is bounded however many changes a
// song has: those that fall on one tenth of a pixel become one vertical stroke of the curve, and of marks
// less than a pixel apart the last is drawn, whose state holds from there on. Tool_PlotLabels.h says what is
// labelled; a mark tells its text to whoever points at it.
#pragma once

#include "Tool/Tool_Song.h"

#include <string>

std::string Tool_Plot(const Tool_Song& iSong, const std::string& iTitle);
