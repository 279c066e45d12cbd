#include "Kora/Kora_Song.h"

#include "Bastel/Sys/Sys_File.h"
#include "Bastel/Sys/Sys_MemoryFile.h"
#include "Kora/FF/Document/FF_SafeSave.h"
#include "Kora/Time/Formats/Time_Globals.h"
#include "Kora/Time/Tempo/Time_ConstantTempoSeg.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <utility>

namespace {

std::string BytesOf(const Sys_FileLoc& iLocation)
{
    Sys_File file{iLocation};
    file.Open(Sys_FileSystem::eAccess_Read);
    std::string bytes(static_cast<std::size_t>(file.GetLength()), '\0');
    bytes.resize(file.Read(bytes.data(), bytes.size()));
    return bytes;
}

// Whether a song's entries are where its time line is.
class PlaceCheck
{
public:
    explicit PlaceCheck(const Kora_Song& iSong)
        : mSong(iSong)
    {
    }
    void Check(const char* iWhat, Time_Tick iTick) const
    {
        if (iTick < mSong.GetStartTick() || iTick.AsInt64() > cMaxTick)
            Refuse(iWhat, iTick,
                   ", expected tick " + std::to_string(mSong.GetStartTick().AsInt64()) + " to " +
                       std::to_string(cMaxTick));
        const Cmn_Int64 sample = mSong.GetTempoMap().TickToSample(iTick, false).AsInt64();
        if (sample < 0 || sample > cMaxSample)
            Refuse(iWhat, iTick,
                   " and sample " + std::to_string(sample) + ", expected sample 0 to " +
                       std::to_string(cMaxSample));
        const Time_MeterMap& meters = mSong.GetMeterMap();
        if (meters.BarBeatToTick(meters.TickToBarBeat(iTick)) != iTick)
            Refuse(iWhat, iTick, ", expected no bar number of more than 32 bits");
    }

private:
    [[noreturn]] static void Refuse(const char* iWhat, Time_Tick iTick, const std::string& iText)
    {
        throw Kora_SongException(std::string(iWhat) + " at tick " + std::to_string(iTick.AsInt64()) + iText);
    }

    const Cmn_Int64 cMaxTick = Time_Typed::MaxTime(Time_eType_Ticks).AsInt64();
    const Cmn_Int64 cMaxSample = Time_Typed::MaxTime(Time_eType_Samples).AsInt64();
    const Kora_Song& mSong;
};

} // namespace

Kora_SongException::Kora_SongException(std::string iText)
    : Cmn_Exception(Cmn_eMessage_ReadError)
    , mText(std::move(iText))
{
}

Kora_SongException::~Kora_SongException() = default;

const char* Kora_SongException::what() const noexcept { return mText.c_str(); }

Kora_Song::Kora_Song(Ndo_Object::EUndoFlag iUndoFlag)
    : mMeters(iUndoFlag)
    , mTempi(iUndoFlag)
    , mKeys(iUndoFlag)
    , mTimeCodeFormat(Time_Globals::GetGlobalTimeCodeFormat())
{
    mConverter.SetMeterMap(&mMeters);
    mConverter.SetTempoMap(&mTempi);
    mMeters.AddInitialMeterChange(cStartTick, Time_Meter(), Time_DefaultSongStart::cDefaultSongStartBar);
    AddFirstTempo();
}

Kora_Song::~Kora_Song() = default;

void Kora_Song::AddFirstTempo()
{
    auto segment = std::make_unique<Time_ConstantTempoSeg>(cStartTick);
    segment->SetTempo(Time_DefaultTempo::cDefaultBeatsPerMinute, Time_TickLength::cQuarter);
    segment->SetIsSongStart(true);
    segment->LockToSample(Time_Sample(0));
    mTempi.AddSegment(std::move(segment));
}

