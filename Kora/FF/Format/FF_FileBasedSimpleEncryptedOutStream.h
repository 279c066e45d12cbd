// FF_FileBasedSimpleEncryptedOutStream: writes a file whose bytes are masked by their
// position and a key byte.
//
// A new file's key is drawn from the time of day, so that the same document saved
// twice does not look the same.
//
// Ownership: the file stays the caller's, is open for writing and must outlive the
// stream. Threads: one at a time.
#pragma once

#include "Bastel/Sys/Sys_FileBasedOutStream.h"

class KORA_API FF_FileBasedSimpleEncryptedOutStream : public Sys_FileBasedOutStream
{
public:
    // Draws a raw key byte and writes it at the file's position; the stream begins behind it. A byte that
    // cannot be written asserts, and nothing can be written until Flush has thrown. A type
    // (EFF_EncryptionType) without a mask asserts.
    FF_FileBasedSimpleEncryptedOutStream(Sys_File& iFile, Cmn_UInt32 iType);
    // Takes a key: the raw one times the type's multiplier, as of the file's other stream.
    // Begins at the file's position.
    FF_FileBasedSimpleEncryptedOutStream(Sys_File& iFile, Cmn_UInt32 iType, Cmn_UInt8 iMunger);
    ~FF_FileBasedSimpleEncryptedOutStream() override;

    // A raw key for a new file, 0 to 254.
    static Cmn_UInt8 DrawKey();
    Cmn_UInt8 GetMunger() const { return mMunger; }

protected:
    void MassageBuffer(void* ioBytes, std::size_t iCount, Cmn_Int64 iPosition) override;

private:
    Cmn_UInt32 mType;
    Cmn_UInt8 mMunger; // the raw key byte times the type's multiplier, modulo 256
};
