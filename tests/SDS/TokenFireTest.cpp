// Tokens under fire: producers, consumers and those who change who hears whom, eight threads at once, each
// thread made to yield between the steps of the protocols.
#include "SDS/TokenFixture.h"

#include "Kora/SDS/Source/SDS_Name_p.h"
#include "Kora/SDS/Source/SDS_TokenListener.h"
#include "Kora/SDS/Source/SDS_TokenTask.h"
#include "OstrelPlatformSupport/PSThread.h"
#include "Support/AllocationCounter.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <deque>
#include <memory>
#include <optional>
#include <random>
#include <thread>

namespace {

constexpr int cProducers = 3;
constexpr int cConsumers = 3;
constexpr int cTokens = 4000; // from each producer

// Hears one node: remembers, for each producer, the numbers in the order in which they came.
class Witness : public SDS_ITokenListener
{
public:
    Witness(SDS_ITokenTask& iTask, SDS_IName& iName, bool iLatest)
        : SDS_ITokenListener(nullptr, &iName, 0, 0, 0, 0, static_cast<SDS_ITokenListener*>(this), false,
                             iLatest, 0)
    {
        SetTask(&iTask);
    }
    void HandleToken(SDS_Token* iToken) override
    {
        const TestToken& token = TestToken::Of(iToken);
        if (token.mCheck != token.Check()) ++mDamaged;
        auto& numbers = mHeard[static_cast<std::size_t>(token.mProducer)];
        if (!numbers.empty() && numbers.back() >= token.mSequence) ++mDisordered;
        numbers.push_back(token.mSequence);
    }
    std::array<std::vector<int>, cProducers> mHeard;
    int mDamaged = 0;
    int mDisordered = 0;
};

// A listener that comes and goes; its memory is gone when it is.
class Guest : public SDS_ITokenListener
{
public:
    Guest(SDS_ITokenTask& iTask, SDS_IName& iName, bool iLatest)
        : SDS_ITokenListener(nullptr, &iName, 0, 0, 0, 0, static_cast<SDS_ITokenListener*>(this), false,
                             iLatest, 0)
        , mAlive(std::make_unique<int>(1))
    {
        SetTask(&iTask);
    }
    ~Guest() override
    {
        StopListening();
        mAlive.reset();
    }
    void HandleToken(SDS_Token*) override { sCalls.fetch_add(*mAlive, std::memory_order_relaxed); }
    inline static std::atomic<int> sCalls{0};

private:
    std::unique_ptr<int> mAlive;
};

// One visit in eight gives the core away.
void YieldNowAndThen()
{
    thread_local Cmn_UInt32 random =
        static_cast<Cmn_UInt32>(std::hash<std::thread::id>{}(std::this_thread::get_id()));
    random = random * 1664525 + 1013904223;
    if (random >> 29 == 0) std::this_thread::yield();
}

// Plenty: tasks of all priorities, and the pool grows. Scarce: tokens of the largest size, and tasks that
// grow nothing; the consumers start when the pool has run out, and it does so again and again.
class TokenFire : public TokenTest, public testing::WithParamInterface<bool>
{
protected:
    struct Producer
    {
        SDS_IName* mNode = nullptr;
        std::vector<bool> mSucceeded; // by the token's number
    };
    struct Padded
    {
        TestToken mToken;
        char mRest[1080 - sizeof(TestToken)];
    };
    struct Consumer
    {
        explicit Consumer(Cmn_Int32 iPriority)
            : mTask(iPriority)
            , mEvent(gPSThread.CreateAutoResetEvent("consumer"))
        {
            mTask.ResumeProcessing();
        }
        SDS_ITokenTask mTask;
        std::unique_ptr<PSEvent> mEvent;
        std::vector<std::unique_ptr<Witness>> mWitnesses; // ordinary and latest for each producer's node
    };

    TokenFire()
    {
        for (int i = 0; i < cProducers; ++i) {
            mNodes.push_back(std::make_unique<SDS_IName>(("fire/" + std::to_string(i)).c_str()));
            mProducers[static_cast<std::size_t>(i)].mNode = mNodes.back().get();
        }
        for (int i = 0; i < cConsumers; ++i) {
            mConsumers.push_back(std::make_unique<Consumer>(i == 1 || IsScarce() ? 16 : 0));
            for (const auto& node : mNodes) {
                for (const bool latest : {false, true}) {
                    mConsumers.back()->mWitnesses.push_back(
                        std::make_unique<Witness>(mConsumers.back()->mTask, *node, latest));
                }
            }
        }
        SDS_TokenDispatcher::SetInterleavingHook(YieldNowAndThen);
    }
    ~TokenFire() override { SDS_TokenDispatcher::SetInterleavingHook(nullptr); }

    static bool IsScarce() { return GetParam(); }

