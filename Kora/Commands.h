// Kora/Commands.h: everything of commands, the keys that they are bound to, and the menus that show them.
//
// Native menus are one platform's: Kora/DAW/Win32 has them.
#pragma once

#include "Kora/DAW/DAW_Command.h"
#include "Kora/DAW/DAW_CommandOption.h"
#include "Kora/DAW/DAW_CommandOptionRegistry.h"
#include "Kora/DAW/DAW_CommandRegistry.h"
#include "Kora/DAW/DAW_EKeyCode.h"
#include "Kora/DAW/DAW_EventModifiers.h"
#include "Kora/DAW/DAW_KeyBinding.h"
#include "Kora/DAW/DAW_KeyBindingMap.h"
#include "Kora/DAW/DAW_KeyContextRegistry.h"
#include "Kora/DAW/DAW_KeyConversionUtils.h"
#include "Kora/DAW/DAW_KeyEvent.h"
#include "Kora/DAW/DAW_KeyStateArray.h"
#include "Kora/DAW/DAW_KeyboardInputContext.h"
#include "Kora/DAW/DAW_KeyboardState.h"
#include "Kora/DAW/DAW_MenuData.h"
#include "Kora/DAW/DAW_MenuEntry.h"
#include "Kora/DAW/DAW_MenuEntryAndIndex.h"
#include "Kora/DAW/DAW_MenuEntryCompound.h"
#include "Kora/DAW/DAW_MenuEntrySeparator.h"
#include "Kora/DAW/DAW_MenuEntrySimple.h"
#include "Kora/DAW/DAW_MenuEntrySubMenu.h"
