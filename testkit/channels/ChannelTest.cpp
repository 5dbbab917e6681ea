// SPDX-License-Identifier: Apache-2.0

#include "channels/ChannelTest.h"

#include <algorithm>
#include <chrono>
#include <filesystem>

#include <unistd.h>

#include "AppleMarkupConverter.h"
#include "SpeechMgrUtils.h"

namespace channels {
namespace {

constexpr auto kLimit = std::chrono::seconds(10);

Client& clientOf(SRefCon refCon) {
  return *static_cast<Client*>(refCon);
}

SpeechChannelIdentifier identifier(SpeechChannel channel) {
  return static_cast<SpeechChannelIdentifier>(reinterpret_cast<std::intptr_t>(channel));
}

}  // namespace

// ---- Client

std::vector<Client::Event> Client::events() const {
  const std::lock_guard held(m_lock);
  return m_events;
}

std::vector<std::string> Client::texts() const {
  std::vector<std::string> texts;
  for (Event& event : events()) texts.push_back(std::move(event.text));
  return texts;
}

int Client::count(const std::string& text) const {
  const std::vector<std::string> all = texts();
  return static_cast<int>(std::count(all.begin(), all.end(), text));
}

bool Client::waitFor(const std::string& text, int times) const {
  std::unique_lock held(m_lock);
  return m_changed.wait_for(held, kLimit, [&] {
    return std::count_if(m_events.begin(), m_events.end(),
                         [&](const Event& event) { return event.text == text; }) >= times;
  });
}

bool Client::waitForDone(int times) const {
  return waitFor("done", times);
}

void Client::note(SpeechChannel channel, std::string text) {
  {
    const std::lock_guard held(m_lock);
    m_events.push_back({std::move(text), identifier(channel), std::this_thread::get_id()});
  }
  m_changed.notify_all();
}

void Client::textDone(SpeechChannel channel, SRefCon refCon, const void** next,
                      unsigned long* length, SInt32* flags) {
  clientOf(refCon).onTextDone(identifier(channel), next, length, flags);
}

void Client::done(SpeechChannel channel, SRefCon refCon) {
  Client& client = clientOf(refCon);
  // The test's action runs first, so that it is complete when waitForDone() returns.
  if (client.onDone) client.onDone(identifier(channel));
  client.note(channel, "done");
}

void Client::sync(SpeechChannel channel, SRefCon refCon, OSType message) {
  clientOf(refCon).note(channel, "sync " + std::to_string(static_cast<SInt32>(message)));
  if (clientOf(refCon).onSync) clientOf(refCon).onSync(identifier(channel));
}

void Client::error(SpeechChannel channel, SRefCon refCon, OSErr error, long position) {
  clientOf(refCon).note(channel, "error " + std::to_string(error) + ' ' + std::to_string(position));
}

void Client::phoneme(SpeechChannel channel, SRefCon refCon, SInt16 code) {
  clientOf(refCon).note(channel, "phoneme " + std::to_string(code));
  if (clientOf(refCon).onPhoneme) clientOf(refCon).onPhoneme(identifier(channel));
}

void Client::word(SpeechChannel channel, SRefCon refCon, unsigned long position, UInt16 length) {
  clientOf(refCon).note(channel, "word " + std::to_string(static_cast<SInt32>(position)) + ' ' +
                                     std::to_string(length));
  if (clientOf(refCon).onWord) clientOf(refCon).onWord(identifier(channel));
}

// ---- Voices

Voices& voices() {
  static Voices theVoices;
  return theVoices;
}

// ---- ChannelTest

int threadCount() {
  // A sanitizer starts its own thread together with the program's first one, so that start happens
  // before any count. A joined thread still counts until the kernel has removed it.
  static std::once_flag first;
  std::call_once(first, [] {
    std::filesystem::path task;
    std::thread([&] { task = "/proc/self/task/" + std::to_string(gettid()); }).join();
    EXPECT_TRUE(eventually([&] { return !std::filesystem::exists(task); }));
  });
  // The link count of the folder is the kernel's own count; listing the folder could miss a thread
  // that starts while another one exits.
  return static_cast<int>(std::filesystem::hard_link_count("/proc/self/task")) - 2;
}

struct HeldUp::Shared {
  void pass() {
    std::unique_lock held(lock);
    if (arrived) return;
    arrived = true;
    changed.notify_all();
    changed.wait_for(held, kLimit, [&] { return released; });
  }

