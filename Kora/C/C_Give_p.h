// C_GiveBytes, C_GiveText: what has no fixed size, into a buffer of the caller's.
#pragma once

#include "Kora/C/C_Guard_p.h"

#include <cstring>
#include <string_view>

// The size goes out whatever becomes of the bytes; a capacity of 0 asks for it alone.
inline void C_GiveBytes(std::string_view iBytes, void* oBuffer, size_t iCapacity, size_t* oSize)
{
    size_t& size = C_Out(oSize, "size");
    C_Require(oBuffer != nullptr || iCapacity == 0, "buffer is null", KORA_NULL_ARGUMENT);
    size = iBytes.size();
    C_Require(iCapacity == 0 || iCapacity >= iBytes.size(), "the buffer is too small", KORA_TOO_SMALL);
    if (iCapacity > 0) std::memcpy(oBuffer, iBytes.data(), iBytes.size());
}

// With a zero behind it. The size, which may be null, is the bytes before the zero.
inline void C_GiveText(std::string_view iText, char* oBuffer, size_t iCapacity, size_t* oSize)
{
    C_Require(oBuffer != nullptr || iCapacity == 0, "buffer is null", KORA_NULL_ARGUMENT);
    if (oSize != nullptr) *oSize = iText.size();
    C_Require(iCapacity > iText.size(), "the buffer is too small", KORA_TOO_SMALL);
    std::memcpy(oBuffer, iText.data(), iText.size());
    oBuffer[iText.size()] = '\0';
}
