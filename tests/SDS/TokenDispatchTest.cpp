#include "SDS/TokenFixture.h"

#include "Bastel/Cmn/Cmn_Exception.h"
#include "Bastel/Cmn/Cmn_PolyVector.h"
#include "Bastel/Sys/Sys_Clock.h"
#include "Kora/SDS/FicInterface/SDS_IMultiTokenListener.h"
#include "Kora/SDS/Source/SDS_TokenListener.h"
#include "Kora/SDS/Source/SDS_TokenTask.h"
#include "OstrelPlatformSupport/PSThread.h"
#include "Support/AllocationCounter.h"

#include <array>
#include <atomic>
#include <deque>
#include <list>
#include <memory>
#include <optional>
#include <random>
#include <thread>

namespace {

using Log = std::vector<int>;

class TokenDispatch : public TokenTest
{
protected:
    // Connections outlive the names that made them.
    ~TokenDispatch() override
    {
        for (SDS_IName* name : {&mA, &mB, &mC})
            static_cast<void>(name->BreakAllConnections());
    }
    Log Drain() { return Drained(mTask, mLog); }

    Log mLog;
    SDS_IName mA{"dispatch/a"};
    SDS_IName mB{"dispatch/b"};
    SDS_IName mC{"dispatch/c"};
    RunningTask mTask{0};
};

// Listeners come, change and go, nodes are joined and parted, pauses begin and end, all at random, beside a
// record of who hears what, in plain words.
class TokenScript : public TokenDispatch
{
protected:
    ~TokenScript() override
    {
        if (mIsPaused) TogglePause();
    }

    struct Guest
    {
        std::size_t mNode;
        Hears mWhat;                       // 0 is any
        std::array<bool, 3> mSenders = {}; // whose tokens it hears
        Log mWaiting = {};
        Log mLog = {};
        std::unique_ptr<Recorder> mRecorder = nullptr;
    };
    void Join(std::size_t iA, std::size_t iB, bool iJoined)
    {
        static_cast<void>(iJoined ? mNodes[iA]->ConnectTo(mNodes[iB])
                                  : mNodes[iA]->DisconnectFrom(mNodes[iB]));
        mJoined[iA][iB] = mJoined[iB][iA] = iJoined && iA != iB;
    }
    void TogglePause()
    {
        mIsPaused = !mIsPaused;
        SDS_ITokenTask::SetTokensPaused(mIsPaused);
    }
    void Invite(std::size_t iNode, SDS_ITokenTask& ioTask, Hears iWhat)
    {
        Guest& guest = mGuests.emplace_back(Guest{iNode, iWhat});
        guest.mRecorder = std::make_unique<Recorder>(&ioTask, *mNodes[iNode], guest.mLog, iWhat);
    }
    void ChangeType(Guest& ioGuest, Cmn_Int32 iType)
    {
        static_cast<void>(ioGuest.mRecorder->GetSDSTokenListener()->SetType(iType));
        ioGuest.mWhat.mType = iType;
        ioGuest.mWaiting.clear();
        ioGuest.mSenders = {};
    }
    void SendFrom(std::size_t iNode, Hears iTypes, int iStep)
    {
        ASSERT_EQ(Send(*mNodes[iNode], {iTypes.mType, iTypes.mSubtype, iStep}), eSDSErr_None);
        for (Guest& guest : mGuests) {
            const Hears& what = guest.mWhat;
            const bool hears = guest.mSenders[iNode] && (what.mType == 0 || what.mType == iTypes.mType) &&
                               (what.mSubtype == 0 || what.mSubtype == iTypes.mSubtype);
            if (hears) guest.mWaiting.push_back(iStep);
        }
    }
    // By the connections as they are now; those made in a pause count when it ends.
    void UpdateSenders()
    {
        for (Guest& guest : mGuests) {
            for (std::size_t from = 0; from < 3 && !mIsPaused; ++from) {
                const std::size_t at = guest.mNode;
                const std::size_t third = 3 - at - from; // meaningless where both are one
                guest.mSenders[from] =
                    at == from || mJoined[at][from] || (mJoined[at][third] && mJoined[third][from]);
            }
        }
    }
    void CheckWhatIsHeard()
    {
        for (SDS_ITokenTask& task : mTasks)
            task.ProcessTokens(0, Time_Sample(0), 0);
        for (Guest& guest : mGuests)
            ASSERT_EQ(std::exchange(guest.mLog, {}), std::exchange(guest.mWaiting, {}));
    }

