#include "Bastel/Sys/Sys_SafeFile.h"

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Bastel/Cmn/Cmn_Exception.h"

#include <utility>

Sys_SafeFile::Sys_SafeFile(Sys_FileLoc iLocation)
    : mLocation(std::move(iLocation))
    , mSystem(Sys_FileSystem::Get())
{
    ThrowIf(mSystem.Resolve(mLocation.GetPath(), mTarget));
    ThrowIf(mSystem.OpenBeside(mTarget, mTemporary, mHandle));
}

Sys_SafeFile::~Sys_SafeFile() { Close(); }

void Sys_SafeFile::ThrowIf(Cmn_Int32 iError) const { Sys_ThrowIfOSErr(iError, mLocation.GetPath()); }

// The file goes before its lock does: nobody else has it to remove then.
void Sys_SafeFile::Close() noexcept
{
    if (mHandle == Sys_FileSystem::cNoHandle) return;
    if (!mCommitted) mSystem.Remove(mTemporary);
    mSystem.Close(std::exchange(mHandle, Sys_FileSystem::cNoHandle));
}

void Sys_SafeFile::Write(const void* iBytes, std::size_t iCount)
{
    if (!Cmn_ASSERT(!mCommitted)) return;
    std::size_t count = 0;
    ThrowIf(mSystem.WriteAt(mHandle, mPosition, iBytes, iCount, count));
    mPosition += static_cast<Cmn_Int64>(count);
}

void Sys_SafeFile::Sync()
{
    if (Cmn_ASSERT(!mCommitted)) ThrowIf(mSystem.Sync(mHandle));
}

void Sys_SafeFile::Commit()
{
    if (!Cmn_ASSERT(!mCommitted)) return;
    ThrowIf(mSystem.TakePlace(mHandle, mTemporary, mTarget, mNotKept));
    mCommitted = true;
    Close();
    const Cmn_Int32 error = mSystem.SyncFolder(Sys_FileLoc(mTarget).GetFolder().GetPath());
    if (error == 0) return;
    Cmn_Exception exception(Cmn_eMessage_InPlaceUnsynced, Cmn_Exception::cNoOffset, mLocation.GetPath());
    exception.SetOSError(error);
    throw exception;
}
