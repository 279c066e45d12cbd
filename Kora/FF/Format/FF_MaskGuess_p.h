// FF_GuessMasks: how a file may be masked whose beginning tells nothing any more.
//
// Stream headers begin with a magic that everybody knows. Where the bytes differ from it as a mask of some
// key would make them differ, a header may stand: the key with the most such places is the likeliest.
#pragma once

#include "Kora/FF/Format/FF_StreamWindow_p.h"

struct FF_Mask
{
    Cmn_UInt8 mType = 0;
    Cmn_UInt8 mRawKey = 0;
};

// The likeliest first, a handful at most; one pass. iRaw: the file's bytes as they stand. iLikeType: given
// for masks that types 1 to 4 have in common. Throws what the window's source throws.
std::vector<FF_Mask> FF_GuessMasks(FF_StreamWindow& ioRaw, Cmn_UInt8 iLikeType);

// x with x × iOdd = 1 modulo 256.
Cmn_UInt8 FF_InverseOfOdd(Cmn_UInt8 iOdd);
