/* thread.h: the least of threads that meter.c needs; hosts have their own. C99 has none. */
#pragma once

typedef struct thread thread;

/* Runs body(user) on a thread of its own. Null when the system has none. */
thread* thread_start(void (*body)(void*), void* user);
/* Waits until the body has returned. */
void thread_join(thread* thread);
