// SPDX-License-Identifier: Apache-2.0
//
// Runs any sequence of calls and engine events on three channels of the plug-in. Checks that every
// result is an allowed one, that every job ends, and that no lock or memory is left. Input: one
// step per line. A step is a letter, the number of a channel (1 to 3) and the arguments:
//
//   o1                    open            x1                 close
//   s1 text               speak           t1 text            speak; text-done provides the text
//   k1 boundary           stop            p1 boundary        pause           c1       continue
//   v1 folder             use voice       r1                 read the state
//   g1 code               get info        i1 code number     set info of a value
//   f1 path               output to a file; to the device without a path
//   w1 start length       word event      h1 name start      phoneme event
//   b1 name               bookmark        q1 start length    sentence        e1       END
//   S mode                what a stop does to a job (0 to 4)
//   F operation call      the engine's operation fails at that call
//
// Other lines are ignored. The steps run on one thread; the plug-in and the engine use threads of
// their own.
#include <algorithm>
#include <array>
#include <atomic>
#include <charconv>
#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "Fuzz.h"
#include "KavrelSpeechEngine.h"
#include "ScriptedEngine.h"

namespace {

using scripted::engine;

constexpr int kChannels = 3;

int numberIn(std::string_view word) {
  int value = 0;
  std::from_chars(word.data(), word.data() + word.size(), value);
  return value;
}

template <typename Condition>
void requireSoon(Condition holds, const char* what) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (!holds()) {
    fuzz::require(std::chrono::steady_clock::now() < deadline, what);
    std::this_thread::yield();
  }
}

void requireOneOf(long result, std::initializer_list<long> allowed, const char* what) {
  for (const long each : allowed) {
    if (result == each) return;
  }
  fuzz::require(false, what);
}

// A channel of the sequence, open or not.
struct Channel {
  SpeechChannelIdentifier id = 0;  // 0: never opened
  bool open = false;
  int port = 0;  // number of the port of its last job; 0: none
  int started = 0;
  int paused = 0;  // a pause of an idle channel counts as a job when it is stopped
  std::atomic<int> done = 0;
  std::string more;  // for the text-done callback
  bool asked = false;
};

class Sequence {
 public:
  Sequence() {
    fuzz::require(engine().reset(), "the engine's threads end");
    engine().recordCalls(false);
    // Some jobs never end, so the limits are short.
    engine().setWaitLimit(std::chrono::milliseconds(2));
    engine().setCallbackPatience(std::chrono::milliseconds(2));
  }

  void step(std::string_view line);
  void finish();

 private:
  void call(char letter, Channel& channel, std::string_view rest);
  void play(char letter, Channel& channel, std::string_view rest);
  void open(Channel& channel);
  void speak(Channel& channel, const std::string& text);
  void get(Channel& channel, std::string_view rest);
  void set(Channel& channel, std::string_view rest);
  void useVoice(Channel& channel, std::string_view folder);
  void writeTo(Channel& channel, std::string_view path);

  std::array<Channel, kChannels> m_channels;
  bool m_faulty = false;  // calls of the engine fail
};

void textDone(SpeechChannel, SRefCon refCon, const void** next, unsigned long*, SInt32*) {
  auto& channel = *static_cast<Channel*>(refCon);
  *next = channel.asked ? nullptr : channel.more.c_str();
  channel.asked = true;
}

void speechDone(SpeechChannel, SRefCon refCon) {
  ++static_cast<Channel*>(refCon)->done;
}

void word(SpeechChannel, SRefCon, unsigned long, UInt16) {}
void phoneme(SpeechChannel, SRefCon, SInt16) {}
void sync(SpeechChannel, SRefCon, OSType) {}

template <typename Function>
void* pointerTo(Function* function) {
  return reinterpret_cast<void*>(function);
}

void Sequence::open(Channel& channel) {
  if (channel.open) return;
  channel.open = SEOpenSpeechChannel(&channel.id) == noErr;
  fuzz::require(channel.open, "a channel opens");
  channel.port = 0;
  SESetSpeechInfo(channel.id, soRefCon, &channel);
  SESetSpeechInfo(channel.id, soSpeechDoneCallBack, pointerTo(speechDone));
  SESetSpeechInfo(channel.id, soWordCallBack, pointerTo(word));
  SESetSpeechInfo(channel.id, soPhonemeCallBack, pointerTo(phoneme));
  SESetSpeechInfo(channel.id, soSyncCallBack, pointerTo(sync));
}

