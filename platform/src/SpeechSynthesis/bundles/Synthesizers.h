// SPDX-License-Identifier: Apache-2.0
//
// Synthesizers: the synthesizers of this process, loaded when a channel first needs them.
//
// A synthesizer is a library NAME.so. It tells whose voices it speaks (the subtype of soSynthType)
// through an open channel, so the libraries are loaded one after the other until one answers for
// the voice. One that cannot be used is left out for good, with one line on standard error, and the
// next is tried.
//
// Threads: all functions may be called on any thread. The lock is held while a library is loaded
// and asked.
#pragma once

#include <ApplicationServices/SpeechSynthesis.h>

#include <filesystem>
#include <memory>
#include <mutex>
#include <vector>

#include "SpeechSynthesis/bundles/SynthesizerPlugIn.h"

namespace platform {

// An open channel of a synthesizer.
struct OpenedChannel {
  const SynthesizerPlugIn* plugIn = nullptr;
  SpeechChannelIdentifier identifier = 0;
};

class Synthesizers {
 public:
  // The process's own. Never destroyed, like what it has loaded.
  static Synthesizers& shared();

  // Where synthesizers are looked for: the folders of SPEECH_SYNTHESIZER_PATH, the user's folder,
  // and the folder that belongs to this library.
  static std::vector<std::filesystem::path> searchFolders();

  // Opens a channel in the first synthesizer that speaks voices of `creator`. Results: noErr;
  // noSynthFound, and one line on standard error; synthOpenFailed.
  OSErr open(OSType creator, OpenedChannel& opened);

 private:
  struct Loaded {
    OSType creator;
    std::unique_ptr<const SynthesizerPlugIn> plugIn;
  };
  enum class TryResult { Opened, OfOthers, Unusable };

  const SynthesizerPlugIn* find(OSType creator);
  std::vector<std::filesystem::path> listUntriedFiles();
  TryResult tryFile(const std::filesystem::path& file, OSType creator, OpenedChannel& opened);

  std::mutex m_lock;
  // Below: with m_lock.
  std::vector<Loaded> m_loaded;
  std::vector<std::filesystem::path> m_seen;  // files that need not be looked at again
};

}  // namespace platform
