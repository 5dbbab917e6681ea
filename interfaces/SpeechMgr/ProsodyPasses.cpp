// SPDX-License-Identifier: Apache-2.0
//
// The converter's passes for volume, rate, base pitch and pitch range.
#include <cmath>
#include <utility>

#include "AppleMarkupConverter.h"
#include "Diagnostics.h"
#include "Numbers.h"

double AppleMarkupConverter::convertVolumeUnits(double volume) {
  return volume * 100.0;
}

double AppleMarkupConverter::convertRateUnits(double rate) {
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

// The value after the command at `index`, from the value before it.
double changedValue(const TokenList& tokens, int index, double value) {
  const AppleMarkupToken command =
      tokens.getTokenAt(static_cast<unsigned int>(index)).getAppleMarkupToken();
  const std::string direction = command.getTokenArg(0);
  if (direction == "-") return value - readNumber(command.getTokenArg(1));
  if (direction == "+") return value + readNumber(command.getTokenArg(1));
  return readNumber(direction);
}

}  // namespace

void AppleMarkupConverter::convertProsodyTags(TokenList& tokens,
                                              AppleMarkupToken::AppleTagType tagType,
                                              std::string attribute, std::string units,
                                              double (*convertUnits)(double), double startVal) {
  if (!tokens.mayHold(tagType)) return;
  const std::string prefix = "<prosody " + attribute + "='";
  const std::string suffix = units + "'>";
  const TokenList::MarkupId close = tokens.addMarkup("</prosody>");
  double value = startVal;
  for (int i = 0; i < tokens.size();) {
    if (!appleTokenMatches(tokens, i, tagType)) {
      ++i;
      continue;
    }
    value = changedValue(tokens, i, value);
    std::string openTag = prefix;
    openTag.append(numberText(convertUnits(value))).append(suffix);
    const TokenList::MarkupId open = tokens.addMarkup(std::move(openTag));
    do {
      if (!wrapUpToNextCommand(tokens, i, open, close)) return;
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
