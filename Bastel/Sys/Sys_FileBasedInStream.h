// Sys_FileBasedInStream: a file's bytes through a buffer that reads ahead.
//
// The first buffer after a jump is small and doubles while reading goes on in sequence, up to the
// read-ahead: a stream found by key costs one small read, a long one few large ones, and what lies in a
// body that was found right by its sum goes on in reads of up to cSequentialRead. After cJumpsBeforeCaching
// jumps small reads go through a cache of up to 32 MiB: who looks up one stream after another soon pays no
// call to the system for it.
//
// Units:     positions are positions in the file; the stream begins at the file's position when it is made.
// Sums:      HasSums. SumOf of a body that fits the largest buffer leaves it there.
// Ownership: the file stays the caller's and must outlive the stream. Threads: one at a time.
#pragma once

#include "Bastel/Sys/Sys_File.h"
#include "Bastel/Sys/Sys_Stream.h"

#include <memory>

class Sys_BlockCache;

// Not in the exported class, so that every module has them as constants of its own.
struct Sys_ReadAheadSizes
{
    // Bytes that the buffer grows to unless it is told otherwise.
    static constexpr std::size_t cDefaultReadAhead = 8192;
    // Bytes of the first buffer after a jump.
    static constexpr std::size_t cFirstRead = 512;
    // Bytes of a read within a body whose sum was right.
    static constexpr std::size_t cSequentialRead = std::size_t{128} << 10;
    // Jumps until small reads go through the cache.
    static constexpr int cJumpsBeforeCaching = 64;
};

class KORA_API Sys_FileBasedInStream : public Sys_InStream, public Sys_ReadAheadSizes
{
public:
    // From the file's position on.
    explicit Sys_FileBasedInStream(Sys_File& iFile);
    ~Sys_FileBasedInStream() override;
    Sys_FileBasedInStream(const Sys_FileBasedInStream&) = delete;
    Sys_FileBasedInStream& operator=(const Sys_FileBasedInStream&) = delete;

    std::size_t Read(void* oBytes, std::size_t iCount) override;
    Cmn_Int64 GetPosition() const override { return mPosition; }
    void SetPosition(Cmn_Int64 iPosition) override;
    // The file's length when the stream was made or last told to forget.
    Cmn_Int64 GetLength() const override { return mLength; }
    std::span<const Cmn_UInt8> Look(std::size_t iCount) override;

    // Reads all of iCount bytes at a place, past buffer and position, which stay. Throws
    // Sys_StreamReadException where they cannot be read.
    void ReadAt(Cmn_Int64 iFrom, void* oBytes, std::size_t iCount);

    bool HasSums() const override { return true; }
    Cmn_UInt32 SumOf(Cmn_Int64 iFrom, Cmn_Int64 iCount) override;
    void Forget() override;

    // Most bytes that one read takes beyond what was asked for, outside bodies that are read in
    // sequence; at least cFirstRead.
    void SetReadAhead(std::size_t iBytes);
    std::size_t GetReadAhead() const { return mReadAhead; }
    void Explain(Cmn_Exception& ioException) const override;

protected:
    // Called on every buffer after it is read, with the position of its first byte. Does nothing here.
    virtual void MassageBuffer(void* ioBytes, std::size_t iCount, Cmn_Int64 iPosition);
    Sys_File& GetFile() { return mFile; }
    // For constructors of derived classes that read leading bytes themselves: the stream
    // begins where the file stands.
    void BeginAtFilePosition();

private:
    std::size_t ReadPastBuffer(Cmn_UInt8* oBytes, std::size_t iCount);
    std::size_t ReadDirectly(Cmn_UInt8* oBytes, std::size_t iCount);
    std::size_t GetMostAhead(Cmn_Int64 iAt) const;
    // As much as the buffer has at the position.
    std::size_t TakeBuffered(Cmn_UInt8* oBytes, std::size_t iCount);
    // Makes the buffer hold the iWanted bytes from iFrom on, or as many as can be read, and some ahead.
    void Load(Cmn_Int64 iFrom, std::size_t iWanted);
    // Takes the cached block for the buffer; false where what is wanted is not all in one.
    bool LoadBlock(Cmn_Int64 iFrom, std::size_t iWanted);
    // Reads and unmasks: from the file or, after many jumps, from the cache.
    std::size_t Fetch(Cmn_Int64 iFrom, Cmn_UInt8* oBytes, std::size_t iCount);
    // The cached block; null where not all that the file should have of it could be read.
    const Cmn_UInt8* FetchBlock(std::size_t iBlock);
    // Room for iSize bytes, with the iKept ones at iKeptFrom moved to the front.
    void Reserve(std::size_t iSize, std::size_t iKeptFrom, std::size_t iKept);
    Cmn_UInt32 SumInPieces(Cmn_Int64 iFrom, std::size_t iCount);
    [[noreturn]] void ThrowReadError(Cmn_Int64 iPosition, Cmn_Int32 iError) const;

    Sys_File& mFile;
    Cmn_Int64 mBegin = 0;
    Cmn_Int64 mLength = 0;
    Cmn_Int64 mPosition = 0;
    // [mBufferStart, mBufferStart + mBuffered), unmasked: in the buffer, or a block of the cache where it stands.
    const Cmn_UInt8* mData = nullptr;
    Cmn_Int64 mBufferStart = 0;
    std::size_t mBuffered = 0;
    std::size_t mCapacity = 0;
    std::size_t mReadAhead = cDefaultReadAhead;
    std::size_t mNextRead = cFirstRead;
    std::unique_ptr<Cmn_UInt8[]> mBuffer;
    int mJumps = 0;
    std::unique_ptr<Sys_BlockCache> mCache;
};
