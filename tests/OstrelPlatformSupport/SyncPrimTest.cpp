#include "OstrelPlatformSupport/PSThread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <thread>
#include <vector>

namespace {

// Made while the program's statics are initialised, before anything of the library is known to be.
const std::unique_ptr<IPSSyncPrim> sMadeEarly = gPSThread.CreateCriticalSection("made early");
const bool sEnteredEarly = sMadeEarly->Enter(IPSSyncPrim::cTryOnly);

std::vector<std::thread> StartThreads(int iCount, const std::function<void(int)>& iBody)
{
    std::vector<std::thread> threads;
    for (int i = 0; i < iCount; ++i)
        threads.emplace_back(iBody, i);
    return threads;
}

void Join(std::vector<std::thread>&& ioThreads)
{
    for (std::thread& thread : ioThreads)
        thread.join();
}

// More threads than cores, so that they are interrupted inside each other's sections.
int ManyThreads() { return static_cast<int>(std::thread::hardware_concurrency()) * 2 + 4; }

bool OnAnotherThread(const std::function<bool()>& iBody)
{
    bool result = false;
    std::thread([&] { result = iBody(); }).join();
    return result;
}

bool CanEnterElsewhere(IPSSyncPrim& iSection)
{
    return OnAnotherThread([&] { return iSection.Enter(IPSSyncPrim::cTryOnly) && iSection.Leave(); });
}

} // namespace

TEST(CriticalSection, WorksWhileStaticsAreInitialised)
{
    EXPECT_TRUE(sEnteredEarly);
    EXPECT_EQ(sMadeEarly->GetName(), "made early");
    EXPECT_FALSE(CanEnterElsewhere(*sMadeEarly));
    EXPECT_TRUE(sMadeEarly->Leave());
    EXPECT_TRUE(CanEnterElsewhere(*sMadeEarly));
    EXPECT_TRUE(sMadeEarly->Enter(IPSSyncPrim::cTryOnly)); // as it was, for another run
}

TEST(CriticalSection, IsFreeOnlyWhenItsThreadHasLeftAsOftenAsEntered)
{
    const auto section = gPSThread.CreateCriticalSection("recursive");
    for (const std::int32_t timeout : {IPSSyncPrim::cTryOnly, IPSSyncPrim::cWaitForever, 5}) {
        EXPECT_TRUE(section->Enter(timeout));
        EXPECT_FALSE(CanEnterElsewhere(*section));
    }
    EXPECT_TRUE(section->Leave());
    EXPECT_TRUE(section->Leave());
    EXPECT_FALSE(CanEnterElsewhere(*section));
    EXPECT_TRUE(section->Leave());
    EXPECT_TRUE(CanEnterElsewhere(*section));
    EXPECT_FALSE(section->Leave()) << "nothing was left to leave";
    EXPECT_TRUE(CanEnterElsewhere(*section));
}

TEST(CriticalSection, StrangersNeitherLeaveNorGiveUpBeforeTheirTime)
{
    const auto section = gPSThread.CreateCriticalSection("timed");
    {
        const IPSSyncPrim::StEnter inside(*section);
        EXPECT_FALSE(OnAnotherThread([&] { return section->Leave(); }));
        const auto start = std::chrono::steady_clock::now();
        EXPECT_FALSE(OnAnotherThread([&] { return section->Enter(20); }));
        EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(20));
    }
    EXPECT_TRUE(CanEnterElsewhere(*section)) << "a waiter that gave up must leave nothing behind";
}

TEST(CriticalSection, OneThreadAtATimeIsInsideHoweverItEntered)
{
    const auto section = gPSThread.CreateCriticalSection("crowd");
    long inside = 0; // plain: the section alone keeps the threads apart
    std::atomic<long> entered{0};
    Join(StartThreads(ManyThreads(), [&](int iThread) {
        const std::int32_t timeouts[] = {IPSSyncPrim::cWaitForever, IPSSyncPrim::cTryOnly, 1};
        for (int round = 0; round < 3000; ++round) {
            if (!section->Enter(timeouts[(iThread + round) % 3])) continue;
            EXPECT_TRUE(section->Enter(timeouts[round % 3]));
            if (round % 64 == 0) std::this_thread::yield();
            ++inside;
            ++entered;
            EXPECT_TRUE(section->Leave());
            EXPECT_TRUE(section->Leave());
        }
    }));
    EXPECT_EQ(inside, entered.load());
    EXPECT_TRUE(CanEnterElsewhere(*section));
}

