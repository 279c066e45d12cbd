// ShiftedTrack: the events of a track again, so many ticks later.
#pragma once

#include "Kora/SMF/SMF_TrackBuilder.h"

inline SMF_Track ShiftedTrack(const SMF_Track& iTrack, Cmn_Int64 iLater)
{
    SMF_TrackBuilder builder;
    for (const SMF_Event& event : iTrack)
        builder.Append(event, event.mTick + iLater);
    return builder.Finish();
}
