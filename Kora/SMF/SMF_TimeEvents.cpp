#include "Kora/SMF/SMF_TimeEvents.h"

#include "Kora/SMF/SMF_TimeEventsWalk_p.h"

SMF_TimeEvents::SMF_TimeEvents(const SMF_File& iFile)
{
    mLastEvent = SMF_ForEachTimeEvent(
        iFile, SMF_TakeEach{[this](const SMF_Tempo& iTempo) { mTempos.push_back(iTempo); },
                            [this](const SMF_Meter& iMeter) { mMeters.push_back(iMeter); },
                            [this](const SMF_Key& iKey) { mKeys.push_back(iKey); }});
}
