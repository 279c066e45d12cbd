// Any bytes as a script of calls on a document through C. An even first byte: a document is written in memory, in and
// out of turn, and what was committed is read again, where every key leads to a stream. An odd one: the rest, behind a
// short script, is taken for a document. Each call gives a status, and nothing asserts.
#include "Fuzz/CallScript.h"
#include "Fuzz/FuzzTarget.h"
#include "Kora/C/Kora_C.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <string>
#include <vector>

namespace {

constexpr std::size_t cMostCalls = 200, cScriptBytes = 48;

kora_status Checked(kora_status iStatus)
{
    Require(iStatus >= KORA_OK && iStatus <= KORA_FULL && iStatus != KORA_INTERNAL,
            "the status says what happened");
    Require(iStatus == KORA_OK || kora_last_error_text()[0] != '\0', "a refusal has a reason");
    return iStatus;
}

class StDocument
{
public:
    explicit StDocument(const std::string& iBytes)
    {
        const kora_status status =
            Checked(kora_document_read_bytes(iBytes.data(), iBytes.size(), &mDocument));
        Require((status == KORA_OK) == (mDocument != nullptr), "a handle comes with KORA_OK alone");
    }
    StDocument() { Require(kora_document_create_in_memory(&mDocument) == KORA_OK, "a document is made"); }
    ~StDocument()
    {
        if (mDocument != nullptr) Require(kora_release(mDocument) == KORA_OK, "it is released");
    }
    StDocument(const StDocument&) = delete;
    StDocument& operator=(const StDocument&) = delete;
    kora_document* Get() const { return mDocument; }

private:
    kora_document* mDocument = nullptr;
};

std::int32_t Small(CallScript& ioScript)
{
    const unsigned byte = ioScript.Byte();
    return byte == 255 ? static_cast<std::int32_t>(ioScript.Raw()) : static_cast<std::int32_t>(byte % 8) - 1;
}

// One call of any kind; in a document that is read most of those that write are refused, and the other way round.
void Call(CallScript& ioScript, kora_document* ioDocument)
{
    char buffer[64] = "text";
    std::int32_t number = 0;
    std::int64_t left = 0;
    std::size_t size = 0;
    const std::int32_t a = Small(ioScript), b = Small(ioScript);
    const kora_step steps[] = {{a, b}, {Small(ioScript), KORA_NO_ITEM}};
    const char* const text = a == 3 ? nullptr : b == 3 ? "" : "text";
    const std::size_t count = ioScript.Byte() % 9;
    const unsigned kind = ioScript.Byte() % 17;
    if (kind == 0) Checked(kora_document_begin(ioDocument, a, b, text));
    if (kind == 1) Checked(kora_document_begin_list(ioDocument, a, b, text, Small(ioScript)));
    if (kind == 2) Checked(kora_document_begin_item(ioDocument, text));
    if (kind == 3) Checked(kora_document_end(ioDocument));
    if (kind == 4) Checked(kora_document_write(ioDocument, a, buffer, (std::min)(count, std::size_t{8})));
    if (kind == 5) Checked(kora_document_write_text(ioDocument, text));
    if (kind == 6) Checked(kora_document_enter(ioDocument, steps + (b == 0), b == 0 ? 1 : 2, &number));
    if (kind == 7) Checked(kora_document_enter_next(ioDocument, a == 1 ? 0 : a, &number));
    if (kind == 8) Checked(kora_document_next_type(ioDocument, &number));
    if (kind == 9) Checked(kora_document_enter_list(ioDocument, &number));
    if (kind == 10) Checked(kora_document_go_to_item(ioDocument, a));
    if (kind == 11) Checked(kora_document_leave(ioDocument));
    if (kind == 12) Checked(kora_document_read(ioDocument, a, buffer, (std::min)(count, std::size_t{8})));
    if (kind == 13) Checked(kora_document_read_text(ioDocument, buffer, 8 * count, &size));
    if (kind == 14) Checked(kora_document_bytes_left(ioDocument, &left));
    if (kind == 15)
        Checked(kora_document_get_description(ioDocument, count, a, buffer, sizeof buffer, &size));
    if (kind == 16) Checked(kora_document_get_bytes(ioDocument, nullptr, 0, &size));
}

void Play(CallScript& ioScript, kora_document* ioDocument)
{
    for (std::size_t i = 0; i < cMostCalls && !ioScript.IsAtEnd(); ++i)
        Call(ioScript, ioDocument);
}

// Of what was written, each key is a stream; of other bytes it may be damaged.
void EnterEach(kora_document* ioDocument, bool iIsWhole)
{
    std::size_t keys = 0;
    if (Checked(kora_document_key_count(ioDocument, &keys)) != KORA_OK) return;
    for (std::size_t i = 0; i < (std::min)(keys, std::size_t{64}); ++i) {
        std::size_t depth = 0;
        std::vector<kora_step> steps;
        std::int32_t items = 0;
        if (Checked(kora_document_get_key(ioDocument, i, nullptr, 0, &depth, &items)) != KORA_TOO_SMALL)
            continue;
        steps.resize(depth);
        if (Checked(kora_document_get_key(ioDocument, i, steps.data(), depth, &depth, &items)) != KORA_OK)
            continue;
        const kora_status status = Checked(kora_document_enter(ioDocument, steps.data(), depth, nullptr));
        Require(!iIsWhole || status == KORA_OK, "a key leads to its stream");
        if (status != KORA_OK) continue;
        std::int32_t count = 0;
        if (items >= 0 && Checked(kora_document_enter_list(ioDocument, &count)) == KORA_OK)
            for (std::int32_t item = 0; item < (std::min)(count, 8); ++item) {
                const kora_status gone = Checked(kora_document_go_to_item(ioDocument, item));
                Require(!iIsWhole || gone == KORA_OK, "a list has its items");
            }
        Require(kora_document_leave(ioDocument) == KORA_OK, "what was entered is left");
    }
}

void WriteAndRead(CallScript& ioScript)
{
    const StDocument document;
    Play(ioScript, document.Get());
    // Whatever is open ends, its lists with the items that they lack.
    for (int i = 0; i < 300 && kora_document_commit(document.Get()) != KORA_OK; ++i)
        if (kora_document_end(document.Get()) != KORA_OK) {
            kora_document_begin_item(document.Get(), "");
            Require(kora_document_write_text(document.Get(), "") == KORA_OK, "a list takes its items");
        }
    std::size_t size = 0;
    if (kora_document_get_bytes(document.Get(), nullptr, 0, &size) != KORA_OK) return; // a list of millions
    std::string bytes(size, '\0');
    Require(kora_document_get_bytes(document.Get(), bytes.data(), size, &size) == KORA_OK, "it has bytes");
    const StDocument again(bytes);
    Require(again.Get() != nullptr, "what was written opens");
    EnterEach(again.Get(), true);
    Play(ioScript, again.Get());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* iBytes, std::size_t iSize)
{
    static const bool isStarted = [] {
        const auto refuse = [](void*, const char* iText, std::int32_t) { Require(false, iText); };
        return kora_init() == KORA_OK && kora_set_assert_handler(+refuse, nullptr) == KORA_OK;
    }();
    Require(isStarted, "the library starts");
    if (iSize == 0) return 0;
    if (iBytes[0] % 2 == 0) {
        CallScript script(iBytes + 1, iSize - 1);
        WriteAndRead(script);
        return 0;
    }
    const std::size_t split = (std::min)(iSize, cScriptBytes);
    const StDocument document(std::string(reinterpret_cast<const char*>(iBytes) + split, iSize - split));
    if (document.Get() == nullptr) return 0;
    EnterEach(document.Get(), false);
    CallScript script(iBytes + 1, split - 1);
    Play(script, document.Get());
    return 0;
}
