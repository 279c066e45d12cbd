// Tool_SongInfo: what a document says of a song beside its maps: where it ends, and the session format it was saved in.
//
// An outermost stream of the tool's own: end tick (signed 64-bit), sample rate (float64), timecode format (signed 32-bit).
#pragma once

#include "Kora/Time/Values/Time_Tick.h"
#include "Tool/Tool_Settings.h"

class FF_Document;

struct Tool_SongInfo
{
    // Fixed on disk.
    static constexpr Cmn_Int16 cStreamType = 32;
    static constexpr Cmn_Int16 cVersion = 1;

    Time_Tick mEndTick;
    Tool_Settings mSettings;

    // Appends the stream and registers it.
    void Write(FF_Document& ioDocument) const;
    // False, with nothing changed, where the document has no such stream. Throws Sys_StreamReadException for a rate or
    // a format that the tool does not take and for a tick past the time line, and what stream headers throw.
    bool Read(FF_Document& ioDocument);
};
