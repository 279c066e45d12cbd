// Sys_StdStreamHeaderFields: a standard stream header as it stands in the bytes, for what reads and writes headers.
#pragma once

#include "Bastel/Sys/Sys_TypedStream.h"

#include <array>
#include <string>

struct Sys_StdStreamHeaderFields
{
    // Fixed on disk.
    static constexpr std::array<char, 4> cMagic = {'K', 'S', 'H', '1'};
    static constexpr std::size_t cMaxName = 255;
    static constexpr Cmn_UInt16 cFlagComplete = 1;
    static constexpr Cmn_UInt16 cFlagList = 2;
    static constexpr Cmn_UInt16 cFlagSums = 4;
    static constexpr Cmn_UInt32 cUnknownSize = 0xFFFFFFFF;
    static constexpr Cmn_Int64 cBlockSize = 14; // from the flags to the body

    std::string name;
    Cmn_Int16 version = 0;
    Cmn_UInt32 listIndex = 0;
    Cmn_UInt16 flags = 0;
    Cmn_UInt32 bodySize = cUnknownSize;
    Cmn_UInt32 bodySum = 0;
    Cmn_UInt32 headerSum = 0;

    // Magic and name; throws Sys_StreamReadException where there are none.
    static std::string ReadName(Sys_TypedInStream& ioStream);
    // The whole header, whatever its fields hold.
    static Sys_StdStreamHeaderFields Read(Sys_TypedInStream& ioStream);

    // True for what a writer leaves behind when it has finished a body of at most iBytesLeft bytes.
    bool IsSound(Cmn_Int64 iBytesLeft) const;

    // Everything up to the flags, and the block from the flags on, which is written again with the size.
    void WriteFront(Sys_TypedOutStream& ioStream) const;
    void WriteBlock(Sys_TypedOutStream& ioStream) const;
};
