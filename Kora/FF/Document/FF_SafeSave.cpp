#include "Kora/FF/Document/FF_SafeSave.h"

#include "Bastel/Cmn/Cmn_Assert.h"

FF_SafeSave::FF_SafeSave(const Sys_FileLoc& iLocation, EFF_EncryptionType iType, ETextEncoding iEncoding,
                         bool iRepairText)
    : FF_SafeSave(iLocation, FF_DocumentOptions{iType, iEncoding, iRepairText})
{
}

FF_SafeSave::FF_SafeSave(const Sys_FileLoc& iLocation, const FF_DocumentOptions& iOptions)
    : mLocation(iLocation)
    , mFile(iLocation)
    , mDocument(std::make_unique<FF_Document>(iLocation, iOptions))
{
    mDocument->SetFileSystem(&mFile.GetSystem());
    mDocument->mLent = mFile.GetHandle();
    mDocument->Open(Sys_Store::eOpenFlag_New);
}

FF_SafeSave::~FF_SafeSave() { mDocument->Close(); }

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
    if (!mIsWritten) WriteOut();
    mFile.Commit();
}
