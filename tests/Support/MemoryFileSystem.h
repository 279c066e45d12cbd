// MemoryFileSystem: files in memory that fail, fill up and crash on demand.
//
// What was written and what was synced are kept apart. A crash leaves of each file, sector by sector,
// what it held at some moment since its last sync, its length likewise, and of the names what they were
// at some moment since the last
// SyncFolder: whatever order a system writes its cache back in, the result is among these.
//
// As strict as the strictest system: files that are open are neither replaced nor removed, but for
// those that OpenBeside made.
#pragma once

#include "Bastel/Sys/Sys_FileSystem.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

class MemoryFileSystem : public Sys_FileSystem
{
public:
    using Bytes = std::vector<std::uint8_t>;
    using Files = std::map<std::string, Bytes>;
    enum EKind {
        eOpen,
        eClose,
        eRead,
        eWrite,
        eGetLength,
        eSetLength,
        eSync,
        eOpenBeside,
        eTakePlace,
        eSyncFolder,
        eRemove,
        eResolve
    };
    struct Request
    {
        EKind mKind;
        std::string mPath;
        Cmn_Int64 mPosition; // or the new length
        std::size_t mCount;
    };
    static constexpr std::size_t cSector = 512;

    // --- What tests look at and prepare; files set this way are on the disk at once
    bool Exists(const std::string& iPath) const { return mNames.contains(Target(iPath)); }
    Bytes GetBytes(const std::string& iPath) const
    {
        return Exists(iPath) ? mNames.at(Target(iPath))->mNow : Bytes();
    }
    void SetBytes(const std::string& iPath, Bytes iBytes)
    {
        mNames[iPath] = std::make_shared<File>(std::move(iBytes));
        mSafeNames[iPath] = mNames[iPath];
    }
    void Link(const std::string& iPath, const std::string& iTarget) { mLinks[iPath] = iTarget; }
    Files GetFiles() const
    {
        Files files;
        for (const auto& [path, file] : mNames)
            files[path] = file->mNow;
        return files;
    }
    void SetFiles(const Files& iFiles)
    {
        mNames.clear();
        mSafeNames.clear();
        mNameChanges.clear();
        mHandles.clear();
        for (const auto& [path, bytes] : iFiles)
            SetBytes(path, bytes);
    }
    std::size_t GetNumOpen() const { return mHandles.size(); }

    // --- Faults: the iN-th request from now, 1 for the next, fails with the code; or all from then on
    void FailAt(int iN, Cmn_Int32 iCode = EIO, bool iFromThenOn = false)
    {
        mFailAt = static_cast<std::int64_t>(mCount) + iN;
        mFailCode = iCode;
        mFailOn = iFromThenOn;
    }
    // The iN-th write from now takes half of its bytes and fails.
    void ShortWriteAt(int iN, Cmn_Int32 iCode = ENOSPC)
    {
        mShortAt = iN;
        mShortCode = iCode;
    }
    // Most bytes that all files take together.
    void SetCapacity(std::uint64_t iBytes) { mCapacity = iBytes; }
    void Heal()
    {
        mFailAt = mShortAt = 0;
        mCapacity = UINT64_MAX;
    }

    std::size_t GetNumRequests() const { return mCount; }
    const std::vector<Request>& GetLog() const { return mLog; }
    std::size_t GetNumRequests(EKind iKind) const
    {
        return static_cast<std::size_t>(
            std::count_if(mLog.begin(), mLog.end(), [&](const Request& r) { return r.mKind == iKind; }));
    }
    void ClearLog() { mLog.clear(); }

    // --- What the disk holds when the machine stops now
    // Seed 0: what was synced alone; seed 1: everything.
    Files AfterCrash(std::uint64_t iSeed) const
    {
        std::mt19937_64 random(iSeed);
        const auto pick = [&](std::size_t iMoments) {
            return iSeed == 0   ? 0
                   : iSeed == 1 ? iMoments
                                : static_cast<std::size_t>(random() % (iMoments + 1));
        };
        auto names = mSafeNames;
        const std::size_t changes = pick(mNameChanges.size());
        for (std::size_t i = 0; i < changes; ++i)
            mNameChanges[i].mApply(names);
        Files files;
        for (const auto& [path, file] : names)
            files[path] = Torn(*file, pick, random);
        return files;
    }

