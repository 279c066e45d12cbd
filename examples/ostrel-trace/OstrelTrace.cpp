#include "OstrelTrace.h"

#include "OstrelTracePlatform.h"

#include <chrono>
#include <cstdarg>
#include <cstdlib>
#include <mutex>
#include <set>
#include <vector>

// The categories that are on where the environment names neither categories nor a file.
#if !defined(OSTREL_TRACE_DEFAULT)
#define OSTREL_TRACE_DEFAULT "off"
#endif

namespace {

struct Trace
{
    std::mutex mMutex;
    // A category is on when it is named and not all are, or when all are and it is not named.
    bool mAll = false;
    std::set<std::uint32_t> mNamed;
    std::string mPath;
    std::FILE* mFile = nullptr; // null for stderr
    std::string mName;
    OstrelTraceHandler mHandler = nullptr;
    void* mHandlerContext = nullptr;
    OstrelTraceClock mClock = nullptr;

    Trace() { ReadEnvironment(); }

    bool ReadEnvironment()
    {
        std::string categories = OstrelTraceEnvironment("OSTREL_TRACE_CATEGORIES");
        mPath = OstrelTraceEnvironment("OSTREL_TRACE_FILE");
        if (categories.empty()) categories = mPath.empty() ? OSTREL_TRACE_DEFAULT : "all";
        ReadCategories(categories);

        if (mFile != nullptr) std::fclose(mFile);
        mFile = mPath.empty() ? nullptr : OstrelTraceOpen(mPath);
        const bool opened = mPath.empty() || mFile != nullptr;
        if (!opened) mPath.clear();
        return opened;
    }

    // Words that are no number are skipped, "off" among them.
    void ReadCategories(const std::string& iList)
    {
        mAll = iList == "all";
        mNamed.clear();
        const char* at = mAll ? "" : iList.c_str();
        while (*at != '\0') {
            char* end = nullptr;
            const unsigned long category = std::strtoul(at, &end, 16);
            if (end != at && (*end == ',' || *end == '\0'))
                mNamed.insert(static_cast<std::uint32_t>(category));
            at = end != at ? end : at + 1;
            while (*at != ',' && *at != '\0')
                ++at;
            if (*at == ',') ++at;
        }
    }

    bool IsActive() const { return mAll || !mNamed.empty(); }
    bool IsOn(std::uint32_t iCategory) const { return mAll != (mNamed.count(iCategory) != 0); }

    std::string Head(std::uint32_t iCategory) const
    {
        char head[32];
        std::snprintf(head, sizeof head, "[%lX] ", static_cast<unsigned long>(iCategory));
        return (mName.empty() ? "" : mName + ": ") + head;
    }

    std::string Timestamp() const
    {
        using Clock = std::chrono::steady_clock;
        static const Clock::time_point sStart = Clock::now();
        const double seconds =
            mClock != nullptr ? mClock() : std::chrono::duration<double>(Clock::now() - sStart).count();
        char text[32];
        std::snprintf(text, sizeof text, "%.6f ", seconds);
        return text;
    }

    void Write(std::uint32_t iCategory, const std::string& iText)
    {
        if (mHandler != nullptr) {
            mHandler(mHandlerContext, iCategory, iText.c_str());
            return;
        }
        std::FILE* const file = mFile != nullptr ? mFile : stderr;
        std::fwrite(iText.data(), 1, iText.size(), file);
        std::fflush(file);
    }
};

// Lives as long as the process: lines may come from static destructors.
Trace& TheTrace()
{
    static Trace* const sTrace = new Trace;
    return *sTrace;
}

std::string Formatted(const char* iFormat, va_list iArguments)
{
    va_list again;
    va_copy(again, iArguments);
    const int size = std::vsnprintf(nullptr, 0, iFormat, again);
    va_end(again);
    if (size < 0) return "(a line that cannot be formatted)\n";
    std::vector<char> text(static_cast<std::size_t>(size) + 1);
    std::vsnprintf(text.data(), text.size(), iFormat, iArguments);
    return {text.data(), static_cast<std::size_t>(size)};
}

// The same as a whole line.
std::string FormattedLine(const char* iFormat, va_list iArguments)
{
    std::string line = Formatted(iFormat, iArguments);
    if (line.empty() || line.back() != '\n') line += '\n';
    return line;
}

// Writes what iText(trace) gives, if the category is on.
template <class Text>
void WriteIfOn(std::uint32_t iCategory, Text iText)
{
    Trace& trace = TheTrace();
    const std::lock_guard lock(trace.mMutex);
    if (trace.IsOn(iCategory)) trace.Write(iCategory, iText(trace));
}

} // namespace

std::uint8_t OstrelTraceIsActiveFunc()
{
    Trace& trace = TheTrace();
    const std::lock_guard lock(trace.mMutex);
    return trace.IsActive();
}

