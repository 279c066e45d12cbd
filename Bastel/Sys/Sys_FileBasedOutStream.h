// Sys_FileBasedOutStream: writes a file through a buffer, with the sums of the headers that are open.
//
// The buffer holds plain bytes; a masked copy goes to the file at the moment of writing, so that a buffer
// that is patched, or written a second time after a failure, is never masked twice. A buffer that could not
// be written is kept and tried again.
//
// Units:     positions are positions in the file; the stream begins at the file's position when it is made.
// Failures:  Write takes fewer bytes than it was given at the limit, on a full disk, and after
//            RememberFailure until Flush has thrown.
// Ownership: the file stays the caller's, is open for writing and must outlive the stream. The destructor
//            writes nothing: who wants the bytes flushes. Threads: one at a time.
#pragma once

#include "Bastel/Sys/Sys_File.h"
#include "Bastel/Sys/Sys_Stream.h"

#include <memory>

// Not in the exported class, so that every module has them as constants of its own.
struct Sys_OutStreamLimits
{
    // What goes to the file at once, and begins and ends at a multiple of it where it can: systems keep such
    // blocks in larger pages, and take them in less time.
    static constexpr std::size_t cBlockSize = std::size_t{256} << 10;
    // At most; it grows with what is written. It holds a block, and so much behind it that most streams that go
    // over the block's end are whole by the time it is written, and their headers need no write of their own.
    static constexpr std::size_t cBufferSize = cBlockSize + cBlockSize / 16;
    // Of the position up to which it may write.
    static constexpr Cmn_Int64 cNoLimit = 0x7FFFFFFFFFFFFFFF;
};

class KORA_API Sys_FileBasedOutStream : public Sys_OutStream, public Sys_OutStreamLimits
{
public:
    // From the file's position on. The file stays the caller's and must outlive the stream.
    explicit Sys_FileBasedOutStream(Sys_File& iFile);
    ~Sys_FileBasedOutStream() override;

    // All or nothing.
    std::size_t Write(const void* iBytes, std::size_t iCount) override;
    Cmn_Int64 GetPosition() const override { return Position(); }
    // Anywhere from the stream's beginning to its end, outside all open headers.
    void SetPosition(Cmn_Int64 iPosition) override;
    bool Patch(Cmn_Int64 iPosition, const void* iBytes, std::size_t iCount) override;

    bool HasSums() const override { return true; }
    void UpdateSums() override;
    bool PatchHeader(Cmn_Int64 iPosition, const void* iBytes, std::size_t iCount) override;
    // The position becomes iStart, and so does the end.
    void TakeBack(Cmn_Int64 iStart) override;
    void RememberFailure() override;

    // Bytes at and past the limit are refused.
    void SetLimit(Cmn_Int64 iLimit);
    Cmn_Int64 GetLimit() const { return mLimit; }
    // One past the last byte that was written, or was there, and has not been taken back.
    Cmn_Int64 GetEnd() const { return Position() > mFileEnd ? Position() : mFileEnd; }
    // Ends the file at the position, for what is written over an older, longer rest; writes the buffer first.
    void Truncate();

    // Writes the buffer to the file. Throws Sys_StreamWriteException with the file where that fails, and once
    // after RememberFailure; the next Flush tries again.
    void Flush();
    void Explain(Cmn_Exception& ioException) const override;

protected:
    // Called on a copy of every buffer before it is written, with the position of its first
    // byte. Does nothing here.
    virtual void MassageBuffer(void* ioBytes, std::size_t iCount, Cmn_Int64 iPosition);
    Sys_File& GetFile() { return mFile; }
    void BeginAtFilePosition();

private:
    // How iCount bytes at a position lie to the buffer: so many before it, then so many in it, at an offset.
    struct Parts
    {
        std::size_t mBefore;
        std::size_t mInBuffer;
        std::size_t mOffset;
    };

    Cmn_Int64 Position() const { return mBufferStart + static_cast<Cmn_Int64>(mFill); }
    void FindRoom();
    std::size_t WritePastBuffer(const void* iBytes, std::size_t iCount);
    bool MakeRoom(std::size_t iCount);
    bool IsWritten(Cmn_Int64 iPosition, std::size_t iCount) const;
    Parts PartsOf(Cmn_Int64 iPosition, std::size_t iCount) const;
    // Both take file and buffer as one. Overwrite returns how many bytes it replaced; ReadBack reads what
    // lies before the position.
    std::size_t Overwrite(Cmn_Int64 iPosition, const void* iBytes, std::size_t iCount);
    bool ReadBack(Cmn_Int64 iPosition, Cmn_UInt8* oBytes, std::size_t iCount);
    // Writes the buffer to the file, up to the last block's end, or all of it; true where nothing is left to write.
    bool DrainBlocks();
    bool Drain();
    bool DrainUpTo(Cmn_Int64 iPosition);
    // Returns how many bytes are in the file.
    std::size_t WriteMasked(Cmn_Int64 iPosition, const void* iBytes, std::size_t iCount);

    Sys_File& mFile;
    Cmn_Int64 mBegin = 0;
    Cmn_Int64 mFileEnd = 0;     // of what is in the file
    Cmn_Int64 mBufferStart = 0; // the buffer's first byte belongs there; the position is behind its last
    std::size_t mFill = 0;      // bytes in the buffer
    // Bytes that it takes without further questions: up to its end, the limit, a failure.
    std::size_t mRoom = 0;
    Cmn_Int64 mSummed = 0; // what lies before was handed to the sums; never before the buffer
    Cmn_Int64 mLimit = cNoLimit;
    bool mFailed = false;
    Cmn_Int32 mFailedError = 0; // the system's code at the failure that is remembered
    static constexpr std::size_t cFirstCapacity = 4096;
    std::size_t mCapacity = cFirstCapacity;
    std::unique_ptr<Cmn_UInt8[]> mBuffer;
    std::vector<Cmn_UInt8> mMasked;
};
