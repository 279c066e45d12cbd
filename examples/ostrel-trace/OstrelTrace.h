/* OstrelTrace: a trace library that Kora binds at run time, when it is installed.
 *
 * Build it, put it where the system looks for libraries (README.md says where), and choose what to see:
 *
 *     OSTREL_TRACE_CATEGORIES   "all", "off", or categories in hexadecimal: "4000B07,4000E0C"
 *     OSTREL_TRACE_FILE         lines are appended to this file; to stderr without it
 *
 * A file alone means all categories. With neither set the library is not active, and Kora does not call it.
 * A line is "[4000B07] text", with "name: " in front once OstrelTraceSetNameFunc was called.
 *
 * Kora itself calls the facility test and the formatted write only; it resolves all sixteen, and turns tracing off
 * when one is missing. Texts are UTF-8. Every entry may be called from any thread; lines do not mix.
 */
#ifndef OSTREL_TRACE_H
#define OSTREL_TRACE_H

#include <stdint.h>

#if defined(_WIN32)
#define OSTREL_TRACE_ENTRY __declspec(dllexport)
#elif defined(__GNUC__)
#define OSTREL_TRACE_ENTRY __attribute__((visibility("default")))
#else
#define OSTREL_TRACE_ENTRY
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Receives each finished piece of text in place of the file. It calls no entry of this library. */
typedef void (*OstrelTraceHandler)(void* ioContext, uint32_t iCategory, const char* iText);
/* Seconds from any start. */
typedef double (*OstrelTraceClock)(void);

/* Non-zero when at least one category is on. */
OSTREL_TRACE_ENTRY uint8_t OstrelTraceIsActiveFunc(void);
/* Reads the environment again, forgets changed priorities and opens the file anew; 0, or -1 for a file that cannot be
 * opened, in whose place stderr is used. */
OSTREL_TRACE_ENTRY int32_t OstrelTraceReloadConfigsFunc(void);

/* The formatted write, as printf does it; the text ends with its own "\n". */
OSTREL_TRACE_ENTRY void OstrelTraceFormat(uint32_t iCategory, const char* iFormat, ...);
/* Without the head, to go on with a line. */
OSTREL_TRACE_ENTRY void OstrelTraceFormatQuiet(uint32_t iCategory, const char* iFormat, ...);
/* With the time in front: "[4000B07] 12.034567 text". */
OSTREL_TRACE_ENTRY void OstrelTraceFormatTimestamp(uint32_t iCategory, const char* iFormat, ...);
/* A text as it is, and "\n". */
OSTREL_TRACE_ENTRY void OstrelTracePuts(uint32_t iCategory, const char* iText);
/* Bytes in hexadecimal, sixteen a line, each line headed by its offset. */
OSTREL_TRACE_ENTRY void OstrelTraceMem(uint32_t iCategory, const void* iBytes, uint32_t iSize);
/* The calling thread's stack, one frame a line. */
OSTREL_TRACE_ENTRY void OstrelTraceStack(uint32_t iCategory);

/* A priority above 0 turns the category on, 0 or less turns it off; returns 1 if it was on, else 0. */
OSTREL_TRACE_ENTRY int32_t OstrelTraceChangeFacilityPriorityFunc(uint32_t iCategory, int32_t iPriority);
/* A null handler brings back the file. */
OSTREL_TRACE_ENTRY void OstrelTraceRegisterHandlerFunc(OstrelTraceHandler iHandler, void* ioContext);
/* The facility test: non-zero when lines of the category are written. */
OSTREL_TRACE_ENTRY uint8_t OstrelTraceFacilityOnFunc(uint32_t iCategory);
/* The clock of timestamps; null brings back the library's own, which starts with the first line. */
OSTREL_TRACE_ENTRY void OstrelTraceSetClockCallbackFunc(OstrelTraceClock iClock);
/* The program's name, for the head of lines; null or empty for none. */
OSTREL_TRACE_ENTRY void OstrelTraceSetNameFunc(const char* iName);
/* A result code in words; good until the thread's next call. */
OSTREL_TRACE_ENTRY const char* OstrelTraceOSErrToString(int32_t iError);
/* For callers without categories: written whenever the library is active, without a head. */
OSTREL_TRACE_ENTRY void OstrelTraceLegacyFormat(const char* iFormat, ...);
/* Path of the file that lines go to; empty for stderr. Good until the configuration is read again. */
OSTREL_TRACE_ENTRY const char* OstrelTraceGetTracePath(void);

#ifdef __cplusplus
}
#endif
#endif
