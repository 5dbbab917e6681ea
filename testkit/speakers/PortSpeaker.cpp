// SPDX-License-Identifier: Apache-2.0
#include "speakers/PortSpeaker.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <thread>
#include <utility>

#include <gtest/gtest.h>
#include <sndfile.h>

namespace test {

const char* const kProse =
    "The harbour was quiet that morning. A single boat, painted green, lay at the quay! Who had "
    "left it there? Nobody could say; the keeper had seen 12 sails go out, and none come back. "
    "\"It will rain,\" said the old man.";

Folder::Folder() {
  std::string pattern = (std::filesystem::temp_directory_path() / "kavrel-XXXXXX").string();
  EXPECT_NE(mkdtemp(pattern.data()), nullptr);
  m_path = pattern;
}

Folder::~Folder() {
  std::error_code ignored;
  std::filesystem::remove_all(m_path, ignored);
}

void Folder::write(std::string_view name, std::string_view content) const {
  std::ofstream(m_path / name, std::ios::binary) << content;
}

Speaker::Speaker(const std::string& file, kavrel_event_t mask) {
  kavrel_params* const params = kavrel_params_new(nullptr);
  if (!file.empty()) {
    kavrel_params_set_val(params, KAVREL_KEY_OUTPUT_FILE, kavrel_val_string(file.c_str()));
  }
  m_port = kavrel_port_open(kavrel_engine_open(nullptr), params);
  kavrel_params_delete(params);
  EXPECT_NE(m_port, nullptr);
  EXPECT_EQ(kavrel_port_set_callback(m_port, &Speaker::onCallback, mask, this), KAVREL_SUCCESS);
}

Speaker::~Speaker() {
  if (m_port != nullptr) kavrel_port_close(m_port);
}

kavrel_result_t Speaker::speak(std::string_view text, const char* encoding,
                               const kavrel_params* params) {
  return kavrel_port_speak_text(m_port, text.data(), text.size(), encoding, &m_job, params);
}

std::vector<Event> Speaker::speakAll(std::string_view text, const char* encoding,
                                     const kavrel_params* params) {
  EXPECT_EQ(speak(text, encoding, params), KAVREL_SUCCESS);
  EXPECT_EQ(kavrel_port_wait(m_port, m_job), KAVREL_SUCCESS);
  return events();
}

void Speaker::waitFor(kavrel_event_t type, std::size_t count) {
  std::unique_lock held(m_lock);
  m_recorded.wait(held, [&] { return ofType(m_events, type).size() >= count; });
}

std::vector<Event> Speaker::events() const {
  const std::lock_guard held(m_lock);
  return m_events;
}

std::vector<Event> Speaker::events(kavrel_event_t type) const {
  return ofType(events(), type);
}

kavrel_port_struct* Speaker::release() {
  return std::exchange(m_port, nullptr);
}

// The event is valid only during the callback, so its text is copied.
kavrel_result_t Speaker::onCallback(kavrel_event_struct* event, kavrel_event_t type, void* user) {
  auto& speaker = *static_cast<Speaker*>(user);
  Event recorded{type, 0, 0, {}};
  char* text = nullptr;
  EXPECT_EQ(kavrel_event_get_text(event, &text), KAVREL_SUCCESS);
  EXPECT_EQ(kavrel_event_get_textpos(event, &recorded.start, &recorded.length), KAVREL_SUCCESS);
  recorded.text = text;
  {
    const std::lock_guard held(speaker.m_lock);
    speaker.m_events.push_back(recorded);
    speaker.m_recorded.notify_all();
  }
  if (speaker.onEvent) speaker.onEvent(recorded);
  return KAVREL_SUCCESS;
}

std::vector<Event> ofType(const std::vector<Event>& events, kavrel_event_t type) {
  std::vector<Event> found;
  std::copy_if(events.begin(), events.end(), std::back_inserter(found),
               [type](const Event& event) { return event.type == type; });
  return found;
}

std::vector<std::string> texts(const std::vector<Event>& events) {
  std::vector<std::string> found;
  for (const Event& event : events) found.push_back(event.text);
  return found;
}

std::vector<std::int16_t> readSamples(const std::string& file) {
  SF_INFO info{};
  SNDFILE* const opened = sf_open(file.c_str(), SFM_READ, &info);
  EXPECT_NE(opened, nullptr) << file << ": " << sf_strerror(nullptr);
  if (opened == nullptr) return {};
  EXPECT_EQ(info.format, SF_FORMAT_AIFF | SF_FORMAT_PCM_16);
  EXPECT_EQ(info.samplerate, 22050);
  EXPECT_EQ(info.channels, 1);
  std::vector<std::int16_t> samples(static_cast<std::size_t>(info.frames));
  EXPECT_EQ(sf_read_short(opened, samples.data(), info.frames), info.frames);
  sf_close(opened);
  return samples;
}

namespace {

std::size_t threadCount() {
  const std::filesystem::directory_iterator tasks("/proc/self/task");
  return static_cast<std::size_t>(std::distance(begin(tasks), end(tasks)));
}

}  // namespace

std::size_t idleThreads() {
  return threadCount();
}

bool threadsFallTo(std::size_t count) {
  const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (threadCount() > count) {
    if (std::chrono::steady_clock::now() > limit) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

}  // namespace test
