// SPDX-License-Identifier: Apache-2.0
//
// SoundTarget: where the sound goes that is not heard: a file, or standard output.
//
// The Manager writes AIFF files. What is to be in another format, or cannot be written from its
// front again (a pipe), goes to a file without a name first.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "audio/AudioFormat.h"
#include "audio/OutputFile.h"
#include "audio/TemporaryFile.h"
#include "screen/Output.h"

namespace say {

class SoundTarget {
 public:
  // `path` may be kStandardStream. Makes the file if it is not there. Throws Failure when it cannot
  // be written.
  SoundTarget(const std::string& path, const AudioFormat& format);

  // The file for the Manager.
  std::string managersPath() const;

  // Nothing has been spoken: removes a file that was made for it.
  void discard() const;

  // To be called when the speech is over. `isStopped` tells when to hurry: what has been written by
  // then can be played. Throws Failure when the sound is not where it should be, and as
  // Output::write() does.
  void complete(const Interruption& interruption, const std::function<bool()>& isStopped) const;

 private:
  void copyToStream(const Interruption& interruption, const std::function<bool()>& isStopped) const;
  int openStream() const;

  const std::string m_path;
  const AudioFormat m_format;
  std::optional<OutputFile> m_file;        // but for standard output
  bool m_isStream = false;                 // cannot be sought in
  std::optional<TemporaryFile> m_between;  // what the Manager writes, where that is not m_file
};

}  // namespace say
