#include "Kora/SMF/SMF_File.h"

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Kora/SMF/SMF_EventRules_p.h"
#include "Kora/SMF/SMF_Reader_p.h"
#include "Kora/SMF/SMF_TrackBuilder.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace {

constexpr std::size_t cMaxTracks = 0xFFFF;

void AppendChunk(std::string& ioBytes, std::string_view iType, std::string_view iBody)
{
    ioBytes.append(iType);
    SMF_EventRules::AppendBigEndian(ioBytes, static_cast<Cmn_Int64>(iBody.size()), 4);
    ioBytes.append(iBody);
}

} // namespace

SMF_File::SMF_File(Cmn_Int32 iDivision)
    : mDivision(std::clamp(iDivision, 1, SMF_EventRules::cMaxDivision))
{
    Cmn_ASSERT(iDivision == mDivision);
}

SMF_File SMF_File::Read(std::string iBytes)
{
    return SMF_Reader(std::make_shared<const std::string>(std::move(iBytes))).Run();
}

std::string SMF_File::Write() const
{
    Cmn_ASSERT(!mTracks.empty());
    std::string header;
    SMF_EventRules::AppendBigEndian(header, mFormat, 2);
    SMF_EventRules::AppendBigEndian(header, static_cast<Cmn_Int64>(mTracks.size()), 2);
    SMF_EventRules::AppendBigEndian(header, mDivision, 2);
    header += mHeaderRest;

    std::size_t size = cChunkHeaderSize + header.size() + SizeOfOthersBefore(mTracks.size());
    for (const SMF_Track& track : mTracks)
        size += cChunkHeaderSize + track.GetBytes().size();
    std::string bytes;
    bytes.reserve(size);

    AppendChunk(bytes, "MThd", header);
    auto other = mOthers.begin();
    for (std::size_t track = 0; track <= mTracks.size(); ++track) {
        for (; other != mOthers.end() && other->mTracksBefore == track; ++other)
            AppendChunk(bytes, other->mType, other->mBytes);
        if (track < mTracks.size()) AppendChunk(bytes, "MTrk", mTracks[track].GetBytes());
    }
    return bytes;
}

// Of the chunks that stand before the track, all of them for the number of tracks.
std::size_t SMF_File::SizeOfOthersBefore(std::size_t iTrack) const
{
    std::size_t size = 0;
    for (const OtherChunk& other : mOthers)
        if (other.mTracksBefore <= iTrack) size += cChunkHeaderSize + other.mBytes.size();
    return size;
}

Cmn_Int64 SMF_File::GetTrackOffset(std::size_t iTrack) const
{
    if (!Cmn_ASSERT(iTrack < mTracks.size())) return 0;
    std::size_t offset = cChunkHeaderSize + cHeaderSize + mHeaderRest.size() + SizeOfOthersBefore(iTrack);
    for (std::size_t i = 0; i < iTrack; ++i)
        offset += cChunkHeaderSize + mTracks[i].GetBytes().size();
    return static_cast<Cmn_Int64>(offset + cChunkHeaderSize);
}

void SMF_File::SetTrack(std::size_t iTrack, SMF_Track iNew)
{
    if (!Cmn_ASSERT(iTrack < mTracks.size())) return;
    mTracks[iTrack] = std::move(iNew);
}

void SMF_File::AddTrack(SMF_Track iNew)
{
    if (mTracks.size() == cMaxTracks) throw std::length_error("a MIDI file of more than 65535 tracks");
    mTracks.push_back(std::move(iNew));
    if (mTracks.size() > 1) mFormat = 1;
}

void SMF_File::MultiplyDivision(Cmn_Int32 iFactor)
{
    if (!Cmn_ASSERT(iFactor >= 1 && iFactor <= SMF_EventRules::cMaxDivision / mDivision)) return;
    if (iFactor == 1) return;
    std::vector<SMF_Track> tracks;
    for (const SMF_Track& track : mTracks) {
        SMF_TrackBuilder builder(track.GetBytes().size());
        for (const SMF_Event& event : track)
            builder.Append(event, event.mTick * iFactor);
        tracks.push_back(builder.Finish());
    }
    mTracks = std::move(tracks);
    mDivision *= iFactor;
}
