#include "Kora/Ndo/Ndo_Manager_StRestoreWrapper.h"

#include "Kora/Ndo/Ndo_Manager.h"

Ndo_Manager_StRestoreWrapper::Ndo_Manager_StRestoreWrapper()
{
    Ndo_gManager.mRestoring = true;
    Ndo_gManager.mRestoreDeleteObjP = nullptr;
}

Ndo_Manager_StRestoreWrapper::~Ndo_Manager_StRestoreWrapper() { Ndo_gManager.mRestoring = false; }

void Ndo_Manager_StRestoreWrapper::SetDeleteObject(Ndo_Object* iObjP)
{
    Ndo_gManager.mRestoreDeleteObjP = iObjP;
}
