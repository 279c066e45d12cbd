// Time_Hash: the hash of values that hold any number of counts.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"

#include <cstddef>

// Takes one count after the other; their order matters.
class Time_Hash
{
public:
    void Add(Cmn_Int64 iCount)
    {
        // Times are often multiples of large powers of two: an odd factor carries them upward, the shift back
        // into the low bits, which choose a table's row.
        constexpr Cmn_UInt64 cSpread = 0x9E3779B97F4A7C15;
        mHash = (mHash ^ static_cast<Cmn_UInt64>(iCount)) * cSpread;
        mHash ^= mHash >> 32;
    }
    std::size_t Get() const { return static_cast<std::size_t>(mHash); }

private:
    Cmn_UInt64 mHash = 1; // not 0, which counts of 0 would not move
};
