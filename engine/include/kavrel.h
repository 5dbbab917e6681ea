/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Kavrel: the C interface of the speech engine.
 *
 * An engine speaks through ports. A port has settings, a voice, at most one callback, and a queue
 * of jobs. A job is one text, spoken in the background. The jobs of one port are spoken one after
 * the other; jobs of several ports are spoken at the same time.
 *
 * Conventions
 *  1. Text. Text is ISO 8859-15 or UTF-8, with speech markup: prosody, say-as, emphasis, break,
 *     mark and phoneme elements, and entities. A byte of malformed UTF-8 separates words. Positions
 *     and lengths count bytes of the text as the caller gave it, markup included.
 *  2. Strings. Strings are NUL-terminated. The engine copies what it keeps: nothing that a caller
 *     passes has to outlive the call. Strings that the engine returns belong to the engine.
 *  3. Errors. A kavrel_result_t of 0 or more is success, a negative one is failure. Functions that
 *     return a pointer return null on failure. The cause of a failure is written as a diagnostic
 *     line (cst.h) if the host has switched these on.
 *  4. Nulls. A null handle never crashes: the function returns KAVREL_INVALID_POINTER or null. The
 *     one exception is a stop of a null port, which succeeds. Null job handles have a meaning of
 *     their own, stated at each function.
 *  5. Exceptions. No function throws a C++ exception. Exceptions that a callback throws are caught
 *     and reported as a diagnostic line.
 *  6. Limits. Settings in the markup are clamped to what the voice can speak: rates to 80 to 600
 *     words per minute, volumes to 0 to 300 percent of the voice's own, pitch and pitch range (Hz)
 *     to the voice's limits. Values that are not numbers are ignored, as are rates and pitches that
 *     are not above 0, and pitch ranges below 0. A volume below 0 counts as 0.
 *  7. Threads. Every function ends its comment with one of these tags:
 *      [any]      may be called on any thread at any time, also in a callback.
 *      [callback] may be called only in the callback that received the event.
 *     A port's callback runs on the thread of the job that is speaking, never on two threads at the
 *     same time, and under no lock of the engine.
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

/* An engine: the synthesiser that its ports share. Exists until the process exits. */
typedef struct kavrel_engine_struct kavrel_engine_struct;
/* A port: one speaker. Owned by the caller that opened it, until kavrel_port_close. */
typedef struct kavrel_port_struct kavrel_port_struct;
/* A set of named values. */
typedef struct kavrel_params kavrel_params;
/* A value for a parameter set. */
typedef struct kavrel_val kavrel_val;
/* A loaded voice. Owned by the engine. */
typedef struct kavrel_voice_struct kavrel_voice_struct;
/* An event. Exists only while the callback that receives it runs. */
typedef struct kavrel_event_struct kavrel_event_struct;
/* Handle of a job. Stays valid after the job has ended, and is never reused for another job:
 * operations on the handle of an ended job do nothing and report, each in its own way, that the job
 * is over. */
typedef struct kavrel_background_struct* kavrel_background_t;

/* Event types are bits, so that a mask can name several. */
typedef uint32_t kavrel_event_t;
#define KAVREL_EVENT_NONE ((kavrel_event_t)0)
#define KAVREL_EVENT_AUDIO ((kavrel_event_t)1)     /* a block of samples; not sent by this engine */
#define KAVREL_EVENT_ERROR ((kavrel_event_t)2)     /* the job has failed; END follows */
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
                            for every job, however it ended */
#define KAVREL_EVENT_ALL ((kavrel_event_t)0xFFFFFFFFu)
#define KAVREL_EVENT_NOW ((kavrel_event_t)0xFFFFFFFFu) /* as a boundary: immediately */

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

/* Returns a short English message for `result`, without a line feed; "unknown error" for a value
 * that is not listed above. The engine owns it.  [any] */
KAVREL_API const char* kavrel_strerror(kavrel_result_t result);

/* ---- Parameters */

