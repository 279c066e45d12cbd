// Any bytes as a script of calls of the C interface, in any order, with handles of any kind, null ones and numbers of
// all sizes: each call gives a status, what it refuses changes nothing that it was to fill, nothing asserts, and what
// was handed out goes away again.
#include "Fuzz/CallScript.h"
#include "Fuzz/FuzzTarget.h"
#include "Kora/C/Kora_C.h"

#include <cstring>
#include <iterator>
#include <string>
#include <vector>

namespace {

constexpr std::size_t cMostHandles = 12, cMostCalls = 300;

void Checked(kora_status iStatus)
{
    Require(iStatus >= KORA_OK && iStatus <= KORA_FULL && iStatus != KORA_INTERNAL,
            "the status says what happened");
    kora_error error{};
    error.size = sizeof error;
    Require(kora_last_error(&error) == KORA_OK, "the last error is there");
    if (iStatus == KORA_OK) return;
    Require(error.status == iStatus && error.text[0] != '\0', "a refusal has a reason");
}

class Player
{
public:
    Player(const unsigned char* iBytes, std::size_t iSize)
        : mScript(iBytes, iSize)
    {
        // One of each to begin with.
        mHandles = {Made<kora_song>(&kora_song_new)};
        const auto song = static_cast<kora_song*>(mHandles[0]);
        Keep(Made<kora_tempo_map>(&kora_song_get_tempo_map, song));
        Keep(Made<kora_meter_map>(&kora_song_get_meter_map, song));
        Keep(Made<kora_key_map>(&kora_song_get_key_map, song));
        Keep(Made<kora_history>(&kora_history_new, song));
        Keep(Made<kora_format>(&kora_format_new, song, KORA_FILM_35MM));
    }
    ~Player()
    {
        for (void* const handle : mHandles)
            Require(kora_release(handle) == KORA_OK, "what is held is released");
    }
    Player(const Player&) = delete;
    Player& operator=(const Player&) = delete;

    void Play()
    {
        using Call = void (Player::*)();
        static constexpr Call cCalls[] = {
            &Player::MakeHandle, &Player::ReleaseHandle, &Player::AskMaps,   &Player::EditTempi,
            &Player::EditMeters, &Player::EditKeys,      &Player::EditTime,  &Player::Convert,
            &Player::ConvertAll, &Player::Write,         &Player::Read,      &Player::History,
            &Player::ReadMidi,   &Player::WriteMidi,     &Player::AskSong,   &Player::MakeGrid,
            &Player::AskGrid,    &Player::MakeRuler,     &Player::MoveRuler, &Player::DrawRuler,
            &Player::MakeName,   &Player::Connect,       &Player::Listen,    &Player::Send,
            &Player::Process,    &Player::Document,
        };
        for (std::size_t i = 0; i < cMostCalls && !mScript.IsAtEnd(); ++i)
            (this->*cCalls[mScript.Byte() % std::size(cCalls)])();
    }

private:
    template <class T, class Call, class... Given>
    static void* Made(Call iCall, Given... iGiven)
    {
        T* handle = nullptr;
        Require(iCall(iGiven..., &handle) == KORA_OK && handle != nullptr, "a handle is made");
        return handle;
    }

    void Keep(void* iHandle)
    {
        if (iHandle == nullptr) return;
        if (mHandles.size() < cMostHandles)
            mHandles.push_back(iHandle);
        else
            Require(kora_release(iHandle) == KORA_OK, "what is held is released");
    }
    // Whatever is held, as a handle of any kind; now and then null.
    template <class T>
    T* Any()
    {
        const unsigned choice = mScript.Byte();
        if (mHandles.empty() || choice % 16 == 15) return nullptr;
        return static_cast<T*>(mHandles[choice / 16 % mHandles.size()]);
    }
    template <class T, class Call, class... Given>
    void Make(Call iCall, Given... iGiven)
    {
        T* handle = nullptr;
        const kora_status status = iCall(iGiven..., mScript.Byte() == 0 ? nullptr : &handle);
        Checked(status);
        Require((status == KORA_OK) == (handle != nullptr), "a handle comes with KORA_OK alone");
        Keep(handle);
    }
    std::uint32_t Unit() { return mScript.Byte() % 5; }
    kora_time Time()
    {
        const std::uint32_t unit = Unit();
        return {unit == KORA_TICKS ? mScript.Tick() : mScript.Raw() >> mScript.Byte() % 64, unit, 0};
    }
    kora_edit_result* Result()
    {
        mResult = {};
        mResult.size = mScript.Byte() % 8 == 0 ? 3 : sizeof mResult;
        return mScript.Byte() % 8 == 0 ? nullptr : &mResult;
    }

