/* Kora_CDocument.h: documents by key: files of typed streams inside one another, with a table of contents.
 *
 *     const kora_step takes = {100, KORA_NO_ITEM};
 *     kora_document_create("takes.kora", &document);
 *     kora_document_begin_list(document, 100, 1, "takes", 2);
 *     kora_document_begin_item(document, "drums");  kora_document_write(document, KORA_INT64, &start, 1);
 *     kora_document_begin_item(document, "voice");  kora_document_write(document, KORA_INT64, &start, 1);
 *     kora_document_end(document);
 *     kora_document_commit(document);
 *
 *     kora_document_open("takes.kora", &document);
 *     kora_document_enter(document, &takes, 1, &version);
 *     kora_document_enter_list(document, &count);
 *     kora_document_go_to_item(document, 1);
 *     kora_document_read(document, KORA_INT64, &start, 1);
 *     kora_document_leave(document);
 *
 * Every header and body has a sum, which is held against its bytes before a value is handed out. A document is of the
 * caller's own types; those of a song (16, 17, 18 and 32) may stand beside them. A call out of turn, such as a value
 * where no stream is open, is KORA_REFUSED and changes nothing.
 *
 * Units:   positions and sizes in bytes; a document has less than 2^32.
 * Threads: one at a time for each document.
 */
#pragma once

#include "Kora/C/Kora_CBase.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Documents -------------------------------------------------------------------------------------------------- */

/* A document that is read, or one that is written. */
typedef struct kora_document kora_document;

/* To read. What kora_document_create writes takes the place of the file meanwhile, and the old one is read on; where a
 * file that is open cannot be replaced, as in Windows before 10, that is KORA_SYSTEM. */
KORA_API kora_status kora_document_open(const char* path, kora_document** out);
/* The same of a document's bytes, which are copied. */
KORA_API kora_status kora_document_read_bytes(const void* bytes, size_t size, kora_document** out);
/* To write a new one, beside the file that may be there. Released before kora_document_commit it is gone, and the file
 * is what it was. */
KORA_API kora_status kora_document_create(const char* path, kora_document** out);
/* The same in memory. */
KORA_API kora_status kora_document_create_in_memory(kora_document** out);
/* Makes the new document complete and puts it in the place of the file, in one step and on the disk. All streams have
 * ended. Afterwards it has nothing more to do but to give its bytes where it is in memory. KORA_SYSTEM leaves the old
 * file where it was, and may be tried again. */
KORA_API kora_status kora_document_commit(kora_document* document);
/* Of one that was made in memory and committed. *size, which may not be null, gets the size that is needed also where
 * the buffer is too small; a capacity of 0 asks for it. */
KORA_API kora_status kora_document_get_bytes(kora_document* document, void* buffer, size_t capacity,
                                             size_t* size);

/* ---- Writing ---------------------------------------------------------------------------------------------------- */

/* Types are from -32768 to 32767 but for 0 and 2, versions likewise; a type stands in files and is never used for
 * anything else again. At most 64 streams are inside one another. The description, cut to 32763 bytes, is what people see
 * in a list of the contents. A stream with one is found by its key; null leaves it to be found by what is around it,
 * which there has to be. A key leads to one stream: it is refused for one of several of a type at one place, and for what
 * is inside such. */
KORA_API kora_status kora_document_begin(kora_document* document, int32_t type, int32_t version,
                                         const char* description);
/* The same of a list, which has a key whatever its description: so many items follow, each begun by
 * kora_document_begin_item, and nothing else. */
KORA_API kora_status kora_document_begin_list(kora_document* document, int32_t type, int32_t version,
                                              const char* description, int32_t count);
/* The next item of the innermost stream, which is a list: values, streams, or both, and not nothing. It ends with the
 * next one, or with the list. The description may be null. */
KORA_API kora_status kora_document_begin_item(kora_document* document, const char* description);
/* The innermost stream or list. Refused for a list of fewer items than it said, or with an empty one at its end. */
KORA_API kora_status kora_document_end(kora_document* document);

/* What a value is. */
enum {
    KORA_UINT8 = 0,
    KORA_INT16 = 1,
    KORA_UINT16 = 2,
    KORA_INT32 = 3,
    KORA_UINT32 = 4,
    KORA_INT64 = 5,
    KORA_FLOAT64 = 6
};

/* count values of one kind, side by side. Where the system refuses to take them all, the document stays incomplete:
 * whatever else is written into it is KORA_REFUSED, and so is kora_document_commit. */
KORA_API kora_status kora_document_write(kora_document* document, int32_t kind, const void* values,
                                         size_t count);
