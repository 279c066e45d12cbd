/* From a MIDI file to maps, positions, texts, an edit with undo, and a ruler: plain C99. */
#include "must.h"

#include <inttypes.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

/*! [start] */
/* What the library holds to be impossible, and goes on; a host writes it to its log. */
static void report(void* user, const char* text, int32_t line)
{
    (void)user;
    fprintf(stderr, "assertion %s, line %" PRId32 "\n", text, line);
}

static void start(void)
{
    const uint32_t version = kora_c_version();

    if (version >> 16 != KORA_C_VERSION_MAJOR || (version & 0xFFFF) < KORA_C_VERSION_MINOR) {
        fprintf(stderr, "the library is too old for this program\n");
        exit(1);
    }
    must(kora_init());
    must(kora_set_assert_handler(report, NULL));
}
/*! [start] */

/*! [open] */
static kora_song* open_song(const char* path)
{
    static const char wave[] = "RIFF, which is no song";
    kora_song* song = NULL;

    if (kora_song_read_bytes(wave, sizeof wave, &song) != KORA_OK) show_error();
    must(kora_song_open(path, &song));
    return song;
}
/*! [open] */

/*! [maps] */
static void show_maps(kora_song* song)
{
    kora_meter_map* meters = NULL;
    kora_tempo_map* tempi = NULL;
    kora_meter meter;
    kora_tempo tempo;
    size_t i;

    must(kora_song_get_meter_map(song, &meters));
    must(kora_song_get_tempo_map(song, &tempi));
    for (i = 0; kora_meter_map_get(meters, i, &meter) == KORA_OK; ++i) {
        must(kora_tempo_map_find(tempi, meter.tick, &tempo)); /* the one in force there */
        printf("bar %2" PRId32 "  %" PRId32 "/%" PRId32 "  %5.1f%s\n", meter.bar,
               meter.numerator, meter.denominator, tempo.beats_per_minute,
               meter.is_off_barline ? "  inside a bar, which ends there" : "");
    }
    kora_release(tempi);
    kora_release(meters);
}
/*! [maps] */

/*! [one] */
static void convert_one(kora_song* song)
{
    const kora_bar_position bar10 = {10, 1, 0};
    kora_bar_position back;
    kora_time time;

    must(kora_from_bars(song, bar10, KORA_SAMPLES, &time));
    printf("bar 10 is at sample %" PRId64, time.count);
    must(kora_convert(song, time, KORA_TICKS, &time)); /* in place */
    must(kora_to_bars(song, time, &back));
    printf(", the nearest one to tick %" PRId64 ", %" PRId32 "|%" PRId32 "|%" PRId64 "\n",
           time.count, back.bar, back.beat, back.ticks);
}
/*! [one] */

/*! [column] */
/* A record as the host has it. Its column of times is converted where it stands. */
typedef struct note
{
    char name[4];
    float velocity;
    int64_t time; /* ticks, then samples */
} note;

static void convert_column(kora_song* song)
{
    enum { COUNT = 3 };
    note notes[COUNT] = {
        {"D4", 0.8f, KORA_SONG_START_TICK},
        {"F#4", 0.7f, KORA_SONG_START_TICK + 16 * (int64_t)KORA_TICKS_PER_QUARTER},
        {"A4", 0.9f, KORA_SONG_START_TICK + 30 * (int64_t)KORA_TICKS_PER_QUARTER}};
    size_t i;

    must(kora_convert_all(song, KORA_TICKS, &notes[0].time, sizeof(note), KORA_SAMPLES,
                          &notes[0].time, sizeof(note), COUNT));
    for (i = 0; i < COUNT; ++i)
        printf("%-3s at sample %" PRId64 "\n", notes[i].name, notes[i].time);
}
/*! [column] */

/*! [texts] */
static void show_texts(kora_song* song)
{
    static const int32_t forms[] = {KORA_FORM_BARS, KORA_FORM_MINSEC, KORA_FORM_TIMECODE,
                                    KORA_FORM_FEET};
    kora_format* format = NULL;
    kora_time time;
    char text[48]; /* has room for every form */
    size_t i;

    must(kora_format_new(song, KORA_FILM_35MM, &format));
    must(kora_format_read(format, KORA_FORM_BARS, "10|1", &time)); /* as somebody types it */
    for (i = 0; i < sizeof forms / sizeof forms[0]; ++i) {
        must(kora_format_write(format, forms[i], time, text, sizeof text, NULL));
        printf("%s%s", text, i + 1 < sizeof forms / sizeof forms[0] ? "   " : "\n");
    }
    if (kora_format_read(format, KORA_FORM_BARS, "5|4", &time) == KORA_REFUSED)
        printf("5|4: %s\n", kora_last_error_text());
    kora_release(format);
}
/*! [texts] */

