// SPDX-License-Identifier: Apache-2.0
#include "text/style.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string>
#include <utility>

namespace kavrel {

namespace {

std::string_view trim(std::string_view text) {
  static constexpr std::string_view kBlanks = " \t\r\n";
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

// Reads an attribute that is a number with the optional unit `unit`.
std::optional<double> readAttribute(const MarkupEvent& tag, std::string_view attribute,
                                    std::string_view unit) {
  const auto value = tag.attribute(attribute);
  if (!value) return std::nullopt;
  std::string_view found;
  const auto number = readNumber(*value, found);
  if (!number || (!found.empty() && found != unit)) return std::nullopt;
  return number;
}

// Each setting is independent: an invalid one is ignored, the others apply.
void applyProsody(const MarkupEvent& tag, Style& style) {
  if (const auto volume = readAttribute(tag, "volume", "%")) style.volume = std::max(*volume, 0.0);
  if (const auto rate = readAttribute(tag, "rate", ""); rate && *rate > 0) style.rate = *rate;
  if (const auto pitch = readAttribute(tag, "pitch", "Hz"); pitch && *pitch > 0) {
    style.pitch = *pitch;
  }
  if (const auto range = readAttribute(tag, "range", "Hz"); range && *range >= 0) {
    style.range = *range;
  }
}

// Spelling and reading digits add up over nested elements; no value switches them off.
void applySayAs(const MarkupEvent& tag, Style& style) {
  for (const std::string_view attribute : {"type", "interpret-as"}) {
    const auto value = tag.attribute(attribute);
    if (value == "spell-out") style.spellOut = true;
    if (value == "digits") style.digits = true;
  }
}

}  // namespace

// A start tag without a known element opens nothing; its end tag is then ignored, too.
void StyleStack::open(const MarkupEvent& tag) {
  const auto element = elementOf(tag.name);
  if (!element) return;
  m_open.push_back({*element, m_style});
  ++m_counts[static_cast<std::size_t>(*element)];
  switch (*element) {
    case Element::Prosody:
      applyProsody(tag, m_style);
      break;
    case Element::SayAs:
      applySayAs(tag, m_style);
      break;
    case Element::Emphasis:
      m_style.emphasis = tag.attribute("strength") == "strong";
      break;
    case Element::Phoneme:
    case Element::Count:
      break;
  }
}

// The loop ends: the count says that the element is on the stack.
void StyleStack::close(std::string_view name) {
  const auto element = elementOf(name);
  if (!element || m_counts[static_cast<std::size_t>(*element)] == 0) return;
  Element closed{};
  do {
    closed = m_open.back().element;
    m_style = m_open.back().outside;
    --m_counts[static_cast<std::size_t>(closed)];
    m_open.pop_back();
  } while (closed != *element);
}

std::optional<StyleStack::Element> StyleStack::elementOf(std::string_view name) {
  static constexpr std::array<std::pair<std::string_view, Element>, 4> kElements = {
      {{"prosody", Element::Prosody},
       {"say-as", Element::SayAs},
       {"emphasis", Element::Emphasis},
       {"phoneme", Element::Phoneme}}};
  for (const auto& [known, element] : kElements) {
    if (name == known) return element;
  }
  return std::nullopt;
}

// std::from_chars accepts no "+" but accepts "inf" and "nan".
std::optional<double> readNumber(std::string_view text, std::string_view& unit) {
  text = trim(text);
  const bool negative = text.starts_with('-');
  if (negative || text.starts_with('+')) text.remove_prefix(1);
  if (text.empty() || text[0] == '-') return std::nullopt;
  double value = 0;
  const char* end = text.data() + text.size();
  const auto [stopped, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc() || !std::isfinite(value)) return std::nullopt;
  unit = trim(std::string_view(stopped, static_cast<std::size_t>(end - stopped)));
  return negative ? -value : value;
}

// A break's time needs a unit.
std::uint32_t readBreakTime(std::string_view text, std::uint32_t limit) {
  std::string_view unit;
  const auto number = readNumber(text, unit);
  if (!number || (unit != "ms" && unit != "s")) return 0;
  const double milliseconds = unit == "s" ? *number * 1000 : *number;
  return static_cast<std::uint32_t>(std::lround(std::clamp<double>(milliseconds, 0, limit)));
}

}  // namespace kavrel
