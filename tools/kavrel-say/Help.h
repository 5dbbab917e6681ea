// SPDX-License-Identifier: Apache-2.0
//
// Help: the text that --help writes. Lines are at most 79 columns.
#pragma once

namespace say {

inline constexpr const char* kHelp = R"(Speaks text, or writes the speech to a file.

Usage: kavrel-say [OPTION...] [--] [TEXT...]

Without TEXT and -f, the text is read from standard input; lines typed on a
terminal are spoken one by one. All arguments after "--" are text.

Speech
  -v, --voice VOICE          speak with this voice: its name, locale or language;
                             ? lists the voices
  -r, --rate WPM             speak this many words per minute, 20 to 1000
      --one-voice            speak the whole text with this voice; without it,
                             words in a script that the language of the voice
                             does not write may get another voice
  -f, --input-file FILE      speak this file; - is standard input
      --plain                ignore speech commands in the text
      --strict               do not adapt speech commands that are not exact; a
                             text with unknown phonemes is refused
  -a, --audio-device DEVICE  use this sound device; ? lists the devices

Files
  -o, --output-file FILE     write the speech to this file; - is standard
                             output. The file extension selects the format
                             (no extension: AIFF)
      --file-format FORMAT   use this file format; ? lists the formats
      --data-format FORMAT   use this sample format and rate, as in LEI16 or
                             LEI16@44100; ? lists the formats
      --vtt FILE             write captions to this file in WebVTT format
      --srt FILE             write captions to this file in SubRip format

Display
  -i, --interactive[=MARKUP] write the text and highlight the current word with
                             this markup; ? lists the values
      --progress             show a progress bar and the time left (needs a
                             terminal)
      --events               write events as JSON, one object per line
      --positions UNIT       unit of positions in events: bytes (default),
                             characters
      --ssml                 write the markup that the engine receives; do not
                             speak
  -q, --quiet                write errors only, no notes, to standard error

  -h, --help                 write this help
      --version              write the version

Events
  {"event":"word","position":P,"length":N,"text":"...","time":T}
                                              a word begins
  {"event":"phoneme","code":C,"time":T}         a phoneme begins
  {"event":"sync","number":N,"time":T}          [[sync N]] is reached
  {"event":"done","time":T}                     the speech has ended

Positions and lengths count bytes, or characters, of the input text. N of a
sync event is the 32-bit value that the text has for the mark, unsigned; with
--strict the lower 16 bits of a decimal number. T is the time in seconds from
the start of the audio.

Exit status: 0 success, 1 failure, 2 usage error, 128 + N ended by signal N.
)";

}  // namespace say
