#include "Kora/Time/Numeric/Time_SharedRowTaker_p.h"
#include "Support/AllocationCounter.h"
#include "Time/TimeFixture.h"

namespace {

using Taker = Time_SharedRowTaker<Cmn_Int64>;
using Values = std::vector<Cmn_Int64>;

Values ValuesOf(const Taker::Row& iRow, std::size_t iFirst, std::size_t iLast)
{
    Values values;
    iRow.ForEach(iFirst, iLast, [&](Cmn_Int64 iValue) { values.push_back(iValue); });
    return values;
}

// Values edited anywhere, with rows of them taken, kept, put back and let go.
struct Script
{
    explicit Script(unsigned iSeed)
        : mRandom(iSeed)
        , mValues(iSeed % 7 == 0 ? 0 : UpTo(3000))
    {
    }
    std::size_t UpTo(std::size_t iMost) { return mRandom() % (iMost + 1); }
    Taker::RowP Take()
    {
        return mTaker.Take(mValues.size(), [this](std::size_t i) { return mValues[i]; });
    }
    void Edit()
    {
        const std::size_t first = UpTo(mValues.size());
        const std::size_t removed = std::min(UpTo(mRandom() % 9 == 0 ? 700 : 3), mValues.size() - first);
        Values added(UpTo(mRandom() % 9 == 0 ? 700 : 3));
        for (Cmn_Int64& each : added)
            each = static_cast<Cmn_Int64>(UpTo(9)); // often what was there
        const auto at = mValues.begin() + static_cast<std::ptrdiff_t>(first);
        mValues.insert(mValues.erase(at, at + static_cast<std::ptrdiff_t>(removed)), added.begin(),
                       added.end());
        mTaker.Replaced(first, removed, added.size());
    }
    void ExpectCommon(const Taker::Row& iRow, const Values& iWas)
    {
        const auto [front, back] = Take()->CommonWith(iRow);
        const auto differ = std::mismatch(mValues.begin(), mValues.end(), iWas.begin(), iWas.end());
        const std::size_t most = std::min(mValues.size(), iWas.size());
        ASSERT_EQ(front, static_cast<std::size_t>(differ.first - mValues.begin()));
        const auto differBack = std::mismatch(mValues.rbegin(), mValues.rend(), iWas.rbegin(), iWas.rend());
        ASSERT_EQ(back, std::min<std::size_t>(differBack.first - mValues.rbegin(), most - front));
        const auto from = iWas.begin() + static_cast<std::ptrdiff_t>(front);
        ASSERT_EQ(ValuesOf(iRow, front, iWas.size() - back),
                  Values(from, iWas.end() - static_cast<std::ptrdiff_t>(back)));
    }

    std::mt19937_64 mRandom;
    Values mValues;
    Taker mTaker;
};

} // namespace

TEST(SharedRow, RowsStayAsTheyWereTakenAndSayWhatTheyHaveInCommon)
{
    for (unsigned seed = 0; seed < 14; ++seed) {
        SCOPED_TRACE(seed);
        Script script(seed);
        std::vector<std::pair<Taker::RowP, Values>> rows;
        for (int step = 0; step < 60; ++step) {
            for (std::size_t edits = script.UpTo(4); edits > 0; --edits)
                script.Edit();
            rows.emplace_back(script.Take(), script.mValues);
            const std::size_t other = script.UpTo(rows.size() - 1);
            script.ExpectCommon(*rows[other].first, rows[other].second);
            if (step % 5 == 0) {
                script.mValues = rows[other].second;
                script.mTaker = Taker(rows[other].first);
            }
            if (step % 7 == 0) rows.erase(rows.begin() + static_cast<std::ptrdiff_t>(other));
            if (step % 10 != 9) continue;
            for (const auto& [row, values] : rows)
                ASSERT_EQ(ValuesOf(*row, 0, row->size()), values);
        }
    }
}

TEST(SharedRow, ARowCostsWhatChangedAndAPointerForEachStretch)
{
    constexpr std::size_t cValues = 20000;
    constexpr std::size_t cLongest = 192;
    constexpr std::size_t cShortest = 48;
    Script script(1);
    script.mValues = Values(cValues, 7);
    const std::size_t whole = script.Take()->GetByteCount();
    EXPECT_LT(whole, cValues * 9);
    for (int step = 0; step < 300; ++step) {
        const std::size_t at = script.UpTo(cValues - 1);
        script.mValues[at] = step;
        script.mTaker.Replaced(at, 1, 1);
        const AllocationCounter allocations;
        const Taker::RowP row = script.Take();
        ASSERT_LE(allocations.Count(),
                  4); // a stretch, the row, what points to the stretches, and the taker's own
        ASSERT_LE(row->GetByteCount(), (cLongest + cValues / cShortest) * sizeof(Cmn_Int64) + 200);
    }
}
