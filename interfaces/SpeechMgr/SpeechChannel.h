// SPDX-License-Identifier: Apache-2.0
//
// Speech channels: the registry of open channels, the one engine that they share, the jobs that
// they speak, and the worker threads that finish a job.
//
// Ownership: a record is reference-counted and freed with its last reference. References are held
// by the registry (until delete_channel), the running job (until its END event), the entry points
// that are using the record, and each finishing and signalling thread.
//
// Threads: the lock `mtx` guards the fields of a record; exceptions are noted at the fields. In the
// rules that the compiler checks (see Locks.h), `lock` represents it: functions marked
// REQUIRES(channel->lock) are called under a ChannelLock. Leaf locks guard the registry, the
// reference counts, and the state shared with the engine's event callback. Functions without a mark
// are called without a leaf lock, on any thread.
//
// Failure: reported as 0 and -1, or null. Exceptions that the engine or the platform throws are not
// caught here.
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

// Guards the list of open channels and the reference count of every record.
extern LeafMutex channel_registry;

// State shared by the start of a job, its events and its finishing.
struct channel_job_state {
  LeafMutex leaf;
  unsigned int number GUARDED_BY(leaf) = 0;    // of the job started last; 0 before the first
  unsigned int finished GUARDED_BY(leaf) = 0;  // of the job finished last
  // The END of the job started last has arrived. Until then the job holds a reference.
  bool end_seen GUARDED_BY(leaf) = true;
  // Number of ENDs still to arrive for earlier jobs, which were finished while the engine was in a
  // callback. Each of them holds a reference.
  unsigned int ends_owed GUARDED_BY(leaf) = 0;
};

struct speech_channel {
  SpeechChannelIdentifier id = 0;  // set before the channel is registered
  SpeechMgrEnv environment GUARDED_BY(lock);
  kavrel_port_struct* port GUARDED_BY(lock) = nullptr;  // null until the first job
  kavrel_background_t job GUARDED_BY(lock) = nullptr;   // null between jobs
  pthread_mutex_t mtx;                                  // recursive
  pthread_cond_t speech_finished;                       // with mtx: a speech-done has returned
  channel_status_t status GUARDED_BY(lock) = STATUS_IDLE;
  // Path of the file that jobs are written to, or null; cst allocator.
  char* outfile GUARDED_BY(lock) = nullptr;
  int output_is_file GUARDED_BY(lock) = 0;  // the port has been opened for a file
  // Copy of the current voice's specification, and the directory of its data; cst allocator.
  VoiceSpec* voice GUARDED_BY(lock) = nullptr;
  char* voxdir GUARDED_BY(lock) = nullptr;
  int voice_changed GUARDED_BY(lock) = 0;  // voxdir has not been given to the port yet
  char* text GUARDED_BY(lock) = nullptr;   // converted text of the current job; cst allocator
  // From positions in `text` to the caller's. Changed only while `lock` is held as well.
  OffsetMap* text_offsets GUARDED_BY(job_state.leaf) = nullptr;
  // Position and Apple code of the last phoneme event. The engine's thread writes them without a
  // lock, so access is atomic (load_shared, store_shared).
  int curr_pos = 0;
  int curr_phoneme = 0;
  // Written under mtx and read by the engine's thread without it, so access is atomic.
  SpeechTextDoneProcPtr cb_text_done = nullptr;
  SpeechDoneProcPtr cb_speech_done = nullptr;
  SpeechSyncProcPtr cb_sync = nullptr;
  SpeechErrorProcPtr cb_error = nullptr;
  SpeechPhonemeProcPtr cb_phoneme = nullptr;
  SpeechWordProcPtr cb_word = nullptr;
  long refcon = 0;
  speech_channel* prev GUARDED_BY(channel_registry) = nullptr;  // newer channel
  speech_channel* next GUARDED_BY(channel_registry) = nullptr;  // older channel

  // Fields that are not part of the given interface.
  ChannelOwner lock;                               // of mtx
  bool caller_positions GUARDED_BY(lock) = false;  // word events report true origins
  bool utf8_text GUARDED_BY(lock) = false;         // the next text from the client is UTF-8
  bool text_is_utf8 GUARDED_BY(lock) = false;      // `text` is
  bool one_voice GUARDED_BY(lock) = false;         // no other voice for words in another script
  int engine_errors = 0;                           // ERROR is reported; access is atomic
  bool gathering GUARDED_BY(lock) = false;         // the text-done callback is being called
  // True origins of the current job's text; null unless caller_positions. Changed as text_offsets.
  PositionMap* text_positions GUARDED_BY(job_state.leaf) = nullptr;
  // Number of signalling threads that have not made the channel idle yet.
  unsigned int signals_due GUARDED_BY(lock) = 0;
  // Number of signalling threads whose speech-done call a close waits for.
  unsigned int signals_awaited GUARDED_BY(lock) = 0;
  channel_job_state job_state;
  int holders GUARDED_BY(channel_registry) = 1;       // number of references
  bool closing GUARDED_BY(channel_registry) = false;  // a close has begun
};

