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

int reportUsage(const std::string& what) {
  std::fprintf(stderr, "kavrel-say: %s\n", what.c_str());
  return tool::kUsage;
}

Unit unitNamed(const std::string& name) {
  if (name == "bytes") return Unit::Bytes;
  if (name == "characters") return Unit::Characters;
  throw std::invalid_argument("positions count bytes or characters, not \"" + name + "\"");
}

void declareOptions(CLI::App& app, Arguments& result, std::string& markup) {
  app.formatter_fn([](auto&&...) { return kHelp; });
  app.set_version_flag("--version", std::string("kavrel-say " KAVREL_VERSION));
  app.add_option("-v,--voice", result.voice);
  app.add_option("-r,--rate", result.rate)->check(CLI::Range(kSlowestRate, kFastestRate));
  app.add_option("-f,--input-file", result.inputFile);
  app.add_flag("--plain", result.plain);
  app.add_option("-a,--audio-device", result.device);
  app.add_option("-o,--output-file", result.outputFile);
  app.add_option("--file-format", result.fileFormat);
  app.add_option("--data-format", result.dataFormat);
  app.add_option("--vtt", result.vttFile);
  app.add_option("--srt", result.srtFile);
  const std::string usual = "{" + std::string(kUsualHighlight) + "}";
  app.add_flag("-i" + usual + ",--interactive" + usual, markup);
  app.add_flag("--progress", result.progress);
  app.add_flag("--events", result.events);
  app.add_option("--positions")->each([&result](const std::string& name) {
    result.positions = unitNamed(name);
  });
  app.add_flag("--ssml", result.ssml);
  app.add_flag("-q,--quiet", result.quiet);
  app.allow_extras();
}

List listAskedFor(const Arguments& arguments, const std::string& markup) {
  if (arguments.voice == "?") return List::Voices;
  if (arguments.device == "?") return List::Devices;
  if (arguments.fileFormat == "?") return List::FileFormats;
  if (arguments.dataFormat == "?") return List::DataFormats;
  if (markup == "?") return List::Highlights;
  return List::None;
}

void requireOneStandardOutput(const Arguments& arguments) {
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
                                  " both write to standard output; leave one out");
    }
    first = option;
  }
}

void requireDifferentFiles(const Arguments& arguments) {
  const std::optional<std::string>* const files[] = {&arguments.outputFile, &arguments.vttFile,
                                                     &arguments.srtFile};
  for (const auto* one = std::begin(files); one != std::end(files); ++one) {
    const bool again = std::find_if(std::begin(files), one,
                                    [one](const auto* other) { return **other == **one; }) != one;
    if (**one && again) {
      throw std::invalid_argument("two outputs cannot both be the file " + ***one);
    }
  }
}

void complete(Arguments& result, const std::string& markup) {
  if (result.text && result.inputFile) {
    throw std::invalid_argument("there is a TEXT and a file with one; leave out -f or TEXT");
  }
  result.list = listAskedFor(result, markup);
  if (result.list != List::None) return;
  if (!markup.empty()) result.interactive = highlightNamed(markup);
  if (!result.outputFile && (result.fileFormat || result.dataFormat)) {
    throw std::invalid_argument("a format is that of a file; -o names it");
  }
  if (result.outputFile) {
    result.format = audioFormatOf(*result.outputFile, result.fileFormat, result.dataFormat);
  }
  requireOneStandardOutput(result);
  requireDifferentFiles(result);
}

}  // namespace

std::variant<Arguments, int> readArguments(int count, char** arguments) {
  Arguments result;
  std::string markup;
  CommandLine app("Speaks text, or writes the speech to a file.", "kavrel-say");
  declareOptions(app, result, markup);
  try {
    app.parse(count, arguments);
    const std::vector<std::string> words = app.words();
    if (!words.empty()) result.text = joined(words);
    complete(result, markup);
  } catch (const CLI::Success& help) {
    return app.exit(help);
  } catch (const CLI::ParseError& error) {
    return reportUsage(error.what() + std::string("; kavrel-say --help tells more"));
  } catch (const std::invalid_argument& error) {
    return reportUsage(error.what());
  }
  return result;
}

}  // namespace say
