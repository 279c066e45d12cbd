// Tool_PlotText: how much room a text takes in a plot, and texts that fit theirs.
//
// Units: tenths of a pixel; sizes are of the font, in pixels. Text is UTF-8.
//
// A viewer draws with a font of its own. These are the widths of DejaVu Sans Bold, the widest of the fonts
// that the plot names, so that a text takes this much room or less; characters beyond ASCII count as wide as
// the widest usual ones of their kind.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"

#include <string>
#include <string_view>

Cmn_Int64 Tool_TextWidth(std::string_view iText, Cmn_Int64 iFontSize);

// The text itself where it fits, else as much of its beginning as fits with "…" behind it. What a reader
// takes for one character stays whole: an accent stays on its letter.
std::string Tool_ShortenedText(std::string_view iText, Cmn_Int64 iFontSize, Cmn_Int64 iWidth);
