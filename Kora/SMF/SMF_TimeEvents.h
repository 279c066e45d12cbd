// SMF_TimeEvents: what a MIDI file says of tempo, meter and key, and where it ends.
//
// Units:      file ticks from the file's beginning; offsets are bytes of the file that SMF_File::Write gives.
// Invariants: (1) every list is in file order: track after track, ascending ticks inside a track
//             (2) no tick lies past mLastEvent.mTick.
#pragma once

#include "Kora/SMF/SMF_File.h"

// Where an event stands: its time, and the byte its status or, under running status, its data begins at.
struct SMF_Place
{
    Cmn_Int64 mTick = 0;
    Cmn_Int64 mOffset = 0;
};

struct SMF_Tempo
{
    SMF_Place mPlace;
    Cmn_Int32 mMicrosecondsPerQuarter = 500000; // 1 to 16777215
};

struct SMF_Meter
{
    SMF_Place mPlace;
    Cmn_Int32 mNumerator = 4;   // 1 to 255
    Cmn_Int32 mDenominator = 4; // a power of two, 1 to 2048
};

struct SMF_Key
{
    SMF_Place mPlace;
    Cmn_Int32 mSharps = 0; // -7 (seven flats) to 7
    bool mIsMinor = false;
};

struct KORA_API SMF_TimeEvents
{
    // Collects them track by track, in the order of the file.
    explicit SMF_TimeEvents(const SMF_File& iFile);

    std::vector<SMF_Tempo> mTempos;
    std::vector<SMF_Meter> mMeters;
    std::vector<SMF_Key> mKeys;
    // The latest event of any track, its end-of-track event included.
    SMF_Place mLastEvent;
};