/* The length and the bytes; what the system refuses is as in kora_document_write. */
KORA_API kora_status kora_document_write_text(kora_document* document, const char* text);

/* ---- Reading ---------------------------------------------------------------------------------------------------- */

/* The item of a step that leads into no list. */
enum { KORA_NO_ITEM = -1 };
/* One step of the way from an outermost stream inward: a type, and of a list the item that the next step is in. */
typedef struct kora_step
{
    int32_t type;
    int32_t item; /* from 0 on, or KORA_NO_ITEM */
} kora_step;
typedef char kora_check_step[sizeof(kora_step) == 8 ? 1 : -1];

/* Opens the stream of a key, whatever else is open: kora_document_leave goes back there. The last step has no item.
 * KORA_NOT_FOUND where the table of contents has no such key. *version, which may be null, is the stream's. */
KORA_API kora_status kora_document_enter(kora_document* document, const kora_step* steps, size_t depth,
                                         int32_t* version);
/* Opens the stream that stands next inside the innermost one; type 0 is any. KORA_BAD_FILE for one of another type. */
KORA_API kora_status kora_document_enter_next(kora_document* document, int32_t type, int32_t* version);
/* The type of that stream, which is not opened. KORA_NOT_FOUND at the end of the innermost one. */
KORA_API kora_status kora_document_next_type(kora_document* document, int32_t* out);
/* At the beginning of an open stream that is a list. */
KORA_API kora_status kora_document_enter_list(kora_document* document, int32_t* count);
/* To an item of the innermost stream, from 0 on, whatever was read of another. */
KORA_API kora_status kora_document_go_to_item(kora_document* document, int32_t item);
/* Behind the innermost stream, whatever was read of it, or to where kora_document_enter was called. */
KORA_API kora_status kora_document_leave(kora_document* document);

/* KORA_BAD_FILE, with nothing read, where the innermost stream has not so many bytes. */
KORA_API kora_status kora_document_read(kora_document* document, int32_t kind, void* values, size_t count);
/* *size, which may be null, gets the bytes before the zero; where they do not fit the text is still to be read. */
KORA_API kora_status kora_document_read_text(kora_document* document, char* buffer, size_t capacity,
                                             size_t* size);
/* Of the innermost stream: those that were not read. */
KORA_API kora_status kora_document_bytes_left(kora_document* document, int64_t* out);

/* ---- The table of contents, of a document to read ----------------------------------------------------------------- */

/* Keys ascend, and are counted from 0. */
KORA_API kora_status kora_document_key_count(kora_document* document, size_t* out);
/* The way to a key's stream. *depth, which may not be null, gets how many steps are needed also where there is no room
 * for them. *items gets how many items the stream has in the table, or KORA_NO_ITEM where it is no list; it may be
 * null. */
KORA_API kora_status kora_document_get_key(kora_document* document, size_t index, kora_step* steps,
                                           size_t capacity, size_t* depth, int32_t* items);
/* The description of a stream (KORA_NO_ITEM), or of one of its items. */
KORA_API kora_status kora_document_get_description(kora_document* document, size_t index, int32_t item,
                                                   char* buffer, size_t capacity, size_t* size);

/* ---- Songs in documents ----------------------------------------------------------------------------------------- */

/* The song of a document that is open to read, in which nothing is entered. */
KORA_API kora_status kora_song_read_document(kora_document* document, kora_song** out);
/* Writes it as streams 16, 17, 18 and 32, outermost; refused where one of them is there. KORA_BAD_FILE, with nothing
 * written, for a song that could not be read again (kora_song_save). */
KORA_API kora_status kora_song_write_document(kora_song* song, kora_document* document);

/* ---- Damage ----------------------------------------------------------------------------------------------------- */

/* Something wrong at a byte of a file, or lost. */
typedef void (*kora_fault_handler)(void* user, int64_t offset, const char* text);
/* Tells of everything that is wrong in a document, in the order of the file; *faults, which may be null, gets how many.
 * A document with faults is KORA_OK, a file that cannot be read is not. The handler may be null. */
KORA_API kora_status kora_document_check(const char* path, kora_fault_handler handler, void* user,
                                         size_t* faults);
/* Writes what is whole of one to a new document, which takes the place of the file there; both may be the same. Tells
 * of what is lost; *recovered, which may be null, gets how many streams came back. KORA_NOT_FOUND, with nothing written,
 * where none did. */
KORA_API kora_status kora_document_repair(const char* from, const char* to, kora_fault_handler handler,
                                          void* user, size_t* recovered);

#ifdef __cplusplus
}
#endif
