// SMF_File: a Standard MIDI file, read whole and written back as the same bytes.
//
// Units:      a division counts file ticks to a quarter note, 1 to 32767.
// Invariants: (1) format 0 has one track, format 1 any number  (2) every track is sound, as SMF_Track says
//             (3) what Read took, Write gives back byte for byte, until an edit.
//
// The reader is strict, because a file that contradicts itself is damaged, and it says where:
// - formats 0 (one track) and 1, a division in ticks, exactly as many tracks as the header counts;
// - a header longer than 6 bytes is taken, chunks of other types anywhere, and both are kept;
// - each track ends with its end-of-track event, and with nothing after it;
// - delta times and lengths take at most 4 bytes; running status holds between channel events only,
//   and a system exclusive or meta event ends it; the system messages 0xF1 to 0xF6 and 0xF8 to 0xFE
//   have no place in a file;
// - tempo, time-signature and key-signature events have their one length and a value that has a meaning.
//
// Memory:     what is kept is proportional to the bytes read; no length in the file is
//             trusted before it is checked.
// Threads:    a plain value: several threads may read one that nobody changes.
#pragma once

#include "Kora/SMF/SMF_Track.h"

#include <vector>

class KORA_API SMF_File
{
public:
    // A chunk that is no track, and how many tracks stand before it. One behind the first track may not have
    // the type of a track or a header.
    struct OtherChunk
    {
        std::string mType; // four bytes
        std::string mBytes;
        std::size_t mTracksBefore = 0;
    };

    // No tracks yet. A division outside 1 to 32767 asserts and is brought into it.
    explicit SMF_File(Cmn_Int32 iDivision);
    // Throws SMF_Exception for what is no sound MIDI file, with the byte where it was met. The file keeps
    // the bytes that it is given: move them in, and nothing is copied.
    static SMF_File Read(std::string iBytes);

    // The file as bytes. A file without a track asserts: no reader takes one.
    std::string Write() const;
    // Where a track's bytes begin in the file that Write gives. A bad index asserts and gives 0.
    Cmn_Int64 GetTrackOffset(std::size_t iTrack) const;

    // 0 or 1.
    Cmn_Int32 GetFormat() const { return mFormat; }
    Cmn_Int32 GetDivision() const { return mDivision; }
    const std::vector<OtherChunk>& GetOtherChunks() const { return mOthers; }

    const std::vector<SMF_Track>& GetTracks() const { return mTracks; }
    // A bad index asserts and does nothing.
    void SetTrack(std::size_t iTrack, SMF_Track iNew);
    // Behind all others. A second track makes a file of format 0 one of format 1. Throws std::length_error
    // for more than 65535 tracks.
    void AddTrack(SMF_Track iNew);
    // Multiplies the division, and the ticks of all events. A product outside 1 to 32767 asserts and does
    // nothing. Throws as SMF_TrackBuilder, with nothing changed.
    void MultiplyDivision(Cmn_Int32 iFactor);

private:
    friend class SMF_Reader;

    SMF_File() = default;
    std::size_t SizeOfOthersBefore(std::size_t iTrack) const;

    Cmn_Int32 mFormat = 0;
    Cmn_Int32 mDivision = 1;
    std::string mHeaderRest; // behind the header's 6 bytes
    std::vector<SMF_Track> mTracks;
    std::vector<OtherChunk> mOthers;
};
