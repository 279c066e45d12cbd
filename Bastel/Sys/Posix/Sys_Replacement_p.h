// Sys_Replacement: how a file takes another's place, however many do so at a time, and are killed at it.
//
// Locks, always taken in this order, each for a few system calls but the first:
//
//   own       of the new file beside the target, from its making until it has its place:
//             says that its owner lives
//   folder    of those who put files in place, and of a writer that finds its file locked: while it is held,
//             a target that is locked is locked by a writer
//   target    of the file that is to be replaced: a writer has it as long as the file is open, and looks
//             after taking it whether the name still is that file's
//
// flock locks belong to an open file, so that threads keep one another out as processes do.
#pragma once

#include "Bastel/Sys/Posix/Sys_Descriptor_p.h"

// As the requests OpenBeside and TakePlace of Sys_FileSystem.
Cmn_Int32 Sys_OpenBeside(const std::string& iTarget, std::string& oPath, Sys_StDescriptor& oNew);
Cmn_Int32 Sys_TakePlace(int iNew, const std::string& iFrom, const std::string& iTo, Cmn_UInt32& oNotKept);

// The folder's lock for a scope. Where it cannot be had, for want of rights or of time, those inside go on
// without it: then a target that another saver has for a moment looks like one that is in use.
class Sys_StFolderLock
{
public:
    explicit Sys_StFolderLock(const std::string& iFileInIt);

private:
    Sys_StDescriptor mFolder;
};

// Locks an open file against writers, with the folder's lock held; eError_InUse where one has it.
Cmn_Int32 Sys_LockUnlessInUse(int iDescriptor, int iKind);
// Gives iNew owner, attributes and permissions of iOld; at no moment anybody has more
// rights to iNew than to iOld.
Cmn_Int32 Sys_TakeOver(int iNew, int iOld, Cmn_UInt32& oNotKept);
