/* must.h: for programs that end at the first call that fails, with the library's words. */
#pragma once

#include "Kora/C/Kora_C.h"

/* Prints this thread's last failure: "bad file: not a MIDI file: …". */
void show_error(void);
/* Ends the program where a call has failed. */
void must(kora_status status);