TEST(CriticalSection, MayBeDestroyedByTheThreadThatEntersNext)
{
    for (int round = 0; round < 300; ++round) {
        auto section = gPSThread.CreateCriticalSection("short-lived");
        std::atomic<bool> taken{false};
        std::thread owner([&taken, &section = *section] {
            static_cast<void>(section.Enter(IPSSyncPrim::cWaitForever));
            taken = true;
            std::this_thread::yield();
            section.Leave();
        });
        while (!taken)
            std::this_thread::yield();
        static_cast<void>(section->Enter(IPSSyncPrim::cWaitForever));
        section->Leave();
        section.reset();
        owner.join();
    }
}

TEST(Event, KeepsOneSignalUntilOneWaitTakesIt)
{
    const auto event = gPSThread.CreateAutoResetEvent("kept");
    EXPECT_FALSE(event->Wait(0));
    event->Signal();
    event->Signal();
    EXPECT_TRUE(event->Wait(-1));
    EXPECT_FALSE(event->Wait(0)) << "two signals that nobody took between are one";
    EXPECT_FALSE(event->Wait(2));
    EXPECT_TRUE(event->Leave()) << "leaving an event signals it";
    EXPECT_TRUE(event->Enter(2));
}

TEST(Event, PassesWhatWasWrittenBeforeTheSignal)
{
    const auto ping = gPSThread.CreateAutoResetEvent("ping");
    const auto pong = gPSThread.CreateAutoResetEvent("pong");
    long ball = 0; // plain: the events alone order its uses
    constexpr long cRounds = 3000;
    std::thread other([&] {
        for (long round = 0; round < cRounds; ++round) {
            EXPECT_TRUE(ping->Wait(IPSSyncPrim::cWaitForever));
            EXPECT_EQ(ball, 2 * round + 1);
            ++ball;
            pong->Signal();
        }
    });
    for (long round = 0; round < cRounds; ++round) {
        ++ball;
        ping->Signal();
        while (!pong->Wait(round % 2 == 0 ? 1 : -1)) {
        }
    }
    other.join();
    EXPECT_EQ(ball, 2 * cRounds);
}

// Each signal is taken exactly once, though the waiters' time keeps running out around it.
TEST(Event, LosesNoSignalToWaitersThatGiveUp)
{
    const auto event = gPSThread.CreateAutoResetEvent("giving up");
    std::atomic<int> taken{0};
    std::atomic<bool> done{false};
    auto waiters = StartThreads(ManyThreads(), [&](int iThread) {
        while (!done)
            if (event->Wait(iThread % 3)) ++taken;
    });
    for (int sent = 1; sent <= 1000; ++sent) {
        event->Signal();
        while (taken != sent)
            std::this_thread::yield();
    }
    done = true;
    Join(std::move(waiters));
    EXPECT_EQ(taken, 1000);
}

TEST(Event, WakesASleeperWhoeverSignalled)
{
    const auto event = gPSThread.CreateAutoResetEvent("work");
    std::atomic<long> waiting{0};
    long done = 0;
    const int producers = ManyThreads();
    constexpr long cEach = 500;
    auto threads = StartThreads(producers, [&](int) {
        for (long i = 0; i < cEach; ++i) {
            ++waiting;
            event->Signal();
        }
    });
    // A lost wake-up would leave this asleep with work waiting.
    while (done < producers * cEach) {
        EXPECT_TRUE(event->Wait(IPSSyncPrim::cWaitForever));
        done += waiting.exchange(0);
    }
    Join(std::move(threads));
}

TEST(Event, MayBeDestroyedByTheWaiterItWoke)
{
    for (int round = 0; round < 300; ++round) {
        auto event = gPSThread.CreateAutoResetEvent("short-lived");
        std::thread signaller([&event = *event] { event.Signal(); });
        EXPECT_TRUE(event->Wait(IPSSyncPrim::cWaitForever));
        event.reset();
        signaller.join();
    }
}
