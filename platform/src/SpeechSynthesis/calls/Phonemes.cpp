// SPDX-License-Identifier: Apache-2.0
#include "SpeechSynthesis/calls/Phonemes.h"

#include <CoreFoundation/CFURL.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <new>
#include <system_error>

#include <unistd.h>

#include "CoreFoundation/CFObject.h"
#include "SpeechSynthesis/calls/PhonemeSymbols.h"
#include "SpeechSynthesis/calls/Results.h"
#include "base/threads/Clock.h"
#include "base/threads/Mutex.h"

namespace platform {
namespace {

// A synthesizer that reports nothing for this long is given up.
constexpr std::chrono::seconds kPatience{30};

// An empty temporary file that is removed with the object.
class TemporaryFile {
 public:
  TemporaryFile() {
    std::error_code failure;
    std::filesystem::path folder = std::filesystem::temp_directory_path(failure);
    // TMPDIR may name a folder that does not exist.
    if (failure) folder = "/tmp";
    m_path = (folder / "phonemes-XXXXXX.aiff").native();
    constexpr int kSuffixLength = 5;
    const int file = mkstemps(m_path.data(), kSuffixLength);
    // Created here, so that no other process can put a link in its way.
    if (file < 0) throw std::system_error(errno, std::generic_category(), m_path);
    ::close(file);
  }
  ~TemporaryFile() { ::unlink(m_path.c_str()); }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  Owned<CFURLRef> url() const {
    return Owned(CFURLCreateFromFileSystemRepresentation(
        kCFAllocatorDefault, reinterpret_cast<const UInt8*>(m_path.data()),
        static_cast<CFIndex>(m_path.size()), false));
  }

 private:
  std::string m_path;
};

// Collects what the synthesizer reports. The static functions are its callbacks and run on its
// threads; the reference constant is the Collector.
class Collector {
 public:
  static void word(SpeechChannel /*channel*/, SRefCon self, unsigned long /*position*/,
                   UInt16 /*length*/) noexcept {
    of(self).noteWord();
  }
  static void phoneme(SpeechChannel /*channel*/, SRefCon self, SInt16 opcode) noexcept {
    of(self).notePhoneme(opcode);
  }
  static void done(SpeechChannel /*channel*/, SRefCon self) noexcept { of(self).noteEnd(); }

  // Waits for the end of the speech. Returns false if nothing was reported for kPatience: the limit
  // is between two reports, since the length of a text is not limited.
  bool waitForEnd() EXCLUDES(m_lock) {
    const base::ScopedLock held(m_lock);
    while (!m_done) {
      const std::uint64_t seen = m_reports;
      const base::Clock::time_point limit = base::Clock::now() + kPatience;
      while (m_reports == seen) {
        if (!m_changed.waitUntil(m_lock, limit) && m_reports == seen) return false;
      }
    }
    return true;
  }

  // Throws std::bad_alloc if a report was lost for lack of memory.
  std::string phonemes() EXCLUDES(m_lock) {
    const base::ScopedLock held(m_lock);
    // An incomplete result would look like a complete one.
    if (m_outOfMemory) throw std::bad_alloc();
    return m_phonemes;
  }

 private:
  static Collector& of(SRefCon self) { return *static_cast<Collector*>(self); }

  void noteWord() noexcept EXCLUDES(m_lock) {
    const base::ScopedLock held(m_lock);
    m_separator = " ";
    noteReport();
  }

  // A callback must not throw, so lack of memory is only recorded.
  void notePhoneme(SInt16 opcode) noexcept EXCLUDES(m_lock) {
    const base::ScopedLock held(m_lock);
    try {
      add(opcode);
    } catch (const std::bad_alloc&) {
      m_outOfMemory = true;
    }
    noteReport();
  }

  void noteEnd() noexcept EXCLUDES(m_lock) {
    const base::ScopedLock held(m_lock);
    m_done = true;
    noteReport();
  }

  void noteReport() noexcept REQUIRES(m_lock) {
    ++m_reports;
    m_changed.notifyAll();
  }

