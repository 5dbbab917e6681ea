// SPDX-License-Identifier: Apache-2.0
//
// The converter's passes for volume, rate, base pitch and pitch range: one generic pass with a
// command type, an attribute, a unit and a start value for each.
#include <cmath>
#include <utility>

#include "AppleMarkupConverter.h"
#include "Diagnostics.h"
#include "Numbers.h"

double AppleMarkupConverter::convertVolumeUnits(double volume) {
  return volume * 100.0;
}

double AppleMarkupConverter::convertRateUnits(double rate) {
  // Rationale: the line number of the diagnostic line is fixed.
  if (diagnosticsEnabled(kDiagMarkup, 2)) {
    cst_dbg_timestamp();
    cst_dbg_ffl("AppleMarkupConverter", "convertRateUnits", 596);
    cst_dbg_context(kDiagMarkup);
    cst_errmsg("rate %f\n", rate);
  }
  return rate;
}

double AppleMarkupConverter::midiToHz(double note) {
  return std::pow(1.05946309435, note - 60.0) * 261.625;
}

namespace {

// Returns the value after the command at `index`; `value` is the value before it. A sign is an
// argument of its own and makes the number relative.
double changedValue(const TokenList& tokens, int index, double value) {
  const AppleMarkupToken command =
      tokens.getTokenAt(static_cast<unsigned int>(index)).getAppleMarkupToken();
  const std::string direction = command.getTokenArg(0);
  if (direction == "-") return value - readNumber(command.getTokenArg(1));
  if (direction == "+") return value + readNumber(command.getTokenArg(1));
  return readNumber(direction);
}

}  // namespace

// A command of the type begins a region with a new value, which reaches to the next command of the
// type or the next reset. Within it the same tag is opened again after every other command.
void AppleMarkupConverter::convertProsodyTags(TokenList& tokens,
                                              AppleMarkupToken::AppleTagType tagType,
                                              std::string attribute, std::string units,
                                              double (*convertUnits)(double), double startVal) {
  if (!tokens.mayHold(tagType)) return;
  const std::string prefix = "<prosody " + attribute + "='";
  const std::string suffix = units + "'>";
  const TokenList::MarkupId close = tokens.addMarkup("</prosody>");
  double value = startVal;
  // Rationale: a region whose opening tag lands after the next command, which a token with a
  // changed size can cause, is the last one of the pass.
  bool stop = false;
  for (int i = 0; i < tokens.size() && !stop;) {
    if (!appleTokenMatches(tokens, i, tagType)) {
      ++i;
      continue;
    }
    value = changedValue(tokens, i, value);
    std::string openTag = prefix;
    openTag.append(numberText(convertUnits(value))).append(suffix);
    const TokenList::MarkupId open = tokens.addMarkup(std::move(openTag));
    do {
      const int begun = i;
      if (!wrapUpToNextCommand(tokens, i, open, close)) return;
      // The next command has kept its index; the closing tag has then moved it by one.
      if (i == begun + 2) stop = true;
    } while (!appleTokenMatches(tokens, i, tagType) &&
             !appleTokenMatches(tokens, i, AppleMarkupToken::RESET_TAG));
    if (appleTokenMatches(tokens, i, AppleMarkupToken::RESET_TAG)) value = 0.0;
  }
}

void AppleMarkupConverter::convertVolumeTags(TokenList& tokens) {
  convertProsodyTags(tokens, AppleMarkupToken::VOLUME_TAG, "volume", "", convertVolumeUnits, 1.0);
}

void AppleMarkupConverter::convertRateTags(TokenList& tokens) {
  convertProsodyTags(tokens, AppleMarkupToken::RATE_TAG, "rate", "", convertRateUnits, 180.0);
}

void AppleMarkupConverter::convertPitchBaseTags(TokenList& tokens) {
  convertProsodyTags(tokens, AppleMarkupToken::PITCH_TAG, "pitch", "Hz", midiToHz,
                     static_cast<double>(m_defaults.pitchBase));
}

void AppleMarkupConverter::convertPitchRangeTags(TokenList& tokens) {
  convertProsodyTags(tokens, AppleMarkupToken::PITCH_RANGE_TAG, "range", "Hz", midiToHz,
                     static_cast<double>(m_defaults.pitchRange));
}
