// SPDX-License-Identifier: Apache-2.0
//
// Program: kavrel-say, or another program, run as a user runs it, with everything that it wrote. A
// program that does not end dies with the test, which the test's own limit ends.
#pragma once

#include <string>
#include <vector>

#include <nlohmann/json.hpp>
#include <sys/types.h>

namespace program {

struct Result {
  int status = -1;  // the exit status
  int signal = 0;   // what ended it instead; 0 for none
  std::string out;
  std::string err;
};

// Runs kavrel-say with `input` on its standard input.
Result say(const std::vector<std::string>& arguments, const std::string& input = {});

// Runs the program at that path with `input` on its standard input.
Result run(const std::string& program, const std::vector<std::string>& arguments,
           const std::string& input = {});

// A program still running.
class Running {
 public:
  // kavrel-say. `standardOutput` is a descriptor that the program writes to, or -1 for one of our
  // own.
  explicit Running(const std::vector<std::string>& arguments, const std::string& input = {},
                   int standardOutput = -1);
  // The program at that path.
  Running(const std::string& program, const std::vector<std::string>& arguments,
          const std::string& input, int standardOutput);
  ~Running();
  Running(const Running&) = delete;
  Running& operator=(const Running&) = delete;

  // Returns when the program has written that much text; what it has written.
  std::string readUntil(const std::string& text);

  void sendSignal(int signal) const;
  void closeItsOutput();

  // Reads on until the program ends.
  Result finish();

 private:
  bool readSome(int& file, std::string& text);

  pid_t m_process = -1;
  int m_out = -1;
  int m_err = -1;
  Result m_result;
};

// The events among the lines of `out`; every line must be one.
std::vector<nlohmann::json> eventsOf(const std::string& out);

// The values under `key` of the events of that kind.
template <typename Value>
std::vector<Value> valuesOf(const std::vector<nlohmann::json>& events, const char* kind,
                            const char* key) {
  std::vector<Value> values;
  for (const auto& event : events) {
    if (event.at("event") == kind) values.push_back(event.at(key).get<Value>());
  }
  return values;
}

// A folder for one test, gone after it.
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

// Seconds of sound in an AIFF file as its head says; below 0 for a file that is none, or whose
// length is not what its head says.
double secondsIn(const std::string& path);

}  // namespace program
