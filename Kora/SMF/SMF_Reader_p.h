// SMF_Reader: reads one MIDI file from front to back; SMF_File says what it takes.
#pragma once

#include "Kora/SMF/SMF_File.h"

#include <utility>
#include <vector>

inline constexpr std::size_t cChunkHeaderSize = 8;
inline constexpr std::size_t cHeaderSize = 6;

// What eight bytes of a track say where an event begins that is a channel's, with a delta time of one
// or two bytes: nearly all events are. Nothing branches on what is anybody's guess, the delta time's
// size and running status.
struct SMF_PlainEvent
{
    SMF_PlainEvent(const char* iAt, Cmn_UInt64 iRunningStatus)
    {
        // more: bits
        const Cmn_UInt64 bytes = SMF_Event::EightBytesAt(iAt), more = bytes >> 4 & 8, isLong = more >> 3;
        const Cmn_UInt64 rest = bytes >> 8 >> more, hasStatus = rest >> 7 & 1;
        const Cmn_UInt64 data = rest >> (8 * hasStatus), second = bytes >> 8 & 0xFF & (0 - isLong);
        mDelta = static_cast<Cmn_Int64>((bytes & 0x7F) << (7 * isLong) | second);
        mStatus = iRunningStatus;
        if (hasStatus != 0) mStatus = rest & 0xFF;
        // The top bits of the delta time's last byte and of the data, which a sound event does not have.
        mTopBits = (second & 0x80) | (data & 0x8080);
        mSize = 3 + isLong + hasStatus;
    }
    bool IsOfOneDataByte() const { return (mStatus & 0xE0) == 0xC0; } // program change and channel pressure
    void TakeOneDataByte()
    {
        --mSize;
        mTopBits &= 0xFF;
    }
    bool IsChannel() const { return mStatus - 0x80 < 0x70; } // no status is running, or it is another's
    bool IsPlain() const { return mTopBits == 0 && IsChannel(); }

    Cmn_Int64 mDelta;
    Cmn_UInt64 mStatus, mTopBits, mSize; // with two data bytes
};

// mPosition is the next byte, mEnd the end of the chunk (or file) it is in.
class SMF_Reader
{
public:
    explicit SMF_Reader(std::shared_ptr<const std::string> iBytes)
        : mOwner(std::move(iBytes))
        , mBytes(*mOwner)
        , mEnd(mBytes.size())
    {
    }

    SMF_File Run();

private:
    [[noreturn]] static void Fail(std::size_t iOffset, const std::string& iText);

    Cmn_Int64 Left() const { return static_cast<Cmn_Int64>(mEnd - mPosition); }
    Cmn_Int32 ByteAt(std::size_t iOffset) const { return static_cast<unsigned char>(mBytes[iOffset]); }
    Cmn_Int32 ReadByte(const char* iWhat);
    Cmn_Int64 ReadBigEndian(std::size_t iBytes);
    Cmn_Int64 ReadVariableLength(const char* iWhat);
    Cmn_Int64 ReadEventLength();

    // A track on its way.
    struct Lane
    {
        std::size_t mStart, mPosition, mEnd;
        Cmn_Int64 mTick = 0, mCount = 0;
        Cmn_Int32 mRunningStatus = 0; // 0: none
        bool mIsAtEnd = false;
    };
    static constexpr std::size_t cLanes = 4;

    std::string_view ReadChunkHeader();
    void ReadHeader();
    void ReadChunks();
    void ReadChunk();
    void ReadTracks();
    void ReadSideBySide();
    void FinishTrack(Lane& ioLane);
    static void CheckEnd(const Lane& iLane);
    bool ReadOne(Lane& ioLane);
    template <std::size_t tLanes>
    std::size_t SkipPlainEvents(Lane* const (&iLanes)[tLanes]);
    bool ReadEvent(Cmn_Int32& ioRunningStatus);
    void SkipChannelData(Cmn_Int32 iStatus);
    bool ReadMeta();

    std::shared_ptr<const std::string> mOwner;
    std::string_view mBytes;
    std::size_t mPosition = 0;
    std::size_t mEnd;
    Cmn_Int64 mTracksCounted = 0;
    std::vector<Lane> mLanes; // one for each track
    SMF_File mFile;
};
