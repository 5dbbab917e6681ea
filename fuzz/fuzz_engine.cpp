// SPDX-License-Identifier: Apache-2.0
//
// Plans the synthesis of a marked-up text without synthesising it. Checks that every item is
// planned once and in order, that every word of the text is reported once, in order and at its
// position, and that no call exceeds the synthesiser's limit. Input: the text.
#include <algorithm>
#include <string>

#include "Fuzz.h"
#include "synth/plan.h"
#include "synth/voice_cache.h"
#include "text/markup.h"
#include "text/sentence.h"
#include "text/style.h"
#include "text/words.h"

namespace {

using kavrel::Encoding;
using kavrel::Item;
using kavrel::MarkupEvent;
using kavrel::SentenceReader;
using kavrel::SynthCall;

// The minimum number of words in the text, from the scanner's pieces: tokens between blanks, breaks
// and phoneme elements that contain a word.
std::size_t countWords(std::string_view text, Encoding encoding) {
  std::size_t count = 0;
  std::vector<kavrel::Letter> token;
  const auto endToken = [&] {
    if (!kavrel::wordOf(token).empty()) ++count;
    token.clear();
  };
  kavrel::MarkupScanner scanner(text, encoding);
  kavrel::StyleStack styles;
  for (;;) {
    const MarkupEvent event = scanner.next();
    const bool starts = event.kind == MarkupEvent::Kind::StartTag;
    if (event.kind == MarkupEvent::Kind::Character && !styles.insidePhoneme()) {
      if (kavrel::isBlank(event.character)) {
        endToken();
      } else {
        token.push_back({event.character, event.start, event.end - event.start});
      }
    }
    if (event.kind == MarkupEvent::Kind::End || (starts && event.name == "break")) endToken();
    if (starts && event.name == "phoneme" && !styles.insidePhoneme()) endToken();
    if (starts && !event.empty && event.name != "mark" && event.name != "break") {
      styles.open(event);
    }
    if (event.kind == MarkupEvent::Kind::EndTag) styles.close(event.name);
    if (event.kind == MarkupEvent::Kind::End) return count;
  }
}

// Items are planned either as a break or as a mark of a call; `next` is the item that must follow.
void checkPlan(const kavrel::Sentence& sentence) {
  kavrel::Plan plan(sentence, kavrel::defaultVoice());
  SynthCall call;
  std::size_t next = 0;
  while (plan.next(call)) {
    if (call.isBreak) {
      fuzz::require(call.breakItem == next++, "breaks are planned in order");
      continue;
    }
    for (const std::size_t item : call.marks) {
      fuzz::require(item == next++, "items are planned once and in order");
    }
    fuzz::require(call.input.text.size() < 2000, "calls are short");
    int last = 0;
    for (const auto& inner : call.input.innerMarks) {
      fuzz::require(inner.mark > last && inner.share >= 0 && inner.share < 1, "marks are in order");
      last = inner.mark;
    }
    for (const auto& adjustment : call.input.adjustments) {
      fuzz::require(adjustment.speed >= 1 && adjustment.volume >= 0, "adjustments are possible");
    }
  }
  fuzz::require(next == sentence.items.size(), "all items are planned");
}

void check(std::string_view text, Encoding encoding) {
  SentenceReader reader(text, encoding);
  kavrel::Sentence sentence;
  std::size_t words = 0;
  std::uint64_t reached = 0;
  while (reader.next(sentence)) {
    checkPlan(sentence);
    for (const Item& item : sentence.items) {
      fuzz::require(std::uint64_t{item.start} + item.length <= text.size(),
                    "items are in the text");
      if (item.kind != Item::Kind::Word || !item.reported) continue;
      ++words;
      fuzz::require(item.length > 0 && item.start >= reached, "words follow each other");
      reached = std::uint64_t{item.start} + item.length;
    }
  }
  // A tag after a full stop, the limit of a token's length, or a script without blanks splits a
  // token into several words.
  fuzz::require(words >= countWords(text, encoding), "every word is reported");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text = fuzz::viewOf(data, size);
  check(text, Encoding::Latin9);
  check(text, Encoding::Utf8);
  return 0;
}
