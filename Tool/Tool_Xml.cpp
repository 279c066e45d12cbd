#include "Tool/Tool_Xml.h"

#include "Bastel/Cmn/Cmn_XMLNode.h"
#include "Kora/Time/Tempo/Time_TempoMapSegment.h"
#include "Tool/Tool_Progress.h"
#include "Tool/Tool_Song.h"
#include "Tool/Tool_SongRows.h"

#include <ostream>

namespace {

// Nodes around nodes as text, handed on in pieces.
class Writer
{
public:
    Writer(const Tool_Song& iSong, std::ostream& oOut)
        : mOut(oOut)
        , mWork("writing rows", {}, Tool_SongWalk(iSong).GetCount())
    {
    }
    ~Writer() { mOut << mText; }
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    void Open(const char* iName) { mText.append(2 * mLevel++, ' ').append("<").append(iName).append(">\n"); }
    void Close(const char* iName)
    {
        mText.append(2 * --mLevel, ' ').append("</").append(iName).append(">\n");
    }
    // All children of a node at this level.
    void AddValues(const Cmn_XMLNode& iValues)
    {
        for (const Cmn_XMLNode& value : iValues.GetChildren())
            value.AppendTo(mText, static_cast<int>(mLevel));
    }
    // A map: its values, then as many entries in a node of their own.
    template <class ForEach>
    void AddMap(const Cmn_XMLNode& iValues, const char* iEntries, bool iIsEmpty, const ForEach& iForEach)
    {
        Open(iValues.GetName().c_str());
        AddValues(iValues);
        if (iIsEmpty) {
            Cmn_XMLNode(iEntries).AppendTo(mText, static_cast<int>(mLevel));
        } else {
            Open(iEntries);
            iForEach([this](const Cmn_XMLNode& iEntry) { AddEntry(iEntry); });
            Close(iEntries);
        }
        Close(iValues.GetName().c_str());
    }

private:
    void AddEntry(const Cmn_XMLNode& iEntry)
    {
        constexpr std::size_t cMuch = 65536;
        iEntry.AppendTo(mText, static_cast<int>(mLevel));
        mWork.At(++mNumEntries);
        if (mText.size() < cMuch) return;
        mOut << mText;
        mText.clear();
    }

    std::ostream& mOut;
    std::string mText = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    std::size_t mLevel = 0;
    Cmn_Int64 mNumEntries = 0;
    Tool_StWork mWork;
};

void AddMeters(const Time_MeterMap& iMap, Writer& ioWriter)
{
    Cmn_XMLNode values("MeterMap");
    values.AddValue("nChangeCount", static_cast<Cmn_Int64>(iMap.GetNumberOfChanges()));
    values.AddValue("nSongStartTick", iMap.GetSongStartTick().AsInt64());
    ioWriter.AddMap(values, "Changes", iMap.GetNumberOfChanges() == 0, [&](const auto& iAdd) {
        for (auto change = iMap.IterBegin(); change != iMap.IterEnd(); ++change)
            iAdd(change->GetAsXML());
    });
}

void AddTempi(const Time_TempoMap& iMap, Writer& ioWriter)
{
    Cmn_XMLNode values("TempoMap");
    values.AddValue("nSegmentCount", static_cast<Cmn_Int64>(iMap.GetNumberOfSegments()));
    ioWriter.AddMap(values, "Segments", iMap.GetNumberOfSegments() == 0, [&](const auto& iAdd) {
        for (auto segment = iMap.SegmentBegin(); segment != iMap.SegmentEnd(); ++segment)
            iAdd((*segment)->GetAsXML());
    });
}

void AddKeys(const Time_KeySignatureMap& iMap, Writer& ioWriter)
{
    Cmn_XMLNode values("KeySignatureMap");
    values.AddValue("nKeyCount", static_cast<Cmn_Int64>(iMap.size()));
    ioWriter.AddMap(values, "Keys", iMap.size() == 0, [&](const auto& iAdd) {
        for (long i = 0; i < iMap.size(); ++i) {
            Time_Tick tick;
            Time_KeySignature key;
            if (!iMap.GetKeysSignature(i, tick, key)) continue;
            Cmn_XMLNode node("Key");
            node.AddValue("nTick", tick.AsInt64());
            node.AddValue("mIsMajor", key.IsMajor());
            node.AddValue("mIsSharps", key.IsSharps());
            node.AddValue("nAccidentals", Cmn_Int32{key.GetAccidentalCount()});
            iAdd(node);
        }
    });
}

} // namespace

void Tool_WriteXml(const Tool_Song& iSong, std::ostream& oOut)
{
    Cmn_XMLNode values("Song");
    values.AddValue("nEndTick", iSong.GetEndTick().AsInt64());
    values.AddValue("nSampleRate", iSong.GetSettings().mSampleRate);
    values.AddValue("TimeCodeFormat",
                    Time_Globals::GetTimeCodeFormatString(iSong.GetSettings().mTimeCodeFormat));
    Writer writer(iSong, oOut);
    writer.Open("Song");
    writer.AddValues(values);
    AddMeters(iSong.GetMeterMap(), writer);
    AddTempi(iSong.GetTempoMap(), writer);
    AddKeys(iSong.GetKeyMap(), writer);
    writer.Close("Song");
}
