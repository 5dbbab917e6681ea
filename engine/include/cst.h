/* SPDX-License-Identifier: Apache-2.0 */
/*
 * The engine library's common services: allocator, strings, token streams, mutexes, diagnostics.
 * Programs that pass memory to the engine, or receive memory from it, use this allocator.
 *
 * Conventions
 *  1. Memory. Memory that a function returns belongs to the caller, who releases it with cst_free,
 *     except where noted.
 *  2. Errors. A function that allocates returns null when out of memory. No function ends the
 *     process or throws a C++ exception.
 *  3. Nulls. A null string counts as an empty one, except where noted. A null stream is an empty
 *     one; a null mutex gives EINVAL.
 *  4. Strings are NUL-terminated; lengths and positions count bytes, without regard to a character
 *     encoding.
 *  5. Threads. Every function ends its comment with one of these tags:
 *      [any]        may be called on any thread at any time.
 *      [one thread] an object is used by one thread at a time; different objects are independent.
 */
#ifndef CST_H
#define CST_H

#include <pthread.h>
#include <stddef.h>

#include "kavrel.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Allocator */

/* Allocates `size` bytes, all zero. A size of 0 returns a pointer that can be released.
 * Returns null when out of memory.  [any] */
KAVREL_API void* cst_safe_alloc(size_t size);

/* Changes the size of `memory` (null: allocates a new block). Contents are kept up to the smaller
 * of both sizes; bytes beyond the old size are not initialised. Returns the block, which may have
 * moved; null when out of memory, `memory` is then unchanged and still owned by the caller.  [any]
 */
KAVREL_API void* cst_safe_realloc(void* memory, size_t size);

/* Releases `memory`; null is allowed.  [any] */
KAVREL_API void cst_free(void* memory);

/* ---- Strings */

/* Returns a copy of `string`; null if `string` is null or when out of memory.  [any] */
KAVREL_API char* cst_strdup(const char* string);

/* Returns a new string of the `length` bytes of `string` that begin at byte `start`. A negative
 * `start` or `length` counts as 0. NUL bytes are copied like any other: the caller guarantees that
 * the bytes exist. Returns null when out of memory.  [any] */
KAVREL_API char* cst_substr(const char* string, long start, long length);

/* Returns a new string: `first`, then at most `limit` bytes of `second` (0: all of it). Neither
 * argument is released. Returns null when out of memory.  [any] */
KAVREL_API char* cst_string_append(const char* first, const char* second, size_t limit);

/* ---- Token streams */

/* Reads a string word by word. */
typedef struct cst_tokenstream cst_tokenstream;

/* Opens a stream over `string`, which must stay valid and unchanged until ts_close. The other
 * arguments are sets of characters; null selects the default.
 *  whitespace        separates words; default: blank, tab, carriage return, line feed
 *  singlecharsymbols each of these is a word of its own, wherever it is; default: none
 *  prepunctuation    stripped from the start of a word; default: none
 *  postpunctuation   stripped from the end of a word; default: none
 * A word of punctuation only is returned as the empty word.
 * Returns the stream, to be released with ts_close; null when out of memory.  [any] */
KAVREL_API cst_tokenstream* ts_open_string(const char* string, const char* whitespace,
                                           const char* singlecharsymbols,
                                           const char* prepunctuation, const char* postpunctuation);

/* Returns the next word; the empty word at the end and for a null stream; null when out of memory.
 * The stream owns the word, which is valid until the next ts_get or ts_close.  [one thread] */
KAVREL_API const char* ts_get(cst_tokenstream* stream);

/* Returns 1 if no word is left (white space may be left) or if the stream is null, else 0.
 * [one thread] */
KAVREL_API int ts_eof(cst_tokenstream* stream);

/* Releases the stream; null is allowed.  [one thread] */
KAVREL_API void ts_close(cst_tokenstream* stream);

/* ---- Mutexes */

/* Thin wrappers of the system's operations. Return 0, or the system's error number; EINVAL for a
 * null mutex.  [any] */
KAVREL_API int mutex_lock(pthread_mutex_t* mutex);
KAVREL_API int mutex_unlock(pthread_mutex_t* mutex);
KAVREL_API int mutex_destroy(pthread_mutex_t* mutex);

/* ---- Diagnostics */

/* Which areas write diagnostic lines (a mask of the bits below), and how much. Both are 0 at start:
 * nothing is written. Set them before the first thread starts; they are read without a lock. The
 * caller of the functions below tests them, then writes a line with four calls:
 *
 *    if ((cst_diag_mask & 0x800) && cst_diag_level > 3) {
 *      cst_dbg_timestamp();
 *      cst_dbg_ffl("File", "function", 17);
 *      cst_dbg_context(0x800);
 *      cst_errmsg("Close Channel ID: %d\n", id);
 *    }
 *
 * The first three store their part for the next cst_errmsg of the same thread, which writes the
 * whole line to standard error at once, so that lines of several threads do not mix. */
KAVREL_API extern unsigned int cst_diag_mask;
KAVREL_API extern int cst_diag_level;

#define CST_DIAG_CHANNELS 0x800u /* entry points and channels of the plug-in */
#define CST_DIAG_MARKUP 0x1000u  /* markup model and converter of the plug-in */
#define CST_DIAG_ENGINE 0x2000u  /* this library */

/* Stores the time of day, to the millisecond.  [any] */
KAVREL_API void cst_dbg_timestamp(void);
/* Stores the source file, function and line that the message comes from.  [any] */
KAVREL_API void cst_dbg_ffl(const char* file, const char* function, int line);
/* Stores the area of the message, one of the bits above.  [any] */
KAVREL_API void cst_dbg_context(unsigned int area);
/* Writes the stored parts, then the message, formatted as by printf. No line feed is added: a
 * message without one is a line that the caller's next output to standard error completes. A null
 * format is ignored; when out of memory, a long message is truncated and ends with a line feed.
 * Does not change errno.  [any] */
KAVREL_API void cst_errmsg(const char* format, ...)
#if defined(__GNUC__)
    __attribute__((format(printf, 1, 2)))
#endif
    ;

#ifdef __cplusplus
}
#endif

#endif
