// SPDX-License-Identifier: Apache-2.0
#include "Scene.h"

#include <CoreFoundation/CoreFoundation.h>

#include "channels/ChannelTest.h"

namespace reentry {
namespace {

using channels::asPointer;
using channels::eventually;
using channels::threadCount;
using scripted::engine;
using scripted::Script;
using scripted::When;

constexpr SpeechChannelIdentifier kUnknown = 1'000'000;

Scene& sceneOf(SRefCon refCon) {
  return *static_cast<Scene*>(refCon);
}

SpeechChannelIdentifier identifier(SpeechChannel channel) {
  return static_cast<SpeechChannelIdentifier>(reinterpret_cast<std::intptr_t>(channel));
}

// Of a call that names a channel.
long answerOf(bool channelIsOpen) {
  return channelIsOpen ? long{noErr} : long{noSynthFound};
}

long speak(SpeechChannelIdentifier id) {
  std::string text = "Hello";
  return SESpeakBuffer(id, text.data(), static_cast<long>(text.size()), 0);
}

long useVoice(SpeechChannelIdentifier id) {
  const CFURLRef folder = CFURLCreateFromFileSystemRepresentation(
      nullptr, reinterpret_cast<const UInt8*>("/tmp"), 4, true);
  const CFBundleRef bundle = CFBundleCreate(nullptr, folder);
  VoiceSpec voice{channels::code("BRVD"), 1};
  const long result = SEUseVoice(id, &voice, bundle);
  CFRelease(bundle);
  CFRelease(folder);
  return result;
}

}  // namespace

// ---- The client

void Scene::textDone(SpeechChannel /*channel*/, SRefCon refCon, const void** next,
                     unsigned long* /*length*/, SInt32* /*flags*/) {
  *next = nullptr;
  sceneOf(refCon).reached(Callback::TextDone);
}

void Scene::speechDone(SpeechChannel channel, SRefCon refCon) {
  Scene& scene = sceneOf(refCon);
  if (identifier(channel) == scene.m_another) {
    ++scene.m_signalsAnother;
    return;
  }
  scene.reached(Callback::SpeechDone);
  ++scene.m_signals;
}

void Scene::sync(SpeechChannel /*channel*/, SRefCon refCon, OSType /*message*/) {
  sceneOf(refCon).reached(Callback::Sync);
}

void Scene::error(SpeechChannel /*channel*/, SRefCon refCon, OSErr /*error*/, long /*position*/) {
  sceneOf(refCon).reached(Callback::Error);
}

void Scene::phoneme(SpeechChannel /*channel*/, SRefCon refCon, SInt16 /*code*/) {
  sceneOf(refCon).reached(Callback::Phoneme);
}

void Scene::word(SpeechChannel /*channel*/, SRefCon refCon, unsigned long /*position*/,
                 UInt16 /*length*/) {
  sceneOf(refCon).reached(Callback::Word);
}

void Scene::reached(Callback callback) {
  if (callback != m_row.callback || m_called.exchange(true)) return;
  m_answer = callEntry(target());
  m_answered = true;
}

long Scene::callEntry(SpeechChannelIdentifier id) {
  SpeechStatusInfo status{};
  Fixed rate = Long2Fix(200);
  switch (m_row.entry) {
    case Entry::Open:
      m_opened = id;
      return SEOpenSpeechChannel(&m_opened);
    case Entry::Close:
      return SECloseSpeechChannel(id);
    case Entry::Status:
      return SESpeechStatus(id, &status);
    case Entry::Stop:
      return SEStopSpeechAt(id, kImmediate);
    case Entry::Pause:
      return SEPauseSpeechAt(id, kImmediate);
    case Entry::Continue:
      return SEContinueSpeech(id);
    case Entry::TextToPhonemes:
      return SETextToPhonemes(id, nullptr, 0, nullptr, nullptr);
    case Entry::UseDictionary:
      return SEUseDictionary(id, nullptr, 0);
    case Entry::Speak:
      return speak(id);
    case Entry::GetInfo:
      return SEGetSpeechInfo(id, soRate, &rate);
    case Entry::SetInfo:
      return SESetSpeechInfo(id, soRate, &rate);
    case Entry::UseVoice:
      return useVoice(id);
  }
  return kNever;
}

// ---- The play

std::string Scene::play() {
  m_threads = threadCount();
  engine().reset();
  engine().everyJob(Script().word(22, 5).phoneme("ae", 22).bookmark("1").error("none").end(),
                    When::OnEngineThread);
  openChannels();

  const bool givenUp = closes(Target::Same) && m_row.callback == Callback::TextDone;
  expect(speak(m_same) == answerOf(!givenUp), "the speak around the callback");
  const int signals = m_target == Target::Same ? m_row.signals : 1;
  expect(eventually([&] { return m_signals == signals; }), "speech-done comes");
  const bool another =
      m_row.entry == Entry::Speak && expectedAnswer() == noErr && m_target == Target::Another;
  expect(eventually([&] { return m_signalsAnother == (another ? 1 : 0); }),
         "speech-done comes on the other channel");
  expect(threadsEnd(), "the threads end");

  expect(m_answered == (expectedAnswer() != kNever), "the callback comes, or never does");
  expect(m_answer == expectedAnswer(),
         "answer " + std::to_string(m_answer) + " instead of " + std::to_string(expectedAnswer()));
  expect(m_signals == signals, "speech-done comes once a job");
  if (!closes(Target::Same)) speakAgain();
  closeChannels();
  expect(threadsEnd(), "the threads end after the close");
  expect(engine().heldLocks() == 0, "a lock is held");
  expect(engine().live().blocks == 0, "memory is left");
  for (const std::string& violation : engine().violations()) expect(false, violation);
  return m_faults;
}

void Scene::openChannels() {
  SEOpenSpeechChannel(&m_same);
  SEOpenSpeechChannel(&m_another);
  SEOpenSpeechChannel(&m_closed);
  SECloseSpeechChannel(m_closed);
  for (const SpeechChannelIdentifier id : {m_same, m_another}) {
    SESetSpeechInfo(id, soRefCon, this);
    SESetSpeechInfo(id, soSpeechDoneCallBack, asPointer(speechDone));
  }
  SESetSpeechInfo(m_same, soTextDoneCallBack, asPointer(textDone));
  SESetSpeechInfo(m_same, soSyncCallBack, asPointer(sync));
  SESetSpeechInfo(m_same, soErrorCallBack, asPointer(error));
  SESetSpeechInfo(m_same, soPhonemeCallBack, asPointer(phoneme));
  SESetSpeechInfo(m_same, soWordCallBack, asPointer(word));
}

// Whatever the call has done to the channel, a stop makes it one that speaks.
void Scene::speakAgain() {
  expect(SEStopSpeechAt(m_same, kImmediate) == noErr, "a stop afterwards");
  expect(threadsEnd(), "the threads end after the stop");
  const int before = m_signals;
  expect(speak(m_same) == noErr, "the channel speaks again");
  expect(eventually([&] { return m_signals > before; }), "and says so");
}

bool Scene::threadsEnd() const {
  return eventually([&] { return threadCount() <= m_threads; });
}

void Scene::closeChannels() {
  expect(SECloseSpeechChannel(m_same) == answerOf(!closes(Target::Same)), "the close");
  expect(SECloseSpeechChannel(m_another) == answerOf(!closes(Target::Another)),
         "the close of the other channel");
  if (m_opened != 0) expect(SECloseSpeechChannel(m_opened) == noErr, "the close of a new channel");
}

// ---- What the table says

SpeechChannelIdentifier Scene::target() const {
  switch (m_target) {
    case Target::Same:
      return m_same;
    case Target::Another:
      return m_another;
    case Target::Closed:
      return m_closed;
    case Target::Unknown:
      return kUnknown;
  }
  return 0;
}

long Scene::expectedAnswer() const {
  switch (m_target) {
    case Target::Same:
      return m_row.same;
    case Target::Another:
      return m_row.another;
    case Target::Closed:
      return m_row.closed;
    case Target::Unknown:
      return m_row.unknown;
  }
  return kNever;
}

bool Scene::closes(Target target) const {
  return m_row.entry == Entry::Close && m_target == target && expectedAnswer() == noErr;
}

void Scene::expect(bool holds, const std::string& what) {
  if (!holds) m_faults += "not as it has to be: " + what + '\n';
}

}  // namespace reentry
