#include "Tool/Tool_File.h"

#include "Tool/Tool_InputError.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <istream>

namespace {
constexpr std::size_t cBlock = std::size_t{1} << 20;

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
    const std::filesystem::path path(std::u8string(iName.begin(), iName.end()));
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(path, error);
    if (!std::filesystem::exists(status)) throw Tool_InputError::InFile(iName, "no such file");
    if (std::filesystem::is_directory(status))
        throw Tool_InputError::InFile(iName, "a folder, expected a MIDI file");
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
