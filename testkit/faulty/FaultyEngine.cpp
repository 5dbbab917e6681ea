// SPDX-License-Identifier: Apache-2.0
#include "FaultyEngine.h"

#include <limits>
#include <thread>

namespace faulty {

using scripted::engine;
using scripted::Event;
using scripted::OnStop;
using scripted::Op;
using scripted::Port;
using scripted::Script;
using scripted::Times;
using scripted::When;

namespace {

struct Named {
  Op op;
  const char* name;
};

constexpr Named kOperations[] = {
    {Op::ParamsNew, "kavrel_params_new"},
    {Op::ValString, "kavrel_val_string"},
    {Op::ValInt, "kavrel_val_int"},
    {Op::ParamsSetVal, "kavrel_params_set_val"},
    {Op::PortOpen, "kavrel_port_open"},
    {Op::PortClose, "kavrel_port_close"},
    {Op::SetCallback, "kavrel_port_set_callback"},
    {Op::SetVoice, "kavrel_port_set_voice_from_dir"},
    {Op::Speak, "kavrel_port_speak_text"},
    {Op::Pause, "kavrel_port_pause"},
    {Op::Stop, "kavrel_port_stop"},
    {Op::Wait, "kavrel_port_wait"},
    {Op::EventText, "kavrel_event_get_text"},
    {Op::EventTextpos, "kavrel_event_get_textpos"},
    {Op::Alloc, "cst_ and ts_ functions that allocate"},
    {Op::MutexLock, "mutex_lock"},
    {Op::MutexUnlock, "mutex_unlock"},
    {Op::MutexDestroy, "mutex_destroy"},
};

// Plays 50 words, phones and marks without a pause.
void playSome(Port port) {
  for (int i = 0; i < 50; ++i) {
    port.word(i, 1).phoneme(i % 2 == 0 ? "ae" : "no-such-phone", i).bookmark(std::to_string(i));
  }
}

void playOnTwoThreads(Port port) {
  std::thread other([port] { playSome(port); });
  playSome(port);
  other.join();
}

void endOnTwoThreads(Port port) {
  std::thread other([port]() mutable { port.end(); });
  port.end();
  other.join();
}

}  // namespace

std::string Fault::name() const {
  for (const Named& each : kOperations) {
    if (each.op != op) continue;
    return std::string(each.name) + (times == Times::Once ? ", once" : ", for good");
  }
  return "unknown operation";
}

std::vector<Fault> allFaults() {
  std::vector<Fault> faults;
  for (const Named& each : kOperations) {
    faults.push_back({each.op, Times::Once});
    faults.push_back({each.op, Times::ForGood});
  }
  return faults;
}

int sweep(const Fault& fault, const std::function<void()>& use,
          const std::function<void(int k)>& check) {
  constexpr int kMost = 10'000;
  for (int k = 1; k <= kMost; ++k) {
    const int before = engine().faultsMet();
    engine().fail(fault.op, k, fault.times);
    use();
    const bool met = engine().faultsMet() > before;
    engine().useDefaultResults();
    check(k);
    if (!met) return k - 1;
  }
  return -1;
}

// Every row breaks a rule of the interface: one END per job, no events after it, one thread at a
// time, valid events.
std::vector<Misbehaviour> misbehaviours() {
  const auto end = [](Port port) { port.end(); };
  const auto nothing = [] {};
  const auto quiet = [](Port) {};
  std::vector<Misbehaviour> all;
  all.push_back({"ends twice", nothing, [](Port port) { port.end().end(); }, quiet, true});
  all.push_back({"ends twice at once", nothing, endOnTwoThreads, quiet, true});
  all.push_back({"ends before the call returns",
                 [] { engine().queueJob(Script().end(), When::InsideSpeak); }, quiet, quiet, true});
  all.push_back({"ends twice before the call returns",
                 [] { engine().queueJob(Script().end().word(0, 1).end(), When::InsideSpeak); },
                 quiet, quiet, true});
  all.push_back({"never ends", [] { engine().onStop(OnStop::EndsSilently); }, quiet, quiet, false});
  all.push_back({"stops twice", [] { engine().onStop(OnStop::EndsTwice); }, quiet, quiet, false});
  all.push_back({"ends while it is being stopped",
                 [] { engine().onStop(OnStop::EndsBeforeReturn); }, quiet, quiet, false});
  all.push_back({"speaks on after the end", nothing, end, playSome, true});
  all.push_back({"speaks on after a stop", nothing, quiet, playSome, false});
  all.push_back({"ends again after a stop", nothing, quiet, end, false});
  all.push_back({"speaks on two threads", nothing, playOnTwoThreads, quiet, false});
  all.push_back({"speaks and ends on two threads", nothing,
                 [](Port port) {
                   std::thread other([port] { playSome(port); });
                   port.end();
                   other.join();
                 },
                 quiet, true});
  all.push_back({"plays odd events", nothing,
                 [](Port port) {
                   for (const Event& event : oddEvents(static_cast<int>(port.text().size()))) {
                     port.play(event);
                   }
                 },
                 quiet, false});
  return all;
}

// Numbers at and beyond the limits of the text, of 16 bits and of int; names that do not parse.
std::vector<Event> oddEvents(int textLength) {
  constexpr int kMost = std::numeric_limits<int>::max();
  constexpr int kLeast = std::numeric_limits<int>::min();
  std::vector<Event> events;
  for (const int start : {-1, 0, textLength - 1, textLength, textLength + 1, kMost, kLeast}) {
    for (const int length : {-1, 0, 1, 65'535, 65'536, 70'000, kMost, kLeast}) {
      events.push_back({KAVREL_EVENT_WORD, "", start, length});
    }
    events.push_back({KAVREL_EVENT_PHONEME, "ae", start, 1});
  }
  const std::string megabyte(1'000'000, 'a');
  for (const kavrel_event_t type : {KAVREL_EVENT_WORD, KAVREL_EVENT_PHONEME, KAVREL_EVENT_BOOKMARK,
                                    KAVREL_EVENT_SENTENCE, KAVREL_EVENT_ERROR}) {
    events.push_back({type, "", 0, 0, true});
    events.push_back({type, megabyte});
  }
  for (const char* phone : {"", "no-such-phone", "zh", "\xFF\x01%s%n"}) {
    events.push_back({KAVREL_EVENT_PHONEME, phone});
  }
  for (const char* name : {"", "7x", "-1", "12345678901234567890", "-12345678901234567890", " +3",
                           "0x10", "%n", "2147483647", "2147483648"}) {
    events.push_back({KAVREL_EVENT_BOOKMARK, name});
  }
  for (const kavrel_event_t type : {KAVREL_EVENT_NONE, KAVREL_EVENT_AUDIO, KAVREL_EVENT_START,
                                    KAVREL_EVENT_SYLLABLE, KAVREL_EVENT_ALL}) {
    events.push_back({type, "?", -5, -5});
  }
  return events;
}

}  // namespace faulty
