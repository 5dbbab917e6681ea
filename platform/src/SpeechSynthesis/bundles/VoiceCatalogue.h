// SPDX-License-Identifier: Apache-2.0
//
// VoiceCatalogue: the voices that can be spoken with, and where their bundles are.
//
// A voice is a folder NAME.SpeechVoice with a property list, Info.plist or Contents/Info.plist. Its
// dictionary holds
//   VoiceCreator           string    the synthesizer it belongs to, four ASCII characters
//   VoiceID                integer   its number there, 32 bits without sign
//   VoiceName              string    1 to 63 characters of Mac OS Roman
//   VoiceGender            string    male, female or neuter
//   VoiceLocaleIdentifier  string    as en_US
//   VoiceDemoText          string    up to 255 characters of Mac OS Roman; optional
//   VoiceAge               integer   years; optional
//   VoiceVersion           integer   optional
// and may hold more, which is not looked at. A bundle that cannot be used is left out, with one
// line on standard error that says which and why.
//
// Threads: a catalogue never changes after its construction; any thread may use it.
#pragma once

#include <ApplicationServices/SpeechSynthesis.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace platform {

struct Voice {
  VoiceSpec spec;
  VoiceDescription description;  // complete, `length` as of a whole record
  std::string locale;            // as en_US
  std::filesystem::path bundle;  // absolute
};

class VoiceCatalogue {
 public:
  // Reads the bundles in `folders`, in that order, and in the order of their names in each folder.
  // A folder that is not there is passed over silently. Of two voices with the same VoiceSpec the
  // first stays, so that an earlier folder can replace a voice of a later one; two in one folder
  // are reported.
  explicit VoiceCatalogue(const std::vector<std::filesystem::path>& folders);

  // The process's catalogue, made at the first call from searchFolders().
  static const VoiceCatalogue& shared();

  // The folders of SPEECH_VOICE_PATH, the user's folder, then those that belong to this library.
  static std::vector<std::filesystem::path> searchFolders();

  const std::vector<Voice>& voices() const { return m_voices; }

  // Null: there is no such voice.
  const Voice* find(const VoiceSpec& spec) const;

  // The first male voice that speaks American English, else any English, else the first voice;
  // null without voices.
  const Voice* defaultVoice() const;

 private:
  void addFolder(const std::filesystem::path& folder);
  void addBundle(const std::filesystem::path& bundle);

  std::vector<Voice> m_voices;
};

}  // namespace platform
