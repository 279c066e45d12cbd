// CallScript: a fuzzer's bytes as what calls are given: numbers of all sizes, mostly those that a song has.
#pragma once

#include "Kora/C/Kora_CSong.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>

inline constexpr std::int64_t cStart = KORA_SONG_START_TICK, cQuarter = KORA_TICKS_PER_QUARTER;

class CallScript
{
public:
    CallScript(const unsigned char* iBytes, std::size_t iSize)
        : mBytes(iBytes)
        , mLeft(iSize)
    {
    }
    bool IsAtEnd() const { return mLeft == 0; }
    unsigned Byte()
    {
        if (mLeft == 0) return 0;
        --mLeft;
        return *mBytes++;
    }
    std::int64_t Raw()
    {
        std::uint64_t value = 0;
        for (int i = 0; i < 8; ++i)
            value = value << 8 | Byte();
        return static_cast<std::int64_t>(value);
    }
    // Mostly a tick of a song, at and beside its quarters.
    std::int64_t Tick()
    {
        const unsigned kind = Byte();
        if (kind % 16 == 0) return Raw();
        const auto quarters = static_cast<std::int64_t>(Byte());
        return cStart + (quarters - 4) * cQuarter / (1 + kind % 3) + static_cast<std::int64_t>(kind / 64) - 1;
    }
    double Number()
    {
        constexpr double cNumbers[] = {0,
                                       -1,
                                       1e-300,
                                       1e300,
                                       std::numeric_limits<double>::infinity(),
                                       std::numeric_limits<double>::quiet_NaN(),
                                       4.99,
                                       500.01};
        const unsigned kind = Byte();
        return kind % 8 == 0 ? cNumbers[kind / 8 % 8] : 5 + static_cast<double>(kind) * 1.37;
    }
    std::string Bytes()
    {
        const std::size_t size = std::min<std::size_t>(Byte(), mLeft);
        std::string text(reinterpret_cast<const char*>(mBytes), size);
        mBytes += size;
        mLeft -= size;
        return text;
    }

private:
    const unsigned char* mBytes;
    std::size_t mLeft;
};

// From the song's start, of any number.
inline std::int64_t LengthTo(std::int64_t iTick)
{
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(iTick) - static_cast<std::uint64_t>(cStart));
}
