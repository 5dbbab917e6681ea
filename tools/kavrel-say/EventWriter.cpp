// SPDX-License-Identifier: Apache-2.0
#include "EventWriter.h"

#include <nlohmann/json.hpp>

#include "StandardOutput.h"

namespace say {
namespace {

using Json = nlohmann::ordered_json;

void writeLine(const Json& event) {
  constexpr int kOneLine = -1;
  // A text that is not UTF-8 throughout must not end the program: what is malformed is replaced.
  tool::writeOut(event.dump(kOneLine, ' ', false, Json::error_handler_t::replace) + '\n');
}

}  // namespace

void EventWriter::word(std::size_t position, std::size_t length) {
  const tool::Slice slice = m_text.origin(position, length);
  // What the Manager says on its own account is no word of the text.
  if (slice.length == 0) return;
  writeLine({{"event", "word"},
             {"position", slice.position},
             {"length", slice.length},
             {"text", m_text.givenAt(slice)}});
}

void EventWriter::phoneme(int code) {
  writeLine({{"event", "phoneme"}, {"code", code}});
}

void EventWriter::sync(std::uint32_t message) {
  writeLine({{"event", "sync"}, {"number", message >> 16U}});
}

void EventWriter::done() {
  writeLine({{"event", "done"}});
}

}  // namespace say
