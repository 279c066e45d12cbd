// Time_Range: a half-open stretch [start, end) of one unit of time.
//
//     a            [0 ──────── 8)
//     b                  [5 ──────── 12)
//     a ∩ b              [5 ── 8)
//     hull of both [0 ────────────── 12)
//     a − b        [0 ── 5)
//
// Units:   samples, ticks or frames, by GetType. Two units in one operation are reported as
//          "time_type_mismatch"; it then works on the raw counts and keeps the left one's unit.
// Empty:   a range whose end is its start holds nothing, and is in every range. Operations give an empty range
//          where nothing is left, at the later of the two starts.
// Threads: a plain value.
#pragma once

#include "Kora/Time/Values/Time_Typed.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <ranges>

class Time_StepView;

class [[nodiscard]] Time_Range
{
public:
    // Empty, at 0 samples.
    constexpr Time_Range() = default;
    // An end before the start asserts "iStart <= iEnd", and the range is empty.
    constexpr Time_Range(const Time_Typed& iStart, const Time_Typed& iEnd)
        : mStart(iStart)
        , mEnd(iEnd.AsInt64(), iStart.GetType())
    {
        CheckSameType(iStart, iEnd);
        if (!Cmn_ASSERT_AS(iStart.AsInt64() <= iEnd.AsInt64(), "iStart <= iEnd", "Time/Time_Range"))
            mEnd = mStart;
    }

    constexpr Time_EType GetType() const { return mStart.GetType(); }
    constexpr const Time_Typed& GetStart() const { return mStart; }
    constexpr const Time_Typed& GetEnd() const { return mEnd; }
    // Wraps in 64 bits, as differences of times do.
    constexpr Time_TypedLength GetLength() const { return mEnd - mStart; }
    [[nodiscard]] constexpr bool IsEmpty() const { return mStart.AsInt64() == mEnd.AsInt64(); }

    // The end is no part of it.
    [[nodiscard]] constexpr bool Contains(const Time_Typed& iTime) const
    {
        CheckSameType(mStart, iTime);
        return iTime.AsInt64() >= From() && iTime.AsInt64() < To();
    }
    // Whether all of the other is in it; an empty range always is.
    [[nodiscard]] constexpr bool Contains(const Time_Range& iOther) const
    {
        CheckSameType(mStart, iOther.mStart);
        return iOther.IsEmpty() || (iOther.From() >= From() && iOther.To() <= To());
    }
    // Whether some time is in both.
    [[nodiscard]] constexpr bool Intersects(const Time_Range& iOther) const
    {
        return !Intersection(iOther).IsEmpty();
    }

    // The times in both.
    [[nodiscard]] constexpr Time_Range Intersection(const Time_Range& iOther) const
    {
        CheckSameType(mStart, iOther.mStart);
        const Cmn_Int64 from = (std::max)(From(), iOther.From());
        return Of(from, (std::max)(from, (std::min)(To(), iOther.To())));
    }
    // The shortest range that holds both; where one is empty, the other.
    [[nodiscard]] constexpr Time_Range Hull(const Time_Range& iOther) const
    {
        CheckSameType(mStart, iOther.mStart);
        if (iOther.IsEmpty()) return *this;
        if (IsEmpty()) return Of(iOther.From(), iOther.To());
        return Of((std::min)(From(), iOther.From()), (std::max)(To(), iOther.To()));
    }
    // What is left without the other: before it and behind it, each of which may be empty.
    [[nodiscard]] constexpr std::array<Time_Range, 2> Difference(const Time_Range& iOther) const
    {
        CheckSameType(mStart, iOther.mStart);
        if (iOther.IsEmpty()) return {*this, Of(To(), To())};
        const Cmn_Int64 before = std::clamp(iOther.From(), From(), To());
        const Cmn_Int64 behind = std::clamp(iOther.To(), From(), To());
        return {Of(From(), before), Of(behind, To())};
    }
    // The time of the range that is nearest: itself, the start, or the last before the end; of an empty range
    // its start.
    constexpr Time_Typed Clip(const Time_Typed& iTime) const
    {
        CheckSameType(mStart, iTime);
        const Cmn_Int64 last = IsEmpty() ? From() : To() - 1;
        return Time_Typed(std::clamp(iTime.AsInt64(), From(), last), GetType());
    }
    // Both ends moved. Where one would pass the ends of 64 bits, it stays there.
    [[nodiscard]] constexpr Time_Range Moved(const Time_TypedLength& iLength) const
    {
        CheckSameType(mStart, iLength);
        return Of(SaturatingAdd(From(), iLength.AsInt64()), SaturatingAdd(To(), iLength.AsInt64()));
    }