    void MakeHandle()
    {
        const unsigned kind = mScript.Byte() % 6;
        if (kind == 0) return Make<kora_song>(&kora_song_new);
        if (kind == 1) return Make<kora_tempo_map>(&kora_song_get_tempo_map, Any<kora_song>());
        if (kind == 2) return Make<kora_meter_map>(&kora_song_get_meter_map, Any<kora_song>());
        if (kind == 3) return Make<kora_key_map>(&kora_song_get_key_map, Any<kora_song>());
        if (kind == 4) return Make<kora_history>(&kora_history_new, Any<kora_song>());
        const std::int32_t film = mScript.Byte() % 4 == 0 ? static_cast<std::int32_t>(mScript.Byte()) : 16;
        return Make<kora_format>(&kora_format_new, Any<kora_song>(), film);
    }
    void ReleaseHandle()
    {
        if (mHandles.empty()) return;
        const std::size_t index = mScript.Byte() % mHandles.size();
        void* const handle = mHandles[index];
        if (mScript.Byte() % 4 == 0) {
            Require(kora_retain(handle) == KORA_OK, "what is held is retained");
            Keep(handle);
            return;
        }
        mHandles.erase(mHandles.begin() + static_cast<std::ptrdiff_t>(index));
        Require(kora_release(handle) == KORA_OK, "what is held is released");
    }
    void AskMaps()
    {
        std::size_t count = 0;
        kora_tempo tempo{};
        kora_meter meter{};
        kora_key key{};
        const std::size_t index = mScript.Byte() % 8;
        const std::int64_t tick = mScript.Tick();
        Checked(kora_tempo_map_count(Any<kora_tempo_map>(), &count));
        Checked(kora_tempo_map_get(Any<kora_tempo_map>(), index, &tempo));
        Checked(kora_tempo_map_find(Any<kora_tempo_map>(), tick, &tempo));
        Checked(kora_meter_map_count(Any<kora_meter_map>(), &count));
        Checked(kora_meter_map_get(Any<kora_meter_map>(), index, &meter));
        Checked(kora_meter_map_find(Any<kora_meter_map>(), tick, &meter));
        Checked(kora_key_map_count(Any<kora_key_map>(), &count));
        Checked(kora_key_map_get(Any<kora_key_map>(), index, &key));
        Checked(kora_key_map_find(Any<kora_key_map>(), tick, &key));
    }
    void EditTempi()
    {
        kora_tempo_map* const map = Any<kora_tempo_map>();
        const std::int64_t from = mScript.Tick(), to = mScript.Tick();
        const double first = mScript.Number(), second = mScript.Number();
        const unsigned choice = mScript.Byte();
        const auto curve = static_cast<std::int32_t>(choice / 16 % 5) - 1;
        if (choice % 9 == 0)
            return Checked(kora_tempo_map_set(map, from, first, choice % 2 == 0 ? cQuarter : to, Result()));
        if (choice % 9 == 1)
            return Checked(kora_tempo_map_ramp(map, from, to, first, second, curve, choice % 32, Result()));
        if (choice % 9 == 2) return Checked(kora_tempo_map_scale(map, from, to, first / 100, Result()));
        if (choice % 9 == 3) return Checked(kora_tempo_map_offset(map, from, to, first - 100, Result()));
        if (choice % 9 == 4) return Checked(kora_tempo_map_fit(map, from, to, LengthTo(to), Result()));
        if (choice % 9 == 5) return Checked(kora_tempo_map_lock(map, from, LengthTo(to) / 40, Result()));
        if (choice % 9 == 6) return Checked(kora_tempo_map_unlock(map, from, Result()));
        if (choice % 9 == 7) return Checked(kora_tempo_map_remove(map, from));
        return Checked(kora_tempo_map_clear(map, from, to));
    }
    void EditMeters()
    {
        kora_meter_map* const map = Any<kora_meter_map>();
        const std::int64_t from = mScript.Tick(), to = mScript.Tick();
        const auto numerator = static_cast<std::int32_t>(mScript.Byte() % 20);
        const std::int32_t denominator = 1 << mScript.Byte() % 18;
        const unsigned kind = mScript.Byte() % 3;
        if (kind == 0) return Checked(kora_meter_map_set(map, from, numerator, denominator));
        if (kind == 1) return Checked(kora_meter_map_remove(map, from));
        return Checked(kora_meter_map_clear(map, from, to));
    }
    void EditKeys()
    {
        kora_key_map* const map = Any<kora_key_map>();
        const std::int64_t from = mScript.Tick(), to = mScript.Tick();
        const unsigned bits = mScript.Byte();
        const kora_key key{from,
                           static_cast<std::uint8_t>(bits & 1),
                           static_cast<std::uint8_t>(bits / 2 % 3),
                           static_cast<std::uint8_t>(bits / 8 % 10),
                           {}};
        const unsigned kind = mScript.Byte() % 3;
        if (kind == 0) return Checked(kora_key_map_set(map, bits == 255 ? nullptr : &key));
        if (kind == 1) return Checked(kora_key_map_remove(map, from));
        return Checked(kora_key_map_clear(map, from, to));
    }
    void EditTime()
    {
        kora_song* const song = Any<kora_song>();
        const std::int64_t from = mScript.Tick(), to = mScript.Tick();
        const unsigned choice = mScript.Byte();
        if (choice % 4 == 0) return Checked(kora_song_insert_time(song, from, LengthTo(to), Result()));
        if (choice % 4 == 1) return Checked(kora_song_delete_time(song, from, to, Result()));
        if (choice % 4 == 2) return Checked(kora_song_repeat_time(song, from, to, choice / 32, Result()));
        return Checked(kora_song_move_time(song, from, to, mScript.Tick(), Result()));
    }
    void Convert()
    {
        kora_song* const song = Any<kora_song>();
        kora_time time = Time();
        kora_bar_position position{static_cast<std::int32_t>(mScript.Raw() >> mScript.Byte() % 64),
                                   static_cast<std::int32_t>(mScript.Byte()) - 2, LengthTo(mScript.Tick())};
        Checked(kora_convert(song, time, Unit(), &time));
        Checked(kora_from_bars(song, position, Unit(), &time));
        Checked(kora_to_bars(song, time, &position));
    }
    void ConvertAll()
    {
        std::int64_t column[3 * 20] = {};
        const std::size_t count = mScript.Byte() % 21;
        for (std::size_t i = 0; i < count; ++i)
            column[3 * i + 1] = mScript.Byte() % 4 == 0 ? mScript.Raw() : mScript.Tick();
        kora_bar_position bars[20];
        kora_song* const song = Any<kora_song>();
        const std::uint32_t from = Unit(), to = Unit();
        Checked(kora_to_bars_all(song, from, &column[1], 24, bars, sizeof bars[0], count));
        Checked(kora_convert_all(song, from, &column[1], 24, to, &column[1], 24, count));
        Checked(kora_from_bars_all(song, bars, sizeof bars[0], to, &column[2], 24, count));
        Checked(kora_convert_all(song, from, nullptr, 8, to, column,
                                 static_cast<std::ptrdiff_t>(mScript.Byte()) - 9, 1));
    }
    void Write()
    {
        char text[48];
        std::size_t size = 0;
        const std::size_t capacity = mScript.Byte() % 2 == 0 ? sizeof text : mScript.Byte() % sizeof text;
        const auto form = static_cast<std::int32_t>(mScript.Byte() % 11) - 1;
        const kora_status status = kora_format_write(Any<kora_format>(), form, Time(), text, capacity, &size);
        Checked(status);
        if (status == KORA_OK)
            Require(std::strlen(text) == size && size < capacity, "the text is as long as it says");
    }
    void Read()
    {
        kora_time time{7, 1, 0};
        const std::string text = mScript.Bytes();
        const auto form = static_cast<std::int32_t>(mScript.Byte() % 11) - 1;
        const kora_status status = kora_format_read(Any<kora_format>(), form, text.c_str(), &time);
        Checked(status);
        Require(status == KORA_OK || (time.count == 7 && time.unit == 1), "what is refused changes nothing");
    }
    void History()
    {
        kora_history* const history = Any<kora_history>();
        std::size_t steps = 0, position = 0;
        char name[20];
        std::int32_t isSaved = 0;
        const unsigned kind = mScript.Byte() % 8;
        if (kind == 0) return Checked(kora_history_begin(history));
        if (kind == 1) return Checked(kora_history_end(history, mScript.Bytes().c_str(), mScript.Byte() % 3));
        if (kind == 2) return Checked(kora_history_cancel(history));
        if (kind == 3) return Checked(kora_history_undo(history));
        if (kind == 4) return Checked(kora_history_redo(history));
        if (kind == 5) return Checked(kora_history_mark_saved(history));
        if (kind == 6) return Checked(kora_history_is_saved(history, &isSaved));
        Checked(kora_history_count(history, &steps, &position));
        Require(position <= steps, "the position is among the steps");
        return Checked(kora_history_step_name(history, mScript.Byte() % 4, name, sizeof name, &steps));
    }
    void ReadMidi()
    {
        const std::string bytes = mScript.Byte() % 4 == 0 ? mScript.Bytes() : mMidi;
        kora_song* song = nullptr;
        const kora_status status = kora_song_read_bytes(bytes.data(), bytes.size(), &song);
        Checked(status);
        Require((status == KORA_OK) == (song != nullptr), "a handle comes with KORA_OK alone");
        Keep(song);
    }
    void WriteMidi()
    {
        std::size_t size = 0;
        kora_song* const song = Any<kora_song>();
        const kora_status asked = kora_song_write_midi(song, nullptr, 0, &size);
        Checked(asked);
        if (asked != KORA_OK || size > 100000) return;
        mMidi.assign(size, '\0');
        Require(kora_song_write_midi(song, mMidi.data(), size, &size) == KORA_OK && size == mMidi.size(),
                "a song is written as it said");
    }
    void AskSong()
    {
        kora_song_info info{};
        info.size = mScript.Byte() % 8 == 0 ? 8 : sizeof info;
        Checked(kora_song_get_info(Any<kora_song>(), &info));
        const auto listen = [](void* ioUser, kora_song*, std::uint32_t iWhat) {
            static_cast<Player*>(ioUser)->mTold |= iWhat;
        };
        Checked(kora_song_set_listener(Any<kora_song>(), mScript.Byte() % 2 == 0 ? nullptr : +listen, this));
    }

