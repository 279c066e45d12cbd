// Ndo_Manager_StRestoreWrapper: restore mode for the length of a scope, however it ends.
#pragma once

#include "Export/Kora_API.h"

class Ndo_Object;

class KORA_API Ndo_Manager_StRestoreWrapper
{
public:
    Ndo_Manager_StRestoreWrapper();
    Ndo_Manager_StRestoreWrapper(const Ndo_Manager_StRestoreWrapper&) = delete;
    Ndo_Manager_StRestoreWrapper& operator=(const Ndo_Manager_StRestoreWrapper&) = delete;
    ~Ndo_Manager_StRestoreWrapper();

    // The one object that may be deleted meanwhile, or null for none.
    void SetDeleteObject(Ndo_Object* iObjP);
};
