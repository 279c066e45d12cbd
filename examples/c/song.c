/* Opens a song, prints its tempi, converts a column of records, and edits with undo: plain C99. */
#include "Kora/C/Kora_C.h"

#include <stdio.h>

typedef struct note
{
    char name[4];
    int64_t time; /* ticks, then samples */
} note;

static int failed(const char* what)
{
    fprintf(stderr, "%s: %s\n", what, kora_last_error_text());
    return 1;
}

int main(int argc, char** argv)
{
    note notes[2] = {{"C4", KORA_SONG_START_TICK}, {"E4", KORA_SONG_START_TICK + 8 * (int64_t)KORA_TICKS_PER_QUARTER}};
    kora_song* song = NULL;
    kora_tempo_map* tempi = NULL;
    kora_history* history = NULL;
    kora_tempo tempo;
    size_t i;

    if (argc != 2 || kora_init() != KORA_OK) return 2;
    if (kora_song_open(argv[1], &song) != KORA_OK) return failed("open");
    if (kora_song_get_tempo_map(song, &tempi) != KORA_OK || kora_history_new(song, &history) != KORA_OK)
        return failed("handles");
    for (i = 0; kora_tempo_map_get(tempi, i, &tempo) == KORA_OK && i < 3; ++i)
        printf("tempo %.2f\n", tempo.beats_per_minute);
    if (kora_convert_all(song, KORA_TICKS, &notes[0].time, sizeof(note), KORA_SAMPLES, &notes[0].time, sizeof(note), 2))
        return failed("convert");
    printf("%s at sample %ld, %s at sample %ld\n", notes[0].name, (long)notes[0].time, notes[1].name, (long)notes[1].time);
    if (kora_history_begin(history) || kora_tempo_map_set(tempi, KORA_SONG_START_TICK, 60, KORA_TICKS_PER_QUARTER, NULL) ||
        kora_history_end(history, "Slower", 0))
        return failed("edit");
    kora_tempo_map_get(tempi, 0, &tempo);
    printf("edited %.2f\n", tempo.beats_per_minute);
    if (kora_history_undo(history)) return failed("undo");
    kora_tempo_map_get(tempi, 0, &tempo);
    printf("undone %.2f\n", tempo.beats_per_minute);
    kora_release(history);
    kora_release(tempi);
    kora_release(song);
    kora_free();
    return 0;
}
