// FF_FileBasedEncrytpedStreams: makes the pair of streams over a document's files, plain or
// masked as the file says.
//
// In the file stand the type (one byte) and, for masked types, the raw key (one byte); the
// streams begin behind them.
// Ownership: the files stay the caller's and must outlive the streams.
#pragma once

#include "Bastel/Sys/Sys_FileBasedInStream.h"
#include "Bastel/Sys/Sys_FileBasedOutStream.h"
#include "Kora/FF/Format/FF_EncryptionType.h"

#include <memory>

class KORA_API FF_FileBasedEncrytpedStreams
{
public:
    // For a new file: writes type and key to iOutFile at its position; the input stream reads iInFile from
    // the same place on. Both results are null when the type cannot be written, and for a type that is none.
    static void CreateInAndOutStreams(Sys_File& iInFile, Sys_File& iOutFile, EFF_EncryptionType iType,
                                      std::unique_ptr<Sys_FileBasedInStream>& oIn,
                                      std::unique_ptr<Sys_FileBasedOutStream>& oOut);
    // For an existing file: reads type and key from iInFile at its position. iOutFile is null where only
    // reading is wanted; oOut is null then. Both results are null when the type cannot be read. Throws
    // Cmn_Exception (Cmn_eMessage_UnknownStreamType) with the offset for a type that is none.
    static void CreateInAndOutStreams(Sys_File& iInFile, Sys_File* iOutFile,
                                      std::unique_ptr<Sys_FileBasedInStream>& oIn,
                                      std::unique_ptr<Sys_FileBasedOutStream>& oOut);
    // For a file whose type and key the caller has written or read, and whose failures are the caller's to
    // tell: the streams begin at the files' positions. iOutFile and oOut as above; both results are null
    // for a type that is none.
    static void CreateBehindFront(Sys_File& iInFile, Sys_File* iOutFile, EFF_EncryptionType iType,
                                  Cmn_UInt8 iRawKey, std::unique_ptr<Sys_FileBasedInStream>& oIn,
                                  std::unique_ptr<Sys_FileBasedOutStream>& oOut);
    // The type of the streams that were made last is told by the document: FF_Document::GetEncryptionType.
};
