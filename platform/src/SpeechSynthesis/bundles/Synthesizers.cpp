// SPDX-License-Identifier: Apache-2.0
//
// Synthesizers: loads libraries one by one until one of them speaks the voice. What is loaded stays
// loaded, so each library is opened at most once per process.
#include "SpeechSynthesis/bundles/Synthesizers.h"

#include <algorithm>
#include <exception>
#include <string>
#include <utility>

#include "SpeechSynthesis/bundles/TrustedPaths.h"
#include "SpeechSynthesis/calls/StandardError.h"

namespace platform {
namespace {

namespace fs = std::filesystem;

constexpr const char* kSuffix = ".so";

// Opens a channel. Returns false if the synthesizer cannot; `reason` is then what it has thrown, if
// anything, as the end of a message.
bool openChannel(const SynthesizerPlugIn& plugIn, SpeechChannelIdentifier& channel,
                 std::string& reason) {
  try {
    return plugIn.call().openSpeechChannel(&channel) == noErr;
  } catch (const std::exception& thrown) {
    reason = std::string(": ") + thrown.what();
  } catch (...) {
    reason = ": it throws an exception";
  }
  return false;
}

// The creator of a synthesizer's voices; 0 if it does not report one.
OSType creatorOf(const SynthesizerPlugIn& plugIn, SpeechChannelIdentifier channel) {
  SpeechVersionInfo version{};
  try {
    if (plugIn.call().getSpeechInfo(channel, soSynthType, &version) == noErr) {
      return version.synthSubType;
    }
  } catch (...) {
    // The same as no report, which is a line of its own.
  }
  return 0;
}

// Closes a channel that nobody has used. What the synthesizer says about it changes nothing.
void closeUnused(const SynthesizerPlugIn& plugIn, SpeechChannelIdentifier channel) {
  try {
    plugIn.call().closeSpeechChannel(channel);
  } catch (...) {
    writeException("closing a channel of the synthesizer");
  }
}

std::string joinNames(const std::vector<fs::path>& folders) {
  std::string names;
  for (const fs::path& folder : folders) {
    if (!names.empty()) names += ", ";
    names += folder.string();
  }
  return names;
}

// The four characters of a code, for a message; "?" for a character that is not printable ASCII.
std::string printableCode(OSType code) {
  std::string text;
  for (const unsigned shift : {24U, 16U, 8U, 0U}) {
    const char character = static_cast<char>((code >> shift) & 0xFFU);
    text += character >= ' ' && character <= '~' ? character : '?';
  }
  return text;
}

}  // namespace

Synthesizers& Synthesizers::shared() {
  static auto* const synthesizers = new Synthesizers;
  return *synthesizers;
}

std::vector<fs::path> Synthesizers::searchFolders() {
  std::vector<fs::path> folders = foldersInVariable("SPEECH_SYNTHESIZER_PATH");
  if (const fs::path data = userDataFolder(); !data.empty()) {
    folders.push_back(data / KAVREL_SYNTHESIZERS_SUBDIR);
  }
  const fs::path library = managerLibraryFolder();
  if (!library.empty()) folders.push_back(library / KAVREL_SYNTHESIZERS_SUBDIR);
  return folders;
}

OSErr Synthesizers::open(OSType creator, OpenedChannel& opened) {
  const SynthesizerPlugIn* known = nullptr;
  {
    const base::ScopedLock held(m_lock);
    known = find(creator);
    if (known == nullptr) return loadAndOpen(creator, opened);
  }
  // Without the lock: opening a channel may take long, and a loaded synthesizer never goes away.
  opened.plugIn = known;
  std::string reason;
  return openChannel(*known, opened.identifier, reason) ? OSErr{noErr} : OSErr{synthOpenFailed};
}

// Loads untried libraries until one of them speaks voices of `creator`. All of it under the lock,
// so that two threads do not load the same library.
OSErr Synthesizers::loadAndOpen(OSType creator, OpenedChannel& opened) {
  bool someFailed = false;
  for (const fs::path& file : listUntriedFiles()) {
    const TryResult result = tryFile(file, creator, opened);
    if (result == TryResult::Opened) return noErr;
    someFailed = someFailed || result == TryResult::Unusable;
  }
  writeMessage("No synthesizer found for voices of \"" + printableCode(creator) + "\" in " +
               joinNames(searchFolders()));
  // The library that could not open a channel may be the right one, so the voice may work later.
  return someFailed ? OSErr{synthOpenFailed} : OSErr{noSynthFound};
}

const SynthesizerPlugIn* Synthesizers::find(OSType creator) {
  // Linear search: a process has one or two synthesizers.
  for (const Loaded& loaded : m_loaded) {
    if (loaded.creator == creator) return loaded.plugIn.get();
  }
  return nullptr;
}

// Returns the libraries that have not been tried, in the order of the folders, and sorted by name
// in each folder. A folder that cannot be read is empty.
// One that is not trusted is reported and skipped, if it has libraries.
std::vector<fs::path> Synthesizers::listUntriedFiles() {
  std::vector<fs::path> files;
  for (const fs::path& folder : searchFolders()) {
    if (wasTried(folder)) continue;
    std::vector<fs::path> found = pathsIn(folder);
    std::erase_if(found, [](const fs::path& file) { return file.extension() != kSuffix; });
    if (found.empty()) continue;
    if (const auto reason = TrustedPaths(m_ownFile).problemOf(folder)) {
      m_seen.push_back(folder);
      writeMessage("The synthesizers in " + folder.string() + " are not loaded: " + *reason);
      continue;
    }
    for (fs::path& file : found) {
      if (!wasTried(file)) files.push_back(std::move(file));
    }
  }
  return files;
}

bool Synthesizers::wasTried(const fs::path& path) const {
  return std::find(m_seen.begin(), m_seen.end(), path) != m_seen.end();
}

// Loads one library and opens a channel, which is the only way to read the creator. The channel is
// closed again if the creator is another one; the library is kept for later.
Synthesizers::TryResult Synthesizers::tryFile(const fs::path& file, OSType creator,
                                              OpenedChannel& opened) {
  std::unique_ptr<const SynthesizerPlugIn> plugIn;
  try {
    // Before it is loaded, since loading it runs its code.
    if (const auto reason = TrustedPaths(m_ownFile).problemOf(file)) {
      throw PlugInError("The synthesizer " + file.string() + " is not loaded: " + *reason);
    }
    plugIn = std::make_unique<SynthesizerPlugIn>(file);
  } catch (const PlugInError& reason) {
    // Not tried again: the message appears once per process.
    m_seen.push_back(file);
    writeMessage(reason.what());
    return TryResult::OfOthers;
  }
  // Out of memory is found before the channel is open, and leaves nothing half done.
  fs::path tried = file;
  m_seen.reserve(m_seen.size() + 1);
  m_loaded.reserve(m_loaded.size() + 1);
  SpeechChannelIdentifier channel = 0;
  std::string reason;
  if (!openChannel(*plugIn, channel, reason)) {
    // Not in m_seen: it may succeed next time.
    writeMessage("The synthesizer " + file.string() + " cannot open a channel" + reason);
    return TryResult::Unusable;
  }
  const OSType its = creatorOf(*plugIn, channel);
  const SynthesizerPlugIn* const kept = plugIn.get();
  m_seen.push_back(std::move(tried));
  // Kept also without a creator, so that it is not loaded and reported again.
  m_loaded.push_back({its, std::move(plugIn)});
  if (its == creator) {
    opened = {kept, channel};
    return TryResult::Opened;
  }
  closeUnused(*kept, channel);
  if (its == 0) {
    writeMessage("The synthesizer " + file.string() + " does not report the creator of its voices");
  }
  return TryResult::OfOthers;
}

}  // namespace platform
