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
 *             the song's rate; frames at the session's (kora_set_session). Bars and beats count from 1. Counts
 *             reach from -2^35 of samples, more than a day, and -2^59 of ticks and frames, up to below 2^35 and 2^59.
 *             Ranges are [from, to). Texts are UTF-8 and end with a zero.
 * Errors:     every call that can fail gives a kora_status. After one that is not KORA_OK the thread's last error has
 *             words, and a file and an offset where there are any; calls that go well leave it as it was. What the
 *             call was to fill is then as it was, but where a call says otherwise. Null pointers, handles of
 *             another kind and values out of range are refused. No C++ exception leaves the library.
 * Ownership:  what ends in _new, _open, _read or gives a handle through its last argument hands out one reference:
 *             kora_release takes it back, kora_retain adds one. A handle keeps alive what it depends on: a map its
 *             song, a history its song. A handle that was released for the last time must not be used. All are
 *             released before the last kora_free: behind it kora_release is KORA_NOT_STARTED.
 * Threads:    references count on any thread. A song with its maps, history and formats belongs to one thread at a
 *             time; songs of different threads do not disturb one another, but that one history of the process records
 *             at a time. The last error is each thread's own.
 * Process:    shared by all in the process are: kora_init's count, kora_set_session, kora_set_assert_handler, the tree
 *             of names, and which history records. Nothing else is.
 * Layout:     positions and entries are structs of fixed size. Structs that later versions may lengthen begin with
 *             their size, which the caller sets to sizeof the struct as he knows it.
 * Arrays:     a bulk call steps from element to element by a stride in bytes, so that a column of the host's own
 *             records converts in place. No alignment is needed. Input and output are the same column or apart.
 * Callbacks:  get the pointer that they were set with, run on the thread of the call that causes them, and must return:
 *             no longjmp, no exception. Within one a song may be asked, not edited, nothing is released, and no thread
 *             waited for that edits.
 */
#pragma once

#include "Kora/C/Kora_CBase.h"
#include "Kora/C/Kora_CDocument.h"
#include "Kora/C/Kora_CEdit.h"
#include "Kora/C/Kora_CGrid.h"
#include "Kora/C/Kora_CSong.h"
#include "Kora/C/Kora_CToken.h"
