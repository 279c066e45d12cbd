// A program that is killed while it saves leaves the old document or the new one.
#include "FF/SmallDocument.h"
#include "Kora/FF/FF_SafeSave.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <random>
#include <sys/wait.h>
#include <unistd.h>

namespace {
void Save(const std::string& iPath, std::string_view iWord, std::size_t iBulk)
{
    FF_SafeSave save(Sys_FileLoc(iPath), eFF_EncryptionType_None, eTextEncoding_Utf8, false);
    SmallDocument::Write(save.GetDocument(), iWord, iBulk);
    save.Commit();
}
void SaveFirst(const std::string& iPath) { Save(iPath, "first", 0); }
void SaveSecond(const std::string& iPath) { Save(iPath, "second", 100000); }

// Starts a process that saves two documents by turns until it is killed; what is thrown there must not come back here.
pid_t StartSaving(const std::string& iPath) noexcept
{
    const pid_t child = fork();
    while (child == 0) {
        SaveFirst(iPath);
        SaveSecond(iPath);
    }
    return child;
}
} // namespace

TEST(SafeSave, AProgramKilledAtAnyMomentLeavesAWholeDocument)
{
    const std::string folder = testing::TempDir() + "kora-kill-" + std::to_string(getpid());
    std::filesystem::create_directory(folder);
    const std::string path = folder + "/song.kora";
    SaveFirst(path);
    const std::string first = SmallDocument::Read(path).text;
    SaveSecond(path);
    const std::string second = SmallDocument::Read(path).text;
    ASSERT_NE(first, second);

    std::mt19937 random(20);
    int firsts = 0;
    // Until both documents were found: where a save takes long, the programs live longer and longer.
    for (int round = 0; round < 200 || firsts == 0 || firsts == round; ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        const pid_t child = StartSaving(path);
        usleep(random() % static_cast<unsigned>(5000 + 1000 * std::max(0, round - 200)));
        kill(child, SIGKILL);
        int status = 0;
        waitpid(child, &status, 0);
        ASSERT_EQ(WTERMSIG(status), SIGKILL) << "the program ended by itself, with " << status;
        const SmallDocument::Reading found = SmallDocument::Read(path);
        ASSERT_EQ(found.complaint, "");
        ASSERT_TRUE(found.text == first || found.text == second);
        firsts += found.text == first ? 1 : 0;
    }
    SaveFirst(path); // what the last one left beside the document is in nobody's way
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder), {}), 1);
    std::filesystem::remove_all(folder);
}
