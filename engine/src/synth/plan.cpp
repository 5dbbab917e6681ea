// SPDX-License-Identifier: GPL-3.0-or-later
#include "synth/plan.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <span>

#include "synth/voice.h"
#include "text/phones.h"

namespace kavrel {

namespace {

// espeak-ng loses words when one clause has more than about 700 bytes or 250 commands.
constexpr std::size_t kMaxText = 600;
constexpr std::size_t kMaxCommands = 200;
// Longer items are said in parts.
constexpr std::size_t kMaxCharacters = 120;
constexpr std::size_t kMaxSpelled = 20;
constexpr std::size_t kMaxPhones = 60;

// What the synthesiser must be asked for, and how much longer the pauses must get that it then
// makes, so that words and pauses are as much shorter or longer than at 180 words per minute as
// they should be. Measured over three voices; between the lines it is straight. Above, it hurries
// words unevenly, and from 450 on misplaces its events, so the sound of the last line is made
// faster.
struct RateRow {
  double wordsPerMinute;
  double setting;
  double pauses;
};
constexpr std::array<RateRow, 8> kRates = {{{Plan::kMinRate, 80, 0.75},
                                            {91.7, 90, 0.71},
                                            {101.8, 100, 0.73},
                                            {121, 120, 0.79},
                                            {141.5, 140, 0.85},
                                            {180, 180, 1},
                                            {198, 200, 1.09},
                                            {216, 220, 1.2}}};
constexpr double kFastestOwn = kRates.back().wordsPerMinute;

constexpr double kEmphasisVolume = 1.5;
constexpr int kStrongEmphasis = 4;
constexpr int kNormalEmphasis = 1;
// Letters by their names, without a word about which are capitals.
constexpr int kSpellCharacters = 18;
constexpr wchar_t kMinus = L'\x2212';

bool isSet(double value) {
  return value >= 0;
}
bool isDigit(wchar_t c) {
  return c >= L'0' && c <= L'9';
}

bool isControl(wchar_t c) {
  return c < 0x20 || (c >= 0x7F && c < 0xA0);
}

RateRow rateFor(double wordsPerMinute) {
  const double rate = std::clamp(wordsPerMinute, Plan::kMinRate, kFastestOwn);
  const auto upper =
      std::ranges::find_if(kRates.begin() + 1, kRates.end(),
                           [rate](const RateRow& at) { return rate <= at.wordsPerMinute; });
  const RateRow& from = *(upper - 1);
  const double share = (rate - from.wordsPerMinute) / (upper->wordsPerMinute - from.wordsPerMinute);
  return {rate, std::lerp(from.setting, upper->setting, share),
          std::lerp(from.pauses, upper->pauses, share)};
}

// Behind a command the synthesiser takes no notice of a hyphen; a real minus sign it reads.
bool leadsNumber(std::wstring_view characters) {
  return characters.size() > 1 && characters[0] == L'-' &&
         (isDigit(characters[1]) || characters[1] == L'.');
}

// `characters` as the synthesiser may see them: nothing that it takes for a command or for phones;
// digits apart when they are to be read one by one.
std::wstring plainText(std::wstring_view characters, bool digitsApart) {
  std::wstring text;
  if (leadsNumber(characters)) {
    text += kMinus;
    characters.remove_prefix(1);
  }
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

bool Plan::next(SynthCall& call) {
  call = SynthCall();
  if (m_item >= m_sentence.items.size()) return false;
  if (m_sentence.items[m_item].kind == Item::Kind::Break) {
    call.isBreak = true;
    call.breakItem = m_item++;
    return true;
  }
  m_text.clear();
  m_commandCount = 0;
  m_hasSettings = false;
  m_inForce = ResolvedStyle();
  m_split = SplitPoint();
  while (m_item < m_sentence.items.size() && m_sentence.items[m_item].kind != Item::Kind::Break &&
         !isFull()) {
    addItem(call);
  }
  const bool atEnd = m_item >= m_sentence.items.size();
  const bool atComma = !atEnd && isFull() && splitAtComma(call);
  // Emphasis would stay in force for the calls of others.
  if (m_inForce.emphasis) addCommand(kNormalEmphasis, L'F');
  call.input.text = m_text;
  call.input.endPause = atEnd ? m_sentence.ends : atComma;
  return true;
}

bool Plan::isFull() const {
  return m_text.size() >= kMaxText || m_commandCount >= kMaxCommands;
}

void Plan::addItem(SynthCall& call) {
  const Item& item = m_sentence.items[m_item];
  if (item.kind != Item::Kind::Mark) applyStyle(call, resolve(item.style));
  if (m_part == 0) addMark(call, item);
  switch (item.kind) {
    case Item::Kind::Word:
      addWordPart(call, item);
      break;
    case Item::Kind::Phones:
      addPhonesPart(call, item);
      break;
    case Item::Kind::Mark:
    case Item::Kind::Break:
      ++m_item;
      break;
  }
}

void Plan::addMark(SynthCall& call, const Item& item) {
  call.marks.push_back(m_item);
  const auto number = static_cast<int>(call.marks.size());
  if (item.kind == Item::Kind::Mark && item.share < 1) {
    call.input.innerMarks.push_back({number, item.share});
  } else {
    addCommand(number, L'M');
  }
}

void Plan::addWordPart(SynthCall& call, const Item& item) {
  const std::size_t limit = item.style.spellOut ? kMaxSpelled : kMaxCharacters;
  const std::wstring_view part = std::wstring_view(item.text).substr(m_part, limit);
  const std::wstring text = plainText(part, item.style.digits);
  call.audible = call.audible || !text.empty();
  m_text += text;
  m_text += L' ';
  m_part += part.size();
  if (m_part < item.text.size()) return;
  m_part = 0;
  ++m_item;
  noteSplitPoint(call, item);
}

void Plan::addPhonesPart(SynthCall& call, const Item& item) {
  const std::size_t count = std::min(kMaxPhones, item.phones.size() - m_part);
  const std::string notation =
      synthesiserInput(std::span(item.phones).subspan(m_part, count), m_voice.language());
  if (!notation.empty()) {
    call.audible = true;
    call.input.hasPhones = true;
    m_text += L"[[" + std::wstring(notation.begin(), notation.end()) + L"]] ";
  }
  m_part += count;
  if (m_part < item.phones.size()) return;
  m_part = 0;
  ++m_item;
}

// A long call is best ended where the speaker takes a breath anyway, but not near its beginning.
void Plan::noteSplitPoint(const SynthCall& call, const Item& item) {
  constexpr std::wstring_view kBreath = L",;:";
  if (item.text.empty() || m_text.size() < kMaxText / 3) return;
  if (kBreath.find(item.text.back()) == std::wstring_view::npos) return;
  m_split = {m_item,
             m_text.size(),
             call.marks.size(),
             call.input.adjustments.size(),
             call.input.innerMarks.size(),
             item.style.emphasis,
             true};
}

bool Plan::splitAtComma(SynthCall& call) {
  if (!m_split.set) return false;
  m_item = m_split.item;
  m_part = 0;
  m_text.resize(m_split.textSize);
  call.marks.resize(m_split.marks);
  call.input.adjustments.resize(m_split.adjustments);
  call.input.innerMarks.resize(m_split.innerMarks);
  m_inForce.emphasis = m_split.emphasis;
  return true;
}

Plan::ResolvedStyle Plan::resolve(const Style& style) const {
  ResolvedStyle resolved;
  Synthesiser::Settings& settings = resolved.settings;
  const double wordsPerMinute = isSet(style.rate) ? style.rate : kDefaultRate;
  const RateRow rate = rateFor(wordsPerMinute);
  settings.rate = static_cast<int>(std::lround(rate.setting));
  resolved.pauses = rate.pauses;
  resolved.speed = std::clamp(wordsPerMinute / kFastestOwn, 1.0, kMaxRate / kFastestOwn);
  if (isSet(style.range)) settings.range = m_voice.rangeFor(style.range);
  // A wider range would raise the voice, too.
  if (isSet(style.pitch) || isSet(style.range)) {
    const double pitch = isSet(style.pitch) ? style.pitch : m_voice.ownPitch();
    settings.pitch = m_voice.pitchFor(pitch, settings.range);
  }
  double volume = isSet(style.volume) ? style.volume : 100;
  if (style.emphasis) volume *= kEmphasisVolume;
  resolved.volume = static_cast<int>(std::lround(std::min(volume, kMaxVolume)));
  resolved.emphasis = style.emphasis;
  resolved.spelling = style.spellOut;
  return resolved;
}

void Plan::addCommand(int number, wchar_t letter) {
  m_text += L'\x01';
  m_text += std::to_wstring(number);
  m_text += letter;
  m_text += L' ';
  ++m_commandCount;
}

void Plan::applyStyle(SynthCall& call, const ResolvedStyle& resolved) {
  const Synthesiser::Settings& settings = resolved.settings;
  if (!m_hasSettings) call.input.settings = m_inForce.settings = settings;
  m_hasSettings = true;
  if (resolved.volume != m_inForce.volume || resolved.pauses != m_inForce.pauses ||
      resolved.speed != m_inForce.speed) {
    const int mark = call.marks.empty() ? 0 : static_cast<int>(call.marks.size()) + 1;
    call.input.adjustments.push_back({mark, resolved.volume, resolved.pauses, resolved.speed});
  }
  const Synthesiser::Settings& now = m_inForce.settings;
  if (settings.rate != now.rate) addCommand(settings.rate, L'S');
  if (settings.pitch != now.pitch) addCommand(settings.pitch, L'P');
  if (settings.range != now.range) addCommand(settings.range, L'R');
  if (resolved.emphasis != m_inForce.emphasis) {
    addCommand(resolved.emphasis ? kStrongEmphasis : kNormalEmphasis, L'F');
  }
  if (resolved.spelling != m_inForce.spelling)
    addCommand(resolved.spelling ? kSpellCharacters : 0, L'Y');
  m_inForce = resolved;
}

}  // namespace kavrel
