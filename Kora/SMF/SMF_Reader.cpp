#include "Bastel/Cmn/Cmn_CountText.h"
#include "Kora/SMF/SMF_EventRules_p.h"
#include "Kora/SMF/SMF_Exception.h"
#include "Kora/SMF/SMF_Reader_p.h"

#include <algorithm>
#include <utility>

using SMF_EventRules::Hex;

namespace {

std::string Number(Cmn_Int64 iValue) { return std::to_string(iValue); }

// Between double quotes, bytes outside printable ASCII as \xNN.
std::string Quoted(std::string_view iText)
{
    std::string shown = "\"";
    for (const char c : iText)
        if (c >= 0x20 && c < 0x7F)
            shown += c;
        else
            shown += '\\' + Hex(static_cast<unsigned char>(c)).substr(1);
    return shown + '"';
}

Cmn_Int32 DataBytesOf(Cmn_Int32 iStatus)
{
    return (iStatus & 0xE0) == 0xC0 ? 1 : 2; // program change and channel pressure have one
}

} // namespace

SMF_File SMF_Reader::Run()
{
    ReadHeader();
    try {
        ReadChunks();
    } catch (const SMF_Exception&) {
        ReadTracks(); // what is wrong in one of them stands before it
        throw;
    }
    ReadTracks();
    return std::move(mFile);
}

void SMF_Reader::Fail(std::size_t iOffset, const std::string& iText)
{
    throw SMF_Exception(iText, static_cast<Cmn_Int64>(iOffset));
}

// --- Bytes

Cmn_Int32 SMF_Reader::ReadByte(const char* iWhat)
{
    if (Left() == 0) Fail(mPosition, std::string("the track ends here, expected ") + iWhat);
    return ByteAt(mPosition++);
}

// The caller has checked that they are there.
Cmn_Int64 SMF_Reader::ReadBigEndian(std::size_t iBytes)
{
    const std::string_view bytes = mBytes.substr(mPosition, iBytes);
    mPosition += iBytes;
    return SMF_EventRules::BigEndian(bytes);
}

// Seven bits a byte, the last one without its top bit.
Cmn_Int64 SMF_Reader::ReadVariableLength(const char* iWhat)
{
    const std::size_t start = mPosition;
    Cmn_Int64 value = 0;
    for (int i = 0; i < 4; ++i) {
        const Cmn_Int32 byte = ReadByte(iWhat);
        value = value << 7 | (byte & 0x7F);
        if (byte < 0x80) return value;
    }
    Fail(start, std::string(iWhat) + " of more than 4 bytes, expected at most 4");
}

// The length of a meta or system exclusive event, checked against the track's end.
Cmn_Int64 SMF_Reader::ReadEventLength()
{
    const std::size_t start = mPosition;
    const Cmn_Int64 length = ReadVariableLength("an event length");
    if (length > Left())
        Fail(start, "an event of " + Cmn_CountText(length, "byte") + ", expected at most the " +
                        Number(Left()) + " left in the track");
    return length;
}

// --- Chunks

// Leaves mPosition at the chunk's body and mEnd at its end.
std::string_view SMF_Reader::ReadChunkHeader()
{
    const std::size_t start = mPosition;
    mEnd = mBytes.size();
    if (Left() < static_cast<Cmn_Int64>(cChunkHeaderSize))
        Fail(start,
             "the file is cut short: " + Cmn_CountText(Left(), "byte") + " of a chunk header, expected 8");
    const std::string_view type = mBytes.substr(start, 4);
    mPosition += 4;
    const Cmn_Int64 length = ReadBigEndian(4);
    if (length > Left())
        Fail(start + 4, "the file is cut short: a chunk of " + Cmn_CountText(length, "byte") +
                            ", expected at most the " + Number(Left()) + " left in the file");
    mEnd = mPosition + static_cast<std::size_t>(length);
    return type;
}

