// Songs of the C interface from files and into files.
#include "Kora/C/C_Song_p.h"
#include "Kora/Ndo/Ndo_StDisableRecording.h"

#include <cstring>
#include <memory>

namespace {

// Of files that the library writes itself; raised where the maps need more.
constexpr Cmn_Int32 cDivision = 960;

struct Discard
{
    void operator()(kora_song* iSong) const { iSong->Release(); }
};
using NewSong = std::unique_ptr<kora_song, Discard>;

// Reading is no step of a history that records.
template <class Fill>
kora_song* MakeSong(const Fill& iFill)
{
    const Ndo_StDisableRecording disabled;
    NewSong song(new kora_song);
    iFill(song->Get());
    return song.release();
}

} // namespace

kora_status kora_song_new(kora_song** out)
{
    return C_Guard([&] {
        kora_song*& song = C_Out(out, "out");
        song = MakeSong([](Kora_Song&) {});
    });
}

kora_status kora_song_open(const char* path, kora_song** out)
{
    return C_Guard([&] {
        C_Out(path, "path");
        kora_song*& song = C_Out(out, "out");
        song = MakeSong([&](Kora_Song& ioSong) { ioSong.Open(Sys_FileLoc(path)); });
    });
}

kora_status kora_song_read_midi(const void* bytes, size_t size, kora_song** out)
{
    return C_Guard([&] {
        const auto* const first = static_cast<const char*>(bytes);
        C_Out(first, "bytes");
        kora_song*& song = C_Out(out, "out");
        const SMF_File file = SMF_File::Read(std::string(first, size));
        song = MakeSong([&](Kora_Song& ioSong) { ioSong.Read(file); });
    });
}

kora_status kora_song_save(kora_song* song, const char* path)
{
    return C_Guard([&] {
        const Kora_Song& from = C_Get(song, "song").Get();
        C_Out(path, "path");
        from.Save(Sys_FileLoc(path));
    });
}

kora_status kora_song_write_midi(kora_song* song, void* buffer, size_t capacity, size_t* size)
{
    return C_Guard([&] {
        const Kora_Song& from = C_Get(song, "song").Get();
        size_t& needed = C_Out(size, "size");
        C_Require(buffer != nullptr || capacity == 0, "buffer is null", KORA_NULL_ARGUMENT);
        SMF_File file(cDivision);
        from.Write(file, SMF_TimeMaps::eDivision_Raise);
        const std::string bytes = file.Write();
        needed = bytes.size();
        C_Require(capacity == 0 || capacity >= bytes.size(), "the buffer is too small", KORA_TOO_SMALL);
        if (capacity > 0) std::memcpy(buffer, bytes.data(), bytes.size());
    });
}
