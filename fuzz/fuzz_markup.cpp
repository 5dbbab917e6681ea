// SPDX-License-Identifier: Apache-2.0
//
// Reads marked-up text as the engine does. Checks that the scanner's pieces cover the text without
// a gap, that the sentences contain every character outside phoneme elements, in order, and that
// every item has a position in the text. Input: the text.
#include <algorithm>
#include <string>

#include "Fuzz.h"
#include "text/markup.h"
#include "text/phones.h"
#include "text/sentence.h"
#include "text/style.h"
#include "text/words.h"

namespace {

using kavrel::Encoding;
using kavrel::Item;
using kavrel::MarkupEvent;

// The characters that must be spoken, from the scanner's pieces.
std::wstring lettersOf(std::string_view text, Encoding encoding) {
  std::wstring letters;
  kavrel::MarkupScanner scanner(text, encoding);
  kavrel::StyleStack styles;
  std::size_t at = 0;
  while (true) {
    const MarkupEvent event = scanner.next();
    fuzz::require(event.start == at, "pieces follow each other");
    if (event.kind == MarkupEvent::Kind::End) break;
    fuzz::require(event.end > event.start && event.end <= text.size(), "pieces are in the text");
    at = event.end;
    if (event.kind == MarkupEvent::Kind::StartTag && !event.empty) styles.open(event);
    if (event.kind == MarkupEvent::Kind::EndTag) styles.close(event.name);
    const bool spoken = event.kind == MarkupEvent::Kind::Character && !styles.insidePhoneme() &&
                        !kavrel::isBlank(event.character);
    if (spoken) letters += static_cast<wchar_t>(event.character);
  }
  fuzz::require(at == text.size(), "pieces reach the end");
  fuzz::require(scanner.next().kind == MarkupEvent::Kind::End, "the end stays");
  return letters;
}

void checkItem(const Item& item, std::size_t textLength) {
  fuzz::require(std::uint64_t{item.start} + item.length <= textLength, "items are in the text");
  fuzz::require(item.milliseconds <= Item::kMaxBreak, "breaks have a limit");
  if (item.kind == Item::Kind::Phones) {
    fuzz::require(!item.phones.empty(), "phones are not empty");
    kavrel::synthesiserInput(item.phones);
  }
}

// True if the synthesiser is given each of the characters as it is.
bool haveTheirOwnForm(std::wstring_view letters) {
  return std::ranges::all_of(letters, [](wchar_t c) { return c < 0x2B0 && c != 0xAD; });
}

void check(std::string_view text, Encoding encoding) {
  std::wstring spoken;
  kavrel::SentenceReader reader(text, encoding);
  kavrel::Sentence sentence;
  std::uint64_t reached = 0;
  while (reader.next(sentence)) {
    fuzz::require(!sentence.items.empty(), "sentences are not empty");
    fuzz::require(std::uint64_t{sentence.start} + sentence.length <= text.size(),
                  "sentences are in the text");
    for (const Item& item : sentence.items) {
      checkItem(item, text.size());
      // Two exceptions to the order: a phoneme element may enclose marks, whose items follow it;
      // and the later parts of a word, which are not reported, have the position of the whole word.
      if (item.kind != Item::Kind::Phones && item.reported) {
        fuzz::require(item.start >= reached, "items are in order");
        reached = item.start;
      }
      if (item.kind == Item::Kind::Word) spoken += item.text;
    }
  }
  const std::wstring letters = lettersOf(text, encoding);
  fuzz::require(!haveTheirOwnForm(letters) || spoken == letters, "no word is lost");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text = fuzz::viewOf(data, size);
  check(text, Encoding::Latin9);
  check(text, Encoding::Utf8);
  return 0;
}
