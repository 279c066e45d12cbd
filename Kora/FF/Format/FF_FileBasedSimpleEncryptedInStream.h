// FF_FileBasedSimpleEncryptedInStream: reads a file whose bytes are masked by their position and a key byte.
//
// Ownership: the file stays the caller's and must outlive the stream. Threads: one at a time.
#pragma once

#include "Bastel/Sys/Sys_FileBasedInStream.h"

class KORA_API FF_FileBasedSimpleEncryptedInStream : public Sys_FileBasedInStream
{
public:
    // Reads the raw key byte at the file's position; the stream begins behind it. A byte that cannot be read,
    // or a type (EFF_EncryptionType) that has no mask, asserts.
    FF_FileBasedSimpleEncryptedInStream(Sys_File& iFile, Cmn_UInt32 iType);
    // Takes the key of the file's other stream; begins at the file's position.
    FF_FileBasedSimpleEncryptedInStream(Sys_File& iFile, Cmn_UInt32 iType, Cmn_UInt8 iMunger);
    ~FF_FileBasedSimpleEncryptedInStream() override;

    Cmn_UInt8 GetMunger() const { return mMunger; }

protected:
    void MassageBuffer(void* ioBytes, std::size_t iCount, Cmn_Int64 iPosition) override;

private:
    Cmn_UInt32 mType;
    Cmn_UInt8 mMunger = 0; // the raw key byte times the type's multiplier, modulo 256
};
