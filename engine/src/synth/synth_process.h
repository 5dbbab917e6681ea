// SPDX-License-Identifier: Apache-2.0
//
// The client's side of one kavrel-synth: a process that speaks with one voice, in a session of its
// own, detached from this one. It is never a child of this process for longer than it takes to
// start, so no wait() of the host ever sees it.
//
// Nothing of a call is passed on before the call is complete, so a call that went wrong can be
// repeated. No function waits longer than its limit, whatever the other process does.
//
// Threads: an object is used by one thread at a time. fork() on another thread is safe: the child
// has no synthesiser processes.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include <sys/types.h>

#include "base/threads/Clock.h"
#include "synth/synth_protocol.h"

namespace kavrel {

class SynthProcess {
 public:
  // How long to wait, and how much to take.
  struct Limits {
    std::chrono::milliseconds start{5000};    // until it is ready
    std::chrono::milliseconds silence{5000};  // without a frame during a call
    std::chrono::milliseconds call{30000};    // until it is complete
    std::chrono::milliseconds cancel{30};     // for the end of a cancelled call, by the next one
    std::uint64_t samples = std::uint64_t{20} * 60 * 22050;
  };

  enum class Started {
    Ready,
    NoVoice,  // it cannot speak with the voice
    Failed,   // it cannot be started, failed, or was not ready in time
    Killed,   // it was ended from outside, or ended for an unknown reason
    Cancelled,
  };

  enum class Result {
    Done,
    Cancelled,
    Refused,  // it could not speak the call and says so, or the call does not fit into a frame
    // After these the object is of no use:
    Killed,   // ended from outside
    Crashed,  // the call ended it, or took too much CPU time
    Garbage,  // what it sent is not of the protocol
    Silent,   // it sent nothing for too long, or has not completed the call in time
  };

  // The results of a call.
  struct Speech {
    std::vector<synth_protocol::Event> events;
    std::vector<std::int16_t> samples;
  };

  // True cancels what is running. Called often, on the calling thread.
  using Cancelled = std::function<bool()>;

  // `program` is the absolute path of kavrel-synth.
  SynthProcess(std::string program, const Limits& limits);
  // Lets the process exit by itself, unless a call went wrong.
  ~SynthProcess();
  SynthProcess(const SynthProcess&) = delete;
  SynthProcess& operator=(const SynthProcess&) = delete;

  // Starts the process with a voice: a language, or a language, "+" and a variant. Called once.
  // Sets `why` on failure.
  Started start(const std::string& voice, const Cancelled& cancelled, std::string& why);

  // The protections that the process lacks, as bits of synth_protocol::Ready.
  std::uint32_t missingProtections() const { return m_missing; }

  // False if the process has exited while it was idle, or if this process has closed or replaced
  // its descriptors, as a host may that closes all of them.
  bool isUsable() const;

  // Speaks one call. `speech` is valid if the result is Done; sets `why` unless it is Done or
  // Cancelled. A cancelled call is left at once; the next one first waits for its end, and the
  // result is Killed if that does not come. May throw std::bad_alloc; the object is of no use then.
  Result speak(const synth_protocol::Speak& call, const Cancelled& cancelled, Speech& speech,
               std::string& why);

  // Ends the process at once.
  void kill();

  // If this process adopts orphans: reaps those that objects have left and that have ended. Does
  // not wait for the others.  [any thread]
  static void reapLeft();

  // Called in the child of a fork(): closes what all objects of the process hold. Before and after
  // the fork the two others are called.
  static void prepareFork();
  static void afterForkInParent();
  static void afterForkInChild();

 private:
  enum class Received { Frame, End, Garbage, Timeout, Cancelled };

  // A descriptor of this object. If the host closes it, as a host may that closes all of its
  // descriptors, the number may be that of another file, which must be left alone.
  class OwnFile {
   public:
    // Takes ownership; -1 for none.
    void set(int number);
    // False if there is none, or if the number is another file's.
    bool isValid() const;
    int number() const { return m_number; }
    // Closes it if it is valid, and forgets it.
    void close();

   private:
    int m_number = -1;
    // Of sockets and pipes, these tell one from another. Descriptors of processes may share them.
    dev_t m_device = 0;
    ino_t m_inode = 0;
  };

  bool connect(int& socket, int& report, std::string& why);
  bool spawn(const std::string& voice, int socket, int report, std::string& why);
  bool reapStarter(bool kill);
  Started whyNotReady(Received received, bool starterFailed, std::string& why);
  Received receive(synth_protocol::Frame& frame, base::Clock::time_point limit,
                   const Cancelled& cancelled);
  ssize_t receiveBytes();
  bool send(const std::vector<std::byte>& bytes, base::Clock::time_point limit);
  Result collect(std::uint32_t call, const Cancelled& cancelled, Speech& speech, std::string& why);
  bool take(const synth_protocol::Frame& frame, Speech& speech) const;
  Result finish(const synth_protocol::Frame& frame, const Speech& speech, std::string& why);
  Result cancelCall(std::uint32_t call);
  Received finishCancelled(const Cancelled& cancelled);
  Received awaitWorkersEnd(const Cancelled& cancelled);
  Result garbage(std::string& why);
  Result ended(std::string& why);
  bool readReport(int& status);
  void closeAll();
  void close();

  const std::string m_program;
  const Limits m_limits;
  synth_protocol::FrameReader m_reader{synth_protocol::Side::Client};
  OwnFile m_socket;
  OwnFile m_report;     // pipe from which the wait status of a worker is read
  OwnFile m_process;    // the process, for signals
  pid_t m_group = 0;    // process group of all that the starter leads to; 0: none
  pid_t m_starter = 0;  // process that this one has to wait for; 0: none
  OwnFile m_starterProcess;
  bool m_ready = false;   // start() has succeeded
  bool m_busy = false;    // in the middle of start() or a call
  bool m_broken = false;  // must be ended
  std::uint32_t m_call = 0;
  std::uint32_t m_cancelled = 0;  // number of a cancelled call whose End has not come; 0: none
  bool m_workerRuns = false;      // its End has come, its wait status has not been read
  std::uint32_t m_missing = 0;
};

}  // namespace kavrel
