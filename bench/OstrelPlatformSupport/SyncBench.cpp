// What waiting costs where nobody waits, which is how real-time threads meet it; the
// standard library beside it.
#include "OstrelPlatformSupport/PSThread.h"

#include <benchmark/benchmark.h>

#include <condition_variable>
#include <mutex>

namespace {

void TryEnterAndLeave(benchmark::State& ioState)
{
    const auto section = gPSThread.CreateCriticalSection("bench");
    for (auto _ : ioState)
        if (section->Enter(IPSSyncPrim::cTryOnly)) section->Leave();
}
BENCHMARK(TryEnterAndLeave);

void TryEnterAndLeaveStdRecursiveMutex(benchmark::State& ioState)
{
    std::recursive_mutex mutex;
    for (auto _ : ioState)
        if (mutex.try_lock()) mutex.unlock();
}
BENCHMARK(TryEnterAndLeaveStdRecursiveMutex);

void Contended(benchmark::State& ioState)
{
    static const auto sSection = gPSThread.CreateCriticalSection("bench");
    for (auto _ : ioState) {
        const IPSSyncPrim::StEnter inside(*sSection);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(Contended)->Threads(2)->Threads(8)->UseRealTime();

void ContendedStdRecursiveMutex(benchmark::State& ioState)
{
    static std::recursive_mutex sMutex;
    for (auto _ : ioState) {
        const std::lock_guard inside(sMutex);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(ContendedStdRecursiveMutex)->Threads(2)->Threads(8)->UseRealTime();

void SignalWithoutSleeper(benchmark::State& ioState)
{
    const auto event = gPSThread.CreateAutoResetEvent("bench");
    for (auto _ : ioState)
        event->Signal();
}
BENCHMARK(SignalWithoutSleeper);

void SignalAndTake(benchmark::State& ioState)
{
    const auto event = gPSThread.CreateAutoResetEvent("bench");
    for (auto _ : ioState) {
        event->Signal();
        benchmark::DoNotOptimize(event->Wait(0));
    }
}
BENCHMARK(SignalAndTake);

void SignalAndTakeStdConditionVariable(benchmark::State& ioState)
{
    std::mutex mutex;
    std::condition_variable condition;
    bool isSignalled = false;
    for (auto _ : ioState) {
        {
            const std::lock_guard lock(mutex);
            isSignalled = true;
        }
        condition.notify_one();
        const std::lock_guard lock(mutex);
        benchmark::DoNotOptimize(isSignalled);
        isSignalled = false;
    }
}
BENCHMARK(SignalAndTakeStdConditionVariable);

} // namespace
