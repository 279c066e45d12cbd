// SMF_ForEachTimeEvent: a MIDI file's tempo, meter and key events one by one, for readers that keep no list of them.
#pragma once

#include "Kora/SMF/SMF_EventRules_p.h"
#include "Kora/SMF/SMF_TimeEvents.h"

// Calls iTake with each SMF_Tempo, SMF_Meter and SMF_Key in the order of the file. Returns the place of the latest event
// of any track.
template <class Take>
SMF_Place SMF_ForEachTimeEvent(const SMF_File& iFile, Take iTake)
{
    SMF_Place last;
    for (std::size_t i = 0; i < iFile.GetTracks().size(); ++i) {
        const SMF_Track& track = iFile.GetTracks()[i];
        const Cmn_Int64 offset = iFile.GetTrackOffset(i);
        SMF_Place place;
        for (const SMF_Event& event : track) {
            if (event.mStatus != SMF_Event::cMeta) continue;
            place = {event.mTick, offset + track.OffsetOf(event)};
            if (event.mMetaType == SMF_Event::cTempo)
                iTake(SMF_Tempo{place, static_cast<Cmn_Int32>(SMF_EventRules::BigEndian(event.mData))});
            else if (event.mMetaType == SMF_Event::cTimeSignature)
                iTake(SMF_Meter{place, event.DataByte(0), 1 << event.DataByte(1)});
            else if (event.mMetaType == SMF_Event::cKeySignature)
                iTake(SMF_Key{place, static_cast<Cmn_Int8>(event.mData[0]), event.DataByte(1) == 1});
        }
        // The last place is that of the end-of-track event, behind all others.
        if (place.mTick >= last.mTick) last = place;
    }
    return last;
}

// The functions that a walk calls, one for each kind.
template <class... Take>
struct SMF_TakeEach : Take...
{
    using Take::operator()...;
};
template <class... Take>
SMF_TakeEach(Take...) -> SMF_TakeEach<Take...>;
