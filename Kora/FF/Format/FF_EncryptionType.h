// EFF_EncryptionType: how a document's stream data is masked, so that its bytes are
// not readable as they stand.
//
// It keeps nobody out: the key is in the file.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"

// Stored as one byte. The masked types multiply the key byte of the file by a number of their own.
enum EFF_EncryptionType : Cmn_UInt8 {
    eFF_EncryptionType_None = 0,
    eFF_EncryptionType_Byte29 = 1, // one mask a byte
    eFF_EncryptionType_Byte17 = 2,
    eFF_EncryptionType_Byte93 = 3,
    eFF_EncryptionType_Byte127 = 4,
    eFF_EncryptionType_Block93 = 5, // one mask a block of 4096 bytes
};
