// CModel: the song that CFixture opens, by the C++ classes.
#pragma once

#include "C/CFixture.h"
#include "Kora/SMF/SMF_TimeMaps.h"
#include "Kora/Time/Convert/Time_Converter.h"
#include "Kora/Time/Key/Time_KeySignatureMap.h"
#include "Kora/Time/Meter/Time_MeterMap.h"
#include "Kora/Time/Tempo/Time_TempoMap.h"

struct CModel
{
    CModel()
    {
        mEnd = SMF_TimeMaps::Read(SMF_File::Read(BytesOf(cSongPath)), mMeters, mTempi, mKeys);
        mConverter.SetMeterMap(&mMeters);
        mConverter.SetTempoMap(&mTempi);
    }
    Time_MeterMap mMeters;
    Time_TempoMap mTempi;
    Time_KeySignatureMap mKeys;
    Time_Converter mConverter;
    Time_Tick mEnd;
};
