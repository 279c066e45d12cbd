#include "Kora/FF/Document/FF_SafeSave.h"

#include "Bastel/Cmn/Cmn_Assert.h"

#include <utility>

FF_SafeSave::FF_SafeSave(const Sys_FileLoc& iLocation, EFF_EncryptionType iType, ETextEncoding iEncoding,
                         bool iRepairText)
    : FF_SafeSave(iLocation, FF_DocumentOptions{iType, iEncoding, iRepairText})
{
}

FF_SafeSave::FF_SafeSave(const Sys_FileLoc& iLocation, const FF_DocumentOptions& iOptions)
    : mLocation(iLocation)
    , mSystem(Sys_FileSystem::Get())
    , mDocument(std::make_unique<FF_Document>(iLocation, iOptions))
{
    ThrowIf(mSystem.Resolve(mLocation.GetPath(), mTarget));
    ThrowIf(mSystem.OpenBeside(mTarget, mTemporary, mHandle));
    try {
        mDocument->mLent = mHandle;
        mDocument->Open(Sys_Store::eOpenFlag_New);
    } catch (...) {
        CloseFile();
        throw;
    }
}

FF_SafeSave::~FF_SafeSave()
{
    mDocument->Close();
    CloseFile();
}

void FF_SafeSave::ThrowIf(Cmn_Int32 iError) const { Sys_ThrowIfOSErr(iError, mLocation.GetPath()); }

// The file goes before its lock does: nobody else has it to remove then.
void FF_SafeSave::CloseFile() noexcept
{
    if (mHandle == Sys_FileSystem::cNoHandle) return;
    if (!mCommitted) mSystem.Remove(mTemporary);
    mSystem.Close(std::exchange(mHandle, Sys_FileSystem::cNoHandle));
}

void FF_SafeSave::WriteOut()
{
    // Nobody reads the file before it has its name, so table and header go to the disk in one wait.
    const bool isOurs = Cmn_ASSERT(mDocument->mIsLent);
    if (!isOurs || !mDocument->FlushTOC(FF_Document::eReaders_None)) {
        // What is not complete must not take the old one's place.
        Sys_StreamWriteException exception;
        exception.SetFile(mLocation.GetPath());
        throw exception;
    }
    mDocument->Close();
    mIsWritten = true;
}

void FF_SafeSave::Commit()
{
    if (!Cmn_ASSERT(!mCommitted)) return;
    if (!mIsWritten) WriteOut();
    ThrowIf(mSystem.TakePlace(mHandle, mTemporary, mTarget, mNotKept));
    mCommitted = true;
    CloseFile();
    const Cmn_Int32 error = mSystem.SyncFolder(Sys_FileLoc(mTarget).GetFolder().GetPath());
    if (error == 0) return;
    Cmn_Exception exception(Cmn_eMessage_InPlaceUnsynced, Cmn_Exception::cNoOffset, mLocation.GetPath());
    exception.SetOSError(error);
    throw exception;
}
