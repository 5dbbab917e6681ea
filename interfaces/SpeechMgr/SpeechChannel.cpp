// SPDX-License-Identifier: Apache-2.0
//
// The registry of channels, their reference counts, the engine, and closing. SpeechChannel.h states
// ownership and locks.
#include "SpeechChannel.h"

#include <new>
#include <unordered_set>

#include "ChannelSupport.h"
#include "KavrelSpeechEngine.h"

NEVER_DESTROYED constinit LeafMutex channel_registry;

namespace {

speech_channel* channels GUARDED_BY(channel_registry) = nullptr;  // head of the list: the newest

// All records that have not been freed, registered or not. An engine may send an event for a
// channel that was freed long ago; only this set shows that. Never destroyed: engine threads may
// outlive the static objects of the process.
std::unordered_set<speech_channel*>& live_records() REQUIRES(channel_registry) {
  static auto& records = *new std::unordered_set<speech_channel*>;
  return records;
}

// Held while the engine is opened, so that two threads that open the first channels open it once.
NEVER_DESTROYED constinit base::Mutex engine_lock;
kavrel_engine_struct* engine GUARDED_BY(engine_lock) = nullptr;

// If the engine cannot be opened, the next channel tries again.
void open_engine(kavrel_params* params) {
  const base::ScopedLock held(engine_lock);
  if (engine != nullptr) return;
  CHANNEL_LINE("new_channel", "Opening Kavrel Engine.\n");
  outside(kavrel_params_set_val)(params, "voice/cache-policy", kavrel_val_string("preload"));
  engine = outside(kavrel_engine_open)(params);
}

void init_locks(speech_channel* channel) {
  pthread_mutexattr_t recursive;
  pthread_mutexattr_init(&recursive);
  pthread_mutexattr_settype(&recursive, PTHREAD_MUTEX_RECURSIVE);
  pthread_mutex_init(&channel->mtx, &recursive);
  pthread_mutexattr_destroy(&recursive);
  pthread_cond_init(&channel->speech_finished, nullptr);
}

// The last reference is gone, so no lock is needed, and none could be taken.
void free_record(speech_channel* channel) NO_THREAD_SAFETY_ANALYSIS {
  check_no_leaf_lock();
  free_and_null(channel->outfile);
  free_and_null(channel->voice);
  free_and_null(channel->voxdir);
  free_and_null(channel->text);
  delete channel->text_offsets;
  delete channel->text_positions;
  mutex_destroy(&channel->mtx);
  pthread_cond_destroy(&channel->speech_finished);
  delete channel;
}

speech_channel* find_registered(SpeechChannelIdentifier ssr) REQUIRES(channel_registry) {
  speech_channel* channel = channels;
  while (channel != nullptr && channel->id != ssr) channel = channel->next;
  return channel;
}

void link_channel(speech_channel* channel) REQUIRES(channel_registry) {
  channel->next = channels;
  if (channels != nullptr) channels->prev = channel;
  channels = channel;
}

void unlink_channel(speech_channel* channel) REQUIRES(channel_registry) {
  if (channel->prev != nullptr) channel->prev->next = channel->next;
  if (channel->next != nullptr) channel->next->prev = channel->prev;
  if (channels == channel) channels = channel->next;
  channel->prev = nullptr;
  channel->next = nullptr;
}

// Returns false if another thread is closing the channel already.
bool begin_closing(speech_channel* channel) {
  LeafLock held(channel_registry);
  if (channel->closing) return false;
  channel->closing = true;
  return true;
}

// Waits until the signalling threads of finished jobs have called the client. A speech-done call
// that has begun is not waited for: this may be running inside it.
void wait_for_signals(speech_channel* channel) REQUIRES(channel->lock) {
  // An entry point that called this callback holds the lock, and the signalling threads wait for
  // it: to wait for them here would be a deadlock.
  if (channel->lock.is_held_recursively()) return;
  channel->signals_awaited = channel->signals_due;
  while (channel->signals_awaited > 0) wait_for_finished(channel);
}

// Switches the callbacks off. A job that could not be stopped continues to speak, but its client
// gets no more calls. Does nothing if a job is still to be signalled: its speech-done is due.
void drop_callbacks(speech_channel* channel) REQUIRES(channel->lock) {
  if (channel->signals_due > 0) return;
  store_shared(channel->cb_text_done, SpeechTextDoneProcPtr{});
  store_shared(channel->cb_speech_done, SpeechDoneProcPtr{});
  store_shared(channel->cb_sync, SpeechSyncProcPtr{});
  store_shared(channel->cb_error, SpeechErrorProcPtr{});
  store_shared(channel->cb_phoneme, SpeechPhonemeProcPtr{});
  store_shared(channel->cb_word, SpeechWordProcPtr{});
}

}  // namespace

