// SPDX-License-Identifier: Apache-2.0
//
// What the tests of ports share: a port with a recording callback, and files to speak into.
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

// A folder of this test's own, removed at the end.
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

// A port, and what its callback has been given. Closes the port at the end.
class Speaker {
 public:
  // An empty `file`: the sound output.
  explicit Speaker(const std::string& file = {}, kavrel_event_t mask = KAVREL_EVENT_ALL);
  ~Speaker();
  Speaker(const Speaker&) = delete;
  Speaker& operator=(const Speaker&) = delete;

  kavrel_port_struct* port() const { return m_port; }
  kavrel_background_t job() const { return m_job; }

  // Called with every event, on the job's thread, after it has been recorded. Set it before the
  // first job.
  std::function<void(const Event&)> onEvent;

  kavrel_result_t speak(std::string_view text);
  // Speaks, waits for the end, and returns what has been recorded since the test began.
  std::vector<Event> speakAll(std::string_view text);

  // Blocks until as many events of `type` have been recorded; the test's time limit bounds it.
  void waitFor(kavrel_event_t type, std::size_t count = 1);

  std::vector<Event> events() const;
  std::vector<Event> events(kavrel_event_t type) const;

  // The port now belongs to the test.
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

// The samples of an AIFF file; fails the test when it is none.
std::vector<std::int16_t> readSamples(const std::string& file);

// How many threads this process has while nothing is spoken; the synthesiser keeps one of its own.
std::size_t threadsWithSynthesiser();

// Waits until the process has no more than `count` threads: an ended job's thread may still be on
// its way out. False when it has more after ten seconds.
bool threadsFallTo(std::size_t count);

// A text of several sentences.
extern const char* const kProse;

}  // namespace test
