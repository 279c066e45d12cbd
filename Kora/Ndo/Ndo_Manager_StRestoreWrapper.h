// Ndo_Manager_StRestoreWrapper: restore mode for the length of a scope, however it ends.
//
// Scopes nest. What the manager was at the start, restore mode, the object that may be deleted
// and the operation that records, it is again at the end, but for an operation that was
// completed or destroyed meanwhile.
#pragma once

#include "Export/Kora_API.h"

class Ndo_Object;
class Ndo_Operation;

class KORA_API_NODISCARD Ndo_Manager_StRestoreWrapper
{
public:
    Ndo_Manager_StRestoreWrapper();
    Ndo_Manager_StRestoreWrapper(const Ndo_Manager_StRestoreWrapper&) = delete;
    Ndo_Manager_StRestoreWrapper& operator=(const Ndo_Manager_StRestoreWrapper&) = delete;
    ~Ndo_Manager_StRestoreWrapper();

    // The one object that may be deleted meanwhile, or null for none.
    void SetDeleteObject(Ndo_Object* iObjP);

private:
    friend class Ndo_Manager;

    Ndo_Manager_StRestoreWrapper* mOuter;
    bool mWasRestoring;
    Ndo_Object* mOuterDeleteObj;
    Ndo_Operation* mRecordingOpP;
};
