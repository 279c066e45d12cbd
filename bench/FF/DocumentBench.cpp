// Saving a document of a hundred thousand streams; opening one, finding streams by key, and
// reading all, at any size.
//
// "Cold" is a new document object for each iteration; the system's own cache of the file stays warm.
#include "bench/FF/DocumentBench_p.h"

#include "Kora/FF/Document/FF_Document.h"
#include "Kora/FF/Document/FF_Document_TOC.h"
#include "Kora/FF/Document/FF_SafeSave.h"
#include "Kora/FF/Document/FF_StSetStreamContext.h"
#include "Kora/FF/Document/FF_StreamHeader.h"
#include "Kora/FF/Document/FF_StreamList.h"
#include "Kora/FF/Rescue/FF_DocumentCheck.h"

#include <benchmark/benchmark.h>

#include <fstream>
#include <iterator>

namespace {

void WriteAll(FF_Document& ioDocument, Cmn_Int32 iItems)
{
    Sys_TypedOutStream out = ioDocument.MakeTypedOutStream();
    FF_Document::AddTOCEntry(&ioDocument, static_cast<Cmn_UInt64>(out.GetPosition()), cBenchListType,
                             "clips");
    const FF_StreamHeaderWriter list(&ioDocument, out, cBenchListType, 1);
    FF_StreamListWriter items(&ioDocument, out, iItems);
    for (Cmn_Int32 i = 0; i < iItems; ++i) {
        items.AddListEntry(i, "clip");
        FF_Document::AddTOCEntry(&ioDocument, static_cast<Cmn_UInt64>(out.GetPosition()), cBenchItemType, "");
        const FF_StreamHeaderWriter item(&ioDocument, out, cBenchItemType, 1);
        const BenchBody body = MakeBenchBody(i);
        out.WriteBytes(body.data(), body.size());
    }
}

void SaveDocument(const std::string& iPath, EFF_EncryptionType iType, Cmn_Int32 iItems = cBenchItems)
{
    FF_SafeSave save(Sys_FileLoc(iPath), iType, eTextEncoding_Utf8, false);
    WriteAll(save.GetDocument(), iItems);
    save.Commit();
}

const std::string& SavedDocument(Cmn_Int32 iItems)
{
    return SavedForBench(".kora", iItems, [](const std::string& iPath, Cmn_Int32 iCount) {
        SaveDocument(iPath, eFF_EncryptionType_None, iCount);
    });
}

// A host's reader, which keeps its keys.
class ItemReader
{
public:
    explicit ItemReader(FF_Document& iDocument)
        : mDocument(iDocument)
        , mStream(iDocument.MakeTypedInStream())
    {
    }
    BenchBody Read(Cmn_Int32 iItem)
    {
        mList.GetContexts().back().SetListIndex(iItem + 1);
        mItem.GetContexts().front().SetListIndex(iItem + 1);
        BenchNeeds(mDocument.SeekToStream(mItem, mStream));
        const FF_StSetStreamContext context(mDocument, mList);
        const FF_StreamHeaderReader reader(&mDocument, mStream, cBenchItemType);
        BenchBody body;
        mStream.ReadBytes(body.data(), body.size());
        return body;
    }

private:
    FF_Document& mDocument;
    Sys_TypedInStream mStream;
    FF_Document::TOCKey mList{cBenchListType};
    FF_Document::TOCKey mItem = mList.Inside(FF_Document::Context(cBenchItemType));
};

// --- Saving, durably; time is the clock's, since most of it may be spent waiting for the disk
void BM_Save(benchmark::State& ioState)
{
    const std::string path = BenchPath("save.kora");
    for (auto _ : ioState)
        SaveDocument(path, static_cast<EFF_EncryptionType>(ioState.range(0)));
    ioState.counters["bytes"] = static_cast<double>(std::filesystem::file_size(path));
}
BENCHMARK(BM_Save)->ArgName("type")->Arg(0)->Arg(1)->Arg(5)->Unit(benchmark::kMillisecond)->UseRealTime();

// The bytes of the same document, written from memory to a new file and synced: what no save can beat.
void BM_SavePlain(benchmark::State& ioState)
{
    std::ifstream file(SavedDocument(cBenchItems), std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
    const std::string path = BenchPath("plain");
    for (auto _ : ioState)
        WritePlainFile(path, bytes);
    ioState.counters["bytes"] = static_cast<double>(bytes.size());
}
BENCHMARK(BM_SavePlain)->Unit(benchmark::kMillisecond)->UseRealTime();

// --- Opening and reading the first stream
void BM_OpenAndReadFirst(benchmark::State& ioState)
{
    const Sys_FileLoc location(SavedDocument(static_cast<Cmn_Int32>(ioState.range(0))));
    for (auto _ : ioState) {
        FF_Document document(location, eFF_EncryptionType_None, eTextEncoding_Utf8, false);
        document.Open(Sys_Store::eOpenFlag_Read);
        BenchNeeds(ItemReader(document).Read(0) == MakeBenchBody(0));
    }
}
BENCHMARK(BM_OpenAndReadFirst)
    ->Apply(BenchSizes<benchmark::internal::Benchmark>)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

// --- A stream by its key, in an open document
void BM_ReadByKey(benchmark::State& ioState)
{
    const auto items = static_cast<Cmn_Int32>(ioState.range(0));
    FF_Document document(Sys_FileLoc(SavedDocument(items)), eFF_EncryptionType_None, eTextEncoding_Utf8,
                         false);
    document.Open(Sys_Store::eOpenFlag_Read);
    ItemReader reader(document);
    const std::vector<Cmn_Int32> order = MakeBenchOrder(items);
    for (const Cmn_Int32 item : order)
        BenchNeeds(reader.Read(item) == MakeBenchBody(item));
    std::size_t at = 0;
    for (auto _ : ioState)
        benchmark::DoNotOptimize(reader.Read(order[at++ % order.size()]));
}
BENCHMARK(BM_ReadByKey)->Apply(BenchSizes<benchmark::internal::Benchmark>);

// --- All streams in the order of the file, as a host loads a list; the figure beside is of one stream
void BM_Scan(benchmark::State& ioState)
{
    const auto items = static_cast<Cmn_Int32>(ioState.range(0));
    FF_Document document(Sys_FileLoc(SavedDocument(items)), eFF_EncryptionType_None, eTextEncoding_Utf8,
                         false);
    document.Open(Sys_Store::eOpenFlag_Read);
    Sys_TypedInStream in = document.MakeTypedInStream();
    for (auto _ : ioState) {
        BenchNeeds(document.SeekToStream(FF_Document::TOCKey(cBenchListType), in));
        const FF_StreamHeaderReader list(&document, in, cBenchListType);
        const FF_StreamListReader reader(&document, in);
        BenchBody body;
        for (Cmn_Int32 i = 0; i < reader.GetNumItems(); ++i) {
            const FF_StreamHeaderReader item(&document, in, cBenchItemType);
            in.ReadBytes(body.data(), body.size());
        }
        BenchNeeds(body == MakeBenchBody(items - 1));
    }
    ioState.SetItemsProcessed(ioState.iterations() * items);
}
BENCHMARK(BM_Scan)->Apply(BenchSizes<benchmark::internal::Benchmark>)->Unit(benchmark::kMillisecond);

// --- Every header, sum and entry of the file
void BM_Check(benchmark::State& ioState)
{
    const Sys_FileLoc location(SavedDocument(cBenchItems));
    for (auto _ : ioState)
        BenchNeeds(FF_DocumentCheck::Check(location).empty());
}
BENCHMARK(BM_Check)->Unit(benchmark::kMillisecond);

} // namespace
