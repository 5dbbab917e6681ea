// SPDX-License-Identifier: Apache-2.0
//
// The functions of kavrel.h, implemented on the scripted engine's state. Each function records its
// call, then either returns what the test has set or does its usual work.

#include <cstdio>
#include <utility>

#include "ScriptedState.h"

// A value is identified by its number; kavrel_params_set_val moves its text into the set.
struct kavrel_val;

namespace scripted {
namespace {

template <class T>
std::string resultText(T* pointer, const char* name) {
  return pointer ? name : "null";
}

std::string resultText(kavrel_result_t result) {
  return std::to_string(static_cast<int>(result));
}

std::string boundaryName(kavrel_event_t boundary) {
  switch (boundary) {
    case KAVREL_EVENT_NOW:
      return "NOW";
    case KAVREL_EVENT_WORD:
      return "WORD";
    case KAVREL_EVENT_SENTENCE:
      return "SENTENCE";
    default:
      return std::to_string(boundary);
  }
}

// A call in progress: the constructor records the call, finish() its result.
class RecordedCall {
 public:
  explicit RecordedCall(Op op, std::string text, std::string argument = {},
                        const void* port = nullptr, const void* job = nullptr) {
    Call call;
    call.op = op;
    call.text = std::move(text);
    call.argument = std::move(argument);
    {
      const Lock held(State::get().m_lock);
      call.port = State::get().portNumber(port);
      call.job = State::get().jobNumber(job);
    }
    m_verdict = State::get().begin(std::move(call), &m_entry);
  }

  // Whether the call does its usual work; otherwise it must only call finish().
  bool usual() const { return m_verdict.usual; }

  // Records and returns the result: the one that the test has set, or else `result`.
  kavrel_result_t finish(kavrel_result_t result) {
    if (!usual()) result = m_verdict.result;
    State::get().finish(m_entry, resultText(result));
    return result;
  }

  template <class T>
  T* finish(T* object, const std::string& name) {
    State::get().finish(m_entry, object ? name : "null");
    return object;
  }

 private:
  Verdict m_verdict;
  std::size_t m_entry = 0;
};

// Builds the text of a call; the names of handles are read under the lock.
template <class Make>
std::string describe(Make make) {
  const Lock held(State::get().m_lock);
  return make(State::get());
}

std::string portCall(const char* function, const kavrel_port_struct* port,
                     const std::string& rest) {
  return describe([&](State& state) {
    return std::string(function) + '(' + state.portName(port) + rest + ')';
  });
}

std::string jobCall(const char* function, const kavrel_port_struct* port, kavrel_background_t job,
                    const std::string& rest = {}) {
  return describe([&](State& state) {
    return std::string(function) + '(' + state.portName(port) + ", " + state.jobName(job) + rest +
           ')';
  });
}

kavrel_val* newValue(std::string text) {
  State& state = State::get();
  const Lock held(state.m_lock);
  const int id = ++state.m_lastId;
  state.m_values[id] = std::move(text);
  return handle<kavrel_val*>(Kind::Value, id);
}

// The running jobs that `job` selects: itself, or all jobs of the port if it is null.
std::vector<std::shared_ptr<Job>> runningJobs(State& state, PortState& port,
                                              kavrel_background_t job) {
  std::vector<std::shared_ptr<Job>> running;
  if (job) {
    const auto named = state.findJob(job);
    if (!named) state.violation("a job that was never started, or before the reset");
    if (named && !named->over) running.push_back(named);
    return running;
  }
  for (const auto& each : port.jobs) {
    if (!each->over) running.push_back(each);
  }
  return running;
}

// Plays the job's script, if it has one, on this thread or on the port's thread.
void startScript(State& state, const std::shared_ptr<PortState>& port,
                 const std::shared_ptr<Job>& job) {
  std::pair<Script, When> script;
  {
    const Lock held(state.m_lock);
    if (!state.m_queuedScripts.empty()) {
      script = std::move(state.m_queuedScripts.front());
      state.m_queuedScripts.pop_front();
    } else if (state.m_everyScript) {
      script = *state.m_everyScript;
    } else {
      return;
    }
    if (script.second == When::OnEngineThread) {
      state.post(port, [&state, port, job, events = script.first.events()] {
        state.playScript(port, job, events);
      });
      return;
    }
  }
  state.playScript(port, job, script.first.events());
}

}  // namespace
}  // namespace scripted

using namespace scripted;