/*! [edit] */
/* Behind every edit, undo and redo: here a view would be drawn anew. */
static void on_change(void* user, kora_song* song, uint32_t what)
{
    const kora_bar_position bar10 = {10, 1, 0};
    kora_time time;

    (void)user;
    must(kora_from_bars(song, bar10, KORA_SAMPLES, &time));
    printf("  %s changed, bar 10 is at sample %" PRId64 "\n",
           what & KORA_CHANGED_TEMPI ? "tempi" : "meters", time.count);
}

static void edit(kora_song* song)
{
    const kora_bar_position bar5 = {5, 1, 0};
    kora_edit_result result = {sizeof result, 0, 0};
    kora_history* history = NULL;
    kora_tempo_map* tempi = NULL;
    kora_time from;
    char name[32];
    size_t size;

    must(kora_song_get_tempo_map(song, &tempi));
    must(kora_history_new(song, &history));
    must(kora_song_set_listener(song, on_change, NULL));
    must(kora_from_bars(song, bar5, KORA_TICKS, &from));

    must(kora_history_begin(history));
    must(kora_tempo_map_set(tempi, from.count, 120, KORA_TICKS_PER_QUARTER, NULL));
    if (kora_tempo_map_set(tempi, from.count, 2000, KORA_TICKS_PER_QUARTER, &result) ==
        KORA_REFUSED)
        printf("  2000 is refused, %.0f is the nearest\n", result.nearest);
    must(kora_history_end(history, "Slower from bar 5", 0));

    must(kora_history_step_name(history, 0, name, sizeof name, &size));
    printf("undo \"%s\"\n", name);
    must(kora_history_undo(history));
    must(kora_song_set_listener(song, NULL, NULL));
    kora_release(history);
    kora_release(tempi);
}
/*! [edit] */

/*! [grid] */
static void snap(kora_song* song)
{
    const kora_time clicked = {120000, KORA_SAMPLES, 0};
    kora_grid* grid = NULL;
    kora_grid_line line;

    must(kora_grid_new(song, "1/8t", 0, &grid)); /* triplets, no swing */
    must(kora_grid_find(grid, clicked, KORA_SEARCH_NEAREST, &line));
    printf("sample 120000 snaps to %" PRId64 ", %" PRId32 "|%" PRId32 "|%" PRId64 "\n",
           line.sample, line.position.bar, line.position.beat, line.position.ticks);
    kora_release(grid);
}
/*! [grid] */

/*! [ruler] */
enum { WIDTH = 72, ROW = WIDTH + 16 };
typedef struct picture
{
    char labels[ROW];
    char lines[ROW];
} picture;

/* A text that begins at a pixel, behind what the row has. */
static void put(char* row, int64_t pixel, const char* text)
{
    const size_t used = strlen(row);

    snprintf(row + used, ROW - used, "%*s%s", (int)(pixel - (int64_t)used), "", text);
}

/* The width of a text; a window asks its font. */
static double measure(void* user, const char* text, size_t size)
{
    (void)user, (void)text;
    return (double)size;
}

static void draw_line(void* user, const kora_ruler_line* line)
{
    picture* const to = user;

    if (line->pixel < 0) return; /* its label reaches in from the left */
    if (line->label_size > 0) put(to->labels, line->pixel, line->label);
    put(to->lines, line->pixel, line->is_major ? "|" : ".");
}

static void show_ruler(kora_song* song)
{
    /* Lines 2 characters apart or more, major ones 4, and 2 between labels. */
    const kora_ruler_options options = {
        sizeof options, KORA_FORM_BARS, KORA_FILM_35MM, KORA_AXIS_TIME, 2, 4, 2};
    const kora_time begin = {0, KORA_SAMPLES, 0},
                    end = {1058400, KORA_SAMPLES, 0}; /* 24 seconds */
    kora_ruler* ruler = NULL;
    picture to = {"", ""};

    must(kora_ruler_new(song, &options, end, measure, NULL, &ruler));
    must(kora_ruler_show(ruler, begin, end, WIDTH));
    must(kora_ruler_draw(ruler, WIDTH, draw_line, &to));
    printf("%s\n%s\n", to.labels, to.lines);
    kora_release(ruler);
}
/*! [ruler] */

/*! [main] */
int main(int argc, char** argv)
{
    kora_song* song;

    if (argc != 2) return 2;
    start();
    song = open_song(argv[1]);
    show_maps(song);
    convert_one(song);
    convert_column(song);
    show_texts(song);
    edit(song);
    snap(song);
    show_ruler(song);
    kora_release(song);
    must(kora_free());
    return 0;
}
/*! [main] */
