// What sums cost: short headers, buffers, whole bodies; the tables beside the processor's instruction.
#include "Bastel/Sys/Sys_Crc32C.h"
#include "Bastel/Sys/Sys_Crc32C_p.h"

#include <benchmark/benchmark.h>

#include <vector>

namespace {

// Each sum goes on from the one before, as a stream's does, so that latency shows.
template <class Sum>
void Run(benchmark::State& ioState, Sum iSum)
{
    const std::vector<Cmn_UInt8> bytes(static_cast<std::size_t>(ioState.range(0)), Cmn_UInt8{7});
    Cmn_UInt32 sum = 0;
    for (auto _ : ioState)
        benchmark::DoNotOptimize(sum = iSum(sum, bytes.data(), bytes.size()));
    ioState.SetBytesProcessed(ioState.iterations() * ioState.range(0));
}

void Crc32C(benchmark::State& ioState) { Run(ioState, &Sys_Crc32C); }
BENCHMARK(Crc32C)->Arg(4)->Arg(100)->Arg(4096)->Arg(1 << 20);

void Crc32CPlain(benchmark::State& ioState) { Run(ioState, &Sys_Crc32CPlain); }
BENCHMARK(Crc32CPlain)->Arg(4)->Arg(100)->Arg(4096)->Arg(1 << 20);

void Crc32CCombine(benchmark::State& ioState)
{
    const auto count = static_cast<Cmn_UInt64>(ioState.range(0));
    Cmn_UInt32 sum = 1;
    for (auto _ : ioState)
        benchmark::DoNotOptimize(sum = Sys_Crc32CCombine(sum, 2, count));
}
BENCHMARK(Crc32CCombine)->Arg(40)->Arg(4095)->Arg(1 << 20)->Arg(0xFFFFFFFF);

} // namespace
