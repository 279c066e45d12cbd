#include "Kora/Ndo/Ndo_Manager_StRestoreWrapper.h"

#include "Kora/Ndo/Ndo_Manager.h"

Ndo_Manager_StRestoreWrapper::Ndo_Manager_StRestoreWrapper()
    : mOuter(Ndo_gManager.mRestore)
    , mWasRestoring(Ndo_gManager.mRestoring)
    , mOuterDeleteObj(Ndo_gManager.mRestoreDeleteObjP)
    , mRecordingOpP(Ndo_gManager.mRecordingOpP)
{
    Ndo_gManager.mRestore = this;
    Ndo_gManager.mRestoring = true;
    Ndo_gManager.mRestoreDeleteObjP = nullptr;
}

Ndo_Manager_StRestoreWrapper::~Ndo_Manager_StRestoreWrapper()
{
    Ndo_gManager.mRestore = mOuter;
    Ndo_gManager.mRestoring = mWasRestoring;
    Ndo_gManager.mRestoreDeleteObjP = mOuterDeleteObj;
    Ndo_gManager.mRecordingOpP = mRecordingOpP;
}

void Ndo_Manager_StRestoreWrapper::SetDeleteObject(Ndo_Object* iObjP)
{
    Ndo_gManager.mRestoreDeleteObjP = iObjP;
}
