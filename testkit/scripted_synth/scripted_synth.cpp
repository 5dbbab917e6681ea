// SPDX-License-Identifier: Apache-2.0
//
// scripted_synth: takes the place of kavrel-synth, speaks quickly, and misbehaves on request. It
// follows the same rules: it detaches, sends Ready, forks a worker for each call, and reports a
// worker that ended badly.
//
// Speech: each word of a call has 100 samples and a phone "a"; a mark is at the start of its word.
//
// A voice decides how it starts:
//   no-ready     never is ready                exit         exits without a report
//   bad-ready    sends garbage                 give-up      exits and reports it
//   no-language  does not know the language    kill         ends with SIGKILL
//   kill:FILE    as kill, but only until FILE has 4 bytes; each start appends one
//   stop:FILE    as no-ready, but only if FILE does not exist, and creates it
// With others it starts well.
//
// A word of the text decides what a worker does before it speaks:
//   CRASH   ends with SIGSEGV              SPIN     loops forever
//   STOP    stops itself                   TERM     ends with SIGTERM
//   HALF    sends half a frame and ends    GARBAGE  sends bytes that are no frame
//   COUNTS  sends wrong counts in End      NOEND    sends no End, and waits
//   CALL    uses another call's number     QUIT     exits with a failure
//   SLOW    speaks a block every 20 ms, 100 of them, unless cancelled
//   DEAF    as SLOW, but ignores Cancel    STAY     speaks, and stays after its End
//   TRICKLE sends an event every 50 ms, without end
// A word "ONCE:FILE" makes it do so only if FILE does not exist, and creates it; "TWENTY:FILE" only
// while FILE has less than 20 bytes, and appends one.
#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "synth/synth_protocol.h"

namespace {

namespace protocol = kavrel::synth_protocol;

using Bytes = std::vector<std::byte>;

void send(const Bytes& bytes, std::size_t count) {
  if (::send(0, bytes.data(), count, MSG_NOSIGNAL) != static_cast<ssize_t>(count)) ::_exit(1);
}
void send(const Bytes& bytes) {
  send(bytes, bytes.size());
}

[[noreturn]] void waitForever() {
  for (;;) ::pause();
}

std::vector<std::string_view> wordsOf(std::string_view text) {
  std::vector<std::string_view> words;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find(' '), text.size());
    if (end > 0) words.push_back(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return words;
}

// Creates the file; returns false if it exists.
bool isFirst(std::string_view file) {
  return ::open(std::string(file).c_str(), O_CREAT | O_EXCL | O_WRONLY, 0600) >= 0;
}

// Appends a byte to the file; returns false if it has `most` bytes.
bool isAmongTheFirst(off_t most, std::string_view name) {
  const int file = ::open(std::string(name).c_str(), O_CREAT | O_RDWR | O_APPEND, 0600);
  if (::lseek(file, 0, SEEK_END) >= most) return false;
  return ::write(file, "k", 1) == 1;
}

bool isKilledAgain(std::string_view voice) {
  constexpr off_t kKills = 4;
  return voice.starts_with("kill:") && isAmongTheFirst(kKills, voice.substr(5));
}

constexpr std::string_view kOnce = "ONCE:";
constexpr std::string_view kTwenty = "TWENTY:";

bool isLimit(std::string_view word) {
  return word.starts_with(kOnce) || word.starts_with(kTwenty);
}

// Returns false if a limit says that it has been done often enough.
bool mustMisbehave(const std::vector<std::string_view>& words) {
  for (const std::string_view word : words) {
    if (word.starts_with(kOnce)) return isFirst(word.substr(kOnce.size()));
    if (word.starts_with(kTwenty)) return isAmongTheFirst(20, word.substr(kTwenty.size()));
  }
  return true;
}

bool isCancelled() {
  char byte = 0;
  return ::recv(0, &byte, 1, MSG_PEEK | MSG_DONTWAIT) == 1;
}

class Worker {
 public:
  explicit Worker(std::uint32_t call) : m_call(call) {}

  void speak(const std::vector<std::string_view>& words) {
    for (const std::string_view word : words) {
      if (word.front() == '\x01') {
        if (word.back() == 'M') addMark(std::atoi(word.data() + 1));
        continue;
      }
      if (!isLimit(word)) addWord();
    }
    sendSpeech();
  }

  // Returns the status for End.
  protocol::End::Status speakSlowly(bool deaf) {
    for (int block = 0; block < 100; ++block) {
      if (!deaf && isCancelled()) return protocol::End::Status::Cancelled;
      addWord();
      sendSpeech();
      ::usleep(20'000);
    }
    return protocol::End::Status::Done;
  }

