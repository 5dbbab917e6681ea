// SPDX-License-Identifier: GPL-3.0-or-later
#include "sentence.h"

namespace kavrel {

SentenceReader::SentenceReader(std::string_view text) : m_text(text) {}

bool SentenceReader::next(Sentence& sentence) {
  sentence = Sentence();
  return false;
}

}  // namespace kavrel
