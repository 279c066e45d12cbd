#include "Bastel/Sys/Posix/Sys_Replacement_p.h"
#include "Bastel/Sys/Sys_FileSystem.h"

#include <array>
#include <cstring>
#include <optional>
#include <sys/xattr.h>
#include <vector>

namespace {

using Bytes = std::vector<char>;

constexpr char cAccessList[] = "system.posix_acl_access";
// Signatures of the old bytes would be wrong for the new ones.
constexpr const char* cOfTheBytes[] = {"security.ima", "security.evm"};
constexpr mode_t cAllBits = 07777;
constexpr mode_t cBitsOfAClass = 07;
constexpr int cGroupShift = 3;

// What the system hands over and takes: a version of four bytes, then entries.
struct AccessEntry
{
    enum ETag : Cmn_UInt16 { eOwner = 1, eUser = 2, eOwningGroup = 4, eGroup = 8, eMask = 16, eOther = 32 };
    Cmn_UInt16 mTag;
    Cmn_UInt16 mRights;
    Cmn_UInt32 mID;
};
static_assert(sizeof(AccessEntry) == 8);
constexpr std::size_t cAccessHeader = 4;

template <class Call>
void ForEachEntry(Bytes& ioList, const Call& iCall)
{
    for (std::size_t at = cAccessHeader; at + sizeof(AccessEntry) <= ioList.size(); at += sizeof(AccessEntry))
    {
        AccessEntry entry;
        std::memcpy(&entry, ioList.data() + at, sizeof entry);
        iCall(entry);
        std::memcpy(ioList.data() + at, &entry, sizeof entry);
    }
}

// Nothing where there is none, or it cannot be read; oError tells which.
std::optional<Bytes> GetAttribute(int iFile, const char* iName, Cmn_Int32& oError)
{
    oError = 0;
    const ssize_t size = fgetxattr(iFile, iName, nullptr, 0);
    Bytes value(size > 0 ? static_cast<std::size_t>(size) : 0);
    const ssize_t got = size > 0 ? fgetxattr(iFile, iName, value.data(), value.size()) : size;
    if (got == static_cast<ssize_t>(value.size())) return value;
    oError = got >= 0 ? EAGAIN : errno == ENODATA || errno == EOPNOTSUPP ? 0 : errno;
    return std::nullopt;
}

std::vector<std::string> AttributesOf(int iFile)
{
    const ssize_t size = flistxattr(iFile, nullptr, 0);
    if (size <= 0) return {};
    Bytes list(static_cast<std::size_t>(size));
    const ssize_t got = flistxattr(iFile, list.data(), list.size());
    std::vector<std::string> names;
    for (ssize_t at = 0; at < got; at += static_cast<ssize_t>(names.back().size()) + 1)
        names.emplace_back(list.data() + at);
    return names;
}

bool IsTakenOver(const std::string& iName)
{
    for (const char* const name : cOfTheBytes)
        if (iName == name) return false;
    return iName != cAccessList;
}

void TakeOverAttributes(int iNew, int iOld, Cmn_UInt32& ioNotKept)
{
    for (const std::string& name : AttributesOf(iOld)) {
        if (!IsTakenOver(name)) continue;
        Cmn_Int32 error = 0;
        Cmn_Int32 ignored = 0;
        const std::optional<Bytes> value = GetAttribute(iOld, name.c_str(), error);
        if (!value && error == 0) continue;
        if (value && GetAttribute(iNew, name.c_str(), ignored) == value) continue;
        if (!value || fsetxattr(iNew, name.c_str(), value->data(), value->size(), 0) != 0)
            ioNotKept |= Sys_FileSystem::eNotKept_Attributes;
    }
}

void TakeOverOwner(int iNew, const struct stat& iOld, const struct stat& iNow, Cmn_UInt32& ioNotKept)
{
    if (iNow.st_uid == iOld.st_uid && iNow.st_gid == iOld.st_gid) return;
    if (fchown(iNew, iOld.st_uid, iOld.st_gid) == 0) return;
    // Only an administrator can give a file away; the group stays the old one where that is allowed.
    if (iNow.st_uid != iOld.st_uid) ioNotKept |= Sys_FileSystem::eNotKept_Owner;
    if (iNow.st_gid != iOld.st_gid && fchown(iNew, static_cast<uid_t>(-1), iOld.st_gid) != 0)
        ioNotKept |= Sys_FileSystem::eNotKept_Group;
}

// What a mode says of all who are not the owner, where an access list says more.
struct Rights
{
    mode_t mGroup;  // of the owning group itself; a mode's middle bits are the list's mask
    mode_t mCommon; // what every user and group that the list names may do
};

Rights RightsOf(const struct stat& iOld, std::optional<Bytes>& ioList)
{
    Rights rights = {(iOld.st_mode >> cGroupShift) & cBitsOfAClass, cBitsOfAClass};
    if (!ioList) return rights;
    const mode_t mask = rights.mGroup;
    ForEachEntry(*ioList, [&](const AccessEntry& e) {
        if (e.mTag == AccessEntry::eOwningGroup) rights.mGroup = e.mRights & mask;
        if (e.mTag == AccessEntry::eUser || e.mTag == AccessEntry::eGroup) rights.mCommon &= e.mRights & mask;
    });
    return rights;
}

} // namespace

