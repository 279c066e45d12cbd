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
        case Time_TempoEdit::eCurve_S: {
            const double sine = SineOfQuarters(iPart); // (1 - cos(pi x)) / 2 is the square of sin(pi x / 2)
            return mStart + (mEnd - mStart) * sine * sine;
        }
        default:
            return mStart + (mEnd - mStart) * iPart;
        }
    }

    // The one tempo that makes a part last as long as the curve does over it.
    double MeanTempo(double iFrom, double iTo) const
    {
        if (mCurve == Time_TempoEdit::eCurve_Linear) return (TempoAt(iFrom) + TempoAt(iTo)) / 2;
        return (iTo - iFrom) / IntegralOfInverse(iFrom, iTo);
    }

private:
    // Pieces so short that the tempo changes little over each.
    double IntegralOfInverse(double iFrom, double iTo) const
    {
        const double steepness = 8 * std::abs(mEnd - mStart) / std::min(mStart, mEnd);
        const int count = 1 + static_cast<int>((iTo - iFrom) * std::max(16.0, steepness));
        const double width = (iTo - iFrom) / count;
        double sum = 0;
        for (int i = 0; i < count; ++i)
            sum += GaussOfInverse(iFrom + i * width, width);
        return sum;
    }

    // Gauss's rule of five points.
    double GaussOfInverse(double iFrom, double iWidth) const
    {
        constexpr struct
        {
            double mOffset, mWeight;
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

    // sin(x pi / 2) for x from 0 to 1, by its power series: the terms beyond are below the last bit.
    static double SineOfQuarters(double iPart)
    {
        const double x = iPart * 1.5707963267948966;
        double term = x, sum = x;
        for (int i = 2; i < 26; i += 2) {
            term *= -x * x / (i * (i + 1));
            sum += term;
        }
        return sum;
    }

    Time_TempoEdit::ECurve mCurve;
    double mStart;
    double mEnd;
};
