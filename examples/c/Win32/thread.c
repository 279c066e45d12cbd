#include "../thread.h"

#include <process.h>
#include <stdint.h>
#include <stdlib.h>
#include <windows.h>

struct thread
{
    HANDLE id;
    void (*body)(void*);
    void* user;
};

static unsigned __stdcall run(void* self)
{
    thread* const own = self;

    own->body(own->user);
    return 0;
}

thread* thread_start(void (*body)(void*), void* user)
{
    thread* const own = malloc(sizeof *own);

    if (own == NULL) return NULL;
    own->body = body;
    own->user = user;
    own->id = (HANDLE)_beginthreadex(NULL, 0, run, own, 0, NULL);
    if (own->id != NULL) return own;
    free(own);
    return NULL;
}

void thread_join(thread* own)
{
    WaitForSingleObject(own->id, INFINITE);
    CloseHandle(own->id);
    free(own);
}
