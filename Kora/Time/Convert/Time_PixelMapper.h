// Time_PixelMapper: where times are on a time line that is drawn, at a zoom and a place of scrolling.
//
//     axis      |   linear in                 | zoom in
//     time      |   samples: a second is as wide everywhere, bars are as wide as they last
//     bars      |   ticks: a quarter note is as wide everywhere
//
// Units:      pixels from the left edge of the view, as doubles; they may lie outside of it. The zoom is in
//             samples or ticks a pixel, by the axis.
// Scrolling:  moves every whole pixel alike: times keep their distances in whole pixels (ToNearestPixel), and
//             come back to the very pixel.
// Zooming:    about a pixel or a time keeps what is there in its place, to the rounding of doubles.
// Range:      exact to a hundredth of a pixel within 24 hours of the song's start, down to a thousandth of a
//             tick or sample a pixel.
// Threads:    as Time_Converter.
// Ownership:  borrows the converter.
#pragma once

#include "Kora/Time/Convert/Time_Converter.h"
#include "Kora/Time/Values/Time_Range.h"

class KORA_API Time_PixelMapper
{
public:
    // What is as wide everywhere: a second, or a quarter note.
    enum EAxis : Cmn_Int32 { eAxis_Time, eAxis_Bars };

    // At 1000 samples or 10000 ticks a pixel, with the song's start at pixel 0.
    explicit Time_PixelMapper(const Time_Converter& iConverter, EAxis iAxis = eAxis_Time);

    EAxis GetAxis() const { return mAxis; }
    // The unit that is linear along the axis: samples or ticks.
    Time_EType GetAxisType() const { return mAxis == eAxis_Time ? Time_eType_Samples : Time_eType_Ticks; }
    double GetUnitsPerPixel() const { return mUnitsPerPixel; }

    // The zoom alone; the time at pixel 0 stays. What is not above 0 and finite asserts "iUnits > 0" and
    // changes nothing.
    void SetUnitsPerPixel(double iUnits);
    // A range from pixel 0 to a width, which is above 0.
    void Show(const Time_Range& iRange, double iWidth);
    // Puts a time at a pixel.
    void ScrollTo(const Time_Typed& iTime, double iPixel = 0);
    // The picture moves to the left by so many pixels, to the right where they are negative.
    void ScrollBy(Cmn_Int64 iPixels) { mWholeScroll = Cmn_WrapAdd(mWholeScroll, iPixels); }
    // A factor above 1 makes everything wider. What is not above 0 and finite asserts "iUnits > 0".
    void ZoomAbout(double iPixel, double iFactor);
    void ZoomAbout(const Time_Typed& iTime, double iFactor) { ZoomAbout(ToPixel(iTime), iFactor); }

    // Where a time is, with the part of a pixel.
    double ToPixel(const Time_Typed& iTime) const { return AxisToPixel(ToAxis(iTime)); }
    // Halves upward.
    Cmn_Int64 ToNearestPixel(const Time_Typed& iTime) const { return AxisToNearestPixel(ToAxis(iTime)); }
    // The nearest sample or tick of the axis, in any unit. Past the time line's ends it is the end.
    Time_Typed ToTime(double iPixel, Time_EType iType) const;
    // The times of [0, iWidth) in the axis's unit.
    Time_Range GetVisible(double iWidth) const;

    // A time as a count of the axis's unit.
    Cmn_Int64 ToAxis(const Time_Typed& iTime) const;
    // ToPixel of such a count.
    double AxisToPixel(Cmn_Int64 iCount) const
    {
        return Unscrolled(iCount) - static_cast<double>(mWholeScroll);
    }
    // ToNearestPixel of such a count.
    Cmn_Int64 AxisToNearestPixel(Cmn_Int64 iCount) const;

private:
    // In pixels, without the whole ones that were scrolled away.
    double Unscrolled(Cmn_Int64 iCount) const
    {
        return static_cast<double>(Cmn_WrapSub(iCount, mOrigin)) / mUnitsPerPixel - mPartScroll;
    }
    void SetScroll(double iPixels);

    const Time_Converter* mConverter;
    EAxis mAxis;
    double mUnitsPerPixel;
    Cmn_Int64 mOrigin; // the song's start, from which doubles count
    Cmn_Int64 mWholeScroll = 0;
    double mPartScroll = 0; // [0, 1)
};
