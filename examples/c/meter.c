/* Levels from an audio thread to the one that draws, which waits for them: plain C99. */
#include "must.h"
#include "thread.h"

#include <inttypes.h>
#include <stdio.h>

/*! [token] */
enum { LEVEL = 1, BLOCKS = 100 };

typedef struct level
{
    int32_t block;
    float peak;
} level;
/*! [token] */

/*! [audio] */
/* What an audio callback does at the end of a block: no lock, no allocation, no wait. */
static void play(void* user)
{
    kora_name* const bus = user;
    level now;

    for (now.block = 1; now.block <= BLOCKS; ++now.block) {
        now.peak = (float)now.block / BLOCKS;
        kora_send(bus, LEVEL, 0, &now, sizeof now); /* KORA_FULL: this one is not shown */
    }
}
/*! [audio] */

/*! [listeners] */
typedef struct heard
{
    int32_t count;
    int32_t in_order;
    level last;
} heard;

/* On the thread that calls kora_receiver_process. */
static void take_level(void* user, const kora_token* token)
{
    heard* const by = user;
    const level* const now = token->bytes; /* until this returns */

    by->in_order += now->block > by->last.block;
    by->last = *now;
    ++by->count;
}
/*! [listeners] */

/*! [draw] */
static void draw(kora_name* bus)
{
    heard history = {0, 0, {0, 0}}, meter = {0, 0, {0, 0}};
    kora_receiver* receiver = NULL;
    kora_listener* every = NULL;
    kora_listener* newest = NULL;
    thread* audio;

    must(kora_receiver_new(KORA_RECEIVER_WAITS, &receiver));
    must(kora_listener_new(receiver, bus, LEVEL, 0, KORA_LISTEN_ALL, take_level, &history,
                           &every));
    must(kora_listener_new(receiver, bus, LEVEL, 0, KORA_LISTEN_NEWEST, take_level, &meter,
                           &newest));
    audio = thread_start(play, bus);
    while (audio != NULL && history.last.block < BLOCKS) {
        kora_receiver_wait(receiver, 100); /* milliseconds; a window's timer needs no wait */
        must(kora_receiver_process(receiver, 2, NULL));
    }
    if (audio != NULL) thread_join(audio);
    must(kora_receiver_process(receiver, 0, NULL)); /* what is left */
    printf("history: %" PRId32 " levels, %" PRId32 " in order, the last is %.2f\n",
           history.count, history.in_order, history.last.peak);
    printf("meter: %s, the last is %.2f\n",
           meter.count == meter.in_order ? "in order" : "out of order", meter.last.peak);
    kora_release(newest); /* its handler is not called any more */
    kora_release(every);
    kora_release(receiver);
}
/*! [draw] */

int main(void)
{
    kora_name* bus = NULL;

    must(kora_init());
    must(kora_name_new("Mixer/Bus 1", &bus)); /* before the audio thread starts */
    draw(bus);
    kora_release(bus);
    must(kora_free());
    return 0;
}
