// SPDX-License-Identifier: Apache-2.0
//
// Document: rewrites converted text as a standard SSML 1.1 document.
//
// The converter's markup is read as the style of each character: its prosody, whether it is
// emphasised, whether it is spelled. The document is written from these styles, so it is
// well-formed for every text. Elements nest in the order of the standard (prosody, emphasis,
// say-as), are never empty, and can span commands.
//
// Pure functions.
#pragma once

#include <string>

#include "base/text/OriginText.h"

namespace ssml {

// Returns the document with the origin of each byte. `language` is a language tag, which is not
// checked. `end` is the length of the caller's text.
base::OriginText documentOf(const base::OriginText& converted, const std::string& language,
                            base::OriginText::Position end);

}  // namespace ssml
