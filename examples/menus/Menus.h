// The host's menu bar as a tree of entries: File with the recent songs, Edit, Transport.
#pragma once

#include "Kora/Commands.h"

#include <memory>

class Session;

// The tree looks at ioSession, which outlives it, each time that a menu is built or updated.
std::unique_ptr<DAW_MenuEntrySubMenu> MakeMenuBar(Session& ioSession);
