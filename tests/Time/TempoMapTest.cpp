#include "Bastel/Cmn/Cmn_Exception.h"
#include "Bastel/Cmn/Cmn_XMLNode.h"
#include "Kora/Cnn/Cnn_Receiver.h"
#include "Kora/Time/Time_ConstantTempoSeg.h"
#include "Kora/Time/Time_TempoMap.h"
#include "Kora/Time/Time_TempoMap_StEditOptimizer.h"
#include "Kora/Time/Time_TypedVector.h"
#include "Support/AssertRecorder.h"
#include "TempoMapTools.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

// A map at 48000 Hz that counts its broadcasts.
class TempoMap : public testing::Test
{
protected:
    TempoMap()
    {
        mMap.SetSampleRate(48000);
        mMap.GetListenerList().Add(&mReceiver);
    }
    ~TempoMap() override { EXPECT_EQ(mAsserts.Take(), std::vector<std::string>{}); }

    int TakeBroadcasts() { return std::exchange(mBroadcasts, 0); }
    bool OthersGetTheLock() const
    {
        bool got = false;
        std::thread([&] {
            got = mMap.TryToAcquireReadLock();
            if (got) mMap.ReleaseReadLock();
        }).join();
        return got;
    }
    Cmn_Int64 SampleAt(Cmn_Int64 iTick) const { return mMap.TickToSample(Time_Tick(iTick)).AsInt64(); }

    void OnChanged(const Mdl_SimpleValMessage_ValChanged&) { ++mBroadcasts; }

    AssertRecorder mAsserts;
    int mBroadcasts = 0;
    Cnn_Receiver<TempoMap, Mdl_SimpleValMessage, &TempoMap::OnChanged> mReceiver{*this};
    Time_TempoMap mMap;
};

} // namespace

TEST_F(TempoMap, AnEmptyMapConvertsAtTheFallbackTempo)
{
    EXPECT_EQ(SampleAt(cStart), 0);
    EXPECT_EQ(SampleAt(cStart + cQuarter), 24000);
    EXPECT_EQ(SampleAt(cStart - cQuarter), -24000);
    EXPECT_EQ(mMap.SampleToTick(Time_Sample(1)).AsInt64(), cStart + 40);
    EXPECT_EQ(mMap.GetSessionStartTick().AsInt64(), cStart);
    EXPECT_TRUE(mMap.FindControllingSegment(Time_Tick(0)) == mMap.SegmentEnd());
}