    std::mt19937 mRandom;
    RunningTask mTasks[3] = {RunningTask(0), RunningTask(15), RunningTask(16)};
    SDS_IName* const mNodes[3] = {&mA, &mB, &mC};
    bool mJoined[3][3] = {};
    bool mIsPaused = false;
    std::list<Guest> mGuests;
};

TEST_F(TokenScript, ConnectedNodesHearEachOtherInBothDirections)
{
    const unsigned seed = std::random_device()();
    SCOPED_TRACE(seed);
    mRandom.seed(seed);
    for (int step = 1; step < 10000; ++step) {
        const std::size_t a = mRandom() % 3;
        const std::size_t b = mRandom() % 3;
        const Hears types{static_cast<Cmn_Int32>(mRandom() % 4) - 1, static_cast<Cmn_Int32>(mRandom() % 2)};
        const auto guest = std::next(mGuests.begin(), mGuests.empty() ? 0 : mRandom() % mGuests.size());
        const unsigned kind = mRandom() % 8;
        if (kind < 2) Join(a, b, kind == 0);
        if (kind == 2) TogglePause();
        if (kind == 3) Invite(a, mTasks[b], types);
        if (kind == 4 && guest != mGuests.end() && (mGuests.size() > 120 || b == 0)) mGuests.erase(guest);
        if (kind == 5 && guest != mGuests.end()) ChangeType(*guest, types.mType);
        if (kind > 5) SendFrom(a, types, step);
        UpdateSenders();
        if (step % 8 == 0) CheckWhatIsHeard();
        ASSERT_FALSE(HasFailure()) << "step " << step;
    }
}

// Random tokens, drained at random moments, against the rule in plain words: of the tokens of a latest
// listener the last, at the place of the last, whether the older ones are withdrawn by the producer or
// dropped by the consumer.
TEST_F(TokenDispatch, ALatestListenerIsToldTheNewestBehindWhatWasSentBeforeIt)
{
    for (const Cmn_Int32 priority : {0, 15, 16, 40}) {
        SCOPED_TRACE(priority);
        RunningTask task(priority);
        const auto nodeOf = [&](int iType) -> SDS_IName& { return iType % 2 != 0 ? mA : mB; };
        std::deque<Recorder> listeners;
        for (int type = 1; type <= 5; ++type)
            listeners.emplace_back(&task, nodeOf(type), mLog, Hears{type, 0, type <= 3});
        Log waiting; // type + 10 * sequence
        Cmn_UInt32 random = 12345;
        for (int step = 1; step < 3000; ++step) {
            random = random * 1664525 + 1013904223;
            const int type = static_cast<int>(random >> 16) % 5 + 1;
            static_cast<void>(Send(nodeOf(type), {type, 0, type + 10 * step}));
            if (type <= 3) std::erase_if(waiting, [&](int iToken) { return iToken % 10 == type; });
            waiting.push_back(type + 10 * step);
            if ((random >> 28) != 0) continue;
            EXPECT_EQ(Drained(task, mLog), waiting) << step;
            waiting.clear();
        }
        Drained(task, mLog);
        const std::size_t before = CellsInUse();
        for (int i = 0; i < 100; ++i)
            static_cast<void>(Send(mA, {1, 0, i}));
        EXPECT_EQ(CellsInUse() - before, priority < 16 ? 1u : 100u);
        EXPECT_EQ(Drained(task, mLog), Log({99}));
    }
}

TEST_F(TokenDispatch, RefusalsNameTheirReason)
{
    const Recorder listener(&mTask, mA, mLog);
    struct Large
    {
        SDS_Token mHeader{};
        char mData[1040] = {};
    } large;
    large.mHeader.name = mA.GetID();
    unsigned char available = 0;
    SDS_Token* token = nullptr;
    SDS_TokenListener* heard = nullptr;
    void* value = nullptr;
    SDS_TokenTask* const task = mTask.GetSDSTokenTask();
    struct Row
    {
        const char* mWhat;
        Cmn_Int16 mSize;
        ESDSError mResult;
    };
    constexpr Row rows[] = {
        {"negative", -1, eSDSErr_OutOfMemory},           {"nothing", 0, eSDSErr_OutOfMemory},
        {"less than a header", 49, eSDSErr_OutOfMemory}, {"a bare header", 50, eSDSErr_None},
        {"fills the smallest cell", 64, eSDSErr_None},   {"the second size", 65, eSDSErr_None},
        {"fills the second", 108, eSDSErr_None},         {"the third", 109, eSDSErr_None},
        {"fills the third", 390, eSDSErr_None},          {"the largest size", 391, eSDSErr_None},
        {"the largest token", 1080, eSDSErr_None},       {"one byte more", 1081, eSDSErr_TokenPoolFull},
    };
    for (const Row& row : rows) {
        large.mHeader.size = row.mSize;
        EXPECT_EQ(SDS_TokenDispatcher::DispatchToken(&large.mHeader), row.mResult) << row.mWhat;
        EXPECT_EQ(SDS_TokenDispatcher::TokensAvailable(task, &available), eSDSErr_None);
        EXPECT_EQ(available, row.mResult == eSDSErr_None ? 1 : 0) << row.mWhat;
        EXPECT_EQ(SDS_TokenDispatcher::GetTokenAndTaskVal(task, &heard, &value, &token), eSDSErr_None);
        ASSERT_EQ(token != nullptr, row.mResult == eSDSErr_None) << row.mWhat;
        if (token == nullptr) continue;
        EXPECT_EQ(heard, listener.GetSDSTokenListener());
        EXPECT_EQ(value, static_cast<const SDS_ITokenListener*>(&listener));
        EXPECT_EQ(token->size, row.mSize);
        EXPECT_EQ(SDS_TokenDispatcher::DoneWithToken(token), eSDSErr_None);
    }
    TestToken nameless(1, 1);
    EXPECT_EQ(SDS_TokenDispatcher::DispatchToken(nullptr), eSDSErr_OutOfMemory);
    EXPECT_EQ(SDS_TokenDispatcher::DispatchToken(&nameless.mHeader), eSDSErr_InvalidName);
    EXPECT_EQ(SDS_TokenDispatcher::RebuildActiveListenerList(nullptr, true), eSDSErr_InvalidName);
    EXPECT_EQ(SDS_TokenDispatcher::GetToken(nullptr, &heard, &token), eSDSErr_InvalidTask);
    EXPECT_EQ(SDS_TokenDispatcher::GetToken(task, nullptr, &token), eSDSErr_OutOfMemory);
    EXPECT_EQ(SDS_TokenDispatcher::GetTokenAndTaskVal(task, &heard, nullptr, &token), eSDSErr_OutOfMemory);
    EXPECT_EQ(SDS_TokenDispatcher::TokensAvailable(nullptr, &available), eSDSErr_InvalidTask);
    EXPECT_EQ(SDS_TokenDispatcher::TokensAvailable(task, nullptr), eSDSErr_OutOfMemory);
    EXPECT_EQ(SDS_TokenDispatcher::DoneWithToken(nullptr), eSDSErr_OutOfMemory);
}

TEST_F(TokenDispatch, AFullPoolServesTheFirstListenersAndIsWholeAgainAfterwards)
{
    RunningTask quiet(16); // never grows the pool
    const Cmn_UInt32 grown = SDS_TokenDispatcher::GetTokenPoolGrowCount();
    Log logs[3];
    std::vector<std::unique_ptr<Recorder>> listeners;
    for (Log& log : logs)
        listeners.push_back(std::make_unique<Recorder>(&quiet, mA, log));
    for (int round = 0; round < 3; ++round) {
        const std::size_t cells = SDS_TokenDispatcher::GetTokenPool().GetFreeCount(cTestTokenClass);
        int sent = 0;
        while (Send(mA, {1, 1, sent}) == eSDSErr_None)
            ++sent;
        EXPECT_EQ(static_cast<std::size_t>(sent), cells / 3);
        for (Log& log : logs)
            log.clear();
        quiet.ProcessTokens(0, Time_Sample(0), 0);
        for (std::size_t i = 0; i < 3; ++i)
            EXPECT_EQ(logs[i].size(), (cells + 2 - i) / 3) << "listener " << i;
    }
    EXPECT_EQ(SDS_TokenDispatcher::GetTokenPoolGrowCount(), grown);
}

// Six audio tasks, each inside the handler of its last token, have finished with the others.
TEST_F(TokenDispatch, FinishedCellsCanBeSentWhileHandlersRun)
{
    constexpr unsigned cLargest = 3;
    constexpr unsigned cEach = 30;
    struct Large
    {
        TestToken mToken;
        char mRest[1080 - sizeof(TestToken)] = {};
    } large{{1, 1}, {}};
    large.mToken.mHeader.size = sizeof(large);
    const SDS_TokenPool& pool = SDS_TokenDispatcher::GetTokenPool();
    const Recorder waits(&mTask, mB, mLog);
    std::deque<RunningTask> tasks;
    std::deque<Listener> listeners;
    unsigned handled = 0;
    unsigned sent = 0;
    const auto handle = [&](std::size_t iNext) {
        if (++handled % cEach != 0) return;
        if (iNext < tasks.size()) {
            tasks[iNext].ProcessTokens(0, Time_Sample(0), 0);
        } else {
            while (mB.HandleToken(large.mToken.mHeader) == eSDSErr_None)
                ++sent;
        }
    };
    for (std::size_t i = 1; i <= 6; ++i)
        listeners.emplace_back(&tasks.emplace_back(16), mA, Hears{},
                               [&handle, i](const TestToken&) { handle(i); });
    for (unsigned i = 0; i < cEach; ++i)
        EXPECT_EQ(mA.HandleToken(large.mToken.mHeader), eSDSErr_None);
    tasks[0].ProcessTokens(0, Time_Sample(0), 0);
    EXPECT_GE(sent + 6, pool.GetCellCount(cLargest) - pool.GetCellCount(cLargest) / 64);
    EXPECT_EQ(Drain().size(), sent);
}

TEST_F(TokenDispatch, WhatIsQueuedForAListenerThatGoesIsNeverHandedOut)
{
    enum class Way { eDestroyed, eMoved, eTaskDestroyed, eTypeChanged };
    for (const Way way : {Way::eDestroyed, Way::eMoved, Way::eTaskDestroyed, Way::eTypeChanged}) {
        for (const bool latest : {false, true}) {
            auto task = std::make_unique<RunningTask>(0);
            auto listener = std::make_unique<Recorder>(task.get(), mA, mLog, Hears{0, 0, latest});
            const Recorder stays(&mTask, mA, mLog);
            static_cast<void>(Send(mA, {1, 1, 1}));
            if (way == Way::eDestroyed) listener.reset();
            if (way == Way::eMoved) listener->SetTask(&mTask);
            if (way == Way::eTaskDestroyed) task.reset();
            if (way == Way::eTypeChanged) static_cast<void>(listener->GetSDSTokenListener()->SetType(77));
            if (task) {
                EXPECT_EQ(Drained(*task, mLog), Log()) << static_cast<int>(way);
            }
            EXPECT_EQ(Drain(), Log({1})) << static_cast<int>(way);
            static_cast<void>(Send(mA, {1, 1, 2}));
            EXPECT_EQ(Drain(), way == Way::eMoved ? Log({2, 2}) : Log({2})) << static_cast<int>(way);
        }
    }
}

TEST_F(TokenDispatch, PausesNestAndOneThatEndsTooOftenMakesTheNextNone)
{
    const auto changes = [](bool iPause) {
        SDS_ITokenTask::SetTokensPaused(iPause);
        return SDS_TokenDispatcher::GetTokensPaused();
    };
    EXPECT_TRUE(changes(true) && changes(true) && changes(false));
    EXPECT_FALSE(changes(false) || changes(false) || changes(true));
}

TEST_F(TokenDispatch, AGlobalListenerHearsOnlyNodesWithoutAList)
{
    SDS_TokenListener global;
    SDS_ITokenListener* const value = nullptr;
    global.SetTaskVal(value);
    EXPECT_EQ(global.SetTask(mTask.GetSDSTokenTask()), eSDSErr_None);
    EXPECT_EQ(global.SetGlobal(true), eSDSErr_None);
    const auto waits = [&] { return mTask.ProcessTokens(0, Time_Sample(0), 0); };
    SDS_IName fresh("dispatch/fresh");
    static_cast<void>(Send(fresh, {1, 1, 1}));
    EXPECT_TRUE(waits());
    Log log;
    RunningTask other(0);
    std::optional<Recorder> listener(std::in_place, &other, fresh, log);
    static_cast<void>(Send(fresh, {1, 1, 2}));
    EXPECT_FALSE(waits());
    listener.reset();
    static_cast<void>(Send(fresh, {1, 1, 3}));
    EXPECT_FALSE(waits()) << "the node's list is empty, but there";
    SDS_IName another("dispatch/another");
    static_cast<void>(global.SetGlobal(false));
    static_cast<void>(Send(another, {1, 1, 4}));
    EXPECT_FALSE(waits());
}

TEST_F(TokenDispatch, TheFilterConsumesAndTheClockStamps)
{
    const Recorder listener(&mTask, mA, mLog);
    SDS_ITokenTask::SetDispatchTokenFilter(
        [](SDS_Token* iToken) -> unsigned char { return iToken->type == 3 ? 200 : 0; });
    EXPECT_EQ(Send(mA, {3, 0, 1}), eSDSErr_None);
    EXPECT_EQ(Send(mA, {4, 0, 2}), eSDSErr_None);
    SDS_ITokenTask::SetDispatchTokenFilter(nullptr);
    EXPECT_EQ(Drain(), Log({2}));

    static constexpr Sys_Clock::Source cClock{[] { return Cmn_Int64{5}; },
                                              [] { return Cmn_Int64{7'654'321'999}; }};
    const Sys_Clock::StSource clock(cClock);
    for (const Cmn_Int32 time : {0, 1, 2, -1}) {
        TestToken token(1, 1);
        token.mHeader.time = time;
        static_cast<void>(mA.HandleToken(token.mHeader));
        EXPECT_EQ(token.mHeader.time, time == 1 ? 7654321 : time);
    }
    EXPECT_EQ(Drain().size(), 4u);
}

TEST_F(TokenDispatch, ATaskStartsHaltedAndHaltsNest)
{
    SDS_ITokenTask task(0);
    const Recorder listener(&task, mA, mLog);
    static_cast<void>(Send(mA, {1, 1, 1}));
    const auto processes = [&] { return task.ProcessTokens(0, Time_Sample(11), 22); };
    EXPECT_FALSE(processes());
    task.HaltProcessing();
    task.ResumeProcessing();
    EXPECT_FALSE(processes());
    EXPECT_FALSE(task.IsRunning());
    task.ResumeProcessing();
    EXPECT_TRUE(processes());
    EXPECT_FALSE(processes()) << "nothing is left";
    EXPECT_EQ(task.GetProcessSampleTime(), Time_Sample(11));
    EXPECT_EQ(task.GetProcessMsecTime(), 22);
    const SDS_ITokenTask::StHaltProcessing halted(&task);
    const SDS_ITokenTask::StHaltProcessing none(nullptr);
    EXPECT_FALSE(task.IsRunning());
}

TEST_F(TokenDispatch, ABudgetEndsAfterTheTokenInHand)
{
    // The clock moves a millisecond with each look.
    static Cmn_Int64 sNow = 0;
    static constexpr Sys_Clock::Source cClock{[] { return Cmn_Int64{0}; }, [] { return sNow += 1000; }};
    const Sys_Clock::StSource clock(cClock);
    const Recorder listener(&mTask, mA, mLog);
    for (int i = 0; i < 10; ++i)
        static_cast<void>(Send(mA, {1, 1, i}));
    EXPECT_TRUE(mTask.ProcessTokens(3, Time_Sample(0), 0));
    EXPECT_EQ(mLog, Log({0, 1, 2}));
    EXPECT_TRUE(mTask.ProcessTokens(-5, Time_Sample(0), 0));
    EXPECT_EQ(mLog.size(), 4u);
    EXPECT_NE(mTask.GetSDSTokenTask()->Dump().find("/dispatch/a"), std::string::npos);
    EXPECT_EQ(Drain().size(), 6u);
}

// One comes at each step of delivery that can be forced; a budget that is used up gets one token all the
// same, the newest is not lost.
TEST_F(TokenDispatch, NewerTokensDoNotKeepALatestListenerFromItsNext)
{
    static SDS_IName* sNode = nullptr;
    static int sSent = 0;
    sNode = &mA;
    const Recorder latest(&mTask, mA, mLog, {0, 0, true});
    static_cast<void>(Send(mA, {1, 1, 0}));
    SDS_TokenDispatcher::SetInterleavingHook([] {
        static bool sSending = false;
        if (std::exchange(sSending, true)) return;
        if (sSent < 100) static_cast<void>(Send(*sNode, {1, 1, ++sSent}));
        sSending = false;
    });
    mTask.ProcessTokens(-1, Time_Sample(0), 0);
    SDS_TokenDispatcher::SetInterleavingHook(nullptr);
    EXPECT_EQ(mLog.size(), 1u);
    EXPECT_LT(sSent, 10);
    if (sSent > 0) { // a build with such steps
        EXPECT_EQ(Drain(), Log({sSent}));
    }
}

TEST_F(TokenDispatch, AHandlerThatThrowsLosesItsTokenOnly)
{
    const Listener thrower(&mTask, mA, {}, [&](const TestToken& iToken) {
        if (iToken.mSequence == 1) throw Cmn_Exception(Cmn_eMessage_OSError);
        mLog.push_back(iToken.mSequence);
    });
    for (int i = 0; i < 3; ++i)
        static_cast<void>(Send(mA, {1, 1, i}));
    EXPECT_THROW(mTask.ProcessTokens(0, Time_Sample(0), 0), Cmn_Exception);
    EXPECT_EQ(mLog, Log({0}));
    std::thread([&] { EXPECT_EQ(Drain(), Log({2})) << "the section is free again"; }).join();
}

TEST_F(TokenDispatch, AListenerThatMovesHasLeftItsHandler)
{
    std::atomic<bool> handling{false};
    std::atomic<bool> moved{false};
    Listener listener(&mTask, mA, {}, [&](const TestToken&) {
        handling.store(true);
        for (int i = 0; i < 20000 && !moved.load(); ++i)
            std::this_thread::yield();
        EXPECT_FALSE(moved.load());
    });
    static_cast<void>(Send(mA, {1, 1, 1}));
    std::thread consumer([&] { Drain(); });
    while (!handling.load())
        std::this_thread::yield();
    listener.SetTask(nullptr);
    moved.store(true);
    consumer.join();
}

// A handler may send, and may take listeners away, its own token's too.
TEST_F(TokenDispatch, AHandlerMaySendAndMayDestroyListeners)
{
    std::optional<Recorder> victim;
    const Listener killer(&mTask, mA, {1, 0, false}, [&](const TestToken&) {
        victim.reset();
        static_cast<void>(Send(mB, {2, 0, 99}));
    });
    const Recorder echoes(&mTask, mB, mLog, {2, 0, false});
    victim.emplace(&mTask, mA, mLog);
    static_cast<void>(Send(mA, {1, 1, 1}));
    EXPECT_EQ(Drain(), Log({99}));
}

// What a handler sends counts at once: the older token, which waits behind the one in hand, is dropped.
TEST_F(TokenDispatch, ANewerTokenDropsAPendingOneOfALatestListener)
{
    for (const Cmn_Int32 priority : {0, 16}) {
        RunningTask task(priority);
        const Recorder latest(&task, mA, mLog, {7, 0, true});
        const Listener echo(&task, mA, {8, 0, false}, [&](const TestToken& iToken) {
            mLog.push_back(iToken.mSequence);
            static_cast<void>(Send(mA, {7, 0, 10 * iToken.mSequence}));
        });
        static_cast<void>(Send(mA, {8, 0, 1}));
        static_cast<void>(Send(mA, {7, 0, 2}));
        EXPECT_EQ(Drained(task, mLog), Log({1, 10})) << "priority " << priority;
    }
}

TEST_F(TokenDispatch, AMultiListenerHearsItsTypesInTheOrderSent)
{
    struct Multi : SDS_IMultiTokenListener
    {
        using SDS_IMultiTokenListener::SDS_IMultiTokenListener;
        void HandleToken(SDS_Token* iToken) override { mLog.push_back(TestToken::Of(iToken).mSequence); }
        Log mLog;
    };
    Cmn_PolyVector<Cmn_Int32> types;
    for (const Cmn_Int32 type : {3, 1, 2})
        types.push_back(type);
    Multi multi(&mTask, &mA, 0, types, 0, 0, nullptr, false, false, 0);
    for (int i = 1; i <= 4; ++i)
        static_cast<void>(Send(mA, {i, 0, i}));
    mTask.ProcessTokens(0, Time_Sample(0), 0);
    EXPECT_EQ(multi.mLog, Log({1, 2, 3}));
    // Without a handler of its own, it hands on to the task value.
    const Recorder forwarded(&mTask, mC, mLog);
    SDS_IMultiTokenListener plain(
        &mTask, &mB, 0, types, 0, 0,
        const_cast<SDS_ITokenListener*>(static_cast<const SDS_ITokenListener*>(&forwarded)), false, false, 0);
    static_cast<void>(Send(mB, {2, 0, 7}));
    EXPECT_EQ(Drain(), Log({7}));
}

TEST_F(TokenDispatch, EachTokenSignalsTheClientEventUntilItIsTakenAway)
{
    class Counter : public IPSSyncPrim
    {
    public:
        Counter()
            : IPSSyncPrim("counter")
        {
        }
        bool Enter(std::int32_t) override { return true; }
        bool Leave() override { return ++mCount > 0; }
        int mCount = 0;
    } counter;
    const Recorder listener(&mTask, mA, mLog);
    const Recorder twice(&mTask, mA, mLog);
    const Recorder latest(&mTask, mB, mLog, {0, 0, true});
    mTask.SetClientEvent(&counter);
    static_cast<void>(Send(mA, {1, 1, 1}));
    EXPECT_EQ(counter.mCount, 2);
    static_cast<void>(Send(mB, {1, 1, 2}));
    static_cast<void>(Send(mB, {1, 1, 3}));
    EXPECT_EQ(counter.mCount, 4);
    mTask.SignalClientEvent();
    EXPECT_EQ(counter.mCount, 5);
    mTask.SetClientEvent(nullptr);
    static_cast<void>(Send(mA, {1, 1, 4}));
    EXPECT_EQ(counter.mCount, 5);
    EXPECT_EQ(Drain(), Log({1, 1, 3, 4, 4}));
}

// What a thread keeps between its dispatches: more threads than may keep anything, one that is inside a dispatch when it
// sends again, and one that sleeps on with uses of a list that is retired.
TEST_F(TokenDispatch, WhatProducersKeepComesBackWhenTheySendOrEnd)
{
    class Echo : public IPSSyncPrim
    {
    public:
        explicit Echo(SDS_IName& ioName)
            : IPSSyncPrim("echo")
            , mName(ioName)
        {
        }
        bool Enter(std::int32_t) override { return true; }
        bool Leave() override { return mSent++ > 0 || Send(mName, {1, 1, 100}) == eSDSErr_None; }

    private:
        SDS_IName& mName;
        std::atomic<int> mSent{0};
    } echo(mB);
    auto listener = std::make_unique<Recorder>(&mTask, mA, mLog);
    const Recorder other(&mTask, mB, mLog);
    mTask.SetClientEvent(&echo);
    constexpr int cThreads = 80;
    std::atomic<int> here{0};
    std::atomic<int> stage{0};
    const auto wait = [&](int iStage) {
        here.fetch_add(1);
        while (stage.load() < iStage)
            std::this_thread::yield();
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < cThreads; ++i) {
        threads.emplace_back([&, i] {
            EXPECT_EQ(Send(mA, {1, 1, i}), eSDSErr_None);
            wait(1);
            EXPECT_EQ(Send(mB, {1, 1, i}), eSDSErr_None); // gives up the list of A, which is retired
            wait(2);
        });
    }
    const auto go = [&](int iStage) {
        while (here.load() < cThreads * iStage)
            std::this_thread::yield();
        EXPECT_EQ(Drain().size(), cThreads + (iStage == 1 ? 1u : 0u));
        if (iStage == 1) {
            listener.reset();
            EXPECT_NE(SDS_TokenDispatcher::Dump().find("retired"), std::string::npos)
                << "others have uses of it";
        } else {
            const Recorder rebuilds(&mTask, mC, mLog);
            EXPECT_EQ(SDS_TokenDispatcher::Dump().find("retired"), std::string::npos);
        }
        stage.store(iStage);
    };
    go(1);
    go(2);
    for (std::thread& thread : threads)
        thread.join();
    mTask.SetClientEvent(nullptr);
}

// Another thread holds the dispatcher's section and the task's meanwhile.
TEST_F(TokenDispatch, ADispatchNeitherAllocatesNorLocks)
{
    EXPECT_TRUE(gPSAtomicStructures.IsLockFree() && SDS_TokenPool::IsLockFree());
    const Recorder ordinary(&mTask, mA, mLog);
    const Recorder latest(&mTask, mA, mLog, {0, 0, true});
    const std::unique_ptr<PSEvent> held = gPSThread.CreateAutoResetEvent("held");
    const std::unique_ptr<PSEvent> done = gPSThread.CreateAutoResetEvent("done");
    std::thread holder([&] {
        const SDS_ITokenTask::StHaltProcessing halted(&mTask);
        const IPSSyncPrim::StEnter section(*SDS_TokenDispatcher::GetCriticalSection());
        held->Signal();
        static_cast<void>(done->Wait(IPSSyncPrim::cWaitForever));
    });
    static_cast<void>(held->Wait(IPSSyncPrim::cWaitForever));
    const AllocationCounter allocations;
    for (int i = 0; i < 1200; ++i)
        static_cast<void>(Send(mA, {1, 1, i})); // beyond what the pool has
    EXPECT_EQ(allocations.Count(), 0);
    EXPECT_FALSE(mTask.ProcessTokens(0, Time_Sample(0), 0));
    done->Signal();
    holder.join();
    EXPECT_GE(Drain().size(), 1000u);
}

// A size that runs low grows where a task below the audio priority takes tokens, to 16 blocks at most.
TEST_F(TokenDispatch, ThePoolGrowsOnTheConsumersSideToItsBound)
{
    const Recorder listener(&mTask, mA, mLog);
    const SDS_TokenPool& pool = SDS_TokenDispatcher::GetTokenPool();
    std::size_t most = 0;
    for (int round = 0; round < 20; ++round) {
        const Cmn_UInt32 before = SDS_TokenDispatcher::GetTokenPoolGrowCount();
        const std::size_t cells = pool.GetCellCount(cTestTokenClass);
        while (Send(mA, {1, 1, 0}) == eSDSErr_None)
            continue;
        EXPECT_EQ(pool.GetCellCount(cTestTokenClass), cells) << "a dispatch never grows it";
        EXPECT_EQ(Drain().size(), cells);
        EXPECT_EQ(SDS_TokenDispatcher::GetTokenPoolGrowCount() - before, cells < 16000 ? 1u : 0u);
        most = pool.GetCellCount(cTestTokenClass);
    }
    EXPECT_EQ(most, 16000u);
}

} // namespace
