// Masking a buffer that lies in the cache, beside a byte at a time through a table, and beside a plain copy.
#include "Kora/FF/Format/FF_ScrambleKernels_p.h"

#include <benchmark/benchmark.h>

#include <array>
#include <cstring>
#include <vector>

namespace {

constexpr std::size_t cCount = std::size_t{64} << 10;
constexpr Cmn_Int64 cPosition = 20; // where the stream data of a document begins

void CountBytes(benchmark::State& ioState)
{
    ioState.SetBytesProcessed(static_cast<std::int64_t>(cCount) * ioState.iterations());
}

void BM_Scramble(benchmark::State& ioState)
{
    std::vector<Cmn_UInt8> bytes(cCount, 1);
    for (auto _ : ioState) {
        FF_Scramble(static_cast<Cmn_UInt32>(ioState.range(0)), 29, bytes.data(), bytes.size(), cPosition);
        benchmark::ClobberMemory();
    }
    CountBytes(ioState);
}
BENCHMARK(BM_Scramble)->ArgName("type")->DenseRange(1, 5);

void BM_ScrambleByTable(benchmark::State& ioState)
{
    std::vector<Cmn_UInt8> bytes(cCount, 1);
    std::array<Cmn_UInt8, 256> table;
    for (std::size_t i = 0; i < table.size(); ++i)
        table[i] = static_cast<Cmn_UInt8>(i * 29);
    for (auto _ : ioState) {
        for (std::size_t i = 0; i < cCount; ++i)
            bytes[i] ^= table[(cPosition + i) % 256];
        benchmark::ClobberMemory();
    }
    CountBytes(ioState);
}
BENCHMARK(BM_ScrambleByTable);

void BM_Copy(benchmark::State& ioState)
{
    const std::vector<Cmn_UInt8> from(cCount, 1);
    std::vector<Cmn_UInt8> to(cCount);
    for (auto _ : ioState) {
        std::memcpy(to.data(), from.data(), cCount);
        benchmark::ClobberMemory();
    }
    CountBytes(ioState);
}
BENCHMARK(BM_Copy);

} // namespace
