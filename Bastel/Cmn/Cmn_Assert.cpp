#include "Bastel/Cmn/Cmn_Assert.h"

#include <array>
#include <atomic>
#include <cstdio>
#include <mutex>
#include <set>
#include <string>
#include <string_view>

namespace {

// Each place is reported once: a broken precondition in a loop must not drown the host's log.
void WriteOnceToStderr(const char* iText, int iLine)
{
    static std::mutex sMutex;
    static std::set<std::string> sSeen;

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

// "/any/where/Kora/Time/Time_Tick.h" → "Time/Time_Tick": what follows the library's top folder, or else the
// last folder and the name.
std::string_view SourceTail(std::string_view iFile)
{
    for (const std::string_view top : {"Kora/", "Bastel/", "OstrelPlatformSupport/"}) {
        const std::size_t at = iFile.rfind(top);
        if (at != iFile.npos && (at == 0 || iFile[at - 1] == '/')) {
            iFile.remove_prefix(at + top.size());
            return iFile.substr(0, iFile.rfind('.'));
        }
    }
    const std::size_t name = iFile.rfind('/');
    const std::size_t folder = name == iFile.npos || name == 0 ? iFile.npos : iFile.rfind('/', name - 1);
    if (folder != iFile.npos) iFile.remove_prefix(folder + 1);
    return iFile.substr(0, iFile.rfind('.'));
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
    const std::string_view tail = SourceTail(iFile);
    std::snprintf(text.data(), text.size(), "%s%s%.*s", iExpression, cSeparator,
                  static_cast<int>(tail.size()), tail.data());
    return Report(text.data(), iLine);
}
