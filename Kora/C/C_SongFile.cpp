// Songs of the C interface from files and into files.
#include "Bastel/Sys/Sys_File.h"
#include "Kora/C/C_Song_p.h"
#include "Kora/FF/Document/FF_SafeSave.h"
#include "Kora/Ndo/Ndo_StDisableRecording.h"
#include "Kora/SMF/SMF_Exception.h"
#include "Kora/SMF/SMF_TimeMaps.h"

#include <cstring>
#include <memory>
#include <utility>

namespace {

// Of files that the library writes itself; raised where the maps need more.
constexpr Cmn_Int32 cDivision = 960;

struct Discard
{
    void operator()(kora_song* iSong) const { iSong->Release(); }
};
using NewSong = std::unique_ptr<kora_song, Discard>;

NewSong MakeSong()
{
    const Ndo_StDisableRecording disabled;
    return NewSong(new kora_song);
}

template <class Source>
NewSong ReadSong(Source& ioSource)
{
    NewSong song = MakeSong();
    const Ndo_StDisableRecording disabled;
    song->Read(ioSource);
    return song;
}

std::string ReadFile(const char* iPath)
{
    Sys_File file{Sys_FileLoc(iPath)};
    file.Open(Sys_FileSystem::eAccess_Read);
    std::string bytes(static_cast<std::size_t>(file.GetLength()), '\0');
    bytes.resize(file.Read(bytes.data(), bytes.size()));
    return bytes;
}

NewSong OpenSong(const char* iPath)
{
    std::string bytes = ReadFile(iPath);
    if (FF_Document::IsDocument(bytes)) {
        FF_Document document(Sys_FileLoc(iPath), eFF_EncryptionType_None, eTextEncoding_Utf8, false);
        document.Open(Sys_Store::eOpenFlag_Read);
        return ReadSong(document);
    }
    const SMF_File file = SMF_File::Read(std::move(bytes));
    return ReadSong(file);
}

std::string MidiBytes(const kora_song& iSong)
{
    SMF_File file(cDivision);
    SMF_TimeMaps::Write(
        file, {iSong.mMeters, iSong.mTempi, iSong.mKeys, iSong.mTempi.GetSongStartTick(), iSong.GetEnd()},
        SMF_TimeMaps::eDivision_Raise);
    return file.Write();
}

} // namespace

kora_status kora_song_new(kora_song** out)
{
    return C_Guard([&] {
        kora_song*& song = C_Out(out, "out");
        song = MakeSong().release();
    });
}

kora_status kora_song_open(const char* path, kora_song** out)
{
    return C_Guard([&] {
        C_Out(path, "path");
        kora_song*& song = C_Out(out, "out");
        try {
            song = OpenSong(path).release();
        } catch (Cmn_Exception& e) {
            if (e.GetFile().empty()) e.SetFile(path);
            throw;
        }
    });
}

kora_status kora_song_read_midi(const void* bytes, size_t size, kora_song** out)
{
    return C_Guard([&] {
        const auto* const first = static_cast<const char*>(bytes);
        C_Out(first, "bytes");
        kora_song*& song = C_Out(out, "out");
        const SMF_File file = SMF_File::Read(std::string(first, size));
        song = ReadSong(file).release();
    });
}

kora_status kora_song_save(kora_song* song, const char* path)
{
    return C_Guard([&] {
        const kora_song& from = C_Get(song, "song");
        C_Out(path, "path");
        FF_SafeSave safe(Sys_FileLoc(path), eFF_EncryptionType_None, eTextEncoding_Utf8, false);
        FF_TimeMaps::Write(safe.GetDocument(), from.mMeters, from.mTempi, from.mKeys);
        FF_TimeMaps::WriteInfo(safe.GetDocument(),
                               {from.GetEnd(), from.mTempi.GetSampleRate(), from.mInfo.mTimeCodeFormat});
        safe.Commit();
    });
}

kora_status kora_song_write_midi(kora_song* song, void* buffer, size_t capacity, size_t* size)
{
    return C_Guard([&] {
        const kora_song& from = C_Get(song, "song");
        size_t& needed = C_Out(size, "size");
        C_Require(buffer != nullptr || capacity == 0, "buffer is null", KORA_NULL_ARGUMENT);
        const std::string bytes = MidiBytes(from);
        needed = bytes.size();
        C_Require(capacity == 0 || capacity >= bytes.size(), "the buffer is too small", KORA_TOO_SMALL);
        if (capacity > 0) std::memcpy(buffer, bytes.data(), bytes.size());
    });
}
