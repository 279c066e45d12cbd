/* Kora_CToken.h: a change of a named thing, told by any thread to those who listen, without a lock.
 *
 *     kora_name_new("Mixer/Master", &master);                     once, before the audio thread starts
 *     kora_send(master, METER, 0, &level, sizeof level);           on the audio thread
 *
 *     kora_receiver_new(KORA_RECEIVER_WAITS, &receiver);           on the thread that draws
 *     kora_listener_new(receiver, master, METER, 0, KORA_LISTEN_NEWEST, draw_level, &meter, &listener);
 *     for (;;) {
 *         kora_receiver_wait(receiver, 100);
 *         kora_receiver_process(receiver, 2, NULL);
 *     }
 *
 * Real time: kora_send, from the first call of a thread on: no lock, no allocation, no call of the system but to wake a
 *            receiver that waits; so it is with kora_receiver_process of an audio receiver, but for its handlers.
 * Threads:   kora_send is for any thread. Names are made, connected and released on any thread; one waits for the
 *            other. Receivers and listeners are made and released by one thread at a time; a release waits until the
 *            receiver handles no token. kora_receiver_process is for any thread, one at a time.
 */
#pragma once

#include "Kora/C/Kora_CBase.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Names ------------------------------------------------------------------------------------------------------ */

/* A node of the process's tree of names, for as long as a handle is there. Any number of handles may hold one node. */
typedef struct kora_name kora_name;

/* "Mixer/Bus 1", from the root: names of at most 31 bytes, a path of at most 1023. What is missing is made. */
KORA_API kora_status kora_name_new(const char* path, kora_name** out);
/* The same below another node. */
KORA_API kora_status kora_name_new_below(kora_name* parent, const char* path, kora_name** out);
/* "/Mixer/Bus 1". As kora_history_step_name gives texts. */
KORA_API kora_status kora_name_path(kora_name* name, char* buffer, size_t capacity, size_t* size);
/* Who listens to one hears what is sent to the other, and to all that either is connected with. */
KORA_API kora_status kora_name_connect(kora_name* a, kora_name* b);
/* Takes a connection back; where there is none, nothing happens. */
KORA_API kora_status kora_name_disconnect(kora_name* a, kora_name* b);

/* ---- Sending ---------------------------------------------------------------------------------------------------- */

/* At most, of one token. */
enum { KORA_TOKEN_BYTES = 1024 };

/* Copies size bytes (0 and null are allowed together) to each who listens for the type and subtype, which are the
 * host's own numbers; a type is not 0. KORA_FULL, where so many wait that there is no room, for those listeners that
 * are left; it leaves the last error as it is, for the first error of a thread may allocate. */
KORA_API kora_status kora_send(kora_name* name, uint32_t type, uint32_t subtype, const void* bytes,
                               size_t size);

/* ---- Receiving -------------------------------------------------------------------------------------------------- */

/* The library makes them; later versions may add to their end. */
typedef struct kora_token
{
    const void* bytes; /* aligned to 8 bytes, until the handler returns */
    uint32_t size;
    uint32_t type;
    uint32_t subtype;
    uint32_t reserved; /* written as 0 */
} kora_token;
typedef char kora_check_token[offsetof(kora_token, reserved) == 12 + sizeof(void*) ? 1 : -1];
/* Runs in kora_receiver_process; it may send, and release its listener: it is not called again then. */
typedef void (*kora_token_handler)(void* user, const kora_token* token);

/* A place where tokens wait until a thread handles them. */
typedef struct kora_receiver kora_receiver;
/* Bits of what a receiver is for. */
enum {
    KORA_RECEIVER_AUDIO = 1, /* nothing is ever allocated for it; others may let the room for tokens grow */
    KORA_RECEIVER_WAITS = 2  /* kora_receiver_wait is for it; senders wake the thread that waits */
};
/* A receiver without listeners; flags are the KORA_RECEIVER bits joined, or 0. */
KORA_API kora_status kora_receiver_new(uint32_t flags, kora_receiver** out);

/* Ends with its last release, after which its handler is not called any more. */
typedef struct kora_listener kora_listener;
/* Which of the tokens that wait a listener gets. */
enum {
    KORA_LISTEN_ALL = 0,   /* every token, in the order in which one thread sent them */
    KORA_LISTEN_NEWEST = 1 /* of those that wait only the newest, in an order with the others */
};
/* type and subtype: 0 for any. The handler runs in kora_receiver_process. */
KORA_API kora_status kora_listener_new(kora_receiver* receiver, kora_name* name, uint32_t type,
                                       uint32_t subtype, int32_t which, kora_token_handler handler,
                                       void* user, kora_listener** out);

/* Handles what waits, until nothing does or so many milliseconds are over (0: no limit); the token in hand is always
 * finished. *handled, which may be null, is how many there were. KORA_BUSY when another thread is at it. */
KORA_API kora_status kora_receiver_process(kora_receiver* receiver, int32_t milliseconds, size_t* handled);
/* Until a token comes, kora_receiver_wake is called, or so many milliseconds are over (KORA_NOT_FOUND); a negative
 * number waits without limit. One thread at a time. KORA_BUSY for a receiver without KORA_RECEIVER_WAITS. */
KORA_API kora_status kora_receiver_wait(kora_receiver* receiver, int32_t milliseconds);
/* Ends a wait, or the next one. */
KORA_API kora_status kora_receiver_wake(kora_receiver* receiver);

#ifdef __cplusplus
}
#endif
