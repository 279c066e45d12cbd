#include "Bastel/Sys/Sys_VecUtils.h"

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Bastel/Cmn/Cmn_FloatMath.h"
#include "Bastel/Cmn/Cmn_IntMath.h"

#include <algorithm>

void Sys_VecUtils::AddConstant(std::span<Cmn_Int64> ioValues, Cmn_Int64 iConstant)
{
    for (Cmn_Int64& value : ioValues)
        value = Cmn_WrapAdd(value, iConstant);
}

void Sys_VecUtils::SubtractConstant(std::span<Cmn_Int64> ioValues, Cmn_Int64 iConstant)
{
    for (Cmn_Int64& value : ioValues)
        value = Cmn_WrapSub(value, iConstant);
}

void Sys_VecUtils::ConvertToFloat64(std::span<const Cmn_Int64> iFrom, std::span<double> oTo)
{
    if (!Cmn_ASSERT(oTo.size() == iFrom.size())) return;
    std::ranges::transform(iFrom, oTo.begin(), [](Cmn_Int64 iValue) { return static_cast<double>(iValue); });
}

void Sys_VecUtils::ConvertToInt64(std::span<const double> iFrom, std::span<Cmn_Int64> oTo,
                                  Sys_ERounding iRounding)
{
    if (!Cmn_ASSERT(oTo.size() == iFrom.size())) return;
    switch (iRounding) {
    case Sys_eRounding_HalfUp:
        std::ranges::transform(iFrom, oTo.begin(), [](double iValue) { return Cmn_RoundHalfUp(iValue); });
        return;
    case Sys_eRounding_Floor:
        std::ranges::transform(iFrom, oTo.begin(), [](double iValue) { return Cmn_FloorToInt64(iValue); });
        return;
    case Sys_eRounding_Truncate:
        break;
    default:
        Cmn_ASSERT_TEXT(false, "unknown rounding");
    }
    std::ranges::transform(iFrom, oTo.begin(), [](double iValue) { return Cmn_Float64ToInt64(iValue); });
}

void Sys_VecUtils::MultiplyAndAdd(std::span<double> ioValues, double iFactor, double iOffset)
{
    for (double& value : ioValues)
        value = value * iFactor + iOffset;
}

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
