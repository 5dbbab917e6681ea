// SPDX-License-Identifier: Apache-2.0
//
// synth_host: a client of the engine's C interface that treats its processes, descriptors and
// signals as some programs do. Each argument is a step; steps are taken in order. Every event is
// written to standard output as a line: type, start, length, text.
//
// What is spoken:
//   text=TEXT    text-file=PATH    file=PATH (an AIFF file)    voice=FOLDER
//   speak          speaks the text to its end
//   begin          starts to speak it and returns at the first word
//   finish         waits for the end of what was begun
//   jobs=N         N short jobs on 16 ports; writes "jobs", the numbers of ENDs, ERRORs and words
//   stops=N        N jobs, each stopped immediately
//
// What kind of host it is, from this step on:
//   ignore-children    ignores SIGCHLD
//   handle-children    waits for any child in a handler of SIGCHLD
//   reap-on-thread     waits for any child on a thread of its own
//   adopt-orphans      becomes the parent of orphans
//   block-signals      blocks all signals, on all later threads too
//   default-signals    takes the default action for all signals, SIGPIPE included
//   few-descriptors    may have 64 descriptors
//   remove-folder      removes its working directory
//   close-errors       closes standard error
//   diagnose           writes the engine's diagnostic lines
//
// What it does once:
//   wait-for-children  waits until it has no children
//   wait-for=FILE      waits until the file exists
//   close-all          closes all descriptors above 2, and opens as many of its own
//   count              writes "count", its zombies and its descriptors
//   fork-speak         the child of a fork() speaks the text to FILE.child; writes its exit status
//   fork-sleep         leaves a child that sleeps for 20 seconds, and writes its process id
//   ids                writes the ids of the process and of its real and effective user
//   sleep              sleeps until it is killed
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "cst.h"
#include "kavrel.h"

