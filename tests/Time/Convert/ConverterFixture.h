// ConverterFixture: global rates that are put back, and maps made by chance or from a line of tempos.
#pragma once

#include "Kora/Time/Convert/Time_Convert.h"
#include "Kora/Time/Meter/Time_MeterMap.h"
#include "Kora/Time/Tempo/Time_ConstantTempoSeg.h"
#include "Kora/Time/Tempo/Time_TempoMap.h"
#include "Support/AllocationCounter.h"
#include "Time/TimeFixture.h"

// Where empty maps start the song, at sample 0.
constexpr Cmn_Int64 cSongStart = Time_TempoMap::cDefaultSongStartTick.AsInt64();

// Rates, pulls and maps by chance, and a converter over them.
class RandomSession
{
public:
    explicit RandomSession(unsigned iSeed)
        : mRandom(iSeed)
        , mRates(Any({22050.0, 44100.0, 48000.0, 96000.0, 192000.0}),
                 Any({24.0, 25.0, 30000.0 / 1001.0, 30.0, 60000.0 / 1001.0, 60.0}))
        , mTempoMap(std::make_unique<Time_TempoMap>())
    {
        for (const EPullMedia media : {ePullMedia_Audio, ePullMedia_Video})
            StTimeGlobals::Pull(media, Any(cPulls), Any(cPulls));
        mTempoMap->SetSampleRate(Time_Globals::GetPullSampleRate());
        const Cmn_Int64 segments = Below(30);
        Time_Tick tick(cSongStart);
        for (Cmn_Int64 i = 0; i < segments; ++i, tick += Time_TickLength(1 + Below(20000000))) {
            const double tempo = 20.0 + static_cast<double>(Below(4000)) / 13.0;
            auto segment = std::make_unique<Time_ConstantTempoSeg>(tick, tempo);
            if (i == 0) segment->LockToSample(Time_Sample(Below(100000)));
            mTempoMap->AddSegment(std::move(segment));
        }
        for (Cmn_Int64 i = Below(5); i > 0; --i) {
            const Time_Meter meter(static_cast<Cmn_Int32>(1 + Below(12)), Any({2, 4, 8, 16}));
            mMeterMap.AddMeterChange(Time_Tick(cSongStart + Below(400000000)), meter);
        }
        mConverter.SetTempoMap(mTempoMap.get());
        mConverter.SetMeterMap(&mMeterMap);
    }

    Cmn_Int64 Below(Cmn_Int64 iLimit)
    {
        return static_cast<Cmn_Int64>(mRandom() % static_cast<Cmn_UInt64>(iLimit));
    }
    template <class T>
    T Any(std::initializer_list<T> iChoices)
    {
        return iChoices.begin()[Below(static_cast<Cmn_Int64>(iChoices.size()))];
    }
    // A time within an hour or so, on either side of the session's start; one in eight lies far out.
    Time_Typed AnyTime(Time_EType iUnit)
    {
        if (Below(8) == 0) return Time_Typed(static_cast<Cmn_Int64>(mRandom()) >> Below(40), iUnit);
        const Cmn_Int64 span = iUnit == cSamples ? 200000000 : iUnit == cTicks ? 6000000000 : 200000;
        return Time_Typed(Below(span) - span / 8 + (iUnit == cTicks ? cSongStart : 0), iUnit);
    }

private:
    static constexpr auto cPulls = {ePullFactor_None, ePullFactor_Up, ePullFactor_Down};
    std::mt19937_64 mRandom;
    StTimeGlobals mRates;

public:
    std::unique_ptr<Time_TempoMap> mTempoMap;
    Time_MeterMap mMeterMap;
    Time_Converter mConverter;
};

inline void ForSessions(unsigned iCount, const std::function<void(RandomSession&)>& iTest)
{
    for (unsigned seed = 1; seed <= iCount; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        RandomSession session(seed);
        iTest(session);
    }
}
