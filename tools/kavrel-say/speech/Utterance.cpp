// SPDX-License-Identifier: Apache-2.0
#include "speech/Utterance.h"

#include <exception>

#include <unistd.h>

#include "Failure.h"
#include "audio/SoundDevices.h"
#include "speech/Voices.h"

namespace say {
namespace {

std::optional<VoiceSpec> voiceFor(const Arguments& arguments) {
  if (!arguments.voice) return std::nullopt;
  return voiceNamed(*arguments.voice);
}

bool isTerminal(int file) {
  return ::isatty(file) == 1;
}

bool hasCaptions(const Arguments& arguments) {
  return arguments.vttFile || arguments.srtFile;
}

bool asksForTimes(const Arguments& arguments) {
  return arguments.events || hasCaptions(arguments);
}

// For what nobody waits for; if it matters, it fails again where it is noticed.
template <typename Work>
void quietly(Work work) {
  try {
    work();
  } catch (const std::exception&) {
  }
}

}  // namespace

Utterance::Utterance(const Arguments& arguments, const tool::SpokenText& text, std::size_t first)
    : m_arguments(arguments),
      m_text(text),
      m_positions(text.given(), arguments.positions, first),
      m_standardOutput(STDOUT_FILENO, "standard output", m_interruption),
      m_standardError(STDERR_FILENO, "standard error", m_interruption),
      m_engine(asksForTimes(arguments) ? &m_times : nullptr),
      m_speech(voiceFor(arguments)) {
  if (arguments.rate) m_speech.setRate(*arguments.rate);
}

int Utterance::speak() {
  try {
    openFiles();
    addListeners();
    m_speech.start(m_text);
  } catch (...) {
    discardFiles();
    throw;
  }
  const SignalWatch watch(m_signals, actions());
  follow(watch);
  return watch.received();
}

void Utterance::openFiles() {
  const auto open = [](const std::optional<std::string>& path, std::optional<OutputFile>& file) {
    if (path && *path != kStandardStream) file.emplace(*path);
  };
  if (m_arguments.outputFile) {
    m_sound.emplace(*m_arguments.outputFile, m_arguments.format);
    m_speech.setOutputFile(m_sound->managersPath());
  }
  open(m_arguments.vttFile, m_vtt);
  open(m_arguments.srtFile, m_srt);
}

void Utterance::discardFiles() const {
  if (m_sound) m_sound->discard();
  if (m_vtt) m_vtt->discard();
  if (m_srt) m_srt->discard();
}

void Utterance::addListeners() {
  if (asksForTimes(m_arguments)) m_speech.addListener(m_times);
  if (hasCaptions(m_arguments)) m_speech.addListener(m_captions.emplace(m_text, m_times));
  if (m_arguments.events) {
    m_speech.addListener(m_events.emplace(m_text, m_positions, m_times, m_standardOutput));
  }
  const bool showsText = m_arguments.interactive.has_value();
  const Output& screen = showsText ? m_standardOutput : m_standardError;
  const bool hasScreen = isTerminal(screen.file());
  // Lines of events would meet the bar.
  const bool hasBar = m_arguments.progress && !(m_arguments.events && isTerminal(STDOUT_FILENO));
  if (hasScreen && (showsText || hasBar)) {
    noteSilence();  // not into what is drawn
    m_display.emplace(screen, m_text, Display::Parts{m_arguments.interactive, hasBar});
    m_speech.addListener(*m_display);
  } else if (showsText) {
    m_speech.addListener(m_runningText.emplace(m_standardOutput, m_text));
  }
}

SignalWatch::Actions Utterance::actions() {
  return {.end =
              [this] {
                m_interruption.come();
                m_speech.stop();
              },
          .halt =
              [this] {
                m_speech.pause();
                if (m_display) m_display->suspend();
              },
          .goOn =
              [this] {
                if (m_display) quietly([this] { m_display->resume(); });
                m_speech.resume();
              },
          .resize =
              [this] {
                if (m_display) quietly([this] { m_display->refresh(); });
              }};
}

// Where nothing is drawn, while the speech goes on already: looking for devices takes time.
void Utterance::noteSilence() const {
  const bool isFirst = m_positions.isFirst();
  if (!isFirst || m_arguments.outputFile || m_arguments.quiet || !isSoundWanted()) return;
  if (!soundDevices().empty()) return;
  quietly([this] {
    m_standardError.write(
        "kavrel-say: there is no sound device, so nothing is heard; -o FILE writes a file\n");
  });
}

// What cannot be written does not keep the rest from being completed.
void Utterance::follow(const SignalWatch& watch) {
  std::exception_ptr failure;
  const auto attempt = [&failure](const std::function<void()>& work) {
    try {
      work();
    } catch (const Interrupted&) {
      // The signal is what is told.
    } catch (...) {
      if (!failure) failure = std::current_exception();
    }
  };
  attempt([&] {
    if (!m_display) noteSilence();
    std::function<void()> onTick;
    if (m_display && m_arguments.progress) onTick = [this] { m_display->refresh(); };
    m_speech.waitForEnd(onTick);
    const bool wasInterrupted = watch.received() != 0;
    if (m_display) m_display->finish(wasInterrupted);
    if (m_runningText) m_runningText->finish(wasInterrupted);
  });
  // A terminal that goes away sends a signal, too; that is what is told then.
  if (watch.received() != 0) failure = nullptr;
  attempt([&] {
    if (watch.received() == 0) m_engine.check();
  });
  if (m_sound) {
    const int before = watch.count();
    attempt([&] { m_sound->complete(m_interruption, [&] { return watch.count() > before; }); });
  }
  if (m_captions) attempt([this] { writeCaptions(); });
  if (failure) std::rethrow_exception(failure);
}

void Utterance::writeCaptions() const {
  const std::vector<Cue> cues =
      cuesOf(m_text.given(), m_captions->words(),
             m_arguments.plain ? tool::Brackets::Text : tool::Brackets::Command);
  const auto write = [this](const std::optional<OutputFile>& file, const std::string& contents) {
    if (file) {
      file->write(contents);
    } else {
      m_standardOutput.write(contents);
    }
  };
  if (m_arguments.vttFile) write(m_vtt, webVttOf(cues));
  if (m_arguments.srtFile) write(m_srt, subRipOf(cues));
}

}  // namespace say
