// Sys_VecUtils: arithmetic over whole arrays, in plain loops that compilers vectorise.
//
// Each operation is one pass: what it gives for an element is what the scalar function named beside it gives.
// Outputs must be as long as inputs ("oTo.size() == iFrom.size()" is asserted, and nothing is written).
// Real time: no allocation, no call to the system.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"
#include "Export/Kora_API.h"

#include <span>

enum Sys_ERounding : Cmn_Int32 {
    Sys_eRounding_Truncate = 0, // toward zero: Cmn_Float64ToInt64
    Sys_eRounding_HalfUp = 1,   // to the nearest, halves upward: Cmn_RoundHalfUp
    Sys_eRounding_Floor = 2,    // toward minus infinity: Cmn_FloorToInt64
};

class KORA_API Sys_VecUtils
{
public:
    // Cmn_WrapAdd and Cmn_WrapSub of each value and the constant.
    static void AddConstant(std::span<Cmn_Int64> ioValues, Cmn_Int64 iConstant);
    static void SubtractConstant(std::span<Cmn_Int64> ioValues, Cmn_Int64 iConstant);

    // The nearest double to each integer, ties to even.
    static void ConvertToFloat64(std::span<const Cmn_Int64> iFrom, std::span<double> oTo);
    // Out-of-range values saturate and NaN is 0. An unknown rounding is asserted and truncates.
    static void ConvertToInt64(std::span<const double> iFrom, std::span<Cmn_Int64> oTo,
                               Sys_ERounding iRounding);

    // value × iFactor + iOffset, rounded after the product and after the sum.
    static void MultiplyAndAdd(std::span<double> ioValues, double iFactor, double iOffset);

    // Exclusive or of each byte and the mask: done twice, it gives back what was there.
    static void XorConstant(std::span<Cmn_UInt8> ioBytes, Cmn_UInt8 iMask);
};
