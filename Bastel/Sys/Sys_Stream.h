// Sys_InStream, Sys_OutStream: bytes in sequence, with a position that can be set.
//
// Positions are bytes from the start. Memory streams live here; file streams derive from the same bases.
// Sums: a stream that HasSums (files do, memory does not) has headers with sums of themselves and of
// their bodies. What one stream in memory needs no sum for, because nothing but the program touches it,
// a file needs everywhere.
// Threads: none inside.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"
#include "Bastel/Sys/Sys_OpenHeaders.h"
#include "Export/Kora_API.h"

#include <cstddef>
#include <span>
#include <vector>

class Cmn_Exception;

class KORA_API Sys_InStream
{
public:
    virtual ~Sys_InStream();
    // Reads up to iCount bytes and returns how many there were.
    virtual std::size_t Read(void* oBytes, std::size_t iCount) = 0;
    virtual Cmn_Int64 GetPosition() const = 0;
    // A position outside the stream asserts and leaves the old one.
    virtual void SetPosition(Cmn_Int64 iPosition) = 0;
    virtual Cmn_Int64 GetLength() const = 0;
    // The next iCount bytes where they stand in memory, until the stream is used again; the position stays.
    // Nothing where they are not all there, or the stream has none in memory: reading tells.
    virtual std::span<const Cmn_UInt8> Look(std::size_t iCount);

    // True where a header without sums is damage.
    virtual bool HasSums() const { return false; }
    // CRC-32C of the iCount bytes from iFrom on; the position stays. Throws Sys_StreamReadException
    // where they cannot be read.
    virtual Cmn_UInt32 SumOf(Cmn_Int64 iFrom, Cmn_Int64 iCount);

    // Adds to an exception about the stream what it knows of itself: the file, and the system's
    // reason where there is one.
    virtual void Explain(Cmn_Exception& ioException) const;

    // The stretch whose bytes were last found right by their sum: headers inside it
    // need no pass of their own.
    bool IsVerified(Cmn_Int64 iBegin, Cmn_Int64 iEnd) const
    {
        return mVerifiedBegin <= iBegin && iEnd <= mVerifiedEnd;
    }
    // Says of a stretch that its sum was right.
    void SetVerified(Cmn_Int64 iBegin, Cmn_Int64 iEnd)
    {
        mVerifiedBegin = iBegin;
        mVerifiedEnd = iEnd;
    }
    Cmn_Int64 GetVerifiedEnd() const { return mVerifiedEnd; }
    // After the bytes may have changed: what was read ahead is dropped as well.
    virtual void Forget() { SetVerified(0, 0); }

private:
    Cmn_Int64 mVerifiedBegin = 0;
    Cmn_Int64 mVerifiedEnd = 0;
};

class KORA_API Sys_OutStream
{
public:
    Sys_OutStream();
    virtual ~Sys_OutStream();
    Sys_OutStream(const Sys_OutStream&) = delete;
    Sys_OutStream& operator=(const Sys_OutStream&) = delete;
    // Writes at the position, over what stands there and past the end; returns how many bytes were taken. The
    // bytes must not be the stream's own.
    virtual std::size_t Write(const void* iBytes, std::size_t iCount) = 0;
    virtual Cmn_Int64 GetPosition() const = 0;
    // A position outside what has been written asserts and leaves the old one; so does one before the end of
    // a body that is being summed.
    virtual void SetPosition(Cmn_Int64 iPosition) = 0;

    // Replaces bytes that were written before, in an open body or outside all headers; the position stays.
    // The way to fill in a count once it is known. Keeps the sums of open headers right; false when nothing,
    // or not all, was replaced.
    [[nodiscard]] virtual bool Patch(Cmn_Int64 iPosition, const void* iBytes, std::size_t iCount) = 0;

    virtual bool HasSums() const { return false; }
    Sys_OpenHeaders& GetOpenHeaders() { return mOpenHeaders; }

    // For header writers. Hands to the open headers' sums what was written since the last time.
    virtual void UpdateSums() {}
    // Replaces a header's own bytes, which no sum covers yet. False where that failed.
    [[nodiscard]] virtual bool PatchHeader(Cmn_Int64 iPosition, const void* iBytes, std::size_t iCount) = 0;
    // A header ends without its body being complete: what was written from its start on is taken back, where
    // the stream can do that, so that nobody finds half a body.
    virtual void TakeBack(Cmn_Int64 iStart);
    // A write failed where no exception could be let out: the next Write takes
    // nothing, the next flush throws.
    virtual void RememberFailure() {}
    // As Sys_InStream::Explain.
    virtual void Explain(Cmn_Exception& ioException) const;

private:
    Sys_OpenHeaders mOpenHeaders;
};

// Reads a buffer that stays the caller's and must outlive the stream.
class KORA_API Sys_MemInStream : public Sys_InStream
{
public:
    // From their first byte on.
    explicit Sys_MemInStream(std::span<const Cmn_UInt8> iBytes);
    ~Sys_MemInStream() override;
    std::size_t Read(void* oBytes, std::size_t iCount) override;
    Cmn_Int64 GetPosition() const override { return static_cast<Cmn_Int64>(mPosition); }
    void SetPosition(Cmn_Int64 iPosition) override;
    Cmn_Int64 GetLength() const override { return static_cast<Cmn_Int64>(mBytes.size()); }
    std::span<const Cmn_UInt8> Look(std::size_t iCount) override
    {
        return iCount > mBytes.size() - mPosition ? std::span<const Cmn_UInt8>()
                                                  : mBytes.subspan(mPosition, iCount);
    }

private:
    std::span<const Cmn_UInt8> mBytes;
    std::size_t mPosition = 0;
};

// Writes a buffer of its own that grows.
class KORA_API Sys_MemOutStream : public Sys_OutStream
{
public:
    Sys_MemOutStream();
    ~Sys_MemOutStream() override;
    std::size_t Write(const void* iBytes, std::size_t iCount) override;
    Cmn_Int64 GetPosition() const override { return static_cast<Cmn_Int64>(mPosition); }
    void SetPosition(Cmn_Int64 iPosition) override;
    bool Patch(Cmn_Int64 iPosition, const void* iBytes, std::size_t iCount) override;
    bool PatchHeader(Cmn_Int64 iPosition, const void* iBytes, std::size_t iCount) override;

    const std::vector<Cmn_UInt8>& GetBytes() const { return mBytes; }
    // Hands over the bytes; the stream is empty afterwards.
    std::vector<Cmn_UInt8> TakeBytes();

private:
    std::vector<Cmn_UInt8> mBytes;
    std::size_t mPosition = 0;
};
