// Time_MeterMap's stream form, XML form and text.
#include "Kora/Time/Meter/Time_MeterMap.h"

#include "Bastel/Cmn/Cmn_Exception.h"
#include "Bastel/Cmn/Cmn_XMLNode.h"
#include "Bastel/Sys/Sys_StdStreamHeader.h"
#include "Kora/Time/Meter/Time_MeterChangeValue_p.h"
#include "Kora/Time/Meter/Time_MeterMapIndex_p.h"
#include "Kora/Time/Numeric/Time_SharedRowTaker_p.h"

namespace {

// Fixed on disk.
constexpr char cStreamName[] = "Meter";
constexpr Cmn_Int16 cStreamVersion = 2;
constexpr Cmn_Int64 cSongStartSize = 8;

// Throws unless iHolds. Counts are held against the bytes left first: a hostile one must neither allocate nor
// read what lies behind the body.
void Require(bool iHolds, const Sys_TypedInStream& iStream)
{
    if (!iHolds) throw Sys_StreamReadException(iStream.GetPosition());
}

} // namespace

void Time_MeterMap::StreamOut(Sys_TypedOutStream& ioStream) const
{
    Settled();
    Sys_StdStreamHeaderWriter header(ioStream, cStreamName, cStreamVersion);
    ioStream.WriteInt32(static_cast<Cmn_Int32>(mChanges.size()));
    for (const Time_MeterChange& change : mChanges)
        change.StreamOut(ioStream);
    for (const Time_MeterChange& change : mChanges)
        change.StreamOutBBT(ioStream);
    ioStream.WriteInt64(mSongStartTick.AsInt64());
    header.PatchSize();
}

void Time_MeterMap::StreamIn(Sys_TypedInStream& ioStream)
{
    Sys_StdStreamHeaderReader header(ioStream, cStreamName);
    // Version 1 had another layout and nothing that is still wanted.
    if (header.GetVersion() < cStreamVersion) return header.SkipTheRest();
    header.CheckVersion(cStreamVersion, cStreamVersion);

    Cmn_PolyVector<Time_MeterChange> changes;
    Time_Tick songStartTick = mSongStartTick;

    Require(header.GetBytesLeft() >= Cmn_Int64{sizeof(Cmn_Int32)}, ioStream);
    const Cmn_Int32 count = ioStream.ReadInt32();
    Require(count >= 0 && count * Time_MeterChange::cStreamSize <= header.GetBytesLeft(), ioStream);
    changes.resize(static_cast<std::size_t>(count));
    for (std::size_t i = 0; i < changes.size(); ++i) {
        changes[i].StreamIn(ioStream);
        Require(i == 0 || changes[i - 1].mTick < changes[i].mTick, ioStream);
    }
    if (header.IsMoreLeft()) {
        Require(count * Time_MeterChange::cStreamSizeBBT <= header.GetBytesLeft(), ioStream);
        for (Time_MeterChange& change : changes)
            change.StreamInBBT(ioStream);
    }
    if (header.IsMoreLeft()) {
        Require(cSongStartSize <= header.GetBytesLeft(), ioStream);
        songStartTick = Time_Tick(ioStream.ReadInt64());
    }
    header.SkipTheRest();

    mIndex->Reserve(changes.size());
    AboutToModify(); // from here on nothing throws
    mChanges.swap(changes);
    mRowTaker->ReplacedAll();
    mIsAsStreamed = true;
    mSongStartTick = songStartTick;
    UpdateBarNumbers(0);
    mIsUntold = false; // the reader tells whom it concerns
}

Cmn_XMLNode Time_MeterMap::GetAsXML() const
{
    Settled();
    Cmn_XMLNode node("MeterMap");
    node.AddValue("nChangeCount", static_cast<Cmn_Int64>(mChanges.size()));
    node.AddValue("nSongStartTick", mSongStartTick.AsInt64());
    Cmn_XMLNode& changes = node.AddChild(Cmn_XMLNode("Changes"));
    for (const Time_MeterChange& change : mChanges)
        changes.AddChild(change.GetAsXML());
    return node;
}

std::string Time_MeterMap::Dump() const
{
    Settled();
    std::string text;
    if (mChanges.empty()) text += "no changes: the default map\n";
    for (const Time_MeterChange& change : mChanges)
        text += change.Dump() + "\n";
    return text + "song start at " + mSongStartTick.Dump() + "\n";
}
