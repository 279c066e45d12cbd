/* Kora_CEdit.h: edits of the tempo track and of time itself, and undo. */
#pragma once

#include "Kora/C/Kora_CSong.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Edits ------------------------------------------------------------------------------------------------------ */

/* Why an edit was refused. */
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
/* Why an edit was refused (KORA_REFUSED; it changed nothing then), and what is nearest that could be: a tempo, a
 * factor, a length, a sample or a tick, as the call's argument; not a number where there is none. */
typedef struct kora_edit_result
{
    uint32_t size; /* sizeof(kora_edit_result) */
    int32_t reason;
    double nearest;
} kora_edit_result;

/* A tempo from a tick on, up to the next one: beats a minute, of ticks_per_beat (1 or more). The result of this and
 * every other edit may be null. */
KORA_API kora_status kora_tempo_map_set(kora_tempo_map* map, int64_t tick, double beats_per_minute,
                                        int64_t ticks_per_beat, kora_edit_result* result);
/* The course of a ramp's tempo: linear in ticks, linear in time, or half a cosine in ticks. */
enum { KORA_CURVE_BARS = 0, KORA_CURVE_LINEAR = 1, KORA_CURVE_S = 2 };
/* Replaces the tempi of [from, to) by steps of equal length along a curve, in quarter notes a minute; from to on the
 * second tempo. Neighbours of one tempo are joined. */
KORA_API kora_status kora_tempo_map_ramp(kora_tempo_map* map, int64_t from, int64_t to,
                                         double start_beats_per_minute, double end_beats_per_minute,
                                         int32_t curve, size_t steps, kora_edit_result* result);
/* All tempi of [from, to) times a factor. */
KORA_API kora_status kora_tempo_map_scale(kora_tempo_map* map, int64_t from, int64_t to, double factor,
                                          kora_edit_result* result);
/* All tempi of [from, to) plus beats a minute, of each tempo's own beats. */
KORA_API kora_status kora_tempo_map_offset(kora_tempo_map* map, int64_t from, int64_t to,
                                           double beats_per_minute, kora_edit_result* result);
/* Scales the tempi of [from, to) so that it lasts so many samples. */
KORA_API kora_status kora_tempo_map_fit(kora_tempo_map* map, int64_t from, int64_t to, int64_t samples,
                                        kora_edit_result* result);
/* This tick is at this sample from now on; the tempi to the locks on both sides follow. */
KORA_API kora_status kora_tempo_map_lock(kora_tempo_map* map, int64_t tick, int64_t sample,
                                         kora_edit_result* result);
/* The stretches to both sides become one; behind the last lock that is left the tempo before goes on as it was. */
KORA_API kora_status kora_tempo_map_unlock(kora_tempo_map* map, int64_t tick, kora_edit_result* result);

/* Opens so many ticks in all three maps: what is at the tick or later moves. 0 ticks are done, and nothing. */
KORA_API kora_status kora_song_insert_time(kora_song* song, int64_t at, int64_t ticks,
                                           kora_edit_result* result);
/* Closes the gap in all three maps: what was at to comes to from. */
KORA_API kora_status kora_song_delete_time(kora_song* song, int64_t from, int64_t to,
                                           kora_edit_result* result);
/* So many copies behind the range; 0 are done, and nothing. */
KORA_API kora_status kora_song_repeat_time(kora_song* song, int64_t from, int64_t to, size_t count,
                                           kora_edit_result* result);
/* The range to before what is at position now. Refused inside the range; at either end nothing moves. */
KORA_API kora_status kora_song_move_time(kora_song* song, int64_t from, int64_t to, int64_t position,
                                         kora_edit_result* result);

/* ---- Undo ------------------------------------------------------------------------------------------------------- */

/* The steps of one song, of which there are none yet. It knows the steps that it records itself. */
KORA_API kora_status kora_history_new(kora_song* song, kora_history** out);
/* What is edited from here to kora_history_end is one step. One history of the process records at a time, and meanwhile
 * no other song is edited (KORA_BUSY), by whichever thread. */
KORA_API kora_status kora_history_begin(kora_history* history);
/* Ends the step and gives it the name that users see. A merge_id other than 0 joins the step to the one before it, if
 * that had the same: dragging is one step. A step in which nothing changed is none. */
KORA_API kora_status kora_history_end(kora_history* history, const char* name, int64_t merge_id);
/* Takes back what was edited since _begin. */
KORA_API kora_status kora_history_cancel(kora_history* history);
/* Takes the step before the position back. KORA_NOT_FOUND where there is none. */
KORA_API kora_status kora_history_undo(kora_history* history);
/* Does the step behind the position again. KORA_NOT_FOUND where there is none. */
KORA_API kora_status kora_history_redo(kora_history* history);
/* How many steps there are, and how many of them are done. */
KORA_API kora_status kora_history_count(kora_history* history, size_t* steps, size_t* position);
/* Of the step between the positions step and step + 1, as kora_format_write gives texts, but cut nowhere: too small a
 * buffer is KORA_TOO_SMALL, and *size, which may not be null, is what is needed less the zero. */
KORA_API kora_status kora_history_step_name(kora_history* history, size_t step, char* buffer, size_t capacity,
                                            size_t* size);
/* The song as it is at this position is on the disk now. KORA_BUSY while a step of this song is open. */
KORA_API kora_status kora_history_mark_saved(kora_history* history);
/* 1 where the song is as it was when it was marked, by undo or redo too; else 0. After an edit outside of this history's
 * steps it is 0 until it is marked again. */
KORA_API kora_status kora_history_is_saved(kora_history* history, int32_t* out);

#ifdef __cplusplus
}
#endif
