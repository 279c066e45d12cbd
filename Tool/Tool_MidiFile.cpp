#include "Tool/Tool_MidiFile.h"

#include "Tool/Tool_InputError.h"

namespace {
constexpr Cmn_Int64 cChunkHeaderSize = 8;
constexpr Cmn_Int64 cHeaderSize = 6;

constexpr Cmn_Int32 cStatusSysEx = 0xF0;
constexpr Cmn_Int32 cStatusEscape = 0xF7;
constexpr Cmn_Int32 cStatusMeta = 0xFF;

constexpr Cmn_Int32 cMetaEndOfTrack = 0x2F;
constexpr Cmn_Int32 cMetaTempo = 0x51;
constexpr Cmn_Int32 cMetaTimeSignature = 0x58;
constexpr Cmn_Int32 cMetaKeySignature = 0x59;

// The largest denominator that divides a whole note of 3840000 ticks is 2048 (1875 ticks a beat).
constexpr Cmn_Int32 cMaxDenominatorPower = 11;
constexpr Cmn_Int32 cMaxSharps = 7;

std::string Number(Cmn_Int64 iValue) { return std::to_string(iValue); }

std::string ByteCount(Cmn_Int64 iCount)
{
    return std::to_string(iCount) + (iCount == 1 ? " byte" : " bytes");
}

std::string Hex(Cmn_Int32 iByte)
{
    constexpr char cDigits[] = "0123456789abcdef";
    return {'0', 'x', cDigits[(iByte >> 4) & 15], cDigits[iByte & 15]};
}

Cmn_Int32 DataBytesOf(Cmn_Int32 iStatus)
{
    const Cmn_Int32 kind = iStatus & 0xF0;
    return kind == 0xC0 || kind == 0xD0 ? 1 : 2; // program change and channel pressure have one
}
} // namespace

// Reads one file from front to back. mPosition is the next byte, mEnd the end of the chunk (or file) it is in.
class Tool_MidiParser
{
public:
    Tool_MidiParser(std::string_view iBytes, std::string_view iName)
        : mBytes(iBytes)
        , mEnd(iBytes.size())
    {
        mFile.mName = iName;
    }

    Tool_MidiFile Run()
    {
        ReadHeader();
        while (mPosition < mBytes.size())
            ReadChunk();
        if (mTracksRead != mTracksCounted)
            Fail(mPosition, "the file ends after " + Number(mTracksRead) + " of the " +
                                Number(mTracksCounted) + " tracks that the header counts");
        return std::move(mFile);
    }

private:
    [[noreturn]] void Fail(std::size_t iOffset, const std::string& iText) const
    {
        throw Tool_InputError::AtByte(mFile.mName, static_cast<Cmn_Int64>(iOffset), iText);
    }

    // --- Bytes ---------------------------------------------------------------------------------------------
    Cmn_Int64 Left() const { return static_cast<Cmn_Int64>(mEnd - mPosition); }
    Cmn_Int32 ByteAt(std::size_t iOffset) const { return static_cast<unsigned char>(mBytes[iOffset]); }

    Cmn_Int32 ReadByte(const char* iWhat)
    {
        if (Left() == 0) Fail(mPosition, std::string("the track ends here, expected ") + iWhat);
        return ByteAt(mPosition++);
    }

    // Most significant byte first; the caller has checked that they are there.
    Cmn_Int64 ReadBigEndian(int iBytes)
    {
        Cmn_Int64 value = 0;
        for (int i = 0; i < iBytes; ++i)
            value = value << 8 | ByteAt(mPosition++);
        return value;
    }

    // Seven bits a byte, the last one without its top bit.
    Cmn_Int64 ReadVariableLength(const char* iWhat)
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
    Cmn_Int64 ReadEventLength()
    {
        const std::size_t start = mPosition;
        const Cmn_Int64 length = ReadVariableLength("an event length");
        if (length > Left())
            Fail(start, "an event of " + ByteCount(length) + ", expected at most the " + Number(Left()) +
                            " left in the track");
        return length;
    }

