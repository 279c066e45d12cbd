// PSPrefetch: asks for a line of memory before it is needed, so that several lines travel at once. Only a hint: any
// address will do, and nothing else changes.
#pragma once

#if defined(_MSC_VER) && !defined(__clang__)
#include <intrin.h>
#endif

inline void PSPrefetch(const void* iLine)
{
#if defined(_MSC_VER) && !defined(__clang__)
    _mm_prefetch(static_cast<const char*>(iLine), _MM_HINT_T0);
#else
    __builtin_prefetch(iLine);
#endif
}

// As the one owner, so that a store does not have to ask again.
inline void PSPrefetchForWrite(const void* iLine)
{
#if defined(_MSC_VER) && !defined(__clang__)
    _m_prefetchw(iLine);
#elif defined(__x86_64__)
    // The compiler has this instruction for newer processors only; older ones do nothing.
    asm volatile("prefetchw %0" ::"m"(*static_cast<const char*>(iLine)));
#else
    __builtin_prefetch(iLine, 1);
#endif
}
