#include "Kora/Time/Values/Time_RangeSet.h"

#include "Kora/Time/Values/Time_Hash_p.h"

#include <ostream>

Time_Range Time_RangeSet::GetRange(std::size_t iIndex) const
{
    const Piece piece = Cmn_ASSERT(iIndex < mPieces.size()) ? mPieces[iIndex] : Piece{0, 0};
    return Time_Range(Time_Typed(piece.mFrom, mType), Time_Typed(piece.mTo, mType));
}

Time_Range Time_RangeSet::GetHull() const
{
    if (mPieces.empty()) return Time_Range(Time_Typed(0, mType), Time_Typed(0, mType));
    return Time_Range(Time_Typed(mPieces.front().mFrom, mType), Time_Typed(mPieces.back().mTo, mType));
}

Time_TypedLength Time_RangeSet::GetLength() const
{
    Cmn_Int64 length = 0;
    for (const Piece& piece : mPieces)
        length = Cmn_WrapAdd(length, Cmn_WrapSub(piece.mTo, piece.mFrom));
    return Time_TypedLength(length, mType);
}

void Time_RangeSet::CheckType(Time_EType iType) const
{
    Cmn_ASSERT_AS(iType == mType, "time_type_mismatch", "time/Time_TypedBase");
}

std::size_t Time_RangeSet::FirstEndingAfter(Cmn_Int64 iAt) const
{
    const auto found = std::upper_bound(mPieces.begin(), mPieces.end(), iAt,
                                        [](Cmn_Int64 at, const Piece& piece) { return at < piece.mTo; });
    return static_cast<std::size_t>(found - mPieces.begin());
}

std::size_t Time_RangeSet::FindAtOrAfter(const Time_Typed& iTime) const
{
    CheckType(iTime.GetType());
    return FirstEndingAfter(iTime.AsInt64());
}

bool Time_RangeSet::Contains(const Time_Typed& iTime) const
{
    const std::size_t at = FindAtOrAfter(iTime);
    return at < mPieces.size() && mPieces[at].mFrom <= iTime.AsInt64();
}

bool Time_RangeSet::Contains(const Time_Range& iRange) const
{
    const std::size_t at = FindAtOrAfter(iRange.GetStart());
    if (iRange.IsEmpty()) return true;
    return at < mPieces.size() && mPieces[at].mFrom <= iRange.GetStart().AsInt64() &&
           mPieces[at].mTo >= iRange.GetEnd().AsInt64();
}

bool Time_RangeSet::Intersects(const Time_Range& iRange) const
{
    const std::size_t at = FindAtOrAfter(iRange.GetStart());
    return !iRange.IsEmpty() && at < mPieces.size() && mPieces[at].mFrom < iRange.GetEnd().AsInt64();
}

void Time_RangeSet::Add(const Time_Range& iRange)
{
    CheckType(iRange.GetType());
    if (iRange.IsEmpty()) return;
    Piece added{iRange.GetStart().AsInt64(), iRange.GetEnd().AsInt64()};
    // Those that touch it become one with it.
    const auto first = std::lower_bound(mPieces.begin(), mPieces.end(), added.mFrom,
                                        [](const Piece& piece, Cmn_Int64 at) { return piece.mTo < at; });
    const auto behind = std::upper_bound(first, mPieces.end(), added.mTo,
                                         [](Cmn_Int64 at, const Piece& piece) { return at < piece.mFrom; });
    if (first == behind) {
        mPieces.insert(first, added);
        return;
    }
    *first = {std::min(added.mFrom, first->mFrom), std::max(added.mTo, (behind - 1)->mTo)};
    mPieces.erase(first + 1, behind);
}

void Time_RangeSet::Remove(const Time_Range& iRange)
{
    CheckType(iRange.GetType());
    if (iRange.IsEmpty()) return;
    const Cmn_Int64 from = iRange.GetStart().AsInt64();
    const Cmn_Int64 to = iRange.GetEnd().AsInt64();
    auto at = mPieces.begin() + static_cast<std::ptrdiff_t>(FirstEndingAfter(from));
    if (at != mPieces.end() && at->mFrom < from && at->mTo > to) {
        const Piece behind{to, at->mTo};
        at->mTo = from;
        mPieces.insert(at + 1, behind);
        return;
    }
    if (at != mPieces.end() && at->mFrom < from) {
        at->mTo = from;
        ++at;
    }
    auto behind = at;
    while (behind != mPieces.end() && behind->mTo <= to)
        ++behind;
    if (behind != mPieces.end() && behind->mFrom < to) behind->mFrom = to;
    mPieces.erase(at, behind);
}

// Both are walked from one change of "inside" to the next.
void Time_RangeSet::Combine(const Time_RangeSet& iOther, EWhich iWhich)
{
    CheckType(iOther.mType);
    const std::size_t numFirst = 2 * mPieces.size();
    const std::size_t numSecond = 2 * iOther.mPieces.size();
    const auto edge = [](const std::vector<Piece>& iPieces, std::size_t i) {
        return i % 2 == 0 ? iPieces[i / 2].mFrom : iPieces[i / 2].mTo;
    };
    std::vector<Piece> pieces;
    bool wasInside = false;
    for (std::size_t a = 0, b = 0; a < numFirst || b < numSecond;) {
        const bool takesFirst =
            b == numSecond || (a < numFirst && edge(mPieces, a) <= edge(iOther.mPieces, b));
        const Cmn_Int64 at = takesFirst ? edge(mPieces, a) : edge(iOther.mPieces, b);
        if (a < numFirst && edge(mPieces, a) == at) ++a;
        if (b < numSecond && edge(iOther.mPieces, b) == at) ++b;
        const bool isInFirst = a % 2 != 0;
        const bool isInSecond = b % 2 != 0;
        const bool isInside = iWhich == eOfEither ? isInFirst || isInSecond
                              : iWhich == eOfBoth ? isInFirst && isInSecond
                                                  : isInFirst && !isInSecond;
        if (isInside == wasInside) continue;
        if (isInside)
            pieces.push_back({at, at});
        else
            pieces.back().mTo = at;
        wasInside = isInside;
    }
    mPieces = std::move(pieces);
}

Time_RangeSet& Time_RangeSet::operator|=(const Time_RangeSet& iOther)
{
    Combine(iOther, eOfEither);
    return *this;
}

Time_RangeSet& Time_RangeSet::operator&=(const Time_RangeSet& iOther)
{
    Combine(iOther, eOfBoth);
    return *this;
}

Time_RangeSet& Time_RangeSet::operator-=(const Time_RangeSet& iOther)
{
    Combine(iOther, eOfFirstOnly);
    return *this;
}

std::string Time_RangeSet::Dump() const
{
    std::string text;
    for (const Piece& piece : mPieces)
        text += "[" + std::to_string(piece.mFrom) + ", " + std::to_string(piece.mTo) + ") ";
    return text + Time_TypedDefs::Dump(0, mType).substr(2);
}

std::ostream& operator<<(std::ostream& ioStream, const Time_RangeSet& iSet)
{
    return ioStream << iSet.Dump();
}

std::size_t std::hash<Time_RangeSet>::operator()(const Time_RangeSet& iSet) const noexcept
{
    Time_Hash hash;
    hash.Add(iSet.mType);
    for (const Time_RangeSet::Piece& piece : iSet.mPieces) {
        hash.Add(piece.mFrom);
        hash.Add(piece.mTo);
    }
    return hash.Get();
}