  void misbehave(std::string_view word) {
    Bytes bytes;
    if (word == "CRASH") std::raise(SIGSEGV);
    if (word == "TERM") std::raise(SIGTERM);
    if (word == "STOP") std::raise(SIGSTOP);
    if (word == "QUIT") ::_exit(3);
    if (word == "SPIN") {
      for (;;) {
        // A loop without effects may be removed.
        asm volatile("");
      }
    }
    if (word == "HALF") {
      protocol::writeSamples(bytes, m_call, std::vector<std::int16_t>(100));
      send(bytes, bytes.size() / 2);
      ::_exit(3);
    }
    if (word == "GARBAGE") send(Bytes(100, std::byte{0x5A}));
    if (word == "COUNTS") ++m_end.events;
    if (word == "NOEND") {
      addWord();
      sendSpeech();
      waitForever();
    }
    if (word == "CALL") ++m_call;
    if (word == "STAY") m_stays = true;
    while (word == "TRICKLE") {
      addWord();
      sendSpeech();
      ::usleep(50'000);
    }
    if (word == "SLOW" || word == "DEAF") end(speakSlowly(word == "DEAF"));
  }

  [[noreturn]] void end(protocol::End::Status status) {
    Bytes bytes;
    m_end.status = status;
    protocol::writeEnd(bytes, m_call, m_end);
    send(bytes);
    if (m_stays) waitForever();
    ::_exit(0);
  }

 private:
  static constexpr std::uint32_t kWordSamples = 100;

  void addMark(int number) {
    protocol::Event event;
    event.sample = m_position;
    event.mark = number;
    m_events.push_back(event);
  }
  void addWord() {
    protocol::Event event;
    event.sample = m_position;
    event.name[0] = 'a';
    m_events.push_back(event);
    m_samples.resize(m_samples.size() + kWordSamples, 1000);
    m_position += kWordSamples;
  }
  void sendSpeech() {
    Bytes bytes;
    if (!m_events.empty()) protocol::writeEvents(bytes, m_call, m_events);
    if (!m_samples.empty()) protocol::writeSamples(bytes, m_call, m_samples);
    send(bytes);
    m_end.events += static_cast<std::uint32_t>(m_events.size());
    m_end.samples += static_cast<std::uint32_t>(m_samples.size());
    m_events.clear();
    m_samples.clear();
  }

  std::uint32_t m_call;
  std::uint32_t m_position = 0;
  std::vector<protocol::Event> m_events;
  std::vector<std::int16_t> m_samples;
  protocol::End m_end;
  bool m_stays = false;
};

[[noreturn]] void runWorker(std::uint32_t call, const std::string& text) {
  const std::vector<std::string_view> words = wordsOf(text);
  Worker worker(call);
  if (mustMisbehave(words)) {
    for (const std::string_view word : words) worker.misbehave(word);
  }
  worker.speak(words);
  worker.end(protocol::End::Status::Done);
}

// A frame of the client; exits if there is none.
protocol::Frame receive(protocol::FrameReader& reader) {
  protocol::Frame frame;
  for (;;) {
    const auto result = reader.next(frame);
    if (result == protocol::FrameReader::Result::Frame) return frame;
    if (result == protocol::FrameReader::Result::Garbage) ::_exit(1);
    const ssize_t count = ::recv(0, reader.space().data(), reader.wanted(), 0);
    if (count <= 0) ::_exit(0);
    reader.received(static_cast<std::size_t>(count));
  }
}

// Waits for a worker; if the client goes first, exits, and the worker with it.
int statusOf(pid_t worker) {
  constexpr int kMilliseconds = 5;
  int status = 0;
  while (::waitpid(worker, &status, WNOHANG) == 0) {
    pollfd socket{0, 0, 0};
    if (::poll(&socket, 1, kMilliseconds) > 0) ::_exit(0);
  }
  return status;
}

void becomeReady(std::string_view voice) {
  Bytes bytes;
  protocol::Ready ready;
  if (voice == "exit") ::_exit(1);
  if (voice == "kill" || isKilledAgain(voice)) std::raise(SIGKILL);
  if (voice.starts_with("stop:") && isFirst(voice.substr(5))) waitForever();
  if (voice == "give-up") {
    const int status = W_EXITCODE(1, 0);
    (void)!::write(3, &status, sizeof(status));
    ::_exit(1);
  }
  if (voice == "no-ready") waitForever();
  if (voice == "no-language") ready.status = protocol::Ready::Status::NoLanguage;
  protocol::writeReady(bytes, ready);
  if (voice == "bad-ready") bytes.front() = std::byte{0};
  send(bytes);
}

}  // namespace

// An alarm ends what a test has left: nothing of this lives longer than a minute.
int main(int count, char** arguments) {
  constexpr unsigned kLongestLife = 60;
  if (count != 3 || ::fork() != 0) return 0;
  ::alarm(kLongestLife);
  becomeReady(arguments[2]);
  protocol::FrameReader reader(protocol::Side::Synthesiser);
  for (;;) {
    const protocol::Frame frame = receive(reader);
    if (frame.type != protocol::FrameType::Speak) continue;
    const auto speak = protocol::readSpeak(frame);
    if (!speak.has_value()) return 1;
    const pid_t worker = ::fork();
    if (worker == 0) {
      // A stopped worker does not hear the alarm.
      ::prctl(PR_SET_PDEATHSIG, SIGKILL);
      ::alarm(kLongestLife);
      runWorker(frame.call, speak->text);
    }
    const int status = statusOf(worker);
    (void)!::write(3, &status, sizeof(status));
    if (status != 0) return 1;
  }
}
