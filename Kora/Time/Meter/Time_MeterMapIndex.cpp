#include "Kora/Time/Meter/Time_MeterMapIndex_p.h"

#include "Kora/Time/Meter/Time_MeterMap.h"

Time_MeterMapIndex::Time_MeterMapIndex() { Update({}, 0); }

void Time_MeterMapIndex::Reserve(std::size_t iCount)
{
    mStretches.reserve(std::max<std::size_t>(iCount, 1)); // without changes there is one
}

void Time_MeterMapIndex::Update(const Cmn_PolyVector<Time_MeterChange>& iChanges, std::size_t iUnchanged)
{
    const std::size_t unchanged = std::min({iUnchanged, mStretches.size(), iChanges.size()});
    mStretches.resize(unchanged);
    for (std::size_t i = unchanged; i < iChanges.size(); ++i)
        Add(iChanges[i]);
    if (mStretches.empty())
        Add({Time_MeterMap::cDefaultSongStartTick, Time_Meter(), Time_MeterMap::cDefaultSongStartBar});
    mByTick.Splice(mStretches.size(), unchanged, 0, [this](std::size_t i) { return mStretches[i].mTick; });
    mByBar.Splice(mStretches.size(), unchanged, 0, [this](std::size_t i) { return mStretches[i].mBar; });
}

void Time_MeterMapIndex::Add(const Time_MeterChange& iChange)
{
    const Cmn_Int64 barLength = BarLength(iChange.GetMeter());
    const Cmn_Int32 numerator = std::max(iChange.GetMeter().GetNumerator(), 1);
    Cmn_Int64 bar = iChange.GetBarNumber();
    if (!mStretches.empty() && bar < mStretches.back().mBar) {
        constexpr int cNumberBits = 32;
        const Cmn_Int64 wraps = ((mStretches.back().mBar - bar - 1) >> cNumberBits) + 1;
        bar += wraps << cNumberBits;
    }
    mStretches.push_back({iChange.GetTick().AsInt64(), barLength, barLength / numerator,
                          static_cast<Cmn_Int32>(barLength % numerator), numerator, bar});
}

Time_MeterMapIndex::Position Time_MeterMapIndex::BarlineAtOrAfter(Cmn_Int64 iTick) const
{
    const Position position = ToPosition(iTick);
    return position.IsOnBarline() ? position : position.NextBarline();
}

Cmn_Int64 Time_MeterMapIndex::WholeBarsFrom(Cmn_Int64 iBar) const
{
    const std::size_t next = FindByBar(iBar) + 1;
    // The bar before a change may be cut short.
    return next == mStretches.size() ? cEndless
                                     : std::max<Cmn_Int64>(Cmn_WrapSub(mStretches[next].mBar - 1, iBar), 0);
}

Cmn_Int64 Time_MeterMapIndex::WholeBarsBefore(Cmn_Int64 iBar) const
{
    const std::size_t governing = FindByBar(Cmn_WrapSub<Cmn_Int64>(iBar, 1));
    const bool isCutByNext = governing + 1 < mStretches.size() && mStretches[governing + 1].mBar <= iBar;
    if (isCutByNext) return 0;
    return governing == 0 ? cEndless : std::max<Cmn_Int64>(Cmn_WrapSub(iBar, mStretches[governing].mBar), 0);
}
