// SPDX-License-Identifier: Apache-2.0
//
// Speech channels: the registry of open channels, the one engine behind them, the jobs that they
// speak, and the worker threads that finish a job.
//
// Life of a record. It is freed by whoever lets go last: the registry (until delete_channel), the
// job that is running (until its END event), the entry points that are using it, and each finishing
// and signalling thread.
//
// Threads. A record's fields belong to its lock `mtx`, with the exceptions noted at each field. In
// the rules that the compiler checks (see Locks.h), `lock` stands for it: functions marked
// REQUIRES(channel->lock) are called under a ChannelLock. The registry, the counts that keep
// records alive and the state shared with the engine's event callback are guarded by leaf locks.
#pragma once

#include <ApplicationServices/ApplicationServices.h>

#include <cst.h>
#include <kavrel.h>
#include <pthread.h>

#include "Locks.h"
#include "OffsetMap.h"
#include "PositionMap.h"
#include "SpeechMgrEnv.h"

enum channel_status_t {
  STATUS_IDLE = 0,
  STATUS_BUSY = 1,
  STATUS_PAUSED = 2,
  STATUS_CLOSING = 3,  // the job is being finished
};

// Guards the list of open channels and, in every record, who keeps it.
extern LeafMutex channel_registry;

// What a job's start, its events and its finishing tell each other.
struct channel_job_state {
  LeafMutex leaf;
  unsigned int number GUARDED_BY(leaf) = 0;    // of the job started last; 0 before the first
  unsigned int finished GUARDED_BY(leaf) = 0;  // of the job finished last
  // That job's END has come; until then the job keeps the record.
  bool end_seen GUARDED_BY(leaf) = true;
  // ENDs to come of earlier jobs, finished while the engine was still in a callback; each keeps the
  // record, too.
  unsigned int ends_owed GUARDED_BY(leaf) = 0;
};

struct speech_channel {
  SpeechChannelIdentifier id = 0;  // set before the channel is registered
  SpeechMgrEnv environment GUARDED_BY(lock);
  kavrel_port_struct* port GUARDED_BY(lock) = nullptr;  // null until the first job
  kavrel_background_t job GUARDED_BY(lock) = nullptr;   // null between jobs
  pthread_mutex_t mtx;                                  // recursive
  pthread_cond_t speech_finished;                       // with mtx: a job has been finished
  channel_status_t status GUARDED_BY(lock) = STATUS_IDLE;
  // Path of the file that jobs are written to, or null; cst allocator.
  char* outfile GUARDED_BY(lock) = nullptr;
  int output_is_file GUARDED_BY(lock) = 0;  // the port was opened for a file
  // Copy of the current voice's specification, and the directory of its data; cst allocator.
  VoiceSpec* voice GUARDED_BY(lock) = nullptr;
  char* voxdir GUARDED_BY(lock) = nullptr;
  int voice_changed GUARDED_BY(lock) = 0;  // voxdir has not been given to the port yet
  char* text GUARDED_BY(lock) = nullptr;   // converted text of the current job; cst allocator
  // From its positions to the caller's; changed under `lock` as well.
  OffsetMap* text_offsets GUARDED_BY(job_state.leaf) = nullptr;
  // Position and Apple code of the last phoneme event; atomic, written by the engine's thread.
  int curr_pos = 0;
  int curr_phoneme = 0;
  // Written under mtx, read by the engine's thread without it, so both atomically.
  SpeechTextDoneProcPtr cb_text_done = nullptr;
  SpeechDoneProcPtr cb_speech_done = nullptr;
  SpeechSyncProcPtr cb_sync = nullptr;
  SpeechErrorProcPtr cb_error = nullptr;
  SpeechPhonemeProcPtr cb_phoneme = nullptr;
  SpeechWordProcPtr cb_word = nullptr;
  long refcon = 0;
  speech_channel* prev GUARDED_BY(channel_registry) = nullptr;  // newer channel
  speech_channel* next GUARDED_BY(channel_registry) = nullptr;  // older channel

  // Beyond the interface's own fields.
  ChannelOwner lock;                               // of mtx
  bool caller_positions GUARDED_BY(lock) = false;  // word events report true origins
  bool gathering GUARDED_BY(lock) = false;         // the text-done callback is being asked
  // Of the current job, null unless caller_positions; as text_offsets.
  PositionMap* text_positions GUARDED_BY(job_state.leaf) = nullptr;
  unsigned int jobs_signalled GUARDED_BY(lock) = 0;  // speech-done calls that have returned
  channel_job_state job_state;
  int holders GUARDED_BY(channel_registry) = 1;       // who keeps the record
  bool closing GUARDED_BY(channel_registry) = false;  // a close has begun
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
// job. A null `voice` leaves no voice recorded.
void channel_set_voice(speech_channel* channel, VoiceSpec* voice, char* voxdir)
    REQUIRES(channel->lock);

// Stops the channel, waits until a job that is being finished is finished, and takes the channel
// out of the registry. Does nothing when another thread is deleting it already. A caller that holds
// the lock, inside a callback, is not made to wait: speech-done comes after it has let go.
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

// ---- Jobs ----

// Starts to speak `text`. 0, or -1 when the port, the voice or the job could not be started; the
// status is STATUS_BUSY either way.
int channel_speak(speech_channel* channel) REQUIRES(channel->lock);

// The engine's event type for a place code: 1 word, 2 sentence, any other now.
kavrel_event_t get_kavrel_event(long where);

// Pauses at the place, whatever the state, unless paused already. -1: the engine refused; the
// status is STATUS_PAUSED all the same.
int channel_pause(speech_channel* channel, long where) REQUIRES(channel->lock);

// Resumes a paused channel. -1: the engine refused; the status is STATUS_BUSY all the same.
int channel_unpause(speech_channel* channel) REQUIRES(channel->lock);

// Waits until the port is idle. -1: the engine answered a failure.
int channel_wait(speech_channel* channel) REQUIRES(channel->lock);

// Stops at the place and finishes the job on this thread. -1: the engine refused, nothing has
// changed.
int channel_stop(speech_channel* channel, long where) REQUIRES(channel->lock);

// ---- Worker threads ----

// Finishes the current job: waits for the engine, lets go of the text, and has the end signalled.
// Does nothing when there is no job to finish. Takes the lock. Answers null.
void* channel_finish_job(void* channel);

// Makes the channel idle, unless the next job has begun, and calls the speech-done callback, under
// no lock. Answers null.
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
