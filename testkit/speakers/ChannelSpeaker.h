// SPDX-License-Identifier: Apache-2.0
//
// A client of the plug-in on the real engine: one channel, a record of its callbacks, and access to
// the audio files that it writes.
//
// Threads: callbacks run on the plug-in's threads; the accessors may be called on any thread.
#pragma once

#include <ApplicationServices/ApplicationServices.h>

#include <condition_variable>
#include <filesystem>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace speech {

struct Word {
  unsigned long position;
  unsigned int length;
  bool operator==(const Word&) const = default;
};

// A temporary folder, removed by the destructor. The constructor throws std::runtime_error if there
// is no folder.
class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder();
  std::filesystem::path operator/(const std::string& name) const { return m_path / name; }

 private:
  std::filesystem::path m_path;
};

class Speaker {
 public:
  Speaker();
  // Closes the channel if it is still open.
  ~Speaker();
  Speaker(const Speaker&) = delete;
  Speaker& operator=(const Speaker&) = delete;

  SpeechChannelIdentifier id() const { return m_id; }
  long close();

  // Selects a voice of the source tree by name.
  void useVoice(const std::string& name);
  // Words per minute.
  void setRate(int rate);
  void writeTo(const std::filesystem::path& file);
  // Makes word callbacks report positions in the caller's text.
  void reportTruePositions();

  // Speaks `text`; the text-done callback then provides the pieces in `more`.
  long speak(std::string_view text, const std::vector<std::string>& more = {});

  // Waits up to a minute for the `count`-th speech-done since the channel was opened; returns false
  // if it does not come. waitForWords() does the same for word callbacks.
  bool waitForDone(std::size_t count = 1);
  bool waitForWords(std::size_t count);

  std::size_t doneCount() const;
  std::vector<Word> words() const;
  std::vector<int> phonemes() const;
  std::vector<int> syncs() const;

  // Called on the plug-in's thread, under no lock.
  std::function<void(const Word&)> onWord;
  std::function<void()> onDone;

 private:
  static void textDone(SpeechChannel, SRefCon, const void**, unsigned long*, SInt32*);
  static void speechDone(SpeechChannel, SRefCon);
  static void word(SpeechChannel, SRefCon, unsigned long, UInt16);
  static void phoneme(SpeechChannel, SRefCon, SInt16);
  static void sync(SpeechChannel, SRefCon, OSType);

  SpeechChannelIdentifier m_id = 0;
  bool m_open = false;
  std::vector<std::string> m_more;  // pieces for the text-done callback
  std::size_t m_nextPiece = 0;

  mutable std::mutex m_lock;
  std::condition_variable m_changed;
  std::size_t m_done = 0;
  std::vector<Word> m_words;
  std::vector<int> m_phonemes;
  std::vector<int> m_syncs;
};

// The audio of an AIFF file.
struct Sound {
  int sampleRate = 0;
  std::vector<short> samples;

  double seconds() const { return static_cast<double>(samples.size()) / sampleRate; }
  // Root mean square of the samples, 0 … 32767.
  double loudness() const;
};

// Reads an AIFF file; throws std::runtime_error if that is impossible.
Sound soundIn(const std::filesystem::path& file);

}  // namespace speech
