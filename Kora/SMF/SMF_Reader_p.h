// SMF_Reader: reads one MIDI file from front to back; SMF_File says what it takes.
#pragma once

#include "Kora/SMF/SMF_File.h"

#include <utility>

inline constexpr std::size_t cChunkHeaderSize = 8;
inline constexpr std::size_t cHeaderSize = 6;

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

    std::string_view ReadChunkHeader();
    void ReadHeader();
    void ReadChunk();
    void ReadTrack();
    void SkipPlainEvents(Cmn_Int32& ioRunningStatus, Cmn_Int64& ioTick, Cmn_Int64& ioCount);
    bool ReadEvent(Cmn_Int32& ioRunningStatus);
    void SkipChannelData(Cmn_Int32 iStatus);
    bool ReadMeta();

    std::shared_ptr<const std::string> mOwner;
    std::string_view mBytes;
    std::size_t mPosition = 0;
    std::size_t mEnd;
    Cmn_Int64 mTracksCounted = 0;
    SMF_File mFile;
};
