// SPDX-License-Identifier: Apache-2.0
//
// Shared by the tests of ports: a port with a callback that records events, and temporary folders.
//
// Threads: events arrive on the job's thread; the accessors may be called on any thread.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "kavrel.h"

namespace test {

struct Event {
  kavrel_event_t type = KAVREL_EVENT_NONE;
  int start = 0;
  int length = 0;
  std::string text;

  bool operator==(const Event&) const = default;
};

// A temporary folder, removed by the destructor.
class Folder {
 public:
  Folder();
  ~Folder();
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  std::string path(std::string_view name) const { return (m_path / name).string(); }
  std::string path() const { return m_path.string(); }
  void write(std::string_view name, std::string_view content) const;

 private:
  std::filesystem::path m_path;
};

// A port and the events that its callback has received. The destructor closes the port.
class Speaker {
 public:
  // An empty `file` means the sound output.
  explicit Speaker(const std::string& file = {}, kavrel_event_t mask = KAVREL_EVENT_ALL);
  ~Speaker();
  Speaker(const Speaker&) = delete;
  Speaker& operator=(const Speaker&) = delete;

  kavrel_port_struct* port() const { return m_port; }
  kavrel_background_t job() const { return m_job; }

  // Called for every event on the job's thread, after the event is recorded. Set it before the
  // first job.
  std::function<void(const Event&)> onEvent;

  // `encoding` and `params` are as for kavrel_port_speak_text.
  kavrel_result_t speak(std::string_view text, const char* encoding = nullptr,
                        const kavrel_params* params = nullptr);
  // Speaks, waits for the end, and returns all events recorded so far.
  std::vector<Event> speakAll(std::string_view text, const char* encoding = nullptr,
                              const kavrel_params* params = nullptr);

  // Blocks until `count` events of `type` have been recorded; only the test's time limit ends a
  // wait for events that do not come.
  void waitFor(kavrel_event_t type, std::size_t count = 1);

  std::vector<Event> events() const;
  std::vector<Event> events(kavrel_event_t type) const;

  // Returns the port and gives up its ownership.
  kavrel_port_struct* release();

 private:
  static kavrel_result_t onCallback(kavrel_event_struct* event, kavrel_event_t type, void* user);

  kavrel_port_struct* m_port = nullptr;
  kavrel_background_t m_job = nullptr;
  mutable std::mutex m_lock;
  std::condition_variable m_recorded;
  std::vector<Event> m_events;
};

std::vector<Event> ofType(const std::vector<Event>& events, kavrel_event_t type);
std::vector<std::string> texts(const std::vector<Event>& events);

// The samples of an AIFF file; fails the test if the file is not one.
std::vector<std::int16_t> readSamples(const std::string& file);

// The number of threads of this process. Called while nothing is spoken: the engine has none then.
std::size_t idleThreads();

// Waits until the process has at most `count` threads, since the thread of an ended job may still
// be exiting. Returns false if it has more after ten seconds.
bool threadsFallTo(std::size_t count);

// A text of several sentences.
extern const char* const kProse;

}  // namespace test
