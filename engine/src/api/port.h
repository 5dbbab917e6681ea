// SPDX-License-Identifier: Apache-2.0
//
// A port: the settings for its next jobs, and the queue of jobs that are not over.
//
// Threads: all functions may be called on any thread, also in the port's callback. The jobs share
// one thread, which exists only while there are jobs. That thread holds a reference to the port, so
// a port that is released while a job runs is destroyed when its jobs are over.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>
#include <thread>
#include <vector>

#include "api/params.h"
#include "base/threads/Mutex.h"
#include "job/job.h"
#include "kavrel.h"

namespace kavrel {

class Voice;

class Port : public std::enable_shared_from_this<Port> {
 public:
  explicit Port(PortSettings settings);

  void setCallback(kavrel_callback_t callback, kavrel_event_t mask, void* user) EXCLUDES(m_lock);
  void setVoice(const Voice& voice) EXCLUDES(m_lock);

  // As the functions of the C interface with these names. May throw std::bad_alloc.
  kavrel_result_t speakText(std::string_view text, Encoding encoding, kavrel_background_t& handle,
                            const kavrel_params* params) EXCLUDES(m_lock);
  kavrel_result_t pause(kavrel_background_t handle, StopBoundary boundary) EXCLUDES(m_lock);
  void stop(kavrel_background_t handle, StopBoundary boundary) EXCLUDES(m_lock);
  kavrel_result_t wait(kavrel_background_t handle) EXCLUDES(m_lock);

 private:
  using JobPointer = std::shared_ptr<Job>;

  // KAVREL_INTERNAL_ERROR if the system refuses a thread; the queue is then unchanged.
  kavrel_result_t enqueue(JobPointer job) EXCLUDES(m_lock);
  // Main function of the thread: runs the jobs, exits when there are none.
  void work() EXCLUDES(m_lock);
  // Returns the job of `handle`, for null the first one; null if there is none.
  JobPointer find(kavrel_background_t handle) REQUIRES(m_lock);

  const PortSettings m_settings;

  base::Mutex m_lock;
  kavrel_callback_t m_callback GUARDED_BY(m_lock) = nullptr;
  kavrel_event_t m_mask GUARDED_BY(m_lock) = KAVREL_EVENT_NONE;
  void* m_user GUARDED_BY(m_lock) = nullptr;
  const Voice* m_voice GUARDED_BY(m_lock);
  // In the order in which they are spoken; the thread runs the first one.
  std::vector<JobPointer> m_jobs GUARDED_BY(m_lock);
  std::thread::id m_worker GUARDED_BY(m_lock);  // default: no thread exists
};

}  // namespace kavrel
