// SPDX-License-Identifier: Apache-2.0
//
// kavrel-ssml: shows what the engine is given for a text with embedded speech commands, and writes
// such texts as SSML for other speech systems.
#include <cstdio>
#include <optional>
#include <variant>

#include <nlohmann/json.hpp>

#include "Failure.h"
#include "Guard.h"
#include "InputText.h"
#include "SsmlArguments.h"
#include "StandardOutput.h"
#include "document/Document.h"
#include "explanation/Explanation.h"
#include "text/CallerText.h"
#include "text/Conversion.h"

namespace ssml {
namespace {

using Json = nlohmann::ordered_json;
using Commands = std::vector<ExplainedCommand>;

Json jsonOf(const Commands& commands) {
  Json list = Json::array();
  for (const ExplainedCommand& command : commands) {
    list.push_back({{"position", command.place.position},
                    {"length", command.length},
                    {"line", command.place.line},
                    {"column", command.place.column},
                    {"text", command.text},
                    {"kind", command.kind},
                    {"result", command.result}});
  }
  return list;
}

Json jsonOf(const base::OriginText& converted) {
  return {{"converted", converted.text()},
          {"error", nullptr},
          {"caller_positions", converted.origins()}};
}

Json jsonOf(const Fault& fault, const Place& place) {
  return {
      {"converted", nullptr},     {"error", fault.kind},        {"caller_positions", Json::array()},
      {"message", fault.message}, {"position", place.position}, {"line", place.line},
      {"column", place.column}};
}

void writeLine(const std::string& text) {
  tool::writeOut(text.ends_with('\n') ? text : text + '\n');
}

int report(const std::string& file, const Fault& fault, const Place& place) {
  std::fprintf(stderr, "kavrel-ssml: %s:%zu:%zu: %s (byte %zu)\n",
               file == "-" ? "standard input" : file.c_str(), place.line, place.column,
               fault.message.c_str(), place.position);
  return tool::kFailure;
}

int run(const Arguments& arguments) {
  const CallerText text(tool::readInput(arguments.file), arguments.encoding);
  auto result = convert(text, arguments.conversion);
  if (auto* const converted = std::get_if<base::OriginText>(&result);
      converted && arguments.document) {
    *converted = documentOf(*converted, arguments.language,
                            static_cast<base::OriginText::Position>(text.size()));
  }
  const base::OriginText* const converted = std::get_if<base::OriginText>(&result);
  const Fault* const fault = std::get_if<Fault>(&result);
  const Place place = text.placeOf(fault != nullptr ? fault->position : 0);

  Commands commands;
  if (arguments.explain) commands = explain(text, arguments.conversion);
  if (arguments.json) {
    Json json = converted != nullptr ? jsonOf(*converted) : jsonOf(*fault, place);
    if (arguments.explain) json["commands"] = jsonOf(commands);
    writeLine(json.dump());
  } else if (arguments.explain) {
    tool::writeOut(tableOf(commands));
  } else if (converted != nullptr) {
    writeLine(converted->text());
  }
  return fault != nullptr ? report(arguments.file, *fault, place) : tool::kSuccess;
}

int runWith(int count, char** arguments) {
  const auto asked = readArguments(count, arguments);
  if (const int* const status = std::get_if<int>(&asked)) return *status;
  return run(std::get<Arguments>(asked));
}

}  // namespace
}  // namespace ssml

int main(int count, char** arguments) {
  return tool::guarded("kavrel-ssml", [&] { return ssml::runWith(count, arguments); });
}
