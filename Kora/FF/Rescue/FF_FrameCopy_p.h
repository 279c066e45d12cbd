// FF_CopyFrame: takes a whole frame, with all that is nested in it, to another place.
//
// Headers say where they stand, and sums cover headers: each header is written anew, and nothing else
// changes. A nested body whose sum is wrong though that of the whole frame around it is right was written
// so, and gets the right one.
#pragma once

#include "Kora/FF/Rescue/FF_StreamWalk_p.h"

// Copies to where ioOut is, as an outermost stream. Throws what ioOut throws, and Sys_StreamReadException
// where the file became shorter.
void FF_CopyFrame(FF_StreamWindow& ioWindow, const FF_StreamWalk& iWalk, const FF_Frame& iFrame,
                  Sys_TypedOutStream& ioOut);
