#include "Kora/Kora_Version.h"

#include <gtest/gtest.h>

#include <cstdio>

TEST(Version, ALibraryServesWhatItsNameSays)
{
    const struct
    {
        const char* mWhat;
        Kora_VersionNumber mLibrary, mHeaders;
        bool mServes;
    } cRows[] = {
        {"the same", {0, 1, 0}, {0, 1, 0}, true},
        {"a fix later", {0, 1, 3}, {0, 1, 2}, true},
        {"a fix earlier", {0, 1, 2}, {0, 1, 3}, false},
        {"before 1.0 each minor version is another", {0, 2, 0}, {0, 1, 9}, false},
        {"and so is an earlier one", {0, 1, 9}, {0, 2, 0}, false},
        {"a minor version later", {1, 3, 0}, {1, 2, 5}, true},
        {"a minor version earlier", {1, 2, 5}, {1, 3, 0}, false},
        {"another major version", {2, 0, 0}, {1, 0, 0}, false},
        {"the first whole one", {1, 0, 0}, {0, 9, 9}, false},
    };
    for (const auto& row : cRows)
        EXPECT_EQ(Kora_Version::Serves(row.mLibrary, row.mHeaders), row.mServes) << row.mWhat;
}

TEST(Version, TheTextIsTheNumbers)
{
    const Kora_VersionNumber library = Kora_Version::Get();
    int major = -1, minor = -1, patch = -1, end = 0;
    std::sscanf(Kora_Version::GetText(), "%d.%d.%d%n", &major, &minor, &patch, &end);
    EXPECT_EQ(major, library.mMajor);
    EXPECT_EQ(minor, library.mMinor);
    EXPECT_EQ(patch, library.mPatch);
    EXPECT_EQ(Kora_Version::GetText()[end], '\0');
    EXPECT_TRUE(Kora_Version::HeadersMatch());
}
