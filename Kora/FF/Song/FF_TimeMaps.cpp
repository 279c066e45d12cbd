#include "Kora/FF/Song/FF_TimeMaps.h"

#include "Kora/FF/Document/FF_Document_TOC.h"
#include "Kora/FF/Document/FF_StSetStreamContext.h"
#include "Kora/FF/Document/FF_StreamHeader.h"
#include "Kora/Time/Key/Time_KeySignatureMap.h"
#include "Kora/Time/Meter/Time_MeterMap.h"
#include "Kora/Time/Tempo/Time_TempoMap.h"

namespace {

constexpr Cmn_Int16 cVersion = 1; // fixed on disk

static_assert(FF_TimeMaps::eStreamType_SongInfo == 32, "fixed on disk");

// iWriteBody writes the content to the stream that it is given.
template <class WriteBody>
void WriteStream(FF_Document& ioDocument, const FF_Document::TOCKey& iKey, std::string_view iDescription,
                 const WriteBody& iWriteBody)
{
    Sys_TypedOutStream out = ioDocument.MakeTypedOutStream();
    ioDocument.SeekToEnd(out);
    const bool isKnown = ioDocument.GetTOC().Find(iKey) != FF_Document::TOC::cNone;
    const auto start = static_cast<Cmn_UInt64>(out.GetPosition());
    ioDocument.AddTOCEntry(iKey, 0, start, iDescription);
    {
        const Cmn_Int16 streamType = iKey.GetContexts().front().GetStreamType();
        FF_StreamHeaderWriter header(&ioDocument, out, streamType, cVersion);
        iWriteBody(out);
    }
    if (!isKnown) return;
    // The older stream was kept registered until the new one was whole.
    static_cast<void>(ioDocument.InvalidateKey(iKey, 0));
    ioDocument.AddTOCEntry(iKey, 0, start, iDescription);
}

// False where the document has no such stream. What iReadBody throws is told with its place.
template <class ReadBody>
bool ReadStream(FF_Document& ioDocument, Cmn_Int16 iStreamType, const ReadBody& iReadBody)
{
    Sys_TypedInStream in = ioDocument.MakeTypedInStream();
    if (!ioDocument.SeekToStream(FF_Document::TOCKey(iStreamType), in)) return false;
    FF_StreamHeaderReader header(&ioDocument, in, iStreamType);
    header.CheckVersion(cVersion, cVersion);
    try {
        iReadBody(in);
    } catch (Cmn_Exception& exception) {
        in.GetStream().Explain(exception);
        throw;
    }
    return true;
}

template <class T>
void WriteMap(FF_Document& ioDocument, Cmn_Int16 iStreamType, std::string_view iDescription, const T& iMap)
{
    WriteStream(ioDocument, FF_Document::TOCKey(iStreamType), iDescription,
                [&](Sys_TypedOutStream& ioOut) { iMap.StreamOut(ioOut); });
}

template <class T>
Cmn_Int32 ReadMap(FF_Document& ioDocument, Cmn_Int16 iStreamType, T& oMap)
{
    return ReadStream(ioDocument, iStreamType, [&](Sys_TypedInStream& ioIn) { oMap.StreamIn(ioIn); }) ? 1 : 0;
}

// Written so that a rate that is no number is refused too.
bool IsSound(const FF_TimeMaps::SongInfo& iInfo)
{
    Time_Tick pinned = iInfo.mEndTick;
    pinned.PinToValidRange();
    const ETimeCodeFormat format = iInfo.mTimeCodeFormat;
    return pinned == iInfo.mEndTick && iInfo.mSampleRate >= FF_TimeMaps::cMinSampleRate &&
           iInfo.mSampleRate <= FF_TimeMaps::cMaxSampleRate && format >= eTimeCodeFormat_24 &&
           format <= eTimeCodeFormat_60Drop && format != eTimeCodeFormat_2997OMF &&
           format != eTimeCodeFormat_2997DropOMF;
}

} // namespace

void FF_TimeMaps::Write(FF_Document& iDocument, const Time_MeterMap& iMeters, const Time_TempoMap& iTempi,
                        const Time_KeySignatureMap& iKeys)
{
    WriteMap(iDocument, eStreamType_MeterMap, "meter map", iMeters);
    WriteMap(iDocument, eStreamType_TempoMap, "tempo map", iTempi);
    WriteMap(iDocument, eStreamType_KeyMap, "key signature map", iKeys);
}

Cmn_Int32 FF_TimeMaps::Read(FF_Document& iDocument, Time_MeterMap& oMeters, Time_TempoMap& oTempi,
                            Time_KeySignatureMap& oKeys)
{
    const FF_StSetStreamContext outermost(iDocument, FF_Document::TOCKey());
    return ReadMap(iDocument, eStreamType_MeterMap, oMeters) +
           ReadMap(iDocument, eStreamType_TempoMap, oTempi) + ReadMap(iDocument, eStreamType_KeyMap, oKeys);
}

void FF_TimeMaps::WriteInfo(FF_Document& iDocument, const SongInfo& iInfo)
{
    // Its entry has a parent position of 0, fixed on disk; finding it does not ask.
    FF_Document::TOCKey key(eStreamType_SongInfo);
    key.GetContexts().front().SetParentPosition(0);
    WriteStream(iDocument, key, "song info", [&](Sys_TypedOutStream& ioOut) {
        ioOut.WriteInt64(iInfo.mEndTick.AsInt64());
        ioOut.WriteFloat64(iInfo.mSampleRate);
        ioOut.WriteInt32(iInfo.mTimeCodeFormat);
    });
}

bool FF_TimeMaps::ReadInfo(FF_Document& iDocument, SongInfo& oInfo)
{
    const FF_StSetStreamContext outermost(iDocument, FF_Document::TOCKey());
    return ReadStream(iDocument, eStreamType_SongInfo, [&](Sys_TypedInStream& ioIn) {
        const Cmn_Int64 start = ioIn.GetPosition();
        SongInfo info;
        info.mEndTick = Time_Tick(ioIn.ReadInt64());
        info.mSampleRate = ioIn.ReadFloat64();
        info.mTimeCodeFormat = static_cast<ETimeCodeFormat>(ioIn.ReadInt32());
        if (!IsSound(info)) throw Sys_StreamReadException(start);
        oInfo = info;
    });
}
