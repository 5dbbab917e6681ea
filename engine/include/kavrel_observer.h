/* SPDX-License-Identifier: GPL-3.0-or-later */
/*
 * Kavrel: an observer of all jobs of the process, for tools that measure, caption or log. It is
 * told what the ports' callbacks are told, with the time of it; nobody needs it in order to speak.
 *
 * The conventions and tags of kavrel.h hold here, too.
 */
#ifndef KAVREL_OBSERVER_H
#define KAVREL_OBSERVER_H

#include <stdint.h>

#include "kavrel.h"

#ifdef __cplusplus
extern "C" {
#endif

/* An event, and when it is due. `text` lives until the observer returns. */
typedef struct kavrel_observation {
  kavrel_event_t type;
  kavrel_background_t job;
  /* When: counted in the job's own sound from its start, at `rate` samples a second; pauses do not
   * count. Never less than that of an earlier event of the same job. START: 0. END: the length of
   * the job's sound, which is that of its file; of a job that was stopped or failed, as far as it
   * was spoken. ERROR: how far that is. */
  uint64_t sample;
  uint32_t rate;
  double time; /* the same in seconds */
  /* As kavrel_event_get_textpos. */
  uint32_t position;
  uint32_t length;
  const char* text; /* as kavrel_event_get_text; never null */
} kavrel_observation;

/* Called for every event of every job of the process, whatever the masks of the ports and whether
 * they have callbacks or not: on the thread of the job, under no lock of the engine, just before
 * the port's own callback gets the same event. Jobs of several ports call it at the same time. It
 * may call every function of the interface, as a port's callback may, and counts as part of one:
 * while it does not return its job stands still, and kavrel_port_wait bears with it for as long. */
typedef void (*kavrel_observer_t)(const kavrel_observation* observation, void* user);

/* Makes `observer` the one observer of the process, in place of an earlier one; null switches
 * observing off. Jobs that are speaking are observed from their next event on.
 * Waits for calls of the earlier observer that are running: when this returns none is, and none
 * will begin, so that what belongs to it can be released. Hence the caller must hold no lock that
 * the earlier observer waits for. Called from inside an observer it does not wait.
 * Results: KAVREL_SUCCESS; KAVREL_INTERNAL_ERROR (memory is out; nothing has changed).  [any] */
KAVREL_API kavrel_result_t kavrel_set_observer(kavrel_observer_t observer, void* user);

#ifdef __cplusplus
}
#endif

#endif
