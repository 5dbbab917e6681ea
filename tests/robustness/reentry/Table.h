// SPDX-License-Identifier: Apache-2.0
//
// The result of each entry point when a client calls it inside each callback: one cell for each
// combination of callback, entry point and target channel.
#pragma once

#include <ApplicationServices/ApplicationServices.h>

namespace reentry {

enum class Callback { TextDone, SpeechDone, Sync, Error, Phoneme, Word };

enum class EntryPoint {
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

// The channel passed to the call. `Another` is open and has never spoken. For SEOpenSpeechChannel
// it is the old value of the identifier, which the call overwrites.
enum class Target { Same, Another, Closed, Unknown };

// Instead of a result: the callback is never called.
inline constexpr long kNever = 1;

struct Row {
  Callback callback;
  EntryPoint entry;
  long same;
  long another;
  long closed;
  long unknown;
  // Total number of speech-done calls for the channel of the callback if it is the target.
  int signals;
};

// The state of the channel at the call:
//  text-done            idle, the lock held by the caller, the text not yet spoken
//  speech-done          idle, no lock held, the job over
//  sync, phoneme, word  busy, on the engine's thread, the job running
//  error                never called: the callback is stored, but no error is reported through it
//
// Rationale: a pause of an idle channel calls the engine, which has no job to pause: -1.
inline constexpr long kNone = noSynthFound;
inline constexpr long kBusy = synthNotReady;

// clang-format off
inline constexpr Row kTable[] = {
    // callback             entry                       same    another closed  unknown signals
    {Callback::TextDone,   EntryPoint::Open,            noErr,  noErr,  noErr,  noErr,  1},
    // No job starts.
    {Callback::TextDone,   EntryPoint::Close,           noErr,  noErr,  kNone,  kNone,  0},
    {Callback::TextDone,   EntryPoint::Status,          noErr,  noErr,  kNone,  kNone,  1},
    // After both a stop and a pause the text is still spoken.
    {Callback::TextDone,   EntryPoint::Stop,            noErr,  noErr,  kNone,  kNone,  1},
    {Callback::TextDone,   EntryPoint::Pause,           -1,     -1,     kNone,  kNone,  1},
    {Callback::TextDone,   EntryPoint::Continue,        noErr,  noErr,  kNone,  kNone,  1},
    {Callback::TextDone,   EntryPoint::TextToPhonemes,  noErr,  noErr,  kNone,  kNone,  1},
    {Callback::TextDone,   EntryPoint::UseDictionary,   noErr,  noErr,  kNone,  kNone,  1},
    {Callback::TextDone,   EntryPoint::Speak,           kBusy,  noErr,  kNone,  kNone,  1},
    {Callback::TextDone,   EntryPoint::GetInfo,         noErr,  noErr,  kNone,  kNone,  1},
    {Callback::TextDone,   EntryPoint::SetInfo,         noErr,  noErr,  kNone,  kNone,  1},
    {Callback::TextDone,   EntryPoint::UseVoice,        noErr,  noErr,  kNone,  kNone,  1},

    {Callback::SpeechDone, EntryPoint::Open,            noErr,  noErr,  noErr,  noErr,  1},
    {Callback::SpeechDone, EntryPoint::Close,           noErr,  noErr,  kNone,  kNone,  1},
    {Callback::SpeechDone, EntryPoint::Status,          noErr,  noErr,  kNone,  kNone,  1},
    {Callback::SpeechDone, EntryPoint::Stop,            noErr,  noErr,  kNone,  kNone,  1},
    {Callback::SpeechDone, EntryPoint::Pause,           -1,     -1,     kNone,  kNone,  1},
    {Callback::SpeechDone, EntryPoint::Continue,        noErr,  noErr,  kNone,  kNone,  1},
    {Callback::SpeechDone, EntryPoint::TextToPhonemes,  noErr,  noErr,  kNone,  kNone,  1},
    {Callback::SpeechDone, EntryPoint::UseDictionary,   noErr,  noErr,  kNone,  kNone,  1},
    // Starts the next job.
    {Callback::SpeechDone, EntryPoint::Speak,           noErr,  noErr,  kNone,  kNone,  2},
    {Callback::SpeechDone, EntryPoint::GetInfo,         noErr,  noErr,  kNone,  kNone,  1},
    {Callback::SpeechDone, EntryPoint::SetInfo,         noErr,  noErr,  kNone,  kNone,  1},
    {Callback::SpeechDone, EntryPoint::UseVoice,        noErr,  noErr,  kNone,  kNone,  1},

    {Callback::Sync,       EntryPoint::Open,            noErr,  noErr,  noErr,  noErr,  1},
    {Callback::Sync,       EntryPoint::Close,           noErr,  noErr,  kNone,  kNone,  1},
    {Callback::Sync,       EntryPoint::Status,          noErr,  noErr,  kNone,  kNone,  1},
    {Callback::Sync,       EntryPoint::Stop,            noErr,  noErr,  kNone,  kNone,  1},
    {Callback::Sync,       EntryPoint::Pause,           noErr,  -1,     kNone,  kNone,  1},
    {Callback::Sync,       EntryPoint::Continue,        noErr,  noErr,  kNone,  kNone,  1},
    {Callback::Sync,       EntryPoint::TextToPhonemes,  noErr,  noErr,  kNone,  kNone,  1},
    {Callback::Sync,       EntryPoint::UseDictionary,   noErr,  noErr,  kNone,  kNone,  1},
    {Callback::Sync,       EntryPoint::Speak,           kBusy,  noErr,  kNone,  kNone,  1},
    {Callback::Sync,       EntryPoint::GetInfo,         noErr,  noErr,  kNone,  kNone,  1},
    {Callback::Sync,       EntryPoint::SetInfo,         noErr,  noErr,  kNone,  kNone,  1},
    {Callback::Sync,       EntryPoint::UseVoice,        noErr,  noErr,  kNone,  kNone,  1},

    {Callback::Error,      EntryPoint::Open,            kNever, kNever, kNever, kNever, 1},
    {Callback::Error,      EntryPoint::Close,           kNever, kNever, kNever, kNever, 1},
    {Callback::Error,      EntryPoint::Status,          kNever, kNever, kNever, kNever, 1},
    {Callback::Error,      EntryPoint::Stop,            kNever, kNever, kNever, kNever, 1},
    {Callback::Error,      EntryPoint::Pause,           kNever, kNever, kNever, kNever, 1},
    {Callback::Error,      EntryPoint::Continue,        kNever, kNever, kNever, kNever, 1},
    {Callback::Error,      EntryPoint::TextToPhonemes,  kNever, kNever, kNever, kNever, 1},
    {Callback::Error,      EntryPoint::UseDictionary,   kNever, kNever, kNever, kNever, 1},
    {Callback::Error,      EntryPoint::Speak,           kNever, kNever, kNever, kNever, 1},
    {Callback::Error,      EntryPoint::GetInfo,         kNever, kNever, kNever, kNever, 1},
    {Callback::Error,      EntryPoint::SetInfo,         kNever, kNever, kNever, kNever, 1},
    {Callback::Error,      EntryPoint::UseVoice,        kNever, kNever, kNever, kNever, 1},

    {Callback::Phoneme,    EntryPoint::Open,            noErr,  noErr,  noErr,  noErr,  1},
    {Callback::Phoneme,    EntryPoint::Close,           noErr,  noErr,  kNone,  kNone,  1},
    {Callback::Phoneme,    EntryPoint::Status,          noErr,  noErr,  kNone,  kNone,  1},
    {Callback::Phoneme,    EntryPoint::Stop,            noErr,  noErr,  kNone,  kNone,  1},
    {Callback::Phoneme,    EntryPoint::Pause,           noErr,  -1,     kNone,  kNone,  1},
    {Callback::Phoneme,    EntryPoint::Continue,        noErr,  noErr,  kNone,  kNone,  1},
    {Callback::Phoneme,    EntryPoint::TextToPhonemes,  noErr,  noErr,  kNone,  kNone,  1},
    {Callback::Phoneme,    EntryPoint::UseDictionary,   noErr,  noErr,  kNone,  kNone,  1},
    {Callback::Phoneme,    EntryPoint::Speak,           kBusy,  noErr,  kNone,  kNone,  1},
    {Callback::Phoneme,    EntryPoint::GetInfo,         noErr,  noErr,  kNone,  kNone,  1},
    {Callback::Phoneme,    EntryPoint::SetInfo,         noErr,  noErr,  kNone,  kNone,  1},
    {Callback::Phoneme,    EntryPoint::UseVoice,        noErr,  noErr,  kNone,  kNone,  1},

    {Callback::Word,       EntryPoint::Open,            noErr,  noErr,  noErr,  noErr,  1},
    {Callback::Word,       EntryPoint::Close,           noErr,  noErr,  kNone,  kNone,  1},
    {Callback::Word,       EntryPoint::Status,          noErr,  noErr,  kNone,  kNone,  1},
    {Callback::Word,       EntryPoint::Stop,            noErr,  noErr,  kNone,  kNone,  1},
    {Callback::Word,       EntryPoint::Pause,           noErr,  -1,     kNone,  kNone,  1},
    {Callback::Word,       EntryPoint::Continue,        noErr,  noErr,  kNone,  kNone,  1},
    {Callback::Word,       EntryPoint::TextToPhonemes,  noErr,  noErr,  kNone,  kNone,  1},
    {Callback::Word,       EntryPoint::UseDictionary,   noErr,  noErr,  kNone,  kNone,  1},
    {Callback::Word,       EntryPoint::Speak,           kBusy,  noErr,  kNone,  kNone,  1},
    {Callback::Word,       EntryPoint::GetInfo,         noErr,  noErr,  kNone,  kNone,  1},
    {Callback::Word,       EntryPoint::SetInfo,         noErr,  noErr,  kNone,  kNone,  1},
    {Callback::Word,       EntryPoint::UseVoice,        noErr,  noErr,  kNone,  kNone,  1},
};
// clang-format on

static_assert(sizeof kTable / sizeof kTable[0] == 6 * 12);

}  // namespace reentry
