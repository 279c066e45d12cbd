// Kora/Undo.h: everything of undo: undoable objects, operations that record their states,
// the scope that records one.
#pragma once

#include "Kora/Ndo/Ndo_Action.h"
#include "Kora/Ndo/Ndo_ExternalRef.h"
#include "Kora/Ndo/Ndo_ExternalRefBase.h"
#include "Kora/Ndo/Ndo_History.h"
#include "Kora/Ndo/Ndo_HistoryListener.h"
#include "Kora/Ndo/Ndo_Manager.h"
#include "Kora/Ndo/Ndo_Manager_StRestoreWrapper.h"
#include "Kora/Ndo/Ndo_Object.h"
#include "Kora/Ndo/Ndo_Operation.h"
#include "Kora/Ndo/Ndo_StDisableRecording.h"
#include "Kora/Ndo/Ndo_StOperationRecorder.h"
#include "Kora/Ndo/Ndo_State.h"
