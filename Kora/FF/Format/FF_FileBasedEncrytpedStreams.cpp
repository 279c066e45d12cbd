#include "Kora/FF/Format/FF_FileBasedEncrytpedStreams.h"

#include "Bastel/Cmn/Cmn_Exception.h"
#include "Kora/FF/Format/FF_FileBasedSimpleEncryptedInStream.h"
#include "Kora/FF/Format/FF_FileBasedSimpleEncryptedOutStream.h"
#include "Kora/FF/Format/FF_Format_p.h"
#include "Kora/FF/Format/FF_ScrambleKernels_p.h"

using FF_Format::IsMasked;

void FF_FileBasedEncrytpedStreams::CreateInAndOutStreams(Sys_File& iInFile, Sys_File& iOutFile,
                                                         EFF_EncryptionType iType,
                                                         std::unique_ptr<Sys_FileBasedInStream>& oIn,
                                                         std::unique_ptr<Sys_FileBasedOutStream>& oOut)
{
    oIn.reset();
    oOut.reset();
    const Cmn_UInt8 type = iType;
    if (iOutFile.Write(&type, 1) != 1) return;

    if (IsMasked(type)) {
        auto out = std::make_unique<FF_FileBasedSimpleEncryptedOutStream>(iOutFile, type);
        iInFile.SetPosition(iOutFile.GetPosition());
        oIn = std::make_unique<FF_FileBasedSimpleEncryptedInStream>(iInFile, type, out->GetMunger());
        oOut = std::move(out);
    } else if (type == eFF_EncryptionType_None) {
        iInFile.SetPosition(iOutFile.GetPosition());
        oIn = std::make_unique<Sys_FileBasedInStream>(iInFile);
        oOut = std::make_unique<Sys_FileBasedOutStream>(iOutFile);
    }
}

void FF_FileBasedEncrytpedStreams::CreateInAndOutStreams(Sys_File& iInFile, Sys_File* iOutFile,
                                                         std::unique_ptr<Sys_FileBasedInStream>& oIn,
                                                         std::unique_ptr<Sys_FileBasedOutStream>& oOut)
{
    oIn.reset();
    oOut.reset();
    const Cmn_Int64 typeAt = iInFile.GetPosition();
    Cmn_UInt8 type = 0;
    if (iInFile.Read(&type, 1) != 1) return;

    if (IsMasked(type)) {
        auto in = std::make_unique<FF_FileBasedSimpleEncryptedInStream>(iInFile, type);
        if (iOutFile != nullptr) {
            iOutFile->SetPosition(iInFile.GetPosition());
            oOut = std::make_unique<FF_FileBasedSimpleEncryptedOutStream>(*iOutFile, type, in->GetMunger());
        }
        oIn = std::move(in);
    } else if (type == eFF_EncryptionType_None) {
        oIn = std::make_unique<Sys_FileBasedInStream>(iInFile);
        if (iOutFile != nullptr) {
            iOutFile->SetPosition(iInFile.GetPosition());
            oOut = std::make_unique<Sys_FileBasedOutStream>(*iOutFile);
        }
    } else {
        throw Cmn_Exception(Cmn_eMessage_UnknownStreamType, typeAt, iInFile.GetFileLoc().GetPath());
    }
}

void FF_FileBasedEncrytpedStreams::CreateBehindFront(Sys_File& iInFile, Sys_File* iOutFile,
                                                     EFF_EncryptionType iType, Cmn_UInt8 iRawKey,
                                                     std::unique_ptr<Sys_FileBasedInStream>& oIn,
                                                     std::unique_ptr<Sys_FileBasedOutStream>& oOut)
{
    oIn.reset();
    oOut.reset();
    Cmn_UInt8 key = iRawKey;
    if (IsMasked(iType) && FF_ScrambleKey(iType, key)) {
        oIn = std::make_unique<FF_FileBasedSimpleEncryptedInStream>(iInFile, iType, key);
        if (iOutFile != nullptr)
            oOut = std::make_unique<FF_FileBasedSimpleEncryptedOutStream>(*iOutFile, iType, key);
    } else if (iType == eFF_EncryptionType_None) {
        oIn = std::make_unique<Sys_FileBasedInStream>(iInFile);
        if (iOutFile != nullptr) oOut = std::make_unique<Sys_FileBasedOutStream>(*iOutFile);
    }
}
