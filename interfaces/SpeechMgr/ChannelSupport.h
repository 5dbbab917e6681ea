// SPDX-License-Identifier: Apache-2.0
//
// What the source files of the channel layer share and nobody else needs: keeping records alive,
// locks as scopes, fields that two threads touch.
#pragma once

#include <atomic>
#include <cstdint>

#include "Diagnostics.h"
#include "SpeechChannel.h"

// A line of the channel layer, under the name of the function that callers know.
#define CHANNEL_LINE(function, ...)                                      \
  do {                                                                   \
    check_no_leaf_lock();                                                \
    DIAG_LINE(kDiagChannels, 3, "SpeechChannel", function, __VA_ARGS__); \
  } while (false)

// Keeps `channel` while it is one of the living; false when it is not (any more).
bool retain_channel(speech_channel* channel);

// Lets go; the last to do so frees the record.
void release_channel(speech_channel* channel);

// Whether a close of the channel has begun.
bool is_closing(speech_channel* channel);

// Lets go of the text and the maps of a job that is over or has not begun.
void release_text(speech_channel* channel) REQUIRES(channel->lock);

// The process's engine, or null when it could not be opened.
kavrel_engine_struct* channel_engine();

// False when the system refused a thread; `routine` has not run then.
bool start_detached_thread(void* (*routine)(void*), void* argument);

// Has job number `job` finished on a thread of its own.
void start_finishing(speech_channel* channel, unsigned int job);

// A client knows its channel by the identifier, in the form that the callback types have for it.
inline SpeechChannel client_channel(SpeechChannelIdentifier id) {
  // NOLINTNEXTLINE(performance-no-int-to-ptr): the callback types carry numbers as pointers.
  return reinterpret_cast<SpeechChannel>(static_cast<std::intptr_t>(id));
}

inline SRefCon client_refcon(long refcon) {
  // NOLINTNEXTLINE(performance-no-int-to-ptr): likewise.
  return reinterpret_cast<SRefCon>(static_cast<std::intptr_t>(refcon));
}

// Calls a client on one of our threads, where an exception of the client's has nowhere to go.
template <typename Call>
void call_client(Call call) {
  check_no_leaf_lock();
  try {
    call();
  } catch (...) {
  }
}

// The channel's lock, for a scope.
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

// Waits for a signal of speech_finished, or for no reason; the lock is let go meanwhile. For a
// thread that holds it once.
inline void wait_for_finished(speech_channel* channel) REQUIRES(channel->lock) {
  channel->lock.leave();
  pthread_cond_wait(&channel->speech_finished, &channel->mtx);
  channel->lock.enter();
}

// A plain field that the engine's thread and the clients' threads both touch.
template <typename T>
T load_shared(T& field) {
  return std::atomic_ref<T>(field).load(std::memory_order_acquire);
}

template <typename T>
void store_shared(T& field, T value) {
  std::atomic_ref<T>(field).store(value, std::memory_order_release);
}
