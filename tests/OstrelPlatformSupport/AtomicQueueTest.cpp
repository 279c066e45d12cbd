#include "OstrelPlatformSupport/PSAtomicStructures.h"
#include "OstrelPlatformSupport/PSAtomic_UInt32Semaphore.h"
#include "Support/Interleaving.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

namespace {

using Element = PSAtomicQueueLink;

// Links the elements from iLast back to iFirst, as a chain is pushed.
void Chain(Element* iFirst, Element* iLast)
{
    for (; iLast != iFirst; --iLast)
        iLast->mNext = iLast - 1;
}

// Thread 0 pushes two elements, thread 1 a chain of two; thread 2 drains twice
// meanwhile, or drains and closes.
struct QueueScene
{
    PSBasicAtomicQueue<ModelAtomic> mQueue;
    Element mElements[4];
    std::string mDrained;

    void Run(int iThread)
    {
        if (iThread == 0) {
            mAccepted[0] = mQueue.Push(mElements[0]);
            mAccepted[1] = mQueue.Push(mElements[1]);
        } else if (iThread == 1) {
            Chain(&mElements[2], &mElements[3]);
            mAccepted[2] = mAccepted[3] = mQueue.PushNewestFirst(mElements[3], mElements[2]);
            if (!mAccepted[2]) mIsWhole = mElements[3].mNext == &mElements[2];
        } else {
            Keep(mQueue.Drain());
            Keep(mCloses ? mQueue.Close() : mQueue.Drain());
        }
    }
    void Keep(const PSAtomicQueueLink* iLink)
    {
        for (; iLink != nullptr; iLink = iLink->mNext)
            mDrained += std::to_string(iLink - mElements);
    }
    // What was accepted was drained once, 0 before 1, and 3 right behind 2.
    bool IsWhole()
    {
        Keep(mQueue.Drain());
        static const std::set<std::string> cOrders = {"0123", "0231", "2301", "023", "230",
                                                      "01",   "23",   "0",    ""};
        for (int i = 0; i < 4; ++i)
            mIsWhole = mIsWhole && (mDrained.find(std::to_string(i)) != std::string::npos) == mAccepted[i];
        return mIsWhole && cOrders.count(mDrained) == 1 && (mCloses || mDrained.size() == 4);
    }
    bool mCloses = false;
    bool mIsWhole = true;
    bool mAccepted[4] = {};
};

} // namespace

TEST(Interleaving, ExploresEachOrderThatMattersOnce)
{
    std::unique_ptr<ModelAtomic<int>[]> words;
    const auto begin = [&] { words = std::make_unique<ModelAtomic<int>[]>(3); };
    const auto Explore = [&](auto iStep) {
        return Interleaving::ExploreAll(
            3, begin, [&](int i) { iStep(i), iStep(i); }, [] {});
    };
    EXPECT_EQ(Explore([&](int) { words[0].fetch_add(1); }), 90) << "6! / (2! 2! 2!)";
    EXPECT_EQ(Explore([&](int i) { words[i].fetch_add(1); }), 1);
    EXPECT_EQ(Explore([&](int) { words[0].load(); }), 1);

    std::set<int> sums; // updates are lost, one or two, or none
    Interleaving::ExploreAll(
        3, begin, [&](int) { words[0].store(words[0].load() + 1); }, [&] { sums.insert(words[0].load()); });
    EXPECT_EQ(sums, (std::set<int>{1, 2, 3}));
}

TEST(AtomicQueue, LosesDoublesAndReordersNothingInAnySchedule)
{
    EXPECT_TRUE(gPSAtomicStructures.IsLockFree());
    EXPECT_TRUE(gPSAtomicStructures.CreateMultiProducerQueue()->IsEmpty());
    for (const bool closes : {false, true}) {
        SCOPED_TRACE(closes);
        std::unique_ptr<QueueScene> scene;
        const auto begin = [&] {
            scene = std::make_unique<QueueScene>();
            scene->mCloses = closes;
        };
        const long schedules = Interleaving::ExploreAll(
            3, begin, [&](int i) { scene->Run(i); },
            [&] { EXPECT_TRUE(scene->IsWhole()) << scene->mDrained; });
        EXPECT_GT(schedules, 200);
    }
}

// Seven producers at once, and the order of each: AtomicPool.LosesDoublesAndMixesUpNothingUnderLoad.

TEST(AtomicSemaphore, ReturnsTheCountItMadeInAnySchedule)
{
    using Semaphore = PSBasicAtomic_UInt32Semaphore<ModelAtomic>;
    std::unique_ptr<Semaphore> semaphore;
    std::uint32_t seen[2];
    Interleaving::ExploreAll(
        2, [&] { semaphore = std::make_unique<Semaphore>(0xFFFFFFFFu); },
        [&](int i) { seen[i] = i == 0 ? semaphore->Add(3) : semaphore->Subtract(); },
        [&] {
            EXPECT_TRUE((seen[0] == 2 && seen[1] == 1) || (seen[0] == 1 && seen[1] == 0xFFFFFFFEu));
            EXPECT_EQ(semaphore->Get(), 1u);
        });
    EXPECT_EQ(PSAtomic_UInt32Semaphore().Add(), 1u);
}
