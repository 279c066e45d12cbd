// PSAtomic_UInt32Semaphore: a count that many threads raise and lower, and that nobody waits for.
//
// Units:     any; the count is of 32 bits and wraps.
// Threads:   any. Every operation is sequentially consistent, so that a thread which counts itself in
//            and then looks at another word, and one which changes that word and then looks at the
//            count, do not miss each other.
// Real time: one instruction each; nothing is checked.
#pragma once

#include "Export/Kora_API.h"
#include "OstrelPlatformSupport/PSStdAtomic.h"

#include <cstdint>

template <template <class> class TAtomic>
class PSBasicAtomic_UInt32Semaphore
{
public:
    // Counts from iCount.
    explicit PSBasicAtomic_UInt32Semaphore(std::uint32_t iCount = 0)
        : mCount(iCount)
    {
    }
    PSBasicAtomic_UInt32Semaphore(const PSBasicAtomic_UInt32Semaphore&) = delete;
    PSBasicAtomic_UInt32Semaphore& operator=(const PSBasicAtomic_UInt32Semaphore&) = delete;

    // Returns the count that it made.
    std::uint32_t Add(std::uint32_t iCount = 1) KORA_NONBLOCKING { return mCount.fetch_add(iCount) + iCount; }
    // Returns the count that it made, which wraps below 0.
    std::uint32_t Subtract(std::uint32_t iCount = 1) KORA_NONBLOCKING
    {
        return mCount.fetch_sub(iCount) - iCount;
    }

    // The count at one moment.
    std::uint32_t Get() const KORA_NONBLOCKING { return mCount.load(); }

private:
    TAtomic<std::uint32_t> mCount;
};

// The count over the standard's atomics, which the library uses.
using PSAtomic_UInt32Semaphore = PSBasicAtomic_UInt32Semaphore<PSStdAtomic>;
