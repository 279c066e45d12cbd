// Files of the C interface by their names: UTF-8 on every system, and places where no file can be.
#include "CFixture.h"
#include "Support/StFolder.h"

#include <filesystem>
#include <functional>
#include <vector>

namespace {

namespace fs = std::filesystem;
using CFileName = CFixture;

fs::path Wide(const std::string& iUtf8) { return std::u8string(iUtf8.begin(), iUtf8.end()); }

using Write = std::function<kora_status(const char*)>;

std::vector<std::pair<const char*, Write>> Writers(kora_song* iSong)
{
    return {{"save", [=](const char* iPath) { return kora_song_save(iSong, iPath); }},
            {"export", [=](const char* iPath) { return kora_song_export(iSong, iPath); }},
            {"document", [=](const char* iPath) {
                 kora_document* document = nullptr;
                 kora_status status = kora_document_create(iPath, &document);
                 if (status != KORA_OK) return status;
                 EXPECT_EQ(kora_song_write_document(iSong, document), KORA_OK);
                 status = kora_document_commit(document);
                 EXPECT_EQ(kora_release(document), KORA_OK);
                 return status;
             }}};
}

TEST_F(CFileName, NamesAreUtf8OnEverySystem)
{
    const StFolder folder;
    const auto song = Open();
    const std::string names[] = {
        "plain",        "Übung — Größe",      "日本語", "🎹🥁", "e\u0301 and \u00e9",
        "with  spaces", std::string(200, 'n')};
    int files = 0;
    for (const std::string& name : names)
        for (const auto& writer : Writers(song.get())) {
            SCOPED_TRACE(name + ", " + writer.first);
            const std::string file = name + "." + writer.first, path = folder / file;
            for (int twice = 0; twice < 2; ++twice)
                ASSERT_EQ(writer.second(path.c_str()), KORA_OK) << kora_last_error_text();
            EXPECT_TRUE(fs::exists(Wide(path)));
            EXPECT_EQ(CountFiles(folder.Path()), ++files) << "nothing is left beside it";
            const auto again = Made<kora_song>(kora_song_open, path.c_str());
            std::size_t count = 0;
            const auto tempi = Made<kora_tempo_map>(kora_song_get_tempo_map, again.get());
            EXPECT_EQ(kora_tempo_map_count(tempi.get(), &count), KORA_OK);
            EXPECT_EQ(count, 8u);
            if (writer.first == std::string("export")) continue;
            std::size_t faults = 9;
            EXPECT_EQ(kora_document_check(path.c_str(), nullptr, nullptr, &faults), KORA_OK);
            EXPECT_EQ(faults, 0u);
            EXPECT_EQ(kora_document_repair(path.c_str(), path.c_str(), nullptr, nullptr, nullptr), KORA_OK);
        }
}

TEST_F(CFileName, WhereNoFileCanBeNothingIsLeft)
{
    const StFolder folder;
    fs::create_directory(folder / "folder");
    const auto song = Open();
    const std::string places[] = {folder / "folder",
                                  folder / "folder/",
                                  folder / "missing/a.kora",
                                  folder / std::string(300, 'n'),
                                  folder / std::string(5000, 'n'),
                                  ""};
    for (const std::string& place : places) {
        for (const auto& writer : Writers(song.get())) {
            EXPECT_EQ(writer.second(place.c_str()), KORA_SYSTEM) << writer.first << place.substr(0, 80);
            EXPECT_STRNE(kora_last_error_text(), "");
        }
        kora_song* read = nullptr;
        EXPECT_EQ(kora_song_open(place.c_str(), &read), KORA_SYSTEM) << place.substr(0, 80);
        kora_document* document = nullptr;
        EXPECT_EQ(kora_document_open(place.c_str(), &document), KORA_SYSTEM) << place.substr(0, 80);
    }
    EXPECT_EQ(CountFiles(folder.Path()), 1);
    // What is no UTF-8 is a name on one system and none on the other.
    const std::string odd = folder / "\xff\xfe.kora";
    for (const auto& writer : Writers(song.get())) {
        const kora_status status = writer.second(odd.c_str());
        EXPECT_TRUE(status == KORA_OK || status == KORA_SYSTEM) << status << kora_last_error_text();
    }
}

} // namespace
