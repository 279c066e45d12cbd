#include "Kora/SMF/SMF_TimeEvents.h"

#include "Kora/SMF/SMF_EventRules_p.h"

namespace {

void Add(SMF_TimeEvents& ioEvents, const SMF_Event& iEvent, const SMF_Place& iPlace)
{
    switch (iEvent.mMetaType) {
    case SMF_Event::cTempo:
        ioEvents.mTempos.push_back({iPlace, static_cast<Cmn_Int32>(SMF_EventRules::BigEndian(iEvent.mData))});
        break;
    case SMF_Event::cTimeSignature:
        ioEvents.mMeters.push_back({iPlace, iEvent.DataByte(0), 1 << iEvent.DataByte(1)});
        break;
    case SMF_Event::cKeySignature:
        ioEvents.mKeys.push_back({iPlace, static_cast<Cmn_Int8>(iEvent.mData[0]), iEvent.DataByte(1) == 1});
        break;
    default:
        break;
    }
}

} // namespace

SMF_TimeEvents::SMF_TimeEvents(const SMF_File& iFile)
{
    for (std::size_t i = 0; i < iFile.GetTracks().size(); ++i) {
        const SMF_Track& track = iFile.GetTracks()[i];
        const Cmn_Int64 offset = iFile.GetTrackOffset(i);
        SMF_Place place;
        for (const SMF_Event& event : track) {
            if (event.mStatus != SMF_Event::cMeta) continue;
            place = {event.mTick, offset + track.OffsetOf(event)};
            Add(*this, event, place);
        }
        // The last place is that of the end-of-track event, behind all others.
        if (place.mTick >= mLastEvent.mTick) mLastEvent = place;
    }
}
