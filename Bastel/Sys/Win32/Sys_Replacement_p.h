// Sys_Replacement: how a file takes another's place. The system's own rules for open files are the locks:
// whoever writes a file lets nobody replace it, and whoever saves lets nobody else write or remove what
// is to become the document.
#pragma once

#include "Bastel/Sys/Win32/Sys_WindowsPath_p.h"

// As the requests OpenBeside and TakePlace of Sys_FileSystem.
Cmn_Int32 Sys_OpenBeside(const std::string& iTarget, std::string& oPath, HANDLE& oNew);
Cmn_Int32 Sys_TakePlace(HANDLE iNew, const std::string& iFrom, const std::string& iTo, Cmn_UInt32& oNotKept);
