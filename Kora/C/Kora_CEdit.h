/* Kora_CEdit.h: edits of the tempo track and of time itself, and undo. */
#pragma once

#include "Kora/C/Kora_CSong.h"

#ifdef __cplusplus
extern "C" {
#endif

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
