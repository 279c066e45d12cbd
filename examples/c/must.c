#include "must.h"

#include <stdio.h>
#include <stdlib.h>

/*! [errors] */
/* The text has the file and the byte where there are any; error.file and error.offset too. */
void show_error(void)
{
    kora_error error = {sizeof error, KORA_OK, -1, NULL, NULL};

    kora_last_error(&error);
    printf("%s: %s\n", kora_status_name(error.status), error.text);
}

/* A host shows the words and goes on; these programs end. */
void must(kora_status status)
{
    if (status == KORA_OK) return;
    show_error();
    exit(1);
}
/*! [errors] */
