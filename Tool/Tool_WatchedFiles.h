// Tool_WatchedFiles: the library's files, with what is read of them told to the progress line.
//
// While it lives all that goes through Sys_FileSystem goes through it. Files opened meanwhile must be closed before it goes.
#pragma once

#include "Bastel/Sys/Sys_FileSystem.h"

class Tool_WatchedFiles final : private Sys_FileSystem
{
public:
    Tool_WatchedFiles()
        : mOther(Sys_FileSystem::Get())
        , mBefore(Sys_FileSystem::Set(this))
    {
    }
    ~Tool_WatchedFiles() override { Sys_FileSystem::Set(mBefore); }
    Tool_WatchedFiles(const Tool_WatchedFiles&) = delete;
    Tool_WatchedFiles& operator=(const Tool_WatchedFiles&) = delete;

private:
    Cmn_Int32 Open(const std::string& iPath, EAccess iAccess, Handle& oHandle) override;
    Cmn_Int32 Close(Handle iHandle) override { return mOther.Close(iHandle); }
    Cmn_Int32 ReadAt(Handle iHandle, Cmn_Int64 iPosition, void* oBytes, std::size_t iCount,
                     std::size_t& oCount) override;
    Cmn_Int32 WriteAt(Handle iHandle, Cmn_Int64 iPosition, const void* iBytes, std::size_t iCount,
                      std::size_t& oCount) override
    {
        return mOther.WriteAt(iHandle, iPosition, iBytes, iCount, oCount);
    }
    Cmn_Int32 GetLength(Handle iHandle, Cmn_Int64& oLength) override
    {
        return mOther.GetLength(iHandle, oLength);
    }
    Cmn_Int32 SetLength(Handle iHandle, Cmn_Int64 iLength) override
    {
        return mOther.SetLength(iHandle, iLength);
    }
    Cmn_Int32 Sync(Handle iHandle) override { return mOther.Sync(iHandle); }
    Cmn_Int32 OpenBeside(const std::string& iTarget, std::string& oPath, Handle& oHandle) override
    {
        return mOther.OpenBeside(iTarget, oPath, oHandle);
    }
    Cmn_Int32 TakePlace(Handle iHandle, const std::string& iFrom, const std::string& iTo,
                        Cmn_UInt32& oNotKept) override
    {
        return mOther.TakePlace(iHandle, iFrom, iTo, oNotKept);
    }
    Cmn_Int32 SyncFolder(const std::string& iFolder) override { return mOther.SyncFolder(iFolder); }
    Cmn_Int32 Remove(const std::string& iPath) override { return mOther.Remove(iPath); }
    Cmn_Int32 Resolve(const std::string& iPath, std::string& oPath) override
    {
        return mOther.Resolve(iPath, oPath);
    }

    Sys_FileSystem& mOther;
    Sys_FileSystem* mBefore;  // as Set gave it
    Handle mRead = cNoHandle; // the last that was opened for reading
    Cmn_Int64 mLength = 0;    // of it
};
