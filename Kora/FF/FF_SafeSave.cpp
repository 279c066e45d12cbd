#include "Kora/FF/FF_SafeSave.h"

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Bastel/Sys/Sys_FileSystem.h"

constexpr char FF_SafeSave::cSuffix[];

namespace {

void ThrowIf(Cmn_Int32 iError, const std::string& iPath)
{
    try {
        Sys_ThrowIfOSErr(iError);
    } catch (Cmn_Exception& exception) {
        exception.SetFile(iPath);
        throw;
    }
}

// Where the document really is: a link that names it stays.
std::string Resolved(const Sys_FileLoc& iLocation)
{
    std::string path;
    ThrowIf(Sys_FileSystem::Get().Resolve(iLocation.GetPath(), path), iLocation.GetPath());
    return path;
}

} // namespace

FF_SafeSave::FF_SafeSave(const Sys_FileLoc& iLocation, EFF_EncryptionType iType, ETextEncoding iEncoding,
                         bool iRepairText)
    : mTarget(Resolved(iLocation))
    , mDocument(std::make_unique<FF_Document>(Sys_FileLoc(mTarget + cSuffix), iType, iEncoding, iRepairText))
{
    try {
        mDocument->Open(Sys_Store::eOpenFlag_New);
    } catch (...) {
        // A file that is another save's stays.
        if (mDocument->mMadeFile) Sys_FileSystem::Get().Remove(GetTemporary());
        throw;
    }
}

FF_SafeSave::~FF_SafeSave()
{
    if (mCommitted) return;
    mDocument->Close();
    Sys_FileSystem::Get().Remove(GetTemporary());
}

void FF_SafeSave::Commit()
{
    if (!Cmn_ASSERT(!mCommitted)) return;
    if (!mIsWritten) {
        // Nobody reads the file before it has its name, so table and header go to the disk in one wait.
        if (!mDocument->FlushTOC(FF_Document::eReaders_None)) {
            // What is not complete must not take the old one's place.
            Sys_StreamWriteException exception;
            exception.SetFile(mTarget);
            throw exception;
        }
        mDocument->Close();
        mIsWritten = true;
    }
    Sys_FileSystem& system = Sys_FileSystem::Get();
    ThrowIf(system.Replace(GetTemporary(), mTarget), mTarget);
    mCommitted = true;
    const std::string folder = Sys_FileLoc(mTarget).GetFolder().GetPath();
    ThrowIf(system.SyncFolder(folder), folder);
}
