#include "OstrelPlatformSupport/PSMessagePipe.h"
#include "OstrelPlatformSupport/Posix/PSPrivateFolder_p.h"
#include "OstrelPlatformSupport/TestEnvironment.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

TEST(PipeFolder, IsTrustedOnlyWhenItIsTheUsersOwnAndNobodyElseMayEnter)
{
    char folder[] = "/tmp/kora-folder-XXXXXX";
    ASSERT_NE(mkdtemp(folder), nullptr);
    const std::string link = std::string(folder) + "/link";
    EXPECT_TRUE(PSIsPrivateFolder(folder));
    for (const mode_t mode : {0710, 0701, 0720, 0702, 0740, 0704, 0777}) {
        chmod(folder, mode);
        EXPECT_FALSE(PSIsPrivateFolder(folder)) << std::oct << mode;
    }
    chmod(folder, 0700);
    ASSERT_EQ(symlink(folder, link.c_str()), 0);
    EXPECT_FALSE(PSIsPrivateFolder(link.c_str())) << "a link to a private folder";
    EXPECT_FALSE(PSIsPrivateFolder((link + "/none").c_str()));
    if (geteuid() == 0) {
        ASSERT_EQ(chown(folder, 12345, 12345), 0);
        EXPECT_FALSE(PSIsPrivateFolder(folder)) << "somebody else's";
    }
    unlink(link.c_str());
    rmdir(folder);
}

TEST(PipeFolder, IsTheRuntimeFolderOrTheUsersOwnInTmp)
{
    const char* const given = std::getenv("XDG_RUNTIME_DIR");
    const std::string before = given != nullptr ? given : "";
    SetTestEnvironment("XDG_RUNTIME_DIR", "/run/some");
    EXPECT_EQ(PSMessagePipe::GetAddress("Pipe"), "/run/some/Pipe");
    EXPECT_EQ(PSMessagePipe::GetAddress(std::string(97, 'x')).size(), 107U) << "as long as an address can be";
    EXPECT_EQ(PSMessagePipe::GetAddress(std::string(98, 'x')), "");
    for (const char* const none : {"", "run/relative"}) {
        SetTestEnvironment("XDG_RUNTIME_DIR", none);
        EXPECT_EQ(PSMessagePipe::GetAddress("Pipe", PSMessagePipe::eFolder_Make),
                  "/tmp/kora-" + std::to_string(geteuid()) + "/Pipe");
    }
    SetTestEnvironment("XDG_RUNTIME_DIR", given != nullptr ? before.c_str() : nullptr);
}
