// SPDX-License-Identifier: Apache-2.0
#include "SayArguments.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <stdexcept>
#include <vector>

#include <CLI/CLI.hpp>

#include "Failure.h"
#include "Help.h"

namespace say {
namespace {

// CLI11 would split a positional word in brackets, as in "[[rate 200]]", into a list. So the words
// of the text are taken from the unparsed arguments.
class CommandLine : public CLI::App {
 public:
  using CLI::App::App;

  // Returns the words of the text, in order. Throws CLI::ExtrasError for an unknown option.
  std::vector<std::string> words() const {
    std::vector<std::string> found;
    for (const auto& [kind, word] : missing_) {
      if (kind == CLI::detail::Classifier::POSITIONAL_MARK) continue;
      if (kind != CLI::detail::Classifier::NONE) {
        throw CLI::ExtrasError("unknown option " + word, CLI::ExitCodes::ExtrasError);
      }
      found.push_back(word);
    }
    return found;
  }
};

// Joins the words with blanks, as echo does.
std::string joinWords(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) {
    if (&word != &words.front()) text += ' ';
    text += word;
  }
  return text;
}

int reportUsage(const std::string& what) {
  std::fprintf(stderr, "kavrel-say: %s\n", what.c_str());
  return tool::kUsage;
}

PositionUnit parsePositionUnit(const std::string& name) {
  if (name == "bytes") return PositionUnit::Bytes;
  if (name == "characters") return PositionUnit::Characters;
  throw std::invalid_argument("unknown unit \"" + name +
                              "\" for --positions; use bytes or characters");
}

// Help.h holds the help text; the library's own would lack the events and lists.
void declareOptions(CLI::App& app, SayArguments& result, std::string& markup) {
  app.formatter_fn([](auto&&...) { return kHelp; });
  app.set_version_flag("--version", std::string("kavrel-say " KAVREL_VERSION));
  app.add_option("-v,--voice", result.voice);
  app.add_option("-r,--rate", result.rate)->check(CLI::Range(kSlowestRate, kFastestRate));
  app.add_option("-f,--input-file", result.inputFile);
  app.add_flag("--plain", result.plain);
  app.add_flag("--strict", result.strict);
  app.add_flag("--one-voice", result.oneVoice);
  app.add_option("-a,--audio-device", result.device);
  app.add_option("-o,--output-file", result.outputFile);
  app.add_option("--file-format", result.fileFormat);
  app.add_option("--data-format", result.dataFormat);
  app.add_option("--vtt", result.vttFile);
  app.add_option("--srt", result.srtFile);
  // The value in braces is the default of an option without argument: -i is --interactive=smso. The
  // library takes a value only after "=", so that the next word is text.
  const std::string usual = "{" + std::string(kUsualHighlight) + "}";
  app.add_flag("-i" + usual + ",--interactive" + usual, markup);
  app.add_flag("--progress", result.progress);
  app.add_flag("--events", result.events);
  app.add_option("--positions")->each([&result](const std::string& name) {
    result.positions = parsePositionUnit(name);
  });
  app.add_flag("--ssml", result.ssml);
  app.add_flag("-q,--quiet", result.quiet);
  app.allow_extras();  // the words of the text
}

List requestedList(const SayArguments& arguments, const std::string& markup) {
  if (arguments.voice == "?") return List::Voices;
  if (arguments.device == "?") return List::Devices;
  if (arguments.fileFormat == "?") return List::FileFormats;
  if (arguments.dataFormat == "?") return List::DataFormats;
  if (markup == "?") return List::Highlights;
  return List::None;
}

// Throws std::invalid_argument if more than one output goes to standard output: the outputs would
// be mixed.
void requireOneStandardOutput(const SayArguments& arguments) {
  const auto isStandard = [](const auto& file) { return file == kStandardStream; };
  const struct {
    const char* option;
    bool writes;
  } kOptions[] = {{"--events", arguments.events},
                  {"--interactive", arguments.interactive.has_value()},
                  {"--ssml", arguments.ssml},
                  {"-o -", isStandard(arguments.outputFile)},
                  {"--vtt -", isStandard(arguments.vttFile)},
                  {"--srt -", isStandard(arguments.srtFile)}};
  const char* first = nullptr;
  for (const auto& [option, writes] : kOptions) {
    if (!writes) continue;
    if (first != nullptr) {
      throw std::invalid_argument(std::string(first) + " and " + option +
                                  " both write to standard output; use only one");
    }
    first = option;
  }
}

// Throws std::invalid_argument if two outputs have the same name. Different names of one file are
// not detected.
void requireDifferentFiles(const SayArguments& arguments) {
  const std::optional<std::string>* const files[] = {&arguments.outputFile, &arguments.vttFile,
                                                     &arguments.srtFile};
  for (const auto* one = std::begin(files); one != std::end(files); ++one) {
    const bool again = std::find_if(std::begin(files), one,
                                    [one](const auto* other) { return **other == **one; }) != one;
    if (**one && again) {
      throw std::invalid_argument("two outputs have the same file name: " + ***one);
    }
  }
}

// Checks the options against each other and derives the fields that depend on several. A requested
// list is written whatever the other options are, so it skips the checks.
void validate(SayArguments& result, const std::string& markup) {
  if (result.text && result.inputFile) {
    throw std::invalid_argument("both TEXT and -f are given; use only one");
  }
  result.list = requestedList(result, markup);
  if (result.list != List::None) return;
  // Only after the check for "?", which is not a name of a markup.
  if (!markup.empty()) result.interactive = highlightNamed(markup);
  if (!result.outputFile && (result.fileFormat || result.dataFormat)) {
    throw std::invalid_argument(std::string(result.fileFormat ? "--file-format" : "--data-format") +
                                " needs -o");
  }
  if (result.outputFile) {
    result.format = audioFormatOf(*result.outputFile, result.fileFormat, result.dataFormat);
  }
  requireOneStandardOutput(result);
  requireDifferentFiles(result);
}

}  // namespace

// The library throws CLI::Success for --help and --version, CLI::ParseError for wrong options; our
// own checks throw std::invalid_argument.
std::variant<SayArguments, int> readArguments(int count, char** arguments) {
  SayArguments result;
  std::string markup;
  CommandLine app("Speaks text, or writes the speech to a file.", "kavrel-say");
  declareOptions(app, result, markup);
  try {
    app.parse(count, arguments);
    const std::vector<std::string> words = app.words();
    if (!words.empty()) result.text = joinWords(words);
    validate(result, markup);
  } catch (const CLI::Success& help) {
    return app.exit(help);
  } catch (const CLI::ParseError& error) {
    return reportUsage(error.what() + std::string("; see kavrel-say --help"));
  } catch (const std::invalid_argument& error) {
    return reportUsage(error.what());
  }
  return result;
}

}  // namespace say