void Sequence::speak(Channel& channel, const std::string& text) {
  // Without a terminating NUL, as clients pass it.
  const std::vector<char> bytes(text.begin(), text.end());
  const int before = engine().count(scripted::Op::Speak);
  long result = synthNotReady;
  try {
    result = SESpeakBuffer(channel.id, const_cast<char*>(bytes.data()),
                           static_cast<long>(bytes.size()), 0);
  } catch (const std::bad_alloc&) {
  } catch (const std::out_of_range&) {
  }
  requireOneOf(result, {noErr, noSynthFound, synthNotReady, badInputText}, "speak's result");
  if (result != noErr) return;
  fuzz::require(channel.open, "a closed channel does not speak");
  fuzz::require(engine().count(scripted::Op::Speak) > before, "the engine is called");
  ++channel.started;
  if (channel.port == 0 || !engine().port(channel.port).open()) channel.port = engine().ports();
}

void Sequence::get(Channel& channel, std::string_view rest) {
  std::array<char, 512> room{};
  OSType code = 0;
  for (const char c : rest.substr(0, 4)) code = code << 8 | static_cast<unsigned char>(c);
  requireOneOf(SEGetSpeechInfo(channel.id, code, room.data()),
               {noErr, noSynthFound, siUnknownInfoType}, "get's result");
}

void Sequence::set(Channel& channel, std::string_view rest) {
  const std::string_view name = fuzz::takeWord(rest);
  const int value = numberIn(fuzz::takeWord(rest));
  OSType code = 0;
  for (const char c : name.substr(0, 4)) code = code << 8 | static_cast<unsigned char>(c);
  // Pointers must be valid, so random values are no use for them.
  for (const OSType pointer :
       {soRefCon, soTextDoneCallBack, soSpeechDoneCallBack, soSyncCallBack, soErrorCallBack,
        soPhonemeCallBack, soWordCallBack, soOutputToFileWithCFURL}) {
    if (code == static_cast<OSType>(pointer)) return;
  }
  std::array<int, 128> room{value};
  requireOneOf(SESetSpeechInfo(channel.id, code, room.data()), {noErr, noSynthFound},
               "set's result");
}

void Sequence::useVoice(Channel& channel, std::string_view folder) {
  const std::string path = folder.empty() ? "/tmp" : std::string(folder);
  const CFURLRef url = CFURLCreateFromFileSystemRepresentation(
      nullptr, reinterpret_cast<const UInt8*>(path.data()), static_cast<CFIndex>(path.size()),
      static_cast<Boolean>(true));
  const CFBundleRef bundle = url != nullptr ? CFBundleCreate(nullptr, url) : nullptr;
  VoiceSpec voice{0x4B56524C, static_cast<OSType>(path.size())};
  requireOneOf(SEUseVoice(channel.id, &voice, bundle), {noErr, noSynthFound}, "voice's result");
  if (bundle != nullptr) CFRelease(bundle);
  if (url != nullptr) CFRelease(url);
}

void Sequence::writeTo(Channel& channel, std::string_view path) {
  const CFURLRef url = path.empty()
                           ? nullptr
                           : CFURLCreateFromFileSystemRepresentation(
                                 nullptr, reinterpret_cast<const UInt8*>(path.data()),
                                 static_cast<CFIndex>(path.size()), static_cast<Boolean>(false));
  requireOneOf(SESetSpeechInfo(channel.id, soOutputToFileWithCFURL,
                               const_cast<void*>(static_cast<const void*>(url))),
               {noErr, noSynthFound, paramErr}, "the result for a file");
  if (url != nullptr) CFRelease(url);
}

