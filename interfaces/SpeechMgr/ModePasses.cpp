// SPDX-License-Identifier: Apache-2.0
//
// The converter's passes for character and number modes, emphasis, silence and sync marks, and the
// passes that drop text: tune data and skipped context.
//
// A pass first asks the list whether it holds a command of its type, so that it costs nothing for a
// text without one.
#include "AppleMarkupConverter.h"
#include "Numbers.h"

namespace {

// Whether every entry of the list starts before `position`. Looks at the last entry first, which
// decides for nearly every list.
bool allStartBefore(const TokenList& tokens, int position) {
  for (int i = tokens.size() - 1; i >= 0; --i) {
    if (tokens.startAt(i) >= position) return false;
  }
  return true;
}

}  // namespace

void AppleMarkupConverter::convertCharTags(TokenList& tokens) {
  convertBinaryCommands(tokens, AppleMarkupToken::CHAR_SPELLOUT_TAG,
                        AppleMarkupToken::CHAR_NORMAL_TAG, "<say-as type='spell-out'>",
                        "</say-as>");
}

// Rationale: not the attribute that is used for characters.
void AppleMarkupConverter::convertNmbrTags(TokenList& tokens) {
  convertBinaryCommands(tokens, AppleMarkupToken::NUMBER_SPELLOUT_TAG,
                        AppleMarkupToken::NUMBER_NORMAL_TAG, "<say-as interpret-as='digits'>",
                        "</say-as>");
}

// Wraps the first word after each emphasis command. The element may end after further commands, so
// its end is found in the base text and its closing tag inserted before the command that follows.
void AppleMarkupConverter::convertEmphasisTags(TokenList& tokens) {
  if (!tokens.mayHold(AppleMarkupToken::EMPHASIS_POSITIVE_TAG)) return;
  const TokenList::MarkupId open = tokens.addMarkup("<emphasis strength='strong'>");
  const TokenList::MarkupId close = tokens.addMarkup("</emphasis>");
  CommandRun run;
  for (int i = 0; i < tokens.size();) {
    if (!appleTokenMatches(tokens, i, AppleMarkupToken::EMPHASIS_POSITIVE_TAG)) {
      ++i;
      continue;
    }
    // Rationale: the run begins at the token that follows the command, not at the command.
    run = findCommandRun(tokens, i + 1, run);
    // No command follows the run, so there is no position for the closing tag.
    if (i > run.next) {
      ++i;
      continue;
    }
    const unsigned int wordEnd = endOfWord(tokens, run.end);
    tokens.insertMarkup(i + 1, tokens.endAt(i), open);
    tokens.insertMarkup(run.next, static_cast<int>(wordEnd), close);
    i = run.next == i ? i + 2 : run.next;
    // The list has changed, so the known run no longer holds.
    run = CommandRun();
  }
}

void AppleMarkupConverter::convertSilenceTags(TokenList& tokens) {
  if (!tokens.mayHold(AppleMarkupToken::SILENCE_TAG)) return;
  for (int i = 0; i < tokens.size(); ++i) {
    if (!appleTokenMatches(tokens, i, AppleMarkupToken::SILENCE_TAG)) continue;
    // Rationale: the argument is copied as written, number or not.
    insertSSMLAfterToken(tokens, i, "<break time='" + tokens.argumentAt(i, 0) + "ms'/>");
  }
}

void AppleMarkupConverter::convertSyncTags(TokenList& tokens) {
  if (!tokens.mayHold(AppleMarkupToken::SYNC_TAG)) return;
  for (int i = 0; i < tokens.size(); ++i) {
    if (!appleTokenMatches(tokens, i, AppleMarkupToken::SYNC_TAG)) continue;
    // Rationale: the value is in the upper half of the mark's number; bits above that are lost.
    const auto value = static_cast<std::uint32_t>(readInteger(tokens.argumentAt(i, 0)));
    const auto number = static_cast<std::int32_t>(value << 16);
    insertSSMLAfterToken(tokens, i, "<mark name='" + std::to_string(number) + "'/>");
  }
}

// Makes the tune command cover everything up to the next command, and replaces it by nothing. If
// the next command is no input mode and no reset, the tune data is left as it is.
void AppleMarkupConverter::ignoreTunePhonesTags(TokenList& tokens) {
  if (!tokens.mayHold(AppleMarkupToken::TUNE_PHONES_TAG)) return;
  for (int i = 0; i < tokens.size(); ++i) {
    if (!appleTokenMatches(tokens, i, AppleMarkupToken::TUNE_PHONES_TAG)) continue;
    const int next = nextAppleToken(tokens, i + 1);
    if (next == 0) continue;
    if (!appleTokenMatches(tokens, next, AppleMarkupToken::TEXT_TAG) &&
        !appleTokenMatches(tokens, next, AppleMarkupToken::PHONEME_TAG) &&
        !appleTokenMatches(tokens, next, AppleMarkupToken::RESET_TAG)) {
      continue;
    }
    // The bytes are removed from a text that already holds the markup in between, so its length
    // counts.
    int length = tokens.startAt(next) - tokens.startAt(i);
    for (int between = i + 1; between < next; ++between) {
      length += static_cast<int>(tokens.markupAt(between).size());
    }
    tokens.ignoreText(i, length);
  }
}

// Inserts a comment that covers the text from the end of the skip command to the next context
// command or reset, or to the end of the text if there is none.
void AppleMarkupConverter::ignoreContextTags(TokenList& tokens,
                                             AppleMarkupToken::AppleTagType contextType) {
  const AppleMarkupToken::AppleTagType skipType = contextType == AppleMarkupToken::WORD_CONTEXT_TAG
                                                      ? AppleMarkupToken::WORD_SKIP_CONTEXT_TAG
                                                      : AppleMarkupToken::TEXT_SKIP_CONTEXT_TAG;
  if (!tokens.mayHold(skipType)) return;
  const auto endsSkip = [&](int index) {
    const AppleMarkupToken::AppleTagType type = tokens.typeAt(index);
    return type == contextType || type == AppleMarkupToken::TEXT_SKIP_CONTEXT_TAG ||
           type == AppleMarkupToken::WORD_SKIP_CONTEXT_TAG ||
           type == AppleMarkupToken::NORMAL_CONTEXT_TAG || type == AppleMarkupToken::RESET_TAG;
  };
  for (int i = 0; i < tokens.size(); ++i) {
    if (!appleTokenMatches(tokens, i, skipType)) continue;
    int next = nextAppleToken(tokens, i + 1);
    while (next != 0 && !endsSkip(next)) next = nextAppleToken(tokens, next + 1);
    const int end = next == 0 ? static_cast<int>(tokens.base().size()) : tokens.startAt(next);
    const int start = tokens.endAt(i);

    // After the entries that start no later. If all of them do, the list finds the index itself,
    // except at its end: there the comment is appended, with the index one past the size.
    const int limit = next == 0 ? tokens.size() : next;
    int index = i;
    while (index < limit && tokens.startAt(index) <= start) ++index;
    if (index == limit) {
      index = next == 0 && allStartBefore(tokens, start) ? tokens.size() + 1 : 0;
    }
    const int at = tokens.insertIgnoredText(index, start, end - start);
    // In a list that is out of order the comment can be inserted before its command, which must not
    // be converted again.
    if (at <= i) ++i;
  }
}
