// SPDX-License-Identifier: Apache-2.0
#include "languages/Samples.h"

#include <algorithm>
#include <fstream>
#include <sstream>
#include <string_view>

namespace languages {
namespace {

void trim(std::string_view& word, std::string_view sign) {
  if (word.starts_with(sign)) word.remove_prefix(sign.size());
  if (word.ends_with(sign)) word.remove_suffix(sign.size());
}

}  // namespace

std::vector<std::string> Sample::words() const {
  std::vector<std::string> words;
  std::istringstream parts(text);
  for (std::string part; parts >> part;) {
    std::string_view word = part;
    for (const std::string_view sign : {".", ",", "'", "!", "?", ":", "।", "።", "։", "۔", "،"}) {
      trim(word, sign);
    }
    words.emplace_back(word);
  }
  return words;
}

// The columns: synthesiser's language, BCP-47 tag, script, direction, sample.
std::vector<Sample> samplesIn(const std::string& file) {
  std::vector<Sample> samples;
  std::ifstream lines(file);
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with('#')) continue;
    std::istringstream fields(line);
    std::string unused;
    Sample sample;
    std::getline(fields, sample.synthesiser, '\t');
    std::getline(fields, sample.locale, '\t');
    std::getline(fields, unused, '\t');
    std::getline(fields, unused, '\t');
    std::getline(fields, sample.text);
    std::ranges::replace(sample.locale, '-', '_');
    sample.hasBlanks = !sample.locale.starts_with("zh") && !sample.locale.starts_with("yue");
    samples.push_back(sample);
  }
  return samples;
}

}  // namespace languages
