// The example in docs/file-format.md is what the library writes, and reads.
#include "FF/SmallDocument.h"
#include "Kora/FF/Format/FF_TOCIndex_p.h"
#include "Support/MemoryFileSystem.h"
#include "Support/StreamBytes.h"

#include <gtest/gtest.h>

#include <fstream>

namespace {

// The bytes of all lines "  49  4b 53 48 31   what they are", whose positions must follow one another.
MemoryFileSystem::Bytes ExampleOfTheDocs()
{
    std::ifstream file(KORA_SOURCE_DIR "/docs/file-format.md");
    MemoryFileSystem::Bytes bytes;
    for (std::string line; std::getline(file, line);) {
        constexpr std::size_t cHex = 6; // columns before and of the bytes
        constexpr std::size_t cHexWidth = 24;
        char* end = nullptr;
        const unsigned long position = std::strtoul(line.c_str(), &end, 10);
        if (end != line.c_str() + cHex - 2) continue;
        EXPECT_EQ(position, bytes.size()) << line;
        const Bytes more = FromHex(line.substr(cHex, cHexWidth));
        bytes.insert(bytes.end(), more.begin(), more.end());
    }
    return bytes;
}

void WriteExample(const std::string& iPath)
{
    constexpr Cmn_Int16 cList = 40;
    constexpr Cmn_Int16 cItem = 41;
    FF_Document document = SmallDocument::Make(iPath);
    document.Open(Sys_Store::eOpenFlag_New);
    Sys_TypedOutStream out = document.MakeTypedOutStream();
    FF_Document::AddTOCEntry(&document, static_cast<Cmn_UInt64>(out.GetPosition()), cList, "drums");
    {
        const FF_StreamHeaderWriter header(&document, out, cList, 1);
        FF_StreamListWriter list(&document, out, 2);
        for (const bool second : {false, true}) {
            list.AddListEntry(second, second ? "snare" : "kick");
            const FF_StreamHeaderWriter item(&document, out, cItem, 1);
            out.WriteString(second ? "Snare" : "Kick");
        }
    }
    document.Flush();
}

} // namespace

TEST(FileFormat, TheExampleOfTheDocsIsWhatTheLibraryWrites)
{
    MemoryFileSystem files;
    const Sys_FileSystem::StSystem system(files);
    WriteExample("example.kora");
    const MemoryFileSystem::Bytes example = ExampleOfTheDocs();
    ASSERT_EQ(example.size(), 276u);
    EXPECT_EQ(files.GetBytes("example.kora"), example);

    files.SetBytes("docs.kora", example);
    EXPECT_EQ(SmallDocument::Read("docs.kora").mComplaint, "");
    EXPECT_EQ(SmallDocument::Read("docs.kora").mText, SmallDocument::Read("example.kora").mText);
    EXPECT_TRUE(FF_DocumentCheck::Check(Sys_FileLoc("docs.kora")).empty());
}

// tests/Fuzz/make_document_corpus.py writes them from the docs, without the library.
TEST(FileFormat, DocumentsThatAnotherProgramWroteAreReadWithoutFault)
{
    // clang-format off
    const struct { const char* mName; const char* mComplaint; } rows[] = { // its beginning
        {"example",       ""},
        {"empty",         ""},
        {"block-masked",  ""},
        {"swapped",       ""},
        {"nested",        ""},
        {"pieces",        ""},
        {"indexed",       ""},
        {"indexed-swapped", ""},
        {"never-flushed", "f: unable to find document TOC"},
        {"cut",           "f: an error occurred while reading the document"},
        {"too-new",       "f: the document was written by a version of the library that is too new"},
    };
    // clang-format on
    MemoryFileSystem files;
    const Sys_FileSystem::StSystem system(files);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.mName);
        std::ifstream in(std::string(KORA_SOURCE_DIR "/tests/Fuzz/corpus/document/") + row.mName + ".kora",
                         std::ios::binary);
        files.SetBytes("f", MemoryFileSystem::Bytes(std::istreambuf_iterator<char>(in), {}));
        const std::string complaint = SmallDocument::Read("f").mComplaint;
        EXPECT_TRUE(*row.mComplaint == 0 ? complaint.empty() : complaint.starts_with(row.mComplaint))
            << complaint;
        EXPECT_EQ(FF_DocumentCheck::Check(Sys_FileLoc("f")).empty(), *row.mComplaint == 0);
    }
}

// From the definition: the page size doubles until there are at most 65536 pages.
TEST(FileFormat, TheIndexHasAnEntryForEachPageWhateverTheirSize)
{
    EXPECT_EQ(FF_TOCIndex::SizeFor(65536), 0);
    EXPECT_EQ(FF_TOCIndex::SizeFor(65537), 17 * 20 + 20);
    for (Cmn_Int64 limit = Cmn_Int64{4096} * 65536; limit < 0xFFFFFFFF; limit *= 2)
        for (const Cmn_Int64 off : {-65537, -1, 0, 1, 4096, 4097, 8191, 65537}) {
            const Cmn_Int64 size = limit + off;
            Cmn_Int64 page = 4096;
            while (page * 65536 < size)
                page *= 2;
            const Cmn_Int64 pages = size / page + (size % page == 0 ? 0 : 1);
            EXPECT_EQ(FF_TOCIndex::SizeFor(size), pages * 20 + 20) << size;
        }
}
