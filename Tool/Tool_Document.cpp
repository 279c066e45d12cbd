#include "Tool/Tool_Document.h"

#include "Bastel/Sys/Sys_File.h"
#include "Kora/FF/Document/FF_Document_TOC.h"
#include "Kora/FF/Document/FF_SafeSave.h"
#include "Kora/FF/Song/FF_TimeMaps.h"
#include "Tool/Tool_Input.h"
#include "Tool/Tool_InputError.h"
#include "Tool/Tool_Song.h"

#include <utility>

namespace {

struct StreamType
{
    Cmn_Int16 mType;
    const char* mName;
};

// The streams that make a song, in the order in which they are written.
constexpr StreamType cSongStreams[] = {
    {FF_TimeMaps::eStreamType_MeterMap, "meter map"},
    {FF_TimeMaps::eStreamType_TempoMap, "tempo map"},
    {FF_TimeMaps::eStreamType_KeyMap, "key map"},
    {FF_TimeMaps::eStreamType_SongInfo, "song info"},
};

// "; not kept: the owner, the group"
std::string NotKeptText(Cmn_UInt32 iNotKept)
{
    constexpr std::pair<Cmn_UInt32, const char*> cNames[] = {
        {Sys_FileSystem::eNotKept_Owner, "the owner"},
        {Sys_FileSystem::eNotKept_Group, "the group"},
        {Sys_FileSystem::eNotKept_Permissions, "the permissions"},
        {Sys_FileSystem::eNotKept_Attributes, "the extended attributes"},
    };
    std::string text;
    for (const auto& [bit, name] : cNames)
        if ((iNotKept & bit) != 0) text += (text.empty() ? "; not kept: " : ", ") + std::string(name);
    return text;
}

} // namespace

bool Tool_IsDocument(const Tool_Input& iInput) { return FF_Document::IsDocument(iInput.Start()); }

void Tool_RefuseMidi(const Tool_Input& iInput)
{
    if (iInput.Start().starts_with("MThd"))
        throw Tool_InputError::InFile(iInput.Name(),
                                      "a MIDI file, expected a document, which \"kora save\" makes of it");
}

std::unique_ptr<FF_Document> Tool_OpenDocument(const Tool_Input& iInput)
{
    Tool_RefuseMidi(iInput);
    if (!Tool_IsDocument(iInput))
        throw Tool_InputError::AtByte(iInput.Name(), 1,
                                      "no document, expected the signature 0010111100101011");
    auto document =
        std::make_unique<FF_Document>(iInput.Location(), eFF_EncryptionType_None, eTextEncoding_Utf8, false);
    Tool_NamingFile(iInput.Name(), [&] { document->Open(Sys_Store::eOpenFlag_Read); });
    return document;
}

std::string Tool_StreamTypeName(Cmn_Int16 iStreamType)
{
    for (const StreamType& known : cSongStreams)
        if (known.mType == iStreamType) return known.mName;
    return {};
}

Cmn_Int32 Tool_CountOtherEntries(const FF_Document& iDocument)
{
    const FF_Document::TOC& toc = iDocument.GetTOC();
    Cmn_Int32 count = 0;
    for (FF_Document::TOC::Entry entry = 0; entry < toc.GetNumKeys(); ++entry) {
        const FF_Document::TOCKey key = toc.GetKey(entry);
        const auto& path = key.GetContexts();
        if (path.size() != 1 || Tool_StreamTypeName(path.front().GetStreamType()).empty()) ++count;
    }
    return count;
}

std::string Tool_SaveSong(const Tool_Song& iSong, const std::string& iName, EFF_EncryptionType iType)
{
    const auto save = [&] {
        FF_SafeSave safe(Sys_FileLoc(iName), iType, eTextEncoding_Utf8, false);
        FF_Document& document = safe.GetDocument();
        iSong.GetSong().Write(document);
        const Cmn_Int32 streams = document.GetTOC().GetNumKeys();
        safe.Commit();
        Sys_File file{Sys_FileLoc(iName)};
        file.Open(Sys_FileSystem::eAccess_Read);
        return std::to_string(streams) + " streams, " + std::to_string(file.GetLength()) + " bytes, " +
               Tool_ScramblingText(iType) + NotKeptText(safe.GetNotKept());
    };
    return Tool_NamingFile(iName, save);
}

std::string Tool_SongBytes(const Tool_Song& iSong, EFF_EncryptionType iType)
{
    const Tool_MemoryFile file("standard output");
    FF_Document document(Sys_FileLoc(file.GetPath()), iType, eTextEncoding_Utf8, false);
    document.Open(Sys_Store::eOpenFlag_New);
    iSong.GetSong().Write(document);
    document.Flush();
    document.Close();
    return file.GetBytes();
}

std::string Tool_WithSong(std::string iDocument, const Tool_Song& iSong)
{
    const Tool_MemoryFile file("the edited document", std::move(iDocument));
    FF_Document document(Sys_FileLoc(file.GetPath()), eFF_EncryptionType_None, eTextEncoding_Utf8, false);
    document.Open(Sys_Store::eOpenFlag_ReadWrite);
    iSong.GetSong().Write(document);
    document.Flush();
    document.Close();
    return file.GetBytes();
}

std::string Tool_ScramblingText(EFF_EncryptionType iType)
{
    return iType == eFF_EncryptionType_None ? "not scrambled"
                                            : "scrambled (type " + std::to_string(iType) + ')';
}
