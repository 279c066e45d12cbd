#include "Kora/FF/Format/FF_FileBasedSimpleEncryptedInStream.h"

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Kora/FF/Format/FF_ScrambleKernels_p.h"

FF_FileBasedSimpleEncryptedInStream::FF_FileBasedSimpleEncryptedInStream(Sys_File& iFile, Cmn_UInt32 iType)
    : Sys_FileBasedInStream(iFile)
    , mType(iType)
{
    Cmn_ASSERT_TEXT(iFile.Read(&mMunger, 1) == 1, "iFile->Read( &mMunger, 1 ) == 1");
    Cmn_ASSERT_TEXT(FF_ScrambleKey(mType, mMunger), "false");
    BeginAtFilePosition();
}

FF_FileBasedSimpleEncryptedInStream::FF_FileBasedSimpleEncryptedInStream(Sys_File& iFile, Cmn_UInt32 iType,
                                                                         Cmn_UInt8 iMunger)
    : Sys_FileBasedInStream(iFile)
    , mType(iType)
    , mMunger(iMunger)
{
}

FF_FileBasedSimpleEncryptedInStream::~FF_FileBasedSimpleEncryptedInStream() = default;

void FF_FileBasedSimpleEncryptedInStream::MassageBuffer(void* ioBytes, std::size_t iCount,
                                                        Cmn_Int64 iPosition)
{
    FF_Scramble(mType, mMunger, ioBytes, iCount, iPosition);
}
