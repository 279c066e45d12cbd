// Paths of three names amid few and many siblings, beside a hash map of whole paths and a list that is
// walked; and what many siblings cost to make and to join.
#include "Kora/SDS/Source/SDS_NameRegistry.h"
#include "Kora/SDS/Source/SDS_TokenDispatcher.h"
#include "bench/SDS/ChildRuns_p.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <list>
#include <map>
#include <numeric>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

namespace {

// A million names below one, none of which is free, in four processes: what a caller waits for the longest, of each
// call the least of the four. This is the first row, for nodes are never given back.
void Grow_Kora(benchmark::State& ioState)
{
    using Clock = std::chrono::steady_clock;
    const auto count = static_cast<std::size_t>(ioState.range(0));
    const auto grow = [count](std::int64_t* oNanoseconds) {
        static_cast<void>(SDS_NameRegistry::Init());
        SDS_Name* parent = nullptr;
        static_cast<void>(SDS_NameRegistry::ReserveName(nullptr, "bench/growth", &parent));
        for (std::size_t i = 0; i < count; ++i) {
            const std::string text = std::to_string(i);
            SDS_Name* name = nullptr;
            const Clock::time_point before = Clock::now();
            static_cast<void>(SDS_NameRegistry::ReserveName(parent, text.c_str(), &name));
            oNanoseconds[i] = std::chrono::nanoseconds(Clock::now() - before).count();
        }
    };
    std::int64_t longest = 0;
    for (auto _ : ioState)
        for (const std::int64_t call : LeastOfRuns(4, count, grow))
            longest = std::max(longest, call);
    ioState.counters["longest_us"] = static_cast<double>(longest) / 1e3;
}
BENCHMARK(Grow_Kora)->Arg(1'000'000)->Iterations(1)->Unit(benchmark::kMillisecond);

// /bench/Track n/Level among so many tracks, in random order.
struct Siblings
{
    explicit Siblings(std::size_t iCount)
    {
        static_cast<void>(SDS_NameRegistry::Init());
        for (std::size_t i = 0; i < iCount; ++i) {
            mPaths.push_back("bench/Track " + std::to_string(i) + "/Level");
            SDS_Name* name = nullptr;
            static_cast<void>(SDS_NameRegistry::ReserveName(nullptr, mPaths.back().c_str(), &name));
            mNames.push_back(name);
        }
        std::mt19937 random(1);
        for (std::size_t i = 0; i < 4096; ++i)
            mOrder.push_back(random() % iCount);
        mAll.resize(iCount);
        std::iota(mAll.begin(), mAll.end(), std::size_t{0});
        std::shuffle(mAll.begin(), mAll.end(), random);
    }
    ~Siblings()
    {
        for (SDS_Name* const name : mNames)
            static_cast<void>(SDS_NameRegistry::FreeName(name, nullptr));
    }
    std::vector<std::string> mPaths;
    std::vector<SDS_Name*> mNames;
    std::vector<std::size_t> mOrder; // 4,096 of them
    std::vector<std::size_t> mAll;
};

// So many for all rows that want them, one number at a time.
const Siblings& SiblingsOf(const benchmark::State& iState)
{
    static std::map<std::size_t, Siblings> siblings;
    const auto count = static_cast<std::size_t>(iState.range(0));
    if (siblings.count(count) == 0) siblings.clear();
    return siblings.try_emplace(count, count).first->second;
}

template <class TFind>
void FindInOrder(benchmark::State& ioState, const Siblings& iSiblings, const std::vector<std::size_t>& iOrder,
                 TFind iFind)
{
    std::size_t i = 0;
    for (auto _ : ioState) {
        benchmark::DoNotOptimize(iFind(iSiblings.mPaths[iOrder[i]]));
        if (++i == iOrder.size()) i = 0;
    }
}

SDS_Name* FindPath(const std::string& iPath)
{
    SDS_Name* name = nullptr;
    static_cast<void>(SDS_NameRegistry::GetNameId(nullptr, iPath.c_str(), &name));
    return name;
}

struct PathMap
{
    explicit PathMap(const Siblings& iSiblings)
    {
        for (std::size_t i = 0; i < iSiblings.mPaths.size(); ++i)
            mMap.emplace(iSiblings.mPaths[i], iSiblings.mNames[i]);
    }
    SDS_Name* operator()(const std::string& iPath) const { return mMap.find(iPath)->second; }
    std::unordered_map<std::string, SDS_Name*> mMap;
};

void Path_Kora(benchmark::State& ioState)
{
    const Siblings& siblings = SiblingsOf(ioState);
    FindInOrder(ioState, siblings, siblings.mOrder, FindPath);
}
void Path_HashMap(benchmark::State& ioState)
{
    const Siblings& siblings = SiblingsOf(ioState);
    const PathMap map(siblings);
    FindInOrder(ioState, siblings, siblings.mOrder, map);
}
// All of the paths in turn: amid many each is long out of every cache.
void EachPath_Kora(benchmark::State& ioState)
{
    const Siblings& siblings = SiblingsOf(ioState);
    FindInOrder(ioState, siblings, siblings.mAll, FindPath);
}
void EachPath_HashMap(benchmark::State& ioState)
{
    const Siblings& siblings = SiblingsOf(ioState);
    const PathMap map(siblings);
    FindInOrder(ioState, siblings, siblings.mAll, map);
}
// A name that is not there, below one that is.
void NoPath_Kora(benchmark::State& ioState)
{
    const Siblings& siblings = SiblingsOf(ioState);
    std::vector<std::string> paths;
    for (const std::size_t i : siblings.mOrder)
        paths.push_back("bench/Track " + std::to_string(i) + "/Pan");
    std::size_t i = 0;
    for (auto _ : ioState)
        benchmark::DoNotOptimize(FindPath(paths[i++ & 4095]));
}
#define ROWS(Size)                                                                                           \
    BENCHMARK(Path_Kora)->Arg(Size);                                                                         \
    BENCHMARK(Path_HashMap)->Arg(Size);                                                                      \
    BENCHMARK(EachPath_Kora)->Arg(Size);                                                                     \
    BENCHMARK(EachPath_HashMap)->Arg(Size);                                                                  \
    BENCHMARK(NoPath_Kora)->Arg(Size)
ROWS(10);
ROWS(1'000);
ROWS(10'000);
ROWS(1'000'000);
#undef ROWS

void Path_WalkedList(benchmark::State& ioState)
{
    const Siblings& siblings = SiblingsOf(ioState);
    std::list<std::pair<std::string, SDS_Name*>> list;
    for (std::size_t i = 0; i < siblings.mPaths.size(); ++i)
        list.emplace_front(siblings.mPaths[i], siblings.mNames[i]);
    FindInOrder(ioState, siblings, siblings.mOrder, [&](const std::string& iPath) {
        auto found = list.begin();
        while (found->first != iPath)
            ++found;
        return found->second;
    });
}
BENCHMARK(Path_WalkedList)->Arg(10)->Arg(10'000);

void Create_Kora(benchmark::State& ioState)
{
    static_cast<void>(SDS_NameRegistry::Init());
    std::vector<std::string> paths;
    for (int i = 0; i < ioState.range(0); ++i)
        paths.push_back("bench/Track " + std::to_string(i));
    std::vector<SDS_Name*> names(paths.size());
    for (auto _ : ioState) {
        for (std::size_t i = 0; i < paths.size(); ++i)
            static_cast<void>(SDS_NameRegistry::ReserveName(nullptr, paths[i].c_str(), &names[i]));
        ioState.PauseTiming();
        for (SDS_Name* const name : names)
            static_cast<void>(SDS_NameRegistry::FreeName(name, nullptr));
        ioState.ResumeTiming();
    }
}
BENCHMARK(Create_Kora)->Arg(10'000)->Unit(benchmark::kMillisecond);

// So many names joined one by one, in a chain or with a hub, and parted again; in a
// pause, or each for itself.
void JoinAndPart(benchmark::State& ioState, bool iPaused)
{
    const auto count = static_cast<std::size_t>(ioState.range(0));
    const bool isStar = ioState.range(1) != 0;
    const Siblings siblings(count);
    const auto inTurn = [&](auto iCall) {
        if (iPaused) SDS_TokenDispatcher::SetTokensPaused(true);
        for (std::size_t i = 1; i < count; ++i)
            static_cast<void>(
                iCall(siblings.mNames[isStar ? 0 : i - 1], nullptr, siblings.mNames[i], nullptr));
        if (iPaused) SDS_TokenDispatcher::SetTokensPaused(false);
    };
    for (auto _ : ioState) {
        inTurn(SDS_NameRegistry::ConnectNames);
        inTurn(SDS_NameRegistry::DisconnectNames);
    }
}
void JoinInAPause_Kora(benchmark::State& ioState) { JoinAndPart(ioState, true); }
void JoinEach_Kora(benchmark::State& ioState) { JoinAndPart(ioState, false); }
BENCHMARK(JoinInAPause_Kora)->ArgsProduct({{1000, 8000}, {0, 1}})->Unit(benchmark::kMillisecond);
BENCHMARK(JoinEach_Kora)->Args({1000, 0})->Args({8000, 0})->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace
