// StTimeGlobals: rates, pulls, format and frame offset for a scope, with the load values behind it.
#pragma once

#include "Kora/Time/Formats/Time_Globals.h"

struct StTimeGlobals
{
    StTimeGlobals() = default;
    StTimeGlobals(double iSampleRate, double iFrameRate)
    {
        Time_Globals::SetSampleRate(iSampleRate);
        Time_Globals::SetFrameRate(iFrameRate);
    }
    ~StTimeGlobals()
    {
        Time_Globals::SetSampleRate(44100);
        Time_Globals::SetFrameRate(30000.0 / 1001);
        Time_Globals::SetGlobalTimeCodeFormat(eTimeCodeFormat_30);
        Time_Globals::SetFrameOffset(0);
        for (const EPullMedia media : {ePullMedia_Audio, ePullMedia_Video})
            Pull(media, ePullFactor_None, ePullFactor_None);
    }
    static void Pull(EPullMedia iMedia, EPullFactor iNTSC, EPullFactor iPAL)
    {
        Time_Globals::SetPullFactor(iMedia, ePullType_NTSC, iNTSC);
        Time_Globals::SetPullFactor(iMedia, ePullType_PAL, iPAL);
    }
};
