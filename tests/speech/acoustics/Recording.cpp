// SPDX-License-Identifier: GPL-3.0-or-later
#include "Recording.h"

#include <algorithm>
#include <atomic>
#include <iterator>

#include <gtest/gtest.h>

#include "job/producer.h"

namespace test {

using kavrel::Entry;

const std::string kProse =
    "The harbour was quiet that morning, and a single boat lay near the wall. Nobody had seen it "
    "come in over the bar during the long night.";

Recording record(std::string_view text, const kavrel::Voice& voice) {
  const std::atomic<bool> never = false;
  kavrel::Producer producer(text, voice, never);
  Recording recording;
  kavrel::Piece piece;
  kavrel::Producer::Result result = producer.next(piece);
  for (; result == kavrel::Producer::Result::Piece; result = producer.next(piece)) {
    const std::size_t start = recording.samples.size();
    for (Entry& entry : piece.entries) {
      entry.sample += start;
      recording.entries.push_back(std::move(entry));
    }
    recording.samples.insert(recording.samples.end(), piece.samples.begin(), piece.samples.end());
    recording.samples.resize(start + piece.length());
  }
  EXPECT_EQ(result, kavrel::Producer::Result::End) << producer.error();
  return recording;
}

std::vector<Entry> Recording::events(kavrel_event_t type) const {
  std::vector<Entry> found;
  std::ranges::copy_if(entries, std::back_inserter(found),
                       [type](const Entry& entry) { return entry.type == type; });
  return found;
}

std::string Recording::names(kavrel_event_t type) const {
  std::string all;
  for (const Entry& entry : events(type)) all += (all.empty() ? "" : " ") + entry.text;
  return all;
}

acoustics::Sound Recording::from(kavrel_event_t type, std::string_view text) const {
  const std::vector<Entry> all = events(type);
  const auto found = std::ranges::find(all, text, &Entry::text);
  EXPECT_NE(found, all.end()) << "no event \"" << text << '"';
  if (found == all.end()) return {};
  const auto next = std::next(found);
  return sound().part(found->sample, next == all.end() ? samples.size() : next->sample);
}

std::string prosody(std::string_view attributes, std::string_view text) {
  return "<prosody " + std::string(attributes) + ">" + std::string(text) + "</prosody>";
}

}  // namespace test
