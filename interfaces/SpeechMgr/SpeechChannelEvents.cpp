// SPDX-License-Identifier: Apache-2.0
//
// From engine events to client callbacks. Everything here runs on the engine's thread, without the
// channel's lock: an entry point may hold that lock while it waits for the engine. The callbacks
// and the reference constant are read atomically, the maps of the text under the leaf lock of the
// job's state.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <limits>

#include "ChannelSupport.h"
#include "KavrelSpeechEngine.h"
#include "SpeechChannel.h"
#include "SpeechMgrUtils.h"

namespace {

// Returns the event's text, or an empty string if it has none.
const char* event_text(kavrel_event_struct* event) {
  char* text = nullptr;
  outside(kavrel_event_get_text)(event, &text);
  return text != nullptr ? text : "";
}

// Reads a decimal number as 32-bit systems do: numbers out of range are clamped.
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

// Position and length of a word event in the caller's text.
struct WordPosition {
  std::uint32_t position = 0;  // in the caller's text
  int shift = 0;               // engine position minus caller position
  int length = 0;
};

// Finds the word in the caller's text: with the PositionMap if the host has requested true
// positions, else with the OffsetMap, whose arithmetic leaves the length as it is. Returns false if
// the text of the job has been freed already.
bool find_word(speech_channel* channel, int start, int length, WordPosition& found) {
  LeafLock held(channel->job_state.leaf);
  if (channel->text_offsets == nullptr) return false;
  const auto engine_position = static_cast<std::uint32_t>(start);
  if (channel->text_positions == nullptr) {
    found.shift = static_cast<int>(channel->text_offsets->offset(engine_position));
    found.position = engine_position - static_cast<std::uint32_t>(found.shift);
    found.length = length;
    return true;
  }
  const PositionMap& origins = *channel->text_positions;
  // An engine may report positions outside the text: clamp them, so that no position outside the
  // caller's buffer is reported.
  const std::int64_t textEnd = origins.length();
  const std::int64_t first = std::clamp<std::int64_t>(start, 0, textEnd);
  const std::int64_t end = std::clamp<std::int64_t>(first + length, first, textEnd);
  found.position = origins.origin(static_cast<std::uint32_t>(first));
  found.shift = static_cast<int>(engine_position - found.position);
  if (end > first) {
    // To the end of the last byte's origin: an escape counts as the character it stands for.
    const std::uint32_t last = static_cast<std::uint32_t>(end - 1);
    found.length = static_cast<int>(origins.originEnd(last) - found.position);
  }
  return true;
}

void report_word(speech_channel* channel, kavrel_event_struct* event) {
  const SpeechWordProcPtr word = load_shared(channel->cb_word);
  if (word == nullptr) return;
  int start = 0;
  int length = 0;
  outside(kavrel_event_get_textpos)(event, &start, &length);
  WordPosition found;
  if (!find_word(channel, start, length, found)) return;
  CHANNEL_LINE("channel_stream_callback",
               "Calling word callback on Channel %d at text pos %d (%d , %d), length %d\n",
               channel->id, static_cast<int>(found.position), start, found.shift, found.length);
  const long refcon = load_shared(channel->refcon);
  call_client([&] {
    word(client_channel(channel->id), client_refcon(refcon), found.position,
         static_cast<UInt16>(found.length));
  });
}

// Position and code are stored even without a callback, for the status query.
void report_phoneme(speech_channel* channel, kavrel_event_struct* event) {
  int position = 0;
  int length = 0;  // unused, but an engine need not allow a null address
  outside(kavrel_event_get_textpos)(event, &position, &length);
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

void report_error(speech_channel* channel, kavrel_event_struct* event) {
  const SpeechErrorProcPtr error = load_shared(channel->cb_error);
  if (error == nullptr || load_shared(channel->engine_errors) == 0) return;
  int start = 0;
  int length = 0;
  outside(kavrel_event_get_textpos)(event, &start, &length);
  WordPosition found;
  if (!find_word(channel, start, 0, found)) return;
  const long refcon = load_shared(channel->refcon);
  call_client([&] {
    error(client_channel(channel->id), client_refcon(refcon), kEngineError, found.position);
  });
}

// The END of the current job starts its finishing. An END owed by an earlier job, which was
// finished without it, only drops that job's reference.
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
    case KAVREL_EVENT_ERROR:
      return report_error(channel, event);
    case KAVREL_EVENT_END:
      return note_end(channel);
    default:  // sentence events are subscribed to but not used
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
    // Out of memory: the event is lost and the job continues. No diagnostic line, since the
    // engine's functions for it may allocate.
  }
  release_channel(channel);
  return KAVREL_SUCCESS;
}
