#include "Tool/Tool_Document.h"

#include "Bastel/Sys/Sys_File.h"
#include "Kora/FF/FF_Document_TOC.h"
#include "Kora/FF/FF_SafeSave.h"
#include "Kora/FF/FF_TimeMaps.h"
#include "Tool/Tool_File.h"
#include "Tool/Tool_InputError.h"
#include "Tool/Tool_Song.h"
#include "Tool/Tool_SongInfo.h"

namespace {
// Behind the version byte.
constexpr std::string_view cSignature = "0010111100101011";
constexpr std::size_t cTypeOffset = 18;

// A file that ends where the key of its mask should follow. The library reports that as a broken promise of the host's,
// which is more than one line.
bool EndsBeforeKey(const std::string& iStart)
{
    return iStart.size() == cTypeOffset + 1 && iStart[cTypeOffset] >= eFF_EncryptionType_Byte29 &&
           iStart[cTypeOffset] <= eFF_EncryptionType_Block93;
}

struct StreamType
{
    Cmn_Int16 mType;
    const char* mName;
};

// The streams that make a song, in the order in which they are written.
constexpr StreamType cSongStreams[] = {
    {FF_TimeMaps::eStreamType_MeterMap, "meter map"},
    {FF_TimeMaps::eStreamType_TempoMap, "tempo map"},
    {FF_TimeMaps::eStreamType_KeyMap,   "key map"  },
    {Tool_SongInfo::cStreamType,        "song info"},
};
} // namespace

bool Tool_IsDocument(const std::string& iName)
{
    const std::string start = Tool_ReadStart(iName, 1 + cSignature.size());
    return start.size() == 1 + cSignature.size() && start.substr(1) == cSignature;
}

std::unique_ptr<FF_Document> Tool_OpenDocument(const std::string& iName)
{
    if (!Tool_IsDocument(iName))
        throw Tool_InputError::AtByte(iName, 1,
                                      "no document, expected the signature " + std::string(cSignature));
    auto document =
        std::make_unique<FF_Document>(Sys_FileLoc(iName), eFF_EncryptionType_None, eTextEncoding_Utf8, false);
    Tool_NamingFile(iName, [&] {
        const std::string start = Tool_ReadStart(iName, cTypeOffset + 2);
        if (EndsBeforeKey(start)) throw Sys_StreamReadException(static_cast<Cmn_Int64>(start.size()));
        document->Open(Sys_Store::eOpenFlag_Read);
    });
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
        FF_TimeMaps::Write(document, iSong.GetMeterMap(), iSong.GetTempoMap(), iSong.GetKeyMap());
        Tool_SongInfo{iSong.GetEndTick(), iSong.GetSettings()}.Write(document);
        const Cmn_Int32 streams = document.GetTOC().GetNumKeys();
        safe.Commit();
        Sys_File file{Sys_FileLoc(iName)};
        file.Open(Sys_FileSystem::eAccess_Read);
        return std::to_string(streams) + " streams, " + std::to_string(file.GetLength()) + " bytes, " +
               Tool_ScramblingText(iType);
    };
    return Tool_NamingFile(iName, save);
}

std::string Tool_ScramblingText(EFF_EncryptionType iType)
{
    return iType == eFF_EncryptionType_None ? "not scrambled"
                                            : "scrambled (type " + std::to_string(iType) + ')';
}
