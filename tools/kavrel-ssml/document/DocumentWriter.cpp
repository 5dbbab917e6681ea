// SPDX-License-Identifier: Apache-2.0
#include "document/DocumentWriter.h"

#include <utility>

namespace ssml {
namespace {

constexpr const char* kBlanks = " \t\r\n";

}  // namespace

std::string DocumentWriter::opening(const Style& style, int level) {
  switch (level) {
    case kProsody:
      return style.prosody.empty() ? "" : "<prosody" + style.prosody + ">";
    case kEmphasis:
      return style.emphasised ? "<emphasis level=\"strong\">" : "";
    default:
      return style.sayAs.empty() ? "" : "<say-as interpret-as=\"" + style.sayAs + "\">";
  }
}

std::string DocumentWriter::closing(int level) {
  return level == kProsody ? "</prosody>" : level == kEmphasis ? "</emphasis>" : "</say-as>";
}

void DocumentWriter::text(const base::OriginText& escaped, const Style& style) {
  const std::string& text = escaped.text();
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string::npos) {
    m_blanks.append(escaped);
    return;
  }
  const std::size_t end = text.find_last_not_of(kBlanks) + 1;
  m_blanks.append(escaped, 0, first);
  change(style);
  m_out.append(escaped, first, end);
  m_blanks.append(escaped, end, text.size());
}

void DocumentWriter::element(const std::string& markup, const Style& style) {
  const int common = commonLevels(m_style, style);
  Style kept;
  if (common > kProsody) kept.prosody = m_style.prosody;
  if (common > kEmphasis) kept.emphasised = m_style.emphasised;
  change(kept);
  m_out.insert(markup);
}

void DocumentWriter::element(const std::string& open, const base::OriginText& escaped,
                             const std::string& close, const Style& style) {
  Style around = style;
  around.sayAs.clear();
  change(around);
  m_out.insert(open);
  m_out.append(escaped);
  m_out.insert(close);
}

base::OriginText DocumentWriter::finish() {
  change(Style());
  return std::move(m_out);
}

// How many levels, from the outermost, are the same in both.
int DocumentWriter::commonLevels(const Style& a, const Style& b) {
  int common = 0;
  while (common < kLevels && opening(a, common) == opening(b, common)) ++common;
  return common;
}

// From the style so far to that one; the blanks in between stand where both agree.
void DocumentWriter::change(const Style& style) {
  const int common = commonLevels(m_style, style);
  closeDownTo(common);
  m_out.append(m_blanks);
  m_blanks.clear();
  for (int level = common; level < kLevels; ++level) m_out.insert(opening(style, level));
  m_style = style;
}

void DocumentWriter::closeDownTo(int level) {
  for (int open = kLevels; open-- > level;) {
    if (!opening(m_style, open).empty()) m_out.insert(closing(open));
  }
}

}  // namespace ssml