    // --- Sys_FileSystem
    Cmn_Int32 Open(const std::string& iPath, EAccess iAccess, Handle& oHandle) override
    {
        oHandle = cNoHandle;
        const Call call(*this, {eOpen, iPath, 0, 0});
        if (call.mError != 0) return call.mError;
        const std::string path = Target(iPath);
        auto found = mNames.find(path);
        if (found == mNames.end()) {
            if (iAccess != eAccess_New) return ENOENT;
            const auto file = std::make_shared<File>(Bytes());
            found = mNames.emplace(path, file).first;
            mNameChanges.push_back({Folder(path), file.get(), [path, file](Names& io) { io[path] = file; }});
        }
        File& file = *found->second;
        const bool alone = iAccess != eAccess_Read && iAccess != eAccess_WriteShared;
        if (alone && file.mIsLocked) return eError_InUse;
        if (alone) file.mIsLocked = true;
        if (iAccess == eAccess_New) file.Change(0, nullptr, 0, 0);
        ++file.mOpened;
        mHandles[oHandle = ++mLastHandle] = {found->second, path, iAccess};
        return 0;
    }
    Cmn_Int32 Close(Handle iHandle) override
    {
        const Call call(*this, {eClose, PathOf(iHandle), 0, 0});
        const auto found = mHandles.find(iHandle);
        if (found == mHandles.end()) return EBADF;
        File& file = *found->second.mFile;
        if (found->second.mAccess != eAccess_Read && found->second.mAccess != eAccess_WriteShared)
            file.mIsLocked = false;
        --file.mOpened;
        mHandles.erase(found); // a handle whose closing fails is closed all the same
        return call.mError;
    }
    Cmn_Int32 ReadAt(Handle iHandle, Cmn_Int64 iPosition, void* oBytes, std::size_t iCount,
                     std::size_t& oCount) override
    {
        oCount = 0;
        const Call call(*this, {eRead, PathOf(iHandle), iPosition, iCount}, iHandle);
        if (call.mError != 0) return call.mError;
        const Bytes& now = call.mOpen->mFile->mNow;
        if (iPosition < 0) return EINVAL;
        if (static_cast<std::size_t>(iPosition) >= now.size()) return 0;
        oCount = std::min(iCount, now.size() - static_cast<std::size_t>(iPosition));
        if (oCount > 0) std::memcpy(oBytes, now.data() + iPosition, oCount);
        return 0;
    }
    Cmn_Int32 WriteAt(Handle iHandle, Cmn_Int64 iPosition, const void* iBytes, std::size_t iCount,
                      std::size_t& oCount) override
    {
        oCount = 0;
        const Call call(*this, {eWrite, PathOf(iHandle), iPosition, iCount}, iHandle);
        if (call.mError != 0) return call.mError;
        if (iPosition < 0 || call.mOpen->mAccess == eAccess_Read) return EBADF;
        Cmn_Int32 error = 0;
        std::size_t count = iCount;
        if (mShortAt > 0 && --mShortAt == 0) {
            count /= 2;
            error = mShortCode;
        }
        File& file = *call.mOpen->mFile;
        const std::uint64_t room = Room(file);
        if (static_cast<std::uint64_t>(iPosition) + count > room) {
            count = static_cast<std::uint64_t>(iPosition) >= room
                        ? 0
                        : static_cast<std::size_t>(room - static_cast<std::uint64_t>(iPosition));
            error = ENOSPC;
        }
        const std::size_t end = static_cast<std::size_t>(iPosition) + count;
        if (count > 0)
            file.Change(std::max(file.mNow.size(), end), static_cast<const std::uint8_t*>(iBytes), count,
                        static_cast<std::size_t>(iPosition));
        oCount = count;
        return error;
    }
    Cmn_Int32 GetLength(Handle iHandle, Cmn_Int64& oLength) override
    {
        oLength = 0;
        const Call call(*this, {eGetLength, PathOf(iHandle), 0, 0}, iHandle);
        if (call.mError == 0) oLength = static_cast<Cmn_Int64>(call.mOpen->mFile->mNow.size());
        return call.mError;
    }
    Cmn_Int32 SetLength(Handle iHandle, Cmn_Int64 iLength) override
    {
        const Call call(*this, {eSetLength, PathOf(iHandle), iLength, 0}, iHandle);
        if (call.mError != 0) return call.mError;
        if (iLength < 0 || call.mOpen->mAccess == eAccess_Read) return EINVAL;
        File& file = *call.mOpen->mFile;
        if (static_cast<std::uint64_t>(iLength) > std::max<std::uint64_t>(Room(file), file.mNow.size()))
            return ENOSPC;
        file.Change(static_cast<std::size_t>(iLength), nullptr, 0, 0);
        return 0;
    }
    Cmn_Int32 Sync(Handle iHandle) override
    {
        const Call call(*this, {eSync, PathOf(iHandle), 0, 0}, iHandle);
        if (call.mError != 0) return call.mError;
        File& file = *call.mOpen->mFile;
        file.mSafe = file.mNow;
        file.mEdits.clear();
        // A file that was made comes to the disk with its name, and with what befell names before; what a
        // Replace did waits for the folder.
        const auto made = std::find_if(mNameChanges.begin(), mNameChanges.end(),
                                       [&](const NameChange& c) { return c.mMade == &file; });
        if (made == mNameChanges.end()) return 0;
        std::for_each(mNameChanges.begin(), made + 1, [&](const NameChange& c) { c.mApply(mSafeNames); });
        mNameChanges.erase(mNameChanges.begin(), made + 1);
        return 0;
    }
    Cmn_Int32 OpenBeside(const std::string& iTarget, std::string& oPath, Handle& oHandle) override
    {
        oHandle = cNoHandle;
        const Call call(*this, {eOpenBeside, iTarget, 0, 0});
        if (call.mError != 0) return call.mError;
        const auto target = mNames.find(iTarget);
        if (target != mNames.end() && target->second->mIsLocked) return eError_InUse;
        std::vector<std::string> dead;
        for (const auto& [path, other] : mNames)
            if (path.starts_with(Folder(iTarget) + "/" + PrefixBeside(iTarget)) && !other->mIsLocked)
                dead.push_back(path);
        for (const std::string& path : dead)
            ChangeNames({Folder(path), nullptr, [=](Names& io) { io.erase(path); }});
        oPath = Folder(iTarget) + "/" + NameBeside(iTarget);
        const auto file = std::make_shared<File>(Bytes());
        file->mIsLocked = true;
        ++file->mOpened;
        ChangeNames({Folder(oPath), file.get(), [path = oPath, file](Names& io) { io[path] = file; }});
        mHandles[oHandle = ++mLastHandle] = {file, oPath, eAccess_Move};
        return 0;
    }
    Cmn_Int32 TakePlace(Handle iHandle, const std::string& iFrom, const std::string& iTo,
                        Cmn_UInt32& oNotKept) override
    {
        oNotKept = 0;
        const Call call(*this, {eTakePlace, iTo, 0, 0});
        if (call.mError != 0) return call.mError;
        const auto from = mNames.find(iFrom);
        const auto open = mHandles.find(iHandle);
        if (from == mNames.end() || open == mHandles.end() || open->second.mFile != from->second)
            return ENOENT;
        const auto to = mNames.find(iTo);
        if (to != mNames.end() && to->second->mOpened > 0) return eError_InUse;
        const auto file = from->second;
        mLinks.erase(iTo);
        ChangeNames({Folder(iTo), nullptr, [=](Names& io) {
                         io.erase(iFrom);
                         io[iTo] = file;
                     }});
        return 0;
    }
    Cmn_Int32 SyncFolder(const std::string& iFolder) override
    {
        const Call call(*this, {eSyncFolder, iFolder, 0, 0});
        if (call.mError != 0) return call.mError;
        for (const NameChange& change : mNameChanges)
            if (change.mFolder == iFolder) change.mApply(mSafeNames);
        std::erase_if(mNameChanges, [&](const NameChange& c) { return c.mFolder == iFolder; });
        return 0;
    }
    Cmn_Int32 Remove(const std::string& iPath) override
    {
        const Call call(*this, {eRemove, iPath, 0, 0});
        if (call.mError != 0) return call.mError;
        if (mLinks.erase(iPath) > 0) return 0;
        const auto found = mNames.find(iPath);
        if (found == mNames.end()) return ENOENT;
        if (found->second->mOpened > 0 && !IsOpenToMove(*found->second)) return EACCES;
        ChangeNames({Folder(iPath), nullptr, [=](Names& io) { io.erase(iPath); }});
        return 0;
    }
    Cmn_Int32 Resolve(const std::string& iPath, std::string& oPath) override
    {
        const Call call(*this, {eResolve, iPath, 0, 0});
        if (call.mError != 0) return call.mError;
        oPath = Target(iPath);
        return 0;
    }

private:
    struct Edit
    {
        std::size_t mLength;
        std::size_t mPosition;
        Bytes mBytes;
    };
    struct File
    {
        explicit File(Bytes iBytes)
            : mNow(std::move(iBytes))
            , mSafe(mNow)
        {
        }
        static void Apply(Bytes& ioBytes, const Edit& iEdit)
        {
            ioBytes.resize(iEdit.mLength);
            std::copy(iEdit.mBytes.begin(), iEdit.mBytes.end(),
                      ioBytes.begin() + static_cast<std::ptrdiff_t>(iEdit.mPosition));
        }
        void Change(std::size_t iLength, const std::uint8_t* iBytes, std::size_t iCount,
                    std::size_t iPosition)
        {
            mEdits.push_back({iLength, iPosition, iCount > 0 ? Bytes(iBytes, iBytes + iCount) : Bytes()});
            Apply(mNow, mEdits.back());
        }