Time_Tick Kora_Song::GetEndTick() const
{
    Time_Tick last = (std::max)({mEndTick, GetStartTick(), mMeters.GetTickOfLastChange()});
    if (mTempi.GetNumberOfSegments() > 0)
        last = (std::max)(last, (*std::prev(mTempi.SegmentEnd()))->GetStartTick());
    Time_Tick tick;
    Time_KeySignature key;
    if (mKeys.size() > 0 && mKeys.GetKeysSignature(mKeys.size() - 1, tick, key))
        last = (std::max)(last, tick);
    return last;
}

void Kora_Song::Open(const Sys_FileLoc& iLocation)
{
    try {
        std::string bytes = BytesOf(iLocation);
        if (!FF_Document::IsDocument(bytes)) return Read(SMF_File::Read(std::move(bytes)));
        FF_Document document(iLocation);
        document.Open(Sys_Store::eOpenFlag_Read);
        Read(document);
    } catch (Cmn_Exception& exception) {
        if (exception.GetFile().empty()) exception.SetFile(iLocation.GetPath());
        throw;
    }
}

void Kora_Song::ReadBytes(std::string iBytes)
{
    if (!FF_Document::IsDocument(iBytes)) return Read(SMF_File::Read(std::move(iBytes)));
    Sys_MemoryFile file(std::move(iBytes));
    FF_Document document(Sys_FileLoc("a song in memory"));
    document.SetFileSystem(&file);
    document.Open(Sys_Store::eOpenFlag_Read);
    Read(document);
}

void Kora_Song::Read(const SMF_File& iFile) { mEndTick = SMF_TimeMaps::Read(iFile, mMeters, mTempi, mKeys); }

void Kora_Song::Read(SMF_File&& ioFile)
{
    mEndTick = SMF_TimeMaps::Read(std::move(ioFile), mMeters, mTempi, mKeys);
}

void Kora_Song::Read(FF_Document& ioDocument, ERate iRate)
{
    FF_TimeMaps::SongInfo info{cStartTick, mTempi.GetSampleRate(), mTimeCodeFormat};
    const bool hasInfo = FF_TimeMaps::ReadInfo(ioDocument, info);
    if (iRate == eRate_Document) mTempi.SetSampleRate(info.mSampleRate); // first: computed segments end by it
    if (FF_TimeMaps::Read(ioDocument, mMeters, mTempi, mKeys) == 0 && !hasInfo)
        throw Kora_SongException("no song in this document, expected a meter, tempo or key map");
    mEndTick = hasInfo ? info.mEndTick : GetStartTick();
    mTimeCodeFormat = info.mTimeCodeFormat;
    mMeters.MakeRealIfDefault();
    if (mTempi.GetNumberOfSegments() == 0) AddFirstTempo();
    CheckPlaces();
}

void Kora_Song::Write(FF_Document& ioDocument) const
{
    FF_TimeMaps::Write(ioDocument, mMeters, mTempi, mKeys);
    FF_TimeMaps::WriteInfo(ioDocument, {GetEndTick(), mTempi.GetSampleRate(), mTimeCodeFormat});
}

SMF_TimeMaps::Report Kora_Song::Write(SMF_File& ioFile, SMF_TimeMaps::EDivision iDivision) const
{
    return SMF_TimeMaps::Write(ioFile, {mMeters, mTempi, mKeys, GetStartTick(), GetEndTick()}, iDivision);
}

void Kora_Song::Save(const Sys_FileLoc& iLocation) const
{
    CheckPlaces();
    FF_SafeSave save(iLocation);
    Write(save.GetDocument());
    save.Commit();
}

void Kora_Song::CheckPlaces() const
{
    const PlaceCheck places(*this);
    for (auto change = mMeters.IterBegin(); change != mMeters.IterEnd(); ++change)
        places.Check("a meter", change->GetTick());
    for (auto segment = mTempi.SegmentBegin(); segment != mTempi.SegmentEnd(); ++segment)
        places.Check("a tempo", (*segment)->GetStartTick());
    for (long i = 0; i < mKeys.size(); ++i) {
        Time_Tick tick;
        Time_KeySignature key;
        if (mKeys.GetKeysSignature(i, tick, key)) places.Check("a key", tick);
    }
    places.Check("the end", GetEndTick());
}
