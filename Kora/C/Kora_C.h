/* Kora_C.h: the library for hosts of any compiler and any language, as plain C99.
 *
 *     kora_song* song = NULL;
 *     kora_time at = {1000000960000, KORA_TICKS, 0};
 *
 *     kora_init();
 *     if (kora_song_open("first-light.mid", &song) != KORA_OK)
 *         fprintf(stderr, "%s\n", kora_last_error_text());
 *     kora_convert(song, at, KORA_SAMPLES, &at);         at.count is a sample now
 *     kora_release(song);
 *     kora_free();
 *
 * Units:      ticks are 1/960000 of a quarter note and song tick 1000000000000 is bar 1 of a new song; samples are at
 *             the song's rate; frames at the session's (kora_set_session). Bars and beats count from 1. Ranges are
 *             [from, to). Texts are UTF-8 and end with a zero.
 * Errors:     every call that can fail gives a kora_status. After one that is not KORA_OK the thread's last error has
 *             words, and a file and an offset where there are any; calls that go well leave it as it was. What the
 *             call was to fill is then as it was, but where a call says otherwise. Null pointers, handles of
 *             another kind and values out of range are refused. No C++ exception leaves the library.
 * Ownership:  what ends in _new, _open, _read or gives a handle through its last argument hands out one reference:
 *             kora_release takes it back, kora_retain adds one. A handle keeps alive what it depends on: a map its
 *             song, a history its song. A handle that was released for the last time must not be used.
 * Threads:    references count on any thread. A song with its maps, history and formats belongs to one thread at a
 *             time, and all recording and undoing in the process to one thread. The last error is each thread's own.
 * Process:    shared by all in the process are: kora_init's count, kora_set_session, kora_set_assert_handler, and
 *             which history records. Nothing else is.
 * Layout:     positions and entries are structs of fixed size. Structs that later versions may lengthen begin with
 *             their size, which the caller sets to sizeof the struct as he knows it.
 * Arrays:     a bulk call steps from element to element by a stride in bytes, so that a column of the host's own
 *             records converts in place. No alignment is needed. Input and output are the same column or apart.
 * Callbacks:  get the pointer that they were set with, run on the thread of the call that causes them, and must return:
 *             no longjmp, no exception. Within one a song may be asked, not edited, and nothing released.
 */
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

