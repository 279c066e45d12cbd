// Tool_Convert: a list of positions in one unit turned into lines of the same positions in others.
#pragma once

#include "Kora/Time/Formats/Time_FeetFrame.h"
#include "Tool/Tool_Song.h"
#include "Tool/Tool_Unit.h"

#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

// Reads one position a line (ended by LF or CR LF, the last one by either or by the end; blanks around a
// position do not count) and gives a line for each: the position in the units of iTo, tab-separated.
//
// Throws Tool_InputError, in which iSource and the line's number stand, for a line that is no position and
// for one that lies outside the time limits: more than MaxTime samples from sample 0 on either side, or
// before sample 0 where frames, labels or feet are read or written. Feet are those of iGauge.
std::string Tool_Convert(const Tool_Song& iSong, std::string_view iInput, std::string_view iSource,
                         Tool_EUnit iFrom, const std::vector<Tool_EUnit>& iTo,
                         Time_EFilmGauge iGauge = Time_eFilmGauge_35mm);

// The same of a stream, as its lines come: what has arrived is answered before more is waited for, and
// memory holds one block. The lines before one that is refused are written. Throws also for a line longer
// than Tool_cLongestLine and for a stream that cannot be read; stops where oOut fails.
inline constexpr std::size_t Tool_cLongestLine = std::size_t{1} << 20;
void Tool_ConvertStream(const Tool_Song& iSong, std::istream& ioIn, std::string_view iSource,
                        Tool_EUnit iFrom, const std::vector<Tool_EUnit>& iTo, std::ostream& oOut,
                        Time_EFilmGauge iGauge = Time_eFilmGauge_35mm);
