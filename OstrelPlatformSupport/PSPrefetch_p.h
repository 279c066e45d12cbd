// PSPrefetch: asks for a line of memory before it is needed, so that several lines travel at once. Only a hint: any
// address will do, nothing else changes, and a compiler that has no word for it leaves it out.
#pragma once

inline void PSPrefetch([[maybe_unused]] const void* iLine)
{
#if defined(__GNUC__)
    __builtin_prefetch(iLine);
#endif
}

// As the one owner, so that a store does not have to ask again.
inline void PSPrefetchForWrite([[maybe_unused]] const void* iLine)
{
#if defined(__GNUC__) && defined(__x86_64__)
    // The compiler's own word means this instruction for newer processors only; older ones do nothing.
    asm volatile("prefetchw %0" ::"m"(*static_cast<const char*>(iLine)));
#elif defined(__GNUC__)
    __builtin_prefetch(iLine, 1);
#endif
}