// Calls are also made on closed channels, where the result may be noSynthFound.
void Sequence::call(char letter, Channel& channel, std::string_view rest) {
  const auto boundary = static_cast<unsigned long>(numberIn(rest));
  const auto expect = [](long result) {
    requireOneOf(result, {noErr, noSynthFound, -1}, "the result of a request");
  };
  switch (letter) {
    case 'o':
      return open(channel);
    case 'x':
      fuzz::require(
          SECloseSpeechChannel(channel.id) == (channel.open ? long{noErr} : long{noSynthFound}),
          "close's result");
      channel.open = false;
      return;
    case 's':
      SESetSpeechInfo(channel.id, soTextDoneCallBack, nullptr);
      return speak(channel, std::string(rest));
    case 't':
      channel.more = rest;
      channel.asked = false;
      SESetSpeechInfo(channel.id, soTextDoneCallBack, pointerTo(textDone));
      return speak(channel, "and ");
    case 'k':
      return expect(SEStopSpeechAt(channel.id, boundary));
    case 'p':
      ++channel.paused;
      return expect(SEPauseSpeechAt(channel.id, boundary));
    case 'c':
      return expect(SEContinueSpeech(channel.id));
    case 'v':
      return useVoice(channel, rest);
    case 'g':
      return get(channel, rest);
    case 'i':
      return set(channel, rest);
    case 'f':
      return writeTo(channel, rest);
    case 'r': {
      SpeechStatusInfo status{};
      expect(SESpeechStatus(channel.id, &status));
      return;
    }
    default:
      return play(letter, channel, rest);
  }
}

void Sequence::play(char letter, Channel& channel, std::string_view rest) {
  if (channel.port == 0) return;
  scripted::Port port = engine().port(channel.port);
  if (letter == 'b') {
    port.bookmark(std::string(rest));
    return;
  }
  const std::string first(fuzz::takeWord(rest));
  const int number = numberIn(fuzz::takeWord(rest));
  if (letter == 'w') port.word(numberIn(first), number);
  if (letter == 'q') port.sentence(numberIn(first), number);
  if (letter == 'h') port.phoneme(first, number);
  if (letter == 'e') port.end();
}

// S and F have no channel; every other step needs a valid one.
void Sequence::step(std::string_view line) {
  if (line.size() < 2) return;
  std::string_view rest = line.substr(2);
  if (!rest.empty() && rest.front() == ' ') rest.remove_prefix(1);
  if (line[0] == 'S') {
    const int mode = numberIn(rest) % 5;
    return engine().onStop(static_cast<scripted::OnStop>(mode < 0 ? 0 : mode));
  }
  if (line[0] == 'F') {
    const auto operation = numberIn(fuzz::takeWord(rest));
    const int call = numberIn(fuzz::takeWord(rest));
    const int count = static_cast<int>(scripted::Op::Count);
    if (operation < 0 || operation >= count || call < 1) return;
    m_faulty = true;
    return engine().fail(static_cast<scripted::Op>(operation), call);
  }
  const int number = line[1] - '1';
  if (number < 0 || number >= kChannels) return;
  call(line[0], m_channels[static_cast<std::size_t>(number)], rest);
}

// Checks what must hold after every sequence: every job is reported once, and a new channel speaks.
void Sequence::finish() {
  engine().useDefaultResults();
  engine().onStop(scripted::OnStop::EndsAtOnce);
  for (Channel& channel : m_channels) {
    if (!channel.open) continue;
    fuzz::require(SECloseSpeechChannel(channel.id) == noErr, "an open channel closes");
    channel.open = false;
  }
  // A job that could not be stopped keeps its channel's record until its end.
  for (int port = 1; port <= engine().ports(); ++port) {
    if (engine().port(port).running()) engine().port(port).end();
  }
  Channel fresh;
  open(fresh);
  speak(fresh, "Hello");
  fuzz::require(fresh.started == 1, "a fresh channel speaks");
  engine().port(engine().ports()).end();
  requireSoon([&] { return fresh.done == 1; }, "a fresh channel reports its end");
  fuzz::require(SECloseSpeechChannel(fresh.id) == noErr, "a fresh channel closes");
  requireSoon([] { return engine().heldLocks() == 0; }, "no lock is held");
  requireSoon([] { return engine().live().blocks == 0; }, "no block is left");
  for (const Channel& channel : m_channels) {
    // A job that the engine failed to stop continues and is not reported.
    if (!m_faulty) {
      requireSoon([&] { return channel.done >= channel.started; }, "every job is signalled");
    }
    fuzz::require(channel.done <= channel.started + channel.paused, "no job is signalled twice");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // Late callbacks may still use their channel, so the last sequences are kept.
  static std::array<std::unique_ptr<Sequence>, 64> kept;
  static std::size_t next = 0;
  std::unique_ptr<Sequence>& slot = kept[next++ % kept.size()];
  slot = std::make_unique<Sequence>();
  Sequence& sequence = *slot;
  std::string_view rest = fuzz::viewOf(data, size);
  while (!rest.empty()) {
    const std::size_t end = std::min(rest.find('\n'), rest.size());
    sequence.step(rest.substr(0, end));
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  sequence.finish();
  return 0;
}
