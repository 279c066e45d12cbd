// Time_SharedRowTaker: takes rows of values that are edited. It is told of each edit, and so a row costs what
// changed since the one before, and a pointer for each stretch that did not.
//
//     values edited          taker.Replaced(7, 1, 2);
//     a snapshot needed      row = taker.Take(values.size(), [&](std::size_t i) { return values[i]; });
//     values put back        taker = Time_SharedRowTaker(row);
//
// Units:     indices of values; stretches have up to cMost of them.
// Threads:   those of the values.
// Ownership: holds what it took last, with the rows that others hold. Nothing before the first row is taken.
#pragma once

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Kora/Time/Numeric/Time_SharedRow_p.h"

template <class Value>
class Time_SharedRowTaker
{
public:
    using Row = Time_SharedRow<Value>;
    using RowP = std::shared_ptr<const Row>;

    Time_SharedRowTaker() = default;
    // Of values that are those of a row.
    explicit Time_SharedRowTaker(RowP iRowP)
        : mLastP(std::move(iRowP))
    {
        mPieces.reserve(mLastP->GetStretches().size());
        for (const Stretch& stretch : mLastP->GetStretches())
            mPieces.push_back({stretch.size(), mPieces.size()});
    }

    // iAdded values stand in the place of iRemoved ones. Throws nothing.
    void Replaced(std::size_t iFirst, std::size_t iRemoved, std::size_t iAdded) noexcept
    {
        if (iRemoved + iAdded == 0) return;
        mIsAsTaken = false;
        if (mPieces.empty()) return;
        GoTo(iFirst, iRemoved > 0);
        std::size_t offset = iFirst - mStart;
        std::size_t left = iRemoved;
        for (std::size_t at = mAt; left > 0; ++at, offset = 0) {
            const std::size_t gone = std::min(left, mPieces[at].mCount - offset);
            if (gone == 0) continue;
            mPieces[at] = {mPieces[at].mCount - gone, cChanged};
            left -= gone;
        }
        mPieces[mAt] = {mPieces[mAt].mCount + iAdded, cChanged};
    }
    void ReplacedAll() noexcept { *this = Time_SharedRowTaker(); }

    // The values now, which are iCount.
    template <class ValueAt>
    RowP Take(std::size_t iCount, ValueAt iValueAt)
    {
        if (mIsAsTaken && mLastP != nullptr) return mLastP;
        std::vector<Stretch> stretches;
        stretches.reserve(mPieces.size() + 1);
        std::size_t bytes = 0, at = 0, firstChanged = 0; // [firstChanged, at) changed
        const auto takeChanged = [&] { bytes += Append(stretches, firstChanged, at, iValueAt); };
        for (const Piece& piece : mPieces) {
            at += piece.mCount;
            if (piece.mStretch == cChanged) continue;
            at -= piece.mCount;
            takeChanged();
            stretches.push_back(mLastP->GetStretches()[piece.mStretch]);
            firstChanged = at += piece.mCount;
        }
        if (!mPieces.empty() && !Cmn_ASSERT_TEXT(at == iCount, "what did not change is as it was")) {
            ReplacedAll();
            return Take(iCount, iValueAt);
        }
        at = iCount;
        takeChanged();
        const auto rowP = std::make_shared<const Row>(std::move(stretches), bytes);
        CheckAsItWas(*rowP, iValueAt);
        *this = Time_SharedRowTaker(rowP);
        return rowP;
    }

private:
    using Stretch = typename Row::Stretch;
    // Some values side by side: a stretch of the row taken last, or what has changed since.
    struct Piece
    {
        std::size_t mCount;
        std::size_t mStretch; // its number in the row taken last
    };
    static constexpr std::size_t cChanged = static_cast<std::size_t>(-1);
    // A step is about the least of what it copies, half a stretch or more, and what it points to: for 100,000
    // values of 40 bytes these are 6 KB each.
    static constexpr std::size_t cMost = 192, cUsual = 144, cFew = 48;

    // To the piece that iIndex lies in or, unless iIsInside, ends. Edits come mostly near to each other.
    void GoTo(std::size_t iIndex, bool iIsInside)
    {
        while (mStart > iIndex)
            mStart -= mPieces[--mAt].mCount;
        while (mAt + 1 < mPieces.size() && mStart + mPieces[mAt].mCount < iIndex + iIsInside)
            mStart += mPieces[mAt++].mCount;
    }

    // Takes [iFirst, iLast), with the stretch before where they are few. Returns its bytes.
    template <class ValueAt>
    static std::size_t Append(std::vector<Stretch>& ioStretches, std::size_t iFirst, std::size_t iLast,
                              ValueAt iValueAt)
    {
        if (iFirst == iLast) return 0;
        if (iLast - iFirst < cFew && !ioStretches.empty()) {
            iFirst -= ioStretches.back().size();
            ioStretches.pop_back();
        }
        const std::size_t count = iLast - iFirst, parts = count <= cMost ? 1 : (count + cUsual - 1) / cUsual;
        std::size_t bytes = 0;
        for (std::size_t part = 0; part < parts; ++part) {
            const std::size_t from = count * part / parts, to = count * (part + 1) / parts;
            ioStretches.emplace_back(iFirst + from, to - from, iValueAt);
            bytes += Stretch::BytesFor(to - from);
        }
        return bytes;
    }

    template <class ValueAt>
    static void CheckAsItWas([[maybe_unused]] const Row& iRow, [[maybe_unused]] ValueAt iValueAt)
    {
#ifndef NDEBUG
        std::size_t i = 0;
        bool isAsItWas = true;
        iRow.ForEach(0, iRow.size(),
                     [&](const Value& iValue) { isAsItWas = isAsItWas && iValue == iValueAt(i++); });
        Cmn_ASSERT_TEXT(isAsItWas, "what did not change is as it was");
#endif
    }

    RowP mLastP;                // the row taken last
    bool mIsAsTaken = true;     // nothing changed since
    std::vector<Piece> mPieces; // empty before the first row
    std::size_t mAt = 0;        // where the last edit was: a piece …
    std::size_t mStart = 0;     // … and the index of its first value
};
