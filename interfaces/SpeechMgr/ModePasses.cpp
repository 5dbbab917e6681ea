// SPDX-License-Identifier: Apache-2.0
//
// The converter's passes for character and number modes, emphasis, silence and sync marks, and for
// text that is dropped: tune data and skipped context.
#include "AppleMarkupConverter.h"
#include "Numbers.h"

void AppleMarkupConverter::convertCharTags(TokenList& tokens) {
  convertBinaryCommands(tokens, AppleMarkupToken::CHAR_SPELLOUT_TAG,
                        AppleMarkupToken::CHAR_NORMAL_TAG, "<say-as type='spell-out'>",
                        "</say-as>");
}

// Rationale: another attribute than for characters.
void AppleMarkupConverter::convertNmbrTags(TokenList& tokens) {
  convertBinaryCommands(tokens, AppleMarkupToken::NUMBER_SPELLOUT_TAG,
                        AppleMarkupToken::NUMBER_NORMAL_TAG, "<say-as interpret-as='digits'>",
                        "</say-as>");
}

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
    if (i > run.next) {
      ++i;
      continue;
    }
    const unsigned int wordEnd = endOfWord(tokens, run.end);
    tokens.insertMarkup(i + 1, tokens.endAt(i), open);
    tokens.insertMarkup(run.next, static_cast<int>(wordEnd), close);
    i = run.next == i ? i + 2 : run.next;
    run = CommandRun();
  }
}

void AppleMarkupConverter::convertSilenceTags(TokenList& tokens) {
  if (!tokens.mayHold(AppleMarkupToken::SILENCE_TAG)) return;
  for (int i = 0; i < tokens.size(); ++i) {
    if (!appleTokenMatches(tokens, i, AppleMarkupToken::SILENCE_TAG)) continue;
    // Rationale: the argument is copied as it stands, number or not.
    insertSSMLAfterToken(tokens, i, "<break time='" + tokens.argumentAt(i, 0) + "ms'/>");
  }
}

void AppleMarkupConverter::convertSyncTags(TokenList& tokens) {
  if (!tokens.mayHold(AppleMarkupToken::SYNC_TAG)) return;
  for (int i = 0; i < tokens.size(); ++i) {
    if (!appleTokenMatches(tokens, i, AppleMarkupToken::SYNC_TAG)) continue;
    // Rationale: the value travels in the upper half of the mark's number; what leaves at the top
    // is lost.
    const auto value = static_cast<std::uint32_t>(readInteger(tokens.argumentAt(i, 0)));
    const auto number = static_cast<std::int32_t>(value << 16);
    insertSSMLAfterToken(tokens, i, "<mark name='" + std::to_string(number) + "'/>");
  }
}

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
    // The markup in between is in the text when the tune's place is cleared, so it counts.
    int length = tokens.startAt(next) - tokens.startAt(i);
    for (int between = i + 1; between < next; ++between) {
      length += static_cast<int>(tokens.markupAt(between).size());
    }
    tokens.ignoreText(i, length);
  }
}

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

    const int limit = next == 0 ? tokens.size() : next;
    int place = i;
    while (place < limit && tokens.startAt(place) <= start) ++place;
    const int at = tokens.insertIgnoredText(place < limit ? place : 0, start, end - start);
    // In a list out of order the text can land in front of its command, which must not come round
    // again.
    if (at <= i) ++i;
  }
}
