#include "Kora/FF/Song/FF_TimeMaps.h"

#include "Kora/FF/Document/FF_Document_TOC.h"
#include "Kora/FF/Document/FF_StSetStreamContext.h"
#include "Kora/FF/Document/FF_StreamHeader.h"
#include "Kora/Time/Key/Time_KeySignatureMap.h"
#include "Kora/Time/Meter/Time_MeterMap.h"
#include "Kora/Time/Tempo/Time_TempoMap.h"

namespace {

constexpr Cmn_Int16 cVersion = 1; // fixed on disk

template <class T>
void WriteMap(FF_Document& ioDocument, Cmn_Int16 iStreamType, std::string_view iDescription, const T& iMap)
{
    Sys_TypedOutStream out = ioDocument.MakeTypedOutStream();
    ioDocument.SeekToEnd(out);
    const FF_Document::TOCKey key(iStreamType);
    const bool isKnown = ioDocument.GetTOC().Find(key) != FF_Document::TOC::cNone;
    const auto start = static_cast<Cmn_UInt64>(out.GetPosition());
    ioDocument.AddTOCEntry(key, 0, start, iDescription);
    {
        FF_StreamHeaderWriter header(&ioDocument, out, iStreamType, cVersion);
        iMap.StreamOut(out);
    }
    if (!isKnown) return;
    // The older stream was kept registered until the new one was whole.
    static_cast<void>(ioDocument.InvalidateKey(key, 0));
    ioDocument.AddTOCEntry(key, 0, start, iDescription);
}

template <class T>
Cmn_Int32 ReadMap(FF_Document& ioDocument, Cmn_Int16 iStreamType, T& oMap)
{
    Sys_TypedInStream in = ioDocument.MakeTypedInStream();
    if (!ioDocument.SeekToStream(FF_Document::TOCKey(iStreamType), in)) return 0;
    FF_StreamHeaderReader header(&ioDocument, in, iStreamType);
    header.CheckVersion(cVersion, cVersion);
    try {
        oMap.StreamIn(in);
    } catch (Cmn_Exception& exception) {
        in.GetStream().Explain(exception);
        throw;
    }
    return 1;
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