    void MakeGrid()
    {
        constexpr const char* cDivisions[] = {"bars", "beats", "1/8", "1/16t", "1/4.", "1/64", "1/16(4:5)"};
        const unsigned choice = mScript.Byte();
        const std::int32_t swing = static_cast<std::int32_t>(mScript.Byte()) * 4 - 4;
        if (choice % 4 == 0)
            return Make<kora_grid>(&kora_grid_new, Any<kora_song>(), mScript.Bytes().c_str(), swing);
        if (choice % 4 == 1)
            return Make<kora_grid>(
                &kora_grid_new_by_clock, Any<kora_song>(), static_cast<std::int32_t>(choice / 4 % 6) - 1,
                swing == 0 ? mScript.Raw() : std::int64_t{swing} * swing, std::int32_t{KORA_FILM_16MM});
        Make<kora_grid>(&kora_grid_new, Any<kora_song>(), cDivisions[choice / 4 % std::size(cDivisions)],
                        swing);
    }
    void AskGrid()
    {
        kora_grid_line lines[9];
        std::size_t count = 0;
        kora_grid* const grid = Any<kora_grid>();
        const std::size_t capacity = mScript.Byte() % 10;
        const kora_status status = kora_grid_lines(grid, Time(), Time(), lines, capacity, &count);
        Checked(status);
        Require(count <= capacity && (status != KORA_TOO_SMALL || count == capacity),
                "the lines are as many as it says");
        for (std::size_t i = 1; i < count; ++i)
            Require(lines[i - 1].sample <= lines[i].sample && lines[i - 1].tick <= lines[i].tick,
                    "the lines are in order");
        Checked(kora_grid_find(grid, Time(), static_cast<std::int32_t>(mScript.Byte() % 7) - 1, lines));
    }
    void MakeRuler()
    {
        const auto measure = [](void* iUser, const char*, std::size_t iSize) {
            return static_cast<Player*>(iUser)->mScript.Byte() == 0 ? -1.0 : 7.0 * static_cast<double>(iSize);
        };
        const unsigned choice = mScript.Byte();
        kora_ruler_options options{};
        options.size = choice % 16 == 0 ? 3 : sizeof options;
        options.form = static_cast<std::int32_t>(mScript.Byte() % 11) - 1;
        options.film = KORA_FILM_35MM;
        options.axis = static_cast<std::int32_t>(choice / 16 % 3);
        options.lines = choice / 64 == 0 ? mScript.Number() : 0;
        Make<kora_ruler>(&kora_ruler_new, Any<kora_song>(), &options, Time(), +measure,
                         static_cast<void*>(this));
    }
    void MoveRuler()
    {
        kora_ruler* const ruler = Any<kora_ruler>();
        double pixel = mScript.Number();
        kora_time time = Time();
        const unsigned kind = mScript.Byte() % 7;
        if (kind == 0) return Checked(kora_ruler_show(ruler, time, Time(), pixel));
        if (kind == 1) return Checked(kora_ruler_set_units_per_pixel(ruler, pixel * pixel));
        if (kind == 2) return Checked(kora_ruler_zoom(ruler, pixel, mScript.Number() / 100));
        if (kind == 3) return Checked(kora_ruler_scroll_to(ruler, time, pixel));
        if (kind == 4) return Checked(kora_ruler_scroll_by(ruler, mScript.Raw() >> mScript.Byte() % 64));
        if (kind == 5) return Checked(kora_ruler_to_pixel(ruler, time, &pixel));
        return Checked(kora_ruler_to_time(ruler, pixel, Unit(), &time));
    }
    void DrawRuler()
    {
        const auto take = [](void* iUser, const kora_ruler_line* iLine) {
            Require(std::strlen(iLine->label) == iLine->label_size, "a label is as long as it says");
            ++static_cast<Player*>(iUser)->mTold;
        };
        Checked(kora_ruler_draw(Any<kora_ruler>(), mScript.Number(), +take, this));
    }