    void Produce(int iWhich)
    {
        Producer& producer = mProducers[static_cast<std::size_t>(iWhich)];
        // However little the consumers get of the cores, some tokens go through.
        for (int i = 0, sent = 0; i < cTokens || sent < cTokens / 20; ++i) {
            Padded padded{TestToken(i % 3, i % 2, i, iWhich), {}};
            TestToken& token = padded.mToken;
            if (IsScarce()) token.mHeader.size = 1080;
            const bool succeeded = producer.mNode->HandleToken(token.mHeader) == eSDSErr_None;
            producer.mSucceeded.push_back(succeeded);
            if (succeeded) {
                ++sent;
            } else {
                mRanOut.store(true);
                std::this_thread::yield();
            }
        }
        mProducing.fetch_sub(1);
    }

    void Consume(Consumer& ioConsumer)
    {
        ioConsumer.mTask.SetClientEvent(ioConsumer.mEvent.get());
        while (IsScarce() && mProducing.load() > 0 && !mRanOut.load())
            std::this_thread::yield();
        while (mProducing.load() > 0 || mChanging.load() > 0) {
            static_cast<void>(ioConsumer.mEvent->Wait(1));
            ioConsumer.mTask.ProcessTokens(static_cast<Cmn_Int32>(mProducing.load() % 2), Time_Sample(0), 0);
        }
        ioConsumer.mTask.SetClientEvent(nullptr);
    }

    // Listeners and whole tasks come and go, tasks halt and resume.
    void ComeAndGo(Cmn_UInt32 iSeed)
    {
        std::minstd_rand random(iSeed);
        std::unique_ptr<SDS_ITokenTask> ownTask;
        std::vector<std::unique_ptr<Guest>> guests;
        std::vector<std::unique_ptr<Guest>> ownGuests;
        while (mProducing.load() > 0) {
            SDS_IName& node = *mNodes[random() % mNodes.size()];
            Consumer& consumer = *mConsumers[random() % mConsumers.size()];
            const auto kind = random() % 7;
            if (kind < 2) guests.push_back(std::make_unique<Guest>(consumer.mTask, node, random() % 2 == 0));
            if (kind == 2 && !guests.empty()) // the task's section comes first
                guests.erase(guests.begin() + static_cast<std::ptrdiff_t>(random() % guests.size()));
            if (kind == 3) {
                const SDS_ITokenTask::StHaltProcessing halted(&consumer.mTask);
                std::this_thread::yield();
            }
            if (kind == 4) {
                if (!ownTask) ownTask = std::make_unique<SDS_ITokenTask>(random() % 2 == 0 ? 0 : 20);
                ownGuests.push_back(std::make_unique<Guest>(*ownTask, node, random() % 2 == 0));
            }
            if (kind == 5) {
                ownTask.reset(); // with what is queued, and before its listeners
                ownGuests.clear();
            }
            if (kind == 6 && !guests.empty()) guests[random() % guests.size()]->SetTask(&consumer.mTask);
            if (guests.size() > 6) guests.clear();
        }
        ownTask.reset();
        ownGuests.clear();
        guests.clear();
        mChanging.fetch_sub(1);
    }

    // Nodes are joined and parted, pauses begin and end. The first node stays alone, so that its latest
    // listeners hear one producer only.
    void JoinAndPart(Cmn_UInt32 iSeed)
    {
        std::minstd_rand random(iSeed);
        bool paused = false;
        while (mProducing.load() > 0) {
            const IPSSyncPrim::StEnter section(*SDS_TokenDispatcher::GetCriticalSection());
            SDS_IName& one = *mNodes[1 + random() % (mNodes.size() - 1)];
            SDS_IName& other = *mNodes[1 + random() % (mNodes.size() - 1)];
            const auto kind = random() % 4;
            if (kind == 0) static_cast<void>(one.ConnectTo(&other));
            if (kind == 1) static_cast<void>(one.DisconnectFrom(&other));
            if (kind == 2) static_cast<void>(one.BreakAllConnections());
            if (kind == 3) SDS_TokenDispatcher::SetTokensPaused(paused = !paused);
        }
        const IPSSyncPrim::StEnter section(*SDS_TokenDispatcher::GetCriticalSection());
        if (paused) SDS_TokenDispatcher::SetTokensPaused(false);
        for (const auto& node : mNodes)
            static_cast<void>(node->BreakAllConnections());
        mChanging.fetch_sub(1);
    }

