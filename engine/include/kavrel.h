/* SPDX-License-Identifier: GPL-3.0-or-later */
/*
 * Kavrel: the C interface of the speech engine.
 *
 * An engine speaks through ports. A port has settings, a voice, at most one callback, and a queue
 * of jobs; a job is one text, spoken in the background. Ports speak at the same time, each on its
 * own.
 *
 * Conventions
 *  1. Text is 8-bit, ISO 8859-15, with speech markup (prosody, say-as, emphasis, break, mark,
 *     phoneme elements and entities). Positions and lengths count bytes of the text as given.
 *  2. Strings are NUL-terminated. The engine copies what it keeps; nothing that a caller passes has
 *     to outlive the call.
 *  3. Results are kavrel_result_t: 0 or more is success, negative is failure. Functions that return
 *     a pointer return null on failure and write one diagnostic line (cst.h).
 *  4. A null handle never crashes: an operation answers KAVREL_INVALID_POINTER or null, except that
 *     a stop with nothing to stop succeeds.
 *  5. No function lets a C++ exception out.
 *  6. Settings in the markup reach as far as the voice does: rates from 80 to 600 words per minute,
 *     volumes from 0 to 300 percent of the voice's own, pitch and its range (Hz) by the voice. What
 *     lies beyond is spoken at the nearest; what is no number above 0 (no negative one, for volume
 *     and range) changes nothing, a volume below 0 aside, which counts as 0.
 *
 * Threads
 *  [any]      may be called on any thread at any time, the port's callback included.
 *  [callback] only inside the callback that was given the event.
 *  The callback of a port runs on the thread of the job that is speaking, never on two threads at
 *  the same time, and under no lock of the engine: every function tagged [any] may be called in it.
 */
#ifndef KAVREL_H
#define KAVREL_H

#include <stddef.h>
#include <stdint.h>

#if defined(__GNUC__)
#define KAVREL_API __attribute__((visibility("default")))
#else
#define KAVREL_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* An engine: the synthesiser behind its ports. Lives until the process ends. */
typedef struct kavrel_engine_struct kavrel_engine_struct;
/* A port: one speaker. Owned by whoever opened it, until kavrel_port_close. */
typedef struct kavrel_port_struct kavrel_port_struct;
/* A set of named values. */
typedef struct kavrel_params kavrel_params;
/* A value for a parameter set. */
typedef struct kavrel_val kavrel_val;
/* A loaded voice. Owned by the engine. */
typedef struct kavrel_voice_struct kavrel_voice_struct;
/* An event; exists only while the callback runs that was given it. */
typedef struct kavrel_event_struct kavrel_event_struct;
/* Handle of a job; null names no job. Stays harmless after the job has ended, and is never used
 * again for another job: an operation on it answers that the job is over. */
typedef struct kavrel_background_struct* kavrel_background_t;

/* Event types are bits, so that a mask can name several. */
typedef uint32_t kavrel_event_t;
#define KAVREL_EVENT_NONE ((kavrel_event_t)0)
#define KAVREL_EVENT_AUDIO ((kavrel_event_t)1)     /* a block of samples; not sent by this engine */
#define KAVREL_EVENT_ERROR ((kavrel_event_t)2)     /* the job cannot go on; END follows */
#define KAVREL_EVENT_SENTENCE ((kavrel_event_t)4)  /* a sentence begins */
#define KAVREL_EVENT_PHRASE ((kavrel_event_t)8)    /* not sent by this engine */
#define KAVREL_EVENT_TOKEN ((kavrel_event_t)16)    /* not sent by this engine */
#define KAVREL_EVENT_WORD ((kavrel_event_t)32)     /* a word begins */
#define KAVREL_EVENT_BOOKMARK ((kavrel_event_t)64) /* a mark element is reached */
#define KAVREL_EVENT_SYLLABLE ((kavrel_event_t)128) /* not sent by this engine */
#define KAVREL_EVENT_PHONEME ((kavrel_event_t)256)  /* a phone begins */
#define KAVREL_EVENT_START ((kavrel_event_t)512)    /* the job begins: its first event */
#define KAVREL_EVENT_END                                               \
  ((kavrel_event_t)1024) /* the job is over: its last event, sent once \
                            for every job however it ended */
