/* Kora_CBase.h: what all of the C interface stands on: version, start, errors, handles and plain values. */
#pragma once

#include "Export/Kora_API.h"

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Version and start ------------------------------------------------------------------------------------------ */

/* Of this header. A library of the same major number and no lower minor number has all that it names. */
#define KORA_C_VERSION_MAJOR 0
/* Of this header: higher with what is added. */
#define KORA_C_VERSION_MINOR 1

/* Of the library that runs: major * 65536 + minor. Needs no kora_init. */
KORA_API uint32_t kora_c_version(void);
/* The library's own: "0.1.0". Needs no kora_init. */
KORA_API const char* kora_version(void);

/* What every call gives that can fail: KORA_OK, or why it did not do what it is for. */
typedef int32_t kora_status;
/* Numbers of a kora_status. */
enum {
    KORA_OK = 0,
    KORA_NULL_ARGUMENT = 1, /* a pointer that has to be there is null */
    KORA_WRONG_HANDLE = 2,  /* a handle of another kind */
    KORA_BAD_ARGUMENT = 3,  /* out of range, of no known unit, form or size */
    KORA_NOT_STARTED = 4,   /* kora_init was not called */
    KORA_NOT_FOUND = 5,     /* no entry there, no step to undo */
    KORA_TOO_SMALL = 6,     /* the buffer: the size that is needed was given */
    KORA_REFUSED =
        7, /* an edit that would break a lock or a limit, a text that is no time, a call out of turn */
    KORA_BAD_FILE = 8, /* bytes that cannot be understood, or a song that a file cannot hold */
    KORA_SYSTEM = 9,   /* the operating system refused */
    KORA_NO_MEMORY = 10,
    KORA_BUSY = 11,     /* another history records, or this one does not; another thread is at it */
    KORA_INTERNAL = 12, /* anything else that was thrown */
    KORA_FULL = 13      /* so many tokens wait that there is no room */
};

/* Starts the library for the caller, before its other calls that do not say otherwise. Counted, and for any thread:
 * plug-ins of one process need not know of one another. */
KORA_API kora_status kora_init(void);
/* Once for each kora_init, behind the release of the caller's last handle and the end of its other calls. */
KORA_API kora_status kora_free(void);

/* ---- Errors ----------------------------------------------------------------------------------------------------- */

/* What went wrong last on a thread. */
typedef struct kora_error
{
    uint32_t size;      /* sizeof(kora_error) */
    kora_status status; /* KORA_OK when no call of this thread has failed */
    int64_t offset;     /* the byte of the file, or -1 */
    const char* text;   /* these two hold until the thread's next failure; at most 511 bytes each */
    const char* file;   /* "" where there is none */
} kora_error;

/* Of this thread. Needs no kora_init. */
KORA_API kora_status kora_last_error(kora_error* out);
/* Its text alone; never null, "" when no call of this thread has failed. Needs no kora_init. */
KORA_API const char* kora_last_error_text(void);
/* "wrong handle"; never null, whatever the number. Needs no kora_init. */
KORA_API const char* kora_status_name(kora_status status);

/* What the library's own assertions report: the broken expression with its source, and the line. It may run on any
 * thread. */
typedef void (*kora_assert_handler)(void* user, const char* text, int32_t line);
/* Null gives assertions back to stderr, each place once. The handler stays when the library ends. Needs no kora_init. */
KORA_API kora_status kora_set_assert_handler(kora_assert_handler handler, void* user);

/* ---- Handles ---------------------------------------------------------------------------------------------------- */

/* A song: its tempi, meters and keys, and all conversions by them. */
typedef struct kora_song kora_song;
/* A song's tempi. */
typedef struct kora_tempo_map kora_tempo_map;
/* A song's meters. */
typedef struct kora_meter_map kora_meter_map;
/* A song's keys. */
typedef struct kora_key_map kora_key_map;
/* Undo of a song's edits. */
typedef struct kora_history kora_history;
/* How a song's times read as texts. */
typedef struct kora_format kora_format;

/* Adds a reference to a handle of any kind. Null is KORA_NULL_ARGUMENT, and nothing happens. */
KORA_API kora_status kora_retain(void* handle);
/* Takes a reference back; with the last one the handle ends, within a callback behind the call that it is in. Null is
 * KORA_NULL_ARGUMENT, and nothing happens. */
KORA_API kora_status kora_release(void* handle);

/* ---- Values ----------------------------------------------------------------------------------------------------- */

/* Units of a time. */
enum { KORA_SAMPLES = 0, KORA_TICKS = 1, KORA_FRAMES = 2 };
/* Of a quarter note, in every song. */
#define KORA_TICKS_PER_QUARTER 960000
/* Where songs start unless a document says otherwise: there is as much room before as anybody needs. */
#define KORA_SONG_START_TICK INT64_C(1000000000000)

/* A count of a unit: KORA_SAMPLES, KORA_TICKS or KORA_FRAMES. */
typedef struct kora_time
{
    int64_t count;
    uint32_t unit;
    uint32_t reserved; /* not read, written as 0 */
} kora_time;

/* 2|3|480000: bar and beat count from 1 at the song's start, and on through 0 before it. */
typedef struct kora_bar_position
{
    int32_t bar;
    int32_t beat;
    int64_t ticks; /* behind the beat */
} kora_bar_position;

/* Bits of a tempo's flags. */
enum {
    KORA_TEMPO_LOCKED = 1,     /* the tick is at locked_sample whatever is edited elsewhere */
    KORA_TEMPO_SONG_START = 2, /* the song's first tick */
    KORA_TEMPO_COMPUTED = 4    /* the tempo follows from the locks on both sides */
};

/* An entry of a tempo map. */
typedef struct kora_tempo
{
    int64_t tick;
    double beats_per_minute; /* the tempo in force from there on */
    int64_t ticks_per_beat;
    int64_t locked_sample; /* 0 unless locked */
    uint32_t flags;
    uint32_t reserved;
} kora_tempo;

/* An entry of a meter map: numerator beats a bar, each of one denominator-th of a whole note. */
typedef struct kora_meter
{
    int64_t tick;
    int32_t numerator;
    int32_t denominator;
    int32_t bar;            /* the number of the bar that the meter opens */
    int32_t is_off_barline; /* 1: it cuts the bar before short */
} kora_meter;

/* An entry of a key map. */
typedef struct kora_key
{
    int64_t tick;
    uint8_t is_major;
    uint8_t is_sharps;   /* 0: written with flats */
    uint8_t accidentals; /* 0 to 7 */
    uint8_t reserved[5];
} kora_key;

/* The layout is the same for every compiler; one that would have another refuses these lines. */
typedef char kora_check_time[sizeof(kora_time) == 16 ? 1 : -1];
typedef char kora_check_bar_position[sizeof(kora_bar_position) == 16 ? 1 : -1];
typedef char kora_check_tempo[sizeof(kora_tempo) == 40 ? 1 : -1];
typedef char kora_check_meter[sizeof(kora_meter) == 24 ? 1 : -1];
typedef char kora_check_key[sizeof(kora_key) == 16 ? 1 : -1];

#ifdef __cplusplus
}
#endif
