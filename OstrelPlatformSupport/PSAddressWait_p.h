// PSAddressWait: sleeping until a word in memory changes, the one primitive that the platforms supply here.
//
// The address is only a key: a wake-up touches no memory, so the word may be gone by then. Sleepers wake for
// no reason at times; they look at the word and sleep again.
#pragma once

#include <atomic>
#include <cstdint>

// Sleeps while iWord equals iValue, until PSWakeOne, a time-out (-1: none) or for no reason at all.
void PSSleepWhileEqual(const std::atomic<std::uint32_t>& iWord, std::uint32_t iValue,
                       std::int32_t iTimeoutMs);

// Wakes one thread that sleeps on the word.
void PSWakeOne(const std::atomic<std::uint32_t>* iWord);

// Never 0, and unique among the threads alive.
std::uintptr_t PSGetCurrentThreadID();
