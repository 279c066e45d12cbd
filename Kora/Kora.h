// Kora/Kora.h: the whole library. A host that uses one part of it compiles faster with that part's header.
#pragma once

#include "Kora/Commands.h"
#include "Kora/Diagnostics.h"
#include "Kora/Documents.h"
#include "Kora/Kora_Format.h"
#include "Kora/Kora_Init.h"
#include "Kora/Kora_InitScope.h"
#include "Kora/Kora_RefreshClient.h"
#include "Kora/Kora_Song.h"
#include "Kora/Kora_Version.h"
#include "Kora/MIDI.h"
#include "Kora/Messages.h"
#include "Kora/Time.h"
#include "Kora/Tokens.h"
#include "Kora/Undo.h"
