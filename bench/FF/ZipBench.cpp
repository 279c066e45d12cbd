// The document's bodies as members of a zip archive, stored; libzip renames in place but does not wait for
// the disk, so that is done for it.
#include "bench/FF/DocumentBench_p.h"

#include <benchmark/benchmark.h>
#include <zip.h>

namespace {

std::string MemberName(Cmn_Int32 iItem)
{
    return std::to_string(cBenchListType) + '/' + std::to_string(iItem + 1) + '/' +
           std::to_string(cBenchItemType);
}

void SaveZip(const std::string& iPath)
{
    std::filesystem::remove(iPath);
    zip_t* archive = zip_open(iPath.c_str(), ZIP_CREATE | ZIP_TRUNCATE, nullptr);
    BenchNeeds(archive != nullptr);
    std::vector<BenchBody> bodies(cBenchItems); // libzip reads them when the archive is closed
    for (Cmn_Int32 i = 0; i < cBenchItems; ++i) {
        BenchBody& body = bodies[static_cast<std::size_t>(i)] = MakeBenchBody(i);
        zip_source_t* source = zip_source_buffer(archive, body.data(), body.size(), 0);
        const zip_int64_t at = zip_file_add(archive, MemberName(i).c_str(), source, ZIP_FL_ENC_UTF_8);
        BenchNeeds(at >= 0);
        BenchNeeds(zip_set_file_compression(archive, static_cast<zip_uint64_t>(at), ZIP_CM_STORE, 0) == 0);
    }
    BenchNeeds(zip_close(archive) == 0);
    SyncPlainFile(iPath);
}

const std::string& SavedZip()
{
    static const std::string sPath = [] {
        const std::string path = BenchPath("read.zip");
        SaveZip(path);
        return path;
    }();
    return sPath;
}

class Archive
{
public:
    explicit Archive(const std::string& iPath)
        : mArchive(zip_open(iPath.c_str(), ZIP_RDONLY, nullptr))
    {
        BenchNeeds(mArchive != nullptr);
    }
    ~Archive() { zip_discard(mArchive); }
    BenchBody Get(Cmn_Int32 iItem)
    {
        zip_file_t* member = zip_fopen(mArchive, MemberName(iItem).c_str(), 0);
        BenchBody body;
        BenchNeeds(zip_fread(member, body.data(), body.size()) == static_cast<zip_int64_t>(body.size()));
        zip_fclose(member);
        return body;
    }

private:
    zip_t* mArchive;
};

void BM_SaveZip(benchmark::State& ioState)
{
    const std::string path = BenchPath("save.zip");
    for (auto _ : ioState)
        SaveZip(path);
    ioState.counters["bytes"] = static_cast<double>(std::filesystem::file_size(path));
}
BENCHMARK(BM_SaveZip)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_OpenAndReadFirstZip(benchmark::State& ioState)
{
    const std::string& path = SavedZip();
    for (auto _ : ioState) {
        Archive archive(path);
        BenchNeeds(archive.Get(0) == MakeBenchBody(0));
    }
}
BENCHMARK(BM_OpenAndReadFirstZip)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_ReadByKeyZip(benchmark::State& ioState)
{
    Archive archive(SavedZip());
    const std::vector<Cmn_Int32> order = MakeBenchOrder(cBenchItems);
    std::size_t at = 0;
    for (auto _ : ioState)
        benchmark::DoNotOptimize(archive.Get(order[at++ % order.size()]));
}
BENCHMARK(BM_ReadByKeyZip);

} // namespace