typedef int32_t kora_status;
enum {
    KORA_OK = 0,
    KORA_NULL_ARGUMENT = 1, /* a pointer that has to be there is null */
    KORA_WRONG_HANDLE = 2,  /* a handle of another kind */
    KORA_BAD_ARGUMENT = 3,  /* out of range, of no known unit, form or size */
    KORA_NOT_STARTED = 4,   /* kora_init was not called */
    KORA_NOT_FOUND = 5,     /* no entry there, no step to undo */
    KORA_TOO_SMALL = 6,     /* the buffer: the size that is needed was given */
    KORA_REFUSED = 7,       /* an edit that would break a lock or a limit, a text that is no time */
    KORA_BAD_FILE = 8,      /* bytes that cannot be understood, or a song that a file cannot hold */
    KORA_SYSTEM = 9,        /* the operating system refused */
    KORA_NO_MEMORY = 10,
    KORA_BUSY = 11,    /* another history records, or this one does not */
    KORA_INTERNAL = 12 /* anything else that was thrown */
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

/* What the library's own assertions report: the broken expression with its source, and the line. It may run on any
 * thread. Null gives them back to stderr, each place once. */
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

/* ---- The session ------------------------------------------------------------------------------------------------ */

/* Timecode formats by frames a second. */
enum {
    KORA_TIMECODE_24 = 1,
    KORA_TIMECODE_25 = 2,
    KORA_TIMECODE_29_97 = 3,
    KORA_TIMECODE_29_97_DROP = 5,
    KORA_TIMECODE_30 = 7,
    KORA_TIMECODE_30_DROP = 8,
    KORA_TIMECODE_23_976 = 9,
    KORA_TIMECODE_50 = 10,
    KORA_TIMECODE_59_94 = 11,
    KORA_TIMECODE_59_94_DROP = 12,
    KORA_TIMECODE_60 = 13,
    KORA_TIMECODE_60_DROP = 14
};

/* The process's: the sample rate (1000 to 768000) that songs are made with from now on and that frames are counted
 * against, and the timecode format. 44100 and KORA_TIMECODE_30 until it is called. */
KORA_API kora_status kora_set_session(double sample_rate, int32_t timecode_format);

/* ---- Songs ------------------------------------------------------------------------------------------------------ */

/* 120 beats a minute in 4/4, no key. */
KORA_API kora_status kora_song_new(kora_song** out);
/* A Standard MIDI file or a document: what the bytes say, whatever the name is. A document that was saved as a song
 * has its rate and its format in kora_song_get_info; where they are not the session's, set them before frames and
 * timecode are asked for. */
KORA_API kora_status kora_song_open(const char* path, kora_song** out);
/* The bytes of a Standard MIDI file, which are copied. */
KORA_API kora_status kora_song_read_midi(const void* bytes, size_t size, kora_song** out);
/* As a document, which takes its place only when it is complete and on the disk. */
KORA_API kora_status kora_song_save(kora_song* song, const char* path);
/* As a Standard MIDI file of the three maps alone. *size, which may not be null, gets the size that is needed also
 * where the buffer is too small; a capacity of 0 asks for it. */
KORA_API kora_status kora_song_write_midi(kora_song* song, void* buffer, size_t capacity, size_t* size);

typedef struct kora_song_info
{
    uint32_t size; /* sizeof(kora_song_info) */
    int32_t timecode_format;
    double sample_rate;
    int64_t start_tick;
    int64_t end_tick; /* the last event or change */
} kora_song_info;

KORA_API kora_status kora_song_get_info(kora_song* song, kora_song_info* out);

/* Told behind every edit of the song's tempi or meters, undo and redo included. One a song; null ends it. */
enum { KORA_CHANGED_TEMPI = 1, KORA_CHANGED_METERS = 2 };
typedef void (*kora_song_listener)(void* user, kora_song* song, uint32_t what);
KORA_API kora_status kora_song_set_listener(kora_song* song, kora_song_listener listener, void* user);

/* ---- The three maps --------------------------------------------------------------------------------------------- */

KORA_API kora_status kora_song_get_tempo_map(kora_song* song, kora_tempo_map** out);
KORA_API kora_status kora_song_get_meter_map(kora_song* song, kora_meter_map** out);
KORA_API kora_status kora_song_get_key_map(kora_song* song, kora_key_map** out);

/* Entries ascend by tick and are counted from 0: an index at or past the count is KORA_NOT_FOUND. _find gives the
 * entry in force at a tick: before the first of a tempo or meter map that is the first, before the first key
 * KORA_NOT_FOUND. _remove takes the entry exactly there, _clear all of a range. */
KORA_API kora_status kora_tempo_map_count(kora_tempo_map* map, size_t* out);
KORA_API kora_status kora_tempo_map_get(kora_tempo_map* map, size_t index, kora_tempo* out);
KORA_API kora_status kora_tempo_map_find(kora_tempo_map* map, int64_t tick, kora_tempo* out);
/* Refused for the song start, and before a lock: the stretches between locks follow from them. */
KORA_API kora_status kora_tempo_map_remove(kora_tempo_map* map, int64_t tick);
KORA_API kora_status kora_tempo_map_clear(kora_tempo_map* map, int64_t from, int64_t to);

KORA_API kora_status kora_meter_map_count(kora_meter_map* map, size_t* out);
KORA_API kora_status kora_meter_map_get(kora_meter_map* map, size_t index, kora_meter* out);
KORA_API kora_status kora_meter_map_find(kora_meter_map* map, int64_t tick, kora_meter* out);
/* Adds a meter, or overwrites the one there. 1 to 32767 beats of 1/1 to 1/32767. */
KORA_API kora_status kora_meter_map_set(kora_meter_map* map, int64_t tick, int32_t numerator,
                                        int32_t denominator);
/* The map's first meter stays: it is refused. */
KORA_API kora_status kora_meter_map_remove(kora_meter_map* map, int64_t tick);
KORA_API kora_status kora_meter_map_clear(kora_meter_map* map, int64_t from, int64_t to);

KORA_API kora_status kora_key_map_count(kora_key_map* map, size_t* out);
KORA_API kora_status kora_key_map_get(kora_key_map* map, size_t index, kora_key* out);
KORA_API kora_status kora_key_map_find(kora_key_map* map, int64_t tick, kora_key* out);
KORA_API kora_status kora_key_map_set(kora_key_map* map, const kora_key* key);
KORA_API kora_status kora_key_map_remove(kora_key_map* map, int64_t tick);
KORA_API kora_status kora_key_map_clear(kora_key_map* map, int64_t from, int64_t to);

/* ---- Conversions ------------------------------------------------------------------------------------------------ */

KORA_API kora_status kora_convert(kora_song* song, kora_time time, uint32_t unit, kora_time* out);
KORA_API kora_status kora_to_bars(kora_song* song, kora_time time, kora_bar_position* out);
/* Beats past the bar's run on into the next; beats below 1 are the bar's start. */
KORA_API kora_status kora_from_bars(kora_song* song, kora_bar_position position, uint32_t unit,
                                    kora_time* out);

/* count counts (int64_t) of one unit to another, each with the result of the single call. A stride is the
 * distance from one element to the next in bytes, either way; of an output it is at least one element. */
KORA_API kora_status kora_convert_all(kora_song* song, uint32_t from_unit, const void* in,
                                      ptrdiff_t in_stride, uint32_t to_unit, void* out, ptrdiff_t out_stride,
                                      size_t count);
/* Counts to kora_bar_position and back. */
KORA_API kora_status kora_to_bars_all(kora_song* song, uint32_t from_unit, const void* in,
                                      ptrdiff_t in_stride, void* out, ptrdiff_t out_stride, size_t count);
KORA_API kora_status kora_from_bars_all(kora_song* song, const void* in, ptrdiff_t in_stride,
                                        uint32_t to_unit, void* out, ptrdiff_t out_stride, size_t count);

/* ---- Texts ------------------------------------------------------------------------------------------------------ */

enum {
    KORA_FORM_SAMPLES = 0,
    KORA_FORM_TICKS = 1,
    KORA_FORM_FRAMES = 2,
    KORA_FORM_BARS = 3,       /* 2|3| 480, display ticks */
    KORA_FORM_BARS_EXACT = 4, /* 2|3|480000 */
    KORA_FORM_TIMECODE = 5,
    KORA_FORM_SUBFRAMES = 6,
    KORA_FORM_MINSEC = 7,
    KORA_FORM_FEET = 8
};
enum { KORA_FILM_35MM = 16, KORA_FILM_16MM = 40 }; /* frames to a foot */

/* How one song's times read; the film is what feet are counted on. */
KORA_API kora_status kora_format_new(kora_song* song, int32_t film, kora_format** out);
/* 48 bytes hold every text. *size, which may be null, gets the bytes before the zero. The text is empty where the
 * time has none in the form, as before sample 0 in timecode. */
KORA_API kora_status kora_format_write(kora_format* format, int32_t form, kora_time time, char* buffer,
                                       size_t capacity, size_t* size);
/* What _write writes, and what users type. KORA_REFUSED, with the reason as the last error's text, for what is none:
 * a dropped frame, a beat past its bar. */
KORA_API kora_status kora_format_read(kora_format* format, int32_t form, const char* text, kora_time* out);

/* ---- Edits ------------------------------------------------------------------------------------------------------ */

/* Why an edit was refused (KORA_REFUSED; it changed nothing then), and what is nearest that could be: a tempo, a
 * factor, a length, a sample or a tick, as the call's argument; not a number where there is none. */
enum {
    KORA_EDIT_DONE = 0,
    KORA_EDIT_EMPTY_RANGE = 1,
    KORA_EDIT_OUT_OF_LIMITS = 2,
    KORA_EDIT_LOCKED = 3,
    KORA_EDIT_BEFORE_SONG_START = 4,
    KORA_EDIT_LOCK_ORDER = 5,
    KORA_EDIT_NO_LOCK = 6,
    KORA_EDIT_TOO_MANY_STEPS = 7,
    KORA_EDIT_INSIDE_RANGE = 8,
    KORA_EDIT_NO_SUCH_BEAT = 9
};
typedef struct kora_edit_result
{
    uint32_t size; /* sizeof(kora_edit_result) */
    int32_t reason;
    double nearest;
} kora_edit_result;

/* Every edit takes a result, which may be null. Tempi are in beats a minute of ticks_per_beat (1 or more). */
KORA_API kora_status kora_tempo_map_set(kora_tempo_map* map, int64_t tick, double beats_per_minute,
                                        int64_t ticks_per_beat, kora_edit_result* result);
enum { KORA_CURVE_BARS = 0, KORA_CURVE_LINEAR = 1, KORA_CURVE_S = 2 };
KORA_API kora_status kora_tempo_map_ramp(kora_tempo_map* map, int64_t from, int64_t to,
                                         double start_beats_per_minute, double end_beats_per_minute,
                                         int32_t curve, size_t steps, kora_edit_result* result);
KORA_API kora_status kora_tempo_map_scale(kora_tempo_map* map, int64_t from, int64_t to, double factor,
                                          kora_edit_result* result);
KORA_API kora_status kora_tempo_map_offset(kora_tempo_map* map, int64_t from, int64_t to,
                                           double beats_per_minute, kora_edit_result* result);
KORA_API kora_status kora_tempo_map_fit(kora_tempo_map* map, int64_t from, int64_t to, int64_t samples,
                                        kora_edit_result* result);
/* This tick is at this sample from now on; the tempi to the locks on both sides follow. */
KORA_API kora_status kora_tempo_map_lock(kora_tempo_map* map, int64_t tick, int64_t sample,
                                         kora_edit_result* result);
KORA_API kora_status kora_tempo_map_unlock(kora_tempo_map* map, int64_t tick, kora_edit_result* result);

/* Time itself, in all three maps. */
KORA_API kora_status kora_song_insert_time(kora_song* song, int64_t at, int64_t ticks,
                                           kora_edit_result* result);
KORA_API kora_status kora_song_delete_time(kora_song* song, int64_t from, int64_t to,
                                           kora_edit_result* result);
KORA_API kora_status kora_song_repeat_time(kora_song* song, int64_t from, int64_t to, size_t count,
                                           kora_edit_result* result);
KORA_API kora_status kora_song_move_time(kora_song* song, int64_t from, int64_t to, int64_t position,
                                         kora_edit_result* result);

/* ---- Undo ------------------------------------------------------------------------------------------------------- */

/* The steps of one song. What is edited between _begin and _end is one step; one history of the process records at a
 * time, and meanwhile no other song is edited (KORA_BUSY). */
KORA_API kora_status kora_history_new(kora_song* song, kora_history** out);
KORA_API kora_status kora_history_begin(kora_history* history);
/* A merge_id other than 0 joins the step to the one before it, if that had the same: dragging is one step. A step in
 * which nothing changed is none. */
KORA_API kora_status kora_history_end(kora_history* history, const char* name, int64_t merge_id);
/* Takes back what was edited since _begin. */
KORA_API kora_status kora_history_cancel(kora_history* history);
/* KORA_NOT_FOUND where there is no step that way. */
KORA_API kora_status kora_history_undo(kora_history* history);
KORA_API kora_status kora_history_redo(kora_history* history);
KORA_API kora_status kora_history_count(kora_history* history, size_t* steps, size_t* position);
/* Of the step between the positions step and step + 1, as kora_format_write gives texts, but cut nowhere: too small a
 * buffer is KORA_TOO_SMALL, and *size, which may not be null, is what is needed less the zero. */
KORA_API kora_status kora_history_step_name(kora_history* history, size_t step, char* buffer, size_t capacity,
                                            size_t* size);
KORA_API kora_status kora_history_mark_saved(kora_history* history);
KORA_API kora_status kora_history_is_saved(kora_history* history, int32_t* out);

#ifdef __cplusplus
}
#endif