        Bytes mNow;
        Bytes mSafe;              // as of the last sync
        std::vector<Edit> mEdits; // since then
        int mOpened = 0;
        bool mIsLocked = false;
    };
    using Names = std::map<std::string, std::shared_ptr<File>>;
    struct NameChange
    {
        std::string mFolder;
        const File* mMade; // by this change
        std::function<void(Names&)> mApply;
    };
    struct OpenFile
    {
        std::shared_ptr<File> mFile;
        std::string mPath;
        EAccess mAccess;
    };
    // One request: counted, logged, and failed when its turn has come.
    struct Call
    {
        Call(MemoryFileSystem& ioSystem, Request iRequest, Handle iHandle = cNoHandle)
        {
            const std::int64_t number = static_cast<std::int64_t>(++ioSystem.mCount);
            const bool needsFile = iRequest.mKind >= eRead && iRequest.mKind <= eSync;
            ioSystem.mLog.push_back(std::move(iRequest));
            if (ioSystem.mFailAt > 0 &&
                (ioSystem.mFailOn ? number >= ioSystem.mFailAt : number == ioSystem.mFailAt))
                mError = ioSystem.mFailCode;
            else if (needsFile) {
                const auto found = ioSystem.mHandles.find(iHandle);
                if (found == ioSystem.mHandles.end())
                    mError = EBADF;
                else
                    mOpen = &found->second;
            }
        }
        Cmn_Int32 mError = 0;
        OpenFile* mOpen = nullptr;
    };

