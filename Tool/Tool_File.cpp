#include "Tool/Tool_File.h"

#include "Bastel/Cmn/Cmn_Exception.h"
#include "Bastel/Sys/Sys_OSErrorText.h"
#include "Bastel/Sys/Sys_SafeFile.h"
#include "Tool/Tool_InputError.h"
#include "Tool/Tool_Progress.h"

#include <algorithm>
#include <fstream>
#include <istream>

namespace {

// A song of a few kilobytes should not clear a megabyte; larger ones grow by halves.
constexpr std::size_t cBlock = std::size_t{1} << 16;

namespace fs = std::filesystem;

} // namespace

fs::path Tool_PathOf(const std::string& iName) { return fs::path(std::u8string(iName.begin(), iName.end())); }

std::string Tool_ReadUpTo(std::istream& ioStream, std::size_t iLimit, Tool_StWork* ioWork)
{
    std::string bytes;
    while (ioStream && bytes.size() <= iLimit) {
        const std::size_t size = bytes.size();
        bytes.resize(size + std::max(cBlock, size / 2));
        ioStream.read(bytes.data() + size, static_cast<std::streamsize>(bytes.size() - size));
        bytes.resize(size + static_cast<std::size_t>(ioStream.gcount()));
        if (ioWork != nullptr) ioWork->At(static_cast<Cmn_Int64>(bytes.size()));
    }
    return bytes;
}
std::string Tool_BaseName(const std::string& iName)
{
    const std::u8string name = Tool_PathOf(iName).filename().u8string();
    return {name.begin(), name.end()};
}

bool Tool_EndsIn(std::string_view iName, std::string_view iEnding)
{
    const auto isSame = [](char a, char b) { return (a >= 'A' && a <= 'Z' ? a - 'A' + 'a' : a) == b; };
    return iName.size() >= iEnding.size() &&
           std::equal(iEnding.begin(), iEnding.end(),
                      iName.end() - static_cast<std::ptrdiff_t>(iEnding.size()),
                      [&](char e, char n) { return isSame(n, e); });
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

namespace {

// Of a plain file, or of none. What failed is told in the system's words.
void WriteBeside(const std::string& iName, const std::function<void(const Tool_TakeBytes&)>& iWrite)
try {
    Sys_SafeFile file{Sys_FileLoc(iName)};
    iWrite([&](const std::string& iBytes) { file.Write(iBytes.data(), iBytes.size()); });
    file.Sync();
    file.Commit();
} catch (const Cmn_Exception& exception) {
    const std::string reason = Sys_OSErrorText(exception.GetOSError());
    const bool isInPlace = exception.GetMessageID() == Cmn_eMessage_InPlaceUnsynced;
    throw Tool_InputError::InFile(iName, isInPlace ? exception.what() + (": " + reason) : reason);
}

} // namespace

void Tool_WriteFile(const std::string& iName, const std::string& iBytes)
{
    Tool_WriteFile(iName, [&](const Tool_TakeBytes& iTake) { iTake(iBytes); });
}

void Tool_WriteFile(const std::string& iName, const std::function<void(const Tool_TakeBytes&)>& iWrite)
{
    if (!Tool_IsOther(iName)) return WriteBeside(iName, iWrite);
    std::ofstream stream(Tool_PathOf(iName), std::ios::binary);
    iWrite([&](const std::string& iBytes) {
        stream.write(iBytes.data(), static_cast<std::streamsize>(iBytes.size()));
    });
    stream.close();
    if (stream.fail()) throw Tool_InputError::InFile(iName, "cannot be written");
}