#define KAVREL_EVENT_ALL ((kavrel_event_t)0xFFFFFFFFu)
#define KAVREL_EVENT_NOW ((kavrel_event_t)0xFFFFFFFFu) /* as a place: at once */

typedef enum kavrel_result {
  KAVREL_SUCCESS = 0,
  KAVREL_UNKNOWN_ERROR = -1,
  KAVREL_UNIMPLEMENTED = -2,
  KAVREL_INTERNAL_ERROR = -3,
  KAVREL_INVALID_PARAM = -4,
  KAVREL_INVALID_POINTER = -5,
  KAVREL_OBJECT_NOT_FOUND = -6,
  KAVREL_UNKNOWN_ENCODING = -7,
  KAVREL_INTERRUPTED = -8,
  KAVREL_INVALID_VOICE = -9,
  KAVREL_FILE_ERROR = -10,
  KAVREL_WRONG_EVENT = -11,
  KAVREL_ENGINE_INUSE = -12,
  KAVREL_NETWORK_ERROR = -13,
  KAVREL_INVALID_KEY = -14,
  KAVREL_QUEUE_FULL = -15
} kavrel_result_t;

/* A short message for `result`, without a line feed; "unknown error" for a number that is none of
 * the above. Owned by the engine.  [any] */
KAVREL_API const char* kavrel_strerror(kavrel_result_t result);

/* ---- Parameters ---------------------------------------------------------------------------- */

/* Keys that the engine reads; values under other keys are kept and not read.
 *
 * Of an engine:
 *  - "voice/cache-policy", a string: "preload" starts the synthesiser when the engine is
 *    opened, any other text when it is first needed.
 *
 * Of a port:
 *  - "audio/device", a string: name of the sound device that the port's jobs are heard on, as
 *    kavrel_audio_devices tells it; "" is the default device, which may change while a job speaks.
 *  - "audio/output-file", a string: path of the file that every job of the port is written to,
 *    instead of the sound output. A new job overwrites the file, which keeps what it holds
 *    until the job has sound, or is over without. Links are followed; pipes and terminals are
 *    refused. One job at a time writes a file: another one, of any process, fails with an ERROR
 *    event when it has sound. So does a job whose sound exceeds what an AIFF file can hold, 27
 *    hours; the file then holds all but the rest, as it does when the disk is full.
 *  - "audio/output-format", a string: "aiff" (the default).
 *  - "events/immediate", an integer. 1: events come as the sound is produced, 0: as it is heard.
 *    File output always has them as the sound is produced. */
#define KAVREL_KEY_CACHE_POLICY "voice/cache-policy"
#define KAVREL_KEY_AUDIO_DEVICE "audio/device"
#define KAVREL_KEY_OUTPUT_FILE "audio/output-file"
#define KAVREL_KEY_OUTPUT_FORMAT "audio/output-format"
#define KAVREL_KEY_EVENTS_IMMEDIATE "events/immediate"

/* A new set that starts as a copy of `base`, or empty when `base` is null. The caller owns it; one
 * that is never released costs less than 200 bytes. Null when memory is out.  [any] */
KAVREL_API kavrel_params* kavrel_params_new(const kavrel_params* base);

/* Releases the set and its values; null is allowed.  [any] */
KAVREL_API void kavrel_params_delete(kavrel_params* params);

/* A value for kavrel_params_set_val, which takes it over; null when memory is out, or for a null
 * string.  [any] */
KAVREL_API kavrel_val* kavrel_val_string(const char* string);
KAVREL_API kavrel_val* kavrel_val_int(int value);

/* Stores `value` under `key`, in place of an earlier one, and owns it from then on, also when it
 * fails. One thread at a time may change a set.
 * Results: KAVREL_SUCCESS, KAVREL_INVALID_POINTER (an argument is null), KAVREL_INVALID_KEY (the
 * key is empty), KAVREL_INTERNAL_ERROR (memory is out).  [any] */
