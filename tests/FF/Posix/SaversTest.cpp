// Saving where others save, die, and plant links; with waits at the dangerous points, which the
// system calls below make.
//
// KORA_SAVES says how many saves each saver makes, KORA_SAVE_FOLDER where.
#include "FF/SaveRace.h"

#include <csignal>
#include <cstdarg>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <grp.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace {

std::atomic<bool> sWaits{false};
std::atomic<bool> sSkipsSync{false};
int sFlockError = 0;
// What the next file that is made finds at its name: a link to this one.
const std::string* sPlanted = nullptr;
bool sPlantsHardLink = false;

// Sometimes, and for longer than the other's turn takes.
void WaitHere()
{
    static thread_local std::minstd_rand sRandom(static_cast<unsigned>(getpid()));
    if (sWaits && sRandom() % 16 == 0) usleep(static_cast<useconds_t>(sRandom() % 400));
}

} // namespace

// The library's requests come here first.
extern "C" int flock(int iFile, int iOperation) noexcept
{
    WaitHere(); // made and not locked, opened and not locked; in place and still locked
    if (sFlockError != 0) return errno = sFlockError, -1;
    return static_cast<int>(syscall(SYS_flock, iFile, iOperation));
}
extern "C" int lstat(const char* iPath, struct stat* oStatus) noexcept
{
    WaitHere(); // locked and not looked at
    return fstatat(AT_FDCWD, iPath, oStatus, AT_SYMLINK_NOFOLLOW);
}
extern "C" int rename(const char* iFrom, const char* iTo) noexcept
{
    WaitHere();
    return static_cast<int>(syscall(SYS_renameat2, AT_FDCWD, iFrom, AT_FDCWD, iTo, 0));
}
extern "C" int unlink(const char* iPath) noexcept
{
    WaitHere();
    return unlinkat(AT_FDCWD, iPath, 0);
}
extern "C" int fsync(int iFile) { return sSkipsSync ? 0 : static_cast<int>(syscall(SYS_fsync, iFile)); }
extern "C" int open(const char* iPath, int iFlags, ...)
{
    va_list arguments;
    va_start(arguments, iFlags);
    const mode_t mode = (iFlags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    if ((iFlags & O_CREAT) != 0 && sPlanted != nullptr) {
        const std::string* const planted = std::exchange(sPlanted, nullptr);
        if (sPlantsHardLink)
            std::ignore = link(planted->c_str(), iPath);
        else
            std::ignore = symlink(planted->c_str(), iPath);
    }
    return static_cast<int>(syscall(SYS_openat, AT_FDCWD, iPath, iFlags, mode));
}

namespace {

using namespace SaveRace;

pid_t StartSaver(Log& ioLog, const std::string& iPath, int iSaver, int iSaves) noexcept
{
    const pid_t child = fork();
    if (child != 0) return child;
    RunSaver(ioLog, iPath, iSaver, iSaves);
    _exit(0);
}

// A killed one is followed by another, which goes on with the next number.
void Race(const std::string& iIn, int iSaves, bool iKills)
{
    const StFolder folder(iIn);
    const std::string path = folder / "take.kora";
    void* const memory =
        mmap(nullptr, sizeof(Log), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(memory, MAP_FAILED);
    Log& log = *static_cast<Log*>(memory);
    SaveNumber(path, 0);
    std::minstd_rand random(20);
    pid_t savers[cSavers];
    for (int i = 0; i < cSavers; ++i)
        savers[i] = StartSaver(log, path, i, iSaves);
    long readings = 0;
    int kills = 0;
    for (int left = cSavers; left > 0; ++readings) {
        const std::string fault = CheckReading(log, path);
        if (!fault.empty()) {
            ADD_FAILURE() << fault << " after " << readings << " readings";
            for (const pid_t saver : savers)
                if (saver != 0) kill(saver, SIGKILL);
        }
        const auto victim = random() % cSavers;
        if (iKills && random() % 128 == 0 && savers[victim] != 0) kill(savers[victim], SIGKILL);
        for (int i = 0; i < cSavers; ++i) {
            int status = 0;
            if (savers[i] == 0 || waitpid(savers[i], &status, WNOHANG) != savers[i]) continue;
            const bool isKilled = WIFSIGNALED(status) && fault.empty();
            kills += isKilled;
            savers[i] = isKilled ? StartSaver(log, path, i, iSaves) : 0;
            left -= savers[i] == 0;
        }
    }
    EXPECT_EQ(log.mFailed, 0);
    EXPECT_EQ(kills > 0, iKills);
    EXPECT_EQ(CheckReading(log, path), "");
    SaveNumber(path, 1); // clears away what the dead left
    EXPECT_EQ(CountFiles(folder.Path()), 1);
    std::printf("%d saves of each, %ld readings, %d kills\n", iSaves, readings, kills);
    munmap(memory, sizeof(Log));
}

TEST(SaverProcesses, LoseNothingWhereverTheyWaitAndDie)
{
    const char* const saves = std::getenv("KORA_SAVES");
    const char* const in = std::getenv("KORA_SAVE_FOLDER");
    const std::string folder = in != nullptr ? in : testing::TempDir();
    const int count = saves != nullptr ? std::min(std::atoi(saves), Log::cMost - 1) : 150;
    sSkipsSync = true;
    for (const bool waits : {false, true})
        for (const bool kills : {false, true}) {
            SCOPED_TRACE(std::string(waits ? "with waits" : "at full speed") + (kills ? ", killed" : ""));
            sWaits = waits;
            Race(folder, waits && saves != nullptr ? count / 10 : count, kills);
        }
    sWaits = sSkipsSync = false;
}

// --- Whose file it is

struct stat StatusOf(const std::string& iPath)
{
    struct stat status = {};
    EXPECT_EQ(lstat(iPath.c_str(), &status), 0) << iPath;
    return status;
}

std::string Attribute(const std::string& iPath, const char* iName)
{
    char value[256];
    const ssize_t size = lgetxattr(iPath.c_str(), iName, value, sizeof value);
    return size < 0 ? "" : std::string(value, static_cast<std::size_t>(size));
}
bool SetAttribute(const std::string& iPath, const char* iName, const std::string& iValue)
{
    return iValue.empty() || lsetxattr(iPath.c_str(), iName, iValue.data(), iValue.size(), 0) == 0;
}

// An access list as the system takes it: owner, user 4711, owning group, mask, others.
std::string AccessList(std::initializer_list<int> iRights)
{
    constexpr char cTags[] = {1, 2, 4, 16, 32};
    std::string list("\2\0\0\0", 4);
    const char* tag = cTags;
    for (const int rights : iRights) {
        const unsigned id = *tag == 2 ? 4711 : 0xFFFFFFFF;
        list += {*tag++, 0, static_cast<char>(rights), 0};
        list.append(reinterpret_cast<const char*>(&id), 4);
    }
    return list;
}

TEST(SaveRights, AreTheOldOnesAndNeverWiderOnTheWay)
{
    constexpr char cAccess[] = "system.posix_acl_access";
    const std::string all = AccessList({7, 7, 7, 7, 7});
    // clang-format off
    const struct
    {
        const char* mWhat;
        mode_t mMode;
        std::string mList;       // of the document
        std::string mFolderList; // of what is made in the folder
    } cRows[] = {
        {"the owner's alone",                0600, "",                          "" },
        {"everybody's",                      0666, "",                          "" },
        {"the group may read",               0640, "",                          "" },
        {"a narrow group under a wide mask", 0664, AccessList({6, 6, 0, 6, 0}), "" },
        {"a folder that hands down",         0640, "",                          all},
        {"both",                             0640, AccessList({6, 4, 0, 4, 0}), all},
    };
    // clang-format on
    for (const auto& row : cRows) {
        SCOPED_TRACE(row.mWhat);
        const StFolder folder;
        const std::string path = folder / "take.kora";
        SaveNumber(path, 1);
        ASSERT_EQ(chmod(path.c_str(), row.mMode), 0);
        if (!SetAttribute(path, cAccess, row.mList) ||
            !SetAttribute(folder.Path(), "system.posix_acl_default", row.mFolderList))
            continue; // a file system without lists
        const bool hasAttributes = SetAttribute(path, "user.colour", "blue");
        const bool isGiven = chown(path.c_str(), 4711, 4712) == 0; // by an administrator
        const struct stat before = StatusOf(path);
        FF_SafeSave save(Sys_FileLoc(path), eFF_EncryptionType_None, eTextEncoding_Utf8, false);
        EXPECT_EQ(StatusOf(Beside(folder)).st_mode & 07777, before.st_mode & 0600);
        save.Commit();
        const struct stat after = StatusOf(path);
        EXPECT_NE(after.st_ino, before.st_ino);
        EXPECT_EQ(after.st_mode, before.st_mode);
        EXPECT_EQ(Attribute(path, cAccess), row.mList);
        EXPECT_EQ(Attribute(path, "user.colour"), hasAttributes ? "blue" : "");
        EXPECT_TRUE(!isGiven || (after.st_uid == 4711 && after.st_gid == 4712));
        EXPECT_EQ(save.GetNotKept(), 0u);
    }
    // What is new has what any new file has, from the first moment.
    const StFolder folder;
    const mode_t mask = umask(027);
    FF_SafeSave save(Sys_FileLoc(folder / "new.kora"), eFF_EncryptionType_None, eTextEncoding_Utf8, false);
    EXPECT_EQ(StatusOf(Beside(folder)).st_mode & 07777, 0640u);
    save.Commit();
    EXPECT_EQ(StatusOf(folder / "new.kora").st_mode & 07777, 0640u);
    umask(mask);
}

// A process that gives its rights away stands for a user who has none.
TEST(SaveRights, ThatCannotBeKeptAreToldAndNeverBecomeOthers)
{
    if (geteuid() != 0) GTEST_SKIP() << "needs an administrator, who can give files away";
    const StFolder folder;
    ASSERT_EQ(chmod(folder.Path().c_str(), 0777), 0);
    const std::string path = folder / "take.kora";
    const std::string foreign = folder / "foreign.kora";
    for (const std::string& each : {path, foreign})
        SaveNumber(each, 1);
    ASSERT_EQ(chmod(path.c_str(), 0626), 0); // the group may write alone, others may read as well
    const pid_t child = fork();
    if (child == 0) {
        const gid_t none = 65534;
        const bool isUser = setgroups(0, &none) == 0 && setgid(none) == 0 && setuid(none) == 0;
        const bool isRefused =
            Thrown([&] { SaveNumber(foreign, 2); }).GetOSError() == Sys_FileSystem::eError_WriteProtected;
        FF_SafeSave save(Sys_FileLoc(path), eFF_EncryptionType_None, eTextEncoding_Utf8, false);
        save.Commit();
        constexpr auto cNotKept = Sys_FileSystem::eNotKept_Owner | Sys_FileSystem::eNotKept_Group;
        _exit(isUser && isRefused && save.GetNotKept() == cNotKept ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(StatusOf(path).st_uid, 65534u);
    EXPECT_EQ(StatusOf(path).st_mode & 07777, 0602u) << "the old group's members are others now";
    EXPECT_EQ(ReadNumber(foreign), 1);
    EXPECT_EQ(CountFiles(folder.Path()), 2);
}

TEST(SaveLinks, StayWhatTheyAreAndAreNeverWrittenThrough)
{
    namespace fs = std::filesystem;
    const StFolder folder;
    const std::string path = folder / "take.kora";
    const std::string link = folder / "link.kora";
    // A link that leads nowhere leads to the new document afterwards, or is refused.
    fs::create_symlink("take.kora", link);
    SaveNumber(link, 1);
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_EQ(ReadNumber(path), 1);
    fs::create_symlink("none/take.kora", folder / "lost.kora");
    const Cmn_Exception lost = Thrown([&] { SaveNumber(folder / "lost.kora", 1); });
    EXPECT_EQ(lost.GetOSError(), Sys_FileSystem::eError_NoFolder);
    EXPECT_EQ(lost.GetFile(), folder / "lost.kora");
    // The other names of a file keep what they named.
    const std::string other = folder / "other.kora";
    fs::create_hard_link(path, other);
    SaveNumber(link, 2);
    EXPECT_EQ(ReadNumber(path) * 10 + ReadNumber(other), 21);
    // Somebody guesses the name of the file beside it.
    const std::string victim = folder / "victim";
    std::ofstream(victim) << "precious";
    for (const bool isHard : {false, true}) {
        sPlanted = &victim;
        sPlantsHardLink = isHard;
        SaveNumber(path, 3);
        EXPECT_EQ(sPlanted, nullptr);
        EXPECT_EQ(fs::file_size(victim), 8u);
        EXPECT_EQ(ReadNumber(path), 3);
        EXPECT_FALSE(fs::is_symlink(path));
    }
}

TEST(SaveLocks, AreDoneWithoutWhereThereAreNone)
{
    const StFolder folder;
    const std::string path = folder / "take.kora";
    for (const int error : {ENOLCK, ENOSYS, EOPNOTSUPP}) {
        sFlockError = error;
        SaveNumber(path, error);
        FF_Document document(Sys_FileLoc(path), eFF_EncryptionType_None, eTextEncoding_Utf8, false);
        document.Open(Sys_Store::eOpenFlag_ReadWrite);
        sFlockError = 0;
        EXPECT_EQ(ReadNumber(path), error);
        EXPECT_EQ(CountFiles(folder.Path()), 1);
    }
}

} // namespace
