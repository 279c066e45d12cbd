#include "OstrelPlatformSupport/PSDynamicLibrary.h"
#include "Support/PathText.h"

#include <gtest/gtest.h>

TEST(DynamicLibrary, GivesTheEntriesOfAFileWithAnyName)
{
    const std::filesystem::path plain = TEST_MODULE;
    std::filesystem::path copy = plain;
    copy.replace_filename(u8"Prüf ♭ 音" + plain.extension().u8string());
    // A file of an earlier run goes, unless this process has it loaded: such a file must not be written to.
    std::error_code inUse;
    std::filesystem::remove(copy, inUse);
    if (!std::filesystem::exists(copy)) std::filesystem::copy_file(plain, copy);

    for (const std::filesystem::path& file : {plain, copy}) {
        int (*twice)(int) = nullptr;
        {
            PSDynamicLibrary library;
            EXPECT_FALSE(library.IsLoaded());
            EXPECT_EQ(library.Find("OstrelTestTwice"), nullptr);
            ASSERT_TRUE(library.Load(Utf8(file)));
            EXPECT_TRUE(library.Load("no-such-library")) << "the first library found stays";
            EXPECT_EQ(library.Find("OstrelTestThrice"), nullptr);
            twice = library.FindFunction<int(int)>("OstrelTestTwice");
        }
        ASSERT_NE(twice, nullptr);
        EXPECT_EQ(twice(21), 42) << "the entry outlives the object";
    }
}

TEST(DynamicLibrary, AnswersAMissingOrBrokenFileWithFalse)
{
    const std::filesystem::path text = std::filesystem::path(TEST_MODULE).replace_extension(".txt");
    std::fclose(std::fopen(Utf8(text).c_str(), "w"));
    PSDynamicLibrary library;
    EXPECT_FALSE(library.Load("no-such-library"));
    EXPECT_FALSE(library.Load(""));
    EXPECT_FALSE(library.Load(Utf8(text))) << "an empty file is no library";
    EXPECT_FALSE(library.IsLoaded());
    EXPECT_EQ(library.Find("OstrelTestTwice"), nullptr);
}

TEST(DynamicLibrary, TheSystemDriveHasARootWhereThereAreDrives)
{
    const std::string root = PSGetSystemDriveRoot();
    if (std::filesystem::path::preferred_separator == '/') {
        EXPECT_EQ(root, "");
    } else {
        EXPECT_EQ(root.substr(1), ":\\");
        EXPECT_TRUE(std::filesystem::exists(root));
    }
}