KAVREL_API kavrel_result_t kavrel_params_set_val(kavrel_params* params, const char* key,
                                                 kavrel_val* value);

/* ---- Engine and ports ---------------------------------------------------------------------- */

/* Opens an engine; `params` may be null and is not kept. All engines of a process share one
 * synthesiser. Null when the synthesiser cannot be started.  [any] */
KAVREL_API kavrel_engine_struct* kavrel_engine_open(const kavrel_params* params);

/* Opens a port; `params` may be null and is copied. An idle port has no thread, no file, no device
 * and takes less than 1 KiB. Null when `engine` is null or memory is out.  [any] */
KAVREL_API kavrel_port_struct* kavrel_port_open(kavrel_engine_struct* engine,
                                                const kavrel_params* params);

/* Stops the port's jobs at once, waits for them as kavrel_port_wait does, and gives the port up:
 * the handle must not be used again. Called from the port's own callback, or when a client callback
 * hangs, it does not wait; the port then goes when its jobs are over.
 * Results: KAVREL_SUCCESS, KAVREL_INVALID_POINTER.  [any] */
KAVREL_API kavrel_result_t kavrel_port_close(kavrel_port_struct* port);

/* Called for every event whose bit is in the port's mask, with the `user` of
 * kavrel_port_set_callback. Its result is not looked at. It may call every function of this
 * interface, for its own port too; kavrel_port_wait then answers at once. A callback that does not
 * return holds up its own port only. */
typedef kavrel_result_t (*kavrel_callback_t)(kavrel_event_struct* event, kavrel_event_t type,
                                             void* user);

/* Installs the port's one callback, in place of an earlier one; a null callback switches events
 * off. Holds from the next job on.
 * Results: KAVREL_SUCCESS, KAVREL_INVALID_POINTER (port).  [any] */
KAVREL_API kavrel_result_t kavrel_port_set_callback(kavrel_port_struct* port,
                                                    kavrel_callback_t callback, kavrel_event_t mask,
                                                    void* user);

/* Loads the voice whose data file lies in `directory`, for the port's next jobs. A port without a
 * voice speaks with the engine's default voice. Null, with a diagnostic line that says what is
 * wrong, when the folder holds no usable voice; the port keeps the voice it had.  [any] */
KAVREL_API kavrel_voice_struct* kavrel_port_set_voice_from_dir(kavrel_port_struct* port,
                                                               const char* directory);

/* ---- Sound output --------------------------------------------------------------------------

   A job without an output file is heard on a sound device. It holds the device from its first sound
   to its END. Where there is no device, or none of the name that is asked for, or it is lost on the
   way, the job goes on in silence: it takes the same time and sends the same events, and one
   diagnostic line tells of it. The next job tries the device again.

   With the environment variable KAVREL_AUDIO set to "none", which is read once, no device is ever
   used, and nothing is said of it. The variable KAVREL_AUDIO_DEVICE, which is read once, too, names
   the device of ports whose "audio/device" is "". */

/* Receives one device: its name for KAVREL_KEY_AUDIO_DEVICE, a description for people (both UTF-8,
 * there only during the call), and 1 for a default device, else 0. */
typedef void (*kavrel_device_callback_t)(const char* name, const char* description, int is_default,
                                         void* user);

/* Calls `callback` on the calling thread once for every sound device that jobs can be heard on now.
 * Takes some milliseconds.
 * Results: the number of devices, 0 when there is no sound output; KAVREL_INVALID_POINTER
 * (callback), KAVREL_INTERNAL_ERROR (memory is out).  [any] */
KAVREL_API int kavrel_audio_devices(kavrel_device_callback_t callback, void* user);

/* ---- Jobs ---------------------------------------------------------------------------------- */