    void MakeName()
    {
        constexpr const char* cPaths[] = {"a", "a/b", "b", ""};
        const unsigned choice = mScript.Byte();
        const std::string path = choice % 8 == 0 ? mScript.Bytes() : cPaths[choice / 8 % std::size(cPaths)];
        if (choice % 2 == 0) return Make<kora_name>(&kora_name_new, path.c_str());
        Make<kora_name>(&kora_name_new_below, Any<kora_name>(), path.c_str());
    }
    void Connect()
    {
        char path[40];
        std::size_t size = 0;
        Checked(kora_name_path(Any<kora_name>(), path, mScript.Byte() % 41, &size));
        if (mScript.Byte() % 2 == 0) return Checked(kora_name_connect(Any<kora_name>(), Any<kora_name>()));
        Checked(kora_name_disconnect(Any<kora_name>(), Any<kora_name>()));
    }
    void Listen()
    {
        const auto take = [](void* iUser, const kora_token* iToken) {
            Require(iToken->size <= KORA_TOKEN_BYTES && iToken->type != 0, "a token is what was sent");
            ++static_cast<Player*>(iUser)->mTold;
        };
        if (mScript.Byte() % 2 == 0) return Make<kora_receiver>(&kora_receiver_new, mScript.Byte() % 5u);
        const std::uint32_t type = mScript.Byte() % 3, subtype = mScript.Byte() % 3;
        Make<kora_listener>(&kora_listener_new, Any<kora_receiver>(), Any<kora_name>(), type, subtype,
                            static_cast<std::int32_t>(mScript.Byte() % 3), +take, static_cast<void*>(this));
    }
    void Send()
    {
        const char bytes[KORA_TOKEN_BYTES + 8] = {};
        const std::size_t size = mScript.Byte() % 4 == 0 ? mScript.Byte() * 5u : mScript.Byte();
        const kora_status status = kora_send(Any<kora_name>(), mScript.Byte() % 3, mScript.Byte() % 3,
                                             mScript.Byte() == 0 ? nullptr : bytes, size);
        if (status != KORA_FULL) Checked(status);
    }
    void Process()
    {
        std::size_t handled = 0;
        kora_receiver* const receiver = Any<kora_receiver>();
        Checked(kora_receiver_process(receiver, static_cast<std::int32_t>(mScript.Byte() % 3) - 1, &handled));
        Checked(kora_receiver_wake(receiver));
        Checked(kora_receiver_wait(receiver, 0));
    }

