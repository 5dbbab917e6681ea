// SPDX-License-Identifier: Apache-2.0
//
// VoiceCatalogue: the installed voices and their bundles.
//
// A voice is a folder NAME.SpeechVoice with a property list, Info.plist or Contents/Info.plist.
// Keys of its dictionary:
//   VoiceCreator           string    creator code of the synthesizer, four ASCII characters
//   VoiceID                integer   the voice's number there, unsigned 32 bits
//   VoiceName              string    1 to 63 characters of Mac OS Roman
//   VoiceGender            string    male, female or neuter
//   VoiceLocaleIdentifier  string    such as en_US or zh_Hant_TW, see VoiceCodes.h
//   VoiceDemoText          string    up to 255 characters; optional
//   VoiceAge               integer   years, 0 to 32767; optional
//   VoiceVersion           integer   signed 32 bits, not negative; optional
//
// Other keys are ignored. A property list has at most 64 KiB. A bundle that cannot be used is
// skipped, with one line on standard error that says which and why; so is a bundle, or a folder of
// bundles, that others can change (TrustedPaths.h).
//
// Bundles are read in order, and only as many as a call needs, since clients wait for the first one
// while they start: to speak with the default voice, the bundles after it need not be read.
//
// Threads: any thread may use a catalogue. Voices do not change and stay where they are; calls that
// read bundles wait for each other.
#pragma once

#include <ApplicationServices/SpeechSynthesis.h>

#include <cstddef>
#include <deque>
#include <filesystem>
#include <string>
#include <vector>

#include "SpeechSynthesis/bundles/TrustedPaths.h"
#include "base/threads/Mutex.h"

namespace platform {

struct Voice {
  VoiceSpec spec;
  VoiceDescription description;  // `length` is that of the complete record
  std::string locale;            // such as en_US
  std::filesystem::path bundle;  // absolute
};

class VoiceCatalogue {
 public:
  // Of the bundles in `folders`, in that order, sorted by name in each folder. A folder that does
  // not exist is skipped silently. Of two voices with the same VoiceSpec the first is kept, so
  // that an earlier folder can replace a voice of a later one; if both are in one folder, a line on
  // standard error says so.
  // `trusted` decides which bundles may be used. Throws std::bad_alloc.
  explicit VoiceCatalogue(const std::vector<std::filesystem::path>& folders,
                          TrustedPaths trusted = TrustedPaths());

  // The catalogue of the process, created from searchFolders() at the first call. Never destroyed.
  // Throws std::bad_alloc; the next call tries again.
  static const VoiceCatalogue& shared();

  // The folders to search, in order: those of SPEECH_VOICE_PATH, the user's folder, those next to
  // this library.
  static std::vector<std::filesystem::path> searchFolders();

  // These throw std::bad_alloc; the next call continues with the bundle.

  // All voices. Reads all bundles.
  const std::deque<Voice>& voices() const EXCLUDES(m_lock);

  // Null if there is no such voice.
  const Voice* find(const VoiceSpec& spec) const EXCLUDES(m_lock);

  // The first male voice of the locale en_US, else the first male voice of another English locale,
  // else the first voice; null if there are no voices.
  const Voice* defaultVoice() const EXCLUDES(m_lock);

 private:
  void addFolder(const std::filesystem::path& folder) REQUIRES(m_lock);
  // Reads the next bundles up to one that is a new voice, and returns that; null at the end.
  const Voice* readNext() const REQUIRES(m_lock);
  const Voice* readBundle(const std::filesystem::path& bundle) const REQUIRES(m_lock);
  const Voice* findRead(const VoiceSpec& spec) const REQUIRES(m_lock);
  // Before and after a fork.
  static void lockShared() NO_THREAD_SAFETY_ANALYSIS;
  static void unlockShared() NO_THREAD_SAFETY_ANALYSIS;

  mutable base::Mutex m_lock;
  mutable TrustedPaths m_trusted GUARDED_BY(m_lock);
  std::vector<std::filesystem::path> m_bundles GUARDED_BY(m_lock);  // in order
  mutable std::size_t m_read GUARDED_BY(m_lock) = 0;                // number of bundles
  mutable std::deque<Voice> m_voices GUARDED_BY(m_lock);            // of those
};

}  // namespace platform