    // --- Chunks --------------------------------------------------------------------------------------------
    // Leaves mPosition at the chunk's body and mEnd at its end.
    std::string_view ReadChunkHeader()
    {
        const std::size_t start = mPosition;
        mEnd = mBytes.size();
        if (Left() < cChunkHeaderSize)
            Fail(start, "the file is cut short: " + ByteCount(Left()) + " of a chunk header, expected 8");
        const std::string_view type = mBytes.substr(start, 4);
        mPosition += 4;
        const Cmn_Int64 length = ReadBigEndian(4);
        if (length > Left())
            Fail(start + 4, "the file is cut short: a chunk of " + ByteCount(length) +
                                ", expected at most the " + Number(Left()) + " left in the file");
        mEnd = mPosition + static_cast<std::size_t>(length);
        return type;
    }

    void ReadHeader()
    {
        const std::string_view signature = mBytes.substr(0, 4);
        if (signature != "MThd")
            Fail(0, "not a MIDI file: it begins with " + Tool_Quoted(signature) + ", expected \"MThd\"");
        ReadChunkHeader();
        if (Left() < cHeaderSize) Fail(4, "a header of " + ByteCount(Left()) + ", expected 6 or more");
        const std::size_t start = mPosition;
        const Cmn_Int64 format = ReadBigEndian(2);
        mTracksCounted = ReadBigEndian(2);
        const Cmn_Int64 division = ReadBigEndian(2);
        if (format > 1) Fail(start, "format " + Number(format) + ", expected 0 or 1");
        if (format == 0 && mTracksCounted != 1)
            Fail(start + 2, Number(mTracksCounted) + " tracks, expected 1 in a file of format 0");
        if (mTracksCounted == 0) Fail(start + 2, "0 tracks, expected 1 or more");
        if (division >= 0x8000)
            Fail(start + 4, "a division in SMPTE frames (" + Hex(static_cast<Cmn_Int32>(division >> 8)) +
                                " " + Hex(static_cast<Cmn_Int32>(division & 0xFF)) +
                                "), expected ticks to a quarter note");
        if (division == 0) Fail(start + 4, "a division of 0 ticks to a quarter note, expected 1 to 32767");
        mFile.mDivision = static_cast<Cmn_Int32>(division);
        mPosition = mEnd;
    }

    void ReadChunk()
    {
        const std::size_t start = mPosition;
        if (ReadChunkHeader() == "MTrk") {
            if (mTracksRead == mTracksCounted)
                Fail(start, "one more track than the " + Number(mTracksCounted) + " that the header counts");
            ReadTrack();
            ++mTracksRead;
        }
        mPosition = mEnd;
    }

    // --- Tracks --------------------------------------------------------------------------------------------
    void ReadTrack()
    {
        Cmn_Int64 tick = 0;
        Cmn_Int32 runningStatus = 0; // 0: none
        bool isAtEnd = false;
        while (!isAtEnd) {
            if (Left() == 0) Fail(mPosition, "the track ends here, expected its end-of-track event");
            // A file of less than 2^56 bytes cannot carry the sum past 63 bits.
            tick += ReadVariableLength("a delta time");
            const Tool_MidiPlace place{tick, static_cast<Cmn_Int64>(mPosition)};
            isAtEnd = ReadEvent(place, runningStatus);
            if (place.mTick >= mFile.mLastEvent.mTick) mFile.mLastEvent = place;
        }
        if (Left() != 0)
            Fail(mPosition, ByteCount(Left()) + " after the end-of-track event, expected the track to end");
    }

    // True for the end-of-track event.
    bool ReadEvent(const Tool_MidiPlace& iPlace, Cmn_Int32& ioRunningStatus)
    {
        Cmn_Int32 status = ReadByte("an event");
        if (status < 0x80) {
            if (ioRunningStatus == 0)
                Fail(mPosition - 1, "data byte " + Hex(status) + ", expected a status byte (0x80 or above)");
            status = ioRunningStatus;
            --mPosition;
        }
        if (status < cStatusSysEx) {
            ioRunningStatus = status;
            SkipChannelData(status);
            return false;
        }
        ioRunningStatus = 0;
        if (status == cStatusMeta) return ReadMeta(iPlace);
        if (status != cStatusSysEx && status != cStatusEscape)
            Fail(mPosition - 1, "system message " + Hex(status) + ", expected an event that a file may hold");
        const Cmn_Int64 length = ReadEventLength();
        mPosition += static_cast<std::size_t>(length);
        return false;
    }

