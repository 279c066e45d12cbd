// Time_TempoCurve: the course of a tempo over a stretch of ticks, and how long parts of it last.
//
// Tempi are integrated by a quadrature of products and quotients only: logarithms and cosines of the system's
// library differ between platforms, and what comes out is saved.
#pragma once

#include "Kora/Time/Tempo/Time_TempoEdit.h"

#include <algorithm>
#include <cmath>

class Time_TempoCurve
{
public:
    Time_TempoCurve(Time_TempoEdit::ECurve iCurve, double iStartTempo, double iEndTempo)
        : mCurve(iCurve)
        , mStart(iStartTempo)
        , mEnd(iEndTempo)
    {
    }

    // At a part of the stretch's ticks, from 0 to 1.
    double TempoAt(double iPart) const
    {
        switch (mCurve) {
        case Time_TempoEdit::eCurve_Linear:
            // The tempo's square is linear in ticks where the tempo is linear in time.
            return std::sqrt(mStart * mStart + (mEnd * mEnd - mStart * mStart) * iPart);
        case Time_TempoEdit::eCurve_S:
            return mStart + (mEnd - mStart) * HalfCosine(iPart);
        default:
            return mStart + (mEnd - mStart) * iPart;
        }
    }

    // The one tempo that makes a part last as long as the curve does over it.
    double MeanTempo(double iFrom, double iTo) const
    {
        if (mCurve == Time_TempoEdit::eCurve_S) return MeanOfS(iFrom, iTo);
        const double start = TempoAt(iFrom), end = TempoAt(iTo), middle = (start + end) / 2;
        if (mCurve == Time_TempoEdit::eCurve_Linear) return middle;
        // (end - start) / log(end / start), by the series of the area hyperbolic tangent where that
        // is exact to the last bit.
        const double z = (end - start) / (end + start), square = z * z;
        if (square > 1e-4) return (iTo - iFrom) / IntegralOfInverse(iFrom, iTo);
        return middle / (1 + square * (1.0 / 3 + square * (1.0 / 5 + square * (1.0 / 7))));
    }

private:
    // Where the tempo changes by less than a hundredth, two points are exact to some 1e-12.
    double MeanOfS(double iFrom, double iTo) const
    {
        constexpr double cShort = 0.02, cPoint = 0.2113248654051871; // (1 - sqrt(1 / 3)) / 2
        if ((iTo - iFrom) * Steepness() > cShort) return (iTo - iFrom) / IntegralOfInverse(iFrom, iTo);
        const double first = TempoAt(iFrom + (iTo - iFrom) * cPoint),
                     second = TempoAt(iTo - (iTo - iFrom) * cPoint);
        return 2 * first * second / (first + second);
    }

    // Pieces so short that the tempo changes little over each. Gauss's rule of five points.
    double IntegralOfInverse(double iFrom, double iTo) const
    {
        const int count = 1 + static_cast<int>((iTo - iFrom) * Steepness());
        const double width = (iTo - iFrom) / count;
        double sum = 0;
        for (int i = 0; i < count; ++i)
            sum += GaussOfInverse(iFrom + i * width, width);
        return sum;
    }

    double Steepness() const { return std::max(16.0, 8 * std::abs(mEnd - mStart) / std::min(mStart, mEnd)); }

    double GaussOfInverse(double iFrom, double iWidth) const
    {
        constexpr struct
        {
            double mOffset;
            double mWeight;
        } cPoints[] = {
            {-0.9061798459386640, 0.2369268850561891},
            {-0.5384693101056831, 0.4786286704993665},
            {0.0, 0.5688888888888889},
            {0.5384693101056831, 0.4786286704993665},
            {0.9061798459386640, 0.2369268850561891},
        };
        double sum = 0;
        for (const auto& point : cPoints)
            sum += point.mWeight / TempoAt(iFrom + iWidth * (1 + point.mOffset) / 2);
        return sum * iWidth / 2;
    }

    // (1 - cos(x pi)) / 2 for x from 0 to 1, which is the square of sin(x pi / 2), and as far from 1 as 1 - x
    // is from 0. By the sine's power series: up to a half, the terms beyond are below the last bit.
    static double HalfCosine(double iPart)
    {
        // 1 / n! for odd n, with the series' signs, from the last one on.
        constexpr double cInverseFactorials[] = {
            -1.0 / 1307674368000.0, // 15!
            1.0 / 6227020800.0,
            -1.0 / 39916800.0,
            1.0 / 362880.0,
            -1.0 / 5040.0,
            1.0 / 120.0,
            -1.0 / 6.0,
            1.0,
        };
        const double x = std::min(iPart, 1 - iPart) * 1.5707963267948966, square = x * x;
        double sum = 0;
        for (const double coefficient : cInverseFactorials)
            sum = sum * square + coefficient;
        const double sine = sum * x;
        return iPart > 0.5 ? 1 - sine * sine : sine * sine;
    }

    Time_TempoEdit::ECurve mCurve;
    double mStart;
    double mEnd;
};
