// SPDX-License-Identifier: Apache-2.0
#include "Arguments.h"

#include <cstdio>
#include <vector>

#include <CLI/CLI.hpp>

#include "Failure.h"

namespace say {
namespace {

constexpr const char* kFooter =
    "Without TEXT and -f the text is read from standard input. Behind \"--\" everything is text.\n"
    "\n"
    "With --events there is one JSON object a line, as things happen:\n"
    "  {\"event\":\"word\",\"position\":P,\"length\":N,\"text\":\"...\"}   a word begins\n"
    "  {\"event\":\"phoneme\",\"code\":C}                              a phoneme begins\n"
    "  {\"event\":\"sync\",\"number\":N}                               [[sync N]] is reached\n"
    "  {\"event\":\"done\"}                                          the speech is over\n"
    "Positions and lengths count bytes of the text as it was given. N is the number's lower\n"
    "16 bits, without sign.\n"
    "\n"
    "Exit status: 0 success, 1 failure, 2 wrong usage.";

// Takes the words of the text by itself: the library would take a word apart that begins and ends
// with a bracket, as speech commands do.
class CommandLine : public CLI::App {
 public:
  using CLI::App::App;

  // The words of the text, in order. Throws what stands there in place of an option.
  std::vector<std::string> words() const {
    std::vector<std::string> found;
    for (const auto& [kind, word] : missing_) {
      if (kind == CLI::detail::Classifier::POSITIONAL_MARK) continue;
      if (kind != CLI::detail::Classifier::NONE) {
        throw CLI::ExtrasError("there is no option " + word, CLI::ExitCodes::ExtrasError);
      }
      found.push_back(word);
    }
    return found;
  }
};

std::string joined(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) {
    if (&word != &words.front()) text += ' ';
    text += word;
  }
  return text;
}

int reportUsage(const CLI::ParseError& error) {
  std::fprintf(stderr, "kavrel-say: %s; kavrel-say --help tells more\n", error.what());
  return tool::kUsage;
}

void declareOptions(CLI::App& app, Arguments& result) {
  app.footer(kFooter);
  app.add_option("-v,--voice", result.voice, "Speak with this voice; ? lists the voices")
      ->type_name("VOICE");
  app.add_option("-r,--rate", result.rate, "Speak this many words per minute")
      ->type_name("WPM")
      ->check(CLI::Range(kSlowestRate, kFastestRate));
  app.add_option("-o,--output-file", result.outputFile, "Write the speech to this AIFF file")
      ->type_name("FILE.aiff");
  app.add_option("-f,--input-file", result.inputFile, "Speak this file; - is standard input")
      ->type_name("FILE");
  app.add_flag("--events", result.events, "Write what happens to standard output");
  // For the help alone: it takes no word.
  app.add_option("TEXT", "What to speak, embedded speech commands included")
      ->expected(0, 1)
      ->allow_extra_args(false);
  app.allow_extras();
}

}  // namespace

std::variant<Arguments, int> readArguments(int count, char** arguments) {
  Arguments result;
  CommandLine app("Speaks text, or writes the speech to a file.", "kavrel-say");
  declareOptions(app, result);
  try {
    app.parse(count, arguments);
    const std::vector<std::string> words = app.words();
    if (!words.empty()) result.text = joined(words);
    if (result.text && result.inputFile) throw CLI::ExcludesError("-f", "TEXT");
  } catch (const CLI::Success& help) {
    return app.exit(help);
  } catch (const CLI::ParseError& error) {
    return reportUsage(error);
  }
  result.listVoices = result.voice == "?";
  return result;
}

}  // namespace say