    void SkipChannelData(Cmn_Int32 iStatus)
    {
        for (Cmn_Int32 i = DataBytesOf(iStatus); i > 0; --i) {
            const Cmn_Int32 data = ReadByte("a data byte");
            if (data >= 0x80)
                Fail(mPosition - 1,
                     "byte " + Hex(data) + " in an event " + Hex(iStatus) + ", expected data below 0x80");
        }
    }

    bool ReadMeta(const Tool_MidiPlace& iPlace)
    {
        const Cmn_Int32 type = ReadByte("the type of a meta event");
        const std::size_t lengthAt = mPosition;
        const Cmn_Int64 length = ReadEventLength();
        const std::size_t next = mPosition + static_cast<std::size_t>(length);
        const auto expectLength = [&](Cmn_Int64 iExpected, const char* iWhat) {
            if (length != iExpected)
                Fail(lengthAt,
                     std::string(iWhat) + " of " + ByteCount(length) + ", expected " + Number(iExpected));
        };
        switch (type) {
        case cMetaEndOfTrack:
            expectLength(0, "an end-of-track event");
            break;
        case cMetaTempo:
            expectLength(3, "a tempo event");
            ReadTempo(iPlace);
            break;
        case cMetaTimeSignature:
            expectLength(4, "a time-signature event");
            ReadTimeSignature(iPlace);
            break;
        case cMetaKeySignature:
            expectLength(2, "a key-signature event");
            ReadKeySignature(iPlace);
            break;
        default:
            break;
        }
        mPosition = next;
        return type == cMetaEndOfTrack;
    }

    void ReadTempo(const Tool_MidiPlace& iPlace)
    {
        const std::size_t start = mPosition;
        const auto microseconds = static_cast<Cmn_Int32>(ReadBigEndian(3));
        if (microseconds == 0)
            Fail(start, "a tempo of 0 microseconds to a quarter note, expected 1 to 16777215");
        mFile.mTempos.push_back({iPlace, microseconds});
    }

    // The two bytes after the denominator set a click and the size of a quarter; they place no bar.
    void ReadTimeSignature(const Tool_MidiPlace& iPlace)
    {
        const Cmn_Int32 numerator = ByteAt(mPosition);
        const Cmn_Int32 power = ByteAt(mPosition + 1);
        if (numerator == 0) Fail(mPosition, "a time signature of 0 beats, expected 1 to 255");
        if (power > cMaxDenominatorPower)
            Fail(mPosition + 1, "a denominator of 2 to the power " + Number(power) +
                                    ", expected at most 11 (a denominator of 2048)");
        mFile.mMeters.push_back({iPlace, numerator, 1 << power});
    }

    void ReadKeySignature(const Tool_MidiPlace& iPlace)
    {
        const auto sharps = static_cast<Cmn_Int32>(static_cast<Cmn_Int8>(ByteAt(mPosition)));
        const Cmn_Int32 mode = ByteAt(mPosition + 1);
        if (sharps < -cMaxSharps || sharps > cMaxSharps)
            Fail(mPosition, "a key of " + Number(sharps) + " sharps, expected -7 to 7");
        if (mode > 1) Fail(mPosition + 1, "key mode " + Number(mode) + ", expected 0 (major) or 1 (minor)");
        mFile.mKeys.push_back({iPlace, sharps, mode == 1});
    }

    std::string_view mBytes;
    std::size_t mPosition = 0;
    std::size_t mEnd;
    Cmn_Int64 mTracksCounted = 0;
    Cmn_Int64 mTracksRead = 0;
    Tool_MidiFile mFile;
};

Tool_MidiFile Tool_MidiFile::Parse(std::string_view iBytes, std::string_view iName)
{
    return Tool_MidiParser(iBytes, iName).Run();
}