// The file is its owner's alone until the last step, which opens it as wide as the old one is.
Cmn_Int32 Sys_TakeOver(int iNew, int iOld, Cmn_UInt32& oNotKept)
{
    oNotKept = 0;
    struct stat old;
    struct stat now;
    if (fstat(iOld, &old) != 0 || fstat(iNew, &now) != 0) return errno;
    const mode_t narrow = old.st_mode & (S_IRUSR | S_IWUSR);
    if ((now.st_mode & cAllBits) != narrow && fchmod(iNew, narrow) != 0)
        oNotKept |= Sys_FileSystem::eNotKept_Permissions;
    fremovexattr(iNew, cAccessList); // what the folder handed down
    TakeOverOwner(iNew, old, now, oNotKept);
    TakeOverAttributes(iNew, iOld, oNotKept);

    mode_t mode = old.st_mode & cAllBits;
    Cmn_Int32 error = 0;
    std::optional<Bytes> list = GetAttribute(iOld, cAccessList, error);
    const Rights rights = RightsOf(old, list);
    if ((oNotKept & Sys_FileSystem::eNotKept_Owner) != 0) mode &= ~mode_t{S_ISUID};
    const bool isGroupKept = (oNotKept & Sys_FileSystem::eNotKept_Group) == 0;
    if (!isGroupKept) {
        // Its rights would be another group's, and its members are others now.
        mode &= ~mode_t{S_ISGID} & (~cBitsOfAClass | rights.mGroup);
        if (!list) mode &= ~mode_t{S_IRWXG};
    }
    if (list) {
        ForEachEntry(*list, [&](AccessEntry& io) {
            if (isGroupKept) return;
            if (io.mTag == AccessEntry::eOwningGroup) io.mRights = 0;
            if (io.mTag == AccessEntry::eOther) io.mRights &= static_cast<Cmn_UInt16>(rights.mGroup);
        });
        if (fsetxattr(iNew, cAccessList, list->data(), list->size(), 0) != 0) error = errno;
    }
    if (error != 0) {
        // Whom the list named are members of the group, or others, now.
        oNotKept |= Sys_FileSystem::eNotKept_Permissions;
        const mode_t group = isGroupKept ? rights.mGroup & rights.mCommon : 0;
        mode = (mode & ~mode_t{S_IRWXG}) | (group << cGroupShift);
        mode &= ~cBitsOfAClass | rights.mCommon;
        if (!list) mode &= ~mode_t{S_IRWXG | S_IRWXO}; // a list that nobody can read
    }
    if (mode != narrow && fchmod(iNew, mode) != 0) oNotKept |= Sys_FileSystem::eNotKept_Permissions;
    return 0;
}
