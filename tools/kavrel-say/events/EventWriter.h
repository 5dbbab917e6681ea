// SPDX-License-Identifier: Apache-2.0
//
// EventWriter: writes the events of a speech as JSON, one object per line. Help.h describes them
// for users.
//
// Threads: as for listeners. Every function throws what Output::write() throws.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include "SpokenText.h"
#include "events/EventTimes.h"
#include "screen/Output.h"
#include "speech/Listener.h"
#include "speech/PositionCounter.h"

namespace say {

class EventWriter : public Listener {
 public:
  // What the messages of sync events hold: values, or numbers in the upper half.
  enum class Marks { Values, Numbers };

  // All references outlive the writer.
  EventWriter(const tool::SpokenText& text, PositionCounter& positions, const EventTimes& times,
              const Output& output, Marks marks)
      : m_text(text), m_positions(positions), m_times(times), m_output(output), m_marks(marks) {}

  void word(std::size_t position, std::size_t length) override;
  void phoneme(int code) override;
  void sync(std::uint32_t message) override;
  void done() override;

 private:
  void write(nlohmann::ordered_json event) const;

  const tool::SpokenText& m_text;
  PositionCounter& m_positions;
  const EventTimes& m_times;
  const Output& m_output;
  const Marks m_marks;
};

}  // namespace say
