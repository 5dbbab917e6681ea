// SPDX-License-Identifier: GPL-3.0-or-later
#include "plan.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <span>

#include "phones.h"
#include "voice.h"

namespace kavrel {

namespace {

// espeak-ng loses words when one clause has more than about 700 bytes or 250 commands.
constexpr std::size_t kMaxText = 600;
constexpr std::size_t kMaxCommands = 200;
// Longer items are said in parts.
constexpr std::size_t kMaxCharacters = 120;
constexpr std::size_t kMaxSpelled = 20;
constexpr std::size_t kMaxPhones = 60;

constexpr double kMinRate = 80;
constexpr double kMaxRate = 600;
constexpr double kMaxVolume = 300;
constexpr double kEmphasisVolume = 1.5;
constexpr int kStrongEmphasis = 4;
constexpr int kNormalEmphasis = 1;
constexpr int kSpellCharacters = 20;

bool isSet(double value) {
  return value >= 0;
}
bool isDigit(wchar_t c) {
  return c >= L'0' && c <= L'9';
}

bool isControl(wchar_t c) {
  return c < 0x20 || (c >= 0x7F && c < 0xA0);
}

// `characters` as the synthesiser may see them: nothing that it takes for a command or for phones;
// digits apart when they are to be read one by one.
std::wstring plainText(std::wstring_view characters, bool digitsApart) {
  std::wstring text;
  for (const wchar_t c : characters) {
    if (isControl(c)) continue;
    const wchar_t last = text.empty() ? L'\0' : text.back();
    if (c == L'[' && last == L'[') text += L' ';
    if (digitsApart && isDigit(c) && isDigit(last)) text += L' ';
    text += c;
  }
  return text;
}

}  // namespace

Plan::Plan(const Sentence& sentence, const Voice& voice) : m_sentence(sentence), m_voice(voice) {}

bool Plan::next(Step& step) {
  step = Step();
  if (m_item >= m_sentence.items.size()) return false;
  if (m_sentence.items[m_item].kind == Item::Kind::Break) {
    step.isBreak = true;
    step.breakItem = m_item++;
    return true;
  }
  m_text.clear();
  m_commandCount = 0;
  m_hasManner = false;
  m_inForce = Manner();
  m_cut = CutPoint();
  while (m_item < m_sentence.items.size() && m_sentence.items[m_item].kind != Item::Kind::Break &&
         !isFull()) {
    addItem(step);
  }
  const bool atEnd = m_item >= m_sentence.items.size();
  const bool atComma = !atEnd && isFull() && cutAtComma(step);
  // Emphasis would stay in force for the calls of others.
  if (m_inForce.emphasis) addCommand(kNormalEmphasis, L'F');
  step.input.text = m_text;
  step.input.endPause = atEnd ? m_sentence.ends : atComma;
  return true;
}

bool Plan::isFull() const {
  return m_text.size() >= kMaxText || m_commandCount >= kMaxCommands;
}

void Plan::addItem(Step& step) {
  const Item& item = m_sentence.items[m_item];
  if (item.kind != Item::Kind::Mark) adopt(step, mannerFor(item.style));
  if (m_part == 0) {
    step.marks.push_back(m_item);
    addCommand(static_cast<int>(step.marks.size()), L'M');
  }
  switch (item.kind) {
    case Item::Kind::Word:
      addWordPart(step, item);
      break;
    case Item::Kind::Phones:
      addPhonesPart(step, item);
      break;
    case Item::Kind::Mark:
    case Item::Kind::Break:
      ++m_item;
      break;
  }
}

void Plan::addWordPart(Step& step, const Item& item) {
  const std::size_t limit = item.style.spellOut ? kMaxSpelled : kMaxCharacters;
  const std::wstring_view part = std::wstring_view(item.text).substr(m_part, limit);
  const std::wstring text = plainText(part, item.style.digits);
  step.audible = step.audible || !text.empty();
  m_text += text;
  m_text += L' ';
  m_part += part.size();
  if (m_part < item.text.size()) return;
  m_part = 0;
  ++m_item;
  noteCutPoint(step, item);
}

void Plan::addPhonesPart(Step& step, const Item& item) {
  const std::size_t count = std::min(kMaxPhones, item.phones.size() - m_part);
  const std::string notation =
      synthesiserInput(std::span(item.phones).subspan(m_part, count), m_voice.language());
  if (!notation.empty()) {
    step.audible = true;
    step.input.hasPhones = true;
    m_text += L"[[" + std::wstring(notation.begin(), notation.end()) + L"]] ";
  }
  m_part += count;
  if (m_part < item.phones.size()) return;
  m_part = 0;
  ++m_item;
}

// A long call is best ended where the speaker takes a breath anyway, but not near its beginning.
void Plan::noteCutPoint(const Step& step, const Item& item) {
  constexpr std::wstring_view kBreath = L",;:";
  if (item.text.empty() || m_text.size() < kMaxText / 3) return;
  if (kBreath.find(item.text.back()) == std::wstring_view::npos) return;
  m_cut = {m_item, m_text.size(), step.marks.size(), item.style.emphasis, true};
}

bool Plan::cutAtComma(Step& step) {
  if (!m_cut.set) return false;
  m_item = m_cut.item;
  m_part = 0;
  m_text.resize(m_cut.textSize);
  step.marks.resize(m_cut.marks);
  m_inForce.emphasis = m_cut.emphasis;
  return true;
}

Plan::Manner Plan::mannerFor(const Style& style) const {
  Manner manner;
  Synthesiser::Settings& settings = manner.settings;
  const double rate = isSet(style.rate) ? style.rate : kDefaultRate;
  settings.rate = static_cast<int>(std::lround(std::clamp(rate, kMinRate, kMaxRate)));
  if (isSet(style.range)) settings.range = m_voice.rangeFor(style.range);
  if (isSet(style.pitch)) settings.pitch = m_voice.pitchFor(style.pitch, settings.range);
  double volume = isSet(style.volume) ? style.volume : 100;
  if (style.emphasis) volume *= kEmphasisVolume;
  settings.volume = static_cast<int>(std::lround(std::min(volume, kMaxVolume)));
  manner.emphasis = style.emphasis;
  manner.spelling = style.spellOut;
  return manner;
}

void Plan::addCommand(int number, wchar_t letter) {
  m_text += L'\x01';
  m_text += std::to_wstring(number);
  m_text += letter;
  m_text += L' ';
  ++m_commandCount;
}

void Plan::adopt(Step& step, const Manner& manner) {
  const Synthesiser::Settings& settings = manner.settings;
  if (!m_hasManner) {
    step.input.settings = m_inForce.settings = settings;
    m_hasManner = true;
  }
  const Synthesiser::Settings& now = m_inForce.settings;
  if (settings.rate != now.rate) addCommand(settings.rate, L'S');
  if (settings.pitch != now.pitch) addCommand(settings.pitch, L'P');
  if (settings.range != now.range) addCommand(settings.range, L'R');
  if (settings.volume != now.volume) addCommand(settings.volume, L'A');
  if (manner.emphasis != m_inForce.emphasis) {
    addCommand(manner.emphasis ? kStrongEmphasis : kNormalEmphasis, L'F');
  }
  if (manner.spelling != m_inForce.spelling)
    addCommand(manner.spelling ? kSpellCharacters : 0, L'Y');
  m_inForce = manner;
}

}  // namespace kavrel
