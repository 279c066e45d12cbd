#include "Bastel/Sys/Sys_FileLoc.h"

#include <filesystem>
#include <utility>

namespace {

// Where "\" parts folders, drive letters do as well.
constexpr bool cHasDrives = std::filesystem::path::preferred_separator != '/';
constexpr const char* cSeparators = cHasDrives ? "/\\:" : "/";
constexpr const char* cFolderSeparators = cHasDrives ? "/\\" : "/";

std::size_t StartOfName(const std::string& iPath)
{
    const std::size_t separator = iPath.find_last_of(cSeparators);
    return separator == std::string::npos ? 0 : separator + 1;
}

} // namespace

Sys_FileLoc::Sys_FileLoc() = default;
Sys_FileLoc::~Sys_FileLoc() = default;
Sys_FileLoc::Sys_FileLoc(const Sys_FileLoc&) = default;
Sys_FileLoc& Sys_FileLoc::operator=(const Sys_FileLoc&) = default;

Sys_FileLoc::Sys_FileLoc(std::string iPath)
    : mPath(std::move(iPath))
{
}

std::string Sys_FileLoc::GetName() const { return mPath.substr(StartOfName(mPath)); }

Sys_FileLoc Sys_FileLoc::GetFolder() const
{
    const std::string folder = mPath.substr(0, StartOfName(mPath));
    if (folder.empty()) return Sys_FileLoc(".");
    // Separators at the end go, but for those that make the root: "/", "C:\" and "C:" stay as they are.
    const std::size_t last = folder.find_last_not_of(cFolderSeparators);
    if (last == std::string::npos || (cHasDrives && folder[last] == ':')) return Sys_FileLoc(folder);
    return Sys_FileLoc(folder.substr(0, last + 1));
}

Sys_FileLoc Sys_FileLoc::WithSuffix(std::string_view iSuffix) const
{
    return Sys_FileLoc(mPath + std::string(iSuffix));
}
