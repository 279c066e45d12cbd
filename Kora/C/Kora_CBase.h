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
#define KORA_C_VERSION_MINOR 1

/* Of the library that runs: major * 65536 + minor. Needs no kora_init. */
KORA_API uint32_t kora_c_version(void);
/* The library's own: "0.1.0". Needs no kora_init. */
KORA_API const char* kora_version(void);

typedef int32_t kora_status;
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

/* Counted: once kora_free for each kora_init, while no other thread is in the library. */
KORA_API kora_status kora_init(void);
KORA_API kora_status kora_free(void);

/* ---- Errors ----------------------------------------------------------------------------------------------------- */

typedef struct kora_error
{
    uint32_t size;      /* sizeof(kora_error) */
    kora_status status; /* KORA_OK when no call of this thread has failed */
    int64_t offset;     /* the byte of the file, or -1 */
    const char* text;   /* these two hold until the thread's next failure; at most 511 bytes each */
    const char* file;   /* "" where there is none */
} kora_error;

/* These need no kora_init. */
KORA_API kora_status kora_last_error(kora_error* out);
KORA_API const char* kora_last_error_text(void);
/* "wrong handle"; never null, whatever the number. */
KORA_API const char* kora_status_name(kora_status status);

/* What the library's own assertions report: the broken expression with its source, and the line. Needs no kora_init,
 * and stays when the library ends. It may run on any thread. Null gives them back to stderr, each place once. */
typedef void (*kora_assert_handler)(void* user, const char* text, int32_t line);
KORA_API kora_status kora_set_assert_handler(kora_assert_handler handler, void* user);

/* ---- Handles ---------------------------------------------------------------------------------------------------- */

typedef struct kora_song kora_song;
typedef struct kora_tempo_map kora_tempo_map;
typedef struct kora_meter_map kora_meter_map;
typedef struct kora_key_map kora_key_map;
typedef struct kora_history kora_history;
typedef struct kora_format kora_format;

/* Any handle. Null is KORA_NULL_ARGUMENT, and nothing happens. */
KORA_API kora_status kora_retain(void* handle);
KORA_API kora_status kora_release(void* handle);

/* ---- Values ----------------------------------------------------------------------------------------------------- */

enum { KORA_SAMPLES = 0, KORA_TICKS = 1, KORA_FRAMES = 2 };
#define KORA_TICKS_PER_QUARTER 960000
#define KORA_SONG_START_TICK INT64_C(1000000000000)

typedef struct kora_time
{
    int64_t count;
    uint32_t unit;
    uint32_t reserved; /* not read, written as 0 */
} kora_time;

typedef struct kora_bar_position
{
    int32_t bar;
    int32_t beat;
    int64_t ticks; /* behind the beat */
} kora_bar_position;

enum {
    KORA_TEMPO_LOCKED = 1,     /* the tick is at locked_sample whatever is edited elsewhere */
    KORA_TEMPO_SONG_START = 2, /* the song's first tick */
    KORA_TEMPO_COMPUTED = 4    /* the tempo follows from the locks on both sides */
};

typedef struct kora_tempo
{
    int64_t tick;
    double beats_per_minute; /* the tempo in force from there on */
    int64_t ticks_per_beat;
    int64_t locked_sample; /* 0 unless locked */
    uint32_t flags;
    uint32_t reserved;
} kora_tempo;

typedef struct kora_meter
{
    int64_t tick;
    int32_t numerator;
    int32_t denominator;
    int32_t bar;            /* the number of the bar that the meter opens */
    int32_t is_off_barline; /* 1: it cuts the bar before short */
} kora_meter;

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
