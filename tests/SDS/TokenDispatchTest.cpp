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
#include <memory>
#include <optional>
#include <thread>

namespace {

using Log = std::vector<int>;

class TokenDispatch : public TokenTest
{
protected:
    TokenDispatch() { mTask.ResumeProcessing(); }
    // Connections outlive the names that made them.
    ~TokenDispatch() override
    {
        for (SDS_IName* name : {&mA, &mB, &mC})
            name->BreakAllConnections();
    }
    Log Drain() { return Drained(mTask, mLog); }

    Log mLog;
    SDS_IName mA{"dispatch/a"};
    SDS_IName mB{"dispatch/b"};
    SDS_IName mC{"dispatch/c"};
    SDS_ITokenTask mTask{0};
};

TEST_F(TokenDispatch, ZeroInAListenersTypeOrSubtypeIsAny)
{
    struct Row
    {
        Cmn_Int32 type, subtype;
    };
    constexpr Row cListeners[] = {
        {5,  2},
        {5,  0},
        {0,  2},
        {0,  0},
        {5,  3},
        {6,  2},
        {-1, 0}
    };
    std::vector<std::unique_ptr<Recorder>> listeners;
    std::array<Log, std::size(cListeners)> logs;
    for (std::size_t i = 0; i < std::size(cListeners); ++i) {
        listeners.push_back(std::make_unique<Recorder>(
            &mTask, mA, logs[i], Hears{cListeners[i].type, cListeners[i].subtype, false}));
    }
    int sequence = 0;
    for (const Row& sent : cListeners) {
        EXPECT_EQ(Send(mA, {sent.type, sent.subtype, ++sequence}), eSDSErr_None);
        for (Log& log : logs)
            log.clear();
        mTask.ProcessTokens(0, Time_Sample(0), 0);
        for (std::size_t i = 0; i < std::size(cListeners); ++i) {
            const Row& listener = cListeners[i];
            const bool heard = (listener.type == 0 || listener.type == sent.type) &&
                               (listener.subtype == 0 || listener.subtype == sent.subtype);
            EXPECT_EQ(logs[i], heard ? Log{sequence} : Log{}) << listener.type << ' ' << listener.subtype;
        }
    }
}

TEST_F(TokenDispatch, ConnectedNodesHearEachOtherInBothDirections)
{
    const Recorder atB(&mTask, mB, mLog);
    const Recorder atC(&mTask, mC, mLog);
    Send(mA, {1, 1, 1});
    EXPECT_EQ(Drain(), Log());
    mA.ConnectTo(&mB);
    Send(mA, {1, 1, 2});
    EXPECT_EQ(Drain(), Log({2}));
    mC.ConnectTo(&mB);
    for (SDS_IName* name : {&mA, &mB, &mC})
        Send(*name, {1, 1, 3});
    EXPECT_EQ(Drain(), Log(6, 3));
    mB.DisconnectFrom(&mA);
    Send(mA, {1, 1, 4});
    EXPECT_EQ(Drain(), Log());
    Send(mC, {1, 1, 5});
    EXPECT_EQ(Drain(), Log({5, 5}));
    mB.BreakAllConnections();
    Send(mB, {1, 1, 6});
    EXPECT_EQ(Drain(), Log({6}));
}

// Of three tokens the last, at the place of the last, whether the older ones are withdrawn by the producer or dropped by
// the consumer.
TEST_F(TokenDispatch, ALatestListenerIsToldTheNewestBehindWhatWasSentBeforeIt)
{
    for (const Cmn_Int32 priority : {0, 15, 16, 40}) {
        SDS_ITokenTask task(priority);
        task.ResumeProcessing();
        const Recorder latest(&task, mA, mLog, {7, 0, true});
        const Recorder every(&task, mA, mLog, {8, 0, false});
        const Recorder secondLatest(&task, mB, mLog, {7, 0, true});
        struct Row
        {
            const char* what;
            std::vector<std::pair<int, int>> sent; // type (9: to B), sequence
            Log told;
        };
        const Row rows[] = {
            {"one",                        {{7, 1}},                                 {1}         },
            {"the last of three",          {{7, 1}, {7, 2}, {7, 3}},                 {3}         },
            {"behind others sent between", {{7, 1}, {8, 2}, {7, 3}},                 {2, 3}      },
            {"before others sent after",   {{8, 1}, {7, 2}, {8, 3}, {8, 4}},         {1, 2, 3, 4}},
            {"each keeps to its place",    {{7, 1}, {9, 2}, {8, 3}, {7, 4}, {8, 5}}, {2, 3, 4, 5}},
            {"two latest listeners",       {{9, 1}, {7, 2}, {9, 3}},                 {2, 3}      },
        };
        for (const Row& row : rows) {
            for (const auto& [type, sequence] : row.sent) {
                Send(type == 9 ? mB : mA, {type == 9 ? 7 : type, 0, sequence});
            }
            EXPECT_EQ(Drained(task, mLog), row.told) << row.what << ", priority " << priority;
        }
        const std::size_t before = FreeCells();
        for (int i = 0; i < 100; ++i)
            Send(mA, {7, 0, i});
        EXPECT_EQ(before - FreeCells(), priority < 16 ? 1u : 100u)
            << "cells in the queue, priority " << priority;
        EXPECT_EQ(Drained(task, mLog), Log({99}));
    }
}

// Random tokens, drained at random moments, against the rule in plain words.
TEST_F(TokenDispatch, AnyMixOfLatestAndOrdinaryTokensKeepsItsOrder)
{
    for (const Cmn_Int32 priority : {0, 16}) {
        SDS_ITokenTask task(priority);
        task.ResumeProcessing();
        std::vector<std::unique_ptr<Recorder>> listeners;
        for (int type = 1; type <= 5; ++type) {
            listeners.push_back(std::make_unique<Recorder>(&task, mA, mLog, Hears{type, 0, type <= 3}));
        }
        Log waiting; // type + 10 * sequence
        Cmn_UInt32 random = 12345;
        for (int step = 1; step < 3000; ++step) {
            random = random * 1664525 + 1013904223;
            const int type = static_cast<int>(random >> 16) % 5 + 1;
            Send(mA, {type, 0, type + 10 * step});
            if (type <= 3) std::erase_if(waiting, [&](int iToken) { return iToken % 10 == type; });
            waiting.push_back(type + 10 * step);
            if ((random >> 28) != 0) continue;
            EXPECT_EQ(Drained(task, mLog), waiting) << "priority " << priority << ", step " << step;
            waiting.clear();
        }
        Drained(task, mLog);
    }
}

TEST_F(TokenDispatch, RefusalsNameTheirReason)
{
    const Recorder listener(&mTask, mA, mLog);
    struct Large
    {
        SDS_Token header{};
        char data[1040] = {};
    } large;
    large.header.name = mA.GetID();
    struct Row
    {
        const char* what;
        Cmn_Int16 size;
        ESDSError result;
    };
    constexpr Row rows[] = {
        {"negative",                -1,   eSDSErr_OutOfMemory  },
        {"nothing",                 0,    eSDSErr_OutOfMemory  },
        {"less than a header",      49,   eSDSErr_OutOfMemory  },
        {"a bare header",           50,   eSDSErr_None         },
        {"fills the smallest cell", 64,   eSDSErr_None         },
        {"the second size",         65,   eSDSErr_None         },
        {"fills the second",        108,  eSDSErr_None         },
        {"the third",               109,  eSDSErr_None         },
        {"fills the third",         390,  eSDSErr_None         },
        {"the largest size",        391,  eSDSErr_None         },
        {"the largest token",       1080, eSDSErr_None         },
        {"one byte more",           1081, eSDSErr_TokenPoolFull},
    };
    for (const Row& row : rows) {
        large.header.size = row.size;
        EXPECT_EQ(SDS_TokenDispatcher::DispatchToken(&large.header), row.result) << row.what;
        SDS_TokenListener* heard = nullptr;
        SDS_Token* token = nullptr;
        EXPECT_EQ(SDS_TokenDispatcher::GetToken(mTask.GetSDSTokenTask(), &heard, &token), eSDSErr_None);
        ASSERT_EQ(token != nullptr, row.result == eSDSErr_None) << row.what;
        if (token == nullptr) continue;
        EXPECT_EQ(heard, listener.GetSDSTokenListener());
        EXPECT_EQ(token->size, row.size);
        EXPECT_EQ(SDS_TokenDispatcher::DoneWithToken(token), eSDSErr_None);
    }
    TestToken nameless(1, 1);
    unsigned char available = 0;
    SDS_Token* token = nullptr;
    SDS_TokenListener* heard = nullptr;
    SDS_TokenTask* const task = mTask.GetSDSTokenTask();
    EXPECT_EQ(SDS_TokenDispatcher::DispatchToken(nullptr), eSDSErr_OutOfMemory);
    EXPECT_EQ(SDS_TokenDispatcher::DispatchToken(&nameless.header), eSDSErr_InvalidName);
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
    SDS_ITokenTask quiet(16); // never grows the pool
    quiet.ResumeProcessing();
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

TEST_F(TokenDispatch, AClientTakesATokenAtATime)
{
    const Recorder listener(&mTask, mA, mLog);
    for (int i = 1; i <= 2; ++i)
        Send(mA, {1, 1, i});
    SDS_TokenTask* const task = mTask.GetSDSTokenTask();
    unsigned char available = 0;
    for (int i = 1; i <= 2; ++i) {
        SDS_TokenDispatcher::TokensAvailable(task, &available);
        EXPECT_EQ(available, 1);
        SDS_Token* token = nullptr;
        SDS_TokenListener* heard = nullptr;
        void* value = nullptr;
        EXPECT_EQ(SDS_TokenDispatcher::GetTokenAndTaskVal(task, &heard, &value, &token), eSDSErr_None);
        ASSERT_NE(token, nullptr);
        EXPECT_EQ(TestToken::Of(token).sequence, i);
        EXPECT_EQ(value, static_cast<const SDS_ITokenListener*>(&listener));
        EXPECT_NE(task->Dump().find(i == 1 ? "/dispatch/a" : "priority"), std::string::npos) << task->Dump();
        SDS_TokenDispatcher::DoneWithToken(token);
    }
    SDS_TokenDispatcher::TokensAvailable(task, &available);
    EXPECT_EQ(available, 0);
}

TEST_F(TokenDispatch, WhatIsQueuedForAListenerThatGoesIsNeverHandedOut)
{
    enum class Way { eDestroyed, eMoved, eTaskDestroyed, eTypeChanged };
    for (const Way way : {Way::eDestroyed, Way::eMoved, Way::eTaskDestroyed, Way::eTypeChanged}) {
        for (const bool latest : {false, true}) {
            auto task = std::make_unique<SDS_ITokenTask>(0);
            task->ResumeProcessing();
            auto listener = std::make_unique<Recorder>(task.get(), mA, mLog, Hears{0, 0, latest});
            const Recorder stays(&mTask, mA, mLog);
            Send(mA, {1, 1, 1});
            if (way == Way::eDestroyed) listener.reset();
            if (way == Way::eMoved) listener->SetTask(&mTask);
            if (way == Way::eTaskDestroyed) task.reset();
            if (way == Way::eTypeChanged) listener->GetSDSTokenListener()->SetType(77);
            if (task) {
                EXPECT_EQ(Drained(*task, mLog), Log()) << static_cast<int>(way);
            }
            EXPECT_EQ(Drain(), Log({1})) << static_cast<int>(way);
            Send(mA, {1, 1, 2});
            EXPECT_EQ(Drain(), way == Way::eMoved ? Log({2, 2}) : Log({2})) << static_cast<int>(way);
        }
    }
}

TEST_F(TokenDispatch, APauseDefersWhoHearsAndNothingElse)
{
    std::optional<Recorder> first(std::in_place, &mTask, mA, mLog);
    SDS_ITokenTask::SetTokensPaused(true);
    SDS_ITokenTask::SetTokensPaused(true);
    std::optional<Recorder> second(std::in_place, &mTask, mA, mLog);
    mA.ConnectTo(&mB);
    Send(mA, {1, 1, 1});
    Send(mB, {1, 1, 2});
    EXPECT_EQ(Drain(), Log({1}));
    first.reset();
    Send(mA, {1, 1, 3});
    EXPECT_EQ(Drain(), Log());
    SDS_ITokenTask::SetTokensPaused(false);
    EXPECT_TRUE(SDS_TokenDispatcher::GetTokensPaused());
    Send(mB, {1, 1, 4});
    EXPECT_EQ(Drain(), Log());
    SDS_ITokenTask::SetTokensPaused(false);
    for (SDS_IName* name : {&mA, &mB})
        Send(*name, {1, 1, 5});
    EXPECT_EQ(Drain(), Log({5, 5}));
    // Ended too often, the count is below zero, and the next pause is none.
    SDS_ITokenTask::SetTokensPaused(false);
    SDS_ITokenTask::SetTokensPaused(true);
    EXPECT_FALSE(SDS_TokenDispatcher::GetTokensPaused());
}

TEST_F(TokenDispatch, AGlobalListenerHearsOnlyNodesWithoutAList)
{
    SDS_TokenListener global;
    SDS_ITokenListener* const value = nullptr;
    global.SetTaskVal(value);
    EXPECT_EQ(global.SetTask(mTask.GetSDSTokenTask()), eSDSErr_None);
    EXPECT_EQ(global.SetGlobal(true), eSDSErr_None);
    const auto waits = [&] {
        SDS_TokenListener* heard = nullptr;
        SDS_Token* token = nullptr;
        SDS_TokenDispatcher::GetToken(mTask.GetSDSTokenTask(), &heard, &token);
        if (token != nullptr) SDS_TokenDispatcher::DoneWithToken(token);
        return heard == &global;
    };
    SDS_IName fresh("dispatch/fresh");
    Send(fresh, {1, 1, 1});
    EXPECT_TRUE(waits());
    Log log;
    SDS_ITokenTask other(0);
    other.ResumeProcessing();
    std::optional<Recorder> listener(std::in_place, &other, fresh, log);
    Send(fresh, {1, 1, 2});
    EXPECT_FALSE(waits());
    listener.reset();
    Send(fresh, {1, 1, 3});
    EXPECT_FALSE(waits()) << "the node's list is empty, but there";
    SDS_IName another("dispatch/another");
    global.SetGlobal(false);
    Send(another, {1, 1, 4});
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
        token.header.time = time;
        mA.HandleToken(token.header);
        EXPECT_EQ(token.header.time, time == 1 ? 7654321 : time);
    }
    EXPECT_EQ(Drain().size(), 4u);
}

TEST_F(TokenDispatch, ATaskStartsHaltedAndHaltsNest)
{
    SDS_ITokenTask task(0);
    const Recorder listener(&task, mA, mLog);
    Send(mA, {1, 1, 1});
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
        Send(mA, {1, 1, i});
    EXPECT_TRUE(mTask.ProcessTokens(3, Time_Sample(0), 0));
    EXPECT_EQ(mLog, Log({0, 1, 2}));
    EXPECT_TRUE(mTask.ProcessTokens(-5, Time_Sample(0), 0));
    EXPECT_EQ(mLog.size(), 4u);
    EXPECT_EQ(Drain().size(), 6u);
}

TEST_F(TokenDispatch, AHandlerThatThrowsLosesItsTokenOnly)
{
    struct Thrower : SDS_ITokenListener
    {
        Thrower(SDS_ITokenTask& iTask, SDS_IName& iName)
            : SDS_ITokenListener(&iTask, &iName, 0, 0, 0, 0, static_cast<SDS_ITokenListener*>(this), false,
                                 false, 0)
        {
        }
        void HandleToken(SDS_Token* iToken) override
        {
            if (TestToken::Of(iToken).sequence == 1) throw Cmn_Exception(Cmn_eMessage_OSError);
            ++calls;
        }
        int calls = 0;
    } thrower(mTask, mA);
    for (int i = 0; i < 3; ++i)
        Send(mA, {1, 1, i});
    EXPECT_THROW(mTask.ProcessTokens(0, Time_Sample(0), 0), Cmn_Exception);
    EXPECT_EQ(thrower.calls, 1);
    EXPECT_TRUE(mTask.ProcessTokens(0, Time_Sample(0), 0)) << "the section is free again";
    EXPECT_EQ(thrower.calls, 2);
}

// A handler may send, and may take listeners away, its own token's too.
TEST_F(TokenDispatch, AHandlerMaySendAndMayDestroyListeners)
{
    std::optional<Recorder> victim;
    struct Killer : SDS_ITokenListener
    {
        Killer(SDS_ITokenTask& iTask, SDS_IName& iName, std::optional<Recorder>& ioVictim, SDS_IName& iTarget)
            : SDS_ITokenListener(&iTask, &iName, 1, 0, 0, 0, static_cast<SDS_ITokenListener*>(this), false,
                                 false, 0)
            , mVictim(ioVictim)
            , mTarget(iTarget)
        {
        }
        void HandleToken(SDS_Token*) override
        {
            mVictim.reset();
            TestToken echo(2, 0, 99);
            mTarget.HandleToken(echo.header);
        }
        std::optional<Recorder>& mVictim;
        SDS_IName& mTarget;
    };
    const Killer killer(mTask, mA, victim, mB);
    const Recorder echoes(&mTask, mB, mLog, {2, 0, false});
    victim.emplace(&mTask, mA, mLog);
    Send(mA, {1, 1, 1});
    EXPECT_EQ(Drain(), Log({99}));
}

// What a handler sends counts at once: the older token, which waits behind the one in hand, is dropped.
TEST_F(TokenDispatch, ANewerTokenDropsAPendingOneOfALatestListener)
{
    struct Echo : Recorder
    {
        Echo(SDS_ITokenTask& iTask, SDS_IName& iName, Log& ioLog)
            : Recorder(&iTask, iName, ioLog, {8, 0, false})
            , mName(iName)
        {
        }
        void HandleToken(SDS_Token* iToken) override
        {
            Recorder::HandleToken(iToken);
            Send(mName, {7, 0, 10 * TestToken::Of(iToken).sequence});
        }
        SDS_IName& mName;
    };
    for (const Cmn_Int32 priority : {0, 16}) {
        SDS_ITokenTask task(priority);
        task.ResumeProcessing();
        const Recorder latest(&task, mA, mLog, {7, 0, true});
        const Echo echo(task, mA, mLog);
        Send(mA, {8, 0, 1});
        Send(mA, {7, 0, 2});
        EXPECT_EQ(Drained(task, mLog), Log({1, 10})) << "priority " << priority;
    }
}

TEST_F(TokenDispatch, AMultiListenerHearsItsTypesInTheOrderSent)
{
    struct Multi : SDS_IMultiTokenListener
    {
        using SDS_IMultiTokenListener::SDS_IMultiTokenListener;
        void HandleToken(SDS_Token* iToken) override { log.push_back(TestToken::Of(iToken).sequence); }
        Log log;
    };
    Cmn_PolyVector<Cmn_Int32> types;
    for (const Cmn_Int32 type : {3, 1, 2})
        types.push_back(type);
    Multi multi(&mTask, &mA, 0, types, 0, 0, nullptr, false, false, 0);
    for (int i = 1; i <= 4; ++i)
        Send(mA, {i, 0, i});
    mTask.ProcessTokens(0, Time_Sample(0), 0);
    EXPECT_EQ(multi.log, Log({1, 2, 3}));
    // Without a handler of its own, it hands on to the task value.
    const Recorder forwarded(&mTask, mC, mLog);
    SDS_IMultiTokenListener plain(
        &mTask, &mB, 0, types, 0, 0,
        const_cast<SDS_ITokenListener*>(static_cast<const SDS_ITokenListener*>(&forwarded)), false, false, 0);
    Send(mB, {2, 0, 7});
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
        bool Leave() override { return ++count > 0; }
        int count = 0;
    } counter;
    const Recorder listener(&mTask, mA, mLog);
    const Recorder twice(&mTask, mA, mLog);
    const Recorder latest(&mTask, mB, mLog, {0, 0, true});
    mTask.SetClientEvent(&counter);
    Send(mA, {1, 1, 1});
    EXPECT_EQ(counter.count, 2);
    Send(mB, {1, 1, 2});
    Send(mB, {1, 1, 3});
    EXPECT_EQ(counter.count, 4);
    mTask.SignalClientEvent();
    EXPECT_EQ(counter.count, 5);
    mTask.SetClientEvent(nullptr);
    Send(mA, {1, 1, 4});
    EXPECT_EQ(counter.count, 5);
    EXPECT_EQ(Drain(), Log({1, 1, 3, 4, 4}));
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
        done->Wait(IPSSyncPrim::cWaitForever);
    });
    held->Wait(IPSSyncPrim::cWaitForever);
    const AllocationCounter allocations;
    for (int i = 0; i < 1200; ++i)
        Send(mA, {1, 1, i}); // beyond what the pool has
    EXPECT_EQ(allocations.Count(), 0);
    EXPECT_FALSE(mTask.ProcessTokens(0, Time_Sample(0), 0));
    done->Signal();
    holder.join();
    EXPECT_GE(Drain().size(), 1000u);
}

// More than one visit to the pool serves.
TEST_F(TokenDispatch, AHundredListenersOnThreeTasksAreAllTold)
{
    SDS_ITokenTask others[2] = {SDS_ITokenTask(0), SDS_ITokenTask(16)};
    std::vector<std::unique_ptr<Recorder>> listeners;
    for (int i = 0; i < 100; ++i) {
        SDS_ITokenTask* const task = i % 7 == 0 ? &others[0] : i % 11 == 0 ? &others[1] : &mTask;
        listeners.push_back(std::make_unique<Recorder>(task, mA, mLog, Hears{0, 0, i % 5 == 0}));
    }
    for (SDS_ITokenTask& task : others)
        task.ResumeProcessing();
    Send(mA, {1, 1, 1});
    const std::size_t told =
        Drain().size() + Drained(others[0], mLog).size() + Drained(others[1], mLog).size();
    EXPECT_EQ(told, 100u);
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
