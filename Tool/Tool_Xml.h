// Tool_WriteXml: a song as XML, as its maps tell of themselves (GetAsXML), but written
// entry by entry and not kept.
#pragma once

#include <iosfwd>

class Tool_Song;

void Tool_WriteXml(const Tool_Song& iSong, std::ostream& oOut);
