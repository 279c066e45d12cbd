#include "Bastel/Sys/Sys_VecUtils.h"

void Sys_VecUtils::XorConstant(std::span<Cmn_UInt8> ioBytes, Cmn_UInt8 iMask)
{
    // Steps of a fixed length become whole registers from -O2 on.
    constexpr std::size_t cStep = 64;
    while (ioBytes.size() >= cStep) {
        for (Cmn_UInt8& byte : ioBytes.first<cStep>())
            byte ^= iMask;
        ioBytes = ioBytes.subspan(cStep);
    }
    for (Cmn_UInt8& byte : ioBytes)
        byte ^= iMask;
}