/* Starts to speak `length` bytes of `text` in the background and stores the job's handle in `*job`
 * (before any event of it). A job that is still running on the port is not disturbed: the new one
 * starts when it has ended. `encoding` is null or "iso-8859-15"; `params` is null or overrides the
 * port's parameters for this job.
 * With file output, the file is there before the call returns, and can be read when the job is
 * over, if need be without samples in it. A failure to write is told by an ERROR event alone.
 * Results: KAVREL_SUCCESS; KAVREL_INVALID_POINTER (port or job is null, or text is null with a
 * length); KAVREL_UNKNOWN_ENCODING; KAVREL_FILE_ERROR (the file cannot be written);
 * KAVREL_INTERNAL_ERROR (no memory or no thread). On failure no event comes and `*job` is null.
 * [any] */
KAVREL_API kavrel_result_t kavrel_port_speak_text(kavrel_port_struct* port, const char* text,
                                                  size_t length, const char* encoding,
                                                  kavrel_background_t* job,
                                                  const kavrel_params* params);

/* Toggles: pauses a speaking job at `boundary`, resumes a paused one (`boundary` is then not looked at)
 * at the very sample where it paused. A pause that is still waiting for its place is called off by
 * a second call.
 * `boundary`: KAVREL_EVENT_NOW; KAVREL_EVENT_WORD, at the end of the current word;
 * KAVREL_EVENT_SENTENCE, at the end of the current sentence; any other value counts as NOW.
 * With no word or sentence begun, that is where the job stands; a job that pauses in its last one
 * is not over before it is resumed. With file output, a pause holds the production. To pause a job
 * at once that waits for the place of a stop is to stop it at once.
 * A null job names the port's current one. Returns at once.
 * Results: KAVREL_SUCCESS, KAVREL_INVALID_POINTER (port), KAVREL_OBJECT_NOT_FOUND (no such job, or
 * it is over).  [any] */
KAVREL_API kavrel_result_t kavrel_port_pause(kavrel_port_struct* port, kavrel_background_t job,
                                             kavrel_event_t boundary);

/* Ends the job at `boundary` (as for kavrel_port_pause). Returns at once; the job is over when END has
 * been sent. A paused job ends where it stands, whatever the place, and one that has not begun does
 * not begin. Of two stops the nearer place holds.
 * A null job names all jobs of the port. Succeeds when there is nothing to stop, for a null port
 * too.
 * Results: KAVREL_SUCCESS.  [any] */
KAVREL_API kavrel_result_t kavrel_port_stop(kavrel_port_struct* port, kavrel_background_t job,
                                            kavrel_event_t boundary);

/* Returns when the job is over: END has been sent and its callback has returned. A null job names
 * all jobs of the port. A job that is over already does not wait.
 * Results: KAVREL_SUCCESS, for a job that failed, too; KAVREL_INVALID_POINTER (port);
 * KAVREL_ENGINE_INUSE, at once, when called from the port's own callback, or when a callback has
 * not returned one second after the job's sound has ended, or has run out because of it.  [any] */
KAVREL_API kavrel_result_t kavrel_port_wait(kavrel_port_struct* port, kavrel_background_t job);

/* ---- Events -------------------------------------------------------------------------------- */

/* Stores in `*text` the text that belongs to the event: the word as it stands in the text (entities
 * resolved), the phone's name ("ae", "pau" …), the mark's name, the message of an error; "" for
 * other types. The event owns it.
 * Results: KAVREL_SUCCESS, KAVREL_INVALID_POINTER.  [callback] */
KAVREL_API kavrel_result_t kavrel_event_get_text(kavrel_event_struct* event, char** text);

/* Stores the event's place in the text given to kavrel_port_speak_text, in bytes. WORD: the word,
 * entities and tags inside it at their full length. PHONEME: the word that the phone belongs to.
 * SENTENCE: the sentence. BOOKMARK: the mark element, its tag at full length. START: 0 and the
 * length of the text. END: 0 length, at the end of the text, or where it was stopped: at the
 * current word, or at its end when it was spoken whole. Either pointer may be null. Results:
 * KAVREL_SUCCESS, KAVREL_INVALID_POINTER (event).  [callback] */
KAVREL_API kavrel_result_t kavrel_event_get_textpos(kavrel_event_struct* event, int* start,
                                                    int* length);

#ifdef __cplusplus
}
#endif

#endif
