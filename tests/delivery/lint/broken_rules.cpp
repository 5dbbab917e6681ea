// SPDX-License-Identifier: Apache-2.0
//
// One breach of the lock rules for each value of RULE; lock_rules.sh expects clang to reject each.
#include "ChannelSupport.h"

struct {
  base::Mutex lock;
  base::Condition changed;
  int value GUARDED_BY(lock) = 0;
} probed;

int probe(speech_channel* channel) {
#if RULE == 0
  const ChannelLock held(channel);
  return channel_stop(channel, 0) + channel->status;
#elif RULE == 1  // a field without the channel's lock
  return channel->status;
#elif RULE == 2  // a function without the channel's lock
  return channel_stop(channel, 0);
#elif RULE == 3  // the lock of another channel
  const ChannelLock held(channel + 1);
  return channel_stop(channel, 0);
#elif RULE == 4  // the list without the registry's lock
  const ChannelLock held(channel);
  return channel->next != nullptr;
#elif RULE == 5  // data that events read, without the leaf lock
  const ChannelLock held(channel);
  return channel->text_offsets != nullptr;
#elif RULE == 6  // the state of the job, without the leaf lock
  return static_cast<int>(channel->job_state.number);
#elif RULE == 7  // guarded data while the lock is released
  const base::ScopedLock held(probed.lock);
  const base::ScopedUnlock released(probed.lock);
  return probed.value;
#elif RULE == 8  // a wait without the lock
  probed.changed.wait(probed.lock);
  return 0;
#endif
}