/* Keys that the engine reads. Values under other keys are kept and ignored.
 *
 * Keys of an engine:
 *  - "voice/cache-policy", a string: "preload" starts the synthesiser when the engine is opened;
 *    with any other text it is started when it is first needed.
 *
 * Keys of a port:
 *  - "audio/device", a string: name of the sound device for the port's jobs, as reported by
 *    kavrel_audio_devices; "" is the default device, which may change while a job speaks.
 *  - "audio/output-file", a string: path of the file that every job of the port is written to,
 *    instead of being played. A new job overwrites the file. The file keeps its old contents until
 *    the job has its first audio, or ends without any. Symbolic links are followed; pipes and
 *    terminals are rejected. Only one job at a time may write a file, in all processes: another job
 *    fails with an ERROR event when it has audio to write. A job also fails when the disk is full,
 *    or when its audio exceeds what an AIFF file can hold, 27 hours; the file then holds the audio
 *    up to that point.
 *  - "audio/output-format", a string: "aiff" (the default).
 *  - "events/immediate", an integer. 1: events are sent as the audio is produced; 0: as it is
 *    heard. With file output they are always sent as the audio is produced.
 *  - "voice/one-voice", an integer. 1: the whole text is spoken by the port's voice; 0, the
 * default: words in a script that the voice's language does not write may be spoken by another
 * voice. */
#define KAVREL_KEY_CACHE_POLICY "voice/cache-policy"
#define KAVREL_KEY_AUDIO_DEVICE "audio/device"
#define KAVREL_KEY_OUTPUT_FILE "audio/output-file"
#define KAVREL_KEY_OUTPUT_FORMAT "audio/output-format"
#define KAVREL_KEY_EVENTS_IMMEDIATE "events/immediate"
#define KAVREL_KEY_ONE_VOICE "voice/one-voice"

/* Returns a new set, a copy of `base`, or an empty one if `base` is null. The caller owns it and
 * releases it with kavrel_params_delete; a set that is never released leaks less than 200 bytes.
 * Returns null when out of memory.  [any] */
KAVREL_API kavrel_params* kavrel_params_new(const kavrel_params* base);

/* Releases the set and its values; null is allowed.  [any] */
KAVREL_API void kavrel_params_delete(kavrel_params* params);

/* Returns a value for kavrel_params_set_val, which takes ownership of it; a value that is never
 * passed to it leaks. The string is copied. Returns null when out of memory or if `string` is null.
 * [any] */
KAVREL_API kavrel_val* kavrel_val_string(const char* string);
KAVREL_API kavrel_val* kavrel_val_int(int value);

/* Stores `value` under `key`, replacing an earlier value. Takes ownership of `value`, also when it
 * fails. A set may be changed by one thread at a time.
 * Results: KAVREL_SUCCESS; KAVREL_INVALID_POINTER (an argument is null); KAVREL_INVALID_KEY (the
 * key is empty); KAVREL_INTERNAL_ERROR (out of memory).  [any] */
KAVREL_API kavrel_result_t kavrel_params_set_val(kavrel_params* params, const char* key,
                                                 kavrel_val* value);

/* ---- Engine and ports */

/* Opens an engine. `params` may be null and is not kept. All engines of a process are one object
 * and share one synthesiser; there is no function that closes an engine. Starts the synthesiser if
 * `params` ask for it (KAVREL_KEY_CACHE_POLICY); if that fails, writes a line with the cause to
 * standard error and returns null.  [any] */
KAVREL_API kavrel_engine_struct* kavrel_engine_open(const kavrel_params* params);

/* Opens a port. `params` may be null and is copied. The caller closes the port with
 * kavrel_port_close. An idle port has no thread, file or device and takes less than 1 KiB. Returns
 * null if `engine` is null or when out of memory.  [any] */
KAVREL_API kavrel_port_struct* kavrel_port_open(kavrel_engine_struct* engine,
                                                const kavrel_params* params);