    // The times from the start on, a step apart, up to the last before the end: a random-access view that
    // allocates nothing. A step not above 0 asserts "iStep > 0", and the view is empty.
    [[nodiscard]] constexpr Time_StepView Steps(const Time_TypedLength& iStep) const;

    // Start, end and unit; empty ranges at two places are not equal.
    friend constexpr bool operator==(const Time_Range& iA, const Time_Range& iB)
    {
        return iA.GetType() == iB.GetType() && iA.From() == iB.From() && iA.To() == iB.To();
    }

    // "[0, 48000) Samples"
    [[nodiscard]] std::string Dump() const
    {
        return "[" + std::to_string(From()) + ", " +
               Time_TypedDefs::Dump(To(), GetType()).insert(std::to_string(To()).size(), ")");
    }
    // What Dump gives. Ask for <ostream> yourself.
    template <class Stream>
    friend Stream& operator<<(Stream& ioStream, const Time_Range& iRange)
    {
        ioStream << iRange.Dump();
        return ioStream;
    }

private:
    template <class A, class B>
    static constexpr void CheckSameType(const A& iA, const B& iB)
    {
        Cmn_ASSERT_AS(iA.GetType() == iB.GetType(), "time_type_mismatch", "time/Time_TypedBase");
    }
    static constexpr Cmn_Int64 SaturatingAdd(Cmn_Int64 iA, Cmn_Int64 iB)
    {
        const Cmn_Int64 sum = Cmn_WrapAdd(iA, iB);
        if (iB >= 0) return sum >= iA ? sum : (std::numeric_limits<Cmn_Int64>::max)();
        return sum < iA ? sum : (std::numeric_limits<Cmn_Int64>::min)();
    }
    constexpr Cmn_Int64 From() const { return mStart.AsInt64(); }
    constexpr Cmn_Int64 To() const { return mEnd.AsInt64(); }
    constexpr Time_Range Of(Cmn_Int64 iFrom, Cmn_Int64 iTo) const
    {
        return Time_Range(Time_Typed(iFrom, GetType()), Time_Typed(iTo, GetType()));
    }

    Time_Typed mStart;
    Time_Typed mEnd;
};

// What Time_Range::Steps gives.
class Time_StepView
{
public:
    class Iterator
    {
    public:
        using value_type = Time_Typed;
        using difference_type = Cmn_Int64;
        using iterator_concept = std::random_access_iterator_tag;
        using iterator_category = std::input_iterator_tag; // references are values