const char* kavrel_strerror(kavrel_result_t result) {
  const InEngine scope;
  static constexpr const char* kMessages[] = {
      "success",       "unknown error", "not implemented", "internal error",
      "bad parameter", "null pointer",  "no such object",  "unknown encoding",
      "interrupted",   "bad voice",     "file error",      "wrong event",
      "engine in use", "network error", "bad key",         "queue full"};
  const int index = -static_cast<int>(result);
  const bool known = index >= 0 && index < static_cast<int>(std::size(kMessages));
  RecordedCall call(Op::Strerror, "kavrel_strerror(" + resultText(result) + ')');
  const char* message = known ? kMessages[index] : "unknown error";
  return call.finish(message, quoted(message));
}

// ---- Parameters

kavrel_params* kavrel_params_new(const kavrel_params* base) {
  const InEngine scope;
  State& state = State::get();
  RecordedCall call(Op::ParamsNew, describe([&](State& s) {
                      return "kavrel_params_new(" + s.paramsName(base) + ')';
                    }));
  if (!call.usual()) return call.finish<kavrel_params>(nullptr, "");
  int id = 0;
  {
    const Lock held(state.m_lock);
    id = ++state.m_lastId;
    const auto found = state.m_params.find(idOf(Kind::Params, base));
    state.m_params[id] = found == state.m_params.end() ? Parameters() : found->second;
  }
  return call.finish(handle<kavrel_params*>(Kind::Params, id), "parameters");
}

void kavrel_params_delete(kavrel_params* params) {
  const InEngine scope;
  State& state = State::get();
  RecordedCall call(Op::ParamsDelete, describe([&](State& s) {
                      return "kavrel_params_delete(" + s.paramsName(params) + ')';
                    }));
  const Lock held(state.m_lock);
  if (params && state.m_params.erase(idOf(Kind::Params, params)) == 0) {
    state.violation("kavrel_params_delete of an unknown set");
  }
}

kavrel_val* kavrel_val_string(const char* string) {
  const InEngine scope;
  RecordedCall call(Op::ValString, "kavrel_val_string(" + quoted(string) + ')',
                    string ? string : "");
  if (!call.usual() || !string) return call.finish<kavrel_val>(nullptr, "");
  return call.finish(newValue(string), "value");
}

kavrel_val* kavrel_val_int(int value) {
  const InEngine scope;
  RecordedCall call(Op::ValInt, "kavrel_val_int(" + std::to_string(value) + ')');
  if (!call.usual()) return call.finish<kavrel_val>(nullptr, "");
  return call.finish(newValue(std::to_string(value)), "value");
}

kavrel_result_t kavrel_params_set_val(kavrel_params* params, const char* key, kavrel_val* value) {
  const InEngine scope;
  State& state = State::get();
  std::string text = "null";
  if (value) {
    const Lock held(state.m_lock);
    const auto found = state.m_values.find(idOf(Kind::Value, value));
    if (found == state.m_values.end()) {
      state.violation("kavrel_params_set_val of an unknown value");
      text = "unknown value";
    } else {
      text = found->second;
      state.m_values.erase(found);
    }
  }
  RecordedCall call(Op::ParamsSetVal, "kavrel_params_set_val(" + quoted(key) + ", " + text + ')',
                    text);
  if (!call.usual()) return call.finish(KAVREL_SUCCESS);
  if (!params || !key || !value) return call.finish(KAVREL_INVALID_POINTER);
  if (!*key) return call.finish(KAVREL_INVALID_KEY);
  {
    const Lock held(state.m_lock);
    const auto found = state.m_params.find(idOf(Kind::Params, params));
    if (found == state.m_params.end()) {
      state.violation("kavrel_params_set_val on an unknown set");
    } else {
      found->second[key] = text;
    }
  }
  return call.finish(KAVREL_SUCCESS);
}

// ---- Engine and ports

kavrel_engine_struct* kavrel_engine_open(const kavrel_params* params) {
  const InEngine scope;
  State& state = State::get();
  RecordedCall call(Op::EngineOpen, describe([&](State& s) {
                      return "kavrel_engine_open(" + s.paramsName(params) + ')';
                    }));
  if (!call.usual()) return call.finish<kavrel_engine_struct>(nullptr, "");
  int id = 0;
  {
    const Lock held(state.m_lock);
    id = ++state.m_engines;
  }
  return call.finish(handle<kavrel_engine_struct*>(Kind::Engine, id), "engine");
}

