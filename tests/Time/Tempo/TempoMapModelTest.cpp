// Random edits of tempo maps against a plain model of the rebuild, bit for bit.
#include "Support/AllocationCounter.h"
#include "Support/UndoHistory.h"
#include "Time/Tempo/TempoMapTools.h"

#include <cmath>

namespace {

// Tempi that a document holds: a locked song start; locked segments further on, most of them computed or with
// computed ones before; free ones between. Wild rows may be anything anywhere.
SegmentRow RandomRow(std::mt19937_64& ioRandom, bool iWild)
{
    const auto chance = [&](unsigned iPercent) { return ioRandom() % 100 < iPercent; };
    const Cmn_Int64 quarters = static_cast<Cmn_Int64>(ioRandom() % 40) - (iWild ? 8 : 0);
    SegmentRow row{.mTick = cStart + quarters * cQuarter};
    row.mBpm = chance(30) ? 120 : 40 + static_cast<double>(ioRandom() % 200000) / 1000;
    row.mBeat = chance(70) ? cQuarter : cQuarter / 2;
    row.mLocked = chance(iWild ? 30 : 15);
    row.mSample = quarters * 24000 + static_cast<Cmn_Int64>(ioRandom() % 24000);
    row.mComputed = chance(row.mLocked ? 60 : iWild ? 20 : 5);
    row.mUnspecified = !row.mComputed && chance(iWild ? 15 : 5);
    // Often one that borrows its tempo, before a computed one.
    if (quarters <= 0)
        row.mLocked = chance(60), row.mUnspecified = chance(60), row.mComputed = row.mComputed && chance(30);
    if (quarters == 1 || quarters == 2) row.mComputed = chance(50), row.mUnspecified = chance(5);
    if (!iWild && quarters == 0)
        row = {.mLocked = true, .mUnspecified = row.mUnspecified, .mSongStart = true};
    return row;
}

class Script
{
public:
    Script(unsigned iSeed, bool iWild)
        : mRandom(iSeed)
        , mIsWild(iWild)
    {
        mMap.SetSampleRate(mModel.mSampleRate);
        if (!iWild) Add({.mLocked = true, .mSongStart = true});
    }

    void Edit()
    {
        const unsigned choice = static_cast<unsigned>(mRandom() % 20);
        if (choice < 12) return Add(RandomRow(mRandom, mIsWild));
        const auto at = [&] { return cStart + static_cast<Cmn_Int64>(mRandom() % 40) * cQuarter; };
        const Cmn_Int64 from = mIsWild ? at() - 4 * cQuarter : at() + 1;
        const Cmn_Int64 to = from + 1 + 3 * cQuarter;
        if (choice < 15) {
            mModel.mRows.erase(mModel.mRows.lower_bound(from), mModel.mRows.lower_bound(to));
            mMap.EraseSegments(Time_Tick(from), Time_Tick(to));
        } else if (choice < 17) {
            const Cmn_Int64 sample = static_cast<Cmn_Int64>(mRandom() % (40 * 24000)) + 1;
            std::erase_if(mModel.mRows, [&](auto& iRow) {
                return iRow.second.mLocked && iRow.second.mSample >= sample &&
                       iRow.second.mSample < sample + 50000;
            });
            mMap.EraseLockedSegmentsBySample(Time_Sample(sample), Time_Sample(sample + 50000));
        } else if (choice == 17) {
            mModel.mSampleRate = mModel.mSampleRate == 48000 ? 44100 : 48000;
            mMap.SetSampleRate(mModel.mSampleRate);
        } else {
            mMap.BeginEdit();
            for (int i = 0; i < 8; ++i) {
                Add(RandomRow(mRandom, mIsWild));
                // Asked for meanwhile, what was added has its place.
                if (mRandom() % 6 == 0) {
                    ASSERT_EQ(mMap.GetNumberOfSegments(), mModel.mRows.size());
                }
            }
            mMap.EndEdit();
        }
    }

