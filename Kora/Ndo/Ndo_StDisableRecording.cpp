#include "Kora/Ndo/Ndo_StDisableRecording.h"

#include "Kora/Ndo/Ndo_Manager.h"

Ndo_StDisableRecording::Ndo_StDisableRecording()
    : mSavedOpP(Ndo_gManager.GetRecordingOperation())
{
    Ndo_gManager.SetRecordingOperation(nullptr);
}

Ndo_StDisableRecording::~Ndo_StDisableRecording() { Ndo_gManager.SetRecordingOperation(mSavedOpP); }
