// Time_TempoMap: its persisted forms.
#include "Bastel/Cmn/Cmn_Exception.h"
#include "Bastel/Cmn/Cmn_XMLNode.h"
#include "Bastel/Sys/Sys_StdStreamHeader.h"
#include "Kora/Time/Tempo/Time_ConstantTempoSeg.h"
#include "Kora/Time/Tempo/Time_TempoMapCache_p.h"
#include "Kora/Time/Tempo/Time_TempoMap_StEditOptimizer.h"

namespace {

constexpr char cStreamName[] = "TempoMap";
constexpr Cmn_Int16 cStreamVersion = 1;

// No segment takes less: a header of the layout before and three values.
constexpr Cmn_Int64 cLeastSegmentBytes = 25 + 5 + 3 * 8;

std::unique_ptr<Time_ConstantTempoSeg> ReadSegment(Sys_TypedInStream& ioStream)
{
    if (Sys_StdStreamHeaderReader::PeekName(ioStream) == Time_ConstantTempoSeg::cPrevSegStreamName)
        return std::make_unique<Time_ConstantTempoSeg>(ioStream, Time_ConstantTempoSeg::ReadPrevSeg);
    return std::make_unique<Time_ConstantTempoSeg>(ioStream);
}

} // namespace

void Time_TempoMap::StreamOut(Sys_TypedOutStream& ioStream) const
{
    UpdateBasicMapIfNeeded(); // derives the tempi of computed segments
    Sys_StdStreamHeaderWriter header(ioStream, cStreamName, cStreamVersion);
    ioStream.WriteInt32(static_cast<Cmn_Int32>(mSegments.size()));
    for (const auto& segment : mSegments)
        segment->StreamOut(ioStream);
    header.PatchSize();
}

void Time_TempoMap::StreamIn(Sys_TypedInStream& ioStream)
{
    Segments segments = ReadTriedOut(ioStream);
    const Time_TempoMap_StEditOptimizer edit(*this);
    DirtyBasicMap();
    SetSegments(std::move(segments));
}

// The places, which a trial alone needs, are gone before the map takes its memory.
Time_TempoMap::Segments Time_TempoMap::ReadTriedOut(Sys_TypedInStream& ioStream) const
{
    Places places;
    Segments segments = ReadSegments(ioStream, places);
    return TriedOut(std::move(segments), places);
}

Time_TempoMap::Segments Time_TempoMap::ReadSegments(Sys_TypedInStream& ioStream, Places& oPlaces)
{
    Sys_StdStreamHeaderReader header(ioStream, cStreamName);
    header.CheckVersion(cStreamVersion, cStreamVersion);
    const Cmn_Int32 count = ioStream.ReadInt32();
    if (count < 0 || count > header.GetBytesLeft() / cLeastSegmentBytes)
        throw Sys_StreamReadException(ioStream.GetPosition());
    Segments segments;
    segments.reserve(static_cast<std::size_t>(count));
    oPlaces.reserve(static_cast<std::size_t>(count));
    for (Cmn_Int32 i = 0; i < count; ++i) {
        const Cmn_Int64 start = ioStream.GetPosition();
        if (!header.IsMoreLeft()) throw Sys_StreamReadException(start);
        std::unique_ptr<Time_ConstantTempoSeg> segment = ReadSegment(ioStream);
        if (i > 0 && segment->GetStartTick() <= segments.back()->GetStartTick())
            throw Sys_StreamReadException(start);
        segments.push_back(std::move(segment));
        oPlaces.push_back(start);
    }
    if (header.GetBytesLeft() < 0) throw Sys_StreamReadException(ioStream.GetPosition());
    header.SkipTheRest();
    return segments;
}

// The segments as they are, when a rebuild of this map with them asserts nothing.
Time_TempoMap::Segments Time_TempoMap::TriedOut(Segments iSegments, const Places& iPlaces) const
{
    Time_TempoMap trial(kNoUndo);
    trial.mCache->SetSampleRate(GetSampleRate());
    trial.SetSegments(std::move(iSegments));
    trial.mCache->TryOut(iPlaces);
    return std::move(trial.mSegments);
}

Cmn_Int64 Time_TempoMap::GetSerialSize() const
{
    Sys_MemOutStream bytes;
    Sys_TypedOutStream stream(bytes);
    StreamOut(stream);
    return static_cast<Cmn_Int64>(bytes.GetBytes().size());
}

Cmn_XMLNode Time_TempoMap::GetAsXML() const
{
    UpdateBasicMapIfNeeded();
    Cmn_XMLNode node("TempoMap");
    node.AddValue("nSegmentCount", static_cast<Cmn_Int64>(mSegments.size()));
    Cmn_XMLNode& segments = node.AddChild(Cmn_XMLNode("Segments"));
    for (const auto& segment : mSegments)
        segments.AddChild(segment->GetAsXML());
    return node;
}

std::string Time_TempoMap::Dump() const
{
    UpdateBasicMapIfNeeded();
    std::string text = "TempoMap: " + std::to_string(mSegments.size()) + " segments, edit " +
                       std::to_string(mUniqueEditIdentifier) + "\n";
    for (const auto& segment : mSegments)
        text += "  " + segment->Dump() + "\n";
    return text + GetBasicTempoMap().Dump();
}
