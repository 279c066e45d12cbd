#include "FF/StDocument.h"
#include "Kora/FF/Document/FF_SafeSave.h"

namespace {

class SafeSaveTest : public StDocument
{
protected:
    SafeSaveTest() { Begin(1)->Commit(); }
    std::unique_ptr<FF_SafeSave> Begin(Cmn_Int32 iNumber, const char* iPath = cPath)
    {
        auto save = std::make_unique<FF_SafeSave>(Sys_FileLoc(iPath), eFF_EncryptionType_Block93,
                                                  eTextEncoding_Utf8, false);
        Write(save->GetDocument(), 7, iNumber);
        return save;
    }
    void ExpectSaved(Cmn_Int32 iNumber)
    {
        Document document(Sys_Store::eOpenFlag_Read);
        EXPECT_EQ(Read(document, 7), iNumber);
    }
};

TEST_F(SafeSaveTest, ACommitThatFailedMayBeTriedAgain)
{
    for (const bool isFlushed : {false, true}) {
        Begin(1)->Commit();
        const auto save = Begin(2);
        Document reader;
        if (isFlushed) reader.Open(Sys_Store::eOpenFlag_Read); // keeps the old one from being replaced
        if (!isFlushed) mFiles.FailAt(1);
        EXPECT_NE(MessageOf([&] { save->Commit(); }), 0);
        reader.Close();
        ExpectSaved(1);
        save->Commit();
        ExpectSaved(2);
        save->Commit();
        EXPECT_EQ(TakeReports(), "!mCommitted");
    }
}

TEST_F(SafeSaveTest, WhatIsNotCommittedOrNotCompleteChangesNothing)
{
    mFiles.SetBytes("/songs/" + Sys_FileSystem::NameBeside(cPath),
                    Bytes(100000, 7)); // a crash left it behind
    {
        const auto save = Begin(2);
        EXPECT_EQ(mFiles.GetFiles().size(), 2u);
        Sys_TypedOutStream out = save->GetDocument().MakeTypedOutStream();
        const FF_StreamHeaderWriter header(&save->GetDocument(), out, 8, 1);
        EXPECT_NE(MessageOf([&] { save->Commit(); }), 0);
        EXPECT_EQ(TakeReports(), "mOutStream->GetOpenHeaders().IsEmpty()");
    }
    EXPECT_EQ(mFiles.GetFiles().size(), 1u);
    ExpectSaved(1);
}

TEST_F(SafeSaveTest, ALinkStaysAndItsFileIsReplacedAfterOneWait)
{
    mFiles.Link("/desk/current.kora", cPath);
    mFiles.ClearLog();
    Begin(2, "/desk/current.kora")->Commit();
    EXPECT_EQ(mFiles.GetNumRequests(MemoryFileSystem::eSync), 1u);
    EXPECT_EQ(mFiles.GetFiles().size(), 1u);
    ExpectSaved(2);
}

} // namespace
