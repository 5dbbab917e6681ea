// SPDX-License-Identifier: Apache-2.0
//
// Utterance: one text spoken as the command line asks for, with all that is written and shown about
// it.
//
// Threads: made and used by the main thread. While it exists the signals that SignalWatch takes are
// held back.
#pragma once

#include <functional>
#include <optional>

#include "SayArguments.h"
#include "SpokenText.h"
#include "audio/OutputFile.h"
#include "audio/SoundTarget.h"
#include "events/CaptionTrack.h"
#include "events/EngineWatch.h"
#include "events/EventTimes.h"
#include "events/EventWriter.h"
#include "screen/Display.h"
#include "screen/Output.h"
#include "speech/Positions.h"
#include "speech/SignalWatch.h"
#include "speech/Speech.h"

namespace say {

class Utterance {
 public:
  // The text begins at `first` of all that is spoken, as positions are counted. `arguments` and
  // `text` outlive the object. Throws Failure, as all functions do.
  Utterance(const Arguments& arguments, const tool::SpokenText& text, std::size_t first);

  // Returns when the speech is over, and all that belongs to it written: 0, or the signal that
  // ended it.
  int speak();

  // Where the text behind this one begins.
  std::size_t end() { return m_positions.end(); }

 private:
  void openFiles();
  void discardFiles() const;
  void addListeners();
  SignalWatch::Actions actions();
  void noteSilence() const;
  void follow(const SignalWatch& watch);
  void writeCaptions() const;

  const Arguments& m_arguments;
  const tool::SpokenText& m_text;
  Positions m_positions;
  const HeldSignals m_signals;  // in front of what starts threads
  const Interruption m_interruption;
  const Output m_standardOutput;
  const Output m_standardError;
  EventTimes m_times;
  const EngineWatch m_engine;
  Speech m_speech;
  std::optional<SoundTarget> m_sound;
  std::optional<OutputFile> m_vtt;  // but for standard output, as m_srt
  std::optional<OutputFile> m_srt;
  std::optional<EventWriter> m_events;
  std::optional<CaptionTrack> m_captions;
  std::optional<Display> m_display;
  std::optional<RunningText> m_runningText;
};

}  // namespace say
