// SPDX-License-Identifier: Apache-2.0
//
// SourceText: the text of a file in one of several encodings, as the converter takes it, and the
// way back to the bytes of the file.
//
// Every text goes the way that a client's text goes: it becomes Mac OS Roman, and is prepared from
// there. UTF-8 and ISO 8859-15 have characters that Mac OS Roman lacks; those take the plain forms
// of base/text/PlainForms.h. A NUL is a blank.
//
// Threads: constant once made. Positions count bytes of the file.
#pragma once

#include <cstddef>
#include <string>

#include "PositionMap.h"
#include "base/text/OriginText.h"

namespace ssml {

enum class Encoding { Utf8, MacRoman, Latin9 };

// A position as people count. Lines end with a line feed, a carriage return, or both in this order.
struct SourceLocation {
  std::size_t position;  // bytes, from 0
  std::size_t line;      // from 1
  std::size_t column;    // characters, from 1
};

class SourceText {
 public:
  // Throws tool::Failure when the text is longer than positions can tell.
  SourceText(std::string given, Encoding encoding);

  std::size_t size() const { return m_given.size(); }

  // What the converter takes: ISO 8859-15 with escapes.
  const std::string& prepared() const { return m_prepared; }
  // Of each byte of prepared().
  const PositionMap& origins() const { return m_origins; }

  // The caller's position of the byte `at` of prepared(), which may be its end.
  std::size_t originOf(std::size_t at) const;
  // Where the caller's bytes end for prepared bytes that end at `end`.
  std::size_t originEndOf(std::size_t end) const;

  SourceLocation locationOf(std::size_t position) const;
  // The place of `position`, which is not in front of `known`.
  SourceLocation locationAfter(SourceLocation known, std::size_t position) const;

  // The caller's bytes `start` … `end` − 1 in UTF-8; a byte that is no character is U+FFFD.
  std::string shown(std::size_t start, std::size_t end) const;

 private:
  void prepare(std::string macRoman);
  void prepare(const base::OriginText& macRoman);

  std::string m_given;
  Encoding m_encoding;
  std::string m_prepared;
  PositionMap m_origins;
};

}  // namespace ssml
