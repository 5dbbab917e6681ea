// SPDX-License-Identifier: Apache-2.0
//
// From engine events to client callbacks. Everything here runs on the engine's thread.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <limits>

#include "ChannelSupport.h"
#include "SpeechChannel.h"
#include "SpeechMgrUtils.h"

namespace {

const char* event_text(kavrel_event_struct* event) {
  char* text = nullptr;
  outside(kavrel_event_get_text)(event, &text);
  return text != nullptr ? text : "";
}

// A decimal number as 32-bit systems read it: out of range saturates.
int sync_number(const char* name) {
  const long number = std::strtol(name, nullptr, 10);
  return static_cast<int>(
      std::clamp<long>(number, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

void report_bookmark(speech_channel* channel, kavrel_event_struct* event) {
  const int number = sync_number(event_text(event));
  CHANNEL_LINE("channel_stream_callback", "Calling sync callback number %d on Channel %d\n", number,
               channel->id);
  const SpeechSyncProcPtr sync = load_shared(channel->cb_sync);
  if (sync == nullptr) return;
  const long refcon = load_shared(channel->refcon);
  call_client([&] {
    sync(client_channel(channel->id), client_refcon(refcon), static_cast<OSType>(number));
  });
}

struct WordPosition {
  std::uint32_t position = 0;  // in the caller's text
  int shift = 0;               // engine position less caller position
  int length = 0;
};

// False when the job's text is gone already.
bool find_word(speech_channel* channel, int start, int length, WordPosition& place) {
  LeafLock held(channel->job_state.leaf);
  if (channel->text_offsets == nullptr) return false;
  const auto engine_position = static_cast<std::uint32_t>(start);
  if (channel->text_positions == nullptr) {
    place.shift = static_cast<int>(channel->text_offsets->offset(engine_position));
    place.position = engine_position - static_cast<std::uint32_t>(place.shift);
    place.length = length;
    return true;
  }
  const PositionMap& origins = *channel->text_positions;
  // An engine may name places outside the text; the caller's buffer is never left.
  const std::int64_t textEnd = origins.length();
  const std::int64_t first = std::clamp<std::int64_t>(start, 0, textEnd);
  const std::int64_t end = std::clamp<std::int64_t>(first + length, first, textEnd);
  place.position = origins.origin(static_cast<std::uint32_t>(first));
  place.shift = static_cast<int>(engine_position - place.position);
  if (end > first) {
    const std::uint32_t last = static_cast<std::uint32_t>(end - 1);
    place.length = static_cast<int>(origins.originEnd(last) - place.position);
  }
  return true;
}

void report_word(speech_channel* channel, kavrel_event_struct* event) {
  const SpeechWordProcPtr word = load_shared(channel->cb_word);
  if (word == nullptr) return;
  int start = 0;
  int length = 0;
  outside(kavrel_event_get_textpos)(event, &start, &length);
  WordPosition place;
  if (!find_word(channel, start, length, place)) return;
  CHANNEL_LINE("channel_stream_callback",
               "Calling word callback on Channel %d at text pos %d (%d , %d), length %d\n",
               channel->id, static_cast<int>(place.position), start, place.shift, place.length);
  const long refcon = load_shared(channel->refcon);
  call_client([&] {
    word(client_channel(channel->id), client_refcon(refcon), place.position,
         static_cast<UInt16>(place.length));
  });
}

void report_phoneme(speech_channel* channel, kavrel_event_struct* event) {
  int position = 0;
  outside(kavrel_event_get_textpos)(event, &position, nullptr);
  store_shared(channel->curr_pos, position);
  const char* phone = event_text(event);
  const int code = applePhoneCode(phone);
  store_shared(channel->curr_phoneme, code);
  const SpeechPhonemeProcPtr phoneme = load_shared(channel->cb_phoneme);
  if (phoneme == nullptr) return;
  CHANNEL_LINE("channel_stream_callback", "Calling phoneme callback on Channel %d for phoneme %s\n",
               channel->id, phone);
  const long refcon = load_shared(channel->refcon);
  call_client([&] {
    phoneme(client_channel(channel->id), client_refcon(refcon), static_cast<SInt16>(code));
  });
}

// The END of the current job starts its finishing; one that an earlier job owed only lets go.
void note_end(speech_channel* channel) {
  bool owed = false;
  bool held_by_job = false;
  unsigned int job = 0;
  channel_job_state& state = channel->job_state;
  {
    LeafLock held(state.leaf);
    owed = state.ends_owed > 0;
    held_by_job = owed || !state.end_seen;
    if (owed) {
      --state.ends_owed;
    } else {
      state.end_seen = true;
    }
    job = state.number;
  }
  if (!owed) start_finishing(channel, job);
  if (held_by_job) release_channel(channel);
}

void dispatch(speech_channel* channel, kavrel_event_struct* event, kavrel_event_t type) {
  switch (type) {
    case KAVREL_EVENT_BOOKMARK:
      return report_bookmark(channel, event);
    case KAVREL_EVENT_WORD:
      return report_word(channel, event);
    case KAVREL_EVENT_PHONEME:
      return report_phoneme(channel, event);
    case KAVREL_EVENT_END:
      return note_end(channel);
    default:  // sentences are subscribed to and not used
      return;
  }
}

}  // namespace

kavrel_result_t channel_stream_callback(kavrel_event_struct* event, kavrel_event_t type,
                                        void* user) {
  auto* channel = static_cast<speech_channel*>(user);
  if (!retain_channel(channel)) return KAVREL_SUCCESS;
  try {
    dispatch(channel, event, type);
  } catch (...) {
    // Memory is out. The event is lost; the job goes on.
  }
  release_channel(channel);
  return KAVREL_SUCCESS;
}