        constexpr Iterator() = default;
        // At start + step · index.
        constexpr Iterator(const Time_Typed& iStart, Cmn_Int64 iStep, Cmn_Int64 iIndex)
            : mStart(iStart)
            , mStep(iStep)
            , mIndex(iIndex)
        {
        }
        constexpr Time_Typed operator*() const { return (*this)[0]; }
        constexpr Time_Typed operator[](Cmn_Int64 iOffset) const
        {
            return Time_Typed(Cmn_WrapAdd(mStart.AsInt64(), Cmn_WrapMul(mIndex + iOffset, mStep)),
                              mStart.GetType());
        }
        constexpr Iterator& operator++() { return *this += 1; }
        constexpr Iterator& operator--() { return *this -= 1; }
        constexpr Iterator operator++(int) { return Iterator(mStart, mStep, mIndex++); }
        constexpr Iterator operator--(int) { return Iterator(mStart, mStep, mIndex--); }
        constexpr Iterator& operator+=(Cmn_Int64 iOffset)
        {
            mIndex += iOffset;
            return *this;
        }
        constexpr Iterator& operator-=(Cmn_Int64 iOffset) { return *this += -iOffset; }
        friend constexpr Iterator operator+(Iterator iAt, Cmn_Int64 iOffset) { return iAt += iOffset; }
        friend constexpr Iterator operator+(Cmn_Int64 iOffset, Iterator iAt) { return iAt += iOffset; }
        friend constexpr Iterator operator-(Iterator iAt, Cmn_Int64 iOffset) { return iAt -= iOffset; }
        friend constexpr Cmn_Int64 operator-(const Iterator& iA, const Iterator& iB)
        {
            return iA.mIndex - iB.mIndex;
        }
        friend constexpr bool operator==(const Iterator& iA, const Iterator& iB)
        {
            return iA.mIndex == iB.mIndex;
        }
        friend constexpr auto operator<=>(const Iterator& iA, const Iterator& iB)
        {
            return iA.mIndex <=> iB.mIndex;
        }

    private:
        Time_Typed mStart;
        Cmn_Int64 mStep = 1;
        Cmn_Int64 mIndex = 0;
    };

    constexpr Time_StepView() = default;
    // More steps than 64 bits count are cut to those.
    constexpr Time_StepView(const Time_Range& iRange, const Time_TypedLength& iStep)
        : mStart(iRange.GetStart())
    {
        Cmn_ASSERT_AS(iRange.GetType() == iStep.GetType(), "time_type_mismatch", "time/Time_TypedBase");
        if (!Cmn_ASSERT_AS(iStep.AsInt64() > 0, "iStep > 0", "Time/Time_Range")) return;
        mStep = iStep.AsInt64();
        const auto length = static_cast<Cmn_UInt64>(iRange.GetEnd().AsInt64()) -
                            static_cast<Cmn_UInt64>(iRange.GetStart().AsInt64());
        const auto step = static_cast<Cmn_UInt64>(mStep);
        const Cmn_UInt64 count = length / step + (length % step != 0 ? 1 : 0);
        constexpr auto most = static_cast<Cmn_UInt64>((std::numeric_limits<Cmn_Int64>::max)());
        mCount = static_cast<Cmn_Int64>((std::min)(count, most));
    }

    constexpr Iterator begin() const { return Iterator(mStart, mStep, 0); }
    constexpr Iterator end() const { return Iterator(mStart, mStep, mCount); }
    constexpr std::size_t size() const { return static_cast<std::size_t>(mCount); }
    [[nodiscard]] constexpr bool empty() const { return mCount == 0; }
    // iIndex is below size().
    constexpr Time_Typed operator[](Cmn_Int64 iIndex) const { return begin()[iIndex]; }

private:
    Time_Typed mStart;
    Cmn_Int64 mStep = 1;
    Cmn_Int64 mCount = 0;
};

constexpr Time_StepView Time_Range::Steps(const Time_TypedLength& iStep) const
{
    return Time_StepView(*this, iStep);
}

template <>
inline constexpr bool std::ranges::enable_view<Time_StepView> = true;
template <>
inline constexpr bool std::ranges::enable_borrowed_range<Time_StepView> = true;

template <>
struct std::hash<Time_Range>
{
    std::size_t operator()(const Time_Range& iRange) const noexcept
    {
        return std::hash<Time_Typed>()(iRange.GetStart()) * 31 + std::hash<Time_Typed>()(iRange.GetEnd());
    }
};
