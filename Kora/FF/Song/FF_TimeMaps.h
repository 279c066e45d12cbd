// FF_TimeMaps: a song's meter, tempo and key maps in a document, each under a key of its own.
//
// Each is an outermost stream of version 1 around the map's own stream ("Meter", "TempoMap", "KeySignatures").
// Throws: as FF_Document; versions of a map's stream that are not known are answered as the map's StreamIn says.
// Threads: the document's.
#pragma once

#include "Kora/FF/Document/FF_Document.h"

class Time_KeySignatureMap;
class Time_MeterMap;
class Time_TempoMap;

class KORA_API FF_TimeMaps
{
public:
    // Fixed on disk.
    enum EStreamType : Cmn_Int16 {
        eStreamType_MeterMap = 16,
        eStreamType_TempoMap = 17,
        eStreamType_KeyMap = 18,
    };

    static void Write(FF_Document& iDocument, const Time_MeterMap& iMeters, const Time_TempoMap& iTempi,
                      const Time_KeySignatureMap& iKeys);
    // A map whose stream the document does not have is left as it was and counted out: the result is how many were
    // read. When one throws, those before it are read and it and the rest are as they were.
    [[nodiscard]] static Cmn_Int32 Read(FF_Document& iDocument, Time_MeterMap& oMeters, Time_TempoMap& oTempi,
                                        Time_KeySignatureMap& oKeys);
};
