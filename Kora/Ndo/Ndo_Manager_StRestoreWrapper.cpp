#include "Kora/Ndo/Ndo_Manager_StRestoreWrapper.h"

#include "Kora/Ndo/Ndo_Manager.h"

Ndo_Manager_StRestoreWrapper::Ndo_Manager_StRestoreWrapper()
    : mOuterP(Ndo_gManager.mRestoreP)
    , mWasRestoring(Ndo_gManager.mRestoring)
    , mOuterDeleteObjP(Ndo_gManager.mRestoreDeleteObjP)
    , mRecordingOpP(Ndo_gManager.mRecordingOpP)
{
    Ndo_gManager.mRestoreP = this;
    Ndo_gManager.mRestoring = true;
    Ndo_gManager.mRestoreDeleteObjP = nullptr;
}

Ndo_Manager_StRestoreWrapper::~Ndo_Manager_StRestoreWrapper()
{
    Ndo_gManager.mRestoreP = mOuterP;
    Ndo_gManager.mRestoring = mWasRestoring;
    Ndo_gManager.mRestoreDeleteObjP = mOuterDeleteObjP;
    Ndo_gManager.mRecordingOpP = mRecordingOpP;
}

void Ndo_Manager_StRestoreWrapper::SetDeleteObject(Ndo_Object* iObjP)
{
    Ndo_gManager.mRestoreDeleteObjP = iObjP;
}