namespace {

// No host outlives its test by much.
constexpr unsigned kLongestLife = 1800;
constexpr int kPorts = 16;
constexpr int kLowDescriptors = 64;

std::string text = "One two three. Four <mark name=\"m\"/>five, six! Seven?";
std::string file;
std::string voice;

[[noreturn]] void fail(const std::string& why) {
  std::fprintf(stderr, "synth_host: %s\n", why.c_str());
  std::exit(1);
}

// One write for a line, so that lines of several threads are not mixed.
void writeLine(const std::string& line) {
  const std::string whole = line + '\n';
  if (::write(STDOUT_FILENO, whole.data(), whole.size()) < 0 && errno == EPIPE) std::_Exit(1);
}

// ---- Speaking

struct Job {
  std::atomic<int> words{0};
  std::atomic<int> ends{0};
  std::atomic<int> errors{0};
  bool silent = false;  // writes no lines
};

kavrel_result_t onEvent(kavrel_event_struct* event, kavrel_event_t type, void* user) {
  auto& job = *static_cast<Job*>(user);
  char* content = nullptr;
  int start = 0;
  int length = 0;
  kavrel_event_get_text(event, &content);
  kavrel_event_get_textpos(event, &start, &length);
  if (!job.silent || type == KAVREL_EVENT_ERROR) {
    writeLine(std::to_string(type) + ' ' + std::to_string(start) + ' ' + std::to_string(length) +
              ' ' + content);
  }
  if (type == KAVREL_EVENT_WORD) ++job.words;
  if (type == KAVREL_EVENT_ERROR) ++job.errors;
  if (type == KAVREL_EVENT_END) ++job.ends;
  return KAVREL_SUCCESS;
}

kavrel_port_struct* openPort(const std::string& output, Job& job) {
  kavrel_engine_struct* const engine = kavrel_engine_open(nullptr);
  if (engine == nullptr) fail("no engine");
  kavrel_params* const params = kavrel_params_new(nullptr);
  if (!output.empty()) {
    kavrel_params_set_val(params, KAVREL_KEY_OUTPUT_FILE, kavrel_val_string(output.c_str()));
  }
  kavrel_port_struct* const port = kavrel_port_open(engine, params);
  kavrel_params_delete(params);
  if (port == nullptr) fail("no port");
  kavrel_port_set_callback(port, &onEvent, KAVREL_EVENT_ALL, &job);
  if (!voice.empty() && kavrel_port_set_voice_from_dir(port, voice.c_str()) == nullptr) {
    fail("no voice in " + voice);
  }
  return port;
}

void start(kavrel_port_struct* port, const std::string& spoken) {
  kavrel_background_t job = nullptr;
  const kavrel_result_t result =
      kavrel_port_speak_text(port, spoken.data(), spoken.size(), nullptr, &job, nullptr);
  if (result != KAVREL_SUCCESS) fail(kavrel_strerror(result));
}

// Returns true if the job has ended as it should.
bool speakTo(const std::string& output) {
  Job job;
  kavrel_port_struct* const port = openPort(output, job);
  start(port, text);
  kavrel_port_wait(port, nullptr);
  kavrel_port_close(port);
  return job.ends == 1 && job.errors == 0;
}

Job begunJob;
kavrel_port_struct* begunPort = nullptr;

void begin() {
  begunPort = openPort(file, begunJob);
  start(begunPort, text);
  while (begunJob.words == 0 && begunJob.ends == 0) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

void finish() {
  kavrel_port_wait(begunPort, nullptr);
  kavrel_port_close(begunPort);
}

void speakMany(int count) {
  Job job;
  job.silent = true;
  std::atomic<int> left{count};
  std::vector<std::thread> threads;
  for (int number = 0; number < kPorts; ++number) {
    threads.emplace_back([&, number] {
      kavrel_port_struct* const port = openPort(file + std::to_string(number), job);
      while (left-- > 0) {
        start(port, "One two three.");
        kavrel_port_wait(port, nullptr);
      }
      kavrel_port_close(port);
    });
  }
  for (std::thread& thread : threads) thread.join();
  writeLine("jobs " + std::to_string(job.ends) + ' ' + std::to_string(job.errors) + ' ' +
            std::to_string(job.words));
}

void stopMany(int count) {
  for (int number = 0; number < count; ++number) {
    Job job;
    job.silent = true;
    kavrel_port_struct* const port = openPort(file, job);
    start(port, text);
    kavrel_port_stop(port, nullptr, KAVREL_EVENT_NOW);
    kavrel_port_close(port);
    if (job.ends != 1) fail("a stopped job without END");
  }
}

// ---- What kind of host it is

void waitInHandler(int) {
  const int saved = errno;
  while (::waitpid(-1, nullptr, WNOHANG) > 0) {
  }
  errno = saved;
}

void reapOnThread() {
  std::thread([] {
    for (;;) {
      if (::waitpid(-1, nullptr, 0) < 0) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  }).detach();
}

void setSignals(bool blocked) {
  sigset_t set;
  sigfillset(&set);
  ::sigprocmask(blocked ? SIG_BLOCK : SIG_UNBLOCK, &set, nullptr);
  for (int signal = 1; !blocked && signal < NSIG; ++signal) std::signal(signal, SIG_DFL);
}

void removeFolder() {
  std::string pattern = (std::filesystem::temp_directory_path() / "kavrel-host-XXXXXX").string();
  if (::mkdtemp(pattern.data()) == nullptr || ::chdir(pattern.c_str()) != 0 ||
      ::rmdir(pattern.c_str()) != 0) {
    fail("cannot remove the working directory");
  }
}

// ---- What it does once

// Threads of the engine may take some numbers at the same time.
void closeAll() {
  for (int number = 3; number < kLowDescriptors; ++number) ::close(number);
  for (int number = 0; number >= 0 && number < kLowDescriptors - 1;) {
    number = ::open("/dev/null", O_RDWR);
  }
}

int zombies() {
  int count = 0;
  const std::string parent = std::to_string(::getpid());
  for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
    std::ifstream status(entry.path() / "stat");
    std::string line;
    if (!std::getline(status, line)) continue;
    // The fields after the name, which is in brackets.
    const std::size_t name = line.rfind(") ");
    if (name != std::string::npos && line.substr(name + 2).starts_with("Z " + parent + " ")) {
      ++count;
    }
  }
  return count;
}

void count() {
  const std::filesystem::directory_iterator descriptors("/proc/self/fd");
  writeLine("count " + std::to_string(zombies()) + ' ' +
            std::to_string(std::distance(begin(descriptors), end(descriptors))));
}

void forkAndSpeak() {
  constexpr unsigned kLimit = 60;
  const pid_t child = ::fork();
  if (child == 0) {
    ::alarm(kLimit);
    const bool good = speakTo(file + ".child") && speakTo(file + ".child");
    std::_Exit(good ? 0 : 1);
  }
  int status = -1;
  ::waitpid(child, &status, 0);
  writeLine("child " + std::to_string(status));
}

void forkAndSleep() {
  constexpr unsigned kSeconds = 20;
  const pid_t child = ::fork();
  if (child == 0) {
    // It has nothing of the test's pipes.
    ::close(STDIN_FILENO);
    ::close(STDOUT_FILENO);
    ::close(STDERR_FILENO);
    ::prctl(PR_SET_PDEATHSIG, 0);
    ::sleep(kSeconds);
    std::_Exit(0);
  }
  writeLine("sleeper " + std::to_string(child));
}

void sleepForever() {
  writeLine("asleep");
  for (;;) ::pause();
}

void limitDescriptors() {
  const rlimit limit{kLowDescriptors, kLowDescriptors};
  ::setrlimit(RLIMIT_NOFILE, &limit);
}

void setText(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  text.assign(std::istreambuf_iterator<char>(in), {});
  if (text.empty()) fail("no text in " + path);
}

using Value = const std::string&;

const std::map<std::string_view, std::function<void(Value)>> kSteps = {
    {"text", [](Value value) { text = value; }},
    {"text-file", [](Value value) { setText(value); }},
    {"file", [](Value value) { file = value; }},
    {"voice", [](Value value) { voice = value; }},
    {"speak", [](Value) { speakTo(file); }},
    {"begin", [](Value) { begin(); }},
    {"finish", [](Value) { finish(); }},
    {"jobs", [](Value value) { speakMany(std::stoi(value)); }},
    {"stops", [](Value value) { stopMany(std::stoi(value)); }},
    {"ignore-children", [](Value) { std::signal(SIGCHLD, SIG_IGN); }},
    {"handle-children", [](Value) { std::signal(SIGCHLD, &waitInHandler); }},
    {"reap-on-thread", [](Value) { reapOnThread(); }},
    {"adopt-orphans", [](Value) { ::prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0); }},
    {"block-signals", [](Value) { setSignals(true); }},
    {"default-signals", [](Value) { setSignals(false); }},
    {"few-descriptors", [](Value) { limitDescriptors(); }},
    {"remove-folder", [](Value) { removeFolder(); }},
    {"close-errors", [](Value) { ::close(STDERR_FILENO); }},
    {"diagnose",
     [](Value) {
       cst_diag_mask = CST_DIAG_ENGINE;
       cst_diag_level = 1;
     }},
    {"wait-for-children",
     [](Value) {
       while (::wait(nullptr) > 0) {
       }
     }},
    {"wait-for",
     [](Value value) {
       while (!std::filesystem::exists(value))
         std::this_thread::sleep_for(std::chrono::milliseconds(1));
     }},
    {"close-all", [](Value) { closeAll(); }},
    {"count", [](Value) { count(); }},
    {"fork-speak", [](Value) { forkAndSpeak(); }},
    {"fork-sleep", [](Value) { forkAndSleep(); }},
    {"ids",
     [](Value) {
       writeLine("ids " + std::to_string(::getpid()) + ' ' + std::to_string(::getuid()) + ' ' +
                 std::to_string(::geteuid()));
     }},
    {"sleep", [](Value) { sleepForever(); }},
};

}  // namespace

int main(int count, char** arguments) {
  ::alarm(kLongestLife);
  for (int i = 1; i < count; ++i) {
    const std::string argument = arguments[i];
    const std::size_t equals = std::min(argument.find('='), argument.size());
    const auto step = kSteps.find(std::string_view(argument).substr(0, equals));
    if (step == kSteps.end()) fail("unknown step " + argument);
    step->second(argument.substr(std::min(equals + 1, argument.size())));
  }
  return 0;
}
