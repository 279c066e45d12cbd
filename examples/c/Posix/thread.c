#include "../thread.h"

#include <pthread.h>
#include <stdlib.h>

struct thread
{
    pthread_t id;
    void (*body)(void*);
    void* user;
};

static void* run(void* self)
{
    thread* const own = self;

    own->body(own->user);
    return NULL;
}

thread* thread_start(void (*body)(void*), void* user)
{
    thread* const own = malloc(sizeof *own);

    if (own == NULL) return NULL;
    own->body = body;
    own->user = user;
    if (pthread_create(&own->id, NULL, run, own) == 0) return own;
    free(own);
    return NULL;
}

void thread_join(thread* own)
{
    pthread_join(own->id, NULL);
    free(own);
}
