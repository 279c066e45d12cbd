// The document's bodies in LMDB: one transaction, ascending keys appended, synced.
#include "bench/FF/DocumentBench_p.h"

#include <benchmark/benchmark.h>
#include <lmdb.h>

#include <cstring>

namespace {

class Environment
{
public:
    Environment(const std::string& iPath, unsigned iFlags)
    {
        BenchNeeds(mdb_env_create(&mEnv) == 0);
        BenchNeeds(mdb_env_set_mapsize(mEnv, std::size_t{512} << 20) == 0);
        BenchNeeds(mdb_env_open(mEnv, iPath.c_str(), MDB_NOSUBDIR | iFlags, 0644) == 0);
        BenchNeeds(mdb_txn_begin(mEnv, nullptr, iFlags & MDB_RDONLY, &mTxn) == 0);
        BenchNeeds(mdb_dbi_open(mTxn, nullptr, MDB_INTEGERKEY, &mDbi) == 0);
    }
    ~Environment()
    {
        if (mTxn != nullptr) mdb_txn_abort(mTxn);
        mdb_env_close(mEnv);
    }
    void Put(Cmn_Int32 iItem, const BenchBody& iBody)
    {
        std::size_t number = Number(iItem);
        MDB_val key{sizeof number, &number};
        MDB_val value{iBody.size(), const_cast<Cmn_UInt8*>(iBody.data())};
        BenchNeeds(mdb_put(mTxn, mDbi, &key, &value, MDB_APPEND) == 0);
    }
    void Commit()
    {
        BenchNeeds(mdb_txn_commit(mTxn) == 0);
        mTxn = nullptr;
    }
    BenchBody Get(Cmn_Int32 iItem)
    {
        std::size_t number = Number(iItem);
        MDB_val key{sizeof number, &number};
        MDB_val value;
        BenchBody body;
        BenchNeeds(mdb_get(mTxn, mDbi, &key, &value) == 0 && value.mv_size == body.size());
        std::memcpy(body.data(), value.mv_data, body.size());
        return body;
    }

    // Reads all in the order of their keys; returns how many there are.
    Cmn_Int32 Scan()
    {
        MDB_cursor* cursor = nullptr;
        BenchNeeds(mdb_cursor_open(mTxn, mDbi, &cursor) == 0);
        MDB_val key;
        MDB_val value;
        BenchBody body;
        Cmn_Int32 count = 0;
        for (; mdb_cursor_get(cursor, &key, &value, MDB_NEXT) == 0; ++count) {
            std::memcpy(body.data(), value.mv_data, body.size());
            benchmark::DoNotOptimize(body);
        }
        mdb_cursor_close(cursor);
        return count;
    }

private:
    static std::size_t Number(Cmn_Int32 iItem)
    {
        return (std::size_t{cBenchListType} << 48) + (static_cast<std::size_t>(iItem + 1) << 16) +
               cBenchItemType;
    }

    MDB_env* mEnv = nullptr;
    MDB_txn* mTxn = nullptr;
    MDB_dbi mDbi = 0;
};

void SaveLmdb(const std::string& iPath, Cmn_Int32 iItems)
{
    std::filesystem::remove(iPath);
    Environment environment(iPath, 0);
    for (Cmn_Int32 i = 0; i < iItems; ++i)
        environment.Put(i, MakeBenchBody(i));
    environment.Commit();
}

const std::string& SavedLmdb(benchmark::State& iState)
{
    return SavedForBench(".mdb", static_cast<Cmn_Int32>(iState.range(0)), SaveLmdb);
}

void BM_SaveLmdb(benchmark::State& ioState)
{
    const std::string path = BenchPath("save.mdb");
    for (auto _ : ioState)
        SaveLmdb(path, cBenchItems);
    ioState.counters["bytes"] = static_cast<double>(std::filesystem::file_size(path));
}
BENCHMARK(BM_SaveLmdb)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_OpenAndReadFirstLmdb(benchmark::State& ioState)
{
    const std::string& path = SavedLmdb(ioState);
    for (auto _ : ioState) {
        Environment environment(path, MDB_RDONLY);
        BenchNeeds(environment.Get(0) == MakeBenchBody(0));
    }
}
BENCHMARK(BM_OpenAndReadFirstLmdb)
    ->Apply(BenchSizes<benchmark::internal::Benchmark>)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

void BM_ReadByKeyLmdb(benchmark::State& ioState)
{
    Environment environment(SavedLmdb(ioState), MDB_RDONLY);
    const std::vector<Cmn_Int32> order = MakeBenchOrder(static_cast<Cmn_Int32>(ioState.range(0)));
    std::size_t at = 0;
    for (auto _ : ioState)
        benchmark::DoNotOptimize(environment.Get(order[at++ % order.size()]));
}
BENCHMARK(BM_ReadByKeyLmdb)->Apply(BenchSizes<benchmark::internal::Benchmark>);

void BM_ScanLmdb(benchmark::State& ioState)
{
    Environment environment(SavedLmdb(ioState), MDB_RDONLY);
    for (auto _ : ioState)
        BenchNeeds(environment.Scan() == ioState.range(0));
    ioState.SetItemsProcessed(ioState.iterations() * ioState.range(0));
}
BENCHMARK(BM_ScanLmdb)->Apply(BenchSizes<benchmark::internal::Benchmark>)->Unit(benchmark::kMillisecond);

} // namespace
