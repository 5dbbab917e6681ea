// SPDX-License-Identifier: Apache-2.0
//
// CarriedState: the settings that the commands of a text have made, as commands for the text that
// continues it.
//
// Relative values of one setting are added up, so the commands stay few however long the text is.
//
// A value class; one thread at a time may use an object. Failure: std::bad_alloc.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

#include "SpeechSynthesis/texts/EmbeddedCommand.h"

namespace platform {

class CarriedState {
 public:
  // Takes a valid command into account. Those that are not settings have no effect.
  void apply(const EmbeddedCommand& command);
  // Adds a command, without delimiters, after the settings.
  void add(std::string_view command);

  // Returns the commands between delimiters; empty if there are none.
  std::string text(std::string_view open, std::string_view close) const;

 private:
  // The value of one setting: absolute, relative, or an absolute one and relative ones after it.
  struct Setting {
    EmbeddedCommand::Kind kind;
    std::string_view word;
    std::string absolute;  // argument; empty if there is none
    double change = 0;
  };

  bool m_isReset = false;  // before all settings
  std::array<Setting, 6> m_settings = {{{EmbeddedCommand::Kind::Characters, "char", {}},
                                        {EmbeddedCommand::Kind::Numbers, "nmbr", {}},
                                        {EmbeddedCommand::Kind::Rate, "rate", {}},
                                        {EmbeddedCommand::Kind::PitchBase, "pbas", {}},
                                        {EmbeddedCommand::Kind::PitchRange, "pmod", {}},
                                        {EmbeddedCommand::Kind::Volume, "volm", {}}}};
  std::string m_added;  // separated by ";"
};

}  // namespace platform
