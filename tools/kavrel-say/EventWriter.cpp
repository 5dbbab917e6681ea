// SPDX-License-Identifier: Apache-2.0
#include "EventWriter.h"

#include <nlohmann/json.hpp>

namespace say {
namespace {

using Json = nlohmann::ordered_json;

std::string lineOf(const Json& event) {
  constexpr int kOneLine = -1;
  // A text that is not UTF-8 throughout must not end the program: what is malformed is replaced.
  return event.dump(kOneLine, ' ', false, Json::error_handler_t::replace) + '\n';
}

}  // namespace

void EventWriter::word(std::size_t position, std::size_t length) {
  const tool::Slice slice = m_text.origin(position, length);
  // What the Manager says on its own account is no word of the text.
  if (slice.length == 0) return;
  const tool::Slice counted = m_positions.of(slice);
  m_output.write(lineOf({{"event", "word"},
                         {"position", counted.position},
                         {"length", counted.length},
                         {"text", m_text.givenAt(slice)}}));
}

void EventWriter::phoneme(int code) {
  m_output.write(lineOf({{"event", "phoneme"}, {"code", code}}));
}

void EventWriter::sync(std::uint32_t message) {
  m_output.write(lineOf({{"event", "sync"}, {"number", message >> 16U}}));
}

void EventWriter::done() {
  m_output.write(lineOf({{"event", "done"}}));
}

}  // namespace say
