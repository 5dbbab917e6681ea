// SPDX-License-Identifier: Apache-2.0
//
// What each entry point answers when a client calls it inside each callback: a cell for each
// callback, entry point and channel that the call names.
#pragma once

#include <ApplicationServices/ApplicationServices.h>

namespace reentry {

enum class Callback { TextDone, SpeechDone, Sync, Error, Phoneme, Word };

enum class Entry {
  Open,
  Close,
  Status,
  Stop,
  Pause,
  Continue,
  TextToPhonemes,
  UseDictionary,
  Speak,
  GetInfo,
  SetInfo,
  UseVoice,
};

// The channel that the call names. `Another` is open and has never spoken. SEOpenSpeechChannel
// names none: the identifier that it overwrites is that of such a channel before.
enum class Target { Same, Another, Closed, Unknown };

// What stands for an answer where the callback never comes.
inline constexpr long kNever = 1;

struct Row {
  Callback callback;
  Entry entry;
  long same;
  long another;
  long closed;
  long unknown;
  // How often speech-done is called in all for the channel of the callback, when the call names it.
  int signals;
};

// The state in which the call finds its channel:
//  text-done            idle, the lock held by the caller, the text not yet spoken
//  speech-done          idle, no lock held, the job over
//  sync, phoneme, word  busy, on the engine's thread, the job running
//  error                never: the error callback is stored, and no error is reported through it
//
// Rationale: a pause of an idle channel is asked of the engine, which has no job to pause: -1.
inline constexpr long kNone = noSynthFound;
inline constexpr long kBusy = synthNotReady;

// clang-format off
inline constexpr Row kTable[] = {
    // callback             entry                  same    another closed  unknown signals
    {Callback::TextDone,   Entry::Open,            noErr,  noErr,  noErr,  noErr,  1},
    {Callback::TextDone,   Entry::Close,           noErr,  noErr,  kNone,  kNone,  0},  // nothing is spoken
    {Callback::TextDone,   Entry::Status,          noErr,  noErr,  kNone,  kNone,  1},
    {Callback::TextDone,   Entry::Stop,            noErr,  noErr,  kNone,  kNone,  1},  // the text is spoken all the same
    {Callback::TextDone,   Entry::Pause,           -1,     -1,     kNone,  kNone,  1},  // likewise
    {Callback::TextDone,   Entry::Continue,        noErr,  noErr,  kNone,  kNone,  1},
    {Callback::TextDone,   Entry::TextToPhonemes,  noErr,  noErr,  kNone,  kNone,  1},
    {Callback::TextDone,   Entry::UseDictionary,   noErr,  noErr,  kNone,  kNone,  1},
    {Callback::TextDone,   Entry::Speak,           kBusy,  noErr,  kNone,  kNone,  1},
    {Callback::TextDone,   Entry::GetInfo,         noErr,  noErr,  kNone,  kNone,  1},
    {Callback::TextDone,   Entry::SetInfo,         noErr,  noErr,  kNone,  kNone,  1},
    {Callback::TextDone,   Entry::UseVoice,        noErr,  noErr,  kNone,  kNone,  1},

    {Callback::SpeechDone, Entry::Open,            noErr,  noErr,  noErr,  noErr,  1},
    {Callback::SpeechDone, Entry::Close,           noErr,  noErr,  kNone,  kNone,  1},
    {Callback::SpeechDone, Entry::Status,          noErr,  noErr,  kNone,  kNone,  1},
    {Callback::SpeechDone, Entry::Stop,            noErr,  noErr,  kNone,  kNone,  1},
    {Callback::SpeechDone, Entry::Pause,           -1,     -1,     kNone,  kNone,  1},
    {Callback::SpeechDone, Entry::Continue,        noErr,  noErr,  kNone,  kNone,  1},
    {Callback::SpeechDone, Entry::TextToPhonemes,  noErr,  noErr,  kNone,  kNone,  1},
    {Callback::SpeechDone, Entry::UseDictionary,   noErr,  noErr,  kNone,  kNone,  1},
    {Callback::SpeechDone, Entry::Speak,           noErr,  noErr,  kNone,  kNone,  2},  // the next job
    {Callback::SpeechDone, Entry::GetInfo,         noErr,  noErr,  kNone,  kNone,  1},
    {Callback::SpeechDone, Entry::SetInfo,         noErr,  noErr,  kNone,  kNone,  1},
    {Callback::SpeechDone, Entry::UseVoice,        noErr,  noErr,  kNone,  kNone,  1},

    {Callback::Sync,       Entry::Open,            noErr,  noErr,  noErr,  noErr,  1},
    {Callback::Sync,       Entry::Close,           noErr,  noErr,  kNone,  kNone,  1},
    {Callback::Sync,       Entry::Status,          noErr,  noErr,  kNone,  kNone,  1},
    {Callback::Sync,       Entry::Stop,            noErr,  noErr,  kNone,  kNone,  1},
    {Callback::Sync,       Entry::Pause,           noErr,  -1,     kNone,  kNone,  1},
    {Callback::Sync,       Entry::Continue,        noErr,  noErr,  kNone,  kNone,  1},
    {Callback::Sync,       Entry::TextToPhonemes,  noErr,  noErr,  kNone,  kNone,  1},
    {Callback::Sync,       Entry::UseDictionary,   noErr,  noErr,  kNone,  kNone,  1},
    {Callback::Sync,       Entry::Speak,           kBusy,  noErr,  kNone,  kNone,  1},
    {Callback::Sync,       Entry::GetInfo,         noErr,  noErr,  kNone,  kNone,  1},
    {Callback::Sync,       Entry::SetInfo,         noErr,  noErr,  kNone,  kNone,  1},
    {Callback::Sync,       Entry::UseVoice,        noErr,  noErr,  kNone,  kNone,  1},

    {Callback::Error,      Entry::Open,            kNever, kNever, kNever, kNever, 1},
    {Callback::Error,      Entry::Close,           kNever, kNever, kNever, kNever, 1},
    {Callback::Error,      Entry::Status,          kNever, kNever, kNever, kNever, 1},
    {Callback::Error,      Entry::Stop,            kNever, kNever, kNever, kNever, 1},
    {Callback::Error,      Entry::Pause,           kNever, kNever, kNever, kNever, 1},
    {Callback::Error,      Entry::Continue,        kNever, kNever, kNever, kNever, 1},
    {Callback::Error,      Entry::TextToPhonemes,  kNever, kNever, kNever, kNever, 1},
    {Callback::Error,      Entry::UseDictionary,   kNever, kNever, kNever, kNever, 1},
    {Callback::Error,      Entry::Speak,           kNever, kNever, kNever, kNever, 1},
    {Callback::Error,      Entry::GetInfo,         kNever, kNever, kNever, kNever, 1},
    {Callback::Error,      Entry::SetInfo,         kNever, kNever, kNever, kNever, 1},
    {Callback::Error,      Entry::UseVoice,        kNever, kNever, kNever, kNever, 1},

    {Callback::Phoneme,    Entry::Open,            noErr,  noErr,  noErr,  noErr,  1},
    {Callback::Phoneme,    Entry::Close,           noErr,  noErr,  kNone,  kNone,  1},
    {Callback::Phoneme,    Entry::Status,          noErr,  noErr,  kNone,  kNone,  1},
    {Callback::Phoneme,    Entry::Stop,            noErr,  noErr,  kNone,  kNone,  1},
    {Callback::Phoneme,    Entry::Pause,           noErr,  -1,     kNone,  kNone,  1},
    {Callback::Phoneme,    Entry::Continue,        noErr,  noErr,  kNone,  kNone,  1},
    {Callback::Phoneme,    Entry::TextToPhonemes,  noErr,  noErr,  kNone,  kNone,  1},
    {Callback::Phoneme,    Entry::UseDictionary,   noErr,  noErr,  kNone,  kNone,  1},
    {Callback::Phoneme,    Entry::Speak,           kBusy,  noErr,  kNone,  kNone,  1},
    {Callback::Phoneme,    Entry::GetInfo,         noErr,  noErr,  kNone,  kNone,  1},
    {Callback::Phoneme,    Entry::SetInfo,         noErr,  noErr,  kNone,  kNone,  1},
    {Callback::Phoneme,    Entry::UseVoice,        noErr,  noErr,  kNone,  kNone,  1},

    {Callback::Word,       Entry::Open,            noErr,  noErr,  noErr,  noErr,  1},
    {Callback::Word,       Entry::Close,           noErr,  noErr,  kNone,  kNone,  1},
    {Callback::Word,       Entry::Status,          noErr,  noErr,  kNone,  kNone,  1},
    {Callback::Word,       Entry::Stop,            noErr,  noErr,  kNone,  kNone,  1},
    {Callback::Word,       Entry::Pause,           noErr,  -1,     kNone,  kNone,  1},
    {Callback::Word,       Entry::Continue,        noErr,  noErr,  kNone,  kNone,  1},
    {Callback::Word,       Entry::TextToPhonemes,  noErr,  noErr,  kNone,  kNone,  1},
    {Callback::Word,       Entry::UseDictionary,   noErr,  noErr,  kNone,  kNone,  1},
    {Callback::Word,       Entry::Speak,           kBusy,  noErr,  kNone,  kNone,  1},
    {Callback::Word,       Entry::GetInfo,         noErr,  noErr,  kNone,  kNone,  1},
    {Callback::Word,       Entry::SetInfo,         noErr,  noErr,  kNone,  kNone,  1},
    {Callback::Word,       Entry::UseVoice,        noErr,  noErr,  kNone,  kNone,  1},
};
// clang-format on

static_assert(sizeof kTable / sizeof kTable[0] == 6 * 12);

}  // namespace reentry
