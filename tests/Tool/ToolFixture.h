// ToolFixture: verbs for tests of the command: Run, Song, Convert. Every test starts the library and ends
// with Time_Globals as they were at load, and no library assertion may have been reported.
#pragma once

#include "Kora/Kora_Init.h"
#include "Tool/Tool_Command.h"
#include "Tool/Tool_Convert.h"
#include "Tool/Tool_InputError.h"
#include "Tool/Tool_SongReport.h"
#include "tests/Support/AssertRecorder.h"
#include "tests/Support/MidiBytes.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <nlohmann/json.hpp>
#include <random>
#include <sstream>

using namespace MidiBytes;

const std::string cSource = KORA_SOURCE_DIR, cFirstLight = cSource + "/examples/songs/first-light.mid";

// A working folder of the test's own: tests run side by side, and give their files the same names.
class StFolder
{
public:
    StFolder()
        : mBefore(std::filesystem::current_path())
    {
        const testing::TestInfo& test = *testing::UnitTest::GetInstance()->current_test_info();
        std::string name = std::string("ToolTests.") + test.test_suite_name() + "." + test.name();
        std::replace(name.begin(), name.end(), '/', '.');
        mFolder = mBefore / name;
        std::filesystem::create_directories(mFolder);
        std::filesystem::current_path(mFolder);
    }
    ~StFolder()
    {
        std::filesystem::current_path(mBefore);
        std::error_code ignored;
        std::filesystem::remove_all(mFolder, ignored);
    }
    StFolder(const StFolder&) = delete;
    StFolder& operator=(const StFolder&) = delete;

private:
    std::filesystem::path mBefore;
    std::filesystem::path mFolder;
};

// The name of a file that it leaves in the test's working folder.
inline std::string Written(const std::string& iName, const std::string& iBytes = {})
{
    std::ofstream(iName, std::ios::binary) << iBytes;
    return iName;
}

inline std::string ReadFile(const std::string& iName)
{
    std::ifstream stream(iName, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

// What the command would say of an input that it does not take. Any other exception fails the test.
template <class Call>
std::string Complaint(const Call& iCall)
{
    try {
        iCall();
        return "(taken)";
    } catch (const Tool_InputError& error) {
        return error.what();
    }
}

class ToolFixture : public testing::Test
{
protected:
    ToolFixture() { Kora_Init::Init(); }
    ~ToolFixture() override
    {
        EXPECT_EQ(mReports.Take(), std::vector<std::string>());
        Tool_Settings().Apply();
        Kora_Init::Free();
    }

    struct Outcome
    {
        int mExit;
        std::string mOut;
        std::string mErr;
    };
    static Outcome Run(const std::vector<std::string>& iArguments, const std::string& iInput = {})
    {
        std::istringstream in(iInput);
        std::ostringstream out;
        std::ostringstream err;
        const int exit = Tool_RunCommand(iArguments, in, out, err);
        return {exit, out.str(), err.str()};
    }

    static std::string Json(const std::string& iMidiBytes, const Tool_Settings& iSettings = {})
    {
        const Tool_Song song(Tool_MidiFile::Parse(iMidiBytes, "x.mid"), iSettings);
        return Tool_SongReport(song, "x.mid").Json();
    }

    AssertRecorder mReports;

private:
    StFolder mFolder;
};
