// SPDX-License-Identifier: Apache-2.0
//
// The recorder of calls, the player of events, and the control interface (ScriptedEngine.h).

#include "ScriptedEngine.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "ScriptedState.h"

namespace scripted {
namespace {

// Ports whose callbacks are running on this thread, innermost last.
thread_local std::vector<const PortState*> t_callbacks;

// Nesting depth of the engine's functions on this thread.
thread_local int t_engineCalls = 0;

// Whether failAnyCall() applies: operations that report no failure are excluded, and so are the
// mutexes, whose failure is a case of its own (see Engine::fail).
bool canFail(Op op) {
  switch (op) {
    case Op::ParamsDelete:
    case Op::Strerror:
    case Op::Free:
    case Op::MutexLock:
    case Op::MutexUnlock:
    case Op::MutexDestroy:
      return false;
    default:
      return true;
  }
}

template <class Predicate>
bool waitUpTo(State& state, Lock& held, std::chrono::milliseconds limit, Predicate done) {
  return state.m_changed.wait_for(held, limit, done);
}

Behaviour& behaviourOf(State& state, Op op) {
  return state.m_behaviours[static_cast<std::size_t>(op)];
}

}  // namespace

bool insideEngine() {
  return t_engineCalls > 0;
}

InEngine::InEngine() {
  ++t_engineCalls;
}

InEngine::~InEngine() {
  --t_engineCalls;
}

CallingOut::CallingOut() : m_depth(t_engineCalls) {
  t_engineCalls = 0;
}

CallingOut::~CallingOut() {
  t_engineCalls = m_depth;
}

std::string quoted(const std::string& text) {
  constexpr std::size_t kShown = 60;
  return '"' + (text.size() > kShown ? text.substr(0, kShown) + "…" : text) + '"';
}

std::string quoted(const char* text) {
  return text ? quoted(std::string(text)) : "null";
}

State& State::get() {
  static State* const state = new State;
  return *state;
}

// ---- Calls

// Faults come first, then queued results, then the permanent result; useDefaultResults() clears
// all.
Verdict State::decide(Op op) {
  Behaviour& behaviour = behaviourOf(*this, op);
  ++behaviour.calls;
  const auto hit = [](int call, int at, Times times) {
    return at != 0 && (call == at || (call > at && times == Times::ForGood));
  };
  const bool any = canFail(op) && hit(++m_callsThatCanFail, m_failAnyAt, m_failAnyTimes);
  if (any || hit(behaviour.calls, behaviour.failAt, behaviour.failTimes)) {
    ++m_faultsMet;
    return {false, KAVREL_INTERNAL_ERROR};
  }
  if (!behaviour.next.empty()) {
    const kavrel_result_t result = behaviour.next.front();
    behaviour.next.pop_front();
    return {false, result};
  }
  if (behaviour.always) return {false, *behaviour.always};
  return {};
}

Verdict State::begin(Call call, std::size_t* entry) {
  Lock held(m_lock);
  const Op op = call.op;
  *entry = m_firstEntry + m_calls.size();
  if (m_recordCalls) {
    call.thread = std::this_thread::get_id();
    m_calls.push_back(std::move(call));
  }
  // Decide before the action runs, so that an action that calls fail() affects later calls only.
  const Verdict verdict = decide(op);
  m_called.notify_all();
  if (const std::function<void()> action = behaviourOf(*this, op).during) {
    held.unlock();
    const CallingOut callingOut;
    action();
  }
  return verdict;
}

Verdict State::beginService(Op op, const std::function<std::string()>& describe) {
  {
    const Lock held(m_lock);
    if (!m_recordServices && !behaviourOf(*this, op).during) {
      m_called.notify_all();
      return decide(op);
    }
  }
  std::size_t entry = 0;
  return begin({op, describe(), "", 0, 0, {}}, &entry);
}

void State::finish(std::size_t entry, const std::string& result) {
  const Lock held(m_lock);
  // The log may have been emptied, or recording switched off, since the call began.
  if (entry < m_firstEntry || entry - m_firstEntry >= m_calls.size()) return;
  m_calls[entry - m_firstEntry].text += " = " + result;
}

// ---- Objects

std::shared_ptr<PortState> State::findPort(const kavrel_port_struct* port) {
  if (!port) return nullptr;
  const auto found = m_ports.find(idOf(Kind::Port, port));
  if (found == m_ports.end()) {
    violation("a port that was never opened, or before the reset");
    return nullptr;
  }
  if (!found->second->open) {
    violation(portName(port) + " used after its close");
    return nullptr;
  }
  return found->second;
}

std::shared_ptr<Job> State::findJob(const void* job) const {
  const auto found = m_jobs.find(idOf(Kind::Job, job));
  return found == m_jobs.end() ? nullptr : found->second;
}

std::shared_ptr<PortState> State::portByNumber(int number) const {
  const auto found = m_ports.find(m_firstPort + number);
  if (number < 1 || found == m_ports.end()) {
    throw std::logic_error("there is no port " + std::to_string(number));
  }
  return found->second;
}

int State::portNumber(const void* port) const {
  const int id = idOf(Kind::Port, port);
  return id ? id - m_firstPort : 0;
}

int State::jobNumber(const void* job) const {
  const int id = idOf(Kind::Job, job);
  return id ? id - m_firstJob : 0;
}

std::string State::portName(const kavrel_port_struct* port) const {
  return port ? "port " + std::to_string(portNumber(port)) : "null";
}

std::string State::jobName(const void* job) const {
  return job ? "job " + std::to_string(jobNumber(job)) : "null";
}

std::string State::paramsName(const kavrel_params* params) const {
  if (!params) return "null";
  const auto found = m_params.find(idOf(Kind::Params, params));
  if (found == m_params.end()) return "unknown parameters";
  std::string text;
  for (const auto& [key, value] : found->second) {
    if (!text.empty()) text += ", ";
    text.append(key).append(": ").append(value);
  }
  return '{' + text + '}';
}

// ---- Events

void State::play(const std::shared_ptr<PortState>& port, const std::shared_ptr<Job>& job,
                 const Event& event) {
  Lock held(m_lock);
  play(port, job, event, held);
}

void State::playScript(const std::shared_ptr<PortState>& port, const std::shared_ptr<Job>& job,
                       const std::vector<Event>& events) {
  Lock held(m_lock);
  for (const Event& event : events) {
    if (job->stopped) return;
    play(port, job, event, held);
  }
}

// [locked] The lock is released around the callback. A job counts as over only when the callback of
// its END has returned, as in the real engine.
void State::play(const std::shared_ptr<PortState>& port, const std::shared_ptr<Job>& job,
                 const Event& event, Lock& held) {
  const InEngine scope;
  const bool isEnd = event.type == KAVREL_EVENT_END;
  kavrel_event_struct played{event};
  const Callback callback = job ? job->callback : port->callback;
  if (isEnd && job) {
    job->ending = true;
    // An END without a position reports the end of the text.
    if (event.start == 0) played.event.start = static_cast<int>(job->text.size());
  }
  // A word event without text gets the word from the job's text, if the range lies inside it.
  if (event.type == KAVREL_EVENT_WORD && event.text.empty() && job && event.start >= 0 &&
      event.length >= 0 && static_cast<std::size_t>(event.start) <= job->text.size()) {
    played.event.text = job->text.substr(static_cast<std::size_t>(event.start),
                                         static_cast<std::size_t>(event.length));
  }
  if (callback.function && (callback.mask & event.type)) {
    ++port->callbacksRunning;
    m_changed.notify_all();
    held.unlock();
    t_callbacks.push_back(port.get());
    {
      const CallingOut callingOut;
      callback.function(&played, event.type, callback.user);
    }
    t_callbacks.pop_back();
    held.lock();
    --port->callbacksRunning;
  }
  if (isEnd && job) job->over = true;
  m_changed.notify_all();
}

void State::post(const std::shared_ptr<PortState>& port, std::function<void()> task) {
  port->tasks.push_back(std::move(task));
  // The thread exits when it has no more tasks, so that tests can wait for zero threads.
  if (port->threadRunning) return;
  port->threadRunning = true;
  ++m_threads;
  std::thread([this, port] { runThread(port); }).detach();
}

void State::runThread(std::shared_ptr<PortState> port) {
  const InEngine scope;
  Lock held(m_lock);
  while (!port->tasks.empty()) {
    const std::function<void()> task = std::move(port->tasks.front());
    port->tasks.pop_front();
    held.unlock();
    task();
    held.lock();
  }
  port->threadRunning = false;
  --m_threads;
  m_changed.notify_all();
}

// `stopped` is set before END is played, so that a script on another thread stops first.
void State::endJob(const std::shared_ptr<PortState>& port, const std::shared_ptr<Job>& job,
                   OnStop mode, Lock& held) {
  if (job->over || job->ending) return;
  if (mode == OnStop::TestEnds) return;
  job->ending = true;
  job->stopped = true;
  const auto end = [this, port, job] { play(port, job, {KAVREL_EVENT_END}); };
  switch (mode) {
    case OnStop::EndsTwice:
      post(port, end);
      [[fallthrough]];
    case OnStop::EndsAtOnce:
      post(port, end);
      break;
    case OnStop::EndsBeforeReturn:
      held.unlock();
      end();
      held.lock();
      break;
    case OnStop::EndsSilently:
      job->over = true;
      m_changed.notify_all();
      break;
    case OnStop::TestEnds:
      break;
  }
}

// Two limits apply: m_waitLimit until a job begins to end, and m_callbackPatience for a callback
// that does not return afterwards. Waiting inside a callback of the same port would deadlock and is
// refused.
kavrel_result_t State::waitFor(const std::shared_ptr<PortState>& port,
                               const std::vector<std::shared_ptr<Job>>& jobs, Lock& held) {
  if (std::find(t_callbacks.begin(), t_callbacks.end(), port.get()) != t_callbacks.end()) {
    return KAVREL_ENGINE_INUSE;
  }
  const auto over = [&] {
    return std::all_of(jobs.begin(), jobs.end(), [](const auto& job) { return job->over; });
  };
  const auto stuckInCallback = [&] {
    return port->callbacksRunning > 0 &&
           std::any_of(jobs.begin(), jobs.end(), [](const auto& job) { return job->ending; });
  };
  const auto deadline = std::chrono::steady_clock::now() + m_waitLimit;
  while (!over()) {
    if (stuckInCallback()) {
      if (waitUpTo(*this, held, m_callbackPatience, [&] { return over() || !stuckInCallback(); })) {
        continue;
      }
      return KAVREL_ENGINE_INUSE;
    }
    if (!m_changed.wait_until(held, deadline, [&] { return over() || stuckInCallback(); })) {
      violation("a job did not end while kavrel_port_wait waited for it");
      return KAVREL_ENGINE_INUSE;
    }
  }
  return KAVREL_SUCCESS;
}

// ---- Port

namespace {

// Returns the result of `read` for the port, called under the lock.
template <class Read>
auto readPort(int number, Read read) {
  State& state = State::get();
  const Lock held(state.m_lock);
  return read(*state.portByNumber(number));
}

bool lastJobIs(const PortState& port, bool Job::*flag) {
  return !port.jobs.empty() && port.jobs.back().get()->*flag;
}

}  // namespace

void Port::play(const Event& event) {
  State& state = State::get();
  std::shared_ptr<PortState> port;
  std::shared_ptr<Job> job;
  {
    const Lock held(state.m_lock);
    port = state.portByNumber(m_number);
    if (!port->jobs.empty()) job = port->jobs.back();
  }
  state.play(port, job, event);
}

void Port::endOf(int job) {
  State& state = State::get();
  std::shared_ptr<PortState> port;
  std::shared_ptr<Job> ended;
  {
    const Lock held(state.m_lock);
    port = state.portByNumber(m_number);
    const auto found = state.m_jobs.find(state.m_firstJob + job);
    if (found == state.m_jobs.end()) throw std::logic_error("no job " + std::to_string(job));
    ended = found->second;
  }
  state.play(port, ended, {KAVREL_EVENT_END});
}

bool Port::open() const {
  return readPort(m_number, [](const PortState& port) { return port.open; });
}

bool Port::running() const {
  return readPort(m_number, [](const PortState& port) {
    return !port.jobs.empty() && !lastJobIs(port, &Job::over);
  });
}

bool Port::paused() const {
  return readPort(m_number, [](const PortState& port) { return lastJobIs(port, &Job::paused); });
}

std::map<std::string, std::string> Port::parameters() const {
  return readPort(m_number, [](const PortState& port) { return port.parameters; });
}

std::string Port::voice() const {
  return readPort(m_number, [](const PortState& port) { return port.voice; });
}

kavrel_event_t Port::mask() const {
  return readPort(m_number, [](const PortState& port) { return port.callback.mask; });
}

std::string Port::text() const {
  return readPort(m_number, [](const PortState& port) {
    return port.jobs.empty() ? std::string() : port.jobs.back()->text;
  });
}

// ---- Engine

Engine& engine() {
  static Engine theEngine;
  return theEngine;
}

// Does not replace the State object: threads of the code under test may hold references to it.
bool Engine::reset() {
  State& state = State::get();
  Lock held(state.m_lock);
  const bool quiet =
      waitUpTo(state, held, std::chrono::seconds(5), [&] { return state.m_threads == 0; });
  state.m_firstEntry += state.m_calls.size();
  state.m_calls.clear();
  state.m_recordCalls = true;
  state.m_recordServices = false;
  state.m_behaviours = {};
  state.m_callsThatCanFail = state.m_failAnyAt = state.m_faultsMet = 0;
  state.m_diagnostics.clear();
  state.m_unfinishedDiagnostics.clear();
  state.m_violations.clear();
  state.m_heldLocks = state.m_blocks = 0;
  ++state.m_epoch;
  state.m_firstPort = state.m_lastPort;
  state.m_firstJob = state.m_lastJob;
  state.m_ports.clear();
  state.m_jobs.clear();
  state.m_params.clear();
  state.m_forgotten = {};
  state.m_values.clear();
  state.m_queuedScripts.clear();
  state.m_everyScript.reset();
  state.m_onStop = OnStop::EndsAtOnce;
  state.m_waitLimit = std::chrono::seconds(10);
  state.m_callbackPatience = std::chrono::seconds(1);
  setDiagnostics(0, 0);
  return quiet;
}

std::vector<Call> Engine::log() const {
  State& state = State::get();
  const Lock held(state.m_lock);
  return state.m_calls;
}

std::vector<std::string> Engine::calls() const {
  std::vector<std::string> texts;
  for (Call& call : log()) texts.push_back(std::move(call.text));
  return texts;
}

std::vector<std::string> Engine::calls(Op op) const {
  std::vector<std::string> texts;
  for (Call& call : log()) {
    if (call.op == op) texts.push_back(std::move(call.text));
  }
  return texts;
}

int Engine::count(Op op) const {
  State& state = State::get();
  const Lock held(state.m_lock);
  return behaviourOf(state, op).calls;
}

bool Engine::waitForCall(Op op, int times) const {
  State& state = State::get();
  Lock held(state.m_lock);
  return state.m_called.wait_for(held, std::chrono::seconds(10),
                                 [&] { return behaviourOf(state, op).calls >= times; });
}

void Engine::recordCalls(bool on) {
  State& state = State::get();
  const Lock held(state.m_lock);
  state.m_recordCalls = on;
}

void Engine::recordServices(bool on) {
  State& state = State::get();
  const Lock held(state.m_lock);
  state.m_recordServices = on;
}

void Engine::forgetCalls() {
  State& state = State::get();
  const Lock held(state.m_lock);
  state.m_firstEntry += state.m_calls.size();
  state.m_calls.clear();
}

// Excluded from the thread sanitizer: the interface defines the two variables without a lock, and
// the code under test reads them at any time.
__attribute__((no_sanitize("thread"))) void Engine::setDiagnostics(unsigned int mask, int level) {
  cst_diag_mask = mask;
  cst_diag_level = level;
}

std::vector<Diagnostic> Engine::diagnostics() const {
  State& state = State::get();
  const Lock held(state.m_lock);
  return state.m_diagnostics;
}

std::vector<std::string> Engine::messages() const {
  std::vector<std::string> texts;
  for (Diagnostic& line : diagnostics()) texts.push_back(std::move(line.text));
  return texts;
}

int Engine::unfinishedDiagnostics() const {
  State& state = State::get();
  const Lock held(state.m_lock);
  return static_cast<int>(state.m_unfinishedDiagnostics.size());
}

void Engine::forgetDiagnostics() {
  State& state = State::get();
  const Lock held(state.m_lock);
  state.m_diagnostics.clear();
}

std::vector<std::string> Engine::violations() const {
  State& state = State::get();
  const Lock held(state.m_lock);
  return state.m_violations;
}

Live Engine::live() const {
  State& state = State::get();
  const Lock held(state.m_lock);
  Live live;
  live.blocks = state.m_blocks;
  live.parameterSets = static_cast<long>(state.m_params.size()) + state.m_forgotten.parameterSets;
  live.values = static_cast<long>(state.m_values.size());
  live.ports = std::count_if(state.m_ports.begin(), state.m_ports.end(),
                             [](const auto& entry) { return entry.second->open; }) +
               state.m_forgotten.ports;
  live.engines = state.m_engines;
  return live;
}

void Engine::forgetKept() {
  State& state = State::get();
  const Lock held(state.m_lock);
  state.m_forgotten.parameterSets += static_cast<long>(state.m_params.size());
  state.m_params.clear();
  std::erase_if(state.m_jobs, [](const auto& entry) { return entry.second->over; });
  // A port with a running job, thread or callback is still needed.
  std::erase_if(state.m_ports, [&](const auto& entry) {
    PortState& port = *entry.second;
    std::erase_if(port.jobs, [](const auto& job) { return job->over; });
    if (!port.jobs.empty() || port.threadRunning || port.callbacksRunning > 0) return false;
    if (port.open) ++state.m_forgotten.ports;
    return true;
  });
}

long Engine::heldLocks() const {
  State& state = State::get();
  const Lock held(state.m_lock);
  return state.m_heldLocks;
}

void Engine::fail(Op op, int k, Times times) {
  State& state = State::get();
  const Lock held(state.m_lock);
  Behaviour& behaviour = behaviourOf(state, op);
  behaviour.failAt = behaviour.calls + k;
  behaviour.failTimes = times;
}

void Engine::failAnyCall(int k, Times times) {
  State& state = State::get();
  const Lock held(state.m_lock);
  state.m_failAnyAt = state.m_callsThatCanFail + k;
  state.m_failAnyTimes = times;
}

int Engine::faultsMet() const {
  State& state = State::get();
  const Lock held(state.m_lock);
  return state.m_faultsMet;
}

void Engine::setResult(Op op, kavrel_result_t result) {
  State& state = State::get();
  const Lock held(state.m_lock);
  behaviourOf(state, op).always = result;
}

void Engine::queueResult(Op op, kavrel_result_t result) {
  State& state = State::get();
  const Lock held(state.m_lock);
  behaviourOf(state, op).next.push_back(result);
}

void Engine::useDefaultResults() {
  State& state = State::get();
  const Lock held(state.m_lock);
  state.m_failAnyAt = 0;
  for (Behaviour& behaviour : state.m_behaviours) {
    behaviour.failAt = 0;
    behaviour.next.clear();
    behaviour.always.reset();
  }
}

void Engine::during(Op op, std::function<void()> action) {
  State& state = State::get();
  const Lock held(state.m_lock);
  behaviourOf(state, op).during = std::move(action);
}

void Engine::queueJob(Script script, When when) {
  State& state = State::get();
  const Lock held(state.m_lock);
  state.m_queuedScripts.emplace_back(std::move(script), when);
}

void Engine::everyJob(Script script, When when) {
  State& state = State::get();
  const Lock held(state.m_lock);
  state.m_everyScript.emplace(std::move(script), when);
}

void Engine::onStop(OnStop mode) {
  State& state = State::get();
  const Lock held(state.m_lock);
  state.m_onStop = mode;
}

void Engine::setWaitLimit(std::chrono::milliseconds limit) {
  State& state = State::get();
  const Lock held(state.m_lock);
  state.m_waitLimit = limit;
}

void Engine::setCallbackPatience(std::chrono::milliseconds patience) {
  State& state = State::get();
  const Lock held(state.m_lock);
  state.m_callbackPatience = patience;
}

int Engine::ports() const {
  State& state = State::get();
  const Lock held(state.m_lock);
  return state.m_lastPort - state.m_firstPort;
}

}  // namespace scripted