std::int32_t OstrelTraceReloadConfigsFunc()
{
    Trace& trace = TheTrace();
    const std::lock_guard lock(trace.mMutex);
    return trace.ReadEnvironment() ? 0 : -1;
}

void OstrelTraceFormat(std::uint32_t iCategory, const char* iFormat, ...)
{
    va_list arguments;
    va_start(arguments, iFormat);
    WriteIfOn(iCategory, [&](const Trace& iTrace) {
        return iTrace.Head(iCategory) + FormattedLine(iFormat, arguments);
    });
    va_end(arguments);
}

void OstrelTraceFormatQuiet(std::uint32_t iCategory, const char* iFormat, ...)
{
    va_list arguments;
    va_start(arguments, iFormat);
    WriteIfOn(iCategory, [&](const Trace&) { return Formatted(iFormat, arguments); });
    va_end(arguments);
}

void OstrelTraceFormatTimestamp(std::uint32_t iCategory, const char* iFormat, ...)
{
    va_list arguments;
    va_start(arguments, iFormat);
    WriteIfOn(iCategory, [&](const Trace& iTrace) {
        return iTrace.Head(iCategory) + iTrace.Timestamp() + FormattedLine(iFormat, arguments);
    });
    va_end(arguments);
}

void OstrelTracePuts(std::uint32_t iCategory, const char* iText)
{
    WriteIfOn(iCategory, [&](const Trace& iTrace) { return iTrace.Head(iCategory) + iText + "\n"; });
}

void OstrelTraceMem(std::uint32_t iCategory, const void* iBytes, std::uint32_t iSize)
{
    const auto bytes = static_cast<const unsigned char*>(iBytes);
    WriteIfOn(iCategory, [&](const Trace& iTrace) {
        std::string text = iTrace.Head(iCategory) + std::to_string(iSize) + " bytes";
        char piece[32];
        for (std::uint32_t at = 0; at < iSize; ++at) {
            if (at % 16 == 0) {
                std::snprintf(piece, sizeof piece, "\n    %08lX:", static_cast<unsigned long>(at));
                text += piece;
            }
            std::snprintf(piece, sizeof piece, " %02X", static_cast<unsigned>(bytes[at]));
            text += piece;
        }
        return text + "\n";
    });
}

void OstrelTraceStack(std::uint32_t iCategory)
{
    WriteIfOn(iCategory, [&](const Trace& iTrace) {
        return iTrace.Head(iCategory) + "stack\n" + OstrelTraceStackText();
    });
}

std::int32_t OstrelTraceChangeFacilityPriorityFunc(std::uint32_t iCategory, std::int32_t iPriority)
{
    Trace& trace = TheTrace();
    const std::lock_guard lock(trace.mMutex);
    const bool wasOn = trace.IsOn(iCategory);
    if ((iPriority > 0) != trace.mAll)
        trace.mNamed.insert(iCategory);
    else
        trace.mNamed.erase(iCategory);
    return wasOn;
}

void OstrelTraceRegisterHandlerFunc(OstrelTraceHandler iHandler, void* ioContext)
{
    Trace& trace = TheTrace();
    const std::lock_guard lock(trace.mMutex);
    trace.mHandler = iHandler;
    trace.mHandlerContext = ioContext;
}

std::uint8_t OstrelTraceFacilityOnFunc(std::uint32_t iCategory)
{
    Trace& trace = TheTrace();
    const std::lock_guard lock(trace.mMutex);
    return trace.IsOn(iCategory);
}

void OstrelTraceSetClockCallbackFunc(OstrelTraceClock iClock)
{
    Trace& trace = TheTrace();
    const std::lock_guard lock(trace.mMutex);
    trace.mClock = iClock;
}

void OstrelTraceSetNameFunc(const char* iName)
{
    Trace& trace = TheTrace();
    const std::lock_guard lock(trace.mMutex);
    trace.mName = iName != nullptr ? iName : "";
}

const char* OstrelTraceOSErrToString(std::int32_t iError)
{
    switch (iError) {
    case 0:
        return "no error";
    case -1501:
        return "the library lacks the entry";
    case -1502:
        return "the library cannot be loaded";
    default:
        break;
    }
    thread_local char sText[32];
    std::snprintf(sText, sizeof sText, "error %ld", static_cast<long>(iError));
    return sText;
}

void OstrelTraceLegacyFormat(const char* iFormat, ...)
{
    Trace& trace = TheTrace();
    const std::lock_guard lock(trace.mMutex);
    if (!trace.IsActive()) return;
    va_list arguments;
    va_start(arguments, iFormat);
    trace.Write(0, Formatted(iFormat, arguments));
    va_end(arguments);
}

const char* OstrelTraceGetTracePath()
{
    Trace& trace = TheTrace();
    const std::lock_guard lock(trace.mMutex);
    return trace.mPath.c_str();
}