    // What a document holds is CDocumentFuzz's; here it is a handle among others.
    void Document()
    {
        const unsigned kind = mScript.Byte() % 4;
        if (kind == 0) return Make<kora_document>(&kora_document_create_in_memory);
        if (kind == 1) return Checked(kora_song_write_document(Any<kora_song>(), Any<kora_document>()));
        if (kind == 2) return Checked(kora_document_commit(Any<kora_document>()));
        std::size_t size = 0;
        kora_document* const document = Any<kora_document>();
        const kora_status status = kora_document_get_bytes(document, nullptr, 0, &size);
        Checked(status);
        if (status != KORA_OK) return;
        std::string bytes(size, '\0');
        Require(kora_document_get_bytes(document, bytes.data(), size, &size) == KORA_OK, "it has bytes");
        Make<kora_song>(&kora_song_read_bytes, static_cast<const void*>(bytes.data()), size);
    }

    CallScript mScript;
    std::vector<void*> mHandles;
    kora_edit_result mResult{};
    std::string mMidi;
    std::uint32_t mTold = 0;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* iBytes, std::size_t iSize)
{
    static const bool isStarted = [] {
        const auto refuse = [](void*, const char* iText, std::int32_t) { Require(false, iText); };
        return kora_init() == KORA_OK && kora_set_assert_handler(+refuse, nullptr) == KORA_OK;
    }();
    Require(isStarted, "the library starts");
    Player(iBytes, iSize).Play();
    return 0;
}
