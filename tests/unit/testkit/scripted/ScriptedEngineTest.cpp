// SPDX-License-Identifier: Apache-2.0
//
// The scripted engine behaves as its header says. Tests of other code rely on this.

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ScriptedEngine.h"

namespace {

using namespace scripted;
using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

// The arguments of a callback, and the engine's results inside it.
struct Seen {
  kavrel_event_t type;
  std::string text;
  int start;
  int length;
  std::thread::id thread;
};

class ScriptedEngine : public testing::Test {
 protected:
  ScriptedEngine() { EXPECT_TRUE(engine().reset()); }

  // Opens a port whose events are recorded in m_seen.
  kavrel_port_struct* openPort(kavrel_event_t mask = KAVREL_EVENT_ALL) {
    kavrel_port_struct* port = kavrel_port_open(m_engine, nullptr);
    kavrel_port_set_callback(port, onEvent, mask, this);
    return port;
  }

  static kavrel_result_t onEvent(kavrel_event_struct* event, kavrel_event_t type, void* user) {
    auto* const self = static_cast<ScriptedEngine*>(user);
    char* text = nullptr;
    int start = -1;
    int length = -1;
    kavrel_event_get_text(event, &text);
    kavrel_event_get_textpos(event, &start, &length);
    {
      const std::lock_guard held(self->m_lock);
      self->m_seen.push_back(
          {type, text ? text : "(null)", start, length, std::this_thread::get_id()});
    }
    if (self->m_inCallback) self->m_inCallback(type);
    return KAVREL_SUCCESS;
  }

  kavrel_background_t speak(kavrel_port_struct* port, const std::string& text) {
    kavrel_background_t job = nullptr;
    EXPECT_EQ(kavrel_port_speak_text(port, text.data(), text.size(), nullptr, &job, nullptr),
              KAVREL_SUCCESS);
    return job;
  }

  std::vector<Seen> seen() {
    const std::lock_guard held(m_lock);
    return m_seen;
  }

  std::vector<kavrel_event_t> typesSeen() {
    std::vector<kavrel_event_t> types;
    for (const Seen& each : seen()) types.push_back(each.type);
    return types;
  }

  kavrel_engine_struct* const m_engine = kavrel_engine_open(nullptr);
  std::function<void(kavrel_event_t)> m_inCallback;