void SMF_Reader::ReadHeader()
{
    const std::string_view signature = mBytes.substr(0, 4);
    if (signature != "MThd")
        Fail(0, "not a MIDI file: it begins with " + Quoted(signature) + ", expected \"MThd\"");
    ReadChunkHeader();
    if (Left() < static_cast<Cmn_Int64>(cHeaderSize))
        Fail(4, "a header of " + Cmn_CountText(Left(), "byte") + ", expected 6 or more");
    const std::size_t start = mPosition;
    const Cmn_Int64 format = ReadBigEndian(2);
    mTracksCounted = ReadBigEndian(2);
    const Cmn_Int64 division = ReadBigEndian(2);
    if (format > 1) Fail(start, "format " + Number(format) + ", expected 0 or 1");
    if (format == 0 && mTracksCounted != 1)
        Fail(start + 2, Number(mTracksCounted) + " tracks, expected 1 in a file of format 0");
    if (mTracksCounted == 0) Fail(start + 2, "0 tracks, expected 1 or more");
    if (division >= 0x8000)
        Fail(start + 4, "a division in SMPTE frames (" + Hex(static_cast<Cmn_Int32>(division >> 8)) + " " +
                            Hex(static_cast<Cmn_Int32>(division & 0xFF)) +
                            "), expected ticks to a quarter note");
    if (division == 0) Fail(start + 4, "a division of 0 ticks to a quarter note, expected 1 to 32767");
    mFile.mFormat = static_cast<Cmn_Int32>(format);
    mFile.mDivision = static_cast<Cmn_Int32>(division);
    mFile.mHeaderRest = mBytes.substr(mPosition, mEnd - mPosition);
    mPosition = mEnd;
}

void SMF_Reader::ReadChunks()
{
    while (mPosition < mBytes.size())
        ReadChunk();
    const auto read = static_cast<Cmn_Int64>(mLanes.size());
    if (read != mTracksCounted)
        Fail(mPosition, "the file ends after " + Number(read) + " of the " + Number(mTracksCounted) +
                            " tracks that the header counts");
}

void SMF_Reader::ReadChunk()
{
    const std::size_t start = mPosition;
    const std::string_view type = ReadChunkHeader();
    const std::size_t tracks = mLanes.size();
    if (type == "MTrk") {
        if (static_cast<Cmn_Int64>(tracks) == mTracksCounted)
            Fail(start, "one more track than the " + Number(mTracksCounted) + " that the header counts");
        mLanes.push_back({mPosition, mPosition, mEnd});
    } else {
        mFile.mOthers.push_back(
            {std::string(type), std::string(mBytes.substr(mPosition, mEnd - mPosition)), tracks});
    }
    mPosition = mEnd;
}

// --- Tracks

// What is wrong is looked for once more in order, to tell the first.
void SMF_Reader::ReadTracks()
{
    try {
        ReadSideBySide();
    } catch (const SMF_Exception&) {
        for (const Lane& lane : mLanes) {
            Lane again{lane.mStart, lane.mStart, lane.mEnd};
            FinishTrack(again);
        }
        throw;
    }
    mFile.mTracks.reserve(mLanes.size());
    for (const Lane& lane : mLanes)
        mFile.mTracks.push_back(
            SMF_Track(mOwner, mBytes.substr(lane.mStart, lane.mEnd - lane.mStart), lane.mCount, lane.mTick));
}

// Several tracks at a time: where an event of a track begins is known when the one before is, so that one
// track alone leaves a processor waiting. As one ends, the next comes in its place.
void SMF_Reader::ReadSideBySide()
{
    std::size_t next = 0;
    if (mLanes.size() >= cLanes) {
        Lane* lanes[cLanes];
        for (Lane*& lane : lanes)
            lane = &mLanes[next++];
        for (;;) {
            Lane*& lane = lanes[SkipPlainEvents(lanes)];
            if (!ReadOne(*lane)) continue;
            CheckEnd(*lane);
            if (next == mLanes.size()) break;
            lane = &mLanes[next++];
        }
    }
    for (Lane& lane : mLanes)
        if (!lane.mIsAtEnd) FinishTrack(lane);
}

void SMF_Reader::FinishTrack(Lane& ioLane)
{
    Lane* const lane[] = {&ioLane};
    do
        SkipPlainEvents(lane);
    while (!ReadOne(ioLane));
    CheckEnd(ioLane);
}

void SMF_Reader::CheckEnd(const Lane& iLane)
{
    if (iLane.mPosition != iLane.mEnd)
        Fail(iLane.mPosition, Cmn_CountText(static_cast<Cmn_Int64>(iLane.mEnd - iLane.mPosition), "byte") +
                                  " after the end-of-track event, expected the track to end");
}

// An event of any kind. True for the end-of-track event.
bool SMF_Reader::ReadOne(Lane& ioLane)
{
    mPosition = ioLane.mPosition;
    mEnd = ioLane.mEnd;
    if (Left() == 0) Fail(mPosition, "the track ends here, expected its end-of-track event");
    // A file of less than 2^56 bytes cannot carry the sum past 63 bits.
    ioLane.mTick += ReadVariableLength("a delta time");
    ioLane.mIsAtEnd = ReadEvent(ioLane.mRunningStatus);
    ++ioLane.mCount;
    ioLane.mPosition = mPosition;
    return ioLane.mIsAtEnd;
}

