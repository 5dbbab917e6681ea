// SPDX-License-Identifier: Apache-2.0
#include "events/EventWriter.h"

#include <cmath>

#include <nlohmann/json.hpp>

namespace say {
namespace {

using Json = nlohmann::ordered_json;

// A tenth of a millisecond tells all sounds apart.
double rounded(double seconds) {
  constexpr double kSteps = 10'000;
  return std::round(seconds * kSteps) / kSteps;
}

}  // namespace

void EventWriter::write(Json event) const {
  constexpr int kOneLine = -1;
  if (const auto time = m_times.now()) event["time"] = rounded(*time);
  // A text that is not UTF-8 throughout must not end the program: what is malformed is replaced.
  m_output.write(event.dump(kOneLine, ' ', false, Json::error_handler_t::replace) + '\n');
}

void EventWriter::word(std::size_t position, std::size_t length) {
  const tool::Slice slice = m_text.origin(position, length);
  // What the Manager says on its own account is no word of the text.
  if (slice.length == 0) return;
  const tool::Slice counted = m_positions.of(slice);
  write({{"event", "word"},
         {"position", counted.position},
         {"length", counted.length},
         {"text", m_text.givenAt(slice)}});
}

void EventWriter::phoneme(int code) {
  write({{"event", "phoneme"}, {"code", code}});
}

void EventWriter::sync(std::uint32_t message) {
  write({{"event", "sync"}, {"number", message >> 16U}});
}

void EventWriter::done() {
  write({{"event", "done"}});
}

}  // namespace say
