#include "Bastel/Sys/Sys_File.h"
#include "Bastel/Sys/Sys_MemoryFile.h"
#include "Bastel/Sys/Sys_OSErrorText.h"
#include "Kora/SDS/FicInterface/SDS_Error.h"
#include "Support/AssertRecorder.h"
#include "Support/MemoryFileSystem.h"
#include "Support/PathText.h"
#include "Support/Thrown.h"

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <limits>
#include <string_view>
#include <tuple>
#include <utility>

namespace {

namespace fs = std::filesystem;
using System = Sys_FileSystem;

constexpr bool cIsWindows = fs::path::preferred_separator != '/';

// A folder of the test's own with names that one byte a character does not hold.
class FileTest : public testing::Test
{
protected:
    FileTest()
    {
        mFolder = fs::temp_directory_path() / u8"kora Prélude – 前奏" /
                  testing::UnitTest::GetInstance()->current_test_info()->name();
        fs::remove_all(mFolder);
        fs::create_directories(mFolder);
    }
    ~FileTest() override { fs::remove_all(mFolder); }

    std::string Path(const std::u8string& iName) const { return Utf8(mFolder / iName); }
    static void Write(const std::string& iPath, std::string_view iText)
    {
        Sys_File file{Sys_FileLoc(iPath)};
        file.Open(System::eAccess_New);
        EXPECT_EQ(file.Write(iText.data(), iText.size()), iText.size());
        file.Sync();
    }
    static std::string Read(const std::string& iPath)
    {
        Sys_File file{Sys_FileLoc(iPath)};
        file.Open(System::eAccess_Read);
        std::string text(static_cast<std::size_t>(file.GetLength()) + 1, '?'); // one more than there is
        text.resize(file.Read(text.data(), text.size()));
        EXPECT_EQ(file.GetLastError(), 0);
        return text;
    }
    // The one line for the user, "" where it opens.
    static std::string WhyNot(const std::string& iPath, System::EAccess iAccess)
    {
        Sys_File file{Sys_FileLoc(iPath)};
        const Cmn_Exception thrown = Thrown([&] { file.Open(iAccess); });
        if (file.IsOpen()) return {};
        EXPECT_EQ(thrown.GetMessageID(), Cmn_eMessage_OSError);
        EXPECT_EQ(thrown.GetOSError(), file.GetLastError());
        return thrown.Describe();
    }

    System& mSystem = System::GetPlatform();
    fs::path mFolder;
};

} // namespace

TEST(FileLoc, TellsNameAndFolder)
{
    constexpr struct
    {
        const char* mWhat;
        const char* mPath;
        const char* mName;
        const char* mFolder;
    } cCases[] = {
        {"a bare name is in the folder that one is in", "take 1.kora", "take 1.kora", "."},
        {"nothing has no name", "", "", "."},
        {"the root keeps its separator", "/take.kora", "take.kora", "/"},
        {"others lose theirs", "/songs//take.kora", "take.kora", "/songs"},
        {"a folder's own path has no name", "songs/", "", "songs"},
        {"drives and backslashes part on Windows alone", "C:\\songs/a\\b", cIsWindows ? "b" : "a\\b",
         cIsWindows ? "C:\\songs/a" : "C:\\songs"},
        {"so do drives by themselves", "C:b", cIsWindows ? "b" : "C:b", cIsWindows ? "C:" : "."},
        {"and a drive's root is one", "C:\\b", cIsWindows ? "b" : "C:\\b", cIsWindows ? "C:\\" : "."},
    };
    for (const auto& row : cCases) {
        const Sys_FileLoc location(row.mPath);
        EXPECT_EQ(location.GetName(), row.mName) << row.mWhat;
        EXPECT_EQ(location.GetFolder().GetPath(), row.mFolder) << row.mWhat;
        EXPECT_EQ(location.WithSuffix("~").GetPath(), std::string(row.mPath) + "~") << row.mWhat;
    }
}

TEST_F(FileTest, WritersExcludeEachOtherAndNeverReaders)
{
    constexpr std::array cAll = {System::eAccess_Read, System::eAccess_Write, System::eAccess_WriteShared,
                                 System::eAccess_New};
    const std::string path = Path(u8"Prélude – 前奏.kora");
    for (const System::EAccess held : cAll) {
        for (const System::EAccess wanted : cAll) {
            Write(path, "old");
            Sys_File holder{Sys_FileLoc(path)};
            Sys_File reader{Sys_FileLoc(path)}; // a document opens its own reading handle first
            reader.Open(System::eAccess_Read);
            holder.Open(held);
            const bool fits = held == System::eAccess_Read || wanted == System::eAccess_Read ||
                              (held == wanted && held == System::eAccess_WriteShared);
            EXPECT_EQ(WhyNot(path, wanted).empty(), fits) << held << " then " << wanted;
            const bool isEmptied = held == System::eAccess_New || (fits && wanted == System::eAccess_New);
            EXPECT_EQ(Read(path), isEmptied ? "" : "old") << held << " then " << wanted;
            holder.Close();
            EXPECT_EQ(WhyNot(path, wanted), "") << held << " closed, then " << wanted;
        }
    }
}

