#include "C/CFixture.h"

#include <cstdio>
#include <fstream>
#include <utility>
#include <vector>

namespace {

constexpr std::int32_t cTakes = 100, cTake = 101, cNotes = 102;

class CDocument : public CFixture
{
protected:
    ~CDocument() override { std::remove(mPath.c_str()); }

    static kora_document* Text(kora_document* ioDocument, const std::string& iText)
    {
        EXPECT_EQ(kora_document_write_text(ioDocument, iText.c_str()), KORA_OK);
        return ioDocument;
    }
    // Two takes, each with a name, places and a stream of notes inside.
    static void WriteTakes(kora_document* ioDocument)
    {
        ASSERT_EQ(kora_document_begin_list(ioDocument, cTakes, 3, "takes", 2), KORA_OK);
        for (std::int64_t i = 0; i < 2; ++i) {
            ASSERT_EQ(kora_document_begin_item(ioDocument, i == 0 ? "drums" : "voice"), KORA_OK);
            ASSERT_EQ(kora_document_begin(ioDocument, cTake, 1, nullptr), KORA_OK);
            Text(ioDocument, i == 0 ? "drums" : "voice");
            const std::int64_t places[] = {i, 48000 * i, -1};
            ASSERT_EQ(kora_document_write(ioDocument, KORA_INT64, places, 3), KORA_OK);
            ASSERT_EQ(kora_document_begin(ioDocument, cNotes, -2, "notes"), KORA_OK);
            const double gain = 0.5 + static_cast<double>(i);
            ASSERT_EQ(kora_document_write(ioDocument, KORA_FLOAT64, &gain, 1), KORA_OK);
            ASSERT_EQ(kora_document_end(ioDocument), KORA_OK);
            ASSERT_EQ(kora_document_end(ioDocument), KORA_OK);
        }
        ASSERT_EQ(kora_document_end(ioDocument), KORA_OK);
    }
    std::string FileBytes() const { return BytesOf(mPath); }
    static Handle<kora_document> Reading(const std::string& iBytes)
    {
        return Made<kora_document>(kora_document_read_bytes, static_cast<const void*>(iBytes.data()),
                                   iBytes.size());
    }
    static std::string InMemory()
    {
        const auto document = Made<kora_document>(kora_document_create_in_memory);
        WriteTakes(document.get());
        EXPECT_EQ(kora_document_commit(document.get()), KORA_OK);
        return BytesOf(document.get());
    }
    static std::string TextIn(kora_document* ioDocument)
    {
        char text[16] = "?";
        std::size_t size = 0;
        EXPECT_EQ(kora_document_read_text(ioDocument, text, 3, &size), KORA_TOO_SMALL);
        EXPECT_EQ(kora_document_read_text(ioDocument, text, size + 1, &size), KORA_OK);
        return text;
    }