  // Adds a phoneme. A pause is written only between two phonemes, and adjacent pauses as one. Codes
  // that are not in the table count as pauses.
  void add(SInt16 opcode) REQUIRES(m_lock) {
    const bool isKnown =
        opcode > kLastPauseCode && static_cast<std::size_t>(opcode) < kPhonemeSymbols.size();
    if (!isKnown) {
      m_pausePending = true;
      return;
    }
    if (!m_phonemes.empty()) {
      if (m_pausePending) {
        m_phonemes += " % ";
      } else {
        m_phonemes += m_separator;
      }
    }
    m_phonemes += kPhonemeSymbols[static_cast<std::size_t>(opcode)].symbol;
    m_separator = "";
    m_pausePending = false;
  }

  base::Mutex m_lock;
  base::Condition m_changed;  // with m_lock: m_reports has grown
  std::uint64_t m_reports GUARDED_BY(m_lock) = 0;
  std::string m_phonemes GUARDED_BY(m_lock);
  const char* m_separator GUARDED_BY(m_lock) = "";  // written before the next phoneme
  bool m_pausePending GUARDED_BY(m_lock) = false;   // there is a pause before the next phoneme
  bool m_done GUARDED_BY(m_lock) = false;
  bool m_outOfMemory GUARDED_BY(m_lock) = false;
};

template <typename Value>
void* asValue(Value* value) {
  return const_cast<void*>(reinterpret_cast<const void*>(value));
}

// A channel of the synthesizer that is closed with the object. No report comes after that.
class ScratchChannel {
 public:
  explicit ScratchChannel(const SynthesizerPlugIn& plugIn) : m_plugIn(plugIn) {
    m_open = plugIn.call().openSpeechChannel(&m_identifier) == noErr;
  }
  ~ScratchChannel() {
    if (m_open) m_plugIn.call().closeSpeechChannel(m_identifier);
  }
  ScratchChannel(const ScratchChannel&) = delete;
  ScratchChannel& operator=(const ScratchChannel&) = delete;

  bool isOpen() const { return m_open; }

  void set(OSType selector, void* value) {
    m_plugIn.call().setSpeechInfo(m_identifier, selector, value);
  }

  OSErr useVoice(const Voice& voice) { return m_plugIn.useVoice(m_identifier, voice); }

  OSErr speak(std::string text) {
    return toClientResult(
        m_plugIn.call().speakBuffer(m_identifier, text.data(), static_cast<long>(text.size()), 0));
  }

 private:
  const SynthesizerPlugIn& m_plugIn;
  SpeechChannelIdentifier m_identifier = 0;
  bool m_open = false;
};

}  // namespace

// Speaks into a file, not to the device: nothing is heard, and it is faster than real time.
OSErr collectPhonemes(const SynthesizerPlugIn& plugIn, const Voice& voice,
                      const ReadingModes& modes, const ReadyText& text, std::string& phonemes) {
  const TemporaryFile file;
  // Declared before the channel, which reports to it: it must be destroyed later.
  Collector collector;
  ScratchChannel channel(plugIn);
  if (!channel.isOpen()) return synthOpenFailed;
  if (const OSErr result = channel.useVoice(voice); result != noErr) return result;
  ReadingModes read = modes;
  channel.set(soInputMode, &read.input);
  channel.set(soCharacterMode, &read.characters);
  channel.set(soNumberMode, &read.numbers);
  if (text.charset == Charset::Utf8) channel.set(kUtf8Text, &collector);
  channel.set(soRefCon, &collector);
  channel.set(soWordCallBack, asValue(Collector::word));
  channel.set(soPhonemeCallBack, asValue(Collector::phoneme));
  channel.set(soSpeechDoneCallBack, asValue(Collector::done));
  const Owned<CFURLRef> url = file.url();
  channel.set(soOutputToFileWithCFURL, asValue(url.get()));
  if (const OSErr result = channel.speak(text.bytes); result != noErr) return result;
  if (!collector.waitForEnd()) return synthNotReady;
  phonemes = collector.phonemes();
  return noErr;
}

}  // namespace platform
