// SPDX-License-Identifier: Apache-2.0
//
// Help: what --help writes.
#pragma once

namespace say {

inline constexpr const char* kHelp = R"(Speaks text, or writes the speech to a file.

Usage: kavrel-say [OPTION...] [--] [TEXT...]

Without TEXT and -f the text is read from standard input; what is typed on a
terminal is spoken line by line. Behind "--" everything is text.

Speech
  -v, --voice VOICE          speak with this voice; ? lists them
  -r, --rate WPM             speak this many words per minute, 20 to 1000
  -f, --input-file FILE      speak this file; - is standard input
      --plain                carry out no command that stands in the text
  -a, --audio-device DEVICE  speak on this sound device; ? lists them

Files
  -o, --output-file FILE     write the speech to this file, in the format that
                             its name ends with, else AIFF; - is standard output
      --file-format FORMAT   in this format, whatever its name; ? lists them
      --data-format FORMAT   with such samples, as LEI16 or LEI16@44100;
                             ? lists them
      --vtt FILE             write captions to this file, as WebVTT
      --srt FILE             write captions to this file, as SubRip

What is shown
  -i, --interactive[=MARKUP] write the text, the word being spoken in this
                             markup; ? lists them
      --progress             show a bar and the time left, on a terminal
      --events               write what happens as JSON, an object a line
      --positions UNIT       how events count places: bytes, characters
      --ssml                 write what the engine is given, do not speak
  -q, --quiet                write no notes to standard error, errors alone

  -h, --help                 write this
      --version              write the version

Events
  {"event":"word","position":P,"length":N,"text":"...","time":T}
                                              a word begins
  {"event":"phoneme","code":C,"time":T}         a phoneme begins
  {"event":"sync","number":N,"time":T}          [[sync N]] is reached
  {"event":"done","time":T}                     the speech is over

Positions and lengths count bytes of the text as it was given, or characters.
N of a mark is the number's lower 16 bits, without sign. T is the place in the
sound, in seconds from its beginning.

Exit status: 0 success, 1 failure, 2 wrong usage, 128 + N ended by signal N.
)";

}  // namespace say
