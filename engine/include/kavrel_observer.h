/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Kavrel: an observer of all jobs of the process, for tools that measure, caption or log. It
 * receives every event that the ports' callbacks receive, with its time. Speaking does not need it.
 *
 * The conventions and thread tags of kavrel.h apply.
 */
#ifndef KAVREL_OBSERVER_H
#define KAVREL_OBSERVER_H

#include <stdint.h>

#include "kavrel.h"

#ifdef __cplusplus
extern "C" {
#endif

/* An event and its time. `text` is valid until the observer returns. */
typedef struct kavrel_observation {
  kavrel_event_t type;
  kavrel_background_t job;
  /* Time of the event: its position in the job's audio, in samples from the start, at `rate`
   * samples per second. Pauses do not count. Never less than that of an earlier event of the same
   * job. START: 0. END: the length of the job's audio, which is also that of its file; for a job
   * that was stopped or failed, the length of what was spoken. ERROR: the length of what was spoken
   * so far. */
  uint64_t sample;
  uint32_t rate;
  double time; /* the same in seconds */
  /* As kavrel_event_get_textpos. */
  uint32_t position;
  uint32_t length;
  const char* text; /* as kavrel_event_get_text; never null */
} kavrel_observation;

/* Receives every event of every job of the process, whether or not the ports have callbacks and
 * whatever their masks are. Runs on the job's thread, under no lock of the engine, just before the
 * port's own callback receives the same event. Jobs of several ports call it at the same time. It
 * may call every function of the interface, as a port's callback may, and counts as part of that
 * callback: until it returns, its job does not continue, and kavrel_port_wait treats it as a
 * callback that has not returned. */
typedef void (*kavrel_observer_t)(const kavrel_observation* observation, void* user);

/* Sets the one observer of the process, replacing an earlier one; null switches observing off. Jobs
 * that are speaking are observed from their next event on.
 * Waits for running calls of the earlier observer: when this function returns, none is running and
 * none will start, so the caller may release what belongs to it. Therefore the caller must not hold
 * a lock that the earlier observer may wait for. If called in an observer, it does not wait.
 * Results: KAVREL_SUCCESS; KAVREL_INTERNAL_ERROR (out of memory; nothing has changed).  [any] */
KAVREL_API kavrel_result_t kavrel_set_observer(kavrel_observer_t observer, void* user);

#ifdef __cplusplus
}
#endif

#endif
