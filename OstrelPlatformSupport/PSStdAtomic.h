// PSStdAtomic: the atomics that lock-free structures are built from.
//
// Each of them is a template over such a family, so that the very code that ships also runs over atomics that
// stop before each operation and try every order of two or three threads (tests/Support/Interleaving.h).
#pragma once

#include <atomic>
#include <cstddef>

// The family that ships: the standard's.
template <class T>
using PSStdAtomic = std::atomic<T>;

// What one core writes and another one reads stands this far apart, so that neither
// waits for the other's line.
inline constexpr std::size_t cPSCacheLineBytes = 64;
