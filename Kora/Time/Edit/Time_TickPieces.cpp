#include "Kora/Time/Edit/Time_TickPieces.h"

#include <algorithm>

Time_TickPieces::Time_TickPieces() { Add(cLowest, cHighest, cLowest); }

// Empty pieces are none, and one that goes on where the last one ended, on both lines, is part of it.
void Time_TickPieces::Add(Time_Tick iOldStart, Time_Tick iOldEnd, Time_Tick iNewStart, bool iIsCopy)
{
    if (iOldStart >= iOldEnd) return;
    const bool goesOn = !mPieces.empty() && !iIsCopy && !mPieces.back().mIsCopy &&
                        mPieces.back().mOldEnd == iOldStart &&
                        mPieces.back().mNewStart + (iOldStart - mPieces.back().mOldStart) == iNewStart;
    if (goesOn)
        mPieces.back().mOldEnd = iOldEnd;
    else
        mPieces.push_back({iOldStart, iOldEnd, iNewStart, iIsCopy});
}

Time_TickPieces Time_TickPieces::Delete(Time_Tick iFrom, Time_Tick iTo)
{
    Time_TickPieces pieces;
    if (iFrom >= iTo) return pieces;
    pieces.mPieces.clear();
    pieces.Add(cLowest, iFrom, cLowest);
    pieces.Add(iTo, cHighest, iFrom);
    return pieces;
}

Time_TickPieces Time_TickPieces::Insert(Time_Tick iAt, const Time_TickLength& iLength)
{
    Time_TickPieces pieces;
    if (iLength.AsInt64() <= 0) return pieces;
    pieces.mPieces.clear();
    pieces.Add(cLowest, iAt, cLowest);
    pieces.Add(iAt, cHighest, iAt + iLength);
    return pieces;
}

Time_TickPieces Time_TickPieces::Repeat(Time_Tick iFrom, Time_Tick iTo, std::size_t iCount)
{
    Time_TickPieces pieces;
    if (iFrom >= iTo || iCount == 0) return pieces;
    pieces.mPieces.clear();
    pieces.mPieces.reserve(iCount + 2);
    pieces.Add(cLowest, iTo, cLowest);
    Time_Tick at = iTo;
    for (std::size_t i = 0; i < iCount; ++i, at += iTo - iFrom)
        pieces.Add(iFrom, iTo, at, true);
    pieces.Add(iTo, cHighest, at);
    return pieces;
}

Time_TickPieces Time_TickPieces::Move(Time_Tick iFrom, Time_Tick iTo, Time_Tick iPosition)
{
    Time_TickPieces pieces;
    if (iFrom >= iTo || (iPosition >= iFrom && iPosition <= iTo)) return pieces;
    pieces.mPieces.clear();
    // Two neighbouring ranges change places.
    const bool isForward = iPosition > iTo;
    const Time_Tick start = isForward ? iFrom : iPosition, middle = isForward ? iTo : iFrom,
                    end = isForward ? iPosition : iTo;
    pieces.Add(cLowest, start, cLowest);
    pieces.Add(middle, end, start);
    pieces.Add(start, middle, start + (end - middle));
    pieces.Add(end, cHighest, end);
    return pieces;
}

std::optional<Time_Tick> Time_TickPieces::OldToNew(Time_Tick iOld) const
{
    for (const Piece& piece : mPieces)
        if (!piece.mIsCopy && piece.mOldStart <= iOld && iOld < piece.mOldEnd)
            return piece.mNewStart + (iOld - piece.mOldStart);
    return std::nullopt;
}

Time_Tick Time_TickPieces::OldEndToNew(Time_Tick iOldEnd) const
{
    const Time_Tick last = iOldEnd - Time_TickLength(1);
    if (const std::optional<Time_Tick> filled = OldToNew(last)) return *filled + Time_TickLength(1);
    // A deletion closes up where what lies behind it now begins.
    const auto behind = std::find_if(mPieces.begin(), mPieces.end(),
                                     [&](const Piece& iPiece) { return iPiece.mOldStart > last; });
    return behind != mPieces.end() ? behind->mNewStart : iOldEnd;
}

std::string Time_TickPieces::Dump() const
{
    std::string text;
    for (const Piece& piece : mPieces)
        text += std::to_string(piece.mOldStart.AsInt64()) + " … " + std::to_string(piece.mOldEnd.AsInt64()) +
                " → " + std::to_string(piece.mNewStart.AsInt64()) + (piece.mIsCopy ? ", copy\n" : "\n");
    return text;
}
