// SPDX-License-Identifier: Apache-2.0
#include "speech/Utterance.h"

#include <exception>

#include <unistd.h>

#include "Failure.h"
#include "audio/SoundDevices.h"
#include "speech/Voices.h"

namespace say {
namespace {

std::optional<VoiceSpec> voiceFor(const SayArguments& arguments) {
  if (!arguments.voice) return std::nullopt;
  return voiceNamed(*arguments.voice);
}

bool isTerminal(int file) {
  return ::isatty(file) == 1;
}

bool hasCaptions(const SayArguments& arguments) {
  return arguments.vttFile || arguments.srtFile;
}

// Without events and captions the engine's observer has nothing to do.
bool needsTimes(const SayArguments& arguments) {
  return arguments.events || hasCaptions(arguments);
}

// Runs `work` and ignores its failure. Silence is right: if the terminal is really gone, the next
// write of the main thread fails and is reported.
template <typename Work>
void ignoreErrors(Work work) {
  try {
    work();
  } catch (const std::exception&) {
  }
}

}  // namespace

Utterance::Utterance(const SayArguments& arguments, const tool::SpokenText& text, std::size_t first)
    : m_arguments(arguments),
      m_text(text),
      m_positions(text.given(), arguments.positions, first),
      m_watch(m_signals),
      m_standardOutput(STDOUT_FILENO, "standard output", m_interruption),
      m_standardError(STDERR_FILENO, "standard error", m_interruption),
      m_engine(needsTimes(arguments) ? &m_times : nullptr),
      m_speech(voiceFor(arguments)) {
  if (arguments.rate) m_speech.setRate(*arguments.rate);
  if (arguments.strict) m_speech.setStrict();
  if (arguments.oneVoice) m_speech.setOneVoice();
}

// Files are created before speaking, so that a file that cannot be written is reported early. If
// speaking fails, files that were created for it are removed. A signal that arrives in the meantime
// takes effect when the watch has its actions.
int Utterance::speak() {
  try {
    openFiles();
    addListeners();
    m_speech.start(m_text);
  } catch (...) {
    discardFiles();
    throw;
  }
  m_watch.begin(actions());
  finish();
  m_watch.finish();
  return m_watch.firstSignal();
}

// Opens every output of the command line except standard output.
void Utterance::openFiles() {
  const auto open = [](const std::optional<std::string>& path, std::optional<OutputFile>& file) {
    if (path && *path != kStandardStream) file.emplace(*path);
  };
  if (m_arguments.outputFile) {
    m_audio.emplace(*m_arguments.outputFile, m_arguments.format);
    m_speech.setOutputFile(m_audio->pathForManager());
  }
  open(m_arguments.vttFile, m_vtt);
  open(m_arguments.srtFile, m_srt);
}

void Utterance::discardFiles() const {
  if (m_audio) m_audio->discard();
  if (m_vtt) m_vtt->discard();
  if (m_srt) m_srt->discard();
}

// EventTimes comes first: the others ask it for the time of the event that is being reported.
void Utterance::addListeners() {
  if (needsTimes(m_arguments)) m_speech.addListener(m_times);
  if (hasCaptions(m_arguments)) m_speech.addListener(m_captions.emplace(m_text, m_times));
  if (m_arguments.events) {
    const auto marks =
        m_arguments.strict ? EventWriter::Marks::Numbers : EventWriter::Marks::Values;
    m_speech.addListener(m_events.emplace(m_text, m_positions, m_times, m_standardOutput, marks));
  }
  // Text goes to standard output; a bar without text goes to standard error, away from events.
  const bool showsText = m_arguments.interactive.has_value();
  const Output& screen = showsText ? m_standardOutput : m_standardError;
  const bool hasScreen = isTerminal(screen.file());
  // Events on the same terminal would overwrite the bar.
  const bool hasBar = m_arguments.progress && !(m_arguments.events && isTerminal(STDOUT_FILENO));
  if (hasScreen && (showsText || hasBar)) {
    warnIfNoDevice();  // before the display, which the note would garble
    m_display.emplace(screen, m_text, Display::Parts{m_arguments.interactive, hasBar});
    m_speech.addListener(*m_display);
  } else if (showsText) {
    m_speech.addListener(m_runningText.emplace(m_standardOutput, m_text));
  }
}

// Actions run on the thread of the signal watch. Pausing comes before suspending the display, and
// resuming after it, so that no word is spoken that is not shown.
SignalWatch::Actions Utterance::actions() {
  return {.end =
              [this] {
                m_interruption.trigger();
                m_speech.stop();
              },
          .suspend =
              [this] {
                m_speech.pause();
                if (m_display) m_display->suspend();
              },
          .resume =
              [this] {
                if (m_display) ignoreErrors([this] { m_display->resume(); });
                m_speech.resume();
              },
          .resize =
              [this] {
                if (m_display) ignoreErrors([this] { m_display->refresh(); });
              }};
}

// Writes a note if nothing can be heard. Called after the speech has started unless a display needs
// it earlier, since searching for devices takes time.
void Utterance::warnIfNoDevice() const {
  const bool isFirst = m_positions.isFirst();
  if (!isFirst || m_arguments.outputFile || m_arguments.quiet || !isSoundWanted()) return;
  if (!soundDevices().empty()) return;
  ignoreErrors([this] {
    m_standardError.write(
        "kavrel-say: no sound device found, nothing will be heard; use -o to write a file\n");
  });
}

// Waits for the end of the speech and completes all outputs. Each step is attempted even if an
// earlier one failed, so that the other files are complete; the first failure is thrown at the end.
void Utterance::finish() {
  std::exception_ptr failure;
  const auto attempt = [&failure](const std::function<void()>& work) {
    try {
      work();
    } catch (const Interrupted&) {
      // Silence is right: the exit status reports the signal.
    } catch (...) {
      if (!failure) failure = std::current_exception();
    }
  };
  attempt([&] {
    if (!m_display) warnIfNoDevice();
    // The bar moves with time, not only with words.
    std::function<void()> onTick;
    if (m_display && m_arguments.progress) onTick = [this] { m_display->refresh(); };
    m_speech.waitForEnd(onTick);
    const bool wasInterrupted = m_watch.firstSignal() != 0;
    if (m_display) m_display->finish(wasInterrupted);
    if (m_runningText) m_runningText->finish(wasInterrupted);
  });
  // A terminal that closes also sends a signal; that is reported rather than the failed write.
  if (m_watch.firstSignal() != 0) failure = nullptr;
  // The engine's message explains more than a failed check of the file.
  attempt([&] {
    if (m_watch.firstSignal() == 0) m_engine.check();
  });
  // After an interruption the audio so far is still written; a second signal ends that, too.
  if (m_audio) {
    const int before = m_watch.count();
    attempt([&] { m_audio->complete(m_interruption, [&] { return m_watch.count() > before; }); });
  }
  if (m_captions) attempt([this] { writeCaptions(); });
  if (failure) std::rethrow_exception(failure);
}

// The captions of an interrupted speech have the words up to the interruption.
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
