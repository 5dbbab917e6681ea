// SPDX-License-Identifier: Apache-2.0
#include "screen/Highlight.h"

#include <charconv>
#include <optional>
#include <stdexcept>
#include <string_view>

namespace say {
namespace {

struct Capability {
  const char* name;
  const char* parameters;  // of the SGR escape sequence
  const char* description;
};

constexpr Capability kCapabilities[] = {
    {"smso", "7", "reverse (default)"},
    {"rev", "7", "reverse"},
    {"bold", "1", "bold"},
    {"dim", "2", "faint"},
    {"sitm", "3", "italic"},
    {"smul", "4", "underlined"},
    {"blink", "5", "blinking"},
};

constexpr const char* kColours[] = {"black", "red",     "green", "yellow",
                                    "blue",  "magenta", "cyan",  "white"};

constexpr int kLargestColour = 255;

// SGR sequences: all terminals in use understand them, so no terminal database is needed.
Highlight makeHighlight(const std::string& parameters) {
  return {"\033[" + parameters + "m", "\033[0m"};
}

// Returns the colour's number: 30 + number selects the foreground, 40 + number the background.
std::optional<int> colourNamed(std::string_view name) {
  for (int number = 0; number < 8; ++number) {
    if (name == kColours[number]) return number;
  }
  return std::nullopt;
}

// Parses "COLOUR", "COLOUR/COLOUR" and "/COLOUR". Returns nothing if it is none of these.
std::optional<Highlight> parseColours(std::string_view name) {
  const std::size_t slash = name.find('/');
  const std::string_view front = name.substr(0, slash);
  const std::string_view back =
      slash == std::string_view::npos ? std::string_view() : name.substr(slash + 1);
  const auto frontNumber = colourNamed(front);
  const auto backNumber = colourNamed(back);
  if ((!front.empty() && !frontNumber) || (!back.empty() && !backNumber)) return std::nullopt;
  if (!frontNumber && !backNumber) return std::nullopt;
  std::string parameters;
  if (frontNumber) parameters = std::to_string(30 + *frontNumber);
  if (backNumber) parameters += (parameters.empty() ? "" : ";") + std::to_string(40 + *backNumber);
  return makeHighlight(parameters);
}

// Parses "setaf 3" (foreground) and "setab 3" (background). Returns nothing if it is neither.
std::optional<Highlight> parseNumberedColour(std::string_view name) {
  const bool isFront = name.starts_with("setaf ");
  if (!isFront && !name.starts_with("setab ")) return std::nullopt;
  const std::string_view digits = name.substr(6);
  int number = -1;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  const bool isNumber = error == std::errc() && end == digits.data() + digits.size();
  if (!isNumber || number < 0 || number > kLargestColour) return std::nullopt;
  return makeHighlight((isFront ? "38;5;" : "48;5;") + std::to_string(number));
}

}  // namespace

// Names are case-sensitive, as those of capabilities are.
Highlight highlightNamed(const std::string& name) {
  for (const Capability& capability : kCapabilities) {
    if (name == capability.name) return makeHighlight(capability.parameters);
  }
  if (const auto found = parseColours(name)) return *found;
  if (const auto found = parseNumberedColour(name)) return *found;
  throw std::invalid_argument("unknown markup \"" + name + "\"; --interactive=? lists the values");
}

// Capabilities first, then the patterns for colours. Completions have fixed values.
std::string highlightList() {
  std::string list;
  for (const Capability& capability : kCapabilities) {
    std::string name = capability.name;
    name.resize(16, ' ');
    list += name + capability.description + '\n';
  }
  list +=
      "setaf N         foreground colour number, 0 to 255\n"
      "setab N         background colour number, 0 to 255\n"
      "COLOUR          one of";
  for (const char* const colour : kColours) list += ' ' + std::string(colour);
  list +=
      "\nCOLOUR/COLOUR   foreground and background colour\n"
      "/COLOUR         background colour only\n";
  return list;
}

}  // namespace say
