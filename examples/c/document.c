/* A document of one's own: takes in a list beside a song, in a file and in memory: plain C99. */
#include "must.h"

#include <inttypes.h>
#include <stdio.h>
#include <string.h>

/*! [types] */
/* The application's stream types. They stand in files: they are never used for anything else again. */
enum { TAKES = 100, TAKE = 101 };

typedef struct take
{
    char name[32];
    int64_t start; /* samples */
    double gain;   /* since version 2 */
} take;
/*! [types] */

/*! [write] */
static void write_takes(kora_document* document, const take* takes, int32_t count,
                        int32_t version)
{
    int32_t i;

    must(kora_document_begin_list(document, TAKES, 1, "takes", count));
    for (i = 0; i < count; ++i) {
        must(kora_document_begin_item(document, takes[i].name));
        must(kora_document_begin(document, TAKE, version, NULL));
        must(kora_document_write_text(document, takes[i].name));
        must(kora_document_write(document, KORA_INT64, &takes[i].start, 1));
        if (version >= 2) must(kora_document_write(document, KORA_FLOAT64, &takes[i].gain, 1));
        must(kora_document_end(document));
    }
    must(kora_document_end(document));
}

/* The old file stays until the new one is whole on the disk. */
static void save(const char* path, kora_song* song, const take* takes, int32_t count)
{
    kora_document* document = NULL;

    must(kora_document_create(path, &document));
    must(kora_song_write_document(song, document));
    write_takes(document, takes, count, 2);
    must(kora_document_commit(document));
    kora_release(document);
}
/*! [write] */

/*! [read] */
/* The second take, without reading the first. */
static kora_status read_second(kora_document* document, take* out)
{
    const kora_step key = {TAKES, KORA_NO_ITEM};
    int32_t version = 0, count = 0;
    kora_status status = kora_document_enter(document, &key, 1, NULL);

    if (status != KORA_OK) return status; /* KORA_NOT_FOUND: the document has none */
    out->gain = 1;                        /* what version 1 meant */
    if ((status = kora_document_enter_list(document, &count)) != KORA_OK ||
        (status = kora_document_go_to_item(document, 1)) != KORA_OK ||
        (status = kora_document_enter_next(document, TAKE, &version)) != KORA_OK ||
        (status = kora_document_read_text(document, out->name, sizeof out->name, NULL)) !=
            KORA_OK ||
        (status = kora_document_read(document, KORA_INT64, &out->start, 1)) != KORA_OK)
        return status;
    if (version >= 2) status = kora_document_read(document, KORA_FLOAT64, &out->gain, 1);
    kora_document_leave(document); /* what a newer version has behind that is skipped */
    kora_document_leave(document);
    return status;
}
/*! [read] */

static void show_second(kora_document* document)
{
    take second;

    must(read_second(document, &second));
    printf("  %s at sample %" PRId64 ", gain %.2f\n", second.name, second.start, second.gain);
}

/*! [file] */
static void show_file(const char* path)
{
    kora_document* document = NULL;
    kora_song* song = NULL;
    kora_song_info info = {sizeof info, 0, 0, 0, 0};

    must(kora_document_open(path, &document));
    must(kora_song_read_document(document, &song));
    must(kora_song_get_info(song, &info));
    printf("  a song at %.0f Hz\n", info.sample_rate);
    show_second(document);
    kora_release(song);
    kora_release(document);
}
/*! [file] */

/*! [memory] */
/* What version 1 of the application would have made, as bytes. */
static size_t make_bytes(const take* takes, int32_t count, char* bytes, size_t capacity)
{
    kora_document* document = NULL;
    size_t size = 0;

    must(kora_document_create_in_memory(&document));
    write_takes(document, takes, count, 1);
    must(kora_document_commit(document));
    must(kora_document_get_bytes(document, bytes, capacity, &size));
    kora_release(document);
    return size;
}

static void show_bytes(const char* bytes, size_t size)
{
    kora_document* document = NULL;
    take second;

    must(kora_document_read_bytes(bytes, size, &document));
    if (read_second(document, &second) == KORA_OK)
        printf("  %s at sample %" PRId64 ", gain %.2f\n", second.name, second.start,
               second.gain);
    else
        show_error();
    kora_release(document);
}
/*! [memory] */

int main(int argc, char** argv)
{
    static const take takes[] = {{"drums", 0, 0.8}, {"voice", 96000, 1.25}};
    const char* const path = argc > 1 ? argv[1] : "takes.kora";
    char bytes[1024];
    kora_song* song = NULL;
    size_t size, i;

    must(kora_init());
    must(kora_song_new(&song));
    printf("in a file, beside a song\n");
    save(path, song, takes, 2);
    show_file(path);
    remove(path);

    printf("in memory, by an older version\n");
    size = make_bytes(takes, 2, bytes, sizeof bytes);
    show_bytes(bytes, size);

    printf("with one bit turned\n");
    for (i = 0; i + 5 <= size && memcmp(bytes + i, "voice", 5) != 0; ++i)
        ;
    bytes[i] ^= 1;
    show_bytes(bytes, size);

    kora_release(song);
    must(kora_free());
    return 0;
}
