// SPDX-License-Identifier: Apache-2.0
//
// kavrel-ssml: shows the markup that the engine receives for a text with embedded speech commands,
// and converts such texts to SSML documents for other speech systems.
//
// Reads the whole text, converts it once, and writes the result, the explanation or both.
#include <cstdio>
#include <optional>
#include <variant>

#include <nlohmann/json.hpp>

#include "Failure.h"
#include "InputText.h"
#include "RunTool.h"
#include "SsmlArguments.h"
#include "StandardOutput.h"
#include "document/Document.h"
#include "explanation/Adaptations.h"
#include "explanation/Explanation.h"
#include "text/Conversion.h"
#include "text/SourceText.h"

namespace ssml {
namespace {

using Json = nlohmann::ordered_json;
using Commands = std::vector<ExplainedCommand>;

// The objects under "commands"; docs/ssml.md describes the format for users.
Json jsonOf(const Commands& commands) {
  Json list = Json::array();
  for (const ExplainedCommand& command : commands) {
    list.push_back({{"position", command.location.position},
                    {"length", command.length},
                    {"line", command.location.line},
                    {"column", command.location.column},
                    {"text", command.text},
                    {"kind", command.kind},
                    {"result", command.result}});
  }
  return list;
}

Json jsonOf(const std::vector<Adaptation>& adaptations) {
  Json list = Json::array();
  for (const Adaptation& part : adaptations) {
    list.push_back({{"position", part.location.position},
                    {"length", part.length},
                    {"line", part.location.line},
                    {"column", part.location.column},
                    {"text", part.text},
                    {"becomes", part.becomes},
                    {"note", part.note}});
  }
  return list;
}

Json jsonOf(const base::OriginText& converted) {
  return {{"converted", converted.text()},
          {"error", nullptr},
          {"caller_positions", converted.origins()}};
}

Json jsonOf(const Fault& fault, const SourceLocation& location) {
  return {{"converted", nullptr},
          {"error", fault.kind},
          {"caller_positions", Json::array()},
          {"message", fault.message},
          {"position", location.position},
          {"line", location.line},
          {"column", location.column}};
}

// Ends the output with exactly one line feed if the text has none.
void writeLine(const std::string& text) {
  tool::writeOut(text.ends_with('\n') ? text : text + '\n');
}

// Writes the fault to standard error as compilers do: file, line, column, message.
int report(const std::string& file, const Fault& fault, const SourceLocation& location) {
  std::fprintf(stderr, "kavrel-ssml: %s:%zu:%zu: %s (byte %zu)\n",
               file == "-" ? "standard input" : file.c_str(), location.line, location.column,
               fault.message.c_str(), location.position);
  return tool::kFailure;
}

// A fault is reported after the output: the explanation and the JSON object are written in any
// case, since they help to find it.
int run(const SsmlArguments& arguments) {
  const platform::TextSettings adaptation = adaptationFor(arguments.conversion);
  const SourceText text(tool::readInput(arguments.file), arguments.encoding,
                        arguments.adapt ? std::optional(adaptation) : std::nullopt);
  auto result = convert(text, arguments.conversion);
  if (auto* const converted = std::get_if<base::OriginText>(&result);
      converted && arguments.document) {
    *converted = documentOf(*converted, arguments.language,
                            static_cast<base::OriginText::Position>(text.size()));
  }
  const base::OriginText* const converted = std::get_if<base::OriginText>(&result);
  const Fault* const fault = std::get_if<Fault>(&result);
  // Computed once: it takes time in proportion to the text.
  const SourceLocation location = text.locationOf(fault != nullptr ? fault->position : 0);

  Commands commands;
  std::vector<Adaptation> adaptations;
  if (arguments.explain) {
    commands = explain(text, arguments.conversion);
    adaptations = findAdaptations(text, adaptation);
  }
  if (arguments.json) {
    Json json = converted != nullptr ? jsonOf(*converted) : jsonOf(*fault, location);
    if (arguments.explain) {
      json["commands"] = jsonOf(commands);
      json["adaptations"] = jsonOf(adaptations);
    }
    writeLine(json.dump());
  } else if (arguments.explain) {
    tool::writeOut(tableOf(commands));
    if (!adaptations.empty()) tool::writeOut("\n" + tableOf(adaptations));
  } else if (converted != nullptr) {
    writeLine(converted->text());
  }
  return fault != nullptr ? report(arguments.file, *fault, location) : tool::kSuccess;
}

int runWith(int count, char** arguments) {
  const auto asked = readArguments(count, arguments);
  if (const int* const status = std::get_if<int>(&asked)) return *status;
  return run(std::get<SsmlArguments>(asked));
}

}  // namespace
}  // namespace ssml

int main(int count, char** arguments) {
  return tool::runTool("kavrel-ssml", [&] { return ssml::runWith(count, arguments); });
}
