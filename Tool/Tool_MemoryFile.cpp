#include "Tool/Tool_MemoryFile.h"

#include <utility>

Tool_MemoryFile::Tool_MemoryFile(std::string iPath, std::string iBytes)
    : mPath(std::move(iPath))
    , mFile(std::move(iBytes))
    , mBefore(nullptr)
    , mOther(Sys_FileSystem::Get())
{
    mBefore = Sys_FileSystem::Set(this);
}

Tool_MemoryFile::~Tool_MemoryFile() { Sys_FileSystem::Set(mBefore); }

Sys_FileSystem& Tool_MemoryFile::Of(Handle iHandle)
{
    if (mFile.Owns(iHandle)) return mFile;
    return mOther;
}

Cmn_Int32 Tool_MemoryFile::Open(const std::string& iPath, EAccess iAccess, Handle& oHandle)
{
    return iPath == mPath ? mFile.Open(iPath, iAccess, oHandle) : mOther.Open(iPath, iAccess, oHandle);
}

Cmn_Int32 Tool_MemoryFile::Close(Handle iHandle) { return Of(iHandle).Close(iHandle); }

Cmn_Int32 Tool_MemoryFile::ReadAt(Handle iHandle, Cmn_Int64 iPosition, void* oBytes, std::size_t iCount,
                                  std::size_t& oCount)
{
    return Of(iHandle).ReadAt(iHandle, iPosition, oBytes, iCount, oCount);
}

Cmn_Int32 Tool_MemoryFile::WriteAt(Handle iHandle, Cmn_Int64 iPosition, const void* iBytes,
                                   std::size_t iCount, std::size_t& oCount)
{
    return Of(iHandle).WriteAt(iHandle, iPosition, iBytes, iCount, oCount);
}

Cmn_Int32 Tool_MemoryFile::GetLength(Handle iHandle, Cmn_Int64& oLength)
{
    return Of(iHandle).GetLength(iHandle, oLength);
}

Cmn_Int32 Tool_MemoryFile::SetLength(Handle iHandle, Cmn_Int64 iLength)
{
    return Of(iHandle).SetLength(iHandle, iLength);
}

Cmn_Int32 Tool_MemoryFile::Sync(Handle iHandle) { return Of(iHandle).Sync(iHandle); }

Cmn_Int32 Tool_MemoryFile::OpenBeside(const std::string& iTarget, std::string& oPath, Handle& oHandle)
{
    return mOther.OpenBeside(iTarget, oPath, oHandle);
}

Cmn_Int32 Tool_MemoryFile::TakePlace(Handle iHandle, const std::string& iFrom, const std::string& iTo,
                                     Cmn_UInt32& oNotKept)
{
    return mOther.TakePlace(iHandle, iFrom, iTo, oNotKept);
}

Cmn_Int32 Tool_MemoryFile::SyncFolder(const std::string& iFolder) { return mOther.SyncFolder(iFolder); }

Cmn_Int32 Tool_MemoryFile::Remove(const std::string& iPath) { return mOther.Remove(iPath); }

Cmn_Int32 Tool_MemoryFile::Resolve(const std::string& iPath, std::string& oPath)
{
    return mOther.Resolve(iPath, oPath);
}
