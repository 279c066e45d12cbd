#include "Bastel/Cmn/Cmn_Assert.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <set>
#include <string>
#include <string_view>

namespace {

// Each place is reported once: a broken precondition in a loop must not drown the host's log.
void WriteOnceToStderr(const char* iText, int iLine)
{
    // Never destroyed: statics that are destroyed after these may report still.
    static auto& sMutex = *new std::mutex;
    static auto& sSeen = *new std::set<std::string>;

    const std::string_view text = iText;
    const std::size_t split = text.rfind(Cmn_Assert::cSeparator);
    const std::string_view expression = text.substr(0, split);
    const std::string_view source =
        split == text.npos ? "" : text.substr(split + std::string_view(Cmn_Assert::cSeparator).size());
    const std::string line = "assertion failed: " + std::string(expression) + " (" + std::string(source) +
                             ":" + std::to_string(iLine) + ")\n";

    const std::lock_guard lock(sMutex);
    if (sSeen.insert(line).second) std::fputs(line.c_str(), stderr);
}

std::atomic<Cmn_Assert::Handler> sHandler{&WriteOnceToStderr};

constexpr std::string_view cSlashes = "/\\"; // the second as some compilers write paths

bool IsTopFolder(std::string_view iFolder)
{
    return iFolder == "Kora" || iFolder == "Bastel" || iFolder == "OstrelPlatformSupport";
}

// "/any/where/Kora/DAW/DAW_MenuEntry.h" → "DAW/DAW_MenuEntry": what follows the innermost of the
// library's top folders, since the tree may itself lie in a folder of such a name; or else the
// last folder and the name.
std::string_view SourceTail(std::string_view iFile)
{
    const std::size_t name = iFile.find_last_of(cSlashes) + 1; // 0 where there is no folder
    const std::size_t dot = iFile.rfind('.');
    if (dot != iFile.npos && dot >= name) iFile = iFile.substr(0, dot);

    std::size_t tail = name;
    for (std::size_t end = name; end > 1;) {
        const std::size_t start = iFile.find_last_of(cSlashes, end - 2) + 1;
        if (IsTopFolder(iFile.substr(start, end - 1 - start))) return iFile.substr(end);
        if (end == name) tail = start;
        end = start;
    }
    return iFile.substr(tail);
}

// The rooms of these subsystems do not show: "Time/Values/" → "Time/". Hosts know their reports
// by "Time/Time_MeterMap".
std::string_view WithoutRooms(std::string_view iFolder)
{
    const std::string_view subsystem = iFolder.substr(0, iFolder.find_first_of(cSlashes));
    return subsystem == "Time" || subsystem == "FF" ? iFolder.substr(0, subsystem.size() + 1) : iFolder;
}

} // namespace

Cmn_Assert::Handler Cmn_Assert::SetHandler(Handler iHandler) noexcept
{
    return sHandler.exchange(iHandler != nullptr ? iHandler : &WriteOnceToStderr);
}

void Cmn_Assert::HandleMagicAssert(const char* iText, int iLine) { sHandler.load()(iText, iLine); }

bool Cmn_Assert::Report(const char* iText, int iLine)
{
    HandleMagicAssert(iText, iLine);
    return false;
}

bool Cmn_Assert::ReportFrom(const char* iExpression, const char* iFile, int iLine)
{
    // A fixed buffer: a report must get through where memory is what ran out.
    std::array<char, 1024> text;
    const std::string_view tail = SourceTail(iFile), name = tail.substr(tail.find_last_of(cSlashes) + 1);
    const std::string_view folder = WithoutRooms(tail.substr(0, tail.size() - name.size()));
    std::snprintf(text.data(), text.size(), "%s%s%.*s%.*s", iExpression, cSeparator,
                  static_cast<int>(folder.size()), folder.data(), static_cast<int>(name.size()), name.data());
    if (char* const source = std::strstr(text.data(), cSeparator))
        std::replace(source, source + std::strlen(source), '\\', '/');
    return Report(text.data(), iLine);
}