    static std::string Folder(const std::string& iPath)
    {
        const std::size_t slash = iPath.rfind('/');
        return slash == std::string::npos ? "." : slash == 0 ? "/" : iPath.substr(0, slash);
    }
    std::string Target(std::string ioPath) const
    {
        for (auto link = mLinks.find(ioPath); link != mLinks.end(); link = mLinks.find(ioPath))
            ioPath = link->second;
        return ioPath;
    }
    std::string PathOf(Handle iHandle)
    {
        const auto found = mHandles.find(iHandle);
        return found == mHandles.end() ? "" : found->second.mPath;
    }
    bool IsOpenToMove(const File& iFile) const
    {
        return std::any_of(mHandles.begin(), mHandles.end(), [&](const auto& h) {
            return h.second.mFile.get() == &iFile && h.second.mAccess == eAccess_Move;
        });
    }
    // Up to where the file may reach.
    std::uint64_t Room(const File& iFile) const
    {
        std::uint64_t others = 0;
        for (const auto& [path, file] : mNames)
            if (file.get() != &iFile) others += file->mNow.size();
        return mCapacity > others ? mCapacity - others : 0;
    }
    void ChangeNames(NameChange iChange)
    {
        iChange.mApply(mNames);
        mNameChanges.push_back(std::move(iChange));
    }
    template <class Pick>
    static Bytes Torn(const File& iFile, const Pick& iPick, std::mt19937_64& ioRandom)
    {
        std::vector<Bytes> moments = {iFile.mSafe};
        for (const Edit& edit : iFile.mEdits) {
            moments.push_back(moments.back());
            File::Apply(moments.back(), edit);
        }
        const std::size_t last = moments.size() - 1;
        Bytes result(moments[iPick(last)].size()); // what the length grew by without being written is zero
        std::size_t moment = iPick(last);
        for (std::size_t at = 0; at < result.size(); at += cSector) {
            if (ioRandom() % 2 == 0) moment = iPick(last); // neighbours often go together
            const Bytes& from = moments[moment];
            for (std::size_t i = at; i < std::min({at + cSector, result.size(), from.size()}); ++i)
                result[i] = from[i];
        }
        return result;
    }

    Names mNames;
    Names mSafeNames;
    std::vector<NameChange> mNameChanges; // since the folders were synced, in order
    std::map<std::string, std::string> mLinks;
    std::map<Handle, OpenFile> mHandles;
    Handle mLastHandle = 0;
    std::size_t mCount = 0;
    std::vector<Request> mLog;
    std::int64_t mFailAt = 0;
    Cmn_Int32 mFailCode = 0;
    bool mFailOn = false;
    int mShortAt = 0;
    Cmn_Int32 mShortCode = 0;
    std::uint64_t mCapacity = UINT64_MAX;
};
