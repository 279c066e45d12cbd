// Memory that runs out while documents are written and read, and while handles are made.
#include "CFixture.h"
#include "Support/AllocationCounter.h"

#include <functional>
#include <vector>

namespace {

using CMemory = CFixture;

// --- Documents: a script, of which each call is refused each of its allocations and then made again

using DocumentCall = std::function<kora_status(kora_document*, std::string&)>;
using Script = std::vector<DocumentCall>;

const char* cLongText = "a description that is longer than what stands in a string itself";

// The call as it is, and with a number that it gives.
template <class Call, class... Given>
DocumentCall On(Call iCall, Given... iGiven)
{
    return [=](kora_document* d, std::string&) { return iCall(d, iGiven...); };
}
DocumentCall Asked(kora_status (*iCall)(kora_document*, std::int32_t*))
{
    return [=](kora_document* d, std::string& o) {
        std::int32_t number = 0;
        const kora_status status = iCall(d, &number);
        o += std::to_string(number);
        return status;
    };
}

Script Writing(kora_song* iSong)
{
    static const std::vector<std::int64_t> cMany(3000, 77);
    const auto write = On(kora_document_write, KORA_INT64, cMany.data(), cMany.size());
    const auto end = On(kora_document_end);
    const auto item = On(kora_document_begin_item, cLongText);
    return {
        [=](kora_document* d, std::string&) { return kora_song_write_document(iSong, d); },
        On(kora_document_begin, 100, 1, cLongText),
        write,
        On(kora_document_begin, 101, 1, nullptr),
        On(kora_document_write_text, cLongText),
        end,
        end,
        On(kora_document_begin_list, 102, 1, cLongText, 3),
        item,
        write,
        item,
        On(kora_document_begin, 103, 1, cLongText),
        write,
        end,
        item,
        write,
        end,
        On(kora_document_commit),
    };
}

Script Reading()
{
    const auto enter = [](std::vector<kora_step> iSteps) {
        return [=](kora_document* d, std::string& o) {
            std::int32_t version = 0;
            const kora_status status = kora_document_enter(d, iSteps.data(), iSteps.size(), &version);
            o += std::to_string(version);
            return status;
        };
    };
    const auto read = [](kora_document* d, std::string& o) {
        std::int64_t value[100] = {};
        const kora_status status = kora_document_read(d, KORA_INT64, value, 100);
        o += std::to_string(value[99]);
        return status;
    };
    const auto leave = [](kora_document* d, std::string& o) {
        const kora_status status = kora_document_leave(d);
        std::int64_t left = -1;
        if (kora_document_bytes_left(d, &left) == KORA_OK) o += ' ' + std::to_string(left);
        return status;
    };
    return {
        [](kora_document* d, std::string& o) {
            kora_song* song = nullptr;
            const kora_status status = kora_song_read_document(d, &song);
            EXPECT_EQ(status == KORA_OK, song != nullptr);
            o += std::to_string(status);
            const Handle<kora_song> read(song);
            return status;
        },
        enter({{100, KORA_NO_ITEM}}),
        read,
        enter({{102, 1}, {103, KORA_NO_ITEM}}),
        read,
        leave,
        leave,
        enter({{102, KORA_NO_ITEM}}),
        Asked(kora_document_enter_list),
        On(kora_document_go_to_item, 1),
        Asked(kora_document_next_type),
        On(kora_document_enter_next, 103, nullptr),
        read,
        leave,
        On(kora_document_go_to_item, 2),
        read,
        leave,
        [](kora_document* d, std::string& o) {
            char text[100] = "";
            const kora_status status =
                kora_document_get_description(d, 0, KORA_NO_ITEM, text, sizeof text, nullptr);
            o += text;
            return status;
        },
    };
}

// What the script says and leaves. Of the call iCall the allocation iNth is refused, and the call made again.
template <class Open, class Result>
std::string Run(const Open& iOpen, const Script& iScript, const Result& iResult, std::size_t iCall,
                long long iNth, bool& oHasCome)
{
    const Handle<kora_document> document = iOpen();
    std::string seen;
    oHasCome = false;
    for (std::size_t i = 0; i < iScript.size(); ++i) {
        std::string shown;
        shown.reserve(1000);
        kora_status status;
        {
            const StRefusedAllocation refused(i == iCall ? iNth : 1000000);
            status = iScript[i](document.get(), shown);
            oHasCome = oHasCome || refused.HasCome();
        }
        if (i == iCall && status == KORA_NO_MEMORY) {
            shown.clear();
            status = iScript[i](document.get(), shown);
        }
        EXPECT_EQ(status, KORA_OK) << "call " << i << ": " << kora_last_error_text();
        if (status != KORA_OK) break;
        seen += shown;
    }
    return seen + iResult(document.get());
}

template <class Open, class Result>
void RefuseEach(const Open& iOpen, const Script& iScript, const Result& iResult)
{
    bool hasCome = false;
    const std::string wanted = Run(iOpen, iScript, iResult, iScript.size(), 0, hasCome);
    for (std::size_t call = 0; call < iScript.size(); ++call) {
        hasCome = true;
        for (long long nth = 1; hasCome && nth < 3000 && !testing::Test::HasFailure(); ++nth) {
            SCOPED_TRACE("call " + std::to_string(call) + ", allocation " + std::to_string(nth));
            EXPECT_TRUE(Run(iOpen, iScript, iResult, call, nth, hasCome) == wanted);
        }
    }
}

TEST_F(CMemory, ACallOfADocumentMayBeMadeAgain)
{
    const auto song = Open();
    const auto create = [] { return Made<kora_document>(kora_document_create_in_memory); };
    RefuseEach(create, Writing(song.get()), [](kora_document* d) { return BytesOf(d); });

    const auto written = create();
    std::string shown;
    for (const DocumentCall& call : Writing(song.get()))
        ASSERT_EQ(call(written.get(), shown), KORA_OK);
    const std::string bytes = BytesOf(written.get());
    const auto open = [&] {
        return Made<kora_document>(kora_document_read_bytes, bytes.data(), bytes.size());
    };
    RefuseEach(open, Reading(), [](kora_document*) { return std::string(); });
}

TEST_F(CMemory, ADocumentOfHalfTheValuesIsNotCommitted)
{
    const std::vector<std::int64_t> many(100000, 5);
    const AllocationCounter allocations;
    const auto made = Made<kora_document>(kora_document_create_in_memory);
    const bool isRefused = allocations.Count() > 0; // what the library asks for
    bool isStopped = false;
    for (long long nth = 1; nth < 20; ++nth) {
        const auto document = Made<kora_document>(kora_document_create_in_memory);
        kora_document* const to = document.get();
        ASSERT_EQ(kora_document_begin(to, 100, 1, "many"), KORA_OK);
        kora_status status;
        {
            const StRefusedAllocation refused(nth);
            status = kora_document_write(to, KORA_INT64, many.data(), many.size());
        }
        if (status == KORA_OK) continue;
        isStopped = true;
        EXPECT_EQ(status, KORA_NO_MEMORY) << kora_last_error_text();
        EXPECT_EQ(kora_document_write(to, KORA_INT64, many.data(), many.size()), KORA_REFUSED) << nth;
        EXPECT_EQ(kora_document_end(to), KORA_REFUSED);
        EXPECT_EQ(kora_document_commit(to), KORA_REFUSED);
    }
    EXPECT_EQ(isStopped, isRefused);
}

// --- What makes handles

using Make = std::function<kora_status(void**)>;
template <class T, class Call, class... Given>
Make Makes(Call iCall, Given... iGiven)
{
    return [=](void** o) { return iCall(iGiven..., reinterpret_cast<T**>(o)); };
}

TEST_F(CMemory, AHandleIsMadeOrIsNot)
{
    const auto song = Open();
    const auto document = Made<kora_document>(kora_document_create_in_memory);
    std::string shown;
    for (const DocumentCall& call : Writing(song.get()))
        ASSERT_EQ(call(document.get(), shown), KORA_OK);
    const std::string bytes = BytesOf(document.get());
    const auto name = Made<kora_name>(kora_name_new, "Memory");
    const auto other = Made<kora_name>(kora_name_new, "Other");
    const auto receiver = Made<kora_receiver>(kora_receiver_new, std::uint32_t{KORA_RECEIVER_WAITS});
    const auto read = Made<kora_document>(kora_document_read_bytes, bytes.data(), bytes.size());
    const kora_ruler_options options{sizeof options, KORA_FORM_BARS, KORA_FILM_35MM, KORA_AXIS_BARS, 0, 0, 0};
    const kora_time last{cStart + 90 * cQuarter, KORA_TICKS, 0};
    const kora_measure measure = [](void*, const char*, std::size_t iSize) {
        return 7.0 * static_cast<double>(iSize);
    };
    const kora_token_handler ignore = [](void*, const kora_token*) {};

    const std::vector<std::pair<const char*, Make>> makes{
        {"new", Makes<kora_song>(kora_song_new)},
        {"open", Makes<kora_song>(kora_song_open, cSongPath.c_str())},
        {"read", Makes<kora_song>(kora_song_read_bytes, bytes.data(), bytes.size())},
        {"tempi", Makes<kora_tempo_map>(kora_song_get_tempo_map, song.get())},
        {"history", Makes<kora_history>(kora_history_new, song.get())},
        {"format", Makes<kora_format>(kora_format_new, song.get(), KORA_FILM_35MM)},
        {"grid", Makes<kora_grid>(kora_grid_new, song.get(), "1/16(4:5)", 3)},
        {"ruler", Makes<kora_ruler>(kora_ruler_new, song.get(), &options, last, measure, nullptr)},
        {"document", Makes<kora_document>(kora_document_create_in_memory)},
        {"document of bytes", Makes<kora_document>(kora_document_read_bytes, bytes.data(), bytes.size())},
        {"song of a document", Makes<kora_song>(kora_song_read_document, read.get())},
        {"name", Makes<kora_name>(kora_name_new, "Memory/Some/Other/Name")},
        {"name below", Makes<kora_name>(kora_name_new_below, name.get(), "Some/Name")},
        {"receiver", Makes<kora_receiver>(kora_receiver_new, KORA_RECEIVER_WAITS)},
        {"listener", Makes<kora_listener>(kora_listener_new, receiver.get(), name.get(), 1, 0,
                                          KORA_LISTEN_NEWEST, ignore, nullptr)},
        {"connection",
         [&](void** o) {
             *o = nullptr;
             kora_status status = kora_name_connect(name.get(), other.get());
             if (status != KORA_OK) return status;
             // Refused in its turn, it is tried again.
             status = kora_name_disconnect(name.get(), other.get());
             if (status != KORA_OK) {
                 EXPECT_EQ(kora_name_disconnect(name.get(), other.get()), KORA_OK);
             }
             return status;
         }},
        {"send",
         [&](void** o) {
             *o = nullptr;
             return kora_send(name.get(), 1, 0, cLongText, 20);
         }},
    };
    for (const auto& [what, make] : makes) {
        bool hasCome = true;
        for (long long nth = 1; hasCome && nth < 3000 && !HasFailure(); ++nth) {
            SCOPED_TRACE(std::string(what) + ", allocation " + std::to_string(nth));
            void* handle = nullptr;
            kora_status status;
            {
                const StRefusedAllocation refused(nth);
                status = make(&handle);
                hasCome = refused.HasCome();
            }
            EXPECT_TRUE(status == KORA_OK || status == KORA_NO_MEMORY) << status << kora_last_error_text();
            EXPECT_TRUE(status == KORA_OK || handle == nullptr);
            const Handle<void> first(std::exchange(handle, nullptr));
            EXPECT_EQ(make(&handle), KORA_OK) << kora_last_error_text();
            const Handle<void> second(handle);
        }
    }
}

} // namespace
