#include "OstrelPlatformSupport/PSAtomicStructures.h"
#include "OstrelPlatformSupport/PSAtomic_UInt32Semaphore.h"
#include "Support/AllocationCounter.h"
#include "Support/Interleaving.h"

#include <gtest/gtest.h>

#include <deque>
#include <random>
#include <set>
#include <thread>
#include <vector>

namespace {

struct Element : PSAtomicQueueLink
{
    unsigned mProducer = 0;
    unsigned mNumber = 0;
};

// Links the elements from iFirst to iLast in their order.
void Chain(Element* iFirst, Element* iLast)
{
    for (; iFirst != iLast; ++iFirst)
        iFirst->next = iFirst + 1;
}

template <class Queue>
std::vector<Element*> DrainAll(Queue& ioQueue)
{
    std::vector<Element*> drained;
    for (PSAtomicQueueLink* link = ioQueue.Drain(); link != nullptr; link = link->next)
        drained.push_back(static_cast<Element*>(link));
    return drained;
}

// Thread 0 pushes two elements, thread 1 a chain of two, thread 2 drains twice while they do.
struct QueueScene
{
    PSBasicAtomicQueue<ModelAtomic> mQueue;
    Element mElements[4];
    std::vector<Element*> mDrained;

    void Run(int iThread)
    {
        if (iThread == 0) {
            mQueue.Push(mElements[0]);
            mQueue.Push(mElements[1]);
        } else if (iThread == 1) {
            Chain(&mElements[2], &mElements[3]);
            mQueue.PushChain(mElements[2], mElements[3]);
        } else {
            Drain();
            Drain();
        }
    }
    void Drain()
    {
        for (Element* const element : DrainAll(mQueue))
            mDrained.push_back(element);
    }
    // All four once, 0 before 1, and 3 right behind 2.
    std::string Order()
    {
        Drain();
        std::string order;
        for (const Element* const element : mDrained)
            order += std::to_string(element - mElements);
        return order;
    }
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
    std::unique_ptr<QueueScene> scene;
    const long schedules = Interleaving::ExploreAll(
        3, [&] { scene = std::make_unique<QueueScene>(); }, [&](int i) { scene->Run(i); },
        [&] {
            const std::string order = scene->Order();
            EXPECT_TRUE(order == "0123" || order == "0231" || order == "2301") << order;
        });
    EXPECT_GT(schedules, 500);
}

TEST(AtomicQueue, MatchesAPlainQueue)
{
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    std::vector<Element> elements(5000);
    std::deque<Element*> model;
    const auto queue = gPSAtomicStructures.CreateMultiProducerQueue();
    const AllocationCounter allocations;
    long long ownAllocations = 0;
    for (std::size_t next = 0; next + 8 <= elements.size();) {
        const AllocationCounter ofTheModel;
        const std::size_t count = random() % 8;
        for (std::size_t i = 0; i < count; ++i)
            model.push_back(&elements[next + i]);
        ownAllocations += ofTheModel.Count();

        Chain(&elements[next], &elements[next + (count == 0 ? 0 : count - 1)]);
        if (count == 1) queue->Push(elements[next]);
        if (count > 1) queue->PushChain(elements[next], elements[next + count - 1]);
        next += count;
        ASSERT_EQ(queue->IsEmpty(), model.empty());
        if (random() % 3 != 0) continue;
        for (PSAtomicQueueLink* link = queue->Drain(); link != nullptr; link = link->next) {
            ASSERT_EQ(link, model.front());
            model.pop_front();
        }
        ASSERT_TRUE(model.empty());
    }
    EXPECT_EQ(allocations.Count(), ownAllocations);
    EXPECT_TRUE(gPSAtomicStructures.IsLockFree());
}

TEST(AtomicQueue, KeepsEachProducersOrderUnderLoad)
{
    constexpr unsigned cProducers = 7, cEach = 20000;
    PSAtomicQueue queue;
    PSAtomic_UInt32Semaphore running(cProducers);
    std::vector<std::vector<Element>> elements(cProducers, std::vector<Element>(cEach));
    std::vector<std::thread> threads;
    for (unsigned producer = 0; producer < cProducers; ++producer) {
        threads.emplace_back([&, producer] {
            for (unsigned i = 0; i < cEach; i += 4) {
                Element* const four = &elements[producer][i];
                for (unsigned k = 0; k < 4; ++k) {
                    four[k].mProducer = producer;
                    four[k].mNumber = i + k;
                }
                queue.Push(four[0]);
                Chain(four + 1, four + 3);
                queue.PushChain(four[1], four[3]);
            }
            running.Subtract();
        });
    }
    std::vector<unsigned> expected(cProducers);
    for (bool isLast = false; !isLast;) {
        isLast = running.Get() == 0;
        for (const Element* const element : DrainAll(queue))
            EXPECT_EQ(element->mNumber, expected[element->mProducer]++);
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(expected, std::vector<unsigned>(cProducers, cEach));
}

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
