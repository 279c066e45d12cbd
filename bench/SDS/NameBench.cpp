// Paths of three names amid few and many siblings, beside a hash map of whole paths and a list that is
// walked; and what many siblings cost to make and to join.
#include "Kora/SDS/Source/SDS_NameRegistry.h"
#include "Kora/SDS/Source/SDS_TokenDispatcher.h"

#include <benchmark/benchmark.h>

#include <list>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

namespace {

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
    }
    ~Siblings()
    {
        for (SDS_Name* const name : mNames)
            static_cast<void>(SDS_NameRegistry::FreeName(name, nullptr));
    }
    std::vector<std::string> mPaths;
    std::vector<SDS_Name*> mNames;
    std::vector<std::size_t> mOrder;
};

template <class TFind>
void FindAll(benchmark::State& ioState, const Siblings& iSiblings, TFind iFind)
{
    std::size_t i = 0;
    for (auto _ : ioState)
        benchmark::DoNotOptimize(iFind(iSiblings.mPaths[iSiblings.mOrder[i++ & 4095]]));
}

void Path_Kora(benchmark::State& ioState)
{
    const Siblings siblings(static_cast<std::size_t>(ioState.range(0)));
    FindAll(ioState, siblings, [](const std::string& iPath) {
        SDS_Name* name = nullptr;
        static_cast<void>(SDS_NameRegistry::GetNameId(nullptr, iPath.c_str(), &name));
        return name;
    });
}
BENCHMARK(Path_Kora)->Arg(10)->Arg(10'000);

// The same path each time: what the table itself costs.
void PathAgain_Kora(benchmark::State& ioState)
{
    const Siblings siblings(static_cast<std::size_t>(ioState.range(0)));
    for (auto _ : ioState) {
        SDS_Name* name = nullptr;
        static_cast<void>(
            SDS_NameRegistry::GetNameId(nullptr, siblings.mPaths[siblings.mPaths.size() / 2].c_str(), &name));
        benchmark::DoNotOptimize(name);
    }
}
BENCHMARK(PathAgain_Kora)->Arg(10)->Arg(10'000);

void Path_HashMap(benchmark::State& ioState)
{
    const Siblings siblings(static_cast<std::size_t>(ioState.range(0)));
    std::unordered_map<std::string, SDS_Name*> map;
    for (std::size_t i = 0; i < siblings.mPaths.size(); ++i)
        map.emplace(siblings.mPaths[i], siblings.mNames[i]);
    FindAll(ioState, siblings, [&](const std::string& iPath) { return map.find(iPath)->second; });
}
BENCHMARK(Path_HashMap)->Arg(10)->Arg(10'000);

void Path_WalkedList(benchmark::State& ioState)
{
    const Siblings siblings(static_cast<std::size_t>(ioState.range(0)));
    std::list<std::pair<std::string, SDS_Name*>> list;
    for (std::size_t i = 0; i < siblings.mPaths.size(); ++i)
        list.emplace_front(siblings.mPaths[i], siblings.mNames[i]);
    FindAll(ioState, siblings, [&](const std::string& iPath) {
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
