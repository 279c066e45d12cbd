/* Kora_CSong.h: songs, their three maps, conversions between all units, and times as texts. */
#pragma once

#include "Kora/C/Kora_CBase.h"

#ifdef __cplusplus
extern "C" {
#endif

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

/* The process's, set while no other thread is in a call: the sample rate (1000 to 768000) that songs are made with from
 * now on and that frames are counted against, and the timecode format. 44100 and KORA_TIMECODE_30 until it is
 * called. */
KORA_API kora_status kora_set_session(double sample_rate, int32_t timecode_format);

/* ---- Songs ------------------------------------------------------------------------------------------------------ */

/* 120 beats a minute in 4/4, no key. */
KORA_API kora_status kora_song_new(kora_song** out);
/* A Standard MIDI file or a document: what the bytes say, whatever the name is. A document that was saved as a song
 * has its rate and its format in kora_song_get_info; where they are not the session's, set them before frames and
 * timecode are asked for. */
KORA_API kora_status kora_song_open(const char* path, kora_song** out);
/* The same of the bytes of one, which are copied. */
KORA_API kora_status kora_song_read_bytes(const void* bytes, size_t size, kora_song** out);
/* As a document, which takes its place only when it is complete and on the disk. A song has neither the notes of the
 * MIDI file nor the other streams of the document that it was opened from: in that file's place they are gone.
 * KORA_BAD_FILE, with nothing written, for a song whose tempi bring an entry past the limits of samples: it could not
 * be opened again. */
KORA_API kora_status kora_song_save(kora_song* song, const char* path);
/* As a Standard MIDI file of the three maps alone. *size, which may not be null, gets the size that is needed also
 * where the buffer is too small; a capacity of 0 asks for it. */
KORA_API kora_status kora_song_write_midi(kora_song* song, void* buffer, size_t capacity, size_t* size);

/* The same into a file, which takes the place of the one there, with its notes, in one step when it is on the disk. */
KORA_API kora_status kora_song_export(kora_song* song, const char* path);

/* What a song says of itself; all times are ticks. */
typedef struct kora_song_info
{
    uint32_t size; /* sizeof(kora_song_info) */
    int32_t timecode_format;
    double sample_rate;
    int64_t start_tick;
    int64_t end_tick; /* the last event or change */
} kora_song_info;

/* Fills what out->size has room for. */
KORA_API kora_status kora_song_get_info(kora_song* song, kora_song_info* out);

/* Bits of what a listener is told. */
enum { KORA_CHANGED_TEMPI = 1, KORA_CHANGED_METERS = 2, KORA_CHANGED_KEYS = 4 };
/* what is the KORA_CHANGED bits joined; the song may be asked, and its edits and its history are KORA_BUSY. */
typedef void (*kora_song_listener)(void* user, kora_song* song, uint32_t what);
/* Told once behind every edit of the song's tempi, meters or keys, undo and redo included, on the thread that edits,
 * when the song and its history are what they will be. One a song; null ends it. */
KORA_API kora_status kora_song_set_listener(kora_song* song, kora_song_listener listener, void* user);

/* ---- The three maps --------------------------------------------------------------------------------------------- */

/* The song's own maps, each a handle that keeps the song: edits of them are edits of the song. */
KORA_API kora_status kora_song_get_tempo_map(kora_song* song, kora_tempo_map** out);
/* As kora_song_get_tempo_map. */
KORA_API kora_status kora_song_get_meter_map(kora_song* song, kora_meter_map** out);
/* As kora_song_get_tempo_map. */
KORA_API kora_status kora_song_get_key_map(kora_song* song, kora_key_map** out);

/* How many tempi there are: one or more, for the song start has one. */
KORA_API kora_status kora_tempo_map_count(kora_tempo_map* map, size_t* out);
/* The tempi ascend by tick and are counted from 0: an index at or past the count is KORA_NOT_FOUND. */
KORA_API kora_status kora_tempo_map_get(kora_tempo_map* map, size_t index, kora_tempo* out);
/* The tempo in force at a tick; before the first one that is the first. */
KORA_API kora_status kora_tempo_map_find(kora_tempo_map* map, int64_t tick, kora_tempo* out);
/* Takes the tempo exactly there: KORA_NOT_FOUND where none is. Refused for the song start, and before a lock: the
 * stretches between locks follow from them. */
KORA_API kora_status kora_tempo_map_remove(kora_tempo_map* map, int64_t tick);
/* Takes all tempi of [from, to), and the one before goes on through it. Refused where the song start or a lock lies
 * at from or behind it. */
KORA_API kora_status kora_tempo_map_clear(kora_tempo_map* map, int64_t from, int64_t to);

/* How many meters there are: one or more. */
KORA_API kora_status kora_meter_map_count(kora_meter_map* map, size_t* out);
/* The meters ascend by tick and are counted from 0: an index at or past the count is KORA_NOT_FOUND. */
KORA_API kora_status kora_meter_map_get(kora_meter_map* map, size_t index, kora_meter* out);
/* The meter in force at a tick; before the first one that is the first. */
KORA_API kora_status kora_meter_map_find(kora_meter_map* map, int64_t tick, kora_meter* out);
/* Adds a meter, or overwrites the one there. 1 to 32767 beats of 1/1 to 1/32767. */
KORA_API kora_status kora_meter_map_set(kora_meter_map* map, int64_t tick, int32_t numerator,
                                        int32_t denominator);
/* Takes the meter exactly there: KORA_NOT_FOUND where none is. The map's first meter stays: it is refused. */
KORA_API kora_status kora_meter_map_remove(kora_meter_map* map, int64_t tick);
/* Takes all meters of [from, to). Refused where the map's first is among them. */
KORA_API kora_status kora_meter_map_clear(kora_meter_map* map, int64_t from, int64_t to);

/* How many keys there are, which may be none. */
KORA_API kora_status kora_key_map_count(kora_key_map* map, size_t* out);
/* The keys ascend by tick and are counted from 0: an index at or past the count is KORA_NOT_FOUND. */
KORA_API kora_status kora_key_map_get(kora_key_map* map, size_t index, kora_key* out);
/* The key in force at a tick; KORA_NOT_FOUND before the first one. */
KORA_API kora_status kora_key_map_find(kora_key_map* map, int64_t tick, kora_key* out);
/* Adds a key, or overwrites the one there; refused before the song start. */
KORA_API kora_status kora_key_map_set(kora_key_map* map, const kora_key* key);
/* Takes the key exactly there: KORA_NOT_FOUND where none is. */
KORA_API kora_status kora_key_map_remove(kora_key_map* map, int64_t tick);
/* Takes all keys of [from, to). */
KORA_API kora_status kora_key_map_clear(kora_key_map* map, int64_t from, int64_t to);

/* ---- Conversions ------------------------------------------------------------------------------------------------ */

/* A time in another unit, to the nearest of its counts, by the song's tempi and the session's frames. */
KORA_API kora_status kora_convert(kora_song* song, kora_time time, uint32_t unit, kora_time* out);
/* A time as bar, beat and ticks by the song's meters. */
KORA_API kora_status kora_to_bars(kora_song* song, kora_time time, kora_bar_position* out);
/* The time of a bar, beat and ticks. Beats past the bar's run on into the next; beats below 1 are the bar's start. */
KORA_API kora_status kora_from_bars(kora_song* song, kora_bar_position position, uint32_t unit,
                                    kora_time* out);

/* count counts (int64_t) of one unit to another, each with the result of the single call. A stride is the
 * distance from one element to the next in bytes, either way; of an output it is at least one element. out may be in
 * itself, and then it is as it was when a count outside the limits is refused; any other out may have got results of
 * those before. The two may overlap in any way; those that are neither contiguous nor parts of the same records are copied
 * then, which takes memory. */
KORA_API kora_status kora_convert_all(kora_song* song, uint32_t from_unit, const void* in,
                                      ptrdiff_t in_stride, uint32_t to_unit, void* out, ptrdiff_t out_stride,
                                      size_t count);
/* Counts to kora_bar_position, as kora_convert_all and kora_to_bars. */
KORA_API kora_status kora_to_bars_all(kora_song* song, uint32_t from_unit, const void* in,
                                      ptrdiff_t in_stride, void* out, ptrdiff_t out_stride, size_t count);
/* kora_bar_position to counts, as kora_convert_all and kora_from_bars. */
KORA_API kora_status kora_from_bars_all(kora_song* song, const void* in, ptrdiff_t in_stride,
                                        uint32_t to_unit, void* out, ptrdiff_t out_stride, size_t count);

/* ---- Texts ------------------------------------------------------------------------------------------------------ */

/* Forms of a time as a text. */
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
/* Films by their frames to a foot. */
enum { KORA_FILM_35MM = 16, KORA_FILM_16MM = 40 };

/* How one song's times read; the film is what feet are counted on. */
KORA_API kora_status kora_format_new(kora_song* song, int32_t film, kora_format** out);
/* 48 bytes hold every text. *size, which may be null, gets the bytes before the zero. The text is empty where the
 * time has none in the form, as before sample 0 in timecode. */
KORA_API kora_status kora_format_write(kora_format* format, int32_t form, kora_time time, char* buffer,
                                       size_t capacity, size_t* size);
/* What _write writes, and what users type. KORA_REFUSED, with the reason as the last error's text, for what is none:
 * a dropped frame, a beat past its bar. */
KORA_API kora_status kora_format_read(kora_format* format, int32_t form, const char* text, kora_time* out);

#ifdef __cplusplus
}
#endif
