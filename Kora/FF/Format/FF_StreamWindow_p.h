// FF_StreamWindow: a stretch of a file in memory that moves along, for what looks at every byte.
//
// Positions, and what is read, are those of the source. Threads: one at a time.
#pragma once

#include "Bastel/Sys/Sys_Stream.h"

#include <functional>
#include <span>
#include <vector>

class FF_StreamWindow : public Sys_InStream
{
public:
    static constexpr std::size_t cSize = std::size_t{256} << 10;
    static constexpr std::size_t cFirstRead = 512; // after a jump; doubles while reading goes on in sequence

    // Reads bytes at a position, unmasked; fewer than asked only at the end.
    using Source = std::function<std::size_t(Cmn_Int64 iPosition, void* oBytes, std::size_t iCount)>;
    FF_StreamWindow(Source iSource, Cmn_Int64 iLength);
    ~FF_StreamWindow() override;

    std::size_t Read(void* oBytes, std::size_t iCount) override;
    Cmn_Int64 GetPosition() const override { return mPosition; }
    void SetPosition(Cmn_Int64 iPosition) override;
    Cmn_Int64 GetLength() const override { return mLength; }
    bool HasSums() const override { return true; }
    void Forget() override;

    // The bytes in memory from iPosition on, at least iCount of them unless the file ends before.
    std::span<const Cmn_UInt8> At(Cmn_Int64 iPosition, std::size_t iCount = 1);

private:
    Source mSource;
    Cmn_Int64 mLength;
    Cmn_Int64 mPosition = 0;
    Cmn_Int64 mStart = 0; // of the bytes in memory
    std::size_t mNextRead = cFirstRead;
    std::vector<Cmn_UInt8> mBytes;
};
