// Tokens of 128 bytes from a producer to listeners, beside the queues that a host would take instead: the
// lock-free queue of libconcurrentqueue-dev, a mutex and a deque, Boost.Signals2, a vector of virtual calls.
#include "Kora/SDS/FicInterface/SDS_IName.h"
#include "Kora/SDS/FicInterface/SDS_ITokenListener.h"
#include "Kora/SDS/FicInterface/SDS_ITokenTask.h"
#include "Kora/SDS/Source/SDS_DeliveryQueue_p.h"
#include "Kora/SDS/Source/SDS_NameRegistry.h"
#include "Kora/SDS/Source/SDS_TokenDispatcher.h"

#include <benchmark/benchmark.h>
#ifdef KORA_BENCH_CONCURRENTQUEUE
#include <concurrentqueue/concurrentqueue.h>
#endif
#ifdef KORA_BENCH_SIGNALS2
#include <boost/signals2/signal.hpp>
#endif

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace {

struct Token128
{
    SDS_Token mHeader{};
    Cmn_Int64 mData[9] = {};

    Token128()
    {
        mHeader.type = 1;
        mHeader.size = 128;
    }
};
static_assert(sizeof(Token128) == 128);

class Sink : public SDS_ITokenListener
{
public:
    Sink(SDS_ITokenTask& iTask, SDS_IName& iName)
        : SDS_ITokenListener(nullptr, &iName, 0, 0, 0, 0, static_cast<SDS_ITokenListener*>(this), false,
                             false, 0)
    {
        SetTask(&iTask);
    }
    void HandleToken(SDS_Token* iToken) override
    {
        mSum += reinterpret_cast<const Token128*>(iToken)->mData[0];
    }
    Cmn_Int64 mSum = 0;
};

// A node, a task of audio priority, and as many listeners.
struct Scene
{
    explicit Scene(std::size_t iListeners, Cmn_Int32 iPriority = 16)
        : mTask((static_cast<void>(SDS_NameRegistry::Init()), iPriority))
        , mName("bench")
    {
        for (std::size_t i = 0; i < iListeners; ++i)
            mSinks.push_back(std::make_unique<Sink>(mTask, mName));
        mTask.ResumeProcessing();
        mToken.mHeader.name = mName.GetID();
    }
    ~Scene() { Drain(); }
    bool Drain() { return mTask.ProcessTokens(0, Time_Sample(0), 0); }
    bool Send() { return SDS_TokenDispatcher::DispatchToken(&mToken.mHeader) == eSDSErr_None; }

    SDS_ITokenTask mTask;
    SDS_IName mName;
    std::vector<std::unique_ptr<Sink>> mSinks;
    Token128 mToken;
};

constexpr int cBurst = 64;

// The time of one of so many.
void ReportEach(benchmark::State& ioState, int iOf)
{
    ioState.counters["each"] = benchmark::Counter(static_cast<double>(ioState.iterations()) * iOf,
                                                  benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

// The producer's cost alone: bursts are drained off the clock.
template <class TSend, class TDrain>
void ProducersCost(benchmark::State& ioState, TSend iSend, TDrain iDrain)
{
    for (auto _ : ioState) {
        const auto start = std::chrono::steady_clock::now();
        for (int i = 0; i < cBurst; ++i)
            iSend();
        const auto end = std::chrono::steady_clock::now();
        iDrain();
        ioState.SetIterationTime(std::chrono::duration<double>(end - start).count());
    }
    ReportEach(ioState, cBurst);
}

void Dispatch_Kora(benchmark::State& ioState)
{
    Scene scene(1);
    ProducersCost(
        ioState, [&] { scene.Send(); }, [&] { scene.Drain(); });
}
BENCHMARK(Dispatch_Kora)->UseManualTime();

// What no dispatcher can be without: a cell, a copy, a push.
void Dispatch_CopyAndPush(benchmark::State& ioState)
{
    Scene scene(0);
    SDS_TokenPool& pool = SDS_TokenDispatcher::GetTokenPool();
    PSAtomicQueue queue;
    ProducersCost(
        ioState,
        [&] {
            SDS_DeliveryElement* const cell = pool.Allocate(sizeof(SDS_DeliveryElement) + 128);
            std::memcpy(static_cast<void*>(cell + 1), &scene.mToken, 128);
            static_cast<void>(queue.Push(*cell));
        },
        [&] {
            SDS_TokenPool::Batch batch(pool);
            for (PSAtomicQueueLink* link = queue.Drain(); link != nullptr;) {
                auto* const cell = static_cast<SDS_DeliveryElement*>(link);
                link = link->mNext;
                batch.Free(cell);
            }
        });
}
BENCHMARK(Dispatch_CopyAndPush)->UseManualTime();

void DispatchAndHandle_Kora(benchmark::State& ioState)
{
    Scene scene(1);
    for (auto _ : ioState) {
        for (int i = 0; i < cBurst; ++i)
            scene.Send();
        scene.Drain();
    }
    ReportEach(ioState, cBurst);
}
BENCHMARK(DispatchAndHandle_Kora);

struct MutexDeque
{
    void Push(const Token128& iToken)
    {
        const std::scoped_lock lock(mMutex);
        mTokens.push_back(iToken);
    }
    bool Pop(Token128& oToken)
    {
        const std::scoped_lock lock(mMutex);
        if (mTokens.empty()) return false;
        oToken = mTokens.front();
        mTokens.pop_front();
        return true;
    }
    std::mutex mMutex;
    std::deque<Token128> mTokens;
};

#ifdef KORA_BENCH_CONCURRENTQUEUE
struct ConcurrentQueue
{
    ConcurrentQueue()
        : mTokens(4096)
    {
    }
    void Push(const Token128& iToken) { mTokens.enqueue(iToken); }
    bool Pop(Token128& oToken) { return mTokens.try_dequeue(oToken); }
    moodycamel::ConcurrentQueue<Token128> mTokens;
};
#endif

template <class TQueue>
void Dispatch_Peer(benchmark::State& ioState)
{
    TQueue queue;
    Token128 token, taken;
    ProducersCost(
        ioState, [&] { queue.Push(token); },
        [&] {
            while (queue.Pop(taken))
                continue;
        });
}

template <class TQueue>
void DispatchAndHandle_Peer(benchmark::State& ioState)
{
    TQueue queue;
    Token128 token, taken;
    Cmn_Int64 sum = 0;
    for (auto _ : ioState) {
        for (int i = 0; i < cBurst; ++i)
            queue.Push(token);
        while (queue.Pop(taken))
            sum += taken.mData[0];
    }
    benchmark::DoNotOptimize(sum);
    ReportEach(ioState, cBurst);
}
BENCHMARK(DispatchAndHandle_Peer<MutexDeque>);
#ifdef KORA_BENCH_CONCURRENTQUEUE
BENCHMARK(Dispatch_Peer<ConcurrentQueue>)->UseManualTime();
BENCHMARK(DispatchAndHandle_Peer<ConcurrentQueue>);
#endif

// Producers on their cores and a consumer on another, a hundred thousand tokens each; the time a token. A consumer that
// finds nothing gives its core away, looks again at once, or sleeps.
constexpr int cTokensAcross = 100'000;
enum Idle : int { eYields, eSpins, eSleeps };

void BeIdle(int iHow)
{
    if (iHow == eYields) std::this_thread::yield();
    if (iHow == eSleeps) std::this_thread::sleep_for(std::chrono::microseconds(50));
}

void AcrossArguments(benchmark::internal::Benchmark* ioBenchmark)
{
    ioBenchmark->ArgNames({"producers", "idle"})->UseManualTime();
    for (const int idle : {eYields, eSpins, eSleeps}) {
        for (const int producers : {1, 2, 4})
            ioBenchmark->Args({producers, idle});
    }
}

template <class TSend, class TDrain>
void AcrossCores(benchmark::State& ioState, TSend iSend, TDrain iDrain)
{
    const int producers = static_cast<int>(ioState.range(0));
    for (auto _ : ioState) {
        std::atomic<bool> go{false};
        std::vector<std::thread> threads;
        for (int p = 0; p < producers; ++p) {
            threads.emplace_back([&, p] {
                while (!go.load())
                    std::this_thread::yield();
                for (int i = 0; i < cTokensAcross; ++i) {
                    while (!iSend(p))
                        std::this_thread::yield();
                }
            });
        }
        const auto start = std::chrono::steady_clock::now();
        go.store(true);
        for (int left = producers * cTokensAcross; left > 0;) {
            const int got = iDrain();
            left -= got;
            if (got == 0) BeIdle(static_cast<int>(ioState.range(1)));
        }
        const auto end = std::chrono::steady_clock::now();
        for (std::thread& thread : threads)
            thread.join();
        ioState.SetIterationTime(std::chrono::duration<double>(end - start).count());
    }
    ReportEach(ioState, producers * cTokensAcross);
}

class CountingSink : public SDS_ITokenListener
{
public:
    CountingSink(SDS_ITokenTask& iTask, SDS_IName& iName)
        : SDS_ITokenListener(nullptr, &iName, 0, 0, 0, 0, static_cast<SDS_ITokenListener*>(this), false,
                             false, 0)
    {
        SetTask(&iTask);
    }
    void HandleToken(SDS_Token* iToken) override
    {
        benchmark::DoNotOptimize(reinterpret_cast<const Token128*>(iToken)->mData[0]);
        ++mCount;
    }
    int mCount = 0;
};

void Across_Kora(benchmark::State& ioState)
{
    Scene scene(0, 0);
    CountingSink sink(scene.mTask, scene.mName);
    std::vector<Token128> tokens(4, scene.mToken);
    AcrossCores(
        ioState,
        [&](int iProducer) {
            return SDS_TokenDispatcher::DispatchToken(&tokens[static_cast<std::size_t>(iProducer)].mHeader) ==
                   eSDSErr_None;
        },
        [&] {
            sink.mCount = 0;
            scene.Drain();
            return sink.mCount;
        });
}
BENCHMARK(Across_Kora)->Apply(AcrossArguments);

template <class TQueue>
void Across_Peer(benchmark::State& ioState)
{
    TQueue queue;
    const Token128 token;
    AcrossCores(
        ioState,
        [&](int) {
            queue.Push(token);
            return true;
        },
        [&] {
            Token128 taken;
            int count = 0;
            while (count < 1000 && queue.Pop(taken)) {
                benchmark::DoNotOptimize(taken.mData[0]);
                ++count;
            }
            return count;
        });
}
BENCHMARK(Across_Peer<MutexDeque>)->Apply(AcrossArguments);
#ifdef KORA_BENCH_CONCURRENTQUEUE
BENCHMARK(Across_Peer<ConcurrentQueue>)->Apply(AcrossArguments);
#endif

void ToMany_Kora(benchmark::State& ioState)
{
    Scene scene(static_cast<std::size_t>(ioState.range(0)));
    for (auto _ : ioState) {
        const auto start = std::chrono::steady_clock::now();
        scene.Send();
        const auto end = std::chrono::steady_clock::now();
        scene.Drain();
        ioState.SetIterationTime(std::chrono::duration<double>(end - start).count());
    }
}
BENCHMARK(ToMany_Kora)->Arg(100)->UseManualTime();

void ToMany_VirtualCalls(benchmark::State& ioState)
{
    Scene scene(static_cast<std::size_t>(ioState.range(0)));
    std::vector<SDS_ITokenListener*> listeners;
    for (const auto& sink : scene.mSinks)
        listeners.push_back(sink.get());
    for (auto _ : ioState) {
        for (SDS_ITokenListener* const listener : listeners)
            listener->HandleToken(&scene.mToken.mHeader);
    }
}
BENCHMARK(ToMany_VirtualCalls)->Arg(100);

#ifdef KORA_BENCH_SIGNALS2
void ToMany_Signals2(benchmark::State& ioState)
{
    boost::signals2::signal<void(const Token128&)> signal;
    Cmn_Int64 sum = 0;
    for (int i = 0; i < ioState.range(0); ++i)
        signal.connect([&](const Token128& iToken) { sum += iToken.mData[0]; });
    const Token128 token;
    for (auto _ : ioState)
        signal(token);
    benchmark::DoNotOptimize(sum);
}
BENCHMARK(ToMany_Signals2)->Arg(1)->Arg(100);
#endif

// A million dispatches in bursts of 64, every 100 µs in place of an audio callback's 2.7 ms, spun away or slept through:
// the 99.9th and the 99.99th percentile of one dispatch, while a reader drains on another core.
template <class TSend, class TDrain>
void Percentile(benchmark::State& ioState, TSend iSend, TDrain iDrain)
{
    const bool sleeps = ioState.range(0) != 0;
    using Clock = std::chrono::steady_clock;
    for (auto _ : ioState) {
        std::atomic<bool> done{false};
        std::thread reader([&] {
            while (!done.load()) {
                iDrain();
                std::this_thread::sleep_for(std::chrono::microseconds(200));
            }
        });
        std::vector<float> times;
        times.reserve(1'000'000);
        for (Clock::time_point next = Clock::now(); times.size() < 1'000'000;) {
            for (int i = 0; i < cBurst; ++i) {
                const Clock::time_point start = Clock::now();
                iSend();
                times.push_back(std::chrono::duration<float>(Clock::now() - start).count());
            }
            next += std::chrono::microseconds(100);
            if (sleeps) std::this_thread::sleep_until(next);
            while (Clock::now() < next)
                continue;
        }
        done.store(true);
        reader.join();
        const auto percentile = [&](double iPart) {
            const auto rank =
                times.begin() + static_cast<std::ptrdiff_t>(static_cast<double>(times.size()) * iPart);
            std::nth_element(times.begin(), rank, times.end());
            return static_cast<double>(*rank);
        };
        ioState.counters["p50_ns"] = percentile(0.5) * 1e9;
        ioState.counters["p999_ns"] = percentile(0.999) * 1e9;
        ioState.SetIterationTime(percentile(0.9999));
    }
}

void Percentile_Kora(benchmark::State& ioState)
{
    Scene scene(1, 0);
    Percentile(
        ioState, [&] { scene.Send(); }, [&] { scene.Drain(); });
}
BENCHMARK(Percentile_Kora)->ArgName("sleeps")->Arg(0)->Arg(1)->UseManualTime()->Iterations(1);

template <class TQueue>
void Percentile_Peer(benchmark::State& ioState)
{
    TQueue queue;
    const Token128 token;
    Percentile(
        ioState, [&] { queue.Push(token); },
        [&] {
            for (Token128 taken; queue.Pop(taken);)
                continue;
        });
}
BENCHMARK(Percentile_Peer<MutexDeque>)->ArgName("sleeps")->Arg(0)->Arg(1)->UseManualTime()->Iterations(1);
#ifdef KORA_BENCH_CONCURRENTQUEUE
BENCHMARK(Percentile_Peer<ConcurrentQueue>)
    ->ArgName("sleeps")
    ->Arg(0)
    ->Arg(1)
    ->UseManualTime()
    ->Iterations(1);
#endif

} // namespace
