#include "FF/StDocument.h"

namespace {

using DocumentTest = StDocument;

TEST_F(DocumentTest, WhatWasFlushedIsReadBackWithEveryEncryptionType)
{
    for (int type = 0; type <= 5; ++type) {
        FF_Document document = Document(static_cast<EFF_EncryptionType>(type));
        document.Open(Sys_Store::eOpenFlag_New);
        Write(document, 7, 1234);
        document.Flush();
        EXPECT_EQ(Read(document, 7), 1234) << document.Dump();
        document.Close();

        FF_Document again = Document();
        for (const auto flag : {Sys_Store::eOpenFlag_Read, Sys_Store::eOpenFlag_ReadWrite,
                                Sys_Store::eOpenFlag_ReadWriteShared})
        {
            again.Open(flag);
            EXPECT_EQ(again.GetEncryptionType(), type);
            EXPECT_EQ(Read(again, 7), 1234);
            EXPECT_EQ(Read(again, 8), -1);
            again.Close();
        }
    }
}

} // namespace
