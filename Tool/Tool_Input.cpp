#include "Tool/Tool_Input.h"

#include "Bastel/Sys/Sys_FileSystem.h"
#include "Bastel/Sys/Sys_OSErrorText.h"
#include "Tool/Tool_File.h"
#include "Tool/Tool_InputError.h"
#include "Tool/Tool_Progress.h"
#include "Tool/Tool_StandardInput.h"

#include <fstream>
#include <system_error>

namespace {

namespace fs = std::filesystem;

constexpr char cExpected[] = "expected a MIDI file or a document";

fs::file_type TypeOf(const std::string& iName)
{
    std::error_code error;
    const fs::file_status status = fs::status(Tool_PathOf(iName), error);
    if (!fs::exists(status)) throw Tool_InputError::InFile(iName, Tool_WhyNotOpened(iName));
    if (fs::is_directory(status)) throw Tool_InputError::InFile(iName, std::string("a folder, ") + cExpected);
    return status.type();
}

// Opening a pipe waits for its other end, as everywhere.
std::ifstream OpenFile(const std::string& iName)
{
    std::ifstream stream(Tool_PathOf(iName), std::ios::binary);
    if (!stream) throw Tool_InputError::InFile(iName, Tool_WhyNotOpened(iName));
    return stream;
}

// iSize is 0 where it is not known; it is no promise.
std::string ReadWhole(std::istream& ioStream, const std::string& iName, Cmn_Int64 iSize = 0)
{
    Tool_StWork work("reading", iName, iSize, "bytes");
    std::string bytes = Tool_ReadUpTo(ioStream, Tool_Input::cMaxSize, &work);
    if (ioStream.bad()) throw Tool_InputError::InFile(iName, std::string("cannot be read, ") + cExpected);
    if (bytes.size() > Tool_Input::cMaxSize)
        throw Tool_InputError::InFile(iName, "more than " + std::to_string(Tool_Input::cMaxSize) +
                                                 " bytes, " + cExpected);
    return bytes;
}

} // namespace

// In the system's words, but for the one case that has better ones.
std::string Tool_WhyNotOpened(const std::string& iName)
{
    constexpr Cmn_Int32 cNoFile = 2; // ENOENT, ERROR_FILE_NOT_FOUND
    Sys_FileSystem& system = Sys_FileSystem::Get();
    Sys_FileSystem::Handle handle = Sys_FileSystem::cNoHandle;
    const Cmn_Int32 error = system.Open(iName, Sys_FileSystem::eAccess_Read, handle);
    if (error == 0) system.Close(handle);
    if (error == 0) return "cannot be opened"; // it could be a moment later
    return error == cNoFile ? "no such file" : Sys_OSErrorText(error);
}

Tool_Input::Tool_Input(const std::string& iArgument, std::istream& ioStandardInput)
    : mIsStandardInput(iArgument == cStandardInput)
    , mName(mIsStandardInput ? "standard input" : iArgument)
{
    std::ifstream file;
    if (!mIsStandardInput) {
        const fs::file_type type = TypeOf(mName);
        file = OpenFile(mName);
        if (type == fs::file_type::regular) {
            mStart.resize(cStartSize);
            file.read(mStart.data(), cStartSize);
            if (file.bad()) throw Tool_InputError::InFile(mName, "cannot be read");
            mStart.resize(static_cast<std::size_t>(file.gcount()));
            return;
        }
    }
    mMemory.emplace(mName, ReadWhole(mIsStandardInput ? ioStandardInput : file, mName));
    mStart = mMemory->GetBytes().substr(0, cStartSize);
    if (mStart.empty()) throw Tool_InputError::InFile(mName, std::string("no data, ") + cExpected);
}

std::string Tool_Input::ReadAll() const
{
    if (mMemory) return mMemory->GetBytes();
    std::ifstream file = OpenFile(mName);
    std::error_code unknown;
    const std::uintmax_t size = fs::file_size(Tool_PathOf(mName), unknown);
    return ReadWhole(file, mName, unknown ? 0 : static_cast<Cmn_Int64>(size));
}

bool Tool_Input::IsSameFile(const std::string& iName) const
{
    return mIsStandardInput ? Tool_IsStandardInput(iName) : Tool_IsSameFile(mName, iName);
}
