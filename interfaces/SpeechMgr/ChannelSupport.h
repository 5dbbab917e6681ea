// SPDX-License-Identifier: Apache-2.0
//
// Used by the source files of the channel layer only: keeping records alive, guards for locks,
// access to fields that several threads use, calls of clients.
//
// Positions of word events: find_word (SpeechChannelEvents.cpp) turns the engine's position into
// the caller's under `job_state.leaf`. It uses the job's PositionMap if there is one, which gives
// true positions, and its OffsetMap otherwise. release_text deletes both.
#pragma once

#include <atomic>
#include <cstdint>

#include "Diagnostics.h"
#include "SpeechChannel.h"

// Writes a diagnostic line of the channel layer. `function` is the name of the public function.
#define CHANNEL_LINE(function, ...)                                      \
  do {                                                                   \
    check_no_leaf_lock();                                                \
    DIAG_LINE(kDiagChannels, 3, "SpeechChannel", function, __VA_ARGS__); \
  } while (false)

// Frees memory of the cst allocator, unless `memory` is null, and sets `memory` to null. An engine
// need not allow cst_free of null.
template <typename T>
void free_and_null(T*& memory) {
  if (memory == nullptr) return;
  cst_free(memory);
  memory = nullptr;
}

// Adds a reference to `channel`. Returns false if the record does not exist or has been freed.
bool retain_channel(speech_channel* channel);

// Drops a reference. The last one frees the record. Call without a leaf lock.
void release_channel(speech_channel* channel);

// Returns true if a close of the channel has begun.
bool is_closing(speech_channel* channel);

// Frees the text and the maps of a job that is over or has not begun.
void release_text(speech_channel* channel) REQUIRES(channel->lock);

// Returns the process's engine, or null if it could not be opened.
kavrel_engine_struct* channel_engine();

// Returns false if the system refused a thread; `routine` has not run then.
bool start_detached_thread(void* (*routine)(void*), void* argument);

// Starts a thread that finishes job number `job`, or finishes it here if the system refuses a
// thread.
void start_finishing(speech_channel* channel, unsigned int job);

// Returns the identifier as the callback types pass it. Clients know a channel by its identifier.
inline SpeechChannel client_channel(SpeechChannelIdentifier id) {
  // NOLINTNEXTLINE(performance-no-int-to-ptr): the callback types carry numbers as pointers.
  return reinterpret_cast<SpeechChannel>(static_cast<std::intptr_t>(id));
}

inline SRefCon client_refcon(long refcon) {
  // NOLINTNEXTLINE(performance-no-int-to-ptr): likewise.
  return reinterpret_cast<SRefCon>(static_cast<std::intptr_t>(refcon));
}

// Calls a client on the engine's or a worker thread. An exception of the client is dropped: no
// caller on these threads could handle it, and it would end the process.
template <typename Call>
void call_client(Call call) {
  check_no_leaf_lock();
  try {
    call();
  } catch (...) {
    CHANNEL_LINE("call_client", "A client callback has thrown an exception; it is ignored.\n");
  }
}

// RAII guard: holds the channel's recursive lock for a scope.
class SCOPED_CAPABILITY ChannelLock {
 public:
  explicit ChannelLock(speech_channel* channel) ACQUIRE(channel->lock) : m_channel(channel) {
    outside(mutex_lock)(&channel->mtx);
    channel->lock.enter();
  }
  ~ChannelLock() RELEASE() {
    m_channel->lock.leave();
    outside(mutex_unlock)(&m_channel->mtx);
  }
  ChannelLock(const ChannelLock&) = delete;
  ChannelLock& operator=(const ChannelLock&) = delete;

 private:
  speech_channel* m_channel;
};

// Waits for a signal of speech_finished; wakes up without one at times. Releases the lock while it
// waits, so the thread must hold it exactly once.
inline void wait_for_finished(speech_channel* channel) REQUIRES(channel->lock) {
  channel->lock.leave();
  pthread_cond_wait(&channel->speech_finished, &channel->mtx);
  channel->lock.enter();
}

// Atomic access to a plain field that the engine's thread and the clients' threads both use.
template <typename T>
T load_shared(T& field) {
  return std::atomic_ref<T>(field).load(std::memory_order_acquire);
}

template <typename T>
void store_shared(T& field, T value) {
  std::atomic_ref<T>(field).store(value, std::memory_order_release);
}
