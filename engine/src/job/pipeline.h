// SPDX-License-Identifier: Apache-2.0
//
// Produces the speech of a text, segment by segment and in order: on demand, or ahead of its
// consumer, on as many threads as the synthesiser speaks calls at the same time. Memory is bounded:
// the threads pause while a number of segments wait for the consumer.
//
// Threads: next() and error() are used by one thread, the consumer; cancel() on any. The threads of
// a cancelled pipeline end by themselves within milliseconds; nobody waits for them.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "job/segment.h"
#include "job/segment_builder.h"
#include "synth/script_voices.h"
#include "synth/synthesiser.h"

namespace kavrel {

class Pipeline {
 public:
  enum class Result { Segment, End, Failed, Cancelled };

  // `text` must outlive the pipeline; the voices and `synthesiser` must never be destroyed. With
  // `ahead`, the first next() starts the threads; if the system refuses them, segments are produced
  // on demand.
  Pipeline(std::string_view text, Encoding encoding, ScriptVoices voices, bool ahead,
           Synthesiser& synthesiser = Synthesiser::shared());

  // Cancels.
  ~Pipeline();
  Pipeline(const Pipeline&) = delete;
  Pipeline& operator=(const Pipeline&) = delete;

  // Fills `segment`, which may have no audio. Failed: error() has the cause. May throw
  // std::bad_alloc. Must not be called again after another result than Segment, or an exception.
  Result next(SpeechSegment& segment);

  // Makes next() return Cancelled: at once while it waits for a thread of the pipeline, within
  // milliseconds while it produces a segment itself.  [any thread]
  void cancel();

  const std::string& error() const { return m_error; }

 private:
  class Queue;

  const std::shared_ptr<Queue> m_queue;  // shared with the threads
  SegmentBuilder m_builder;
  bool m_ahead;  // threads are running or are to be started
  bool m_started = false;
  std::string m_error;
};

}  // namespace kavrel
