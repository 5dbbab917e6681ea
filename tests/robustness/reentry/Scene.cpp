// SPDX-License-Identifier: Apache-2.0
#include "Scene.h"

#include "Calls.h"
#include "channels/ChannelTest.h"

namespace reentry {
namespace {

using channels::asPointer;
using channels::eventually;
using channels::threadCount;
using scripted::engine;
using scripted::Script;
using scripted::When;

Scene& sceneOf(SRefCon refCon) {
  return *static_cast<Scene*>(refCon);
}

// The expected result of a call for a channel.
long resultOf(bool channelIsOpen) {
  return channelIsOpen ? long{noErr} : long{noSynthFound};
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

// Only the first callback of the kind makes the call: later ones would find another state.
void Scene::reached(Callback callback) {
  if (callback != m_row.callback || m_called.exchange(true)) return;
  SpeechStatusInfo status{};
  m_result = callEntryPoint(m_row.entry, target(), m_opened, status);
  m_returned = true;
}

// ---- The test

// A close in text-done cancels the speak that called it; the speak then returns noSynthFound.
std::string Scene::play() {
  m_threads = threadCount();
  engine().reset();
  engine().everyJob(Script().word(22, 5).phoneme("ae", 22).bookmark("1").error("none").end(),
                    When::OnEngineThread);
  openChannels();

  const bool givenUp = closes(Target::Same) && m_row.callback == Callback::TextDone;
  expect(speak(m_same) == resultOf(!givenUp), "the speak around the callback");
  const int signals = m_target == Target::Same ? m_row.signals : 1;
  expect(eventually([&] { return m_signals == signals; }), "speech-done is called");
  const bool another =
      m_row.entry == EntryPoint::Speak && expectedResult() == noErr && m_target == Target::Another;
  expect(eventually([&] { return m_signalsAnother == (another ? 1 : 0); }),
         "speech-done is called for the other channel");
  expect(threadsEnd(), "the threads exit");

  expect(m_returned == (expectedResult() != kNever), "the callback is called, or never");
  expect(m_result == expectedResult(),
         "result " + std::to_string(m_result) + " instead of " + std::to_string(expectedResult()));
  expect(m_signals == signals, "speech-done is called once per job");
  if (!closes(Target::Same)) speakAgain();
  closeChannels();
  expect(threadsEnd(), "the threads exit after the close");
  expect(engine().heldLocks() == 0, "no lock is held");
  expect(engine().live().blocks == 0, "all memory is released");
  for (const std::string& violation : engine().violations()) expect(false, violation);
  return m_faults;
}

// Opens the channels of all targets. Only m_same has all callbacks.
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

// After a stop the channel must speak again, whatever the call has done to it.
void Scene::speakAgain() {
  expect(SEStopSpeechAt(m_same, kImmediate) == noErr, "a stop afterwards");
  expect(threadsEnd(), "the threads exit after the stop");
  const int before = m_signals;
  expect(speak(m_same) == noErr, "the channel speaks again");
  expect(eventually([&] { return m_signals > before; }), "speech-done is called again");
}

bool Scene::threadsEnd() const {
  return eventually([&] { return threadCount() <= m_threads; });
}

void Scene::closeChannels() {
  expect(SECloseSpeechChannel(m_same) == resultOf(!closes(Target::Same)), "the close");
  expect(SECloseSpeechChannel(m_another) == resultOf(!closes(Target::Another)),
         "the close of the other channel");
  if (m_opened != 0) expect(SECloseSpeechChannel(m_opened) == noErr, "the close of a new channel");
}

// ---- Expectations

SpeechChannelIdentifier Scene::target() const {
  switch (m_target) {
    case Target::Same:
      return m_same;
    case Target::Another:
      return m_another;
    case Target::Closed:
      return m_closed;
    case Target::Unknown:
      return kUnknownChannel;
  }
  return 0;
}

long Scene::expectedResult() const {
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
  return m_row.entry == EntryPoint::Close && m_target == target && expectedResult() == noErr;
}

void Scene::expect(bool holds, const std::string& what) {
  if (!holds) m_faults += "does not hold: " + what + '\n';
}

}  // namespace reentry
