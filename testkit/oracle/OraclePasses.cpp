// SPDX-License-Identifier: Apache-2.0
#include "OraclePasses.h"

#include <cmath>
#include <locale>
#include <sstream>

namespace oracle {

namespace {

bool isBlank(char byte) {
  return std::string(" \t\n\v\f\r").find(byte) != std::string::npos;
}

Token ssmlToken(const std::string& ssml, int start) {
  Token token;
  token.ssml = ssml;
  token.hasSsml = true;
  token.start = start;
  return token;
}

// Closes the last region of an on/off or prosody pass if no command follows.
void closeAtEnd(TokenList& tokens, const std::string& closeTag) {
  tokens.insert(tokens.size() + 1, ssmlToken(closeTag, static_cast<int>(tokens.base().size())));
}

struct WordEnd {
  int position;
  int command;
};

// Skips the run of commands that begins at `index`; then finds the end of the first word after it.
WordEnd endOfFirstWordAfter(const TokenList& tokens, int index) {
  const std::string text = tokens.base();
  int k = index;
  int end = 0;
  std::uint32_t between = 0;
  do {
    end = tokens.at(k).start + tokens.at(k).size;
    const int next = nextCommand(tokens, k + 1);
    // If no command follows, `next` is the first token; it starts before `end`, so the distance
    // wraps to a large number and the run ends.
    between = static_cast<std::uint32_t>(tokens.at(next).start) - static_cast<std::uint32_t>(end);
    k = next;
  } while (k < tokens.size() && between < 2);

  const int length = static_cast<int>(text.size());
  int p = end;
  while (p < length) {
    const std::size_t here = static_cast<std::size_t>(p);
    const bool blankFollows = here + 1 < text.size() && isBlank(text[here + 1]);
    if (!isBlank(text[here]) && blankFollows) return WordEnd{p + 1, k};
    // Rationale: before a command the word loses its last character.
    if (text.substr(here + 1, 2) == "[[") {
      // In UTF-8, bytes 10xxxxxx continue a character.
      while (tokens.isUtf8() && p > end &&
             (static_cast<unsigned char>(text[static_cast<std::size_t>(p)]) & 0xC0) == 0x80) {
        p = p - 1;
      }
      return WordEnd{p, k};
    }
    p = p + 1;
  }
  return WordEnd{length, k};
}

}  // namespace

void convertEmphasisTags(TokenList& tokens) {
  int i = 0;
  while (i < tokens.size()) {
    if (tokens.at(i).kind != Kind::EmphasisOn) {
      i = i + 1;
      continue;
    }
    // Rationale: the search starts after the next token, not after the command itself.
    const WordEnd word = endOfFirstWordAfter(tokens, i + 1);
    if (i > word.command) {
      i = i + 1;
      continue;
    }
    insertAfter(tokens, i, "<emphasis strength='strong'>");
    tokens.insert(word.command, ssmlToken("</emphasis>", word.position));
    i = word.command == i ? i + 2 : word.command;
  }
}

namespace {

// A region ends at every command and is opened again after it, until the off command or a reset.
void convertBinaryCommands(TokenList& tokens, Kind on, Kind off, const std::string& openTag,
                           const std::string& closeTag) {
  for (int i = 0; i < tokens.size(); i = i + 1) {
    if (tokens.at(i).kind != on) continue;
    bool inside = true;
    while (inside) {
      insertAfter(tokens, i, openTag);
      const int next = nextCommand(tokens, i + 1);
      if (next == kNoCommand) {
        closeAtEnd(tokens, closeTag);
        return;
      }
      insertBefore(tokens, next, closeTag);
      i = next + 1;
      inside = tokens.at(i).kind != off && tokens.at(i).kind != Kind::Reset;
    }
  }
}

// Inserts after every token of a kind the markup for its argument.
void convertEvents(TokenList& tokens, Kind kind, std::string (*markup)(const std::string&)) {
  for (int i = 0; i < tokens.size(); i = i + 1) {
    if (tokens.at(i).kind == kind) insertAfter(tokens, i, markup(tokens.at(i).argument(0)));
  }
}

std::string silenceMarkup(const std::string& argument) {
  return "<break time='" + argument + "ms'/>";
}

std::string syncMarkup(const std::string& argument) {
  std::istringstream in(argument);
  in.imbue(std::locale::classic());
  std::int32_t number = 0;
  in >> number;
  // Rationale: the value is in the upper half of the mark's number.
  number = static_cast<std::int32_t>(static_cast<std::uint32_t>(number) << 16);
  std::ostringstream out;
  out.imbue(std::locale::classic());
  out << number;
  return "<mark name='" + out.str() + "'/>";
}

double volumeUnits(double volume) {
  return volume * 100.0;
}
double rateUnits(double rate) {
  return rate;
}
double midiToHz(double note) {
  return std::pow(1.05946309435, note - 60.0) * 261.625;
}

// As convertBinaryCommands, with a running value that relative arguments change.
void convertProsodyTags(TokenList& tokens, Kind kind, const std::string& attribute,
                        const std::string& units, double (*convertUnits)(double),
                        double startValue) {
  double accumulated = startValue;
  int i = 0;
  bool stop = false;
  while (i < tokens.size() && !stop) {
    if (tokens.at(i).kind != kind) {
      i = i + 1;
      continue;
    }

    const Token command = tokens.at(i);
    const std::string direction = command.argument(0);
    if (direction == "-") {
      accumulated = accumulated - readNumber(command.argument(1));
    } else if (direction == "+") {
      accumulated = accumulated + readNumber(command.argument(1));
    } else {
      accumulated = readNumber(command.argument(0));
    }
    std::string openTag = "<prosody " + attribute;
    openTag += "='" + numberText(convertUnits(accumulated)) + units + "'>";

    bool inside = true;
    while (inside) {
      insertAfter(tokens, i, openTag);
      const int next = nextCommand(tokens, i + 1);
      if (next == kNoCommand) {
        closeAtEnd(tokens, "</prosody>");
        return;
      }
      insertBefore(tokens, next, "</prosody>");
      if (next == i + 1) stop = true;
      i = next + 1;
      inside = tokens.at(i).kind != kind && tokens.at(i).kind != Kind::Reset;
    }
    // Rationale: a reset sets the running value to zero, not back to the starting value.
    if (tokens.at(i).kind == Kind::Reset) accumulated = 0.0;
  }
}

}  // namespace

// Extends a tune command over the text and markup up to the next command, if that command ends it.
void ignoreTunePhonesTags(TokenList& tokens) {
  for (int i = 0; i < tokens.size(); i = i + 1) {
    if (tokens.at(i).kind != Kind::Tune) continue;
    const int next = nextCommand(tokens, i + 1);
    if (next == kNoCommand) continue;
    const Kind following = tokens.at(next).kind;
    if (following != Kind::Text && following != Kind::Phonemes && following != Kind::Reset) {
      continue;
    }
    Token tune = tokens.at(i);
    tune.size = tokens.at(next).start - tokens.at(i).start;
    for (int between = i + 1; between <= next - 1; ++between) {
      tune.size += static_cast<int>(tokens.at(between).ssml.size());
    }
    tune.ssml = "";
    tune.hasSsml = true;
    tokens.replace(i, tune);
  }
}

namespace {

bool endsSkippedContext(Kind kind, Kind context) {
  return kind == context || kind == Kind::TextSkip || kind == Kind::WordSkip ||
         kind == Kind::NormalContext || kind == Kind::Reset;
}

}  // namespace

// Inserts a token without replacement that covers the skipped text.
void ignoreContextTags(TokenList& tokens, Kind context) {
  const Kind skip = context == Kind::WordContext ? Kind::WordSkip : Kind::TextSkip;
  for (int i = 0; i < tokens.size(); i = i + 1) {
    if (tokens.at(i).kind != skip) continue;

    int next = nextCommand(tokens, i + 1);
    while (next != kNoCommand && !endsSkippedContext(tokens.at(next).kind, context)) {
      next = nextCommand(tokens, next + 1);
    }
    const bool toTheEnd = next == kNoCommand;
    const int end = toTheEnd ? static_cast<int>(tokens.base().size()) : tokens.at(next).start;
    const int beyond = toTheEnd ? tokens.size() : next;

    Token ignored;
    ignored.start = tokens.at(i).start + tokens.at(i).size;
    ignored.size = end - ignored.start;
    ignored.kind = Kind::Comment;
    ignored.ssml = "";
    ignored.hasSsml = true;

    int slot = 0;
    for (int j = i; j <= beyond - 1 && slot == 0; ++j) {
      if (tokens.at(j).start > ignored.start) slot = j;
    }
    // The list cannot move a token to its end. If all tokens start earlier, append it.
    if (slot == 0 && toTheEnd) {
      bool allEarlier = true;
      for (int j = 0; j < tokens.size(); ++j) {
        if (tokens.at(j).start >= ignored.start) allEarlier = false;
      }
      if (allEarlier) slot = tokens.size() + 1;
    }
    const int handled = tokens.at(i).number;
    tokens.insert(slot, ignored);
    // In an unordered list the new token can be inserted before the command. Skip the command then:
    // no pass handles a command twice.
    if (tokens.at(i).number != handled) i = i + 1;
  }
}

std::string numberText(double value) {
  std::ostringstream out;
  out.imbue(std::locale::classic());
  out << value;
  return out.str();
}

double readNumber(const std::string& text) {
  std::istringstream in(text);
  in.imbue(std::locale::classic());
  double value = 0.0;
  in >> value;
  return value;
}

int nextCommand(const TokenList& tokens, int from) {
  for (int i = from; i < tokens.size(); ++i) {
    if (tokens.at(i).kind != Kind::Unknown) return i;
  }
  return kNoCommand;
}

void insertBefore(TokenList& tokens, int index, const std::string& ssml) {
  tokens.insert(index, ssmlToken(ssml, tokens.at(index).start));
}

void insertAfter(TokenList& tokens, int index, const std::string& ssml) {
  tokens.insert(index + 1, ssmlToken(ssml, tokens.at(index).start + tokens.at(index).size));
}

void convertCharTags(TokenList& tokens) {
  convertBinaryCommands(tokens, Kind::CharSpellout, Kind::CharNormal, "<say-as type='spell-out'>",
                        "</say-as>");
}

void convertNmbrTags(TokenList& tokens) {
  convertBinaryCommands(tokens, Kind::NumberSpellout, Kind::NumberNormal,
                        "<say-as interpret-as='digits'>", "</say-as>");
}

void convertSilenceTags(TokenList& tokens) {
  convertEvents(tokens, Kind::Silence, silenceMarkup);
}

void convertSyncTags(TokenList& tokens) {
  convertEvents(tokens, Kind::Sync, syncMarkup);
}

void convertVolumeTags(TokenList& tokens) {
  convertProsodyTags(tokens, Kind::Volume, "volume", "", volumeUnits, 1.0);
}

void convertRateTags(TokenList& tokens) {
  convertProsodyTags(tokens, Kind::Rate, "rate", "", rateUnits, 180.0);
}

void convertPitchBaseTags(TokenList& tokens, long pitchBase) {
  convertProsodyTags(tokens, Kind::Pitch, "pitch", "Hz", midiToHz, static_cast<double>(pitchBase));
}

void convertPitchRangeTags(TokenList& tokens, long pitchRange) {
  convertProsodyTags(tokens, Kind::PitchRange, "range", "Hz", midiToHz,
                     static_cast<double>(pitchRange));
}

// The order is fixed: it decides how elements nest.
void runPasses(TokenList& tokens, const Settings& settings) {
  convertEmphasisTags(tokens);
  convertCharTags(tokens);
  convertNmbrTags(tokens);
  convertSilenceTags(tokens);
  convertSyncTags(tokens);
  convertVolumeTags(tokens);
  convertRateTags(tokens);
  convertPitchBaseTags(tokens, settings.pitchBase);
  convertPitchRangeTags(tokens, settings.pitchRange);
  ignoreTunePhonesTags(tokens);
  ignoreContextTags(tokens, Kind::WordContext);
  ignoreContextTags(tokens, Kind::TextContext);
  convertPhoneTags(tokens);
}

}  // namespace oracle