kavrel_port_struct* kavrel_port_open(kavrel_engine_struct* engine, const kavrel_params* params) {
  const InEngine scope;
  State& state = State::get();
  RecordedCall call(Op::PortOpen, describe([&](State& s) {
                      return std::string("kavrel_port_open(") + (engine ? "engine" : "null") +
                             ", " + s.paramsName(params) + ')';
                    }));
  if (!call.usual() || !engine) return call.finish<kavrel_port_struct>(nullptr, "");
  const auto port = std::make_shared<PortState>();
  std::string name;
  {
    const Lock held(state.m_lock);
    if (idOf(Kind::Engine, engine) == 0) state.violation("kavrel_port_open on an unknown engine");
    port->id = ++state.m_lastPort;
    const auto found = state.m_params.find(idOf(Kind::Params, params));
    if (found != state.m_params.end()) port->parameters = found->second;
    state.m_ports[port->id] = port;
    name = state.portName(handle<kavrel_port_struct*>(Kind::Port, port->id));
  }
  return call.finish(handle<kavrel_port_struct*>(Kind::Port, port->id), name);
}

kavrel_result_t kavrel_port_close(kavrel_port_struct* port) {
  const InEngine scope;
  State& state = State::get();
  RecordedCall call(Op::PortClose, portCall("kavrel_port_close", port, ""), "", port);
  if (!call.usual()) return call.finish(KAVREL_SUCCESS);
  {
    Lock held(state.m_lock);
    const auto found = state.findPort(port);
    if (!found) {
      held.unlock();
      return call.finish(KAVREL_INVALID_POINTER);
    }
    found->open = false;
    const auto jobs = runningJobs(state, *found, nullptr);
    for (const auto& job : jobs) state.endJob(found, job, OnStop::EndsAtOnce, held);
    state.waitFor(found, jobs, held);
  }
  return call.finish(KAVREL_SUCCESS);
}

kavrel_result_t kavrel_port_set_callback(kavrel_port_struct* port, kavrel_callback_t callback,
                                         kavrel_event_t mask, void* user) {
  const InEngine scope;
  State& state = State::get();
  char rest[48];
  std::snprintf(rest, sizeof rest, ", %s, 0x%X, %s", callback ? "callback" : "null", mask,
                user ? "user" : "null");
  RecordedCall call(Op::SetCallback, portCall("kavrel_port_set_callback", port, rest), "", port);
  if (!call.usual()) return call.finish(KAVREL_SUCCESS);
  bool known = false;
  {
    const Lock held(state.m_lock);
    if (const auto found = state.findPort(port)) {
      found->callback = {callback, mask, user};
      known = true;
    }
  }
  return call.finish(known ? KAVREL_SUCCESS : KAVREL_INVALID_POINTER);
}

kavrel_voice_struct* kavrel_port_set_voice_from_dir(kavrel_port_struct* port,
                                                    const char* directory) {
  const InEngine scope;
  State& state = State::get();
  RecordedCall call(Op::SetVoice,
                    portCall("kavrel_port_set_voice_from_dir", port, ", " + quoted(directory)),
                    directory ? directory : "", port);
  kavrel_voice_struct* voice = nullptr;
  if (call.usual() && directory) {
    const Lock held(state.m_lock);
    if (const auto found = state.findPort(port)) {
      found->voice = directory;
      voice = handle<kavrel_voice_struct*>(Kind::Voice, ++state.m_lastId);
    }
  }
  return call.finish(voice, "voice");
}

// ---- Jobs

// The job is registered before its script runs, so that callbacks inside the call find it.
kavrel_result_t kavrel_port_speak_text(kavrel_port_struct* port, const char* text, size_t length,
                                       const char* encoding, kavrel_background_t* job,
                                       const kavrel_params* params) {
  const InEngine scope;
  State& state = State::get();
  const std::string spoken = text ? std::string(text, length) : std::string();
  RecordedCall call(
      Op::Speak,
      portCall("kavrel_port_speak_text", port,
               ", " + (text ? quoted(spoken) : "null") + ", " + std::to_string(length) + ", " +
                   quoted(encoding) + ", " + (job ? "job" : "null") + ", " +
                   describe([&](State& s) { return s.paramsName(params); })),
      spoken, port);
  if (job) *job = nullptr;
  if (!call.usual()) return call.finish(KAVREL_SUCCESS);
  if (!port || !job || (!text && length > 0)) return call.finish(KAVREL_INVALID_POINTER);
  std::shared_ptr<PortState> found;
  const auto started = std::make_shared<Job>();
  {
    const Lock held(state.m_lock);
    found = state.findPort(port);
    if (found) {
      started->id = ++state.m_lastJob;
      started->port = found->id;
      started->text = spoken;
      started->callback = found->callback;
      // Jobs that are over are still found by their handles in m_jobs.
      std::erase_if(found->jobs, [](const auto& earlier) { return earlier->over; });
      found->jobs.push_back(started);
      state.m_jobs[started->id] = started;
      *job = handle<kavrel_background_t>(Kind::Job, started->id);
    }
  }
  if (!found) return call.finish(KAVREL_INVALID_POINTER);
  startScript(state, found, started);
  return call.finish(KAVREL_SUCCESS);
}

