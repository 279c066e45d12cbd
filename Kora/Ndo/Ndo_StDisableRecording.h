// Ndo_StDisableRecording: nothing is logged in this scope; afterwards the operation that
// recorded before does again.
#pragma once

#include "Export/Kora_API.h"

class Ndo_Operation;

class KORA_API_NODISCARD Ndo_StDisableRecording
{
public:
    Ndo_StDisableRecording();
    Ndo_StDisableRecording(const Ndo_StDisableRecording&) = delete;
    Ndo_StDisableRecording& operator=(const Ndo_StDisableRecording&) = delete;
    ~Ndo_StDisableRecording();

private:
    Ndo_Operation* mSavedOpP;
};