// Channel events with a delta time of one or two bytes are nearly all of a file. Stops before the first
// event that is not known at once to be one, which the careful way then reads or refuses, and returns its
// lane: where none is, that with the least left. Which of the two sizes a delta time has is anybody's guess,
// and so is running status: nothing branches on them.
template <std::size_t tLanes>
std::size_t SMF_Reader::SkipPlainEvents(Lane* const (&iLanes)[tLanes])
{
    constexpr std::size_t cMost = 5, cRead = 8; // delta time, status, data: 2 + 1 + 2; bytes looked at
    std::size_t positions[tLanes], rounds = mBytes.size(), stopped = 0;
    Cmn_Int64 ticks[tLanes];
    Cmn_UInt64 running[tLanes];
    for (std::size_t i = 0; i < tLanes; ++i) {
        const std::size_t left = iLanes[i]->mEnd - iLanes[i]->mPosition;
        const std::size_t safe = left < cRead ? 0 : (left - cRead) / cMost + 1;
        if (safe < rounds) stopped = i;
        rounds = std::min(rounds, safe);
        positions[i] = iLanes[i]->mPosition;
        ticks[i] = iLanes[i]->mTick;
        running[i] = static_cast<Cmn_UInt64>(iLanes[i]->mRunningStatus);
    }
    std::size_t round = 0, further = 0; // lanes that are one event further
    for (bool isPlain = true; isPlain && round < rounds;) {
        for (std::size_t i = 0; i < tLanes; ++i) {
            SMF_PlainEvent event(mBytes.data() + positions[i], running[i]);
            if (event.IsOfOneDataByte()) event.TakeOneDataByte();
            if (!event.IsPlain()) [[unlikely]] {
                isPlain = false;
                stopped = further = i;
                break;
            }
            positions[i] += event.mSize;
            ticks[i] += event.mDelta;
            running[i] = event.mStatus;
        }
        round += isPlain;
    }
    for (std::size_t i = 0; i < tLanes; ++i) {
        iLanes[i]->mPosition = positions[i];
        iLanes[i]->mTick = ticks[i];
        iLanes[i]->mRunningStatus = static_cast<Cmn_Int32>(running[i]);
        iLanes[i]->mCount += static_cast<Cmn_Int64>(round + (i < further ? 1 : 0));
    }
    return stopped;
}

// True for the end-of-track event.
bool SMF_Reader::ReadEvent(Cmn_Int32& ioRunningStatus)
{
    Cmn_Int32 status = ReadByte("an event");
    if (status < 0x80) {
        if (ioRunningStatus == 0)
            Fail(mPosition - 1, "data byte " + Hex(status) + ", expected a status byte (0x80 or above)");
        status = ioRunningStatus;
        --mPosition;
    }
    if (status < SMF_Event::cSysEx) {
        ioRunningStatus = status;
        SkipChannelData(status);
        return false;
    }
    ioRunningStatus = 0;
    if (status == SMF_Event::cMeta) return ReadMeta();
    if (status != SMF_Event::cSysEx && status != SMF_Event::cEscape)
        Fail(mPosition - 1, "system message " + Hex(status) + ", expected an event that a file may hold");
    const Cmn_Int64 length = ReadEventLength();
    mPosition += static_cast<std::size_t>(length);
    return false;
}

void SMF_Reader::SkipChannelData(Cmn_Int32 iStatus)
{
    for (Cmn_Int32 i = DataBytesOf(iStatus); i > 0; --i) {
        const Cmn_Int32 data = ReadByte("a data byte");
        if (data >= 0x80)
            Fail(mPosition - 1,
                 "byte " + Hex(data) + " in an event " + Hex(iStatus) + ", expected data below 0x80");
    }
}

bool SMF_Reader::ReadMeta()
{
    const auto type = static_cast<Cmn_UInt8>(ReadByte("the type of a meta event"));
    const std::size_t lengthAt = mPosition;
    const auto length = static_cast<std::size_t>(ReadEventLength());
    const SMF_EventRules::Fault fault = SMF_EventRules::FaultOf(type, mBytes.substr(mPosition, length));
    if (!fault.mText.empty())
        Fail(fault.mAt == SMF_EventRules::Fault::cAtLength ? lengthAt
                                                           : mPosition + static_cast<std::size_t>(fault.mAt),
             fault.mText);
    mPosition += length;
    return type == SMF_Event::cEndOfTrack;
}
