// SPDX-License-Identifier: Apache-2.0
#include "Recording.h"

#include <algorithm>
#include <iterator>

#include <gtest/gtest.h>

#include "job/pipeline.h"

namespace test {

using kavrel::TimedEvent;

const std::string kProse =
    "The harbour was quiet that morning, and a single boat lay near the wall. Nobody had seen it "
    "come in over the bar during the long night.";

Recording record(std::string_view text, const kavrel::Voice& voice) {
  kavrel::Pipeline pipeline(text, kavrel::Encoding::Latin9, voice, false);
  Recording recording;
  kavrel::SpeechSegment segment;
  kavrel::Pipeline::Result result = pipeline.next(segment);
  for (; result == kavrel::Pipeline::Result::Segment; result = pipeline.next(segment)) {
    const std::size_t start = recording.samples.size();
    for (TimedEvent& event : segment.events) {
      event.sample += start;
      recording.timedEvents.push_back(std::move(event));
    }
    recording.samples.insert(recording.samples.end(), segment.samples.begin(),
                             segment.samples.end());
    recording.samples.resize(start + segment.length());
  }
  EXPECT_EQ(result, kavrel::Pipeline::Result::End) << pipeline.error();
  return recording;
}

std::vector<TimedEvent> Recording::events(kavrel_event_t type) const {
  std::vector<TimedEvent> found;
  std::ranges::copy_if(timedEvents, std::back_inserter(found),
                       [type](const TimedEvent& event) { return event.type == type; });
  return found;
}

std::string Recording::names(kavrel_event_t type) const {
  std::string all;
  for (const TimedEvent& event : events(type)) all += (all.empty() ? "" : " ") + event.text;
  return all;
}

acoustics::Sound Recording::from(kavrel_event_t type, std::string_view text) const {
  const std::vector<TimedEvent> all = events(type);
  const auto found = std::ranges::find(all, text, &TimedEvent::text);
  EXPECT_NE(found, all.end()) << "no event \"" << text << '"';
  if (found == all.end()) return {};
  const auto next = std::next(found);
  return sound().part(found->sample, next == all.end() ? samples.size() : next->sample);
}

std::string prosody(std::string_view attributes, std::string_view text) {
  return "<prosody " + std::string(attributes) + ">" + std::string(text) + "</prosody>";
}

}  // namespace test