kavrel_result_t kavrel_port_pause(kavrel_port_struct* port, kavrel_background_t job,
                                  kavrel_event_t boundary) {
  const InEngine scope;
  State& state = State::get();
  RecordedCall call(Op::Pause,
                    jobCall("kavrel_port_pause", port, job, ", " + boundaryName(boundary)), "",
                    port, job);
  if (!call.usual()) return call.finish(KAVREL_SUCCESS);
  kavrel_result_t result = KAVREL_INVALID_POINTER;
  {
    const Lock held(state.m_lock);
    if (const auto found = state.findPort(port)) {
      const auto jobs = runningJobs(state, *found, job);
      result = jobs.empty() ? KAVREL_OBJECT_NOT_FOUND : KAVREL_SUCCESS;
      if (!jobs.empty()) jobs.front()->paused = !jobs.front()->paused;
    }
  }
  return call.finish(result);
}

kavrel_result_t kavrel_port_stop(kavrel_port_struct* port, kavrel_background_t job,
                                 kavrel_event_t boundary) {
  const InEngine scope;
  State& state = State::get();
  RecordedCall call(Op::Stop, jobCall("kavrel_port_stop", port, job, ", " + boundaryName(boundary)),
                    "", port, job);
  if (!call.usual()) return call.finish(KAVREL_SUCCESS);
  {
    Lock held(state.m_lock);
    if (const auto found = state.findPort(port)) {
      for (const auto& each : runningJobs(state, *found, job)) {
        state.endJob(found, each, state.m_onStop, held);
      }
    }
  }
  return call.finish(KAVREL_SUCCESS);
}

kavrel_result_t kavrel_port_wait(kavrel_port_struct* port, kavrel_background_t job) {
  const InEngine scope;
  State& state = State::get();
  RecordedCall call(Op::Wait, jobCall("kavrel_port_wait", port, job), "", port, job);
  if (!call.usual()) return call.finish(KAVREL_SUCCESS);
  kavrel_result_t result = KAVREL_INVALID_POINTER;
  {
    Lock held(state.m_lock);
    if (const auto found = state.findPort(port)) {
      result = state.waitFor(found, runningJobs(state, *found, job), held);
    }
  }
  return call.finish(result);
}

// ---- Events

kavrel_result_t kavrel_event_get_text(kavrel_event_struct* event, char** text) {
  const InEngine scope;
  RecordedCall call(
      Op::EventText,
      "kavrel_event_get_text(" + std::string(event ? quoted(event->event.text) : "null") + ')');
  if (text) *text = nullptr;
  if (!call.usual()) return call.finish(KAVREL_SUCCESS);
  if (!event || !text) return call.finish(KAVREL_INVALID_POINTER);
  *text = event->event.nullText ? nullptr : event->event.text.data();
  return call.finish(KAVREL_SUCCESS);
}

kavrel_result_t kavrel_event_get_textpos(kavrel_event_struct* event, int* start, int* length) {
  const InEngine scope;
  RecordedCall call(Op::EventTextpos,
                    std::string("kavrel_event_get_textpos(") + (event ? "event" : "null") +
                        (start ? ", start" : ", null") + (length ? ", length)" : ", null)"));
  if (!call.usual()) return call.finish(KAVREL_SUCCESS);
  if (!event) return call.finish(KAVREL_INVALID_POINTER);
  if (!start || !length) {
    State& state = State::get();
    const Lock held(state.m_lock);
    state.violation("kavrel_event_get_textpos without an address for its results");
  }
  if (!start || !length) return call.finish(KAVREL_INVALID_POINTER);
  *start = event->event.start;
  *length = event->event.length;
  return call.finish(KAVREL_SUCCESS);
}
