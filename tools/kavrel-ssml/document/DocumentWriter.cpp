// SPDX-License-Identifier: Apache-2.0
#include "document/DocumentWriter.h"

#include <utility>

namespace ssml {
namespace {

constexpr const char* kBlanks = " \t\r\n";

}  // namespace

// Empty if the style does not need an element at this level.
std::string DocumentWriter::openingTag(const Style& style, int level) {
  switch (level) {
    case kProsody:
      return style.prosody.empty() ? "" : "<prosody" + style.prosody + ">";
    case kEmphasis:
      return style.emphasised ? "<emphasis level=\"strong\">" : "";
    default:
      return style.sayAs.empty() ? "" : "<say-as interpret-as=\"" + style.sayAs + "\">";
  }
}

std::string DocumentWriter::closingTag(int level) {
  return level == kProsody ? "</prosody>" : level == kEmphasis ? "</emphasis>" : "</say-as>";
}

// Blanks before and after the text wait in m_blanks; changeStyle() writes them between the end tags
// and the start tags.
void DocumentWriter::text(const base::OriginText& escaped, const Style& style) {
  const std::string& text = escaped.text();
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string::npos) {
    m_blanks.append(escaped);
    return;
  }
  const std::size_t end = text.find_last_not_of(kBlanks) + 1;
  m_blanks.append(escaped, 0, first);
  changeStyle(style);
  m_out.append(escaped, first, end);
  m_blanks.append(escaped, end, text.size());
}

// Keeps the open elements that `style` shares. An open element that differs is closed, and nothing
// is opened: the next text may need another style.
void DocumentWriter::element(const std::string& markup, const Style& style) {
  const int common = commonLevels(m_style, style);
  Style kept;
  if (common > kProsody) kept.prosody = m_style.prosody;
  if (common > kEmphasis) kept.emphasised = m_style.emphasised;
  changeStyle(kept);
  m_out.insert(markup);
}

void DocumentWriter::element(const std::string& open, const base::OriginText& escaped,
                             const std::string& close, const Style& style) {
  Style around = style;
  around.sayAs.clear();
  changeStyle(around);
  m_out.insert(open);
  m_out.append(escaped);
  m_out.insert(close);
}

base::OriginText DocumentWriter::finish() {
  changeStyle(Style());
  return std::move(m_out);
}

// Returns the number of equal levels, counted from the outermost.
int DocumentWriter::commonLevels(const Style& a, const Style& b) {
  int common = 0;
  while (common < kLevels && openingTag(a, common) == openingTag(b, common)) ++common;
  return common;
}

// Changes from the current style to `style`. Waiting blanks are written between the two, inside the
// elements that both styles share.
void DocumentWriter::changeStyle(const Style& style) {
  const int common = commonLevels(m_style, style);
  closeDownTo(common);
  m_out.append(m_blanks);
  m_blanks.clear();
  for (int level = common; level < kLevels; ++level) m_out.insert(openingTag(style, level));
  m_style = style;
}

void DocumentWriter::closeDownTo(int level) {
  for (int open = kLevels; open-- > level;) {
    if (!openingTag(m_style, open).empty()) m_out.insert(closingTag(open));
  }
}

}  // namespace ssml
