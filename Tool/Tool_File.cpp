#include "Tool/Tool_File.h"

#include "Bastel/Cmn/Cmn_Exception.h"
#include "Bastel/I18N/I18N_Utils.h"
#include "Bastel/Sys/Sys_FileLoc.h"
#include "Bastel/Sys/Sys_FileSystem.h"
#include "Bastel/Sys/Sys_OSErrorText.h"
#include "Tool/Tool_InputError.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <istream>

namespace {
constexpr std::size_t cBlock = std::size_t{1} << 20;

namespace fs = std::filesystem;

constexpr char cPartSuffix[] = ".kora-part";
constexpr char cCannotBeWritten[] = "the file cannot be written";

// A path of a std::string would be read in the system's own code page on Windows.
fs::path PathOf(const std::string& iName) { return fs::path(std::u8string(iName.begin(), iName.end())); }

// Whether a folder, a device or the like has the name.
bool IsOther(const std::string& iName)
{
    std::error_code error;
    const fs::file_status status = fs::status(PathOf(iName), error);
    return fs::exists(status) && !fs::is_regular_file(status);
}

// In the system's words, but for the one case that has better ones.
std::string WhyNotOpened(const std::string& iName)
{
    constexpr Cmn_Int32 cNoFile = 2; // ENOENT, ERROR_FILE_NOT_FOUND
    Sys_FileSystem& system = Sys_FileSystem::Get();
    Sys_FileSystem::Handle handle = Sys_FileSystem::cNoHandle;
    const Cmn_Int32 error = system.Open(iName, Sys_FileSystem::eAccess_Read, handle);
    if (error == 0) system.Close(handle);
    if (error == 0) return "the file cannot be opened"; // it could be a moment later
    return error == cNoFile ? "no such file" : Sys_OSErrorText(error);
}

std::ifstream OpenFile(const std::string& iName)
{
    const fs::path path = PathOf(iName);
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (!fs::exists(status)) throw Tool_InputError::InFile(iName, WhyNotOpened(iName));
    if (fs::is_directory(status))
        throw Tool_InputError::InFile(iName, "a folder, expected a MIDI file or a document");
    std::ifstream stream(path, std::ios::binary);
    if (!stream) throw Tool_InputError::InFile(iName, WhyNotOpened(iName));
    return stream;
}

// Reads to the end, or until more than iLimit bytes are there.
std::string ReadUpTo(std::istream& iStream, std::size_t iLimit)
{
    std::string bytes;
    while (iStream && bytes.size() <= iLimit) {
        const std::size_t size = bytes.size();
        bytes.resize(size + std::max(cBlock, size / 2));
        iStream.read(bytes.data() + size, static_cast<std::streamsize>(bytes.size() - size));
        bytes.resize(size + static_cast<std::size_t>(iStream.gcount()));
    }
    return bytes;
}
} // namespace

std::string Tool_ReadFile(const std::string& iName)
{
    std::ifstream stream = OpenFile(iName);
    std::string bytes = ReadUpTo(stream, Tool_cMaxFileSize);
    if (bytes.size() > Tool_cMaxFileSize)
        throw Tool_InputError::InFile(iName, "more than " + std::to_string(Tool_cMaxFileSize) +
                                                 " bytes, expected a MIDI file");
    if (!stream.eof()) throw Tool_InputError::InFile(iName, "the file cannot be read");
    return bytes;
}

std::string Tool_ReadStart(const std::string& iName, std::size_t iCount)
{
    std::ifstream stream = OpenFile(iName);
    std::string bytes(iCount, '\0');
    stream.read(bytes.data(), static_cast<std::streamsize>(iCount));
    if (stream.bad()) throw Tool_InputError::InFile(iName, "the file cannot be read");
    bytes.resize(static_cast<std::size_t>(stream.gcount()));
    return bytes;
}

std::string Tool_ReadAll(std::istream& iStream) { return ReadUpTo(iStream, std::string::npos - 1); }

std::string Tool_BaseName(const std::string& iName)
{
    const std::u8string name = PathOf(iName).filename().u8string();
    return {name.begin(), name.end()};
}

bool Tool_IsSameFile(const std::string& iA, const std::string& iB)
{
    std::error_code error;
    return fs::equivalent(PathOf(iA), PathOf(iB), error) && !error;
}

void Tool_CheckPlainFile(const std::string& iName)
{
    if (IsOther(iName)) throw Tool_InputError::InFile(iName, "no plain file, expected a name for one");
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
        std::ofstream stream(PathOf(iTo), std::ios::binary);
        stream.write(iBytes.data(), static_cast<std::streamsize>(iBytes.size()));
        stream.close();
        if (stream.fail()) throw Tool_InputError::InFile(iName, cCannotBeWritten);
    };
    if (IsOther(iName)) return write(iName);
    Tool_StPartFile part(iName);
    write(part.GetName());
    part.Commit();
}