/* Stops the port's jobs immediately, waits for them as kavrel_port_wait does, and closes the port:
 * the handle must not be used afterwards. Does not wait if called in the port's own callback, and
 * at most one second for a callback that does not return; the port's resources are then released
 * when its jobs are over.
 * Results: KAVREL_SUCCESS; KAVREL_INVALID_POINTER (port).  [any] */
KAVREL_API kavrel_result_t kavrel_port_close(kavrel_port_struct* port);

/* Receives every event whose bit is in the port's mask. `user` is that of kavrel_port_set_callback.
 * The result is ignored. The callback may call every function of this interface, for its own port
 * too; kavrel_port_wait then returns immediately. A callback that does not return blocks its own
 * port only. */
typedef kavrel_result_t (*kavrel_callback_t)(kavrel_event_struct* event, kavrel_event_t type,
                                             void* user);

/* Sets the port's one callback, replacing an earlier one; a null callback switches events off.
 * Takes effect for jobs started afterwards.
 * Results: KAVREL_SUCCESS; KAVREL_INVALID_POINTER (port).  [any] */
KAVREL_API kavrel_result_t kavrel_port_set_callback(kavrel_port_struct* port,
                                                    kavrel_callback_t callback, kavrel_event_t mask,
                                                    void* user);

/* Loads the voice from the data file in `directory`. Takes effect for jobs started afterwards. A
 * port without a voice speaks with the engine's default voice.
 * Returns the voice, which the engine owns until the process exits; null, with a diagnostic line
 * that states the cause, if the folder holds no usable voice. The port then keeps the voice it had.
 * [any] */
KAVREL_API kavrel_voice_struct* kavrel_port_set_voice_from_dir(kavrel_port_struct* port,
                                                               const char* directory);

/* ---- Sound devices */

/* A job without an output file is played on a sound device. It holds the device from its first
 * audio to its END. If no device is found, or none of the requested name, or the device is lost
 * during the job, nothing is heard, but the job still runs in real time and sends every event; one
 * diagnostic line reports it. The same holds if the device or the sound server stands still for two
 * seconds. The next job tries the device again.
 *
 * If the environment variable KAVREL_AUDIO is "none", no device is ever used, and no diagnostic
 * line is written. The environment variable KAVREL_AUDIO_DEVICE names the device of ports whose
 * "audio/device" is "". Both are read once.
 *
 * A program with raised privileges (setuid, setgid, capabilities) uses no device either, since the
 * libraries of sound servers read the user's settings, which can name programs to start. Both
 * variables count as unset there. */

/* Receives one device: its name for KAVREL_KEY_AUDIO_DEVICE, a description for people (both UTF-8,
 * valid only during the call), and 1 for a default device, else 0. */
typedef void (*kavrel_device_callback_t)(const char* name, const char* description, int is_default,
                                         void* user);

/* Calls `callback` on the calling thread, once for every sound device that can be used at this
 * moment. Takes some milliseconds; two seconds if the sound server does not respond.
 * Results: the number of devices, 0 if there is no sound output or no response;
 * KAVREL_INVALID_POINTER (callback); KAVREL_INTERNAL_ERROR (out of memory, or no thread).  [any] */
KAVREL_API int kavrel_audio_devices(kavrel_device_callback_t callback, void* user);

/* ---- Jobs */

/* Starts to speak `length` bytes of `text` in the background. Stores the job's handle in `*job`
 * before the job's first event. A job that is still running on the port is not disturbed: the new
 * one starts when it has ended. `encoding` is "iso-8859-15", null for the same, or "utf-8".
 * `params` is null or overrides the port's parameters for this job. With file output, the file
 * exists when the call returns. It is complete when the job is over, and is then a valid AIFF file
 * even if the text has no audio. A later failure to write is reported only by an ERROR event.
 * Results: KAVREL_SUCCESS; KAVREL_INVALID_POINTER (port or job is null, or text is null and length
 * is not 0); KAVREL_UNKNOWN_ENCODING; KAVREL_FILE_ERROR (the file cannot be opened for writing);
 * KAVREL_INTERNAL_ERROR (out of memory, or no thread). On failure no event is sent and `*job` is
 * null.  [any] */
