// SPDX-License-Identifier: Apache-2.0
//
// Utterance: speaks one text as the command line asks, with its files, events and display.
//
// Owns everything that one speech needs: the Speech, its listeners and its outputs.
//
// Threads: created and used by the main thread. The signals of SignalWatch are blocked while it
// exists.
#pragma once

#include <functional>
#include <optional>

#include "SayArguments.h"
#include "SpokenText.h"
#include "audio/AudioTarget.h"
#include "audio/OutputFile.h"
#include "events/CaptionTrack.h"
#include "events/EngineWatch.h"
#include "events/EventTimes.h"
#include "events/EventWriter.h"
#include "screen/Display.h"
#include "screen/Output.h"
#include "speech/PositionCounter.h"
#include "speech/SignalWatch.h"
#include "speech/Speech.h"

namespace say {

class Utterance {
 public:
  // `first` is the position of the text in all of the input, in the unit of --positions.
  // `arguments` and `text` outlive the object. Throws Failure, as all functions do.
  Utterance(const SayArguments& arguments, const tool::SpokenText& text, std::size_t first);
  ~Utterance() { m_watch.finish(); }
  Utterance(const Utterance&) = delete;
  Utterance& operator=(const Utterance&) = delete;

  // Speaks, and waits until the speech has ended and all outputs are written. Returns 0, or the
  // signal that ended the speech. To be called once.
  int speak();

  // Returns the position of the next text.
  std::size_t end() { return m_positions.end(); }

 private:
  void openFiles();
  void discardFiles() const;
  void addListeners();
  SignalWatch::Actions actions();
  void warnIfNoDevice() const;
  void finish();
  void writeCaptions() const;

  const SayArguments& m_arguments;
  const tool::SpokenText& m_text;
  PositionCounter m_positions;
  const BlockedSignals m_signals;  // before all members that start threads
  SignalWatch m_watch;             // also while the other members are created and destroyed
  const Interruption m_interruption;
  const Output m_standardOutput;
  const Output m_standardError;
  EventTimes m_times;
  const EngineWatch m_engine;
  Speech m_speech;
  std::optional<AudioTarget> m_audio;
  std::optional<OutputFile> m_vtt;  // none for standard output, like m_srt
  std::optional<OutputFile> m_srt;
  std::optional<EventWriter> m_events;
  std::optional<CaptionTrack> m_captions;
  std::optional<Display> m_display;
  std::optional<RunningText> m_runningText;
};

}  // namespace say
