// SPDX-License-Identifier: Apache-2.0
#include "synth/script_voices.h"

#include <algorithm>
#include <utility>

#include "base/text/CharacterProperties.h"
#include "cst/diag.h"
#include "synth/voice.h"

namespace kavrel {

namespace {

constexpr std::string_view kLatin = "Latn";
// All letters before Greek are Latin.
constexpr wchar_t kFirstOther = 0x370;

bool hasOtherLetters(const Item& item) {
  return std::ranges::any_of(item.text, [](wchar_t c) { return c >= kFirstOther; });
}

// Returns the script of the first letter that is not Latin, "Latn" if there are only Latin ones,
// and an empty view for a text without letters. A single Greek letter is a symbol: "2 \u03C0 r".
std::string_view scriptOf(std::wstring_view text) {
  std::string_view found;
  std::size_t letters = 0;
  for (const wchar_t c : text) {
    const std::string_view script = base::scriptOf(static_cast<char32_t>(c));
    if (script.empty()) continue;
    ++letters;
    if (found.empty() || found == kLatin) found = script;
  }
  return letters == 1 && found == "Grek" ? std::string_view() : found;
}

}  // namespace

const Voice* ScriptVoices::voiceFor(std::string_view script) {
  if (script == kLatin || m_own.writes(script)) return &m_own;
  if (const auto known = m_known.find(script); known != m_known.end()) return known->second;
  const Voice* voice = &m_own;
  if (const std::string* const file = m_own.voiceFor(script)) {
    std::string why;
    voice = m_load(m_own.folder() + '/' + file->substr(0, file->rfind('/')), why);
    if (voice == nullptr) {
      KAVREL_DIAG("ScriptVoices", "No voice for script %.*s: %s", static_cast<int>(script.size()),
                  script.data(), why.c_str());
      voice = &m_own;
    }
  }
  return m_known.emplace(script, voice).first->second;
}

// Words and phones come first; then, backwards, those without a script take the voice of the next
// word, and at the end of the sentence, forwards, that of the word before, as marks always do.
std::vector<const Voice*> ScriptVoices::of(const Sentence& sentence) {
  if (m_load == nullptr || std::ranges::none_of(sentence.items, hasOtherLetters)) return {};
  const std::size_t count = sentence.items.size();
  std::vector<const Voice*> voices(count, nullptr);
  for (std::size_t i = 0; i < count; ++i) {
    const Item& item = sentence.items[i];
    if (item.kind == Item::Kind::Phones) voices[i] = &m_own;
    if (item.kind != Item::Kind::Word) continue;
    const std::string_view script = scriptOf(item.text);
    if (!script.empty()) voices[i] = voiceFor(script);
  }
  const Voice* next = nullptr;
  for (std::size_t i = count; i-- > 0;) {
    if (voices[i] == nullptr && sentence.items[i].kind == Item::Kind::Word) voices[i] = next;
    if (voices[i] != nullptr) next = voices[i];
  }
  const Voice* before = &m_own;
  for (const Voice*& voice : voices) {
    if (voice == nullptr) voice = before;
    before = voice;
  }
  if (std::ranges::all_of(voices, [this](const Voice* voice) { return voice == &m_own; })) {
    return {};
  }
  return voices;
}

}  // namespace kavrel
