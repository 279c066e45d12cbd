#include "Kora/Time/Convert/Time_PixelMapper.h"

#include "Bastel/Cmn/Cmn_FloatMath.h"

#include <algorithm>

namespace {

constexpr double cFirstSamplesPerPixel = 1000;
constexpr double cFirstTicksPerPixel = 10000;

bool IsZoom(double iUnits)
{
    return Cmn_ASSERT_TEXT(iUnits > 0 && iUnits <= (std::numeric_limits<double>::max)(), "iUnits > 0");
}

} // namespace

Time_PixelMapper::Time_PixelMapper(const Time_Converter& iConverter, EAxis iAxis)
    : mConverter(&iConverter)
    , mAxis(iAxis)
    , mUnitsPerPixel(iAxis == eAxis_Time ? cFirstSamplesPerPixel : cFirstTicksPerPixel)
    , mOrigin(iConverter.GetBarOneTime(GetAxisType()).AsInt64())
{
}

Cmn_Int64 Time_PixelMapper::ToAxis(const Time_Typed& iTime) const
{
    return mConverter->ToType(iTime, GetAxisType()).AsInt64();
}

Cmn_Int64 Time_PixelMapper::AxisToNearestPixel(Cmn_Int64 iCount) const
{
    return Cmn_WrapSub(Cmn_RoundHalfUp(Unscrolled(iCount)), mWholeScroll);
}

void Time_PixelMapper::SetScroll(double iPixels)
{
    mWholeScroll = Cmn_FloorToInt64(iPixels);
    mPartScroll = iPixels - static_cast<double>(mWholeScroll);
}

void Time_PixelMapper::SetUnitsPerPixel(double iUnits)
{
    if (IsZoom(iUnits)) ZoomAbout(0.0, mUnitsPerPixel / iUnits);
}

void Time_PixelMapper::Show(const Time_Range& iRange, double iWidth)
{
    const Cmn_Int64 from = ToAxis(iRange.GetStart());
    const auto length = static_cast<double>(Cmn_WrapSub(ToAxis(iRange.GetEnd()), from));
    if (!IsZoom(length / iWidth)) return;
    mUnitsPerPixel = length / iWidth;
    ScrollTo(iRange.GetStart());
}

void Time_PixelMapper::ScrollTo(const Time_Typed& iTime, double iPixel)
{
    SetScroll(static_cast<double>(Cmn_WrapSub(ToAxis(iTime), mOrigin)) / mUnitsPerPixel - iPixel);
}

void Time_PixelMapper::ZoomAbout(double iPixel, double iFactor)
{
    if (!IsZoom(iFactor) || !IsZoom(mUnitsPerPixel / iFactor)) return;
    // From the origin to the pixel, before and then.
    const double distance = static_cast<double>(mWholeScroll) + mPartScroll + iPixel;
    mUnitsPerPixel /= iFactor;
    SetScroll(distance * iFactor - iPixel);
}

Time_Typed Time_PixelMapper::ToTime(double iPixel, Time_EType iType) const
{
    const double distance = (static_cast<double>(mWholeScroll) + mPartScroll + iPixel) * mUnitsPerPixel;
    const auto limit = static_cast<double>(Time_Typed::MaxTime(Time_eType_Ticks).AsInt64());
    const Cmn_Int64 count = Cmn_WrapAdd(Cmn_RoundHalfUp(std::clamp(distance, -limit, limit)), mOrigin);
    const Cmn_Int64 end = mAxis == eAxis_Time ? Time_Typed::MaxTime(Time_eType_Samples).AsInt64()
                                              : Time_Typed::MaxTime(Time_eType_Ticks).AsInt64();
    return mConverter->ToType(Time_Typed(std::clamp(count, -end, end), GetAxisType()), iType);
}

Time_Range Time_PixelMapper::GetVisible(double iWidth) const
{
    const Time_Typed from = ToTime(0, GetAxisType());
    return Time_Range(from, std::max(from, ToTime(iWidth, GetAxisType())));
}
