// SPDX-License-Identifier: Apache-2.0
//
// The jobs of a channel: starting, pausing, stopping, and the two worker threads that finish a job.
//
// A job ends with its END event or with a stop. A finishing thread, or the thread that stopped it,
// finishes it; then a signalling thread makes the channel idle and calls speech-done. Job numbers
// show late threads and late ENDs that their job is no longer the current one.
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>

#include "ChannelSupport.h"
#include "SpeechChannel.h"

namespace {

// The new job holds a reference until its END. If the END of the job before it never came, the new
// job takes over that job's reference.
void begin_job(speech_channel* channel) {
  bool held_already = false;
  {
    LeafLock held(channel->job_state.leaf);
    held_already = !channel->job_state.end_seen;
    ++channel->job_state.number;
    channel->job_state.end_seen = false;
  }
  if (!held_already) retain_channel(channel);
}

// Drops the reference of a job that is over or has not started. Its END may have done so already.
void release_job_hold(speech_channel* channel) {
  {
    LeafLock held(channel->job_state.leaf);
    if (channel->job_state.end_seen) return;
    channel->job_state.end_seen = true;
  }
  release_channel(channel);
}

// The engine could not wait for the job's END, so the END comes later, perhaps during the next job.
// The job's reference is kept until then.
void note_owed_end(speech_channel* channel) {
  LeafLock held(channel->job_state.leaf);
  if (channel->job_state.end_seen) return;
  channel->job_state.end_seen = true;
  ++channel->job_state.ends_owed;
}

void note_finished(speech_channel* channel) {
  LeafLock held(channel->job_state.leaf);
  channel->job_state.finished = channel->job_state.number;
}

// Returns true if a job has begun after the job that was finished last.
bool next_job_has_begun(speech_channel* channel) {
  LeafLock held(channel->job_state.leaf);
  return channel->job_state.number != channel->job_state.finished;
}

// Returns true if job `number` is the channel's last job and has not been finished.
bool is_unfinished(speech_channel* channel, unsigned int number) {
  LeafLock held(channel->job_state.leaf);
  return channel->job_state.number == number && channel->job_state.finished != number;
}

// Returns true if the channel has a job that is not being finished yet.
bool has_job(const speech_channel* channel) REQUIRES(channel->lock) {
  return channel->status == STATUS_BUSY || channel->status == STATUS_PAUSED;
}

void close_port(speech_channel* channel) REQUIRES(channel->lock) {
  outside(kavrel_port_close)(channel->port);
  channel->port = nullptr;
}

// A port's output is fixed when the port is opened. One that writes to a file serves one job, so an
// open port is closed first.
void prepare_output(speech_channel* channel, kavrel_params* params) REQUIRES(channel->lock) {
  if (channel->outfile == nullptr) {
    outside(kavrel_params_set_val)(params, "events/immediate", kavrel_val_int(0));
    return;
  }
  channel->output_is_file = 1;
  if (channel->port != nullptr) close_port(channel);
  outside(kavrel_params_set_val)(params, "audio/output-file", kavrel_val_string(channel->outfile));
  outside(kavrel_params_set_val)(params, "audio/output-format", kavrel_val_string("aiff"));
  outside(kavrel_params_set_val)(params, "events/immediate", kavrel_val_int(1));
}

bool open_port(speech_channel* channel, kavrel_params* params) REQUIRES(channel->lock) {
  if (channel->port != nullptr) return true;
  CHANNEL_LINE("channel_speak", "Opening Kavrel Port for Channel ID: %d.\n", channel->id);
  channel->port = outside(kavrel_port_open)(channel_engine(), params);
  if (channel->port == nullptr) return false;
  const kavrel_event_t errors =
      load_shared(channel->engine_errors) != 0 ? KAVREL_EVENT_ERROR : KAVREL_EVENT_NONE;
  outside(kavrel_port_set_callback)(channel->port, channel_stream_callback, kChannelEvents | errors,
                                    channel);
  return true;
}

// Returns false if the voice cannot be loaded; the next job then tries again.
bool apply_voice(speech_channel* channel) REQUIRES(channel->lock) {
  if (!channel->voice_changed) return true;
  if (outside(kavrel_port_set_voice_from_dir)(channel->port, channel->voxdir) == nullptr)
    return false;
  channel->voice_changed = 0;
  return true;
}

// A setting of the job, not of the port, which serves later jobs too. Jobs that need none get no
// parameters.
const kavrel_params* job_parameters(speech_channel* channel, kavrel_params* params)
    REQUIRES(channel->lock) {
  if (!channel->one_voice) return nullptr;
  outside(kavrel_params_set_val)(params, "voice/one-voice", kavrel_val_int(1));
  return params;
}

// The job's reference is taken before the engine is called, as its END may come before the call
// returns.
bool start_job(speech_channel* channel, kavrel_params* params) REQUIRES(channel->lock) {
  const kavrel_params* const settings = job_parameters(channel, params);
  begin_job(channel);
  const kavrel_result_t result = outside(kavrel_port_speak_text)(
      channel->port, channel->text, std::strlen(channel->text),
      channel->text_is_utf8 ? "utf-8" : nullptr, &channel->job, settings);
  if (result >= 0) return true;
  note_finished(channel);
  release_job_hold(channel);
  return false;
}

// Start routine of the signalling thread, which owns a reference.
void* signal_and_release(void* argument) {
  auto* channel = static_cast<speech_channel*>(argument);
  channel_signal_speech_done(channel);
  release_channel(channel);
  return nullptr;
}

// Returns true if the end of the current job is still to be signalled. A channel that was paused
// while STATUS_CLOSING or idle is finished like a speaking one although no job has begun since the
// last one; a signal that is due already covers it, so that no job gets two.
bool claim_signal(speech_channel* channel) REQUIRES(channel->lock) {
  if (!next_job_has_begun(channel) && channel->signals_due > 0) return false;
  ++channel->signals_due;
  return true;
}

enum class Finished { Nothing, Unsignalled, ToBeSignalled };

// Finishes the channel's job except for its text. STATUS_CLOSING means that the job is finished or
// being finished, but not signalled yet.
Finished finish_current_job(speech_channel* channel) REQUIRES(channel->lock) {
  if (!has_job(channel)) return Finished::Nothing;
  const bool signal = claim_signal(channel);
  channel->status = STATUS_CLOSING;
  CHANNEL_LINE("channel_finish_job", "Waiting for Job to Finish on Channel: %d.\n", channel->id);
  note_finished(channel);
  if (outside(kavrel_port_wait)(channel->port, channel->job) == KAVREL_ENGINE_INUSE) {
    note_owed_end(channel);
  } else {
    // The job is over, even if its END was lost.
    release_job_hold(channel);
  }
  if (channel->output_is_file) {
    close_port(channel);
    channel->output_is_file = 0;
  }
  return signal ? Finished::ToBeSignalled : Finished::Unsignalled;
}

// Finishes the current job if `is_ours`, called under the lock, returns true.
template <typename IsOurs>
void finish_job(speech_channel* channel, IsOurs is_ours) {
  CHANNEL_LINE("channel_finish_job", "Finishing Job on Channel: %d.\n", channel->id);
  bool signal_here = false;
  {
    ChannelLock held(channel);
    const Finished finished = is_ours() ? finish_current_job(channel) : Finished::Nothing;
    if (finished == Finished::ToBeSignalled) {
      retain_channel(channel);
      // The thread waits for the lock, so it cannot call the client before the text is freed.
      signal_here = !start_detached_thread(signal_and_release, channel);
    }
    if (finished != Finished::Nothing) release_text(channel);
  }
  if (signal_here) signal_and_release(channel);
  CHANNEL_LINE("channel_finish_job", "Job Finished on Channel: %d.\n", channel->id);
}

// Argument of a finishing thread, which owns it and a reference to the channel.
struct FinishingTask {
  speech_channel* channel;
  unsigned int job;
};

void* run_finishing_task(void* argument) {
  const std::unique_ptr<FinishingTask> task(static_cast<FinishingTask*>(argument));
  speech_channel* channel = task->channel;
  // A thread that comes late, after its job was finished by a stop, must not finish the next job.
  finish_job(channel, [&] { return is_unfinished(channel, task->job); });
  release_channel(channel);
  return nullptr;
}

}  // namespace

