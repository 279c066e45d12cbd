#include "Tool/Tool_File.h"

#include "Tool/Tool_InputError.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <istream>

namespace {
constexpr std::size_t cBlock = std::size_t{1} << 20;

namespace fs = std::filesystem;

constexpr char cPartSuffix[] = ".kora-part";

// A path of a std::string would be read in the system's own code page on Windows.
fs::path PathOf(const std::string& iName) { return fs::path(std::u8string(iName.begin(), iName.end())); }

bool WriteAll(const fs::path& iPath, const std::string& iBytes)
{
    std::ofstream stream(iPath, std::ios::binary);
    stream.write(iBytes.data(), static_cast<std::streamsize>(iBytes.size()));
    stream.close();
    return !stream.fail();
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
    const fs::path path = PathOf(iName);
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (!fs::exists(status)) throw Tool_InputError::InFile(iName, "no such file");
    if (fs::is_directory(status)) throw Tool_InputError::InFile(iName, "a folder, expected a MIDI file");
    std::ifstream stream(path, std::ios::binary);
    if (!stream) throw Tool_InputError::InFile(iName, "the file cannot be opened");
    std::string bytes = ReadUpTo(stream, Tool_cMaxFileSize);
    if (bytes.size() > Tool_cMaxFileSize)
        throw Tool_InputError::InFile(iName, "more than " + std::to_string(Tool_cMaxFileSize) +
                                                 " bytes, expected a MIDI file");
    if (!stream.eof()) throw Tool_InputError::InFile(iName, "the file cannot be read");
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

void Tool_WriteFile(const std::string& iName, const std::string& iBytes)
{
    std::error_code error;
    fs::path path = PathOf(iName);
    bool isWritten = false;
    if (const fs::file_status status = fs::status(path, error);
        fs::exists(status) && !fs::is_regular_file(status))
    {
        isWritten = !fs::is_directory(status) && WriteAll(path, iBytes);
    } else {
        // A symbolic link stays, and the file that it names is replaced.
        if (fs::exists(status)) path = fs::canonical(path, error);
        fs::path part = path;
        part += cPartSuffix;
        isWritten = WriteAll(part, iBytes);
        if (isWritten) fs::rename(part, path, error);
        isWritten = isWritten && !error;
        if (!isWritten) fs::remove(part, error);
    }
    if (!isWritten) throw Tool_InputError::InFile(iName, "the file cannot be written");
}
