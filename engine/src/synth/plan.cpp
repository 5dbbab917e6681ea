// SPDX-License-Identifier: Apache-2.0
#include "synth/plan.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <span>
#include <utility>

#include "base/text/CharacterProperties.h"
#include "synth/voice.h"
#include "text/phones.h"

namespace kavrel {

namespace {

// espeak-ng loses words when one clause has more than about 700 bytes of UTF-8 or 250 commands.
constexpr std::size_t kMaxTextBytes = 600;
constexpr std::size_t kMaxCommands = 200;
// Longer items are spoken in parts. espeak-ng copies a word, as UTF-8, into buffers of 160 bytes,
// to which it adds suffixes.
constexpr std::size_t kMaxWordBytes = 120;
constexpr std::size_t kMaxSpelled = 20;
constexpr std::size_t kMaxPhones = 60;

// The synthesiser's rate setting for a rate in words per minute, and the factor for the pauses that
// it then makes, so that both words and pauses follow the rate, with 180 words per minute as 1.
// Measured over three voices; linear interpolation between the rows. Above the last row, espeak-ng
// speeds words up unevenly, and from 450 on misplaces its events; faster speech is therefore made
// from the last row by TimeScale.
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
// The names of letters, without saying which are capitals.
constexpr int kSpellCharacters = 18;
constexpr wchar_t kMinus = L'\x2212';

bool isSet(double value) {
  return value >= 0;
}
bool isDigit(wchar_t c) {
  return c >= L'0' && c <= L'9';
}

std::size_t utf8Bytes(wchar_t c) {
  return c < 0x80 ? 1 : c < 0x800 ? 2 : c < 0x10000 ? 3 : 4;
}
// Returns how much of kMaxTextBytes a character takes. espeak-ng takes a Hangul syllable apart, and
// loses words from 200 syllables on.
std::size_t bytesInClause(wchar_t c) {
  return utf8Bytes(c) + (c >= 0xAC00 && c <= 0xD7A3 ? 1 : 0);
}

// Returns how many characters from the start of `text` make up its next part, at least one.
std::size_t partLength(std::wstring_view text, std::size_t mostCharacters) {
  std::size_t length = 0;
  std::size_t bytes = 0;
  while (length < std::min(text.size(), mostCharacters)) {
    bytes += utf8Bytes(text[length]);
    if (bytes > kMaxWordBytes) break;
    ++length;
  }
  if (length == text.size()) return length;
  std::size_t whole = length;
  while (whole > 0 && base::extendsCharacter(static_cast<char32_t>(text[whole]))) --whole;
  return whole > 0 ? whole : std::max<std::size_t>(length, 1);
}

bool isControl(wchar_t c) {
  return c < 0x20 || (c >= 0x7F && c < 0xA0);
}

// Interpolates kRates. The rate is clamped to the table.
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

// After a command, the synthesiser ignores a hyphen, but reads a real minus sign.
bool leadsNumber(std::wstring_view characters) {
  return characters.size() > 1 && characters[0] == L'-' &&
         (isDigit(characters[1]) || characters[1] == L'.');
}

bool isAsciiLetter(wchar_t c) {
  return (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z');
}

// A character that is neither ASCII nor one of the signs of Latin-1 counts as a letter.
bool isLetter(wchar_t c) {
  return isAsciiLetter(c) || c >= 0xC0;
}

// Returns how many letters and digits `text` has: a measure of the time that it takes.
std::size_t lettersOf(std::wstring_view text) {
  return static_cast<std::size_t>(std::ranges::count_if(text, [](wchar_t c) {
    return isDigit(c) || (isLetter(c) && !base::isPunctuation(static_cast<char32_t>(c)));
  }));
}

// Returns true if `text` ends with a character at which the synthesiser makes a pause.
bool endsClause(std::wstring_view text) {
  constexpr std::wstring_view kPauses = L",;:.!?\x2026\x060C\x061B\x3001\xFF0C";
  return !text.empty() && kPauses.find(text.back()) != std::wstring_view::npos;
}

// Returns true for a Hangul syllable with the first letter N or M. The syllables are ordered by
// their 19 first letters, with 588 syllables each.
bool beginsWithNasal(std::wstring_view text) {
  constexpr wchar_t kFirst = 0xAC00;
  constexpr wchar_t kEach = 588;
  constexpr wchar_t kN = 2;
  constexpr wchar_t kM = 6;
  if (text.empty() || text[0] < kFirst || text[0] > 0xD7A3) return false;
  const wchar_t letter = (text[0] - kFirst) / kEach;
  return letter == kN || letter == kM;
}

// True for the hyphen of "'-er" and of "bog,(-en)", and the third one of "---og". `before` is the
// item's text up to it.
//
// Rationale: espeak-ng 1.51 crashes on another sign, a hyphen and a letter at the start of a clause
// if the language has a rule for the letter that looks at what precedes the word (Danish,
// Afrikaans), or speaks the word in another language. Without the hyphen the audio of most
// languages is the same; some gain the glottal stop before a vowel. If the signs are spelled, there
// is no crash.
bool isCrashingHyphen(std::wstring_view before, std::wstring_view rest) {
  constexpr std::wstring_view kApostrophes = L"'\x2019\x00B4\x2032";
  constexpr std::wstring_view kSigns =
      L"'\x2019\x00B4\x2032()[]{}<>\"\x201C\x201D\x201E\x00AB\x00BB";
  constexpr std::wstring_view kEnds = L".,:;!?\x2026";
  if (rest.size() < 2 || rest[0] != L'-' || !isLetter(rest[1])) return false;
  if (before.empty()) return false;
  // Each two hyphens are a dash.
  if (before.find_first_not_of(L'-') == std::wstring_view::npos) return before.size() % 2 == 0;
  if (kSigns.find(before.back()) == std::wstring_view::npos) return false;
  const std::size_t last = before.find_last_not_of(kSigns);
  if (last != std::wstring_view::npos) {
    if (kEnds.find(before[last]) != std::wstring_view::npos) return true;
    if (isLetter(before[last]) || isDigit(before[last])) return false;
  }
  return kApostrophes.find(before.back()) != std::wstring_view::npos;
}

// Returns `characters` in a form that is safe for the synthesiser: without control characters,
// which begin commands, without "[[", which begins phones, and without hyphens that crash it. In
// the style "digits", blanks between digits make it read them one by one.
std::wstring plainText(std::wstring_view characters, const Style& style) {
  std::wstring text;
  if (leadsNumber(characters)) {
    text += kMinus;
    characters.remove_prefix(1);
  }
  for (; !characters.empty(); characters.remove_prefix(1)) {
    const wchar_t c = characters.front();
    if (isControl(c)) continue;
    if (!style.spellOut && isCrashingHyphen(text, characters)) continue;
    const wchar_t last = text.empty() ? L'\0' : text.back();
    if (c == L'[' && last == L'[') text += L' ';
    if (style.digits && isDigit(c) && isDigit(last)) text += L' ';
    text += c;
  }
  return text;
}

}  // namespace

Plan::Plan(const Sentence& sentence, const Voice& own, std::vector<const Voice*> voices)
    : m_sentence(sentence), m_own(own), m_voices(std::move(voices)) {}

const Voice& Plan::voiceOf(std::size_t item) const {
  return m_voices.empty() ? m_own : *m_voices[item];
}

// In Korean, espeak-ng begins no word before the letters N and M, unless a quote or a bracket makes
// a pause before it.
bool Plan::isJoined(const SynthCall& call, const Item& item) const {
  if (call.voice->language() != "ko" || !beginsWithNasal(item.text)) return false;
  if (m_item == 0) return true;
  const std::wstring& before = m_sentence.items[m_item - 1].text;
  return before.empty() || !isClosing(static_cast<char32_t>(before.back()));
}

// Fills the call with items until it is full, then ends it at the last comma if there is one: a
// pause is natural there. A break is a call of its own, and each voice speaks calls of its own.
bool Plan::next(SynthCall& call) {
  call = SynthCall();
  if (m_item >= m_sentence.items.size()) return false;
  if (m_sentence.items[m_item].kind == Item::Kind::Break) {
    call.isBreak = true;
    call.breakItem = m_item++;
    return true;
  }
  m_text.clear();
  m_counted = m_clauseBytes = 0;
  m_commandCount = 0;
  m_hasSettings = false;
  m_inForce = ResolvedStyle();
  m_split = SplitPoint();
  call.voice = &voiceOf(m_item);
  call.input.marked.resize(1);
  while (m_item < m_sentence.items.size() && m_sentence.items[m_item].kind != Item::Kind::Break &&
         &voiceOf(m_item) == call.voice && !isFull()) {
    addItem(call);
  }
  const bool atEnd = m_item >= m_sentence.items.size();
  const bool atOtherVoice = !atEnd && &voiceOf(m_item) != call.voice;
  const bool atComma = !atEnd && isFull() && splitAtComma(call);
  // Else emphasis would stay in force for the calls of other ports.
  if (m_inForce.emphasis) addCommand(kNormalEmphasis, L'F');
  call.input.text = m_text;
  call.input.endPause = atEnd ? m_sentence.ends
                              : atComma || (atOtherVoice && m_item > 0 &&
                                            endsClause(m_sentence.items[m_item - 1].text));
  return true;
}

bool Plan::isFull() {
  return clauseBytes() >= kMaxTextBytes || m_commandCount >= kMaxCommands;
}

// Counts each character of the text once.
std::size_t Plan::clauseBytes() {
  for (; m_counted < m_text.size(); ++m_counted) m_clauseBytes += bytesInClause(m_text[m_counted]);
  return m_clauseBytes;
}

// Marks have no style of their own. An item that is spoken in parts has its mark before the first.
void Plan::addItem(SynthCall& call) {
  const Item& item = m_sentence.items[m_item];
  if (item.kind != Item::Kind::Mark) applyStyle(call, resolve(item.style, *call.voice));
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

// A command inside a word would break the word apart, so a mark there is placed afterwards.
void Plan::addMark(SynthCall& call, const Item& item) {
  call.marks.push_back(m_item);
  call.input.marked.push_back({0, item.kind != Item::Kind::Mark, false, isJoined(call, item)});
  const auto number = static_cast<int>(call.marks.size());
  if (item.kind == Item::Kind::Mark && item.share < 1) {
    call.input.innerMarks.push_back({number, item.share});
  } else {
    addCommand(number, L'M');
  }
}

// Adds the next part of the word, and moves on to the next item after the last part.
void Plan::addWordPart(SynthCall& call, const Item& item) {
  const std::size_t limit = item.style.spellOut ? kMaxSpelled : kMaxWordBytes;
  const std::wstring_view rest = std::wstring_view(item.text).substr(m_part);
  const std::wstring_view part = rest.substr(0, rest.empty() ? 0 : partLength(rest, limit));
  const std::wstring text = plainText(part, item.style);
  call.audible = call.audible || !text.empty();
  SynthAudio::Marked& marked = call.input.marked.back();
  marked.letters += lettersOf(part);
  marked.endsClause = endsClause(part);
  m_text += text;
  m_text += L' ';
  m_part += part.size();
  if (m_part < item.text.size()) return;
  m_part = 0;
  ++m_item;
  noteSplitPoint(call, item);
}

// Phones without a sound in the voice's language give an empty notation, which the synthesiser must
// not see.
void Plan::addPhonesPart(SynthCall& call, const Item& item) {
  const std::size_t count = std::min(kMaxPhones, item.phones.size() - m_part);
  const std::string notation =
      synthesiserInput(std::span(item.phones).subspan(m_part, count), call.voice->language());
  if (!notation.empty()) {
    call.audible = true;
    call.input.hasPhones = true;
    call.input.marked.back().letters += count;
    m_text += L"[[" + std::wstring(notation.begin(), notation.end()) + L"]] ";
  }
  m_part += count;
  if (m_part < item.phones.size()) return;
  m_part = 0;
  ++m_item;
}

// A long call is best ended where a speaker breathes anyway, but not in its first third.
void Plan::noteSplitPoint(const SynthCall& call, const Item& item) {
  constexpr std::wstring_view kBreath = L",;:";
  if (item.text.empty() || clauseBytes() < kMaxTextBytes / 3) return;
  if (kBreath.find(item.text.back()) == std::wstring_view::npos) return;
  m_split = {m_item,
             m_text.size(),
             call.marks.size(),
             call.input.adjustments.size(),
             call.input.innerMarks.size(),
             item.style.emphasis,
             true};
}

// Restores the state at the split point; the items after it are planned again.
bool Plan::splitAtComma(SynthCall& call) {
  if (!m_split.set) return false;
  m_item = m_split.item;
  m_part = 0;
  m_text.resize(m_split.textSize);
  m_counted = m_clauseBytes = 0;
  call.marks.resize(m_split.marks);
  call.input.marked.resize(m_split.marks + 1);
  call.input.adjustments.resize(m_split.adjustments);
  call.input.innerMarks.resize(m_split.innerMarks);
  m_inForce.emphasis = m_split.emphasis;
  return true;
}

// Rate is shared by the synthesiser's setting, the pauses' factor and TimeScale; volume is done by
// SynthAudio only.
Plan::ResolvedStyle Plan::resolve(const Style& style, const Voice& voice) const {
  ResolvedStyle resolved;
  Synthesiser::Settings& settings = resolved.settings;
  const double wordsPerMinute = isSet(style.rate) ? style.rate : kDefaultRate;
  const RateRow rate = rateFor(wordsPerMinute);
  settings.rate = static_cast<int>(std::lround(rate.setting));
  resolved.pauses = rate.pauses;
  resolved.speed = std::clamp(wordsPerMinute / kFastestOwn, 1.0, kMaxRate / kFastestOwn);
  if (isSet(style.range)) settings.range = voice.rangeFor(style.range);
  // A wider range also raises the median pitch, so the pitch setting must compensate for it.
  if (isSet(style.pitch) || isSet(style.range) || &voice != &m_own) {
    const double pitch = isSet(style.pitch) ? style.pitch : m_own.ownPitch();
    settings.pitch = voice.pitchFor(pitch, settings.range);
  }
  double volume = isSet(style.volume) ? style.volume : 100;
  if (style.emphasis) volume *= kEmphasisVolume;
  volume = std::min(volume, kMaxVolume) * voice.level();
  resolved.volume = static_cast<int>(std::lround(volume));
  resolved.emphasis = style.emphasis;
  resolved.spelling = style.spellOut;
  return resolved;
}

// espeak-ng's embedded commands: \x01, a number, a letter.
void Plan::addCommand(int number, wchar_t letter) {
  m_text += L'\x01';
  m_text += std::to_wstring(number);
  m_text += letter;
  m_text += L' ';
  ++m_commandCount;
}

// The first item's style becomes the call's settings, which cost nothing; later changes are
// commands, which cost a few milliseconds of silence each.
void Plan::applyStyle(SynthCall& call, const ResolvedStyle& resolved) {
  const Synthesiser::Settings& settings = resolved.settings;
  if (!m_hasSettings) call.input.settings = m_inForce.settings = settings;
  m_hasSettings = true;
  if (resolved.volume != m_inForce.volume || resolved.pauses != m_inForce.pauses ||
      resolved.speed != m_inForce.speed) {
    // The adjustment begins with the mark of the item that is added next.
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
