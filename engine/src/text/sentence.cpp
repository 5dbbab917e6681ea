// SPDX-License-Identifier: Apache-2.0
#include "text/sentence.h"

#include <algorithm>
#include <iterator>
#include <span>
#include <utility>

#include "cst.h"
#include "text/phones.h"
#include "text/spoken_form.h"

namespace kavrel {

namespace {

// Closes a quote in French, after a blank.
constexpr char32_t kGuillemet = 0xBB;

// Texts are shorter than 2 GiB, so every position fits.
std::uint32_t position(std::size_t bytes) {
  return static_cast<std::uint32_t>(bytes);
}

std::string textOf(std::span<const Letter> letters, Encoding encoding) {
  std::string text;
  for (const Letter& letter : letters) append(text, letter.character, encoding);
  return text;
}

// Returns an item that reports a token's word. The letters that it speaks are filled in later.
Item wordItem(std::span<const Letter> token, Encoding encoding) {
  std::span<const Letter> word = wordOf(token);
  if (word.empty()) word = token;
  Item item;
  item.kind = Item::Kind::Word;
  item.reported = false;
  item.start = position(word.front().start);
  item.length = position(word.back().start + word.back().length - word.front().start);
  item.name = textOf(word, encoding);
  return item;
}

// Returns true if letters in these styles cannot be spoken in one go.
bool needSeparateItems(const Style& one, const Style& other) {
  return one.spellOut != other.spellOut || one.digits != other.digits;
}

// Returns true if a token that ended with `stop` ended a sentence, given the next character after
// tags and blanks (0: phones). A certain stop ends the sentence at a blank already. It gets here
// only if no blank follows; a lower-case letter or a digit then means that the token continues.
bool endsBefore(Stop stop, char32_t following) {
  static constexpr std::u32string_view kGoOn = U"(,;:-";
  const bool digit = isDigit(following);
  switch (stop) {
    case Stop::None:
      return false;
    case Stop::Always:
      return true;
    case Stop::UnlessLowerCase:
      return !digit && !isLowerCase(following) && kGoOn.find(following) == kGoOn.npos;
    case Stop::UnlessDigit:
      return !digit;
    case Stop::Full:
      return !digit && !isLowerCase(following);
  }
  return false;
}

// At level 2 and above only: untrusted text may have many of these.
void reportUnknownPhones(const PhoneText& read, const MarkupEvent& tag) {
  if ((cst_diag_mask & CST_DIAG_ENGINE) == 0 || cst_diag_level <= 1) return;
  for (const std::string& piece : read.unknown) {
    cst_dbg_timestamp();
    cst_dbg_ffl("sentence", "handlePhoneme", __LINE__);
    cst_dbg_context(CST_DIAG_ENGINE);
    cst_errmsg("unknown phone \"%s\" (element at byte %zu)\n", piece.c_str(), tag.start);
  }
}

}  // namespace

// Returns the index of the run with `letter`.
std::size_t SentenceReader::Token::runAt(std::size_t letter) const {
  const auto run =
      std::ranges::find_if(runs, [letter](const StyleRun& one) { return letter < one.end; });
  return static_cast<std::size_t>(std::distance(runs.begin(), run));
}

// Returns the index after the letters from `first` on, and before `end`, that can be spoken in one
// go.
std::size_t SentenceReader::Token::endOfPart(std::size_t first, std::size_t end) const {
  const std::size_t start = runAt(first);
  std::size_t run = start + 1;
  while (run < runs.size() && !needSeparateItems(runs[start].style, runs[run].style)) ++run;
  return std::min(runs[run - 1].end, end);
}

// Returns the style in which the letters from `first` up to, not including, `end` are spoken in one
// go: that of the longest run, with emphasis if any run has it.
Style SentenceReader::Token::styleOf(std::size_t first, std::size_t end) const {
  Style style;
  bool emphasis = false;
  std::size_t longest = 0;
  std::size_t begin = first;
  for (std::size_t run = runAt(first); begin < end; begin = runs[run++].end) {
    const std::size_t length = std::min(runs[run].end, end) - begin;
    if (length > longest) style = runs[run].style;
    longest = std::max(longest, length);
    emphasis = emphasis || runs[run].style.emphasis;
  }
  style.emphasis = emphasis;
  return style;
}

SentenceReader::SentenceReader(std::string_view text, Encoding encoding, std::string_view language)
    : m_scanner(text, encoding), m_encoding(encoding), m_rules(rulesOf(language)) {}

// Keeps the capacity of the vectors for the next token.
void SentenceReader::Token::clear() {
  letters.clear();
  runs.clear();
  marks.clear();
  marksAdded = 0;
  bytes = 0;
  afterTag = false;
  afterWideStop = false;
}

// Reads events until the piece is complete. An event that belongs to the next piece is kept and
// handled again there.
bool SentenceReader::next(Sentence& sentence) {
  sentence.items.clear();
  m_hasTokens = false;
  m_hasWords = false;
  for (;;) {
    const MarkupEvent event = m_isHeld ? m_held : m_scanner.next();
    m_isHeld = false;
    const ReadResult result = handle(event, sentence);
    if (result == ReadResult::Continue) continue;
    if (result != ReadResult::End) {
      m_held = event;
      m_isHeld = true;
    }
    if (finish(result != ReadResult::SplitBefore, sentence)) return true;
    if (event.kind == MarkupEvent::Kind::End) return false;
  }
}

// Inside a phoneme element all characters are content, which is reported but not spoken.
SentenceReader::ReadResult SentenceReader::handle(const MarkupEvent& event, Sentence& sentence) {
  if (event.kind == MarkupEvent::Kind::Character) {
    if (m_styles.insidePhoneme()) return handleContent(event, sentence);
    if (isBlank(event.character)) return handleBlank(event, sentence);
    return handleLetter(event, sentence);
  }
  m_token.afterTag = true;
  switch (event.kind) {
    case MarkupEvent::Kind::StartTag:
      return handleStartTag(event, sentence);
    case MarkupEvent::Kind::EndTag:
      m_styles.close(event.name);
      if (!m_styles.insidePhoneme()) closePhones(sentence);
      return ReadResult::Continue;
    case MarkupEvent::Kind::End:
      endToken(sentence);
      closePhones(sentence);
      return ReadResult::EndBefore;
    default:
      return ReadResult::Continue;
  }
}

// A certain stop ends the sentence at the first blank, without look-ahead, unless a quote can
// follow. CR LF is one line end, and two line ends are an empty line.
SentenceReader::ReadResult SentenceReader::handleBlank(const MarkupEvent& event,
                                                       Sentence& sentence) {
  endToken(sentence);
  m_adjacent = false;
  const bool newline = event.character == '\n' || event.character == '\r';
  if (newline && !(event.character == '\n' && m_afterReturn)) ++m_newlines;
  m_afterReturn = event.character == '\r';
  const bool emptyLine = m_newlines > 1 && (m_hasTokens || m_begun);
  const bool ends = stopIsCertain() && !m_rules.spacesQuotes;
  if (!ends && !emptyLine) return ReadResult::Continue;
  m_stop = Stop::None;
  return ReadResult::End;
}

bool SentenceReader::stopIsCertain() const {
  return m_stop == Stop::Full || m_stop == Stop::Always;
}

// Before a letter is added, four things may end the token or the sentence: the token is too long; a
// tag separates a stop from the letter; the letter follows a wide stop; the stop of the token
// before is decided by this letter.
SentenceReader::ReadResult SentenceReader::handleLetter(const MarkupEvent& event,
                                                        Sentence& sentence) {
  const std::vector<Letter>& letters = m_token.letters;
  if (m_token.bytes > kMaxTokenBytes - (event.end - event.start)) {
    endToken(sentence);
    m_stop = Stop::None;
  }
  if (!letters.empty() && m_token.afterTag && !isClosing(event.character) &&
      endsBefore(stopOf(letters, m_rules), event.character)) {
    endToken(sentence);
  }
  if (m_token.afterWideStop && !isClosing(event.character) && !isWideStop(event.character)) {
    endToken(sentence);
  }
  if (letters.empty()) {
    m_newlines = 0;
    m_afterReturn = false;
    if (stopHolds(event.character)) return ReadResult::EndBefore;
    if (!fits(event.start + kMaxTokenBytes, sentence)) return ReadResult::SplitBefore;
  }
  addLetter(event);
  return ReadResult::Continue;
}

// A new run begins only where a tag has changed the style.
void SentenceReader::addLetter(const MarkupEvent& event) {
  if (m_token.letters.empty() ||
      (m_token.afterTag && m_token.runs.back().style != m_styles.style())) {
    m_token.runs.push_back({0, m_styles.style()});
  }
  m_token.afterTag = false;
  m_token.afterWideStop =
      isWideStop(event.character) || (m_token.afterWideStop && isClosing(event.character));
  m_token.letters.push_back({event.character, event.start, event.end - event.start});
  m_token.runs.back().end = m_token.letters.size();
  m_token.bytes += event.end - event.start;
}

// Break and phoneme elements end a token; marks and all other tags do not.
SentenceReader::ReadResult SentenceReader::handleStartTag(const MarkupEvent& event,
                                                          Sentence& sentence) {
  if (event.name == "phoneme" && !m_styles.insidePhoneme()) {
    endToken(sentence);
    return handlePhoneme(event, sentence);
  }
  // Here a blank has ended the sentence already, but for a quote that could have followed.
  if ((event.name == "mark" || event.name == "break") && m_token.letters.empty() && !m_adjacent &&
      stopIsCertain()) {
    m_stop = Stop::None;
    return ReadResult::EndBefore;
  }
  if (event.name == "mark") {
    Item item;
    item.kind = Item::Kind::Mark;
    item.name = event.attribute("name").value_or("");
    return handleMark(std::move(item), event, sentence);
  }
  if (event.name == "break") {
    endToken(sentence);
    Item item;
    item.kind = Item::Kind::Break;
    item.milliseconds = readBreakTime(event.attribute("time").value_or(""), Item::kMaxBreak);
    return add(std::move(item), event, sentence);
  }
  if (!event.empty) m_styles.open(event);
  return ReadResult::Continue;
}

// A mark inside a token is kept with the token, since the items around it depend on the whole
// token.
SentenceReader::ReadResult SentenceReader::handleMark(Item item, const MarkupEvent& event,
                                                      Sentence& sentence) {
  if (m_token.marks.size() >= kMaxTokenMarks) endToken(sentence);
  if (m_token.letters.empty()) return add(std::move(item), event, sentence);
  item.start = position(event.start);
  item.length = position(event.end - event.start);
  m_token.marks.push_back({m_token.letters.size(), std::move(item)});
  return ReadResult::Continue;
}

// An element without a known phone adds no item; its content is not spoken either. The item is
// added before the content is read, which then extends what it reports.
SentenceReader::ReadResult SentenceReader::handlePhoneme(const MarkupEvent& event,
                                                         Sentence& sentence) {
  PhoneText read = readPhones(event.attribute("ph").value_or(""));
  if (!read.phones.empty()) {
    if (stopHolds(0)) return ReadResult::EndBefore;
    if (!fits(event.end, sentence)) return ReadResult::SplitBefore;
    Item item;
    item.kind = Item::Kind::Phones;
    item.start = position(event.end);
    item.reported = false;
    item.phones = std::move(read.phones);
    item.style = m_styles.style();
    m_phonesOpen = !event.empty;
    m_phonesItem = sentence.items.size();
    m_phonesName = 0;
    m_hasWords = true;
    m_newlines = 0;
    extendRange(event.end, event.end, sentence);
    sentence.items.push_back(std::move(item));
  }
  reportUnknownPhones(read, event);
  if (!event.empty) m_styles.open(event);
  return ReadResult::Continue;
}

// Adds a character to what the phoneme item reports, without blanks at its start and end.
SentenceReader::ReadResult SentenceReader::handleContent(const MarkupEvent& event,
                                                         Sentence& sentence) {
  if (!m_phonesOpen) return ReadResult::Continue;
  Item& item = sentence.items[m_phonesItem];
  if (!fits(event.end, sentence)) {
    // The rest of the content is not reported. Nothing is lost: it would not be spoken anyway.
    closePhones(sentence);
    return ReadResult::SplitBefore;
  }
  const bool blank = isBlank(event.character);
  if (!item.reported && blank) return ReadResult::Continue;
  if (!item.reported) {
    item.start = position(event.start);
    item.style = m_styles.style();
  }
  item.reported = true;
  append(item.name, blank ? U' ' : event.character, m_encoding);
  if (blank) return ReadResult::Continue;
  item.length = position(event.end) - item.start;
  m_phonesName = item.name.size();
  extendRange(item.start, event.end, sentence);
  return ReadResult::Continue;
}

// Decides the stop of the last token, given the character that follows it (0: phones). Returns true
// if the sentence ended there.
bool SentenceReader::stopHolds(char32_t following) {
  // A closing quote belongs to the sentence; the character after it decides.
  if (m_adjacent && isClosing(following)) return false;
  if (m_rules.spacesQuotes && following == kGuillemet) return false;
  const bool ends = endsBefore(m_stop, following);
  m_stop = Stop::None;
  return ends;
}

// Returns true if the piece has room for an item that ends at `end`. The first item always fits.
bool SentenceReader::fits(std::size_t end, const Sentence& sentence) const {
  return sentence.items.empty() || end - m_pieceStart <= kMaxSentenceBytes;
}

// Completes the token, if there is one: adds its items and notes how it ended.
void SentenceReader::endToken(Sentence& sentence) {
  const std::vector<Letter>& letters = m_token.letters;
  if (letters.empty()) return;
  extendRange(letters.front().start, letters.back().start + letters.back().length, sentence);
  addToken(sentence);
  m_hasWords = m_hasWords || !wordOf(letters).empty();
  // A token of closing quotes only, without a blank before it, keeps the stop of the token before.
  const bool closing = std::ranges::all_of(letters, isClosing, &Letter::character);
  const bool spaced = m_rules.spacesQuotes && letters.front().character == kGuillemet;
  if (!closing || !(m_adjacent || spaced)) m_stop = stopOf(letters, m_rules);
  m_adjacent = true;
  m_token.clear();
}

// Adds the items of the words that the token is cut into: one word, but in scripts without blanks.
void SentenceReader::addToken(Sentence& sentence) {
  std::u32string characters;
  for (const Letter& letter : m_token.letters) characters += letter.character;
  std::size_t first = 0;
  for (const std::size_t cut : m_wordBreaks.in(characters)) {
    addWord(first, cut, sentence);
    first = cut;
  }
  addWord(first, m_token.letters.size(), sentence);
}

// Adds an item for each part of the token's letters from `first` to `last` that is spoken in one
// go, and the marks between and inside them. The part in which the word begins reports the word.
void SentenceReader::addWord(std::size_t first, std::size_t last, Sentence& sentence) {
  const std::span<const Letter> all(m_token.letters);
  const std::span<const Letter> letters = all.subspan(first, last - first);
  const std::span<const Letter> word = wordOf(letters);
  const std::size_t wordBegin =
      word.empty() ? last : static_cast<std::size_t>(std::distance(all.data(), word.data()));
  const Item whole = wordItem(letters, m_encoding);
  const auto nextMark = [this](std::size_t letter) -> const Item* {
    if (m_token.marksAdded >= m_token.marks.size()) return nullptr;
    const Token::Mark& mark = m_token.marks[m_token.marksAdded];
    return mark.letter <= letter ? &mark.item : nullptr;
  };
  for (std::size_t begin = first, end = first; begin < last; begin = end) {
    end = m_token.endOfPart(begin, last);
    Item item = whole;
    item.style = m_token.styleOf(begin, end);
    item.text = spokenForm(all.subspan(begin, end - begin), m_rules);
    item.reported = begin <= wordBegin && wordBegin < end;
    // Marks before the word, for example between a quote and the word, are reached before it.
    for (; item.reported && nextMark(wordBegin) != nullptr; ++m_token.marksAdded) {
      sentence.items.push_back(*nextMark(wordBegin));
    }
    sentence.items.push_back(std::move(item));
    for (; nextMark(end) != nullptr; ++m_token.marksAdded) {
      const std::size_t letter = m_token.marks[m_token.marksAdded].letter;
      sentence.items.push_back(*nextMark(end));
      sentence.items.back().share =
          static_cast<double>(letter - begin) / static_cast<double>(end - begin);
    }
  }
}

void SentenceReader::closePhones(Sentence& sentence) {
  if (!m_phonesOpen) return;
  m_phonesOpen = false;
  sentence.items[m_phonesItem].name.resize(m_phonesName);
}

// Adds the item of a tag that is an item of its own: a mark outside a token, or a break.
SentenceReader::ReadResult SentenceReader::add(Item item, const MarkupEvent& tag,
                                               Sentence& sentence) {
  if (!fits(tag.end, sentence)) {
    closePhones(sentence);
    return ReadResult::SplitBefore;
  }
  if (sentence.items.empty()) m_pieceStart = tag.start;
  item.start = position(tag.start);
  item.length = position(tag.end - tag.start);
  item.style = m_styles.style();
  sentence.items.push_back(std::move(item));
  return ReadResult::Continue;
}

// Extends the range of the piece's tokens by the bytes from `start` to `end`.
void SentenceReader::extendRange(std::size_t start, std::size_t end, const Sentence& sentence) {
  if (sentence.items.empty()) m_pieceStart = start;
  if (!m_hasTokens) m_tokensStart = start;
  m_hasTokens = true;
  m_tokensEnd = end;
}

// Fills in the values of the whole piece. Returns false if it has no item. `ended`: the sentence
// ends with this piece.
bool SentenceReader::finish(bool ended, Sentence& sentence) {
  sentence.begins = m_hasWords && !m_begun;
  sentence.ends = ended && (m_hasWords || m_begun);
  m_begun = !ended && (m_hasWords || m_begun);
  if (ended) m_stop = Stop::None;
  if (sentence.items.empty()) return false;
  if (!m_hasTokens) {
    m_tokensStart = sentence.items.front().start;
    m_tokensEnd = sentence.items.back().start + sentence.items.back().length;
  }
  sentence.start = position(m_tokensStart);
  sentence.length = position(m_tokensEnd - m_tokensStart);
  return true;
}

}  // namespace kavrel
