// Any bytes as a MIDI file: what is taken is written as the same bytes and copied as the same events, and its
// maps, written into it, change nothing, and written into a new file, are read as the same.
#include "Bastel/Cmn/Cmn_XMLNode.h"
#include "Fuzz/FuzzTarget.h"
#include "Kora/SMF/SMF_Exception.h"
#include "Kora/SMF/SMF_TimeMaps.h"
#include "Kora/Time/Key/Time_KeySignatureMap.h"
#include "Kora/Time/Meter/Time_MeterMap.h"
#include "Kora/Time/Tempo/Time_TempoMap.h"
#include "SMF/ShiftedTrack.h"

#include <cstring>

namespace {

struct Maps
{
    explicit Maps(const SMF_File& iFile)
        : mEnd(SMF_TimeMaps::Read(iFile, mMeters, mTempi, mKeys))
    {
    }
    std::string Text() const
    {
        return mMeters.GetAsXML().ToString() + mTempi.GetAsXML().ToString() + mKeys.GetAsXML().ToString() +
               mEnd.Dump();
    }

    Time_MeterMap mMeters;
    Time_TempoMap mTempi;
    Time_KeySignatureMap mKeys;
    Time_Tick mEnd;
};

void Write(SMF_File& ioFile, const Maps& iMaps)
{
    SMF_TimeMaps::Write(ioFile,
                        {iMaps.mMeters, iMaps.mTempi, iMaps.mKeys, SMF_TimeMaps::cStartTick, iMaps.mEnd});
}

void CheckTrack(const SMF_Track& iTrack)
{
    Require(ShiftedTrack(iTrack, 0) == iTrack, "a track copied is the same");
    const SMF_Track later = ShiftedTrack(iTrack, 200);
    Require(later.GetEndTick() == iTrack.GetEndTick() + 200, "a moved track ends later");
    SMF_Track::Iterator event = iTrack.begin();
    SMF_Track::Iterator moved = later.begin();
    // Only the first delta time may have to be bridged.
    while (moved->IsMeta(1) && moved->mData.empty() && moved->mTick < event->mTick + 200)
        ++moved;
    for (; event != iTrack.end(); ++event, ++moved)
        Require(moved != later.end() && event->mTick + 200 == moved->mTick &&
                    event->mStatus == moved->mStatus && event->mMetaType == moved->mMetaType &&
                    event->mData == moved->mData,
                "a moved event is the same");
}

void Check(std::string_view iBytes)
{
    SMF_File file = SMF_File::Read(std::string(iBytes));
    Require(file.Write() == iBytes, "what is read is written as the same bytes");
    for (const SMF_Track& track : file.GetTracks())
        CheckTrack(track);
    const Maps maps(file);
    Write(file, maps);
    Require(file.Write() == iBytes, "a file's own maps change nothing");
    SMF_File fresh(file.GetDivision());
    Write(fresh, maps);
    Require(Maps(SMF_File::Read(fresh.Write())).Text() == maps.Text(), "maps come back from a new file");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* iBytes, std::size_t iSize)
{
    try {
        Check({reinterpret_cast<const char*>(iBytes), iSize});
    } catch (const SMF_Exception& error) {
        Require(std::strchr(error.what(), '\n') == nullptr, "a complaint is one line");
    }
    return 0;
}