// The maps are taken out under the leaf lock, for find_word, but deleted without it: freeing a
// large map takes longer than a leaf lock may be held.
void release_text(speech_channel* channel) {
  channel->lock.assert_held();
  channel->job = nullptr;
  store_shared(channel->curr_pos, 0);
  store_shared(channel->curr_phoneme, 0);
  free_and_null(channel->text);
  OffsetMap* offsets = nullptr;
  PositionMap* positions = nullptr;
  {
    LeafLock held(channel->job_state.leaf);
    std::swap(offsets, channel->text_offsets);
    std::swap(positions, channel->text_positions);
  }
  delete offsets;
  delete positions;
}

// ---- Worker threads

bool start_detached_thread(void* (*routine)(void*), void* argument) {
  pthread_t thread;
  if (outside(pthread_create)(&thread, nullptr, routine, argument) != 0) return false;
  pthread_detach(thread);
  return true;
}

void start_finishing(speech_channel* channel, unsigned int job) {
  auto* task = new (std::nothrow) FinishingTask{channel, job};
  if (task != nullptr && retain_channel(channel)) {
    if (start_detached_thread(run_finishing_task, task)) return;
    release_channel(channel);
  }
  delete task;
  // Without a thread the job is finished here, on the engine's own thread, where a wait for the
  // engine returns at once.
  finish_job(channel, [&] { return is_unfinished(channel, job); });
}

