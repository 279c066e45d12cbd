#include "Bastel/Cmn/Cmn_CountText.h"
#include "Kora/SMF/SMF_EventRules_p.h"
#include "Kora/SMF/SMF_Exception.h"
#include "Kora/SMF/SMF_Reader_p.h"

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
    while (mPosition < mBytes.size())
        ReadChunk();
    const auto read = static_cast<Cmn_Int64>(mFile.mTracks.size());
    if (read != mTracksCounted)
        Fail(mPosition, "the file ends after " + Number(read) + " of the " + Number(mTracksCounted) +
                            " tracks that the header counts");
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

void SMF_Reader::ReadChunk()
{
    const std::size_t start = mPosition;
    const std::string_view type = ReadChunkHeader();
    const std::size_t tracks = mFile.mTracks.size();
    if (type == "MTrk") {
        if (static_cast<Cmn_Int64>(tracks) == mTracksCounted)
            Fail(start, "one more track than the " + Number(mTracksCounted) + " that the header counts");
        ReadTrack();
    } else {
        mFile.mOthers.push_back(
            {std::string(type), std::string(mBytes.substr(mPosition, mEnd - mPosition)), tracks});
    }
    mPosition = mEnd;
}

// --- Tracks

void SMF_Reader::ReadTrack()
{
    const std::size_t start = mPosition;
    Cmn_Int64 tick = 0, count = 0;
    Cmn_Int32 runningStatus = 0; // 0: none
    bool isAtEnd = false;
    while (!isAtEnd) {
        SkipPlainEvents(runningStatus, tick, count);
        if (Left() == 0) Fail(mPosition, "the track ends here, expected its end-of-track event");
        // A file of less than 2^56 bytes cannot carry the sum past 63 bits.
        tick += ReadVariableLength("a delta time");
        isAtEnd = ReadEvent(runningStatus);
        ++count;
    }
    if (Left() != 0)
        Fail(mPosition,
             Cmn_CountText(Left(), "byte") + " after the end-of-track event, expected the track to end");
    mFile.mTracks.push_back(SMF_Track(mOwner, mBytes.substr(start, mPosition - start), count, tick));
}

// Channel events with a delta time of one or two bytes are nearly all of a file. Stops before the first event
// that is not known at once to be one, which the careful way then reads or refuses.
void SMF_Reader::SkipPlainEvents(Cmn_Int32& ioRunningStatus, Cmn_Int64& ioTick, Cmn_Int64& ioCount)
{
    const auto* const bytes = reinterpret_cast<const unsigned char*>(mBytes.data());
    std::size_t position = mPosition;
    Cmn_Int64 tick = ioTick, count = ioCount;
    unsigned running = static_cast<unsigned>(ioRunningStatus);
    while (mEnd - position >= 5) { // delta time, status, data: 2 + 1 + 2 at most
        const unsigned char* at = bytes + position;
        // Which of the two sizes a delta time has is anybody's guess, so that nothing branches on it.
        const unsigned isLong = *at >> 7, low = at[1] & (0 - isLong);
        const unsigned delta = (*at & 0x7F) << (7 * isLong) | low;
        at += 1 + isLong;
        unsigned status = running;
        if (*at >= 0x80) [[likely]]
            status = *at++;
        // No status is running, or it is no channel's.
        if (status - 0x80 >= 0x70) break;
        unsigned data = low | *at++;
        if ((status & 0xE0) != 0xC0) [[likely]]
            data |= *at++;
        if (data >= 0x80) break;
        running = status;
        tick += delta;
        ++count;
        position = static_cast<std::size_t>(at - bytes);
    }
    mPosition = position;
    ioTick = tick;
    ioCount = count;
    ioRunningStatus = static_cast<Cmn_Int32>(running);
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
