#include "Bastel/Sys/Sys_Utils.h"

std::string Sys_Utils_OSTypeToString(Cmn_Int32 iCode)
{
    const auto bits = static_cast<Cmn_UInt32>(iCode);
    std::string text(4, '.');
    for (unsigned i = 0; i < 4; ++i) {
        const auto byte = static_cast<char>(bits >> (24 - 8 * i) & 0xFF);
        if (byte >= ' ' && byte <= '~') text[i] = byte;
    }
    return text;
}