// ---- Jobs

// A failure closes the port, so that the next job starts with a new one.
int channel_speak(speech_channel* channel) {
  channel->lock.assert_held();
  // Rationale: one set for every job, never released. It is used when a port is opened, and for a
  // job with settings of its own.
  kavrel_params* params = outside(kavrel_params_new)(nullptr);
  channel->status = STATUS_BUSY;
  CHANNEL_LINE("channel_speak", "Speech requested for Channel ID: %d, text: \"%s\"\n", channel->id,
               channel->text);
  prepare_output(channel, params);
  if (open_port(channel, params) && apply_voice(channel) && start_job(channel, params)) return 0;
  if (channel->port != nullptr) {
    CHANNEL_LINE("channel_speak", "ERROR Generating Speech on Channel: %d.  Closing Kavrel Port.\n",
                 channel->id);
    close_port(channel);
  }
  return -1;
}

kavrel_event_t get_kavrel_event(long where) {
  switch (where) {
    case 1:
      return KAVREL_EVENT_WORD;
    case 2:
      return KAVREL_EVENT_SENTENCE;
    default:
      return KAVREL_EVENT_NOW;
  }
}

int channel_pause(speech_channel* channel, long where) {
  channel->lock.assert_held();
  CHANNEL_LINE("channel_pause", "Pause Requested for Channel: %d.\n", channel->id);
  if (channel->status == STATUS_PAUSED) return 0;
  // Rationale: for an idle or closing channel the engine is called and the status set as for a busy
  // one.
  const kavrel_result_t result =
      outside(kavrel_port_pause)(channel->port, channel->job, get_kavrel_event(where));
  channel->status = STATUS_PAUSED;
  return result < 0 ? -1 : 0;
}

// The engine's pause call toggles, so the same call resumes.
int channel_unpause(speech_channel* channel) {
  channel->lock.assert_held();
  CHANNEL_LINE("channel_unpause", "Unpause Requested for Channel: %d.\n", channel->id);
  if (channel->status != STATUS_PAUSED) return 0;
  const kavrel_result_t result =
      outside(kavrel_port_pause)(channel->port, channel->job, KAVREL_EVENT_NOW);
  channel->status = STATUS_BUSY;
  return result < 0 ? -1 : 0;
}

int channel_wait(speech_channel* channel) {
  channel->lock.assert_held();
  CHANNEL_LINE("channel_wait", "Wait Requested for Channel: %d.\n", channel->id);
  if (channel->port == nullptr) return 0;
  return outside(kavrel_port_wait)(channel->port, channel->job) < 0 ? -1 : 0;
}

int channel_request_stop(speech_channel* channel, long where) {
  channel->lock.assert_held();
  CHANNEL_LINE("channel_stop", "Stop Requested for Channel: %d.\n", channel->id);
  if (!has_job(channel)) return 0;
  const kavrel_result_t result =
      outside(kavrel_port_stop)(channel->port, channel->job, get_kavrel_event(where));
  if (result >= 0) return 0;
  std::fprintf(stderr, "Stopping channel failed (%s)\n", kavrel_strerror(result));
  return -1;
}

// Finishes the job on this thread, so that a stop returns only when the job is finished. The END
// that the engine sends meanwhile finds it finished.
int channel_stop(speech_channel* channel, long where) {
  const bool finishes = has_job(channel);
  const int result = channel_request_stop(channel, where);
  if (finishes && result == 0) channel_finish_job(channel);
  return result;
}

void* channel_finish_job(void* channel) {
  finish_job(static_cast<speech_channel*>(channel), [] { return true; });
  return nullptr;
}

// The client is called between two sections under the lock, never inside one, so that it may call
// any entry point. A close that began before the first section waits until the call has returned.
void* channel_signal_speech_done(void* argument) {
  auto* channel = static_cast<speech_channel*>(argument);
  SpeechDoneProcPtr speech_done = nullptr;
  long refcon = 0;
  bool awaited = false;
  {
    ChannelLock held(channel);
    CHANNEL_LINE("channel_signal_speech_done", "Calling speech done callback on Channel %d\n",
                 channel->id);
    // If the next job has begun, a thread that signals late must not make the channel idle.
    if (!next_job_has_begun(channel)) channel->status = STATUS_IDLE;
    if (channel->signals_due > 0) --channel->signals_due;
    awaited = channel->signals_awaited > 0;
    speech_done = load_shared(channel->cb_speech_done);
    refcon = load_shared(channel->refcon);
  }
  if (speech_done != nullptr) {
    call_client([&] { speech_done(client_channel(channel->id), client_refcon(refcon)); });
  }
  if (awaited) {
    ChannelLock held(channel);
    --channel->signals_awaited;
  }
  pthread_cond_signal(&channel->speech_finished);
  return nullptr;
}
