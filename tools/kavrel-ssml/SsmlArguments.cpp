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
    "Settings are those of a speech channel. If at least one is given, commands for all of them\n"
    "are inserted before the text. Without settings, only the text is converted.\n"
    "\n"
    "With --json, one JSON object is written:\n"
    "  {\"converted\":\"...\",\"error\":null,\"caller_positions\":[...]}\n"
    "caller_positions has one number for each byte of the UTF-8 text in \"converted\": the\n"
    "position in FILE of the byte that it came from. Markup has the position of the text after\n"
    "it. --explain adds \"commands\" and \"adaptations\" to the object.\n"
    "\n"
    "Exit status: 0 success, 1 failure, 2 usage error.";

// CLI11 validators: return the error message, empty for a valid argument. The library's own number
// check accepts "nan" and "inf".
std::string checkFinite(const std::string& text) {
  double value = 0;
  const bool isNumber = CLI::detail::lexical_cast(text, value) && std::isfinite(value);
  return isNumber ? std::string() : text + " is not a number";
}

// Accepts only the characters of language tags: the tag is written into an XML attribute.
std::string checkLanguage(const std::string& text) {
  const bool valid = !text.empty() && text.front() != '-' && text.back() != '-' &&
                     text.find_first_not_of(
                         "ABCDEFGHIJKLMNOPQRSTUVWXYZ"
                         "abcdefghijklmnopqrstuvwxyz0123456789-") == std::string::npos;
  return valid ? std::string() : text + " is not a language tag";
}

// The settings of a channel. Defaults in the descriptions are those of SpeechMgrEnv.
void declareSettings(CLI::App& app, SpeechMgrEnv& settings) {
  const char* const group = "Settings";
  app.add_option("--rate", settings.wpm, "Words per minute (default: 180)")
      ->type_name("N")
      ->check(checkFinite)
      ->group(group);
  app.add_option("--volume", settings.volume, "Percent of full volume (default: 100)")
      ->type_name("PERCENT")
      ->check(checkFinite)
      ->group(group);
  app.add_option("--pitch-base", settings.pitchBase,
                 "Base pitch as a note number, 60 is middle C (default: 0)")
      ->type_name("N")
      ->group(group);
  app.add_option("--voice-pitch", settings.pitchAssumedBase,
                 "Pitch of the voice as a note number (default: 0)")
      ->type_name("N")
      ->group(group);
  app.add_flag("--phonemes", settings.speakPhones, "Read the text as phonemes")->group(group);
  app.add_flag("--spell", settings.spellOut, "Spell every character")->group(group);
  app.add_flag("--digits", settings.sayDigits, "Speak numbers digit by digit")->group(group);
}

// All options except the settings.
void declareOptions(CLI::App& app, SsmlArguments& result) {
  static const std::map<std::string, Encoding> kEncodings = {
      {"utf-8", Encoding::Utf8}, {"macroman", Encoding::MacRoman}, {"latin9", Encoding::Latin9}};
  app.add_flag_callback(
      "--plain", [&result] { result.conversion.output = AppleMarkupConverter::PLAINTEXT; },
      "Remove the commands and write no markup");
  app.add_flag("--document", result.document,
               "Write an SSML 1.1 document for other speech systems");
  app.add_option("--lang", result.language, "Language of the document (default: en-US)")
      ->type_name("TAG")
      ->check(checkLanguage)
      ->needs("--document");
  app.add_option("--from", result.encoding, "Encoding of FILE (default: utf-8)")
      ->type_name("utf-8|macroman|latin9")
      ->transform(CLI::CheckedTransformer(kEncodings).description(""));
  app.add_flag("--json", result.json, "Write JSON, with positions");
  app.add_flag("--adapt", result.adapt, "Convert the text as the Manager adapts it");
  app.add_flag("--explain", result.explain,
               "Write the effect of each command, and what the Manager adapts");
  app.add_option("FILE", result.file,
                 "Text with embedded commands (default, and for -: standard input)")
      ->type_name("");
}

int reportUsage(const CLI::ParseError& error) {
  std::fprintf(stderr, "kavrel-ssml: %s; see kavrel-ssml --help\n", error.what());
  return tool::kUsage;
}

}  // namespace

// CLI11 cannot express "any option of this group excludes --no-settings", so the options are
// checked after parsing.
std::variant<SsmlArguments, int> readArguments(int count, char** arguments) {
  SsmlArguments result;
  SpeechMgrEnv settings;
  CLI::App app("Writes text with embedded speech commands as SSML.", "kavrel-ssml");
  app.footer(kFooter);
  app.set_version_flag("--version", std::string("kavrel-ssml " KAVREL_VERSION));
  declareOptions(app, result);
  declareSettings(app, settings);
  bool noSettings = false;
  CLI::Option* const none =
      app.add_flag("--no-settings", noSettings, "Use no settings (default)")->group("Settings");
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
