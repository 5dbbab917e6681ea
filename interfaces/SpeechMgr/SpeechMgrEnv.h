// SPDX-License-Identifier: Apache-2.0
//
// SpeechMgrEnv: the speech settings of a channel. Plain data, copied member by member.
#pragma once

struct SpeechMgrEnv {
  bool speakPhones = false;  // the text is phonemes, not words
  bool spellOut = false;     // spell every character
  bool sayDigits = false;    // read numbers digit by digit
  double volume = 100.0;     // percent; 100 is full volume
  double wpm = 180.0;        // words per minute
  long pitchBase = 0;        // note number, 60 is middle C; 0: not yet set from the voice
  // The voice's own pitch as a note number. Meaningless until SetPitchDefaults has set it; not
  // changed when the client sets the pitch base.
  int pitchAssumedBase = 0;
  long pitchRange = 0;  // pitch modulation, whole units
  // Delimiters of embedded commands, as set by the client.
  // Rationale: recorded only. Commands are always delimited by "[[" and "]]".
  char tagStart[3] = {'[', '[', '\0'};
  char tagEnd[3] = {']', ']', '\0'};
};
