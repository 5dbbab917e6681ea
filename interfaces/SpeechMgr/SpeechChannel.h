// SPDX-License-Identifier: Apache-2.0
//
// Speech channels: the registry of open channels, the one engine behind them, the jobs that they
// speak, and the worker threads that finish a job.
//
// Life of a record. It is freed by whoever lets go last: the registry (until delete_channel), the
// job that is running (until its END event), the entry points that are using it, and each finishing
// and signalling thread.
//
// Threads. A record's fields belong to its lock `mtx`, with the exceptions noted at each field. The
// functions say who holds it. The registry, the counts that keep records alive and the state shared
// with the engine's event callback are guarded by private leaf locks: they are held for a few
// instructions, and never while a client, the engine or the platform is called.
#pragma once

#include <ApplicationServices/ApplicationServices.h>

#include <cst.h>
#include <kavrel.h>
#include <pthread.h>

#include "OffsetMap.h"
#include "PositionMap.h"
#include "SpeechMgrEnv.h"

enum channel_status_t {
  STATUS_IDLE = 0,
  STATUS_BUSY = 1,
  STATUS_PAUSED = 2,
  STATUS_CLOSING = 3,  // the job is being finished
};

// What a job's start, its events and its finishing tell each other; under the leaf lock.
struct channel_job_state {
  pthread_mutex_t leaf = PTHREAD_MUTEX_INITIALIZER;
  unsigned int number = 0;     // of the job started last; 0 before the first
  unsigned int finished = 0;   // of the job finished last
  bool end_seen = true;        // that job's END has come; until then the job keeps the record
  unsigned int ends_owed = 0;  // ENDs to come of earlier jobs, finished while the engine was still
                               // in a callback; each keeps the record, too
};

struct speech_channel {
  SpeechChannelIdentifier id;
  SpeechMgrEnv environment;
  kavrel_port_struct* port;        // null until the first job
  kavrel_background_t job;         // null between jobs
  pthread_mutex_t mtx;             // recursive
  pthread_cond_t speech_finished;  // with mtx: a job has been finished
  channel_status_t status;
  char* outfile;       // path of the file that jobs are written to, or null; cst allocator
  int output_is_file;  // the port was opened for a file
  VoiceSpec* voice;    // copy of the current voice's specification; cst allocator
  char* voxdir;        // directory of its data; cst allocator
  int voice_changed;   // voxdir has not been given to the port yet
  char* text;          // converted text of the current job; cst allocator
  // From its positions to the caller's; changed under the leaf lock as well.
  OffsetMap* text_offsets;
  // Position and Apple code of the last phoneme event; atomic, written by the engine's thread.
  int curr_pos;
  int curr_phoneme;
  // Written under mtx, read by the engine's thread without it, so both atomically.
  SpeechTextDoneProcPtr cb_text_done;
  SpeechDoneProcPtr cb_speech_done;
  SpeechSyncProcPtr cb_sync;
  SpeechErrorProcPtr cb_error;
  SpeechPhonemeProcPtr cb_phoneme;
  SpeechWordProcPtr cb_word;
  long refcon;
  speech_channel* prev;  // newer channel
  speech_channel* next;  // older channel

  // Beyond the interface's own fields.
  bool caller_positions;        // word events report true origins
  bool gathering;               // the text-done callback is being asked
  PositionMap* text_positions;  // of the current job, null unless caller_positions; as text_offsets
  unsigned int jobs_signalled;  // speech-done calls that have returned
  channel_job_state job_state;
  int holders;   // who keeps the record; under the registry's lock
  bool closing;  // a close has begun; likewise
};

// ---- Settings ----

// Sets the pitch base from the gender of `voice`, when `force` or when it has not been set (0).
// Answers 0.
long SetPitchDefaults(VoiceSpec* voice, SpeechMgrEnv& environment, bool force);

// ---- Registry ----

// Opens the engine the first time, creates a channel and registers it. Null when there is no memory
// for the record.
speech_channel* new_channel(SpeechChannelIdentifier ssr);

// The registered channel of that identifier, or null. The caller must know that nobody deletes it;
// see ChannelHold otherwise.
speech_channel* find_channel(SpeechChannelIdentifier ssr);

// Records a copy of `voice` and takes `voxdir` over (cst allocator; may be null), both for the next
// job. A null `voice` leaves no voice recorded.  [lock held]
void channel_set_voice(speech_channel* channel, VoiceSpec* voice, char* voxdir);

// Stops the channel, waits until a job that is being finished is finished, and takes the channel
// out of the registry. Does nothing when another thread is deleting it already.  [lock not held,
// unless by a caller that is itself in a callback]
void delete_channel(speech_channel* channel);

// Keeps a registered channel's record alive; empty when there is no such channel, or it is being
// closed.
class ChannelHold {
 public:
  explicit ChannelHold(SpeechChannelIdentifier ssr);
  ~ChannelHold();
  ChannelHold(const ChannelHold&) = delete;
  ChannelHold& operator=(const ChannelHold&) = delete;

  explicit operator bool() const { return m_channel != nullptr; }
  speech_channel* operator->() const { return m_channel; }
  speech_channel* get() const { return m_channel; }

 private:
  speech_channel* m_channel;
};

// ---- Jobs; all with the lock held ----

// Starts to speak `text`. 0, or -1 when the port, the voice or the job could not be started; the
// status is STATUS_BUSY either way.
int channel_speak(speech_channel* channel);

// The engine's event type for a place code: 1 word, 2 sentence, any other now.
kavrel_event_t get_kavrel_event(long where);

// Pauses at the place, whatever the state, unless paused already. -1: the engine refused; the
// status is STATUS_PAUSED all the same.
int channel_pause(speech_channel* channel, long where);

// Resumes a paused channel. -1: the engine refused; the status is STATUS_BUSY all the same.
int channel_unpause(speech_channel* channel);

// Waits until the port is idle. -1: the engine answered a failure.
int channel_wait(speech_channel* channel);

// Stops at the place and finishes the job on this thread; the only function of these that
// delete_channel calls without the lock. -1: the engine refused, nothing has changed.
int channel_stop(speech_channel* channel, long where);

// ---- Worker threads ----

// Finishes the current job: waits for the engine, lets go of the text, and has the end signalled.
// Does nothing when there is no job to finish. Takes the lock. Answers null.
void* channel_finish_job(void* channel);

// Makes the channel idle and calls the speech-done callback, under no lock. Answers null.
void* channel_signal_speech_done(void* channel);

// ---- Engine events ----

// The events that channel_stream_callback is installed for.
inline constexpr kavrel_event_t kChannelEvents = KAVREL_EVENT_END | KAVREL_EVENT_PHONEME |
                                                 KAVREL_EVENT_BOOKMARK | KAVREL_EVENT_WORD |
                                                 KAVREL_EVENT_SENTENCE;

// The callback of every channel's port: turns engine events into the client's callbacks. Runs on
// the engine's thread, takes no channel lock, and touches nothing of the channel after it has
// called the client. `user` is the channel; one that is gone is ignored. Answers KAVREL_SUCCESS.
kavrel_result_t channel_stream_callback(kavrel_event_struct* event, kavrel_event_t type,
                                        void* user);
