// SPDX-License-Identifier: Apache-2.0
#include "events/EventWriter.h"

#include <cmath>

#include <nlohmann/json.hpp>

namespace say {
namespace {

using Json = nlohmann::ordered_json;

// To a tenth of a millisecond, about two samples.
double roundTime(double seconds) {
  constexpr double kSteps = 10'000;
  return std::round(seconds * kSteps) / kSteps;
}

}  // namespace

void EventWriter::write(Json event) const {
  constexpr int kOneLine = -1;
  if (const auto time = m_times.now()) event["time"] = roundTime(*time);
  // Malformed UTF-8 is replaced: by default the library would throw for it.
  m_output.write(event.dump(kOneLine, ' ', false, Json::error_handler_t::replace) + '\n');
}

void EventWriter::word(std::size_t position, std::size_t length) {
  const tool::Slice slice = m_text.origin(position, length);
  // Text that the Manager inserted is not a word of the input.
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
  const std::uint32_t number = m_marks == Marks::Values ? message : message >> 16U;
  write({{"event", "sync"}, {"number", number}});
}

void EventWriter::done() {
  write({{"event", "done"}});
}

}  // namespace say
