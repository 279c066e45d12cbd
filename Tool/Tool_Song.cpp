#include "Tool/Tool_Song.h"

#include "Tool/Tool_Document.h"
#include "Tool/Tool_Input.h"
#include "Tool/Tool_InputError.h"
#include "Tool/Tool_Progress.h"

#include <memory>
#include <utility>

namespace {

const Tool_Settings& Applied(const Tool_Settings& iSettings)
{
    iSettings.Apply();
    return iSettings;
}

std::optional<FF_TimeMaps::SongInfo> InfoOf(FF_Document& ioDocument)
{
    FF_TimeMaps::SongInfo info;
    return FF_TimeMaps::ReadInfo(ioDocument, info) ? std::optional(info) : std::nullopt;
}

} // namespace

Tool_Song::Tool_Song(const Tool_Settings& iSettings)
    : mSettings(Applied(iSettings))
{
}

Tool_Song::Tool_Song(Tool_MidiFile iFile, const Tool_Settings& iSettings)
    : Tool_Song(iSettings)
{
    Tool_MidiFile::Naming(iFile.GetName(), [&] { mSong.Read(std::move(iFile).TakeFile()); });
}

Tool_Song::Tool_Song(FF_Document& ioDocument, const Tool_AskedSettings& iAsked)
    : Tool_Song(ioDocument, InfoOf(ioDocument), iAsked)
{
}

Tool_Song::Tool_Song(FF_Document& ioDocument, const std::optional<FF_TimeMaps::SongInfo>& iInfo,
                     const Tool_AskedSettings& iAsked)
    : Tool_Song(
          iAsked.Over(iInfo ? Tool_Settings{iInfo->mSampleRate, iInfo->mTimeCodeFormat} : Tool_Settings()))
{
    Tool_NamingFile(ioDocument.GetFileLoc().GetPath(),
                    [&] { mSong.Read(ioDocument, Kora_Song::eRate_Keep); });
    mSong.SetTimeCodeFormat(mSettings.mTimeCodeFormat);
}

void Tool_Song::Edited(Time_Tick iEndTick, const std::string& iName)
{
    mSong.SetEndTick(iEndTick);
    Tool_NamingFile(iName, [&] { mSong.CheckPlaces(); });
}

std::unique_ptr<Tool_Song> Tool_Song::Load(const Tool_Input& iInput, const Tool_AskedSettings& iAsked)
{
    const Tool_StWork work("reading", iInput.Name());
    if (!Tool_IsDocument(iInput))
        return std::make_unique<Tool_Song>(Tool_MidiFile::Parse(iInput.ReadAll(), iInput.Name()),
                                           iAsked.Over({}));
    const std::unique_ptr<FF_Document> document = Tool_OpenDocument(iInput);
    return Tool_NamingFile(iInput.Name(), [&] { return std::make_unique<Tool_Song>(*document, iAsked); });
}
