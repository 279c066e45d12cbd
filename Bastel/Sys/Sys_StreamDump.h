// Sys_StreamDump: the text form of streamed bytes, for debuggers, logs and failing tests.
//
//   00000000  "Meter" version 2, 12 bytes
//     0000001e  01 00 00 00 04 00 00 00 04 00 00 00              ............
//   0000002a  07                                               .
//
// Headers stand at their offset with what they frame indented below; all other bytes are hexadecimal. A
// header that is not complete, or whose body does not fit, says so and is followed by what there is. Lists,
// items of lists, and whether sums fit stand behind the size.
// The text is bounded, whatever the bytes are.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"
#include "Export/Kora_API.h"

#include <span>
#include <string>

class KORA_API Sys_StreamDump
{
public:
    // Of each run of bytes at most cMaxRunBytes are shown, of the whole at most cMaxLines lines.
    static constexpr std::size_t cMaxRunBytes = 256;
    // More are cut off, and said so.
    static constexpr std::size_t cMaxLines = 1000;
    // Headers within headers that are followed.
    static constexpr int cMaxLevels = 16;

    // iSwap as it was for the typed stream that wrote the bytes.
    [[nodiscard]] static std::string ToText(std::span<const Cmn_UInt8> iBytes, bool iSwap = false);
};
