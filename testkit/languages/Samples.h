// SPDX-License-Identifier: Apache-2.0
//
// Samples: a sentence in each language that is offered, from tests/speech/languages/samples.tsv.
//
// Pure functions, safe on any thread. They may throw std::bad_alloc.
#pragma once

#include <string>
#include <vector>

namespace languages {

struct Sample {
  std::string synthesiser;  // the synthesiser's name of the language
  std::string locale;       // such as ru_RU
  std::string text;         // UTF-8
  bool hasBlanks = true;    // between words

  // Returns the words between blanks, without the punctuation that the samples have. Only for
  // samples with blanks.
  std::vector<std::string> words() const;
};

// Reads the file; each locale occurs once.
std::vector<Sample> samplesIn(const std::string& file);

}  // namespace languages
