// Cmn_Assert: reports a broken precondition to the host, in every build type, and lets the call carry on.
//
// A report is a text and a line. The text is the failed expression, the separator "@$^$@" and the tail of the
// source file's path without its extension: `mMeterMap != 0@$^$@Time/Time_Converter`.
//
// Threads:   Report may run on any thread; a host's handler must be ready for that.
// Real time: a check that holds costs one branch; a failing one calls the handler.
#pragma once

#include "Export/Kora_API.h"

class KORA_API Cmn_Assert
{
public:
    // Receives each report. It may log, count, break into a debugger, throw or abort; when it returns, the
    // call that reported goes on.
    using Handler = void (*)(const char* iText, int iLine);

    static constexpr char cSeparator[] = "@$^$@"; // between the expression and its source

    // Installs the host's handler and returns the one before. Null brings back the library's own, which
    // writes one line to stderr for each place, once.
    static Handler SetHandler(Handler iHandler) noexcept;

    // Hands a finished text to the handler in force.
    static void HandleMagicAssert(const char* iText, int iLine);

    // What the macros below call with a whole text. Returns false, so that a failed check can end a call:
    // `if (!Cmn_ASSERT(iMap != nullptr)) return 0;`
    static bool Report(const char* iText, int iLine);
    // The same with the file that the expression stands in, whose path becomes the source.
    static bool ReportFrom(const char* iExpression, const char* iFile, int iLine);
};

// True when the expression holds; otherwise reports it under its own words and this
// file's path, and is false.
#define Cmn_ASSERT(...)                                                                                      \
    (static_cast<bool>(__VA_ARGS__) || ::Cmn_Assert::ReportFrom(#__VA_ARGS__, __FILE__, __LINE__))

// The same with a text of its own, for reports whose words are not the expression.
#define Cmn_ASSERT_TEXT(iCondition, iText)                                                                   \
    (static_cast<bool>(iCondition) || ::Cmn_Assert::ReportFrom(iText, __FILE__, __LINE__))

// The same with the source that reports are known by, a string literal, where that is not this file.
#define Cmn_ASSERT_IN(iSource, ...)                                                                          \
    (static_cast<bool>(__VA_ARGS__) || ::Cmn_Assert::Report(#__VA_ARGS__ "@$^$@" iSource, __LINE__))

// With both of its own, string literals.
#define Cmn_ASSERT_AS(iCondition, iText, iSource)                                                            \
    (static_cast<bool>(iCondition) || ::Cmn_Assert::Report(iText "@$^$@" iSource, __LINE__))
