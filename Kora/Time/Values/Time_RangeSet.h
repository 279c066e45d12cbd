// Time_RangeSet: the times of any number of ranges of one unit, such as what is selected or needs to be drawn.
//
//     {[0, 4) [9, 12)}  Add [3, 6)  gives  {[0, 6) [9, 12)}
//
// Units:      that of the set. A range or time of another unit is reported as "time_type_mismatch", and its raw
//             counts are taken.
// Invariants: ranges ascend, none is empty, and no two touch: one set of times has one form.
// Cost:       queries O(log n). Add and Remove O(log n) and a move of the ranges behind, which are 16 bytes
//             each; whole sets are united, cut and subtracted in one pass over both.
// Threads:    a plain value.
#pragma once

#include "Kora/Time/Values/Time_Range.h"

#include <functional>
#include <iosfwd>
#include <span>
#include <vector>

class Time_RangeSet;
template <>
struct std::hash<Time_RangeSet>
{
    KORA_API std::size_t operator()(const Time_RangeSet& iSet) const noexcept;
};

class KORA_API_NODISCARD Time_RangeSet
{
public:
    // Empty.
    explicit Time_RangeSet(Time_EType iType = Time_eType_Samples)
        : mType(iType)
    {
    }
    // The times of one range.
    explicit Time_RangeSet(const Time_Range& iRange)
        : mType(iRange.GetType())
    {
        Add(iRange);
    }

    Time_EType GetType() const { return mType; }
    [[nodiscard]] bool IsEmpty() const { return mPieces.empty(); }
    std::size_t GetNumRanges() const { return mPieces.size(); }
    // In ascending order; iIndex is below GetNumRanges.
    Time_Range GetRange(std::size_t iIndex) const;
    // From the first time to the last; empty for an empty set.
    Time_Range GetHull() const;
    // Of all ranges together; wraps in 64 bits.
    Time_TypedLength GetLength() const;

    // Whether one of its ranges holds the time.
    [[nodiscard]] bool Contains(const Time_Typed& iTime) const;
    // Whether one of its ranges holds all of the other; an empty range is held always.
    [[nodiscard]] bool Contains(const Time_Range& iRange) const;
    // Whether some time is in both.
    [[nodiscard]] bool Intersects(const Time_Range& iRange) const;
    // The first range that ends behind a time: the one that holds it, or else the next. GetNumRanges where
    // there is none.
    std::size_t FindAtOrAfter(const Time_Typed& iTime) const;

    // Joins what it touches.
    void Add(const Time_Range& iRange);
    // Takes its times out; a range around it becomes two.
    void Remove(const Time_Range& iRange);
    // Keeps the unit.
    void Clear() { mPieces.clear(); }

    Time_RangeSet& operator|=(const Time_RangeSet& iOther);
    Time_RangeSet& operator&=(const Time_RangeSet& iOther);
    Time_RangeSet& operator-=(const Time_RangeSet& iOther);
    friend Time_RangeSet operator|(Time_RangeSet iA, const Time_RangeSet& iB) { return std::move(iA |= iB); }
    friend Time_RangeSet operator&(Time_RangeSet iA, const Time_RangeSet& iB) { return std::move(iA &= iB); }
    friend Time_RangeSet operator-(Time_RangeSet iA, const Time_RangeSet& iB) { return std::move(iA -= iB); }

    // Unit and times.
    friend bool operator==(const Time_RangeSet&, const Time_RangeSet&) = default;

    // "[0, 6) [9, 12) Samples"
    [[nodiscard]] std::string Dump() const;
    // What Dump gives.
    KORA_API friend std::ostream& operator<<(std::ostream& ioStream, const Time_RangeSet& iSet);

private:
    friend struct std::hash<Time_RangeSet>;

    struct Piece
    {
        Cmn_Int64 mFrom;
        Cmn_Int64 mTo;
        friend bool operator==(const Piece&, const Piece&) = default;
    };
    enum EWhich { eOfEither, eOfBoth, eOfFirstOnly };

    void CheckType(Time_EType iType) const;
    void Combine(const Time_RangeSet& iOther, EWhich iWhich);
    std::size_t FirstEndingAfter(Cmn_Int64 iAt) const;

    std::vector<Piece> mPieces;
    Time_EType mType;
};
