// FF_TimeMaps: a song's meter, tempo and key maps in a document, each under a key of its own, and what they
// do not say: where the song ends, and the session format that it is heard in.
//
// A map is an outermost stream of version 1 around the map's own stream ("Meter", "TempoMap",
// "KeySignatures"). The song's info is one of version 1 with the end tick (signed 64-bit), the sample rate
// (float64) and the timecode format (signed 32-bit).
// Throws: as FF_Document; versions of a map's stream that are not known are answered as
// the map's StreamIn says.
// Threads: the document's.
#pragma once

#include "Kora/FF/Document/FF_Document.h"
#include "Kora/Time/Formats/Time_ETimeCodeFormat.h"
#include "Kora/Time/Values/Time_Tick.h"

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
        eStreamType_SongInfo = 32,
    };
    // Sample rates outside of these, in Hz, are damage.
    static constexpr double cMinSampleRate = 1000.0;
    // As cMinSampleRate.
    static constexpr double cMaxSampleRate = 768000.0;

    struct SongInfo
    {
        Time_Tick mEndTick;           // behind the last event, inside Time_Typed's limits
        double mSampleRate = 44100.0; // cMinSampleRate to cMaxSampleRate
        ETimeCodeFormat mTimeCodeFormat = eTimeCodeFormat_30; // one that has frames per second
    };

    // Each map becomes an outermost stream; one that the document has under the same key is written anew.
    static void Write(FF_Document& iDocument, const Time_MeterMap& iMeters, const Time_TempoMap& iTempi,
                      const Time_KeySignatureMap& iKeys);
    // A map whose stream the document does not have is left as it was and counted out: the result is how many
    // were read. When one throws, those before it are read and it and the rest are as they were.
    [[nodiscard]] static Cmn_Int32 Read(FF_Document& iDocument, Time_MeterMap& oMeters, Time_TempoMap& oTempi,
                                        Time_KeySignatureMap& oKeys);

    // Takes the place of one that the document has. What is written is not checked.
    static void WriteInfo(FF_Document& iDocument, const SongInfo& iInfo);
    // False, with nothing changed, where the document has none, as in documents of maps alone. Throws
    // Sys_StreamReadException for values outside what SongInfo says, and as reading a map does.
    [[nodiscard]] static bool ReadInfo(FF_Document& iDocument, SongInfo& oInfo);
};
