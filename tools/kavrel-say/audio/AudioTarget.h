// SPDX-License-Identifier: Apache-2.0
//
// AudioTarget: the destination of -o, a file or standard output.
//
// The Manager writes AIFF to a seekable file. For another format, or for a pipe, it writes to an
// unnamed temporary file, which is converted or copied when the speech has ended.
//
// Threads: used by one thread.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "audio/AudioFormat.h"
#include "audio/OutputFile.h"
#include "audio/TemporaryFile.h"
#include "screen/Output.h"

namespace say {

class AudioTarget {
 public:
  // `path` may be kStandardStream. Creates the file if it does not exist. Throws Failure if it
  // cannot be written.
  AudioTarget(const std::string& path, const AudioFormat& format);

  // Returns the path of the file that the Manager is to write.
  std::string pathForManager() const;

  // For a speech that did not start: removes the file if the constructor created it.
  void discard() const;

  // To be called when the speech has ended: converts, copies or checks the file. Ends early when
  // `isStopped` returns true; the audio up to there is valid. Throws Failure if the audio is not
  // complete, and what Output::write() throws.
  void complete(const Interruption& interruption, const std::function<bool()>& isStopped) const;

 private:
  void copyToStream(const Interruption& interruption, const std::function<bool()>& isStopped) const;
  int openStream() const;

  const std::string m_path;
  const AudioFormat m_format;
  std::optional<OutputFile> m_file;             // none for standard output
  bool m_isStream = false;                      // not seekable
  std::optional<TemporaryFile> m_intermediate;  // for the Manager if it cannot write m_file
};

}  // namespace say
