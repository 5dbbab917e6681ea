// SPDX-License-Identifier: GPL-3.0-or-later
//
// A port: settings for jobs to come, and the queue of those that are not over.
//
// All functions may be called on any thread, the port's callback included. The jobs share one
// thread, which is there only while there are jobs; it keeps the port alive.
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

  // As the functions of the C interface with these names.
  kavrel_result_t speakText(std::string_view text, kavrel_background_t& handle,
                            const kavrel_params* params) EXCLUDES(m_lock);
  kavrel_result_t pause(kavrel_background_t handle, Place place) EXCLUDES(m_lock);
  void stop(kavrel_background_t handle, Place place) EXCLUDES(m_lock);
  kavrel_result_t wait(kavrel_background_t handle) EXCLUDES(m_lock);

 private:
  using JobPointer = std::shared_ptr<Job>;

  kavrel_result_t enqueue(JobPointer job) EXCLUDES(m_lock);
  void work() EXCLUDES(m_lock);
  JobPointer find(kavrel_background_t handle) REQUIRES(m_lock);

  const PortSettings m_settings;

  base::Mutex m_lock;
  kavrel_callback_t m_callback GUARDED_BY(m_lock) = nullptr;
  kavrel_event_t m_mask GUARDED_BY(m_lock) = KAVREL_EVENT_NONE;
  void* m_user GUARDED_BY(m_lock) = nullptr;
  const Voice* m_voice GUARDED_BY(m_lock);
  // In the order in which they are spoken; the first one is on the thread, if there is one.
  std::vector<JobPointer> m_jobs GUARDED_BY(m_lock);
  std::thread::id m_worker GUARDED_BY(m_lock);  // no thread: none is there
};

}  // namespace kavrel
