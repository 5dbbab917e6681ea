// SPDX-License-Identifier: Apache-2.0
#include "SsmlArguments.h"

#include <cmath>
#include <cstdio>
#include <map>

#include <CLI/CLI.hpp>

#include "Failure.h"

namespace ssml {
namespace {

constexpr const char* kFooter =
    "Settings are those of a channel: one of them is enough for commands in front of the text "
    "that\n"
    "stand for all of them. Without any, the text is converted by itself.\n"
    "\n"
    "With --json there is one JSON object:\n"
    "  {\"converted\":\"...\",\"error\":null,\"caller_positions\":[...]}\n"
    "where caller_positions has, for each byte of the UTF-8 of \"converted\", the byte of FILE "
    "that\n"
    "it came from; for markup, that of the text behind it. With --explain it has \"commands\", "
    "too.\n"
    "\n"
    "Exit status: 0 success, 1 failure, 2 wrong usage.";

std::string checkFinite(const std::string& text) {
  double value = 0;
  const bool isNumber = CLI::detail::lexical_cast(text, value) && std::isfinite(value);
  return isNumber ? std::string() : text + " is not a number";
}

std::string checkLanguage(const std::string& text) {
  const bool valid = !text.empty() && text.front() != '-' && text.back() != '-' &&
                     text.find_first_not_of(
                         "ABCDEFGHIJKLMNOPQRSTUVWXYZ"
                         "abcdefghijklmnopqrstuvwxyz0123456789-") == std::string::npos;
  return valid ? std::string() : text + " is no language tag";
}

void declareSettings(CLI::App& app, SpeechMgrEnv& settings) {
  const char* const group = "Settings";
  app.add_option("--rate", settings.wpm, "Words per minute, else 180")
      ->type_name("N")
      ->check(checkFinite)
      ->group(group);
  app.add_option("--volume", settings.volume, "Percent of full volume, else 100")
      ->type_name("PERCENT")
      ->check(checkFinite)
      ->group(group);
  app.add_option("--pitch-base", settings.pitchBase, "Base pitch as a note, 60 is middle C; else 0")
      ->type_name("N")
      ->group(group);
  app.add_option("--voice-pitch", settings.pitchAssumedBase, "The voice's own pitch; else 0")
      ->type_name("N")
      ->group(group);
  app.add_flag("--phonemes", settings.speakPhones, "The text is phonemes")->group(group);
  app.add_flag("--spell", settings.spellOut, "Spell every character")->group(group);
  app.add_flag("--digits", settings.sayDigits, "Say numbers digit by digit")->group(group);
}

void declareOptions(CLI::App& app, Arguments& result) {
  static const std::map<std::string, Encoding> kEncodings = {
      {"utf-8", Encoding::Utf8}, {"macroman", Encoding::MacRoman}, {"latin9", Encoding::Latin9}};
  app.add_flag_callback(
      "--plain", [&result] { result.conversion.output = AppleMarkupConverter::PLAINTEXT; },
      "Leave the commands out, and write no markup");
  app.add_flag("--document", result.document, "Write an SSML 1.1 document for any speech system");
  app.add_option("--lang", result.language, "Language of the document, else en-US")
      ->type_name("TAG")
      ->check(checkLanguage)
      ->needs("--document");
  app.add_option("--from", result.encoding, "Encoding of FILE, else utf-8")
      ->type_name("utf-8|macroman|latin9")
      ->transform(CLI::CheckedTransformer(kEncodings).description(""));
  app.add_flag("--json", result.json, "Write JSON, with positions");
  app.add_flag("--explain", result.explain, "Write what becomes of every command");
  app.add_option("FILE", result.file,
                 "Text with embedded commands; else, and for -, standard input")
      ->type_name("");
}

int reportUsage(const CLI::ParseError& error) {
  std::fprintf(stderr, "kavrel-ssml: %s; kavrel-ssml --help tells more\n", error.what());
  return tool::kUsage;
}

}  // namespace

std::variant<Arguments, int> readArguments(int count, char** arguments) {
  Arguments result;
  SpeechMgrEnv settings;
  CLI::App app("Writes text with embedded speech commands as SSML.", "kavrel-ssml");
  app.footer(kFooter);
  app.set_version_flag("--version", std::string("kavrel-ssml " KAVREL_VERSION));
  declareOptions(app, result);
  declareSettings(app, settings);
  bool noSettings = false;
  CLI::Option* const none =
      app.add_flag("--no-settings", noSettings, "No settings, which is what is done without any")
          ->group("Settings");
  const auto isSetting = [none](const CLI::Option* option) {
    return option != none && option->get_group() == "Settings";
  };
  bool anySetting = false;
  try {
    app.parse(count, arguments);
    for (const CLI::Option* option : app.get_options()) {
      if (!isSetting(option) || option->count() == 0) continue;
      anySetting = true;
      if (none->count() > 0) throw CLI::ExcludesError("--no-settings", option->get_name());
    }
  } catch (const CLI::Success& help) {
    return app.exit(help);
  } catch (const CLI::ParseError& error) {
    return reportUsage(error);
  }
  if (anySetting) result.conversion.settings = settings;
  return result;
}

}  // namespace ssml
