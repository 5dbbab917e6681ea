/* SPDX-License-Identifier: GPL-3.0-or-later */
/*
 * The engine library's common services: allocator, strings, token streams, mutexes, diagnostics.
 * Programs that hand memory to the engine or take memory from it use this allocator.
 *
 * Conventions
 *  1. Memory that a function returns belongs to the caller, who releases it with cst_free.
 *  2. A function that allocates returns null when memory is out; none of them ends the process.
 *  3. A null string counts as an empty one, except where noted.
 *  4. All functions may be called on any thread; an object by one thread at a time.
 */
#ifndef CST_H
#define CST_H

#include <pthread.h>
#include <stddef.h>

#include "kavrel.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Allocator ----------------------------------------------------------------------------- */

/* `size` bytes, all zero. A size of 0 gives a pointer that can be released. */
KAVREL_API void* cst_safe_alloc(size_t size);

/* Changes the size of `memory` (null: a new block), keeping the contents up to the smaller size;
 * bytes beyond the old size are not set. When it fails, `memory` is unchanged. */
KAVREL_API void* cst_safe_realloc(void* memory, size_t size);

/* Releases; null is allowed. */
KAVREL_API void cst_free(void* memory);

/* ---- Strings ------------------------------------------------------------------------------- */

/* A copy of `string`; null for null. */
KAVREL_API char* cst_strdup(const char* string);

/* A new string of the `length` bytes of `string` from `start` on; both count bytes, and a negative
 * one counts as 0. NUL bytes are copied like any other: the caller promises that the bytes exist.
 */
KAVREL_API char* cst_substr(const char* string, long start, long length);

/* A new string: `first`, then `second`, of which at most `limit` bytes are used (0: all). Neither
 * argument is released. */
KAVREL_API char* cst_string_append(const char* first, const char* second, size_t limit);

/* ---- Token streams ------------------------------------------------------------------------- */

/* Reads a string word by word. */
typedef struct cst_tokenstream cst_tokenstream;

/* A stream over `string`, which must stay as it is until ts_close. The other arguments are sets of
 * characters; null takes the default.
 *  whitespace        between words; default: blank, tab, carriage return, line feed
 *  singlecharsymbols each of these is a word of its own wherever it stands; default: none
 *  prepunctuation    stripped from the start of a word; default: none
 *  postpunctuation   stripped from the end of a word; default: none
 * A word that consists of punctuation only comes out as the empty word. */
KAVREL_API cst_tokenstream* ts_open_string(const char* string, const char* whitespace,
                                           const char* singlecharsymbols,
                                           const char* prepunctuation, const char* postpunctuation);

/* The next word; the empty word at the end, and for a null stream; null when memory is out. Owned
 * by the stream, and good until the next ts_get or ts_close. */
KAVREL_API const char* ts_get(cst_tokenstream* stream);

/* 1 when no word is left (white space may be), else 0; 1 for a null stream. */
KAVREL_API int ts_eof(cst_tokenstream* stream);

/* Releases the stream; null is allowed. */
KAVREL_API void ts_close(cst_tokenstream* stream);

/* ---- Mutexes ------------------------------------------------------------------------------- */

/* Thin wrappers of the system's operations, with the system's results (0, or an error number). */
KAVREL_API int mutex_lock(pthread_mutex_t* mutex);
KAVREL_API int mutex_unlock(pthread_mutex_t* mutex);
KAVREL_API int mutex_destroy(pthread_mutex_t* mutex);

/* ---- Diagnostics --------------------------------------------------------------------------- */

/* Which areas write diagnostic lines (bits), and how much. Both are 0 at start: nothing is written.
 * A caller tests them, then writes a line with four calls:
 *
 *    if ((cst_diag_mask & 0x800) && cst_diag_level > 3) {
 *      cst_dbg_timestamp();
 *      cst_dbg_ffl("File", "function", 17);
 *      cst_dbg_context(0x800);
 *      cst_errmsg("Close Channel ID: %d\n", id);
 *    }
 *
 * The first three keep their part for the same thread's next cst_errmsg, which writes the whole
 * line to standard error at once, so that lines of several threads do not mix. Set them before the
 * first thread starts. */
KAVREL_API extern unsigned int cst_diag_mask;
KAVREL_API extern int cst_diag_level;

#define CST_DIAG_CHANNELS 0x800u /* entry points and channels of the plug-in */
#define CST_DIAG_MARKUP 0x1000u  /* markup model and converter of the plug-in */
#define CST_DIAG_ENGINE 0x2000u  /* this library */

/* Time of day, to the millisecond. */
KAVREL_API void cst_dbg_timestamp(void);
/* Source file, function and line that the message comes from. */
KAVREL_API void cst_dbg_ffl(const char* file, const char* function, int line);
/* Area of the message, one of the bits above. */
KAVREL_API void cst_dbg_context(unsigned int area);
/* Writes what was gathered, then the message, formatted as printf does. */
KAVREL_API void cst_errmsg(const char* format, ...)
#if defined(__GNUC__)
    __attribute__((format(printf, 1, 2)))
#endif
    ;

#ifdef __cplusplus
}
#endif

#endif
