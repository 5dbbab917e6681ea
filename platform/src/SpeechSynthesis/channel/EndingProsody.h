// SPDX-License-Identifier: Apache-2.0
//
// EndingProsody: a text whose end does not sound like the end of a sentence. Without state.
#pragma once

#include <string>

namespace platform {

// `text`, in Mac OS Roman, so that the voice stays up at its end: a comma goes behind a last word
// that nothing ends. A text that ends otherwise is as it is, since its writer has said how; so is
// one that changes how text is read (phonemes, letter by letter), where a comma would be more than
// that. What is added lies behind every place of `text`.
std::string withoutEndingProsody(const std::string& text);

}  // namespace platform
