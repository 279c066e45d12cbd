#include "Tool/Tool_Seconds.h"

#include "Bastel/Cmn/Cmn_FloatMath.h"
#include "Bastel/Cmn/Cmn_IntMath.h"
#include "Tool/Tool_Text.h"

#include <algorithm>
#include <charconv>

namespace {

bool IsDigits(std::string_view iText)
{
    return std::all_of(iText.begin(), iText.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// Sample = whole + fraction, where the fraction is only known to lie below, at or above one half.
struct ExactSample
{
    Cmn_Int64 mWhole = 0;
    int mFractionToHalf = -1; // -1 below one half, 0 at it, 1 above it
};

// 0.iDigits × iRate by school multiplication, from the last digit: each step leaves one digit of the
// product's fraction behind and carries the rest, which stays below iRate.
ExactSample MultiplyFraction(std::string_view iDigits, Cmn_Int64 iRate)
{
    Cmn_Int64 carry = 0;
    Cmn_Int64 topDigit = 0;
    bool restIsZero = true;
    for (auto digit = iDigits.rbegin(); digit != iDigits.rend(); ++digit) {
        restIsZero = restIsZero && topDigit == 0;
        const Cmn_Int64 product = (*digit - '0') * iRate + carry;
        topDigit = product % 10;
        carry = product / 10;
    }
    const int toHalf = topDigit < 5 ? -1 : topDigit > 5 || !restIsZero ? 1 : 0;
    return {carry, toHalf};
}

} // namespace

Tool_Seconds::Tool_Seconds(double iSampleRate)
    : mRate(iSampleRate)
    , mWholeRate(Cmn_Float64ToInt64(iSampleRate))
{
    if (static_cast<double>(mWholeRate) != mRate) mWholeRate = 0;
}

bool Tool_Seconds::Parse(std::string_view iText, Cmn_Int64& oSample) const
{
    const bool isNegative = !iText.empty() && iText.front() == '-';
    const std::string_view magnitude = iText.substr(isNegative ? 1 : 0);
    const std::size_t point = std::min(magnitude.find('.'), magnitude.size());
    const std::string_view wholeDigits = magnitude.substr(0, point);
    const std::string_view fractionDigits = magnitude.substr(std::min(point + 1, magnitude.size()));
    if (wholeDigits.empty() && fractionDigits.empty()) return false;
    if (!IsDigits(wholeDigits) || !IsDigits(fractionDigits)) return false;

    Cmn_Int64 seconds = 0;
    for (const char digit : wholeDigits) {
        seconds = seconds * 10 + (digit - '0');
        if (seconds > cMaxSeconds) return false;
    }
    if (mWholeRate == 0) {
        double value = 0;
        std::from_chars(magnitude.data(), magnitude.data() + magnitude.size(), value);
        oSample = Cmn_RoundHalfUp((isNegative ? -value : value) * mRate);
        return true;
    }
    const ExactSample fraction = MultiplyFraction(fractionDigits, mWholeRate);
    const Cmn_Int64 below = seconds * mWholeRate + fraction.mWhole; // at most 2^40 × 768000 + 768000
    if (isNegative)
        oSample = -(below + (fraction.mFractionToHalf > 0 ? 1 : 0)); // halves upward: toward 0
    else
        oSample = below + (fraction.mFractionToHalf >= 0 ? 1 : 0);
    return true;
}

Cmn_Int64 Tool_Seconds::ToUnits(Cmn_Int64 iSample, Cmn_Int64 iUnitsPerSecond) const
{
    if (mWholeRate == 0)
        return Cmn_RoundHalfUp(static_cast<double>(iSample) * static_cast<double>(iUnitsPerSecond) / mRate);
    return Cmn_FloorDiv(2 * iSample * iUnitsPerSecond + mWholeRate, 2 * mWholeRate);
}

void Tool_Seconds::Append(Cmn_Int64 iSample, std::string& ioText) const
{
    const Cmn_Int64 microseconds = ToUnits(iSample, 1000000);
    const Cmn_Int64 magnitude = microseconds < 0 ? -microseconds : microseconds;
    if (microseconds < 0) ioText += '-';
    Tool_AppendInteger(magnitude / 1000000, ioText);
    ioText += '.';
    Tool_AppendPadded(magnitude % 1000000, 6, ioText);
}

std::string Tool_Seconds::MinutesAndSeconds(Cmn_Int64 iSample) const
{
    const Cmn_Int64 milliseconds = ToUnits(iSample, 1000);
    const Cmn_Int64 magnitude = milliseconds < 0 ? -milliseconds : milliseconds;
    std::string text(milliseconds < 0 ? "-" : "");
    Tool_AppendInteger(magnitude / 60000, text);
    text += ':';
    Tool_AppendPadded(magnitude / 1000 % 60, 2, text);
    text += '.';
    Tool_AppendPadded(magnitude % 1000, 3, text);
    return text;
}
