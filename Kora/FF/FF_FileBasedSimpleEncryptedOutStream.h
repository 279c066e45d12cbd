// FF_FileBasedSimpleEncryptedOutStream: writes a file whose bytes are masked by their position and a key byte.
//
// A new file's key is drawn from the time of day, so that the same document saved twice does not look the same.
//
// Ownership: the file stays the caller's, is open for writing and must outlive the stream. Threads: one at a time.
#pragma once

#include "Bastel/Sys/Sys_FileBasedOutStream.h"

class KORA_API FF_FileBasedSimpleEncryptedOutStream : public Sys_FileBasedOutStream
{
public:
    // Chooses a raw key byte, 0 to 254, and writes it at the file's position; the stream begins behind it. A byte that
    // cannot be written, or a type (EFF_EncryptionType) that has no mask, asserts.
    FF_FileBasedSimpleEncryptedOutStream(Sys_File& iFile, Cmn_UInt32 iType);
    // Takes the key of the file's other stream; begins at the file's position.
    FF_FileBasedSimpleEncryptedOutStream(Sys_File& iFile, Cmn_UInt32 iType, Cmn_UInt8 iMunger);
    ~FF_FileBasedSimpleEncryptedOutStream() override;

    Cmn_UInt8 GetMunger() const { return mMunger; }

protected:
    void MassageBuffer(void* ioBytes, std::size_t iCount, Cmn_Int64 iPosition) override;

private:
    Cmn_UInt32 mType;
    Cmn_UInt8 mMunger; // the raw key byte times the type's multiplier, modulo 256
};
