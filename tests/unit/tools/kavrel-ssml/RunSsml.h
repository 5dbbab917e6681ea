// SPDX-License-Identifier: Apache-2.0
//
// Runs kavrel-ssml as a user does.
#pragma once

#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "programs/Program.h"

namespace ssmlprogram {

using Strings = std::vector<std::string>;

constexpr int kFailure = 1;
constexpr int kUsage = 2;

inline program::Result ssml(const Strings& arguments, const std::string& input = {}) {
  return program::run(KAVREL_SSML, arguments, input);
}

// The output for a valid text.
inline std::string outputOf(const Strings& arguments, const std::string& input) {
  const program::Result result = ssml(arguments, input);
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.err, "");
  return result.out;
}

inline nlohmann::json jsonOf(Strings arguments, const std::string& input) {
  arguments.emplace_back("--json");
  return nlohmann::json::parse(ssml(arguments, input).out);
}

// The content of the document's outermost element.
inline std::string bodyOf(const std::string& input, Strings arguments = {}) {
  arguments.emplace_back("--document");
  const std::string document = outputOf(arguments, input);
  const std::size_t start = document.find('>', document.find("<speak")) + 1;
  return document.substr(start, document.rfind("</speak>") - start);
}

}  // namespace ssmlprogram
