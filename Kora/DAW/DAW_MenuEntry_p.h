// What native menus need to hear of menu entries.
#pragma once

class DAW_MenuEntry;

// Told of each entry that dies; null until a native menu is built. The entry is no more than an address by then.
extern void (*gDAW_MenuEntryIsGone)(const DAW_MenuEntry* iEntry);