    // A copy, one that dirties everything, and a map read from the stream, which takes what a copy asserts
    // nothing about but that joints do not meet: debug builds look at those.
    void ExpectTheSameBitsElsewhere()
    {
        const Lines lines = LinesOf(mMap.GetBasicTempoMap());
        const AssertRecorder asserts;
        Time_TempoMap other(mMap);
        Time_TempoMap read;
        ASSERT_EQ(LinesOf(other.GetBasicTempoMap()), lines) << "a copy\n" << mMap.Dump();
        const Reports reports = asserts.Take();
        const bool isSound = std::all_of(reports.begin(), reports.end(), [](const std::string& iText) {
            return iText.find("->mFractionalStartSample") != std::string::npos;
        });
        read.SetSampleRate(mMap.GetSampleRate());
        try {
            ReadBack(read, Streamed(mMap));
            ASSERT_TRUE(isSound) << testing::PrintToString(reports) << "\n" << mMap.Dump();
            ASSERT_EQ(LinesOf(read.GetBasicTempoMap()), lines) << "read back\n" << mMap.Dump();
        } catch (const Sys_StreamReadException& refusal) {
            ASSERT_FALSE(isSound) << refusal.Describe() << "\n" << mMap.Dump();
            ASSERT_EQ(read.GetNumberOfSegments(), 0U);
        }
        other.SetSampleRate(mMap.GetSampleRate());
        ASSERT_EQ(LinesOf(other.GetBasicTempoMap()), lines) << "once more\n" << mMap.Dump();
    }

    void ResetRate() { mMap.SetSampleRate(mModel.mSampleRate = 48000); }

    // A double is judged by the formula, in the line that the model names.
    void ExpectAnswersAsTheModel()
    {
        const Lines lines = mModel.Rebuild();
        ASSERT_EQ(LinesOf(mMap.GetBasicTempoMap()), lines) << mMap.Dump();
        std::vector<Cmn_Int64> ticks;
        std::vector<Cmn_Int64> samples;
        for (const Line& line : lines)
            for (const Cmn_Int64 offset : {-1, 0, 1, static_cast<int>(mRandom() % 5000000)}) {
                ticks.push_back(line.mTick + offset);
                samples.push_back(static_cast<Cmn_Int64>(line.mStart) + offset % 100000);
            }
        std::size_t tickSegment = 0;
        std::size_t firstSegment = 0;
        std::size_t sampleSegment = 0;
        std::size_t firstTickSegment = 0;
        const AllocationCounter allocations;
        for (const Cmn_Int64 tick : ticks) {
            const double sample = std::floor(mModel.At(tick).At(tick) + 0.5);
            ASSERT_EQ(static_cast<double>(mMap.TickToSample(Time_Tick(tick), false).AsInt64()), sample);
            ASSERT_EQ(mMap.NextTickToSample(Time_Tick(tick), false, tickSegment).AsInt64(), sample);
            ASSERT_EQ(mMap.NextTickToFirstSample(Time_Tick(tick), firstSegment),
                      mMap.TickToFirstSample(Time_Tick(tick)));
        }
        for (const Cmn_Int64 sample : samples) {
            const Line& line = mModel.AtSample(sample);
            const double after =
                std::floor((static_cast<double>(sample) - line.mStart) * line.mTicksPerSample + 0.5);
            ASSERT_EQ(mMap.SampleToTick(Time_Sample(sample)).AsInt64(),
                      static_cast<Cmn_Int64>(after) + line.mTick);
            ASSERT_EQ(mMap.NextSampleToTick(Time_Sample(sample), sampleSegment),
                      mMap.SampleToTick(Time_Sample(sample)));
            ASSERT_EQ(mMap.NextSampleToFirstTick(Time_Sample(sample), firstTickSegment),
                      mMap.SampleToFirstTick(Time_Sample(sample)));
        }
        ASSERT_EQ(allocations.Count(), 0);
    }

    Time_TempoMap mMap{Ndo_Object::kUndoable};

private:
    void Add(const SegmentRow& iRow)
    {
        mModel.mRows[iRow.mTick] = iRow;
        mMap.AddSegment(iRow.Make());
    }

    std::mt19937_64 mRandom;
    bool mIsWild;
    PlainTempoMap mModel;
};

} // namespace

TEST(TempoMapModel, EditsGiveTheBitsOfAFullRebuildAndUndoBringsBackEveryByteAndBit)
{
    const AssertRecorder asserts; // wild maps break what validation asks for
    for (unsigned seed = 0; seed < 120; ++seed) {
        SCOPED_TRACE(seed);
        Script script(seed, seed % 3 == 0);
        const bool undoes = seed % 5 == 0;
        UndoHistory history(script.mMap);
        for (int edit = 0; edit < 40; ++edit) {
            history.Record([&] {
                script.Edit();
                if (undoes) script.ResetRate(); // it is no part of undo
            });
            script.ExpectAnswersAsTheModel();
            script.ExpectTheSameBitsElsewhere();
            if (testing::Test::HasFatalFailure()) return;
        }
        if (!undoes) continue;
        history.ExpectEveryState();
    }
}
