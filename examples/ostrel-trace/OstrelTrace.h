// OstrelTrace: a trace library that Kora binds at run time, where it is installed.
//
// Build it, put it where the system looks for libraries (README.md says where), and choose what to see:
//
//     OSTREL_TRACE_CATEGORIES   "all", "off", or categories in hexadecimal: "4000B07,4000E0C"
//     OSTREL_TRACE_FILE         lines are appended to this file; to stderr without it
//
// A file alone means all categories. With neither set the library is not active, and Kora does not call it.
// A line is "[4000B07] text", with "name: " in front once OstrelTraceSetNameFunc was called.
//
// Kora itself calls the facility test and the formatted write only; it resolves all sixteen entries, and
// turns tracing off when one is missing.
//
// Units:   texts are UTF-8; a category is 32 bits.
// Threads: every entry may be called from any thread; lines do not mix.
#pragma once

#include "Export/Kora_API.h"

#include <cstdint>

extern "C" {

// Receives each finished piece of text in place of the file. It calls no entry of this library.
using OstrelTraceHandler = void (*)(void* ioContext, std::uint32_t iCategory, const char* iText);
// Seconds from any start.
using OstrelTraceClock = double (*)();

// Non-zero when at least one category is on.
KORA_API std::uint8_t OstrelTraceIsActiveFunc();
// Reads the environment again, forgets changed priorities and opens the file anew; 0, or -1 for a file that
// cannot be opened, in whose place stderr is used.
KORA_API std::int32_t OstrelTraceReloadConfigsFunc();

// The formatted write, as printf does it. A text that does not end with "\n" gets one: each
// call is a line, or several.
KORA_API void OstrelTraceFormat(std::uint32_t iCategory, const char* iFormat, ...);
// Without the head and as it is, so that several calls make one line; the last of them ends it.
KORA_API void OstrelTraceFormatQuiet(std::uint32_t iCategory, const char* iFormat, ...);
// OstrelTraceFormat with the time in front: "[4000B07] 12.034567 text".
KORA_API void OstrelTraceFormatTimestamp(std::uint32_t iCategory, const char* iFormat, ...);
// A text as it is, and "\n".
KORA_API void OstrelTracePuts(std::uint32_t iCategory, const char* iText);
// Bytes in hexadecimal, sixteen a line, each line headed by its offset.
KORA_API void OstrelTraceMem(std::uint32_t iCategory, const void* iBytes, std::uint32_t iSize);
// The calling thread's stack, one frame a line.
KORA_API void OstrelTraceStack(std::uint32_t iCategory);

// A priority above 0 turns the category on, 0 or less turns it off; returns 1 if it was on, else 0.
KORA_API std::int32_t OstrelTraceChangeFacilityPriorityFunc(std::uint32_t iCategory, std::int32_t iPriority);
// A null handler brings back the file.
KORA_API void OstrelTraceRegisterHandlerFunc(OstrelTraceHandler iHandler, void* ioContext);
// The facility test: non-zero when lines of the category are written.
KORA_API std::uint8_t OstrelTraceFacilityOnFunc(std::uint32_t iCategory);
// The clock of timestamps; null brings back the library's own, which starts with the first timestamp.
KORA_API void OstrelTraceSetClockCallbackFunc(OstrelTraceClock iClock);
// The program's name, for the head of lines; null or empty for none.
KORA_API void OstrelTraceSetNameFunc(const char* iName);
// A result code in words; good until the thread's next call.
KORA_API const char* OstrelTraceOSErrToString(std::int32_t iError);
// For callers without categories: written whenever the library is active, without a head and as it is.
KORA_API void OstrelTraceLegacyFormat(const char* iFormat, ...);
// Path of the file that lines go to; empty for stderr. Good until the configuration is read again.
KORA_API const char* OstrelTraceGetTracePath();

} // extern "C"
