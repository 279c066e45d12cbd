// Time_VectorLoop: the loop of the vector kernels, over the lanes of one instruction set.
//
// Only the kernel files include this. Lanes is a type of the including file's unnamed namespace, so that each
// instantiation stays inside its file: one of them is compiled for processors that others must not assume.
// For the same reason nothing here calls an inline function of another header.
#pragma once

#include "Kora/Time/Numeric/Time_VectorKernels_p.h"

// Lanes offers Int and Double, cCount, and the operations used below.
template <class Lanes>
static std::size_t Time_VectorLoop(const Time_VectorLine& iLine, Cmn_Int64* ioTimes, std::size_t iCount)
{
    using Int = typename Lanes::Int;
    using Double = typename Lanes::Double;
    constexpr std::size_t cCount = Lanes::cCount;
    constexpr int cAll = (1 << cCount) - 1;

    const Double magic = Lanes::Set(6755399441055744.0); // 1.5 × 2^52
    const Int magicBits = Lanes::Bits(magic);
    const Int origin = Lanes::Sub(Lanes::SetInt(iLine.mOrigin), magicBits);
    const Int resultOrigin = Lanes::Sub(Lanes::SetInt(iLine.mResultOrigin), magicBits);
    const Double begin = Lanes::Set(iLine.mBegin), end = Lanes::Set(iLine.mEnd);
    const Double offset = Lanes::Set(iLine.mOffset), slope = Lanes::Set(iLine.mSlope);
    const Double shift = Lanes::Set(iLine.mShift), limit = Lanes::Set(iLine.mLimit);
    const Double half = Lanes::Set(0.5), exact = Lanes::Set(Time_VectorLine::cExact);

    const auto convert = [&](const Cmn_Int64* iTimes, Int& oResults) {
        // An integer beyond ±2^51 becomes some double outside [begin, end).
        const Double value = Lanes::Sub(Lanes::AsDouble(Lanes::Sub(Lanes::Load(iTimes), origin)), magic);
        const Double scaled = Lanes::Mul(Lanes::Sub(value, offset), slope);
        const Double whole = Lanes::Floor(Lanes::Add(Lanes::Add(scaled, shift), half), magic);
        const Double limited = Lanes::Min(limit, whole); // no number stays none
        oResults = Lanes::Add(Lanes::Bits(Lanes::Add(limited, magic)), resultOrigin);
        const Double holds = Lanes::And(Lanes::NotBelow(value, begin), Lanes::Below(value, end));
        return Lanes::Mask(Lanes::And(holds, Lanes::Below(Lanes::Magnitude(limited), exact)));
    };

    std::size_t done = 0;
    Int results;
    for (; done + cCount <= iCount; done += cCount) {
        const int mask = convert(ioTimes + done, results);
        if (mask != cAll) [[unlikely]] {
            Cmn_Int64 leading[cCount];
            Lanes::Store(leading, results);
            for (std::size_t lane = 0; (mask >> lane & 1) != 0; ++lane)
                ioTimes[done++] = leading[lane];
            return done;
        }
        Lanes::Store(ioTimes + done, results);
    }
    // Fewer than a vector are left.
    while (done < iCount) {
        Cmn_Int64 lanes[cCount] = {ioTimes[done]};
        if ((convert(lanes, results) & 1) == 0) break;
        Lanes::Store(lanes, results);
        ioTimes[done++] = lanes[0];
    }
    return done;
}
