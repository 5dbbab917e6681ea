// SPDX-License-Identifier: Apache-2.0
//
// Clusters: what readers see as one character, such as a letter with its accents or a flag, and the
// cells that it takes on a terminal.
//
// Pure functions on UTF-8, safe on any thread; the locale has no influence. A byte that is not part
// of well-formed UTF-8 is a cluster of its own with the width 1.
#pragma once

#include <cstddef>
#include <string_view>

namespace base {

// Returns the length in bytes of the first cluster of `text`, which must not be empty. A cluster
// longer than 1000 bytes is cut between two characters. CR LF is one cluster.
std::size_t firstClusterLength(std::string_view text);

// Returns the cells that a cluster takes: 0 for marks and joiners alone, 2 for wide characters and
// emoji, else 1; more if several letters and vowel signs stand side by side. Control characters and
// characters that Unicode does not define count 1.
std::size_t cellsOfCluster(std::string_view cluster);

// Returns the cells of all clusters of `text`.
std::size_t cellsOf(std::string_view text);

// Whether a line may begin or end with the character where a script without blanks is broken:
// closing punctuation stays with the text before it, opening punctuation with the text after it.
bool mayBeginLine(char32_t character);
bool mayEndLine(char32_t character);

// Neither visible nor a blank: control characters, separators of lines, and what Unicode does not
// define.
bool isUnprintable(char32_t character);

}  // namespace base
