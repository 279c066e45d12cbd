// Sys_InStream, Sys_OutStream: bytes in sequence, with a position that can be set.
//
// Positions are bytes from the start. Memory streams live here; file streams derive from the same bases.
// Threads: none inside.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"
#include "Export/Kora_API.h"

#include <cstddef>
#include <span>
#include <vector>

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
};

class KORA_API Sys_OutStream
{
public:
    virtual ~Sys_OutStream();
    // Writes at the position, over what stands there and past the end; returns how many bytes were taken. The
    // bytes must not be the stream's own.
    virtual std::size_t Write(const void* iBytes, std::size_t iCount) = 0;
    virtual Cmn_Int64 GetPosition() const = 0;
    // A position outside what has been written asserts and leaves the old one.
    virtual void SetPosition(Cmn_Int64 iPosition) = 0;
};

// Reads a buffer that stays the caller's and must outlive the stream.
class KORA_API Sys_MemInStream : public Sys_InStream
{
public:
    explicit Sys_MemInStream(std::span<const Cmn_UInt8> iBytes);
    ~Sys_MemInStream() override;
    std::size_t Read(void* oBytes, std::size_t iCount) override;
    Cmn_Int64 GetPosition() const override { return static_cast<Cmn_Int64>(mPosition); }
    void SetPosition(Cmn_Int64 iPosition) override;
    Cmn_Int64 GetLength() const override { return static_cast<Cmn_Int64>(mBytes.size()); }

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

    const std::vector<Cmn_UInt8>& GetBytes() const { return mBytes; }
    // Hands over the bytes; the stream is empty afterwards.
    std::vector<Cmn_UInt8> TakeBytes();

private:
    std::vector<Cmn_UInt8> mBytes;
    std::size_t mPosition = 0;
};