 private:
  std::mutex m_lock;
  std::vector<Seen> m_seen;
};

TEST_F(ScriptedEngine, RecordsCallsInOrderWithReadableArguments) {
  engine().forgetCalls();
  kavrel_params* params = kavrel_params_new(nullptr);
  kavrel_params_set_val(params, "events/immediate", kavrel_val_int(0));
  kavrel_port_struct* port = kavrel_port_open(m_engine, params);
  kavrel_port_set_callback(port, onEvent, 0x564, this);
  kavrel_port_set_voice_from_dir(port, "/voices/Ava");
  kavrel_background_t job = speak(port, "Hello");
  kavrel_port_pause(port, job, KAVREL_EVENT_WORD);
  kavrel_port_stop(port, job, KAVREL_EVENT_NOW);
  kavrel_port_wait(port, job);
  kavrel_port_close(port);
  std::vector<std::string> calls;
  for (const Call& call : engine().log()) {
    if (call.op != Op::EventText && call.op != Op::EventTextpos) calls.push_back(call.text);
  }
  EXPECT_THAT(calls,
              ElementsAre("kavrel_params_new(null) = parameters", "kavrel_val_int(0) = value",
                          "kavrel_params_set_val(\"events/immediate\", 0) = 0",
                          "kavrel_port_open(engine, {events/immediate: 0}) = port 1",
                          "kavrel_port_set_callback(port 1, callback, 0x564, user) = 0",
                          "kavrel_port_set_voice_from_dir(port 1, \"/voices/Ava\") = voice",
                          "kavrel_port_speak_text(port 1, \"Hello\", 5, null, job, null) = 0",
                          "kavrel_port_pause(port 1, job 1, WORD) = 0",
                          "kavrel_port_stop(port 1, job 1, NOW) = 0",
                          "kavrel_port_wait(port 1, job 1) = 0", "kavrel_port_close(port 1) = 0"));
  EXPECT_THAT(engine().violations(), IsEmpty());
}

TEST_F(ScriptedEngine, KeepsTheWholeArgumentAndTheThreadOfACall) {
  kavrel_port_struct* port = openPort();
  const std::string text(1000, 'x');
  std::thread::id other;
  std::thread([&] {
    other = std::this_thread::get_id();
    speak(port, text);
  }).join();
  const std::vector<Call> log = engine().log();
  EXPECT_EQ(log.back().op, Op::Speak);
  EXPECT_EQ(log.back().argument, text);
  EXPECT_EQ(log.back().port, 1);
  EXPECT_EQ(log.back().thread, other);
  EXPECT_EQ(log.front().thread, std::this_thread::get_id());
}

TEST_F(ScriptedEngine, NumbersPortsAndJobsFromOneAfterAReset) {
  speak(openPort(), "a");
  engine().port(1).end();
  ASSERT_TRUE(engine().reset());
  speak(openPort(), "b");
  EXPECT_EQ(engine().ports(), 1);
  EXPECT_EQ(engine().port(1).text(), "b");
  EXPECT_THROW(engine().port(2).end(), std::logic_error);
}

TEST_F(ScriptedEngine, PlaysEventsOnTheThreadOfTheTest) {
  speak(openPort(), "cat and dog");
  engine().port(1).word(4, 3).phoneme("ae", 4).bookmark("42").sentence(0, 11).end();
  const std::vector<Seen> events = seen();
  ASSERT_EQ(events.size(), 5u);
  EXPECT_EQ(events[0].text, "and");
  EXPECT_EQ(events[0].start, 4);
  EXPECT_EQ(events[0].length, 3);
  EXPECT_EQ(events[1].text, "ae");
  EXPECT_EQ(events[2].text, "42");
  EXPECT_EQ(events[3].type, KAVREL_EVENT_SENTENCE);
  EXPECT_EQ(events[4].type, KAVREL_EVENT_END);
  EXPECT_EQ(events[4].start, 11);
  for (const Seen& event : events) EXPECT_EQ(event.thread, std::this_thread::get_id());
  EXPECT_FALSE(engine().port(1).running());
}

TEST_F(ScriptedEngine, PlaysOnlyTheEventsOfTheMask) {
  speak(openPort(KAVREL_EVENT_WORD), "a");
  engine().port(1).word(0, 1).phoneme("ae", 0).end();
  EXPECT_THAT(typesSeen(), ElementsAre(KAVREL_EVENT_WORD));
  EXPECT_FALSE(engine().port(1).running());
}

TEST_F(ScriptedEngine, PlaysAScriptInsideTheCallThatStartsTheJob) {
  engine().queueJob(Script().word(0, 1).end(), When::InsideSpeak);
  speak(openPort(), "a");
  EXPECT_THAT(typesSeen(), ElementsAre(KAVREL_EVENT_WORD, KAVREL_EVENT_END));
  EXPECT_FALSE(engine().port(1).running());
}

TEST_F(ScriptedEngine, PlaysAScriptOnItsOwnThread) {
  engine().everyJob(Script().word(0, 1).end(), When::OnEngineThread);
  kavrel_port_struct* port = openPort();
  EXPECT_EQ(kavrel_port_wait(port, speak(port, "a")), KAVREL_SUCCESS);
  EXPECT_EQ(kavrel_port_wait(port, speak(port, "b")), KAVREL_SUCCESS);
  ASSERT_EQ(seen().size(), 4u);
  EXPECT_NE(seen()[0].thread, std::this_thread::get_id());
}

TEST_F(ScriptedEngine, StoresTheJobBeforeItsFirstEvent) {
  kavrel_port_struct* port = openPort();
  kavrel_background_t job = nullptr;
  bool known = false;
  m_inCallback = [&](kavrel_event_t) { known = job != nullptr; };
  engine().queueJob(Script().word(0, 1));
  kavrel_port_speak_text(port, "a", 1, nullptr, &job, nullptr);
  EXPECT_TRUE(known);
}

TEST_F(ScriptedEngine, AJobRunsUntilSomethingEndsIt) {
  kavrel_port_struct* port = openPort();
  speak(port, "a");
  EXPECT_TRUE(engine().port(1).running());
  engine().setWaitLimit(milliseconds(1));
  EXPECT_EQ(kavrel_port_wait(port, nullptr), KAVREL_ENGINE_INUSE);
  EXPECT_THAT(engine().violations(), ElementsAre(testing::HasSubstr("did not end")));
}

TEST_F(ScriptedEngine, AWaitEndsWhenTheCallbackOfEndHasReturned) {
  kavrel_port_struct* port = openPort();
  kavrel_background_t job = speak(port, "a");
  std::atomic<bool> returned = false;
  m_inCallback = [&](kavrel_event_t) { returned = true; };
  std::thread ender([] { engine().port(1).end(); });
  EXPECT_EQ(kavrel_port_wait(port, job), KAVREL_SUCCESS);
  EXPECT_TRUE(returned);
  ender.join();
}

TEST_F(ScriptedEngine, AWaitInThePortsOwnCallbackReturnsAtOnce) {
  kavrel_port_struct* port = openPort();
  kavrel_background_t job = speak(port, "a");
  kavrel_result_t result = KAVREL_SUCCESS;
  m_inCallback = [&](kavrel_event_t) { result = kavrel_port_wait(port, job); };
  engine().port(1).word(0, 1);
  EXPECT_EQ(result, KAVREL_ENGINE_INUSE);
}

TEST_F(ScriptedEngine, AWaitTimesOutForACallbackThatDoesNotReturn) {
  kavrel_port_struct* port = openPort();
  kavrel_background_t job = speak(port, "a");
  engine().setCallbackPatience(milliseconds(1));
  std::mutex lock;
  std::condition_variable changed;
  bool go = false;
  m_inCallback = [&](kavrel_event_t) {
    std::unique_lock held(lock);
    changed.wait(held, [&] { return go; });
  };
  kavrel_port_stop(port, job, KAVREL_EVENT_NOW);
  EXPECT_EQ(kavrel_port_wait(port, job), KAVREL_ENGINE_INUSE);
  {
    const std::lock_guard held(lock);
    go = true;
  }
  changed.notify_all();
  // The callback may still be running.
  engine().setCallbackPatience(std::chrono::minutes(1));
  EXPECT_EQ(kavrel_port_wait(port, job), KAVREL_SUCCESS);
}

TEST_F(ScriptedEngine, AStopEndsTheJobOnTheEnginesThread) {
  kavrel_port_struct* port = openPort();
  kavrel_background_t job = speak(port, "a");
  EXPECT_EQ(kavrel_port_stop(port, job, KAVREL_EVENT_NOW), KAVREL_SUCCESS);
  EXPECT_EQ(kavrel_port_wait(port, job), KAVREL_SUCCESS);
  ASSERT_EQ(seen().size(), 1u);
  EXPECT_EQ(seen()[0].type, KAVREL_EVENT_END);
  EXPECT_NE(seen()[0].thread, std::this_thread::get_id());
}

TEST_F(ScriptedEngine, AStopEndsTheJobAsTheTestRequests) {
  struct Row {
    OnStop mode;
    std::size_t ends;
    bool running;
  };
  for (const Row& row : {Row{OnStop::EndsAtOnce, 1, false}, Row{OnStop::EndsBeforeReturn, 1, false},
                         Row{OnStop::EndsTwice, 2, false}, Row{OnStop::EndsSilently, 0, false},
                         Row{OnStop::TestEnds, 0, true}}) {
    SCOPED_TRACE(static_cast<int>(row.mode));
    ASSERT_TRUE(engine().reset());
    const std::size_t before = seen().size();
    kavrel_port_struct* port = openPort();
    engine().onStop(row.mode);
    speak(port, "a");
    EXPECT_EQ(kavrel_port_stop(port, nullptr, KAVREL_EVENT_NOW), KAVREL_SUCCESS);
    if (!row.running) {
      EXPECT_EQ(kavrel_port_wait(port, nullptr), KAVREL_SUCCESS);
    }
    EXPECT_EQ(engine().port(1).running(), row.running);
    ASSERT_TRUE(engine().reset());
    EXPECT_EQ(seen().size() - before, row.ends);
  }
}

TEST_F(ScriptedEngine, APauseToggles) {
  kavrel_port_struct* port = openPort();
  kavrel_background_t job = speak(port, "a");
  EXPECT_EQ(kavrel_port_pause(port, job, KAVREL_EVENT_NOW), KAVREL_SUCCESS);
  EXPECT_TRUE(engine().port(1).paused());
  EXPECT_EQ(kavrel_port_pause(port, nullptr, KAVREL_EVENT_NOW), KAVREL_SUCCESS);
  EXPECT_FALSE(engine().port(1).paused());
  engine().port(1).end();
  EXPECT_EQ(kavrel_port_pause(port, job, KAVREL_EVENT_NOW), KAVREL_OBJECT_NOT_FOUND);
  EXPECT_EQ(kavrel_port_pause(port, nullptr, KAVREL_EVENT_NOW), KAVREL_OBJECT_NOT_FOUND);
}

TEST_F(ScriptedEngine, ClosingAPortEndsItsJob) {
  kavrel_port_struct* port = openPort();
  speak(port, "a");
  EXPECT_EQ(kavrel_port_close(port), KAVREL_SUCCESS);
  EXPECT_THAT(typesSeen(), ElementsAre(KAVREL_EVENT_END));
  EXPECT_FALSE(engine().port(1).open());
}

TEST_F(ScriptedEngine, NullHandlesReturnResultsAsTheHeaderSays) {
  kavrel_background_t job = nullptr;
  EXPECT_EQ(kavrel_port_open(nullptr, nullptr), nullptr);
  EXPECT_EQ(kavrel_port_close(nullptr), KAVREL_INVALID_POINTER);
  EXPECT_EQ(kavrel_port_set_callback(nullptr, onEvent, 0, nullptr), KAVREL_INVALID_POINTER);
  EXPECT_EQ(kavrel_port_set_voice_from_dir(nullptr, "/"), nullptr);
  EXPECT_EQ(kavrel_port_speak_text(nullptr, "", 0, nullptr, &job, nullptr), KAVREL_INVALID_POINTER);
  EXPECT_EQ(kavrel_port_pause(nullptr, nullptr, 0), KAVREL_INVALID_POINTER);
  EXPECT_EQ(kavrel_port_stop(nullptr, nullptr, 0), KAVREL_SUCCESS);
  EXPECT_EQ(kavrel_port_wait(nullptr, nullptr), KAVREL_INVALID_POINTER);
  EXPECT_EQ(kavrel_event_get_text(nullptr, nullptr), KAVREL_INVALID_POINTER);
  EXPECT_EQ(kavrel_event_get_textpos(nullptr, nullptr, nullptr), KAVREL_INVALID_POINTER);
  EXPECT_EQ(kavrel_params_set_val(nullptr, "k", nullptr), KAVREL_INVALID_POINTER);
  EXPECT_EQ(kavrel_val_string(nullptr), nullptr);
  kavrel_params_delete(nullptr);
  EXPECT_THAT(engine().violations(), IsEmpty());
}

// The interface does not say that an engine allows these nulls.
TEST_F(ScriptedEngine, RejectsNullsThatAnotherEngineNeedNotAllow) {
  cst_free(nullptr);
  EXPECT_THAT(engine().violations(), ElementsAre("cst_free of null"));
  kavrel_port_struct* const port = openPort();
  std::vector<kavrel_result_t> results;
  kavrel_port_set_callback(
      port,
      [](kavrel_event_struct* event, kavrel_event_t, void* user) {
        int number = 0;
        auto& all = *static_cast<std::vector<kavrel_result_t>*>(user);
        all.push_back(kavrel_event_get_textpos(event, &number, nullptr));
        all.push_back(kavrel_event_get_textpos(event, nullptr, &number));
        all.push_back(kavrel_event_get_textpos(event, &number, &number));
        return KAVREL_SUCCESS;
      },
      KAVREL_EVENT_WORD, &results);
  engine().port(1).word(0, 1);
  EXPECT_THAT(results, ElementsAre(KAVREL_INVALID_POINTER, KAVREL_INVALID_POINTER, KAVREL_SUCCESS));
  EXPECT_EQ(engine().violations().size(), 3u);
}

TEST_F(ScriptedEngine, RecordsErrorsOfCallers) {
  kavrel_port_struct* port = openPort();
  kavrel_port_close(port);
  EXPECT_EQ(kavrel_port_wait(port, nullptr), KAVREL_INVALID_POINTER);
  EXPECT_THAT(engine().violations(), ElementsAre("port 1 used after its close"));
}

TEST_F(ScriptedEngine, FailsTheCallsThatTheTestNames) {
  engine().fail(Op::PortOpen, 2);
  EXPECT_NE(kavrel_port_open(m_engine, nullptr), nullptr);
  EXPECT_EQ(kavrel_port_open(m_engine, nullptr), nullptr);
  EXPECT_NE(kavrel_port_open(m_engine, nullptr), nullptr);
  engine().fail(Op::Alloc, 1, Times::ForGood);
  EXPECT_EQ(cst_strdup("a"), nullptr);
  EXPECT_EQ(cst_substr("a", 0, 1), nullptr);
  EXPECT_EQ(engine().faultsMet(), 3);
}

TEST_F(ScriptedEngine, FailsTheCallsOfAnyOperationByTheirNumber) {
  kavrel_port_struct* port = openPort();
  engine().failAnyCall(2);
  EXPECT_NE(kavrel_port_set_voice_from_dir(port, "/v"), nullptr);
  EXPECT_EQ(kavrel_port_wait(port, nullptr), KAVREL_INTERNAL_ERROR);
  EXPECT_EQ(kavrel_port_wait(port, nullptr), KAVREL_SUCCESS);
}

TEST_F(ScriptedEngine, ReturnsResultsThatTheTestSets) {
  kavrel_port_struct* port = openPort();
  engine().queueResult(Op::Wait, KAVREL_QUEUE_FULL);
  engine().queueResult(Op::Wait, KAVREL_INTERRUPTED);
  engine().setResult(Op::Wait, KAVREL_NETWORK_ERROR);
  EXPECT_EQ(kavrel_port_wait(port, nullptr), KAVREL_QUEUE_FULL);
  EXPECT_EQ(kavrel_port_wait(port, nullptr), KAVREL_INTERRUPTED);
  EXPECT_EQ(kavrel_port_wait(port, nullptr), KAVREL_NETWORK_ERROR);
  EXPECT_EQ(kavrel_port_wait(port, nullptr), KAVREL_NETWORK_ERROR);
  engine().useDefaultResults();
  EXPECT_EQ(kavrel_port_wait(port, nullptr), KAVREL_SUCCESS);
}

TEST_F(ScriptedEngine, RunsTheTestsActionInsideACall) {
  bool ran = false;
  engine().during(Op::Strerror, [&] { ran = true; });
  EXPECT_STREQ(kavrel_strerror(KAVREL_FILE_ERROR), "file error");
  EXPECT_TRUE(ran);
}

TEST_F(ScriptedEngine, CountsObjectsThatCallersOwn) {
  kavrel_params* params = kavrel_params_new(nullptr);
  kavrel_val* value = kavrel_val_int(1);
  char* text = cst_strdup("a");
  cst_tokenstream* stream = ts_open_string("a b", nullptr, nullptr, nullptr, nullptr);
  kavrel_port_struct* port = openPort();
  EXPECT_EQ(engine().live().parameterSets, 1);
  EXPECT_EQ(engine().live().values, 1);
  EXPECT_EQ(engine().live().ports, 1);
  EXPECT_GE(engine().live().blocks, 2);
  kavrel_params_set_val(params, "k", value);
  EXPECT_EQ(engine().live().values, 0);
  kavrel_params_delete(params);
  ts_close(stream);
  text = static_cast<char*>(cst_safe_realloc(text, 100));
  EXPECT_EQ(engine().live().blocks, 1);
  cst_free(text);
  kavrel_port_close(port);
  const Live live = engine().live();
  EXPECT_EQ(live, (Live{0, 0, 0, 0, live.engines}));
}

TEST_F(ScriptedEngine, MemoryFromBeforeAResetIsNotCounted) {
  char* text = cst_strdup("a");
  ASSERT_TRUE(engine().reset());
  EXPECT_EQ(engine().live().blocks, 0);
  cst_free(text);
  EXPECT_EQ(engine().live().blocks, 0);
}

TEST_F(ScriptedEngine, CountsServicesAndRecordsThemOnRequest) {
  pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
  engine().forgetCalls();
  mutex_lock(&mutex);
  EXPECT_EQ(engine().heldLocks(), 1);
  EXPECT_THAT(engine().calls(), IsEmpty());
  engine().recordServices(true);
  mutex_unlock(&mutex);
  EXPECT_EQ(engine().heldLocks(), 0);
  EXPECT_THAT(engine().calls(), ElementsAre("mutex_unlock(mutex)"));
  EXPECT_EQ(engine().count(Op::MutexLock), 1);
}

TEST_F(ScriptedEngine, RecordsADiagnosticLineWithItsFourCalls) {
  cst_dbg_timestamp();
  cst_dbg_ffl("File", "function", 17);
  cst_dbg_context(0x800);
  EXPECT_EQ(engine().unfinishedDiagnostics(), 1);
  cst_errmsg("%s %d\n", "line", 1);
  cst_errmsg("bare\n");
  EXPECT_EQ(engine().unfinishedDiagnostics(), 0);
  EXPECT_THAT(engine().messages(), ElementsAre("line 1\n", "bare\n"));
  const Diagnostic line = engine().diagnostics()[0];
  EXPECT_THAT(line.calls, ElementsAre("timestamp", "ffl", "context", "errmsg"));
  EXPECT_EQ(line.file, "File");
  EXPECT_EQ(line.function, "function");
  EXPECT_EQ(line.line, 17);
  EXPECT_EQ(line.area, 0x800u);
  EXPECT_THAT(engine().diagnostics()[1].calls, ElementsAre("errmsg"));
}

TEST_F(ScriptedEngine, LinesOfSeveralThreadsDoNotMix) {
  cst_dbg_ffl("Here", "f", 1);
  std::thread([] {
    cst_dbg_ffl("There", "g", 2);
    cst_errmsg("there\n");
  }).join();
  cst_errmsg("here\n");
  ASSERT_EQ(engine().diagnostics().size(), 2u);
  EXPECT_EQ(engine().diagnostics()[0].file, "There");
  EXPECT_EQ(engine().diagnostics()[1].file, "Here");
}

TEST_F(ScriptedEngine, KeepsTheParametersOfAPort) {
  kavrel_params* base = kavrel_params_new(nullptr);
  kavrel_params_set_val(base, "audio/output-file", kavrel_val_string("/tmp/a"));
  kavrel_params* params = kavrel_params_new(base);
  kavrel_params_set_val(params, "events/immediate", kavrel_val_int(1));
  kavrel_port_open(m_engine, params);
  EXPECT_THAT(engine().port(1).parameters(),
              ElementsAre(Pair("audio/output-file", "/tmp/a"), Pair("events/immediate", "1")));
}

TEST_F(ScriptedEngine, WaitsForACallOfAnotherThread) {
  kavrel_port_struct* port = openPort();
  std::thread other([&] { kavrel_port_stop(port, nullptr, 0); });
  EXPECT_TRUE(engine().waitForCall(Op::Stop));
  other.join();
}

}  // namespace
