// SPDX-License-Identifier: Apache-2.0
//
// Shared by the tests of the plug-in on the scripted engine: a client that records its callbacks, a
// fixture that opens channels and checks that nothing is left after the test, and a stand-in for
// the platform's voices that the test defines.
//
// Threads: the fixture's functions run on the test's thread; a Client may be used on any thread.
#pragma once

#include <ApplicationServices/ApplicationServices.h>
#include <CoreFoundation/CoreFoundation.h>

#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ChannelSupport.h"
#include "KavrelSpeechEngine.h"
#include "ScriptedEngine.h"
#include "SpeechChannel.h"

namespace channels {

// The client of one test: its callbacks, and a record of their arguments. The reference constant of
// the channel points to the client. Callbacks run on any thread.
class Client {
 public:
  struct Event {
    std::string text;  // "word 4 3", "phoneme 2", "sync 42", "done"
    SpeechChannelIdentifier channel;
    std::thread::id thread;
  };

  std::vector<Event> events() const;
  std::vector<std::string> texts() const;
  int count(const std::string& text) const;
  // Waits up to ten seconds until speech-done has been called `times` times; returns whether it
  // has.
  bool waitForDone(int times = 1) const;
  // The same for any recorded text.
  bool waitFor(const std::string& text, int times) const;

  // Run inside the callback, after it is recorded (onDone: before). Set before the first callback.
  std::function<void(SpeechChannelIdentifier)> onDone;
  std::function<void(SpeechChannelIdentifier)> onWord;
  std::function<void(SpeechChannelIdentifier)> onPhoneme;
  std::function<void(SpeechChannelIdentifier)> onSync;
  // Runs as the text-done callback.
  std::function<void(SpeechChannelIdentifier, const void** next, unsigned long* length,
                     SInt32* flags)>
      onTextDone;

  static void textDone(SpeechChannel channel, SRefCon refCon, const void** next,
                       unsigned long* length, SInt32* flags);
  static void done(SpeechChannel channel, SRefCon refCon);
  static void sync(SpeechChannel channel, SRefCon refCon, OSType message);
  static void error(SpeechChannel channel, SRefCon refCon, OSErr error, long position);
  static void phoneme(SpeechChannel channel, SRefCon refCon, SInt16 code);
  static void word(SpeechChannel channel, SRefCon refCon, unsigned long position, UInt16 length);

 private:
  void note(SpeechChannel channel, std::string text);

  mutable std::mutex m_lock;
  mutable std::condition_variable m_changed;
  std::vector<Event> m_events;
};

// A new client, which exists until the program exits.
Client& newClient();

// The platform's voices as the test defines them: gender by voice. All other voices are neuter. The
// program's own GetVoiceDescription returns them.
struct Voices {
  std::map<OSType, SInt16> genders;            // by VoiceSpec::id
  std::vector<std::pair<OSType, long>> asked;  // calls: id (0: null voice), size of the record
  std::function<void()> onAsked;               // runs in every call
};
Voices& voices();

template <class Callback>
void* asPointer(Callback* callback) {
  return reinterpret_cast<void*>(callback);
}

// A four-character code as a number.
constexpr OSType code(const char (&text)[5]) {
  OSType value = 0;
  for (int i = 0; i < 4; ++i) value = value << 8U | static_cast<unsigned char>(text[i]);
  return value;
}

// The result of SESpeechStatus, as plain numbers.
struct Status {
  int outputBusy;
  int outputPaused;
  int inputBytesLeft;
  int phonemeCode;
};

class ChannelTest : public testing::Test {
 protected:
  ChannelTest();
  // Closes the open channels and waits for the plug-in's threads. Fails the test if a thread, a
  // held lock or a memory block is left, or if the plug-in has misused the engine.
  ~ChannelTest() override;

  // Opens a channel with all callbacks of `client` except text-done.
  SpeechChannelIdentifier open(Client& client);
  SpeechChannelIdentifier open() { return open(client()); }
  // Opens a channel without callbacks.
  SpeechChannelIdentifier openBare();
  long close(SpeechChannelIdentifier id);
  Client& client() { return *m_client; }

  static long speak(SpeechChannelIdentifier id, const std::string& text, long flags = 0);
  static long set(SpeechChannelIdentifier id, OSType selector, void* value);
  // Sets the output file for the next jobs; an empty path: no file.
  static long setFile(SpeechChannelIdentifier id, const std::string& path);
  // Sets a voice with the folder `directory`; null: a voice without a folder.
  static void setVoice(SpeechChannelIdentifier id, const char* directory);
  static Status statusInfo(SpeechChannelIdentifier id);
  static channel_status_t status(SpeechChannelIdentifier id);
  // A copy of a field, read under the channel's lock.
  template <class Read>
  static auto read(SpeechChannelIdentifier id, Read get) {
    speech_channel* const channel = find_channel(id);
    const ChannelLock held(channel);
    return get(*channel);
  }
  // Waits until no thread of the plug-in or the engine is left.
  void settle();
  // Number of channel records freed since the test began: each destroys its mutex.
  static int freed() { return scripted::engine().count(scripted::Op::MutexDestroy); }
  // The text that a channel with default settings passes to the engine for `text`.
  static std::string converted(const std::string& text);

  // Set by tests whose jobs end late, since the scripted engine then reports a violation.
  bool m_violationsExpected = false;

 private:
  Client* m_client;
  int m_threadsBefore;
  std::vector<SpeechChannelIdentifier> m_open;
};

// Scope guard: enables the diagnostic areas in `mask` at `level`.
class Diagnosing {
 public:
  Diagnosing(unsigned int mask, int level) { scripted::engine().setDiagnostics(mask, level); }
  ~Diagnosing() { scripted::engine().setDiagnostics(0, 0); }
  Diagnosing(const Diagnosing&) = delete;
  Diagnosing& operator=(const Diagnosing&) = delete;
};

// Blocks the first thread that locks a channel, except the test's own, until release().
class HeldUp {
 public:
  HeldUp();
  ~HeldUp();
  HeldUp(const HeldUp&) = delete;
  HeldUp& operator=(const HeldUp&) = delete;

  // Waits up to ten seconds until a thread is blocked; returns whether one is.
  bool arrived();
  void release();

 private:
  struct Shared;  // outlives the object while a thread is still inside
  const std::shared_ptr<Shared> m_shared;
};

// The number of threads of this process.
int threadCount();

// Polls `condition` for up to ten seconds; returns whether it became true. For states that no call
// reports.
bool eventually(const std::function<bool()>& condition);

}  // namespace channels
