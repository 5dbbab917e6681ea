// SPDX-License-Identifier: GPL-3.0-or-later
//
// kavrel-synth: speaks for libkavrel, which starts it.
//
//   kavrel-synth --voice VOICE    descriptor 0 is a socket, 3 a pipe
//   kavrel-synth --self-test      tries what the sandbox must refuse; see self_test.h
//   kavrel-synth --help, --version
//
// It becomes a template: detaches from the client, starts espeak-ng with one voice, shuts itself in
// (sandbox.h) and sends Ready. It reads no call itself: for each it forks a worker, which waits for
// the call and speaks it. So every call begins in the same state, whatever has been spoken before,
// and its samples depend on nothing but the call and the voice. The worker is forked as soon as the
// one before it has ended, so that no call waits for fork().
//
// The template writes the wait status of each worker to the pipe; workers cannot. After 0 the
// client may send the next call: before that, the worker could read it. After any other status, the
// template exits, since a call may be half sent: the client sees the end of the stream and knows
// why.
//
// Both exit when the client closes the socket or is idle for long, and at anything odd.
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <string_view>

#include <poll.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "connection.h"
#include "sandbox.h"
#include "self_test.h"
#include "speaker.h"
#include "synth/synth_protocol.h"
#include "worker.h"

namespace {

namespace protocol = kavrel::synth_protocol;

constexpr int kUsageError = 2;

// The client waits for the process that it has started, so that process ends at once. The other one
// is nobody's child and can disturb no wait of the client.
bool detach() {
  const pid_t child = ::fork();
  if (child > 0) ::_exit(0);
  return child == 0 && ::chdir("/") == 0;
}

// Returns when the worker has ended. If the client goes first, ends this process, and with it the
// worker, whether that speaks, waits for the client, or is stopped.
void waitFor(pid_t worker) {
  pollfd watched[] = {{kavrel::connection::openProcess(worker), POLLIN, 0},
                      {kavrel::connection::kSocket, 0, 0}};
  while (watched[0].fd >= 0 && watched[0].revents == 0) {
    if (::poll(watched, 2, -1) < 0) continue;
    if ((watched[1].revents & (POLLHUP | POLLERR)) != 0) ::_exit(0);
  }
  if (watched[0].fd >= 0) ::close(watched[0].fd);
}

// Tells the client how a worker, or this process, has ended. Nobody reads it if the client is gone.
void reportEnd(int status) {
  (void)!::write(kavrel::connection::kReport, &status, sizeof(status));
}

// Forks a worker for the next call. Returns true if it has done its duty.
bool speakNext(const kavrel::Sandbox& sandbox) {
  const pid_t self = ::getpid();
  const pid_t worker = ::fork();
  if (worker < 0) return false;
  if (worker == 0) ::_exit(kavrel::runWorker(sandbox, self));
  waitFor(worker);
  int status = 0;
  rusage used{};
  while (::wait4(worker, &status, 0, &used) != worker) {
  }
  if (WIFEXITED(status) && WEXITSTATUS(status) == kavrel::kWorkerNoCall) return false;
  // A worker that blocks SIGXCPU gets SIGKILL instead, which must not look as if it came from
  // outside.
  const bool tookTooLong = used.ru_utime.tv_sec + used.ru_stime.tv_sec >= kavrel::kCallSeconds;
  reportEnd(WIFSIGNALED(status) && tookTooLong ? SIGXCPU : status);
  return status == 0;
}

void run(const std::string& voice) {
  if (!kavrel::connection::beginReady()) return;
  protocol::Ready ready;
  kavrel::Sandbox sandbox;
  ready.status = kavrel::speaker::start(voice);
  if (ready.status == protocol::Ready::Status::Ok) {
    ready.missing = sandbox.enter(kavrel::speaker::dataFolder());
    // The client reports what the system lacks.
    if (kavrel::Sandbox::isBuiltWithoutFilter()) ready.missing &= ~protocol::Ready::kSystemCalls;
  }
  if (!kavrel::connection::endReady(ready)) return;
  if (ready.status != protocol::Ready::Status::Ok) return;
  while (speakNext(sandbox)) {
  }
}

// Not for users: libkavrel starts the program.
constexpr const char* kUsage =
    "kavrel-synth speaks for libkavrel, which starts it; it is not made to be run by hand.\n"
    "\n"
    "  --self-test    tries, inside the sandbox, what it must refuse\n"
    "  --voice VOICE  speaks with this voice of espeak-ng; descriptor 0 is a socket to libkavrel,\n"
    "                 descriptor 3 a pipe to it\n"
    "  --help, --version\n";

bool hasClient() {
  struct stat status {};
  return ::fstat(kavrel::connection::kSocket, &status) == 0 && S_ISSOCK(status.st_mode);
}

int print(const char* text) {
  return std::fputs(text, stdout) >= 0 && std::fflush(stdout) == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}

}  // namespace

int main(int count, char** arguments) {
  const std::string_view option = count > 1 ? arguments[1] : "";
  if (count == 2 && option == "--self-test") return kavrel::selfTest();
  if (count == 2 && option == "--help") return print(kUsage);
  if (count == 2 && option == "--version") return print("kavrel-synth " KAVREL_VERSION "\n");
  if (count != 3 || option != "--voice" || !hasClient()) {
    std::fputs(kUsage, stderr);
    return kUsageError;
  }
  if (!detach()) return EXIT_FAILURE;
  try {
    run(arguments[2]);
  } catch (const std::exception&) {
    reportEnd(W_EXITCODE(EXIT_FAILURE, 0));
    ::_exit(EXIT_FAILURE);
  }
  // espeak-ng's thread still runs, so nothing is torn down.
  ::_exit(EXIT_SUCCESS);
}