  std::mutex lock;
  std::condition_variable changed;
  bool arrived = false;
  bool released = false;
};

HeldUp::HeldUp() : m_shared(std::make_shared<Shared>()) {
  const auto hold = [shared = m_shared, test = std::this_thread::get_id()] {
    if (std::this_thread::get_id() != test) shared->pass();
  };
  scripted::engine().during(scripted::Op::MutexLock, hold);
}

HeldUp::~HeldUp() {
  release();
  scripted::engine().during(scripted::Op::MutexLock, nullptr);
}

bool HeldUp::arrived() {
  std::unique_lock held(m_shared->lock);
  return m_shared->changed.wait_for(held, kLimit, [&] { return m_shared->arrived; });
}

void HeldUp::release() {
  const std::lock_guard held(m_shared->lock);
  m_shared->released = true;
  m_shared->changed.notify_all();
}

bool eventually(const std::function<bool()>& condition) {
  const auto deadline = std::chrono::steady_clock::now() + kLimit;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

Client& newClient() {
  // Never released: a faulty plug-in may call a client after its test.
  static std::vector<std::unique_ptr<Client>>& clients = *new std::vector<std::unique_ptr<Client>>;
  clients.push_back(std::make_unique<Client>());
  return *clients.back();
}

ChannelTest::ChannelTest() : m_client(&newClient()), m_threadsBefore(threadCount()) {
  EXPECT_TRUE(scripted::engine().reset());
  voices() = {};
}

ChannelTest::~ChannelTest() {
  scripted::engine().setDiagnostics(0, 0);
  scripted::engine().useDefaultResults();
  scripted::engine().onStop(scripted::OnStop::EndsAtOnce);
  for (const SpeechChannelIdentifier id : m_open) SECloseSpeechChannel(id);
  settle();
  EXPECT_EQ(scripted::engine().heldLocks(), 0);
  EXPECT_EQ(scripted::engine().live().blocks, 0) << "memory is not released";
  EXPECT_EQ(scripted::engine().live().values, 0);
  if (!m_violationsExpected) {
    EXPECT_THAT(scripted::engine().violations(), testing::IsEmpty());
  }
}

void ChannelTest::settle() {
  EXPECT_TRUE(eventually([&] { return threadCount() <= m_threadsBefore; }))
      << "a thread is still running";
}

SpeechChannelIdentifier ChannelTest::openBare() {
  SpeechChannelIdentifier id = 0;
  EXPECT_EQ(SEOpenSpeechChannel(&id), noErr);
  m_open.push_back(id);
  return id;
}

SpeechChannelIdentifier ChannelTest::open(Client& client) {
  const SpeechChannelIdentifier id = openBare();
  set(id, soRefCon, &client);
  set(id, soSpeechDoneCallBack, asPointer(Client::done));
  set(id, soSyncCallBack, asPointer(Client::sync));
  set(id, soErrorCallBack, asPointer(Client::error));
  set(id, soPhonemeCallBack, asPointer(Client::phoneme));
  set(id, soWordCallBack, asPointer(Client::word));
  return id;
}

long ChannelTest::close(SpeechChannelIdentifier id) {
  std::erase(m_open, id);
  return SECloseSpeechChannel(id);
}

long ChannelTest::speak(SpeechChannelIdentifier id, const std::string& text, long flags) {
  std::string copy = text;
  return SESpeakBuffer(id, copy.data(), static_cast<long>(copy.size()), flags);
}

long ChannelTest::set(SpeechChannelIdentifier id, OSType selector, void* value) {
  return SESetSpeechInfo(id, selector, value);
}

long ChannelTest::setFile(SpeechChannelIdentifier id, const std::string& path) {
  if (path.empty()) return set(id, soOutputToFileWithCFURL, nullptr);
  const CFURLRef url =
      CFURLCreateFromFileSystemRepresentation(nullptr, reinterpret_cast<const UInt8*>(path.data()),
                                              static_cast<CFIndex>(path.size()), false);
  const long result =
      set(id, soOutputToFileWithCFURL, const_cast<void*>(static_cast<const void*>(url)));
  CFRelease(url);
  return result;
}

void ChannelTest::setVoice(SpeechChannelIdentifier id, const char* directory) {
  speech_channel* const channel = find_channel(id);
  VoiceSpec voice{code("BRVD"), 1};
  const ChannelLock held(channel);
  channel_set_voice(channel, &voice, directory ? cst_strdup(directory) : nullptr);
}

Status ChannelTest::statusInfo(SpeechChannelIdentifier id) {
  SpeechStatusInfo info{};
  EXPECT_EQ(SESpeechStatus(id, &info), noErr);
  return {info.outputBusy, info.outputPaused, info.inputBytesLeft, info.phonemeCode};
}

channel_status_t ChannelTest::status(SpeechChannelIdentifier id) {
  return read(id, [](const speech_channel& channel) { return channel.status; });
}

std::string ChannelTest::converted(const std::string& text) {
  std::string copy = text;
  const std::string prepared = PreprocessText(reinterpret_cast<unsigned char*>(copy.data()));
  return AppleMarkupConverter(prepared, AppleMarkupConverter::SSML, SpeechMgrEnv())
      .getConvertedText();
}

}  // namespace channels

// Replaces the platform's function: the program's symbol is found before the library's.
OSErr GetVoiceDescription(const VoiceSpec* voice, VoiceDescription* info, long infoLength) {
  channels::Voices& voices = channels::voices();
  voices.asked.emplace_back(voice ? voice->id : 0, infoLength);
  if (voices.onAsked) voices.onAsked();
  if (!info) return noErr;
  const auto found = voices.genders.find(voice ? voice->id : 0);
  info->gender = found == voices.genders.end() ? SInt16{kNeuter} : found->second;
  return noErr;
}