    // What each witness must have heard of the producer that sends to its own node.
    void Check(const Witness& iWitness, int iHome, bool iLatest) const
    {
        EXPECT_EQ(iWitness.mDamaged, 0);
        EXPECT_EQ(iWitness.mDisordered, 0);
        const std::vector<int>& heard = iWitness.mHeard[static_cast<std::size_t>(iHome)];
        const std::vector<bool>& succeeded = mProducers[static_cast<std::size_t>(iHome)].mSucceeded;
        if (iLatest) {
            if (iHome > 0) return;
            int last = static_cast<int>(succeeded.size()) - 1;
            while (last >= 0 && !succeeded[static_cast<std::size_t>(last)])
                --last;
            EXPECT_GE(heard.empty() ? -1 : heard.back(), last) << "the newest of a latest listener";
            return;
        }
        std::vector<bool> missing = succeeded;
        for (const int number : heard)
            missing[static_cast<std::size_t>(number)] = false;
        EXPECT_EQ(std::count(missing.begin(), missing.end(), true), 0) << "lost";
    }

    std::vector<std::unique_ptr<SDS_IName>> mNodes;
    std::array<Producer, cProducers> mProducers;
    std::vector<std::unique_ptr<Consumer>> mConsumers;
    std::atomic<int> mProducing{cProducers};
    std::atomic<bool> mRanOut{false};
    std::atomic<int> mChanging{2};
};

TEST_P(TokenFire, NothingIsLostDoubledDisorderedOrLeftBehind)
{
    std::vector<std::thread> threads;
    for (const auto& consumer : mConsumers)
        threads.emplace_back([&] { Consume(*consumer); });
    threads.emplace_back([&] { ComeAndGo(1); });
    threads.emplace_back([&] { JoinAndPart(2); });
    for (int i = 0; i < cProducers; ++i)
        threads.emplace_back([this, i] { Produce(i); });
    for (std::thread& thread : threads)
        thread.join();
    for (const auto& consumer : mConsumers) {
        consumer->mTask.ProcessTokens(0, Time_Sample(0), 0);
        for (std::size_t i = 0; i < consumer->mWitnesses.size(); ++i) {
            Check(*consumer->mWitnesses[i], static_cast<int>(i / 2), i % 2 == 1);
        }
    }
    EXPECT_TRUE(!IsScarce() || mRanOut.load()) << "the pool never ran out";
}

// Listeners come that hear nothing, more than there ever were, so that each takes new memory, which is
// refused at one point after another. A producer takes one step between two rebuilds: it comes late, to a
// list that is used anew by then.
TEST_F(TokenTest, ARebuildWithoutMemoryLeavesListsThatProducersCanEnter)
{
    SDS_IName node("fire/alone");
    RunningTask task(0);
    static std::atomic<int> sRebuilds{0};
    static std::atomic<int> sSteps{0};
    static thread_local bool tProduces = false;
    SDS_TokenDispatcher::SetInterleavingHook([] {
        if (!tProduces) return;
        const int before = sRebuilds.load();
        sSteps.fetch_add(1);
        while (before >= 0 && sRebuilds.load() == before)
            std::this_thread::yield();
    });
    std::thread producer([&] {
        tProduces = true;
        while (sRebuilds.load() >= 0)
            static_cast<void>(Send(node, {1, 1}));
    });
    std::minstd_rand random(1);
    std::deque<SDS_TokenListener> listeners;
    int refusals = 0;
    while (listeners.size() < 500 && !HasFailure()) {
        SDS_TokenListener& listener = listeners.emplace_back();
        static_cast<void>(listener.SetName(node.GetID(), nullptr));
        static_cast<void>(listener.SetType(2));
        for (bool isRefused = true; isRefused;) {
            const StRefusedAllocation refused(1 + static_cast<int>(random() % 4));
            const ESDSError result = listener.SetTask(task.GetSDSTokenTask());
            isRefused = refused.HasCome();
            refusals += isRefused ? 1 : 0;
            EXPECT_EQ(result, isRefused ? eSDSErr_OutOfMemory : eSDSErr_None);
            const SDS_ActiveListenerList* const list = node.GetID()->mActiveList.load();
            EXPECT_TRUE(list == nullptr || list->mGate.mBlock.Get() == 0) << "producers go round for ever";
            const int steps = sSteps.load();
            sRebuilds.fetch_add(1);
            do {
                std::this_thread::yield();
            } while (steps > 0 && sSteps.load() == steps); // release builds have no such steps
        }
    }
    static_cast<void>(SDS_TokenDispatcher::FreeActiveListenerList(node.GetID())); // lets go who goes round
    sRebuilds.store(-1);
    producer.join();
    SDS_TokenDispatcher::SetInterleavingHook(nullptr);
    const AllocationCounter allocations;
    const SDS_TokenTask probe; // a DLL's allocations are its own
    EXPECT_EQ(refusals > 100, allocations.Count() > 0);
}

INSTANTIATE_TEST_SUITE_P(Cells, TokenFire, testing::Bool(),
                         [](const auto& iInfo) { return iInfo.param ? "Scarce" : "Plenty"; });

} // namespace