    // Of each test its own: they run side by side.
    const std::string mPath = testing::TempDir() + "kora-" +
                              testing::UnitTest::GetInstance()->current_test_info()->name() + ".kora";
};

TEST_F(CDocument, AFileAndMemoryHaveTheSameBytesAndGiveBackWhatWasWritten)
{
    const std::string bytes = InMemory();
    const auto document = Made<kora_document>(kora_document_create, mPath.c_str());
    WriteTakes(document.get());
    EXPECT_EQ(FileBytes(), "");
    ASSERT_EQ(kora_document_commit(document.get()), KORA_OK);
    ASSERT_TRUE(FileBytes() == bytes);

    const auto from = Made<kora_document>(kora_document_open, mPath.c_str());
    kora_document* const read = from.get();
    const kora_step takes = {cTakes, KORA_NO_ITEM};
    std::int32_t version = 0, count = 0, type = 0;
    ASSERT_EQ(kora_document_enter(read, &takes, 1, &version), KORA_OK);
    EXPECT_EQ(version, 3);
    ASSERT_EQ(kora_document_enter_list(read, &count), KORA_OK);
    EXPECT_EQ(count, 2);
    for (const std::int64_t i : {1, 0}) {
        ASSERT_EQ(kora_document_go_to_item(read, static_cast<std::int32_t>(i)), KORA_OK);
        ASSERT_EQ(kora_document_next_type(read, &type), KORA_OK);
        EXPECT_EQ(type, cTake);
        ASSERT_EQ(kora_document_enter_next(read, cTake, &version), KORA_OK);
        EXPECT_EQ(TextIn(read), i == 0 ? "drums" : "voice");
        std::int64_t places[3] = {};
        ASSERT_EQ(kora_document_read(read, KORA_INT64, places, 3), KORA_OK);
        EXPECT_EQ(places[1], 48000 * i);
        EXPECT_EQ(places[2], -1);
        ASSERT_EQ(kora_document_enter_next(read, 0, &version), KORA_OK);
        EXPECT_EQ(version, -2);
        std::int64_t left = 0;
        EXPECT_EQ(kora_document_bytes_left(read, &left), KORA_OK);
        EXPECT_EQ(left, 8);
        double gain[2] = {};
        EXPECT_EQ(kora_document_read(read, KORA_FLOAT64, gain, 2), KORA_BAD_FILE);
        EXPECT_EQ(kora_document_read(read, KORA_FLOAT64, gain, 1), KORA_OK);
        EXPECT_EQ(gain[0], 0.5 + static_cast<double>(i));
        EXPECT_EQ(kora_document_next_type(read, &type), KORA_NOT_FOUND);
        ASSERT_EQ(kora_document_leave(read), KORA_OK);
        ASSERT_EQ(kora_document_leave(read), KORA_OK);
    }
    EXPECT_EQ(kora_document_go_to_item(read, 2), KORA_NOT_FOUND);
    ASSERT_EQ(kora_document_leave(read), KORA_OK);
}

TEST_F(CDocument, KeysSayWhatThereIsAndLeadToIt)
{
    const std::string bytes = InMemory();
    const auto document = Reading(bytes);
    std::size_t keys = 0, depth = 0;
    ASSERT_EQ(kora_document_key_count(document.get(), &keys), KORA_OK);
    std::string seen;
    for (std::size_t i = 0; i < keys; ++i) {
        kora_step steps[4] = {};
        std::int32_t items = 0;
        EXPECT_EQ(kora_document_get_key(document.get(), i, nullptr, 0, &depth, nullptr), KORA_TOO_SMALL);
        ASSERT_EQ(kora_document_get_key(document.get(), i, steps, depth, &depth, &items), KORA_OK);
        for (std::size_t step = 0; step < depth; ++step)
            seen += std::to_string(steps[step].type) + '[' + std::to_string(steps[step].item) + ']';
        for (std::int32_t item = KORA_NO_ITEM; item == KORA_NO_ITEM || item < items; ++item) {
            char text[16];
            ASSERT_EQ(kora_document_get_description(document.get(), i, item, text, sizeof text, nullptr),
                      KORA_OK);
            seen += std::string(" ") + text;
        }
        seen += '\n';
        EXPECT_EQ(kora_document_enter(document.get(), steps, depth, nullptr),
                  KORA_OK); // one inside the other
    }
    EXPECT_EQ(seen, "100[-1] takes drums voice\n100[0]101[-1]102[-1] notes\n100[1]101[-1]102[-1] notes\n");
    for (std::size_t i = 0; i < keys; ++i)
        EXPECT_EQ(kora_document_leave(document.get()), KORA_OK);
    const kora_step none = {cTake, KORA_NO_ITEM};
    EXPECT_EQ(kora_document_enter(document.get(), &none, 1, nullptr), KORA_NOT_FOUND);
}

TEST_F(CDocument, EveryKindOfValueComesBack)
{
    constexpr std::pair<std::int32_t, std::size_t> cKinds[] = {
        {KORA_UINT8, 1},  {KORA_INT16, 2}, {KORA_UINT16, 2}, {KORA_INT32, 4},
        {KORA_UINT32, 4}, {KORA_INT64, 8}, {KORA_FLOAT64, 8}};
    const std::string values = "abc\xFF and five more values";
    const auto to = Made<kora_document>(kora_document_create_in_memory);
    ASSERT_EQ(kora_document_begin(to.get(), -7, 1, ""), KORA_OK);
    for (const auto& [kind, size] : cKinds)
        ASSERT_EQ(kora_document_write(to.get(), kind, values.data(), 3), KORA_OK);
    ASSERT_EQ(kora_document_end(to.get()), KORA_OK);
    ASSERT_EQ(kora_document_commit(to.get()), KORA_OK);

    const auto from = Reading(BytesOf(to.get()));
    const kora_step step = {-7, KORA_NO_ITEM};
    ASSERT_EQ(kora_document_enter(from.get(), &step, 1, nullptr), KORA_OK);
    for (const auto& [kind, size] : cKinds) {
        std::string read(3 * size, '\0');
        std::int64_t before = 0, left = 0;
        ASSERT_EQ(kora_document_bytes_left(from.get(), &before), KORA_OK);
        ASSERT_EQ(kora_document_read(from.get(), kind, read.data(), 3), KORA_OK);
        ASSERT_EQ(kora_document_bytes_left(from.get(), &left), KORA_OK);
        EXPECT_EQ(before - left, static_cast<std::int64_t>(read.size())) << kind;
        EXPECT_EQ(read, values.substr(0, read.size())) << kind;
    }
    EXPECT_EQ(kora_document_read(from.get(), 7, nullptr, 0), KORA_BAD_ARGUMENT);
}

TEST_F(CDocument, WhatIsOutOfTurnIsRefusedAndChangesNothing)
{
    const std::string expected = InMemory();
    const auto to = Made<kora_document>(kora_document_create_in_memory);
    kora_document* const write = to.get();
    std::int32_t number = 0;
    const struct
    {
        kora_status mStatus;
        kora_status mExpected;
    } cNotBegun[] = {
        {kora_document_end(write), KORA_REFUSED},
        {kora_document_write(write, KORA_INT32, &number, 1), KORA_REFUSED},
        {kora_document_write_text(write, "a"), KORA_REFUSED},
        {kora_document_begin_item(write, "a"), KORA_REFUSED},
        {kora_document_begin(write, 0, 1, "a"), KORA_BAD_ARGUMENT},
        {kora_document_begin(write, 2, 1, nullptr), KORA_BAD_ARGUMENT},
        {kora_document_begin(write, 32768, 1, nullptr), KORA_BAD_ARGUMENT},
        {kora_document_begin(write, 5, -32769, nullptr), KORA_BAD_ARGUMENT},
        {kora_document_begin_list(write, 5, 1, "a", -1), KORA_BAD_ARGUMENT},
        {kora_document_leave(write), KORA_REFUSED},
        {kora_document_read(write, KORA_INT32, &number, 1), KORA_REFUSED},
    };
    for (const auto& row : cNotBegun)
        EXPECT_EQ(row.mStatus, row.mExpected) << &row - cNotBegun;
    std::size_t size = 0;
    EXPECT_EQ(kora_document_get_bytes(write, nullptr, 0, &size), KORA_REFUSED);
    WriteTakes(write);
    EXPECT_EQ(kora_document_begin(write, cTakes, 1, "takes again"), KORA_REFUSED);
    ASSERT_EQ(kora_document_commit(write), KORA_OK);
    EXPECT_EQ(kora_document_commit(write), KORA_REFUSED);
    EXPECT_EQ(kora_document_begin(write, 5, 1, nullptr), KORA_REFUSED);
    EXPECT_TRUE(BytesOf(write) == expected);

    const auto list = Made<kora_document>(kora_document_create_in_memory);
    ASSERT_EQ(kora_document_begin_list(list.get(), 5, 1, "list", 1), KORA_OK);
    EXPECT_EQ(kora_document_write(list.get(), KORA_INT32, &number, 1), KORA_REFUSED);
    EXPECT_EQ(kora_document_begin(list.get(), 6, 1, nullptr), KORA_REFUSED);
    EXPECT_EQ(kora_document_end(list.get()), KORA_REFUSED);
    EXPECT_EQ(kora_document_commit(list.get()), KORA_REFUSED);
    ASSERT_EQ(kora_document_begin_item(list.get(), nullptr), KORA_OK);
    EXPECT_EQ(kora_document_begin_item(list.get(), "two"), KORA_REFUSED);
    EXPECT_EQ(kora_document_end(list.get()), KORA_REFUSED); // empty
    EXPECT_EQ(kora_document_write(list.get(), KORA_INT32, &number, 1), KORA_OK);
    EXPECT_EQ(kora_document_end(list.get()), KORA_OK);
    EXPECT_EQ(kora_document_commit(list.get()), KORA_OK);
}

TEST_F(CDocument, AKeyLeadsToOneStreamAlone)
{
    const auto to = Made<kora_document>(kora_document_create_in_memory);
    kora_document* const document = to.get();
    const auto begun = [&](std::int32_t iType, const char* iDescription) {
        return kora_document_begin(document, iType, 1, iDescription);
    };
    const auto ended = [&] { ASSERT_EQ(kora_document_end(document), KORA_OK); };
    EXPECT_EQ(begun(5, nullptr), KORA_REFUSED);
    ASSERT_EQ(begun(5, "outermost"), KORA_OK);
    for (int i = 0; i < 3; ++i) { // many of a type, without keys to them or into them
        ASSERT_EQ(begun(6, nullptr), KORA_OK);
        EXPECT_EQ(begun(7, "inside"), i == 0 ? KORA_OK : KORA_REFUSED);
        if (i == 0) ended();
        ended();
        if (i == 0) { // the key inside lets no other stand beside
            EXPECT_EQ(begun(6, nullptr), KORA_REFUSED);
            EXPECT_EQ(begun(6, "named"), KORA_REFUSED);
            ended();
            ASSERT_EQ(begun(8, "another"), KORA_OK);
            ASSERT_EQ(begun(6, nullptr), KORA_OK);
            ended();
        }
    }
    EXPECT_EQ(begun(6, "named"), KORA_REFUSED);
    ended();
    EXPECT_EQ(begun(8, "again"), KORA_REFUSED);
    ASSERT_EQ(kora_document_commit(document), KORA_OK);
}

TEST_F(CDocument, ReleasedBeforeItIsCommittedTheOldOneStays)
{
    std::ofstream(mPath) << "old";
    {
        const auto document = Made<kora_document>(kora_document_create, mPath.c_str());
        ASSERT_EQ(kora_document_begin_list(document.get(), 5, 1, "list", 3), KORA_OK);
        ASSERT_EQ(kora_document_begin_item(document.get(), "one"), KORA_OK);
        ASSERT_EQ(kora_document_begin(document.get(), 6, 1, "inside"), KORA_OK);
    }
    EXPECT_EQ(FileBytes(), "old");
    kora_document* none = nullptr;
    EXPECT_EQ(kora_document_open(mPath.c_str(), &none), KORA_BAD_FILE);
    EXPECT_EQ(kora_document_open((mPath + "/no").c_str(), &none), KORA_SYSTEM);
    EXPECT_EQ(kora_document_create((mPath + "/no").c_str(), &none), KORA_SYSTEM);
    EXPECT_EQ(none, nullptr);
}

TEST_F(CDocument, ASongStandsBesideTheHostsOwnStreamsAndComesFromMemory)
{
    const auto song = Open();
    const auto to = Made<kora_document>(kora_document_create_in_memory);
    ASSERT_EQ(kora_song_write_document(song.get(), to.get()), KORA_OK);
    ASSERT_EQ(kora_document_begin(to.get(), cNotes, 1, "notes"), KORA_OK);
    EXPECT_EQ(kora_song_write_document(song.get(), to.get()), KORA_REFUSED);
    ASSERT_EQ(kora_document_end(to.get()), KORA_OK);
    EXPECT_EQ(kora_song_write_document(song.get(), to.get()), KORA_REFUSED); // a second one
    ASSERT_EQ(kora_document_commit(to.get()), KORA_OK);
    const std::string bytes = BytesOf(to.get());
    const auto document = Reading(bytes);
    ASSERT_EQ(kora_song_save(song.get(), mPath.c_str()), KORA_OK) << kora_last_error_text();
    const auto saved = Made<kora_song>(kora_song_open, mPath.c_str());
    const auto one = Made<kora_song>(kora_song_read_document, document.get());
    const auto other =
        Made<kora_song>(kora_song_read_bytes, static_cast<const void*>(bytes.data()), bytes.size());
    ASSERT_EQ(kora_song_export(one.get(), mPath.c_str()), KORA_OK);
    std::size_t size = 0;
    for (const auto& each : {song.get(), saved.get(), one.get(), other.get()}) {
        ASSERT_EQ(kora_song_write_midi(each, nullptr, 0, &size), KORA_OK);
        std::string midi(size, '\0');
        EXPECT_EQ(kora_song_write_midi(each, midi.data(), size - 1, &size), KORA_TOO_SMALL);
        ASSERT_EQ(kora_song_write_midi(each, midi.data(), size, &size), KORA_OK);
        EXPECT_TRUE(midi == FileBytes());
    }
}

TEST_F(CDocument, ABitThatTurnsIsNoticedToldAndRepaired)
{
    const std::string bytes = InMemory();
    std::string wrong = bytes;
    wrong[bytes.find("voice")] ^= 1;
    std::ofstream(mPath, std::ios::binary) << wrong;
    auto document = Made<kora_document>(kora_document_open, mPath.c_str());
    const kora_step takes = {cTakes, KORA_NO_ITEM};
    EXPECT_EQ(kora_document_enter(document.get(), &takes, 1, nullptr), KORA_BAD_FILE);
    kora_error error{};
    error.size = sizeof error;
    ASSERT_EQ(kora_last_error(&error), KORA_OK);
    EXPECT_EQ(error.file, mPath);
    EXPECT_GT(error.offset, 0);
    document.reset(); // a Windows before 10, as Wine is, replaces no file that is open

    std::vector<std::int64_t> told;
    const auto tell = [](void* ioTold, std::int64_t iOffset, const char* iText) {
        EXPECT_NE(std::string(iText), "");
        static_cast<std::vector<std::int64_t>*>(ioTold)->push_back(iOffset);
    };
    std::size_t faults = 0, recovered = 0;
    ASSERT_EQ(kora_document_check(mPath.c_str(), +tell, &told, &faults), KORA_OK);
    EXPECT_EQ(faults, told.size());
    ASSERT_GT(faults, 0u);
    ASSERT_EQ(kora_document_repair(mPath.c_str(), mPath.c_str(), nullptr, nullptr, &recovered), KORA_OK)
        << kora_last_error_text();
    EXPECT_GT(recovered, 0u);
    ASSERT_EQ(kora_document_check(mPath.c_str(), nullptr, nullptr, &faults), KORA_OK);
    EXPECT_EQ(faults, 0u);
    std::ofstream(mPath) << "nothing of a document";
    EXPECT_EQ(kora_document_repair(mPath.c_str(), mPath.c_str(), nullptr, nullptr, &recovered),
              KORA_NOT_FOUND);
    EXPECT_EQ(FileBytes(), "nothing of a document");
    EXPECT_EQ(kora_document_check((mPath + ".no").c_str(), nullptr, nullptr, &faults), KORA_SYSTEM);
}

} // namespace
