#include "Kora/FF/Format/FF_FileBasedSimpleEncryptedOutStream.h"

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Bastel/Sys/Sys_Clock.h"
#include "Kora/FF/Format/FF_ScrambleKernels_p.h"

FF_FileBasedSimpleEncryptedOutStream::FF_FileBasedSimpleEncryptedOutStream(Sys_File& iFile, Cmn_UInt32 iType)
    : Sys_FileBasedOutStream(iFile)
    , mType(iType)
    , mMunger(DrawKey())
{
    const bool isWritten = Cmn_ASSERT_TEXT(iFile.Write(&mMunger, 1) == 1, "iFile->Write( &mMunger, 1 ) == 1");
    if (!isWritten) RememberFailure();
    Cmn_ASSERT_TEXT(FF_ScrambleKey(mType, mMunger), "false");
    BeginAtFilePosition();
}

FF_FileBasedSimpleEncryptedOutStream::FF_FileBasedSimpleEncryptedOutStream(Sys_File& iFile, Cmn_UInt32 iType,
                                                                           Cmn_UInt8 iMunger)
    : Sys_FileBasedOutStream(iFile)
    , mType(iType)
    , mMunger(iMunger)
{
}

Cmn_UInt8 FF_FileBasedSimpleEncryptedOutStream::DrawKey()
{
    return static_cast<Cmn_UInt8>(Sys_Clock::GetMicroseconds() % 255);
}

FF_FileBasedSimpleEncryptedOutStream::~FF_FileBasedSimpleEncryptedOutStream() = default;

void FF_FileBasedSimpleEncryptedOutStream::MassageBuffer(void* ioBytes, std::size_t iCount,
                                                         Cmn_Int64 iPosition)
{
    FF_Scramble(mType, mMunger, ioBytes, iCount, iPosition);
}
