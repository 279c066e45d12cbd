// Sys_SafeFile: a file that is written beside the one that it is to replace, and takes its place in one step.
//
//     Sys_SafeFile file(location);
//     file.Write(bytes.data(), bytes.size());
//     file.Sync();
//     file.Commit();
//
// Whatever happens, the location has the old file or the new one, whole. A symbolic link stays, and the file that it
// names is replaced; what is no regular file is refused. Sys_FileSystem::OpenBeside and TakePlace say what of the old
// file is kept, who keeps whom out, and what becomes of the files of those that were killed.
//
// Throws:  Cmn_Exception (Cmn_eMessage_OSError) with the system's code, or one of Sys_FileSystem::EError, naming the
//          location as it was given.
// Threads: one at a time for each.
#pragma once

#include "Bastel/Sys/Sys_FileLoc.h"
#include "Bastel/Sys/Sys_FileSystem.h"

class KORA_API Sys_SafeFile
{
public:
    // Makes the new file, empty, in the file system that is in force, whose it stays.
    explicit Sys_SafeFile(Sys_FileLoc iLocation);
    // Without a Commit that came so far, the new file is removed and the old one stays.
    ~Sys_SafeFile();
    Sys_SafeFile(const Sys_SafeFile&) = delete;
    Sys_SafeFile& operator=(const Sys_SafeFile&) = delete;

    // For those who write into it themselves; both until Commit has returned.
    Sys_FileSystem& GetSystem() const { return mSystem; }
    // The new file, open to read and write and locked.
    Sys_FileSystem::Handle GetHandle() const { return mHandle; }

    // Behind what was written by this call before.
    void Write(const void* iBytes, std::size_t iCount);
    // Returns when all that was written is on the disk. Commit promises nothing of what is not.
    void Sync();
    // Renames, closes, and waits for the folder. When it throws the old file is still in its place, and it may be
    // tried again, with one exception, Cmn_eMessage_InPlaceUnsynced: only the wait for the folder failed, the new
    // one is in place, and a crash of the whole system may yet bring the old one back. Another Commit behind one
    // that came so far asserts.
    void Commit();
    // What of the old file could not be kept: Sys_FileSystem::ENotKept, 0 before Commit and when all was.
    Cmn_UInt32 GetNotKept() const { return mNotKept; }

private:
    void ThrowIf(Cmn_Int32 iError) const;
    void Close() noexcept;

    Sys_FileLoc mLocation;
    Sys_FileSystem& mSystem;
    std::string mTarget;    // where the file really is: a link that names it stays
    std::string mTemporary; // the new one until it is in place
    Sys_FileSystem::Handle mHandle = Sys_FileSystem::cNoHandle;
    Cmn_Int64 mPosition = 0;
    Cmn_UInt32 mNotKept = 0;
    bool mCommitted = false;
};
