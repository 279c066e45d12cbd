// The document's bodies in SQLite: one table keyed as the document is, one transaction,
// default journal, full sync.
#include "bench/FF/DocumentBench_p.h"

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <cstring>

namespace {

class Database
{
public:
    explicit Database(const std::string& iPath)
    {
        BenchNeeds(sqlite3_open(iPath.c_str(), &mBase) == SQLITE_OK);
        Run("PRAGMA synchronous=FULL");
    }
    ~Database()
    {
        sqlite3_finalize(mStatement);
        sqlite3_close(mBase);
    }
    void Run(const char* iText)
    {
        BenchNeeds(sqlite3_exec(mBase, iText, nullptr, nullptr, nullptr) == SQLITE_OK);
    }
    void Prepare(const char* iText)
    {
        BenchNeeds(sqlite3_prepare_v2(mBase, iText, -1, &mStatement, nullptr) == SQLITE_OK);
        sqlite3_bind_int(mStatement, 1, cBenchListType);
        sqlite3_bind_int(mStatement, 3, cBenchItemType);
    }
    void Insert(Cmn_Int32 iItem, const BenchBody& iBody)
    {
        sqlite3_bind_int(mStatement, 2, iItem + 1);
        sqlite3_bind_blob(mStatement, 4, iBody.data(), static_cast<int>(iBody.size()), SQLITE_STATIC);
        BenchNeeds(sqlite3_step(mStatement) == SQLITE_DONE);
        sqlite3_reset(mStatement);
    }
    BenchBody Select(Cmn_Int32 iItem)
    {
        sqlite3_bind_int(mStatement, 2, iItem + 1);
        BenchNeeds(sqlite3_step(mStatement) == SQLITE_ROW);
        BenchBody body;
        BenchNeeds(sqlite3_column_bytes(mStatement, 0) == static_cast<int>(body.size()));
        std::memcpy(body.data(), sqlite3_column_blob(mStatement, 0), body.size());
        sqlite3_reset(mStatement);
        return body;
    }

private:
    sqlite3* mBase = nullptr;
    sqlite3_stmt* mStatement = nullptr;
};

constexpr char cSelect[] = "SELECT body FROM streams WHERE list = ? AND item = ? AND type = ?";

void SaveSqlite(const std::string& iPath, Cmn_Int32 iItems)
{
    std::filesystem::remove(iPath);
    Database base(iPath);
    base.Run("CREATE TABLE streams (list INTEGER, item INTEGER, type INTEGER, body BLOB, "
             "PRIMARY KEY (list, item, type)) WITHOUT ROWID");
    base.Run("BEGIN");
    base.Prepare("INSERT INTO streams VALUES (?, ?, ?, ?)");
    for (Cmn_Int32 i = 0; i < iItems; ++i)
        base.Insert(i, MakeBenchBody(i));
    base.Run("COMMIT");
}

const std::string& SavedSqlite(benchmark::State& iState)
{
    return SavedForBench(".sqlite", static_cast<Cmn_Int32>(iState.range(0)), SaveSqlite);
}

void BM_SaveSqlite(benchmark::State& ioState)
{
    const std::string path = BenchPath("save.sqlite");
    for (auto _ : ioState)
        SaveSqlite(path, cBenchItems);
    ioState.counters["bytes"] = static_cast<double>(std::filesystem::file_size(path));
}
BENCHMARK(BM_SaveSqlite)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_OpenAndReadFirstSqlite(benchmark::State& ioState)
{
    const std::string& path = SavedSqlite(ioState);
    for (auto _ : ioState) {
        Database base(path);
        base.Prepare(cSelect);
        BenchNeeds(base.Select(0) == MakeBenchBody(0));
    }
}
BENCHMARK(BM_OpenAndReadFirstSqlite)
    ->Apply(BenchSizes<benchmark::internal::Benchmark>)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

void BM_ReadByKeySqlite(benchmark::State& ioState)
{
    Database base(SavedSqlite(ioState));
    base.Run("PRAGMA cache_size=-65536"); // KiB: room for all of it
    base.Run("BEGIN");                    // one lock for all reads
    base.Prepare(cSelect);
    const std::vector<Cmn_Int32> order = MakeBenchOrder(static_cast<Cmn_Int32>(ioState.range(0)));
    std::size_t at = 0;
    for (auto _ : ioState)
        benchmark::DoNotOptimize(base.Select(order[at++ % order.size()]));
}
BENCHMARK(BM_ReadByKeySqlite)->Apply(BenchSizes<benchmark::internal::Benchmark>);

} // namespace
