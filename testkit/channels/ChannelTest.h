// SPDX-License-Identifier: Apache-2.0
//
// What the tests of the plug-in on the scripted engine share: a client that keeps what it was told,
// a fixture that opens channels for it and leaves nothing behind, and the voices of a platform
// whose voices the test makes up.
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

// The client of one test: its callbacks, and what they were given. The reference constant of the
// channel is the client. Callbacks run on any thread.
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
  // Whether speech-done has been called that often; waits for it, ten seconds at most.
  bool waitForDone(int times = 1) const;
  bool waitFor(const std::string& text, int times) const;

  // Run inside the callback, after it is noted. Set before the callbacks begin.
  std::function<void(SpeechChannelIdentifier)> onDone;
  std::function<void(SpeechChannelIdentifier)> onWord;
  std::function<void(SpeechChannelIdentifier)> onPhoneme;
  std::function<void(SpeechChannelIdentifier)> onSync;
  // Answers the text-done callback.
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

// A client that lives as long as the test program.
Client& newClient();

// The platform's voices as the test makes them up: gender by voice. A voice that is not here is
// neuter. The program's own GetVoiceDescription answers from it.
struct Voices {
  std::map<OSType, SInt16> genders;            // by VoiceSpec::id
  std::vector<std::pair<OSType, long>> asked;  // id (0 for a null voice) and size of the record
};
Voices& voices();

template <class Callback>
void* asPointer(Callback* callback) {
  return reinterpret_cast<void*>(callback);
}

// Four characters as a number.
constexpr OSType code(const char (&text)[5]) {
  OSType value = 0;
  for (int i = 0; i < 4; ++i) value = value << 8U | static_cast<unsigned char>(text[i]);
  return value;
}

// What SESpeechStatus fills in, as plain numbers.
struct Status {
  int outputBusy;
  int outputPaused;
  int inputBytesLeft;
  int phonemeCode;
};

class ChannelTest : public testing::Test {
 protected:
  ChannelTest();
  // Closes the channels that are open and waits for the plug-in's threads. Fails the test when
  // something is left: a thread, a lock, a block; or when the plug-in used the engine wrongly.
  ~ChannelTest() override;

  // Opens a channel with all callbacks of `client` but text-done.
  SpeechChannelIdentifier open(Client& client);
  SpeechChannelIdentifier open() { return open(client()); }
  // Opens a channel without callbacks.
  SpeechChannelIdentifier openBare();
  long close(SpeechChannelIdentifier id);
  Client& client() { return *m_client; }

  static long speak(SpeechChannelIdentifier id, const std::string& text, long flags = 0);
  static long set(SpeechChannelIdentifier id, OSType selector, void* value);
  // Chooses the file that the next jobs are written to; an empty path: none.
  static long setFile(SpeechChannelIdentifier id, const std::string& path);
  // Chooses a voice whose folder is `directory`, or one without a folder.
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
  // How many channels' records have been freed since the test began: each ends its lock.
  static int freed() { return scripted::engine().count(scripted::Op::MutexDestroy); }
  // What a channel with default settings gives the engine for `text`.
  static std::string converted(const std::string& text);

  // The test makes the engine's jobs end late, so the scripted engine may find fault with waits.
  bool m_violationsExpected = false;

 private:
  Client* m_client;
  int m_threadsBefore;
  std::vector<SpeechChannelIdentifier> m_open;
};

// Switches the diagnostic area on at that level for the life of the object.
class Diagnosing {
 public:
  Diagnosing(unsigned int mask, int level) { scripted::engine().setDiagnostics(mask, level); }
  ~Diagnosing() { scripted::engine().setDiagnostics(0, 0); }
  Diagnosing(const Diagnosing&) = delete;
  Diagnosing& operator=(const Diagnosing&) = delete;
};

// Holds up the first thread but the test's own that takes a channel's lock, until it is let go.
class HeldUp {
 public:
  HeldUp();
  ~HeldUp();
  HeldUp(const HeldUp&) = delete;
  HeldUp& operator=(const HeldUp&) = delete;

  // Whether such a thread has come; waits for it, ten seconds at most.
  bool arrived();
  void release();

 private:
  struct Shared;  // outlives the object where a thread is still inside
  const std::shared_ptr<Shared> m_shared;
};

// The number of threads of this process.
int threadCount();

// Whether `condition` becomes true; looks again and again, ten seconds at most. For what no call
// reports.
bool eventually(const std::function<bool()>& condition);

}  // namespace channels
