#include "Tool/Tool_File.h"

#include "Bastel/Cmn/Cmn_Exception.h"
#include "Bastel/I18N/I18N_Utils.h"
#include "Bastel/Sys/Sys_FileLoc.h"
#include "Bastel/Sys/Sys_FileSystem.h"
#include "Bastel/Sys/Sys_OSErrorText.h"
#include "Tool/Tool_InputError.h"

#include <algorithm>
#include <fstream>
#include <istream>

namespace {
constexpr std::size_t cBlock = std::size_t{1} << 20;

namespace fs = std::filesystem;

constexpr char cPartSuffix[] = ".kora-part";
constexpr char cCannotBeWritten[] = "the file cannot be written";

} // namespace

fs::path Tool_PathOf(const std::string& iName) { return fs::path(std::u8string(iName.begin(), iName.end())); }

std::string Tool_ReadUpTo(std::istream& ioStream, std::size_t iLimit)
{
    std::string bytes;
    while (ioStream && bytes.size() <= iLimit) {
        const std::size_t size = bytes.size();
        bytes.resize(size + std::max(cBlock, size / 2));
        ioStream.read(bytes.data() + size, static_cast<std::streamsize>(bytes.size() - size));
        bytes.resize(size + static_cast<std::size_t>(ioStream.gcount()));
    }
    return bytes;
}
std::string Tool_BaseName(const std::string& iName)
{
    const std::u8string name = Tool_PathOf(iName).filename().u8string();
    return {name.begin(), name.end()};
}

bool Tool_IsOther(const std::string& iName)
{
    std::error_code error;
    const fs::file_status status = fs::status(Tool_PathOf(iName), error);
    return fs::exists(status) && !fs::is_regular_file(status);
}

bool Tool_IsSameFile(const std::string& iA, const std::string& iB)
{
    std::error_code error;
    return fs::equivalent(Tool_PathOf(iA), Tool_PathOf(iB), error) && !error;
}

void Tool_CheckPlainFile(const std::string& iName)
{
    if (Tool_IsOther(iName)) throw Tool_InputError::InFile(iName, "no plain file, expected a name for one");
}

Tool_StPartFile::Tool_StPartFile(const std::string& iName)
    : mName(iName)
    , mTarget(iName)
{
    Tool_CheckPlainFile(iName);
    if (Sys_FileSystem::Get().Resolve(iName, mTarget) != 0) mTarget = iName;
    mPart = mTarget + cPartSuffix;
}

Tool_StPartFile::~Tool_StPartFile()
{
    if (!mIsCommitted) Sys_FileSystem::Get().Remove(mPart);
}

void Tool_StPartFile::Commit()
{
    Sys_FileSystem& system = Sys_FileSystem::Get();
    const Cmn_Int32 error = system.Replace(mPart, mTarget);
    mIsCommitted = error == 0;
    if (!mIsCommitted) throw Tool_InputError::InFile(mName, Sys_OSErrorText(error));
    const Cmn_Int32 unsynced = system.SyncFolder(Sys_FileLoc(mTarget).GetFolder().GetPath());
    if (unsynced != 0)
        throw Tool_InputError::InFile(mName, I18N_Utils::GetString(Cmn_eMessage_InPlaceUnsynced) + ": " +
                                                 Sys_OSErrorText(unsynced));
}

void Tool_WriteFile(const std::string& iName, const std::string& iBytes)
{
    const auto write = [&](const std::string& iTo) {
        std::ofstream stream(Tool_PathOf(iTo), std::ios::binary);
        stream.write(iBytes.data(), static_cast<std::streamsize>(iBytes.size()));
        stream.close();
        if (stream.fail()) throw Tool_InputError::InFile(iName, cCannotBeWritten);
    };
    if (Tool_IsOther(iName)) return write(iName);
    Tool_StPartFile part(iName);
    write(part.GetName());
    part.Commit();
}
