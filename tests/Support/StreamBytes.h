// StreamBytes: objects to bytes and back through their typed streams.
#pragma once

#include "Bastel/Sys/Sys_TypedStream.h"

#include <vector>

using Bytes = std::vector<Cmn_UInt8>;

template <class T>
Bytes Streamed(const T& iObject)
{
    Sys_MemOutStream bytes;
    Sys_TypedOutStream stream(bytes);
    iObject.StreamOut(stream);
    return bytes.TakeBytes();
}

template <class T>
void ReadBack(T& ioObject, const Bytes& iBytes)
{
    Sys_MemInStream bytes(iBytes);
    Sys_TypedInStream stream(bytes);
    ioObject.StreamIn(stream);
}
