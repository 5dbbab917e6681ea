// SPDX-License-Identifier: Apache-2.0
#include "job/pipeline.h"

#include <atomic>
#include <cstddef>
#include <deque>
#include <exception>
#include <system_error>
#include <thread>
#include <utility>

#include "base/threads/Mutex.h"
#include "cst/diag.h"
#include "job/step_reader.h"
#include "synth/voice.h"

namespace kavrel {

namespace {

// Steps that are spoken or wait, for each thread. Half of the steps of plain text have no audio
// (ends of sentences), and a call may take several times as long as the next one.
constexpr std::size_t kStepsPerThread = 4;

}  // namespace

// The steps that have been read and not been taken, in order of the text. A thread reads a step and
// speaks it; several do so at the same time, and the consumer takes the steps in their order.
class Pipeline::Queue {
 public:
  // A step and what came of it.
  struct Entry {
    Step step;
    SynthAudio audio;
    bool done = false;
    std::string error;          // of a call that failed; else empty
    std::exception_ptr thrown;  // by the thread
  };

  Queue(std::string_view text, Encoding encoding, ScriptVoices voices, Synthesiser& synthesiser)
      : m_synthesiser(synthesiser), m_reader(text, encoding, std::move(voices)) {}

  // Starts the threads, which share `queue`. Returns false if there are none.
  static bool start(const std::shared_ptr<Queue>& queue) {
    const std::size_t count = queue->m_synthesiser.maxCalls();
    queue->setCapacity(count * kStepsPerThread);
    for (std::size_t started = 0; started < count; ++started) {
      try {
        std::thread([queue] { queue->run(); }).detach();
      } catch (const std::system_error&) {
        // Slower, but not a failure.
        KAVREL_DIAG("Pipeline", "The system refuses thread %zu of %zu.", started + 1, count);
        return started > 0;
      }
    }
    return true;
  }

  // Waits for the next step. `entry` is valid for Segment and Failed.
  Result take(Entry& entry) EXCLUDES(m_lock) {
    const base::ScopedLock held(m_lock);
    for (;;) {
      if (m_cancelled) return Result::Cancelled;
      if (!m_entries.empty() && m_entries.front().done) break;
      if (m_entries.empty() && m_ended) {
        if (m_thrown) std::rethrow_exception(m_thrown);
        return Result::End;
      }
      m_changed.wait(m_lock);
    }
    entry = std::move(m_entries.front());
    m_entries.pop_front();
    m_changed.notifyAll();
    return resultOf(entry);
  }

  // Reads and speaks the next step on the calling thread. Only if there are no threads.
  Result produce(Entry& entry) EXCLUDES(m_lock) {
    {
      const base::ScopedLock held(m_lock);
      if (!m_reader.next(entry.step)) return Result::End;
    }
    speak(entry);
    return m_cancelled ? Result::Cancelled : resultOf(entry);
  }

  void cancel() EXCLUDES(m_lock) {
    const base::ScopedLock held(m_lock);
    m_cancelled = true;
    m_changed.notifyAll();
  }

 private:
  void setCapacity(std::size_t capacity) EXCLUDES(m_lock) {
    const base::ScopedLock held(m_lock);
    m_capacity = capacity;
  }

  static Result resultOf(const Entry& entry) {
    if (entry.thrown) std::rethrow_exception(entry.thrown);
    return entry.error.empty() ? Result::Segment : Result::Failed;
  }

  // Main function of a thread. Ends with the text, after a failure, or when cancelled.
  void run() EXCLUDES(m_lock) {
    const base::ScopedLock held(m_lock);
    while (Entry* const entry = nextCall()) {
      {
        const base::ScopedUnlock released(m_lock);
        try {
          speak(*entry);
        } catch (...) {
          entry->thrown = std::current_exception();
        }
      }
      entry->done = true;
      m_ended = m_ended || entry->thrown || !entry->error.empty();
      m_changed.notifyAll();
    }
  }

  // Reads up to the next step that has to be spoken, and returns its entry; null if there is none.
  // The entry stays valid until it is done: it is not taken before, and a deque does not move its
  // elements.
  Entry* nextCall() REQUIRES(m_lock) {
    for (;;) {
      while (!m_cancelled && !m_ended && m_entries.size() >= m_capacity) m_changed.wait(m_lock);
      if (m_cancelled || m_ended) return nullptr;
      try {
        Entry entry;
        if (m_reader.next(entry.step)) {
          m_entries.push_back(std::move(entry));
        } else {
          m_ended = true;
        }
      } catch (...) {
        m_thrown = std::current_exception();
        m_ended = true;
      }
      m_changed.notifyAll();
      if (m_ended) return nullptr;
      Entry& last = m_entries.back();
      if (needsSpeech(last.step)) return &last;
      last.done = true;
    }
  }

  static bool needsSpeech(const Step& step) {
    return step.kind == Step::Kind::Call && step.call.audible;
  }

  void speak(Entry& entry) const {
    if (!needsSpeech(entry.step)) return;
    std::string why;
    if (!m_synthesiser.speak(
            entry.step.call.input, *entry.step.call.voice, [this] { return m_cancelled.load(); },
            entry.audio, why)) {
      entry.error = why.empty() ? "the synthesiser failed" : std::move(why);
    }
  }

  Synthesiser& m_synthesiser;
  std::atomic<bool> m_cancelled{false};  // written with the lock held

  base::Mutex m_lock;
  base::Condition m_changed;  // with m_lock: anything below, or m_cancelled, has changed
  // Not used once the pipeline is cancelled, since its text may be gone.
  StepReader m_reader GUARDED_BY(m_lock);
  std::deque<Entry> m_entries GUARDED_BY(m_lock);
  std::size_t m_capacity GUARDED_BY(m_lock) = 0;
  bool m_ended GUARDED_BY(m_lock) = false;         // no more steps are read
  std::exception_ptr m_thrown GUARDED_BY(m_lock);  // by the reader
};

Pipeline::Pipeline(std::string_view text, Encoding encoding, ScriptVoices voices, bool ahead,
                   Synthesiser& synthesiser)
    : m_queue(std::make_shared<Queue>(text, encoding, std::move(voices), synthesiser)),
      m_ahead(ahead) {}

Pipeline::~Pipeline() {
  cancel();
}

Pipeline::Result Pipeline::next(SpeechSegment& segment) {
  if (m_ahead && !std::exchange(m_started, true)) m_ahead = Queue::start(m_queue);
  Queue::Entry entry;
  const Result result = m_ahead ? m_queue->take(entry) : m_queue->produce(entry);
  if (result == Result::Segment) segment = m_builder.build(entry.step, std::move(entry.audio));
  if (result == Result::Failed) m_error = std::move(entry.error);
  return result;
}

void Pipeline::cancel() {
  m_queue->cancel();
}

}  // namespace kavrel
