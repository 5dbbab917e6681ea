// SPDX-License-Identifier: Apache-2.0
//
// Program: runs kavrel-say or another program as a user does and collects its output. A program
// that hangs is killed together with the test when the test's time limit is reached.
//
// Threads: an object belongs to one thread at a time. Functions throw std::runtime_error if the
// system provides no file, pipe or process.
#pragma once

#include <string>
#include <vector>

#include <nlohmann/json.hpp>
#include <sys/types.h>

namespace program {

struct Result {
  int status = -1;  // the exit status
  int signal = 0;   // the signal that ended the process; 0: none
  std::string out;
  std::string err;
};

// Runs kavrel-say with `input` on its standard input.
Result say(const std::vector<std::string>& arguments, const std::string& input = {});

// Runs the program at that path with `input` on its standard input.
Result run(const std::string& program, const std::vector<std::string>& arguments,
           const std::string& input = {});

// A running program. The destructor kills it if finish() was not called.
class Running {
 public:
  // Starts kavrel-say. `standardOutput` is the descriptor for its standard output, or -1 for a pipe
  // that this object reads.
  explicit Running(const std::vector<std::string>& arguments, const std::string& input = {},
                   int standardOutput = -1);
  // Starts the program at that path.
  Running(const std::string& program, const std::vector<std::string>& arguments,
          const std::string& input, int standardOutput);
  ~Running();
  Running(const Running&) = delete;
  Running& operator=(const Running&) = delete;

  // Reads standard output until it contains `text` or ends; returns all output so far.
  std::string readUntil(const std::string& text);

  void sendSignal(int signal) const;
  // Waits until the program has blocked the signal, and so takes it itself. Returns false if that
  // does not happen within ten seconds.
  bool waitUntilItTakes(int signal) const;
  void closeItsOutput();

  // Reads the rest of the output and waits until the process exits.
  Result finish();

 private:
  bool readSome(int& file, std::string& text);

  pid_t m_process = -1;
  int m_out = -1;
  int m_err = -1;
  Result m_result;
};

// The events in `out`, one JSON object per line; throws for any other line.
std::vector<nlohmann::json> eventsOf(const std::string& out);

// The values under `key` of the events of kind `kind`.
template <typename Value>
std::vector<Value> valuesOf(const std::vector<nlohmann::json>& events, const char* kind,
                            const char* key) {
  std::vector<Value> values;
  for (const auto& event : events) {
    if (event.at("event") == kind) values.push_back(event.at(key).get<Value>());
  }
  return values;
}

// A temporary folder, removed by the destructor.
class Folder {
 public:
  Folder();
  ~Folder();
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  std::string file(const std::string& name) const { return m_path + "/" + name; }
  std::string write(const std::string& name, const std::string& contents) const;

 private:
  std::string m_path;
};

std::string contentsOf(const std::string& path);

// Duration of an AIFF file in seconds, from its header; negative for a file that is not AIFF or
// whose size does not match its header.
double secondsIn(const std::string& path);

}  // namespace program
