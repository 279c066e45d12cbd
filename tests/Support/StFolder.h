// StFolder: a folder of the test's own among the system's files, which goes with all that is in it.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <random>
#include <string>

class StFolder
{
public:
    explicit StFolder(const std::string& iIn = testing::TempDir())
        : mPath(iIn + "/kora-test-" + std::to_string(std::random_device()()))
    {
        std::filesystem::create_directories(mPath);
    }
    ~StFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(mPath, ignored);
    }
    StFolder(const StFolder&) = delete;
    StFolder& operator=(const StFolder&) = delete;
    const std::string& Path() const { return mPath; }
    std::string operator/(const std::string& iName) const { return mPath + "/" + iName; }

private:
    std::string mPath;
};

inline int CountFiles(const std::string& iFolder)
{
    return static_cast<int>(std::distance(std::filesystem::directory_iterator(iFolder), {}));
}