KAVREL_API kavrel_result_t kavrel_port_speak_text(kavrel_port_struct* port, const char* text,
                                                  size_t length, const char* encoding,
                                                  kavrel_background_t* job,
                                                  const kavrel_params* params);

/* Toggles the pause of a job. A speaking job pauses at `boundary`; a paused one resumes at the very
 * sample where it paused (`boundary` is then ignored). If an earlier pause has not yet reached its
 * boundary, this call cancels it.
 * `boundary`: KAVREL_EVENT_NOW; KAVREL_EVENT_WORD, the end of the current word;
 * KAVREL_EVENT_SENTENCE, the end of the current sentence. Other values count as KAVREL_EVENT_NOW.
 * If no word or sentence has begun, the boundary is the job's current position. A job that pauses
 * at the end of its last word or sentence is not over before it is resumed. With file output, a
 * pause suspends production. Pausing a job with a pending stop at KAVREL_EVENT_NOW stops it
 * immediately.
 * A null job names the port's current job. Does not wait for the boundary.
 * Results: KAVREL_SUCCESS; KAVREL_INVALID_POINTER (port); KAVREL_OBJECT_NOT_FOUND (unknown job, or
 * the job is over).  [any] */
KAVREL_API kavrel_result_t kavrel_port_pause(kavrel_port_struct* port, kavrel_background_t job,
                                             kavrel_event_t boundary);

/* Stops a job at `boundary` (as for kavrel_port_pause). Does not wait for it: the job is over when
 * END has been sent. A paused job stops at its current position, whatever the boundary; a job that
 * has not begun sends END only. Of several stops, the one with the nearest boundary takes effect.
 * A null job names all jobs of the port. If there is nothing to stop, the call succeeds, also for a
 * null port.
 * Results: KAVREL_SUCCESS.  [any] */
KAVREL_API kavrel_result_t kavrel_port_stop(kavrel_port_struct* port, kavrel_background_t job,
                                            kavrel_event_t boundary);

/* Waits until the job is over: END has been sent and its callback has returned. A null job names
 * all jobs of the port. Returns immediately if the job is over already.
 * Results: KAVREL_SUCCESS, also for a job that failed; KAVREL_INVALID_POINTER (port);
 * KAVREL_ENGINE_INUSE, immediately if called in the port's own callback, or as soon as a callback
 * has not returned one second after the job's audio has ended, or has run out because of that
 * callback.  [any] */
KAVREL_API kavrel_result_t kavrel_port_wait(kavrel_port_struct* port, kavrel_background_t job);

/* ---- Events */

/* Stores in `*text` the text of the event, in the encoding of the job's text. WORD: the word as
 * written in the text, entities resolved. PHONEME: the phone's name ("ae", "pau" …). BOOKMARK: the
 * mark's name. ERROR: a message. Other types: "". The event owns it. Results: KAVREL_SUCCESS;
 * KAVREL_INVALID_POINTER.  [callback] */
KAVREL_API kavrel_result_t kavrel_event_get_text(kavrel_event_struct* event, char** text);

/* Stores the event's position and length in the text given to kavrel_port_speak_text, in bytes.
 * WORD: the word; entities and tags inside it count in full. PHONEME: the word that the phone
 * belongs to. SENTENCE: the sentence. BOOKMARK: the tag of the mark element. START: 0 and the
 * length of the text. ERROR: the current word, length 0. END: length 0, at the end of the text; for
 * a job that was stopped, at the start of the current word, or at its end if it was spoken whole.
 * Either pointer may be null.
 * Results: KAVREL_SUCCESS; KAVREL_INVALID_POINTER (event).  [callback] */
KAVREL_API kavrel_result_t kavrel_event_get_textpos(kavrel_event_struct* event, int* start,
                                                    int* length);

#ifdef __cplusplus
}
#endif

#endif