// ---- Settings

// Sets the pitch base and the assumed base from the gender of `voice`, if `force` or if the pitch
// base has not been set (0). Returns 0.
long SetPitchDefaults(VoiceSpec* voice, SpeechMgrEnv& environment, bool force);

// ---- Registry

// Opens the engine the first time, creates a channel and registers it. Returns null if out of
// memory. If the engine cannot be opened, the channel is created all the same; its first job fails.
speech_channel* new_channel(SpeechChannelIdentifier ssr);

// Returns the registered channel with that identifier, or null. Takes no reference: the caller must
// know that no other thread deletes the channel. Otherwise use ChannelHold.
speech_channel* find_channel(SpeechChannelIdentifier ssr);

// Sets the voice of the next job: records a copy of `voice` (null: no voice) and takes ownership of
// `voxdir` (cst allocator; may be null).
void channel_set_voice(speech_channel* channel, VoiceSpec* voice, char* voxdir)
    REQUIRES(channel->lock);

// Stops the channel, waits until every finished job has been signalled, and removes the channel
// from the registry. The caller holds a reference. Does nothing if another thread is
// deleting the channel already. Does not wait if the caller holds the lock, inside a callback:
// speech-done then comes after the lock is released.
void delete_channel(speech_channel* channel);

// RAII guard: holds a reference to a registered channel. Empty if there is no such channel, or if
// it is being closed.
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

// ---- Jobs

// Starts to speak the channel's `text`. Returns 0, or -1 if the port could not be opened, the voice
// not loaded or the job not started. The status is STATUS_BUSY either way.
int channel_speak(speech_channel* channel) REQUIRES(channel->lock);

// Returns the engine's event type for a boundary: 1 end of the word, 2 end of the sentence, any
// other number immediately. `where` has the same meaning below.
kavrel_event_t get_kavrel_event(long where);

// Pauses at the boundary, whatever the state, unless paused already. Returns 0, or -1 if the engine
// refuses; the status is STATUS_PAUSED all the same.
int channel_pause(speech_channel* channel, long where) REQUIRES(channel->lock);

// Resumes a paused channel. Returns 0, or -1 if the engine refuses; the status is STATUS_BUSY all
// the same.
int channel_unpause(speech_channel* channel) REQUIRES(channel->lock);

// Waits until the port is idle. Returns 0, or -1 if the engine reports a failure.
int channel_wait(speech_channel* channel) REQUIRES(channel->lock);

// Stops at the boundary and finishes the job on this thread. Returns 0, or -1 if the engine
// refuses; nothing has changed then.
int channel_stop(speech_channel* channel, long where) REQUIRES(channel->lock);

// Asks the engine to stop at the boundary; the END event then finishes the job. Returns 0, or -1 if
// the engine refuses; nothing has changed then.
int channel_request_stop(speech_channel* channel, long where) REQUIRES(channel->lock);

// ---- Worker threads

// Finishes the current job: waits for the engine, frees the text, and starts the signalling thread,
// unless the job has one already. Does nothing if there is no job to finish. Takes the lock. The
// caller holds a reference. Returns null.
void* channel_finish_job(void* channel);

// Makes the channel idle, unless the next job has begun, and calls the speech-done callback without
// a lock. The caller holds a reference. Returns null.
void* channel_signal_speech_done(void* channel);

// ---- Engine events

// The events that channel_stream_callback is installed for. With engine_errors, ERROR too.
inline constexpr kavrel_event_t kChannelEvents = KAVREL_EVENT_END | KAVREL_EVENT_PHONEME |
                                                 KAVREL_EVENT_BOOKMARK | KAVREL_EVENT_WORD |
                                                 KAVREL_EVENT_SENTENCE;

// The event callback of every channel's port: turns engine events into calls of the client. Runs on
// the engine's thread, takes no channel lock, and uses nothing of the channel after the call of the
// client except its own reference. `user` is the channel; an event for a record that has been freed
// is ignored. Returns KAVREL_SUCCESS.
kavrel_result_t channel_stream_callback(kavrel_event_struct* event, kavrel_event_t type,
                                        void* user);
