// SPDX-License-Identifier: Apache-2.0
//
// ScriptVoices: which voice speaks which words of a text. A voice spells letters of scripts that
// its language is not written in, at seconds for each word; another voice, of the voice's choice
// (Voice::voiceFor), speaks those words. Words in Latin letters are always spoken by the voice
// itself: every voice reads them.
//
// Numbers and signs, which have no script, go with the next word of their sentence that has one,
// else with the one before it. Marks go with what precedes them.
//
// Threads: an object is used by one thread at a time.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "text/sentence.h"

namespace kavrel {

class Voice;

class ScriptVoices {
 public:
  // Returns the voice in a folder, or null with a message in `why`: loadVoice().
  using Load = std::function<const Voice*(const std::string& folder, std::string& why)>;

  // `own` speaks everything.
  ScriptVoices(const Voice& own) : m_own(own) {}

  // `own` speaks what it writes, and voices that `load` returns the rest. A voice that cannot be
  // loaded is reported once, and replaced by `own`. No voice may ever be destroyed.
  ScriptVoices(const Voice& own, Load load) : m_own(own), m_load(std::move(load)) {}

  const Voice& own() const { return m_own; }

  // Returns the voice of each item, or an empty list if own() speaks them all. May load voices,
  // and waits for the synthesiser to get ready for each. May throw std::bad_alloc.
  std::vector<const Voice*> of(const Sentence& sentence);

 private:
  const Voice* voiceFor(std::string_view script);

  const Voice& m_own;
  const Load m_load;
  std::map<std::string, const Voice*, std::less<>> m_known;  // by script
};

}  // namespace kavrel
