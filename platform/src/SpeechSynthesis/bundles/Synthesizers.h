// SPDX-License-Identifier: Apache-2.0
//
// Synthesizers: the synthesizers of this process, loaded when a channel first needs them.
//
// A synthesizer is a library NAME.so. Which voices it speaks is known only after a channel is open
// (the subtype of soSynthType is the creator of its voices), so the libraries are loaded one after
// the other until one has the creator. A library that cannot be used is skipped from then on, with
// one line on standard error; so is one that others can change (TrustedPaths.h), or a folder of
// such libraries.
//
// Threads: all functions are safe to call from any thread. The lock is held while a library is
// loaded and its creator is read.
#pragma once

#include <ApplicationServices/SpeechSynthesis.h>

#include <filesystem>
#include <memory>
#include <utility>
#include <vector>

#include "SpeechSynthesis/bundles/SearchPaths.h"
#include "SpeechSynthesis/bundles/SynthesizerPlugIn.h"
#include "base/threads/Mutex.h"

namespace platform {

// An open channel of a synthesizer.
struct OpenedChannel {
  const SynthesizerPlugIn* plugIn = nullptr;
  SpeechChannelIdentifier identifier = 0;
};

class Synthesizers {
 public:
  // `ownFile`, the file of the Manager, decides which libraries are trusted (TrustedPaths.h).
  explicit Synthesizers(std::filesystem::path ownFile = managerLibraryFile())
      : m_ownFile(std::move(ownFile)) {}

  // The instance of the process. Never destroyed, like the libraries it has loaded.
  static Synthesizers& shared();

  // The folders to search, in order: those of SPEECH_SYNTHESIZER_PATH, the user's folder, the
  // folder next to this library.
  static std::vector<std::filesystem::path> searchFolders();

  // Opens a channel in the first synthesizer whose voices have `creator`; the caller closes it.
  // Results: noErr; noSynthFound, with one line on standard error; synthOpenFailed if a synthesizer
  // that may be the right one cannot open a channel.
  OSErr open(OSType creator, OpenedChannel& opened) EXCLUDES(m_lock);

 private:
  struct Loaded {
    OSType creator;
    std::unique_ptr<const SynthesizerPlugIn> plugIn;
  };
  // OfOthers: not usable for this creator, now or later. Unusable: cannot open a channel at
  // present.
  enum class TryResult { Opened, OfOthers, Unusable };

  const SynthesizerPlugIn* find(OSType creator) REQUIRES(m_lock);
  OSErr loadAndOpen(OSType creator, OpenedChannel& opened) REQUIRES(m_lock);
  std::vector<std::filesystem::path> listUntriedFiles() REQUIRES(m_lock);
  bool wasTried(const std::filesystem::path& path) const REQUIRES(m_lock);
  TryResult tryFile(const std::filesystem::path& file, OSType creator, OpenedChannel& opened)
      REQUIRES(m_lock);

  const std::filesystem::path m_ownFile;
  base::Mutex m_lock;
  std::vector<Loaded> m_loaded GUARDED_BY(m_lock);
  // Files that have been tried, and folders that are not trusted.
  std::vector<std::filesystem::path> m_seen GUARDED_BY(m_lock);
};

}  // namespace platform
