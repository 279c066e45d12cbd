// StreamBytes: objects to bytes and back through their typed streams.
#pragma once

#include "Bastel/Sys/Sys_TypedStream.h"

#include <cctype>
#include <string>
#include <string_view>
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

// How many bytes the object took.
template <class T>
Cmn_Int64 ReadBack(T& ioObject, const Bytes& iBytes)
{
    Sys_MemInStream bytes(iBytes);
    Sys_TypedInStream stream(bytes);
    ioObject.StreamIn(stream);
    return stream.GetPosition();
}

// Bytes from pairs of hexadecimal digits; anything else parts them.
inline Bytes FromHex(std::string_view iText)
{
    std::string digits;
    for (const char c : iText)
        if (std::isxdigit(static_cast<unsigned char>(c))) digits += c;
    Bytes bytes;
    for (std::size_t i = 0; i < digits.size(); i += 2)
        bytes.push_back(static_cast<Cmn_UInt8>(std::stoi(digits.substr(i, 2), nullptr, 16)));
    return bytes;
}
