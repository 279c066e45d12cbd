// Who saves and who reads at the same moment, on the system's own files; Posix/SaversTest.cpp
// has processes, and kills.
#include "Bastel/Sys/Sys_File.h"
#include "Bastel/Sys/Sys_OSErrorText.h"
#include "FF/SaveRace.h"

#include <chrono>
#include <thread>

namespace {

using namespace SaveRace;

TEST(Savers, ThreadsThatSaveAndReadAtOnceLoseNothing)
{
    // Where readers keep a document from being replaced, one that never pauses would let nobody through.
    constexpr bool cReadersPause = std::filesystem::path::preferred_separator != '/';
    constexpr int cSaves = cReadersPause ? 40 : 150;
    const StFolder folder;
    const std::string path = folder / "take.kora";
    const auto log = std::make_unique<Log>();
    SaveNumber(path, 0);
    std::vector<std::thread> savers;
    for (int saver = 0; saver < cSavers; ++saver)
        savers.emplace_back([&, saver] { RunSaver(*log, path, saver, cSaves); });
    int readings = 0;
    for (; log->mLastEnded[0] < cSaves || log->mLastEnded[1] < cSaves; ++readings) {
        if (cReadersPause) std::this_thread::sleep_for(std::chrono::milliseconds(5));
        if (log->mFailed > 0) break;
        if (const std::string fault = CheckReading(*log, path); !fault.empty()) {
            ADD_FAILURE() << fault;
            break;
        }
    }
    for (std::thread& saver : savers)
        saver.join();
    EXPECT_GT(readings, 0);
    EXPECT_EQ(log->mFailed, 0);
    EXPECT_EQ(CheckReading(*log, path), "");
    EXPECT_EQ(CountFiles(folder.Path()), 1);
}

TEST(Savers, TheDeadAreClearedAwayAndTheLivingAreNot)
{
    const StFolder folder;
    const std::string path = folder / std::string(255, 'n'); // a name as long as there is
    {
        Sys_File dead(Sys_FileLoc(folder / Sys_FileSystem::NameBeside(path)));
        dead.Open(Sys_FileSystem::eAccess_New);
        Sys_File other(Sys_FileLoc(folder / Sys_FileSystem::NameBeside("other")));
        other.Open(Sys_FileSystem::eAccess_New);
    }
    FF_SafeSave first(Sys_FileLoc(path), eFF_EncryptionType_None, eTextEncoding_Utf8, false);
    EXPECT_EQ(CountFiles(folder.Path()), 2) << "the first one's, and the other document's";
    SaveNumber(path, 1);
    EXPECT_EQ(CountFiles(folder.Path()), 3);
    first.Commit();
    EXPECT_EQ(CountFiles(folder.Path()), 2);
    EXPECT_NE(Beside(folder), "");
}

// What is refused, when, and why: nothing is made, and nothing is changed.
TEST(Savers, WhatMustNotBeReplacedIsRefusedWithItsReason)
{
    using Store = Sys_Store;
    using System = Sys_FileSystem;
    namespace fs = std::filesystem;
    const struct
    {
        const char* mWhat;
        Store::EOpenFlag mOpen;
        bool mIsProtected;
        const char* mName;
        Cmn_Int32 mCode;
    } cRows[] = {
        {"open for writing", Store::eOpenFlag_ReadWrite, false, "take.kora", System::eError_InUse},
        {"open for writing beside others", Store::eOpenFlag_ReadWriteShared, false, "take.kora",
         System::eError_InUse},
        {"write-protected", Store::eOpenFlag_Closed, true, "take.kora", System::eError_WriteProtected},
        {"without a folder", Store::eOpenFlag_Closed, false, "none/take.kora", System::eError_NoFolder},
    };
    for (const auto& row : cRows)
        for (const bool isAtCommit : {false, true}) {
            SCOPED_TRACE(std::string(row.mWhat) + (isAtCommit ? ", at the end" : ", at the beginning"));
            if (isAtCommit && row.mCode == System::eError_NoFolder) continue;
            const StFolder folder;
            const std::string path = folder / "take.kora";
            SaveNumber(path, 4711);
            FF_Document writer(Sys_FileLoc(path), eFF_EncryptionType_None, eTextEncoding_Utf8, false);
            const auto prevent = [&] {
                if (row.mOpen != Store::eOpenFlag_Closed) writer.Open(row.mOpen);
                if (row.mIsProtected) fs::permissions(path, fs::perms::owner_read | fs::perms::group_read);
            };
            if (!isAtCommit) prevent();
            const Cmn_Exception thrown = Thrown([&] {
                FF_SafeSave save(Sys_FileLoc(folder / row.mName), eFF_EncryptionType_None, eTextEncoding_Utf8,
                                 false);
                prevent();
                save.Commit();
            });
            EXPECT_EQ(thrown.Describe(), folder / row.mName + ": " + Sys_OSErrorText(row.mCode));
            EXPECT_EQ(CountFiles(folder.Path()), 1);
            EXPECT_EQ(ReadNumber(path), 4711);
            writer.Close();
            fs::permissions(path, fs::perms::owner_write, fs::perm_options::add);
            SaveNumber(path, 5);
        }
}

} // namespace
