// Songs of the C interface from files and into files.
#include "Bastel/Sys/Sys_SafeFile.h"
#include "Kora/C/C_Give_p.h"
#include "Kora/C/C_Song_p.h"

namespace {

// Of files that the library writes itself; raised where the maps need more.
constexpr Cmn_Int32 cDivision = 960;

std::string MidiOf(const Kora_Song& iSong)
{
    SMF_File file(cDivision);
    iSong.Write(file, SMF_TimeMaps::eDivision_Raise);
    return file.Write();
}

} // namespace

kora_status kora_song_new(kora_song** out)
{
    return C_Guard([&] {
        kora_song*& song = C_Out(out, "out");
        song = C_MakeSong([](Kora_Song&) {});
    });
}

kora_status kora_song_open(const char* path, kora_song** out)
{
    return C_Guard([&] {
        C_Out(path, "path");
        kora_song*& song = C_Out(out, "out");
        song = C_MakeSong([&](Kora_Song& ioSong) { ioSong.Open(Sys_FileLoc(path)); });
    });
}

kora_status kora_song_read_bytes(const void* bytes, size_t size, kora_song** out)
{
    return C_Guard([&] {
        const auto* const first = static_cast<const char*>(bytes);
        C_Out(first, "bytes");
        kora_song*& song = C_Out(out, "out");
        song = C_MakeSong([&](Kora_Song& ioSong) { ioSong.ReadBytes(std::string(first, size)); });
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
    return C_Guard([&] { C_GiveBytes(MidiOf(C_Get(song, "song").Get()), buffer, capacity, size); });
}

kora_status kora_song_export(kora_song* song, const char* path)
{
    return C_Guard([&] {
        const Kora_Song& from = C_Get(song, "song").Get();
        C_Out(path, "path");
        const std::string bytes = MidiOf(from);
        Sys_SafeFile file{Sys_FileLoc(path)};
        file.Write(bytes.data(), bytes.size());
        file.Sync();
        file.Commit();
    });
}
