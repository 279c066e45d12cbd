// SDS_InterleavingPoint: a place between two steps of a protocol where another thread may come in
// between. Debug and sanitizer builds call a hook there, by which tests force threads to change;
// release builds have nothing.
#pragma once

#include "Kora/SDS/Source/SDS_TokenDispatcher.h"

inline void SDS_InterleavingPoint()
{
#ifdef KORA_INTERLEAVING_POINTS
    SDS_TokenDispatcher::CallInterleavingHook();
#endif
}
