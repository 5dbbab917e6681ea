// SPDX-License-Identifier: Apache-2.0
//
// Document: converted text as an SSML 1.1 document that any speech system can read.
//
// The converter's markup is taken as what it says about each character: its prosody, whether it is
// emphasised, whether it is spelt. The document is written anew from that, so it is well-formed
// whatever the text. Elements nest as the standard wants them (prosody, emphasis, say-as), enclose
// text, and reach over commands.
#pragma once

#include <string>

#include "base/text/OriginText.h"

namespace ssml {

// `language` is a language tag. `end` is the length of the caller's text.
base::OriginText documentOf(const base::OriginText& converted, const std::string& language,
                            base::OriginText::Position end);

}  // namespace ssml
