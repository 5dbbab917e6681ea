// SPDX-License-Identifier: Apache-2.0
#include "api/port.h"

#include <algorithm>
#include <atomic>
#include <system_error>
#include <utility>

#include "base/threads/Signals.h"
#include "cst/diag.h"
#include "output/clock_sink.h"
#include "output/device.h"
#include "output/device_sink.h"
#include "output/file_sink.h"
#include "synth/voice_cache.h"

namespace kavrel {

namespace {

// Numbers are never reused, so that the handle of an old job never names a new one.
std::uint64_t nextNumber() {
  static std::atomic<std::uint64_t> last = 0;
  return ++last;
}

// Returns the sink that the settings select; null, with a diagnostic line, if the file cannot be
// written. A device is opened by the sink itself, with the first audio.
std::unique_ptr<Sink> openSink(const PortSettings& settings) {
  if (settings.outputFile.empty()) {
    if (!soundOutputIsWanted()) return std::make_unique<ClockSink>();
    return std::make_unique<DeviceSink>(settings.audioDevice.empty() ? usualSoundDevice()
                                                                     : settings.audioDevice);
  }
  std::string why;
  std::unique_ptr<FileSink> sink;
  if (settings.outputFormat == "aiff") {
    sink = FileSink::open(settings.outputFile, why);
  } else {
    why = "unknown output format \"" + settings.outputFormat + "\"";
  }
  if (sink == nullptr) KAVREL_DIAG("Port", "Cannot write: %s", why.c_str());
  return sink;
}

}  // namespace

Port::Port(PortSettings settings) : m_settings(std::move(settings)), m_voice(&defaultVoice()) {}

void Port::setCallback(kavrel_callback_t callback, kavrel_event_t mask, void* user) {
  const base::ScopedLock held(m_lock);
  m_callback = callback;
  m_mask = mask;
  m_user = user;
}

void Port::setVoice(const Voice& voice) {
  const base::ScopedLock held(m_lock);
  m_voice = &voice;
}

kavrel_result_t Port::speakText(std::string_view text, Encoding encoding,
                                kavrel_background_t& handle, const kavrel_params* params) {
  // The file is opened before the job is queued, so that the caller learns at once that it cannot
  // be written. The handle is stored before the job can send an event.
  PortSettings settings = m_settings;
  settings.apply(params);
  Job::Request request;
  request.text = text;
  request.encoding = encoding;
  request.sink = openSink(settings);
  if (request.sink == nullptr) return KAVREL_FILE_ERROR;
  request.eventsImmediate = settings.eventsImmediate;
  request.oneVoice = settings.oneVoice;
  {
    const base::ScopedLock held(m_lock);
    request.voice = m_voice;
    request.callback = m_callback;
    request.mask = m_mask;
    request.user = m_user;
  }
  auto job = std::make_shared<Job>(nextNumber(), std::move(request));
  handle = handleFor(job->number());
  const kavrel_result_t result = enqueue(std::move(job));
  if (result < 0) handle = nullptr;
  return result;
}

// The thread takes m_lock first, so it sees m_worker set. It holds a reference to the port.
kavrel_result_t Port::enqueue(JobPointer job) {
  const base::ScopedLock held(m_lock);
  m_jobs.push_back(std::move(job));
  if (m_worker != std::thread::id()) return KAVREL_SUCCESS;
  try {
    std::thread thread([self = shared_from_this()] { self->work(); });
    m_worker = thread.get_id();
    thread.detach();
  } catch (const std::system_error&) {
    KAVREL_DIAG("Port", "The system refuses to start a thread.");
    m_jobs.pop_back();
    return KAVREL_INTERNAL_ERROR;
  }
  return KAVREL_SUCCESS;
}

// A job stays in the queue while it runs, so that it can be found by its handle.
void Port::work() {
  base::blockSignals();
  for (;;) {
    JobPointer job;
    {
      const base::ScopedLock held(m_lock);
      // Under the same lock as enqueue(), so that no job is left without a thread.
      if (m_jobs.empty()) {
        m_worker = std::thread::id();
        return;
      }
      job = m_jobs.front();
    }
    job->run();
    const base::ScopedLock held(m_lock);
    m_jobs.erase(m_jobs.begin());
  }
}

Port::JobPointer Port::find(kavrel_background_t handle) {
  const auto job =
      std::find_if(m_jobs.begin(), m_jobs.end(), [handle](const JobPointer& candidate) {
        return handle == nullptr || handleFor(candidate->number()) == handle;
      });
  return job != m_jobs.end() ? *job : nullptr;
}

kavrel_result_t Port::pause(kavrel_background_t handle, StopBoundary boundary) {
  JobPointer job;
  {
    const base::ScopedLock held(m_lock);
    job = find(handle);
  }
  return job != nullptr && job->pause(boundary) ? KAVREL_SUCCESS : KAVREL_OBJECT_NOT_FOUND;
}

// The jobs are stopped outside the port's lock: Job::stop may wait for the sink.
void Port::stop(kavrel_background_t handle, StopBoundary boundary) {
  std::vector<JobPointer> jobs;
  {
    const base::ScopedLock held(m_lock);
    if (handle == nullptr) {
      jobs = m_jobs;
    } else if (JobPointer job = find(handle)) {
      jobs.push_back(std::move(job));
    }
  }
  // In reverse order: otherwise a job could begin because the one before it has been stopped.
  for (auto job = jobs.rbegin(); job != jobs.rend(); ++job) (*job)->stop(boundary);
}

// Jobs end in order, so the jobs before it are waited for, too; the callback that hangs may be
// theirs.
kavrel_result_t Port::wait(kavrel_background_t handle) {
  std::vector<JobPointer> jobs;
  {
    const base::ScopedLock held(m_lock);
    if (m_worker == std::this_thread::get_id()) return KAVREL_ENGINE_INUSE;
    const JobPointer last = handle != nullptr ? find(handle) : nullptr;
    if (handle != nullptr && last == nullptr) return KAVREL_SUCCESS;
    for (const JobPointer& job : m_jobs) {
      jobs.push_back(job);
      if (job == last) break;
    }
  }
  for (const JobPointer& job : jobs) {
    if (job->wait() == Job::WaitResult::CallbackHangs) return KAVREL_ENGINE_INUSE;
  }
  return KAVREL_SUCCESS;
}

}  // namespace kavrel
