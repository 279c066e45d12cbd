#include "FF/StDocument.h"
#include "Kora/FF/FF_SafeSave.h"

#include <optional>

namespace {

class SafeSaveTest : public StDocument
{
protected:
    SafeSaveTest() { Save(1); }
    static std::unique_ptr<FF_SafeSave> Begin(const char* iPath = cPath)
    {
        return std::make_unique<FF_SafeSave>(Sys_FileLoc(iPath), eFF_EncryptionType_Block93, eTextEncoding_Utf8,
                                             false);
    }
    static void Save(Cmn_Int32 iNumber, const char* iPath = cPath)
    {
        const auto save = Begin(iPath);
        Write(save->GetDocument(), 7, iNumber);
        save->Commit();
    }
    static Cmn_Int32 Saved()
    {
        FF_Document document = Document();
        document.Open(Sys_Store::eOpenFlag_Read);
        return Read(document, 7);
    }
    std::size_t NumFiles() const { return mFiles.GetFiles().size(); }
};

TEST_F(SafeSaveTest, WhicheverRequestFailsTheOldOrTheNewIsThereAndNothingElse)
{
    int message = 1;
    for (Cmn_Int32 n = 1; message != 0; ++n) {
        Save(1);
        mFiles.ClearLog();
        mFiles.FailAt(n);
        message = MessageOf([] { Save(2); });
        mFiles.Heal();
        const MemoryFileSystem::EKind failed = mFiles.GetLog()[static_cast<std::size_t>(n - 1)].kind;
        // A folder whose wait failed has the new name already.
        EXPECT_EQ(Saved(), message == 0 || failed == MemoryFileSystem::eSyncFolder ? 2 : 1) << n;
        EXPECT_EQ(NumFiles(), 1u) << n;
    }
    mFiles.ClearLog();
    Save(3);
    EXPECT_EQ(mFiles.GetNumRequests(MemoryFileSystem::eSync), 1u);
}

TEST_F(SafeSaveTest, ACommitThatFailedMayBeTriedAgain)
{
    for (const bool isReplacing : {false, true}) {
        Save(1);
        const auto save = Begin();
        Write(save->GetDocument(), 7, 2);
        std::optional<FF_Document> reader;
        if (isReplacing)
            reader.emplace(Sys_FileLoc(cPath), eFF_EncryptionType_None, eTextEncoding_Utf8, false)
                .Open(Sys_Store::eOpenFlag_Read); // who reads the old one keeps it from being replaced
        else
            mFiles.FailAt(1);
        EXPECT_NE(MessageOf([&] { save->Commit(); }), 0);
        reader.reset();
        mFiles.Heal();
        EXPECT_EQ(Saved(), 1);
        save->Commit();
        EXPECT_EQ(Saved(), 2);
        save->Commit();
        EXPECT_EQ(TakeReports(), "!mCommitted");
    }
}

TEST_F(SafeSaveTest, WhatIsNotCommittedOrNotCompleteChangesNothing)
{
    mFiles.SetBytes(std::string(cPath) + FF_SafeSave::cSuffix, Bytes(100000, 7)); // a crash left it behind
    {
        const auto save = Begin();
        Write(save->GetDocument(), 7, 2);
        EXPECT_EQ(MessageOf([] { Begin(); }), Cmn_eMessage_OSError) << "the second of two";
        Sys_TypedOutStream out = save->GetDocument().MakeTypedOutStream();
        const FF_StreamHeaderWriter header(&save->GetDocument(), out, 8, 1);
        EXPECT_THROW(save->Commit(), Sys_StreamWriteException);
        EXPECT_EQ(TakeReports(), "mOutStream->GetOpenHeaders().IsEmpty()");
    }
    {
        const auto save = Begin();
        save->GetDocument().Close();
        EXPECT_THROW(save->Commit(), Sys_StreamWriteException);
        EXPECT_EQ(TakeReports(), "mOutStream");
    }
    EXPECT_EQ(Saved(), 1);
    EXPECT_EQ(NumFiles(), 1u);
}

TEST_F(SafeSaveTest, ALinkStaysAndItsFileIsReplaced)
{
    mFiles.Link("/desk/current.kora", cPath);
    Save(2, "/desk/current.kora");
    EXPECT_EQ(Saved(), 2);
    EXPECT_EQ(NumFiles(), 1u);
}

} // namespace
