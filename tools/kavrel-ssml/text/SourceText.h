// SPDX-License-Identifier: Apache-2.0
//
// SourceText: the text of a file in one of several encodings, prepared for the converter, with the
// origin of each byte in the file.
//
// Every text is processed like a client's text. Mac OS Roman is prepared and becomes ISO 8859-15,
// as for a text in bytes; UTF-8 and ISO 8859-15 are prepared in UTF-8, as for a string. A NUL, and
// a byte that is not part of well-formed UTF-8, becomes a blank.
//
// The text may also be adapted in between, as the Manager does it.
//
// Threads: constant after construction. Positions count bytes of the file.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "PositionMap.h"
#include "SpeechSynthesis/texts/TextAdapter.h"
#include "base/text/OriginText.h"

namespace ssml {

enum class Encoding { Utf8, MacRoman, Latin9 };

// A position with line and column. A line ends with a line feed, a carriage return, or a carriage
// return and a line feed.
struct SourceLocation {
  std::size_t position;  // bytes, from 0
  std::size_t line;      // from 1
  std::size_t column;    // characters, from 1
};

class SourceText {
 public:
  // Adapts the text if there are settings for it. Throws tool::Failure if the text is longer than
  // positions can express.
  SourceText(std::string given, Encoding encoding,
             const std::optional<platform::TextSettings>& adaptation = std::nullopt);

  std::size_t size() const { return m_given.size(); }

  // Returns the converter's input, with escapes: UTF-8 if isUtf8(), else ISO 8859-15.
  const std::string& prepared() const { return m_prepared; }
  // Returns the origins of the bytes of prepared().
  const PositionMap& origins() const { return m_origins; }

  // Returns the text before its preparation, not adapted, with the origins of its bytes.
  const base::OriginText& encoded() const { return m_encoded; }
  // Returns the charset of encoded().
  platform::Charset charset() const {
    return isUtf8() ? platform::Charset::Utf8 : platform::Charset::MacRoman;
  }
  bool isUtf8() const { return m_encoding != Encoding::MacRoman; }

  // Returns the file position of the byte at `at` of prepared(); the size of the file if `at` is
  // the end of prepared() or after it.
  std::size_t originOf(std::size_t at) const;
  // Returns the file position of the end of the bytes that prepared() up to `end` came from.
  std::size_t originEndOf(std::size_t end) const;

  // Returns line and column of `position`, in linear time from the start.
  SourceLocation locationOf(std::size_t position) const;
  // Does the same from a known location, which must not be after `position`.
  SourceLocation locationAfter(SourceLocation known, std::size_t position) const;

  // Returns the bytes [start, end) of the file in UTF-8, with U+FFFD for each malformed byte.
  std::string displayText(std::size_t start, std::size_t end) const;

 private:
  base::OriginText encode() const;
  void prepare(std::string text);

  std::string m_given;
  Encoding m_encoding;
  base::OriginText m_encoded;
  std::string m_prepared;
  PositionMap m_origins;
};

}  // namespace ssml
