#include "Bastel/Sys/Sys_File.h"

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Bastel/Cmn/Cmn_Exception.h"

#include <utility>

Sys_File::Sys_File(Sys_FileLoc iLocation, Sys_FileSystem* iSystem)
    : mLocation(std::move(iLocation))
    , mWanted(iSystem)
{
}

Sys_File::~Sys_File() { Close(); }

void Sys_File::Open(Sys_FileSystem::EAccess iAccess)
{
    if (!Cmn_ASSERT(!this->IsOpen())) return;
    mSystem = mWanted != nullptr ? mWanted : &Sys_FileSystem::Get();
    mPosition = 0;
    Sys_FileSystem::Handle handle = Sys_FileSystem::cNoHandle;
    ThrowIf(mSystem->Open(mLocation.GetPath(), iAccess, handle));
    mHandle = handle;
}

void Sys_File::Borrow(Sys_FileSystem& iSystem, Sys_FileSystem::Handle iHandle)
{
    if (!Cmn_ASSERT(!this->IsOpen())) return;
    mSystem = &iSystem;
    mPosition = 0;
    mHandle = iHandle;
    mIsBorrowed = true;
}

void Sys_File::Close() noexcept
{
    if (!IsOpen()) return;
    const Sys_FileSystem::Handle handle = std::exchange(mHandle, Sys_FileSystem::cNoHandle);
    if (!std::exchange(mIsBorrowed, false)) mLastError = mSystem->Close(handle);
}

std::size_t Sys_File::Read(void* oBytes, std::size_t iCount)
{
    const std::size_t count = ReadAt(mPosition, oBytes, iCount);
    mPosition += static_cast<Cmn_Int64>(count);
    return count;
}

std::size_t Sys_File::Write(const void* iBytes, std::size_t iCount)
{
    const std::size_t count = WriteAt(mPosition, iBytes, iCount);
    mPosition += static_cast<Cmn_Int64>(count);
    return count;
}

void Sys_File::SetPosition(Cmn_Int64 iPosition)
{
    if (Cmn_ASSERT(iPosition >= 0)) mPosition = iPosition;
}

std::size_t Sys_File::ReadAt(Cmn_Int64 iPosition, void* oBytes, std::size_t iCount)
{
    if (!Cmn_ASSERT(this->IsOpen())) return 0;
    std::size_t count = 0;
    mLastError = mSystem->ReadAt(mHandle, iPosition, oBytes, iCount, count);
    return count;
}

std::size_t Sys_File::WriteAt(Cmn_Int64 iPosition, const void* iBytes, std::size_t iCount)
{
    if (!Cmn_ASSERT(this->IsOpen())) return 0;
    std::size_t count = 0;
    mLastError = mSystem->WriteAt(mHandle, iPosition, iBytes, iCount, count);
    return count;
}

Cmn_Int64 Sys_File::GetLength()
{
    if (!Cmn_ASSERT(this->IsOpen())) return 0;
    Cmn_Int64 length = 0;
    mLastError = mSystem->GetLength(mHandle, length);
    return mLastError == 0 ? length : 0;
}

void Sys_File::SetLength(Cmn_Int64 iLength)
{
    if (Cmn_ASSERT(this->IsOpen())) ThrowIf(mSystem->SetLength(mHandle, iLength));
}

void Sys_File::Sync()
{
    if (Cmn_ASSERT(this->IsOpen())) ThrowIf(mSystem->Sync(mHandle));
}

void Sys_File::ThrowIf(Cmn_Int32 iError)
{
    mLastError = iError;
    Sys_ThrowIfOSErr(iError, mLocation.GetPath());
}

void Sys_File::Explain(Cmn_Exception& ioException) const
{
    ioException.SetFile(mLocation.GetPath());
    ioException.SetOSError(mLastError);
}
