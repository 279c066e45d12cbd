// Integers of 1 to 8 bytes as they stand in streams: little-endian, or big-endian where iSwap says so.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"

#include <bit>
#include <cstring>
#include <type_traits>

template <class T>
T Sys_LoadInteger(const Cmn_UInt8* iFrom, bool iSwap)
{
    using U = std::make_unsigned_t<T>;
    U value;
    std::memcpy(&value, iFrom, sizeof value);
    if (sizeof(T) > 1 && (std::endian::native == std::endian::big) != iSwap) {
        Cmn_UInt64 reversed = 0;
        for (std::size_t i = 0; i < sizeof(T); ++i)
            reversed = reversed << 8 | (Cmn_UInt64{value} >> (8 * i) & 0xFF);
        value = static_cast<U>(reversed);
    }
    return static_cast<T>(value);
}

template <class T>
void Sys_StoreInteger(Cmn_UInt8* oTo, T iValue, bool iSwap)
{
    Cmn_UInt8 bytes[sizeof(T)];
    std::memcpy(bytes, &iValue, sizeof(T));
    // Reversing is its own inverse, so that loading gives the bytes to store.
    const T stored = Sys_LoadInteger<T>(bytes, iSwap);
    std::memcpy(oTo, &stored, sizeof(T));
}

// The number whose bytes, lowest first, are those that Sys_StoreInteger puts. Small fields that are put together in
// one such number and stored at once can be loaded at once: a processor waits where it has to gather a word from
// several stores that it has just made.
template <class T>
Cmn_UInt64 Sys_StoredBits(T iValue, bool iSwap)
{
    Cmn_UInt8 bytes[sizeof(T)];
    Sys_StoreInteger(bytes, iValue, iSwap);
    return Sys_LoadInteger<std::make_unsigned_t<T>>(bytes, false);
}

// memcpy for bytes that mostly are an integer's: those in one piece and without a call.
inline void Sys_CopyBytes(void* oTo, const void* iFrom, std::size_t iCount)
{
    switch (iCount) {
    case 2:
        std::memcpy(oTo, iFrom, 2);
        return;
    case 4:
        std::memcpy(oTo, iFrom, 4);
        return;
    case 8:
        std::memcpy(oTo, iFrom, 8);
        return;
    default:
        std::memcpy(oTo, iFrom, iCount);
    }
}
