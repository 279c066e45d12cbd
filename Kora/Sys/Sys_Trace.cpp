#include "Kora/Sys/Sys_Trace.h"

Cmn_Int32 Sys_Trace::sEnabled = 0;
Sys_Trace::Entry Sys_Trace::sEntries[cNumEntries] = {};