// ---- Settings

long SetPitchDefaults(VoiceSpec* voice, SpeechMgrEnv& environment, bool force) {
  VoiceDescription description{};
  outside(GetVoiceDescription)(voice, &description, sizeof description);
  if (force || environment.pitchBase == 0) {
    environment.pitchBase = description.gender == kMale ? kAssumedMalePitch : kAssumedFemalePitch;
    environment.pitchAssumedBase = static_cast<int>(environment.pitchBase);
  }
  return noErr;
}

// ---- Engine and references

kavrel_engine_struct* channel_engine() {
  const base::ScopedLock held(engine_lock);
  return engine;
}

// The set is searched by address before the record is read, since `channel` may be dangling.
bool retain_channel(speech_channel* channel) {
  LeafLock held(channel_registry);
  if (!live_records().contains(channel)) return false;
  ++channel->holders;
  return true;
}

void release_channel(speech_channel* channel) {
  {
    LeafLock held(channel_registry);
    if (--channel->holders > 0) return;
    live_records().erase(channel);
  }
  free_record(channel);
}

bool is_closing(speech_channel* channel) {
  LeafLock held(channel_registry);
  return channel->closing;
}

// ---- Registry

speech_channel* new_channel(SpeechChannelIdentifier ssr) {
  // Rationale: one set for every call, used by the first call only, and never released.
  kavrel_params* params = outside(kavrel_params_new)(nullptr);
  CHANNEL_LINE("new_channel", "New Speech Channel Requested.\n");
  open_engine(params);

  auto* channel = new (std::nothrow) speech_channel{};
  if (channel == nullptr) return nullptr;
  channel->id = ssr;
  init_locks(channel);
  {
    LeafLock held(channel_registry);
    try {
      live_records().insert(channel);
    } catch (const std::bad_alloc&) {
      // The null result reports it; a diagnostic line is not allowed under a leaf lock.
      delete channel;
      return nullptr;
    }
    link_channel(channel);
  }
  CHANNEL_LINE("new_channel", "New Speech Channel Created. ID: %d.\n", ssr);
  return channel;
}

speech_channel* find_channel(SpeechChannelIdentifier ssr) {
  CHANNEL_LINE("find_channel", "Searching for Speech Channel with ID: %d.\n", ssr);
  speech_channel* channel = nullptr;
  {
    LeafLock held(channel_registry);
    channel = find_registered(ssr);
  }
  if (channel != nullptr) CHANNEL_LINE("find_channel", "Found Speech Channel with ID: %d.\n", ssr);
  return channel;
}

// As find_channel, lines included, but takes the reference before the registry's lock is released.
ChannelHold::ChannelHold(SpeechChannelIdentifier ssr) : m_channel(nullptr) {
  CHANNEL_LINE("find_channel", "Searching for Speech Channel with ID: %d.\n", ssr);
  {
    LeafLock held(channel_registry);
    speech_channel* channel = find_registered(ssr);
    if (channel == nullptr || channel->closing) return;
    ++channel->holders;
    m_channel = channel;
  }
  CHANNEL_LINE("find_channel", "Found Speech Channel with ID: %d.\n", ssr);
}

ChannelHold::~ChannelHold() {
  if (m_channel != nullptr) release_channel(m_channel);
}

void channel_set_voice(speech_channel* channel, VoiceSpec* voice, char* voxdir) {
  channel->lock.assert_held();
  CHANNEL_LINE("channel_set_voice", "Setting Voice for Channel ID: %d to %s.\n", channel->id,
               voxdir != nullptr ? voxdir : "(null)");
  free_and_null(channel->voice);
  if (voice != nullptr) {
    channel->voice = static_cast<VoiceSpec*>(cst_safe_alloc(sizeof(VoiceSpec)));
    if (channel->voice != nullptr)
      outside(MakeVoiceSpec)(voice->creator, voice->id, channel->voice);
  }
  free_and_null(channel->voxdir);
  channel->voxdir = voxdir;
  channel->voice_changed = 1;
}

// The caller's own reference keeps the record alive to the end of this function; the reference
// dropped here is the registry's.
void delete_channel(speech_channel* channel) {
  CHANNEL_LINE("delete_channel", "Delete Requested for Channel ID: %d.\n", channel->id);
  if (!begin_closing(channel)) return;
  {
    ChannelLock held(channel);
    channel_stop(channel, -1);
    wait_for_signals(channel);
    drop_callbacks(channel);
    free_and_null(channel->voxdir);
    free_and_null(channel->voice);
  }
  // Rationale: the port stays open. Ports and the engine live until the process ends.
  {
    LeafLock held(channel_registry);
    unlink_channel(channel);
  }
  release_channel(channel);
  CHANNEL_LINE("delete_channel", "Speech Channel Deleted.\n");
}
