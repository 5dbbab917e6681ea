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
  const char* parameters;  // of the sequence that selects it
  const char* description;
};

constexpr Capability kCapabilities[] = {
    {"smso", "7", "reverse, which is usual"},
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

Highlight selecting(const std::string& parameters) {
  return {"\033[" + parameters + "m", "\033[0m"};
}

// The colour's number, for the front with 30 added, for the back with 40.
std::optional<int> colourNamed(std::string_view name) {
  for (int number = 0; number < 8; ++number) {
    if (name == kColours[number]) return number;
  }
  return std::nullopt;
}

std::optional<Highlight> colours(std::string_view name) {
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
  return selecting(parameters);
}

// "setaf 3" and "setab 3"
std::optional<Highlight> numberedColour(std::string_view name) {
  const bool isFront = name.starts_with("setaf ");
  if (!isFront && !name.starts_with("setab ")) return std::nullopt;
  const std::string_view digits = name.substr(6);
  int number = -1;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  const bool isNumber = error == std::errc() && end == digits.data() + digits.size();
  if (!isNumber || number < 0 || number > kLargestColour) return std::nullopt;
  return selecting((isFront ? "38;5;" : "48;5;") + std::to_string(number));
}

}  // namespace

Highlight highlightNamed(const std::string& name) {
  for (const Capability& capability : kCapabilities) {
    if (name == capability.name) return selecting(capability.parameters);
  }
  if (const auto found = colours(name)) return *found;
  if (const auto found = numberedColour(name)) return *found;
  throw std::invalid_argument("there is no markup \"" + name + "\"; --interactive=? lists them");
}

std::string highlightList() {
  std::string list;
  for (const Capability& capability : kCapabilities) {
    std::string name = capability.name;
    name.resize(16, ' ');
    list += name + capability.description + '\n';
  }
  list +=
      "setaf N         the colour of that number, 0 to 255\n"
      "setab N         the same, behind the word\n"
      "COLOUR          one of";
  for (const char* const colour : kColours) list += ' ' + std::string(colour);
  list +=
      "\nCOLOUR/COLOUR   the word's, and behind it\n"
      "/COLOUR         behind the word alone\n";
  return list;
}

}  // namespace say