TEST_F(FileTest, RefusesWhatIsNoFileAndSaysWhy)
{
    const std::tuple<const char*, std::string, System::EAccess> cases[] = {
        {"a folder to read", Utf8(mFolder), System::eAccess_Read},
        {"a folder to write", Utf8(mFolder), System::eAccess_Write},
        {"a folder to make", Utf8(mFolder), System::eAccess_New},
        {"a device", cIsWindows ? "NUL" : "/dev/null", System::eAccess_Write},
        {"a file that is not there", Path(u8"missing"), System::eAccess_Write},
        {"a folder that is not there", Path(u8"missing/take.kora"), System::eAccess_New},
        {"no name", "", System::eAccess_New},
    };
    for (const auto& [what, path, access] : cases) {
        const std::string why = WhyNot(path, access);
        EXPECT_TRUE(why.starts_with(path.empty() ? "" : path + ": ")) << what << ": " << why;
        EXPECT_GT(why.size(), path.size() + 2) << what;
        EXPECT_NE(why.back(), '.') << what << ": " << why;
    }
    EXPECT_NE(Sys_OSErrorText(2), Sys_OSErrorText(5));
    for (const Cmn_Int32 own : {Cmn_Int32{eSDSErr_OutOfMemory}, Cmn_Int32{eSDSErr_NameTooLong},
                                Cmn_Int32{eSDSErr_TokenPoolFull}, Cmn_Int32{System::eError_NoFolder}})
        EXPECT_EQ(Sys_OSErrorText(own).find(std::to_string(own)), std::string::npos) << own;
    EXPECT_EQ(Sys_OSErrorText(eSDSErr_NameTooLong), "a name has 1 to 31 characters");
    EXPECT_NE(Sys_OSErrorText(123456).find("123456"), std::string::npos);
}

TEST_F(FileTest, PositionsAreItsOwnAndGoPastTheEnd)
{
    const std::string path = Path(u8"a");
    Write(path, "0123456789");
    Sys_File file{Sys_FileLoc(path)};
    file.Open(System::eAccess_Write);
    std::array<char, 4> bytes;
    constexpr Cmn_Int64 cFar = (Cmn_Int64{1} << 32) + 2; // more than 32 bits, and mostly a hole
    EXPECT_EQ(file.Read(bytes.data(), 4), 4u);
    EXPECT_EQ(file.ReadAt(8, bytes.data(), 4), 2u);
    EXPECT_EQ(file.WriteAt(1, "ab", 2) + file.WriteAt(cFar, "far", 3), 5u);
    EXPECT_EQ(file.Write("X", 1), 1u);
    EXPECT_EQ(file.GetLength(), cFar + 3);
    EXPECT_EQ(file.ReadAt(cFar, bytes.data(), 4), 3u);
    EXPECT_EQ(std::string(bytes.data(), 3), "far");
    file.SetLength(12);
    EXPECT_EQ(file.ReadAt(100, bytes.data(), 4), 0u);
    EXPECT_EQ(file.GetLastError(), 0);
    file.Close();
    EXPECT_EQ(Read(path), std::string("0ab3X56789\0\0", 12));

    const AssertRecorder recorder;
    file.Close(); // nothing
    file.SetPosition(-1);
    EXPECT_EQ(file.GetPosition(), 5);
    EXPECT_EQ(file.Read(bytes.data(), 1) + file.Write("a", 1), 0u);
    file.Open(System::eAccess_Read);
    EXPECT_EQ(file.GetPosition(), 0);
    file.Open(System::eAccess_New);
    EXPECT_EQ(file.GetLength(), 12);
    EXPECT_EQ(recorder.Take().size(), 4u);
}

