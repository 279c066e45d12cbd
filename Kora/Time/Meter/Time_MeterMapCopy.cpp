// Time_MeterMap's copying and pasting of ranges.
#include "Kora/Time/Meter/Time_MeterMap.h"

#include "Kora/Time/Meter/Time_MeterChangeValue_p.h"
#include "Kora/Time/Meter/Time_MeterMapIndex_p.h"
#include "Kora/Time/Numeric/Time_SharedRowTaker_p.h"

void Time_MeterMap::Copy(Time_MeterMap* oDestP, Time_Tick iStartTick, Time_Tick iEndTick) const
{
    Cmn_ASSERT_IN("Time/Time_MeterMap", iStartTick <= iEndTick);
    if (!Cmn_ASSERT_AS(oDestP != nullptr, "oDestP", "Time/Time_MeterMap")) return;
    if (oDestP == this) return Time_MeterMap(*this).Copy(oDestP, iStartTick, iEndTick);

    Time_MeterMap& dest = *oDestP;
    dest.MakeRoom(Settled().mChanges.size() + 1);
    dest.AboutToModify(); // from here on nothing throws
    const bool wasEmpty = dest.mChanges.empty();
    dest.mChanges.clear();
    dest.mRowTaker->ReplacedAll();
    dest.mIsAsStreamed = false;

    const Time_MeterMapIndex::Position barline = Index().BarlineAtOrAfter(iStartTick.AsInt64());
    const Time_Tick barlineTick(Index().ToTick(barline));
    const Time_Meter meterAtBarline = GetMeterAtTick(barlineTick);
    const Time_TickLength toStart = iStartTick - Time_cZeroTick;

    const std::size_t last = LowerBound(iEndTick);
    for (std::size_t i = LowerBound(iStartTick); i < last; ++i) {
        dest.mChanges.push_back(mChanges[i]);
        dest.mChanges.back().mTick -= toStart;
    }
    dest.UpdateBarNumbers(0);

    const Time_Tick carriedTick = barlineTick - toStart;
    const bool isInClip = !dest.mChanges.empty() && dest.IsBarlineWithMeter(carriedTick, meterAtBarline);
    if (barlineTick < iEndTick && !isInClip) {
        // Deliberate: goes to the front as it stands, with its bar here, and the clip is not renumbered.
        // Test: CopyCarriesTheMeterInForceIn
        Time_MeterChange carriedIn(carriedTick, meterAtBarline, barline.AsBBT().mBar);
        carriedIn.mIsCarriedIn = true;
        dest.mChanges.insert(dest.mChanges.begin(), carriedIn);
        dest.RefreshIndex(0);
    }
    if (!wasEmpty || !dest.mChanges.empty()) dest.Broadcast();
}

void Time_MeterMap::Paste(Time_Tick iStartTick, Time_Tick iEndTick, const Time_MeterMap* iSrcP,
                          bool iKeepSongStart)
{
    Cmn_ASSERT_IN("Time/Time_MeterMap", iStartTick <= iEndTick);
    if (!Cmn_ASSERT_AS(iSrcP != nullptr, "iSrcP", "Time/Time_MeterMap")) return;
    if (iSrcP == this) {
        const Time_MeterMap source(*this);
        return Paste(iStartTick, iEndTick, &source, iKeepSongStart);
    }

    const Cmn_Int32 songStartBar = GetSongStartBar();
    const Time_Tick barlineAfter = BarlineAtOrAfter(iEndTick);
    const Time_Meter meterAfter = GetMeterAtTick(barlineAfter);

    // The default change, the song start's and the one behind the range; from the first edit on nothing throws.
    constexpr std::size_t cAround = 3;
    MakeRoom(iSrcP->Settled().mChanges.size() + cAround);
    Delete(iStartTick, iEndTick, true);

    const Time_TickLength toStart = iStartTick - Time_cZeroTick;
    const auto sourceEnd =
        iSrcP->mChanges.begin() + static_cast<std::ptrdiff_t>(iSrcP->LowerBound(iEndTick - toStart));
    auto source = iSrcP->mChanges.begin();
    const bool isCarriedInForNothing = source != sourceEnd && source->mIsCarriedIn &&
                                       IsBarlineWithMeter(source->mTick + toStart, source->mMeter);
    if (isCarriedInForNothing) ++source;
    if (source != sourceEnd) {
        AboutToModify();
        MakeRealIfDefault();
        const std::size_t firstPasted = mChanges.size();
        mChanges.insert(mChanges.end(), source, sourceEnd);
        for (std::size_t i = firstPasted; i < mChanges.size(); ++i) {
            mChanges[i].mTick += toStart;
            mChanges[i].mIsCarriedIn = false;
        }
        // The default change, made real a moment ago, may stand where they go.
        const Time_Tick firstTick = mChanges[firstPasted].mTick, lastTick = mChanges.back().mTick;
        SortChanges(firstPasted);
        const std::size_t first = LowerBound(firstTick);
        const std::size_t behind = mChanges.size() - LowerBound(lastTick + Time_TickLength(1));
        Replaced(first, firstPasted - first - behind, mChanges.size() - first - behind);
        mNumbersPending = true;
        mIsUntold = true;
        RefreshIndex(0);
    }

    // Deliberate: the song start comes before the renumbering, while pasted changes still have their source's
    // numbers, so its bar may drift. Test: PasteFillsTheRangeAndKeepsTheMeterBehindIt
    if (!iKeepSongStart) RestoreSongStart(songStartBar);
    mNumbersPending = false;
    UpdateBarNumbers(0);
    if (!IsBarlineWithMeter(barlineAfter, meterAfter)) AddNow(barlineAfter, meterAfter);
    BroadcastIfUntold();
}
