/* Kora_CGrid.h: the lines of an editor's grid, and the rulers above a time line. Both follow the song's edits. */
#pragma once

#include "Kora/C/Kora_CSong.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Grids ------------------------------------------------------------------------------------------------------ */

/* The lines of one division, of a song as it is at each call. */
typedef struct kora_grid kora_grid;

/* What a line is. */
enum {
    KORA_LINE_BAR = 0,  /* a barline */
    KORA_LINE_BEAT = 1, /* one of the meter's beats */
    KORA_LINE_SUB = 2,  /* between them */
    KORA_LINE_FINE = 3, /* by the clock: the largest whole unit that the line begins, or this */
    KORA_LINE_FOOT = 4,
    KORA_LINE_SECOND = 5,
    KORA_LINE_MINUTE = 6,
    KORA_LINE_HOUR = 7
};

/* Where a line stands. */
typedef struct kora_grid_line
{
    int64_t tick;               /* of a line by the clock the nearest one */
    int64_t sample;             /* of a line by bars the nearest one */
    int64_t count;              /* by the clock: samples, milliseconds, labels or frames of film; else 0 */
    kora_bar_position position; /* by bars; else zeros */
    int32_t kind;
    uint32_t reserved; /* written as 0 */
} kora_grid_line;
typedef char kora_check_grid_line[sizeof(kora_grid_line) == 48 ? 1 : -1];

/* By "bars", "beats", or a note value: "1/4", "1/8t" (triplets), "1/8." (dotted), "1/16(4:5)". Divisions begin anew at
 * every barline. swing is by how many 960ths of a division every second line is late, 0 to 959: 320 is a triplet feel;
 * bars and beats stay straight. KORA_REFUSED, with the reason, for another text. */
KORA_API kora_status kora_grid_new(kora_song* song, const char* division, int32_t swing, kora_grid** out);

/* Units of a grid by the clock. */
enum {
    KORA_CLOCK_SAMPLES = 0,
    KORA_CLOCK_MILLISECONDS = 1,
    KORA_CLOCK_TIMECODE = 2, /* labels of the session's format; one that drop-frame leaves out has no line */
    KORA_CLOCK_FILM = 3      /* frames of film */
};
/* A line at each count that step, 1 or more, divides: 250 milliseconds are four lines a second. Timecode and film have
 * none before sample 0. film is KORA_FILM_35MM or KORA_FILM_16MM, whatever the unit. */
KORA_API kora_status kora_grid_new_by_clock(kora_song* song, int32_t unit, int64_t step, int32_t film,
                                            kora_grid** out);

/* Which line of those around a time. */
enum {
    KORA_SEARCH_BEFORE = 0,
    KORA_SEARCH_AT_OR_BEFORE = 1,
    KORA_SEARCH_NEAREST = 2, /* halfway between two the later one */
    KORA_SEARCH_AT_OR_AFTER = 3,
    KORA_SEARCH_AFTER = 4
};
/* The line that a time snaps to. KORA_NOT_FOUND before the first line of timecode and film. */
KORA_API kora_status kora_grid_find(kora_grid* grid, kora_time at, int32_t search, kora_grid_line* out);

/* The lines of [from, to) in order, as many as the array takes; *count, which may not be null, is how many it got.
 * KORA_TOO_SMALL when there are more: go on from the last one's tick, or of a clock its sample, and 1. */
KORA_API kora_status kora_grid_lines(kora_grid* grid, kora_time from, kora_time to, kora_grid_line* lines,
                                     size_t capacity, size_t* count);

/* ---- Rulers ----------------------------------------------------------------------------------------------------- */

/* Lines and labels of one form above a view of the song. */
typedef struct kora_ruler kora_ruler;

/* What is as wide everywhere. */
enum {
    KORA_AXIS_TIME = 0, /* a second is as wide everywhere; units of the zoom are samples */
    KORA_AXIS_BARS = 1  /* a quarter note is as wide everywhere; units of the zoom are ticks */
};

/* What a ruler shows, for good. */
typedef struct kora_ruler_options
{
    uint32_t size; /* sizeof(kora_ruler_options) */
    int32_t form;  /* KORA_FORM_BARS, _TIMECODE, _MINSEC, _SAMPLES or _FEET */
    int32_t film;  /* for feet */
    int32_t axis;
    /* Least distances in pixels: of lines, of major ones, of a label's end to the next; 0: 6, 36, 8. */
    double lines;
    double majors;
    double label_gap;
} kora_ruler_options;

/* The width of a text in pixels, 0 or more. The text ends with a zero, and size is without it. */
typedef double (*kora_measure)(void* user, const char* text, size_t size);

/* Labels up to last, such as the song's end, have room; measure is called here alone. The view is 1000 samples or
 * 10000 ticks a pixel, with the song's start at pixel 0. */
KORA_API kora_status kora_ruler_new(kora_song* song, const kora_ruler_options* options, kora_time last,
                                    kora_measure measure, void* user, kora_ruler** out);

/* Shows a range from pixel 0 to width. Pixels count from the view's left edge, and may lie outside of it. */
KORA_API kora_status kora_ruler_show(kora_ruler* ruler, kora_time from, kora_time to, double width);
/* Samples or ticks a pixel, above 0; the time at pixel 0 stays. */
KORA_API kora_status kora_ruler_set_units_per_pixel(kora_ruler* ruler, double units);
/* A factor above 1 makes everything wider; what is at the pixel stays there. */
KORA_API kora_status kora_ruler_zoom(kora_ruler* ruler, double pixel, double factor);
/* The time comes to the pixel. */
KORA_API kora_status kora_ruler_scroll_to(kora_ruler* ruler, kora_time time, double pixel);
/* The picture moves to the left by so many pixels, to the right where they are negative: lines come back as they
 * were. */
KORA_API kora_status kora_ruler_scroll_by(kora_ruler* ruler, int64_t pixels);
/* Where a time is drawn, between pixels too. */
KORA_API kora_status kora_ruler_to_pixel(kora_ruler* ruler, kora_time time, double* out);
/* The nearest sample or tick of the axis, in any unit. */
KORA_API kora_status kora_ruler_to_time(kora_ruler* ruler, double pixel, uint32_t unit, kora_time* out);

/* The library makes them; later versions may add to their end. The label, which is "" for none, is there until the
 * callback returns; it begins at the line and has its room to the right. */
typedef struct kora_ruler_line
{
    int64_t pixel;  /* the nearest */
    kora_time time; /* ticks of bars, samples of the other forms */
    const char* label;
    uint32_t label_size;
    int32_t is_major;
} kora_ruler_line;
typedef char kora_check_ruler_line[offsetof(kora_ruler_line, is_major) == 28 + sizeof(void*) ? 1 : -1];

/* Draws a line of the host's. */
typedef void (*kora_ruler_take)(void* user, const kora_ruler_line* line);

/* take for each line of the pixels [0, width), and before them of those whose label reaches in, in order. width is at
 * most 1000000. The choice of lines looks at zoom and maps alone, not at the place of scrolling. */
KORA_API kora_status kora_ruler_draw(kora_ruler* ruler, double width, kora_ruler_take take, void* user);

#ifdef __cplusplus
}
#endif