TEST_F(FileTest, AReplacementIsWholeAndKeepsPermissionsAndLinks)
{
    constexpr auto cMode = fs::perms::owner_read | fs::perms::owner_write | fs::perms::others_read;
    const std::string from = Path(u8"take.kora.kora-save");
    const std::string to = Path(u8"take.kora");
    std::string resolved;
    EXPECT_EQ(mSystem.Resolve(to, resolved), 0);
    EXPECT_EQ(resolved, to); // there is no such file yet
    for (const char* text : {"first", "second"}) {
        Write(from, text);
        EXPECT_EQ(mSystem.Replace(from, to), 0);
        EXPECT_NE(mSystem.Replace(from, to), 0); // it is gone
        EXPECT_EQ(mSystem.SyncFolder(Utf8(mFolder)), 0);
        EXPECT_EQ(Read(to), text);
        EXPECT_TRUE(cIsWindows || *text == 'f' || fs::status(mFolder / u8"take.kora").permissions() == cMode);
        if (!cIsWindows) fs::permissions(mFolder / u8"take.kora", cMode);
    }

    Write(from, "third");
    EXPECT_NE(mSystem.Replace(from, Utf8(mFolder)), 0); // no folder goes for a file
    EXPECT_EQ(mSystem.Remove(from), 0);
    EXPECT_NE(mSystem.Remove(from), 0);
    std::error_code noLinks; // as on Windows without a right of its own
    fs::create_symlink("take.kora", mFolder / u8"link", noLinks);
    EXPECT_EQ(mSystem.Resolve(Path(noLinks ? u8"take.kora" : u8"link"), resolved), 0);
    EXPECT_EQ(Sys_FileLoc(resolved).GetName(), "take.kora");
    EXPECT_EQ(Read(resolved), "second");
}

TEST_F(FileTest, PathsAreAsLongAsTheyAre)
{
    // Beyond 260 characters Windows wants a form of its own. Folders stay below: the
    // test's own means end there.
    const std::string folder = Path(std::u8string(100, u8'a'));
    fs::create_directory(mFolder / std::u8string(100, u8'a'));
    const std::string from = folder + "/./" + std::string(200, 'b');
    const std::string to = folder + "/" + std::string(200, 'c');
    std::string resolved;
    Write(from, "far away");
    EXPECT_EQ(mSystem.Replace(from, to), 0);
    EXPECT_EQ(mSystem.Resolve(to, resolved), 0);
    EXPECT_EQ(Read(resolved), "far away");
    EXPECT_EQ(Sys_FileLoc(resolved).GetName(), Sys_FileLoc(to).GetName());
    EXPECT_EQ(mSystem.Remove(to), 0);
}

TEST(FileFaults, RequestsThatFailNameTheFileAndTheReason)
{
    MemoryFileSystem system;
    const System::StSystem inForce(system);
    Sys_File file(Sys_FileLoc("take.kora"));
    const std::function<void()> cRequests[] = {[&] { file.Open(System::eAccess_New); }, [&] { file.Sync(); },
                                               [&] { file.SetLength(3); }, [&] { file.Write("abcd", 4); }};
    for (const auto& request : cRequests) {
        system.FailAt(1, 5);
        const Cmn_Exception thrown = Thrown(request);
        EXPECT_TRUE(thrown.GetOSError() == 0 || thrown.Describe() == "take.kora: " + Sys_OSErrorText(5));
        EXPECT_EQ(file.GetLastError(), 5); // kept for who asks, thrown or not
        request();
        EXPECT_EQ(file.GetLastError(), 0);
    }
    EXPECT_EQ(file.GetPosition(), 4);
    system.FailAt(1, 5);
    file.Close();
    EXPECT_EQ(file.GetLastError(), 5);
    EXPECT_EQ(system.GetNumOpen(), 0u);
}

TEST(MemoryFile, ReadersAndAWriterShareItsBytesAndWhatHasNoRoomChangesNothing)
{
    Sys_MemoryFile memory("take");
    Sys_File reader(Sys_FileLoc("anything"), &memory);
    Sys_File writer(Sys_FileLoc("else"), &memory);
    reader.Open(System::eAccess_Read);
    writer.Open(System::eAccess_Write);
    char bytes[8] = {};
    EXPECT_EQ(writer.WriteAt(6, "two", 3), 3u);
    EXPECT_EQ(reader.ReadAt(2, bytes, sizeof bytes), 7u);
    EXPECT_EQ(std::string_view(bytes, 7), std::string_view("ke\0\0two", 7));
    EXPECT_EQ(reader.ReadAt(10, bytes, sizeof bytes), 0u);
    EXPECT_EQ(reader.GetLength(), 9);
    writer.SetLength(4);
    EXPECT_EQ(writer.WriteAt((std::numeric_limits<Cmn_Int64>::max)(), "far away", 8), 0u);
    EXPECT_EQ(writer.GetLastError(), System::eError_NoMemory);
    EXPECT_EQ(Sys_OSErrorText(writer.GetLastError()), "there is no memory for the file");
    EXPECT_EQ(memory.GetBytes(), "take");
    EXPECT_EQ(memory.Replace("else", "anything"), System::eError_NoOthers);
    Sys_File anew(Sys_FileLoc("anew"), &memory);
    anew.Open(System::eAccess_New);
    EXPECT_EQ(reader.GetLength(), 0);
}
