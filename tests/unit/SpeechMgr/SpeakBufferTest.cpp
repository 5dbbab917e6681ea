// SPDX-License-Identifier: Apache-2.0
//
// SESpeakBuffer: which bytes are spoken, how text-done adds to them, and the state after failures.

#include <cstring>

#include <sys/mman.h>
#include <unistd.h>

#include "channels/ChannelTest.h"

namespace channels {
namespace {

using scripted::engine;
using scripted::Op;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class SpeakBuffer : public ChannelTest {
 protected:
  // A channel whose text-done callback returns each of `pieces`, then null.
  SpeechChannelIdentifier openWithPieces(std::vector<std::string> pieces) {
    const SpeechChannelIdentifier id = open();
    m_pieces = std::move(pieces);
    client().onTextDone = [this](auto, const void** next, unsigned long* length, SInt32*) {
      ++m_asked;
      *next = m_given < m_pieces.size() ? m_pieces[m_given].c_str() : nullptr;
      *length = 0;
      ++m_given;
    };
    set(id, soTextDoneCallBack, asPointer(Client::textDone));
    return id;
  }

  std::vector<std::string> m_pieces;
  std::size_t m_given = 0;
  int m_asked = 0;
};

// A text that ends immediately before an inaccessible page.
class GuardedText {
 public:
  explicit GuardedText(const std::string& text) : m_page(static_cast<std::size_t>(getpagesize())) {
    m_memory =
        mmap(nullptr, 2 * m_page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    mprotect(static_cast<char*>(m_memory) + m_page, m_page, PROT_NONE);
    m_text = static_cast<char*>(m_memory) + m_page - text.size();
    std::memcpy(m_text, text.data(), text.size());
  }
  ~GuardedText() { munmap(m_memory, 2 * m_page); }
  GuardedText(const GuardedText&) = delete;
  GuardedText& operator=(const GuardedText&) = delete;

  char* text() const { return m_text; }

 private:
  std::size_t m_page;
  void* m_memory;
  char* m_text;
};

// ---- The bytes that are spoken

TEST_F(SpeakBuffer, SpeaksTheConvertedText) {
  const SpeechChannelIdentifier id = open();
  EXPECT_EQ(speak(id, "Hello"), noErr);
  EXPECT_EQ(engine().port(1).text(), "<prosody volume='100'>Hello</prosody>");
}

TEST_F(SpeakBuffer, PreparesTheTextBeforeItIsConverted) {
  const SpeechChannelIdentifier id = open();
  EXPECT_EQ(speak(id, "a<b & OS X"), noErr);
  EXPECT_EQ(engine().port(1).text(), "<prosody volume='100'>a&lt;b &amp; OS 10</prosody>");
}

TEST_F(SpeakBuffer, ConvertsEmbeddedCommandsWithTheSettingsOfTheChannel) {
  const SpeechChannelIdentifier id = open();
  Fixed volume = 0x8000;
  set(id, soVolume, &volume);
  EXPECT_EQ(speak(id, "a [[sync 42]] b"), noErr);
  EXPECT_THAT(engine().port(1).text(), HasSubstr("volume='50'"));
  EXPECT_THAT(engine().port(1).text(), HasSubstr("<mark name='"));
}

TEST_F(SpeakBuffer, ALengthOfZeroIsAnEmptyText) {
  const SpeechChannelIdentifier id = open();
  char text[] = "unread";
  EXPECT_EQ(SESpeakBuffer(id, text, 0, 0), noErr);
  EXPECT_EQ(engine().port(1).text(), converted(""));
  EXPECT_EQ(status(id), STATUS_BUSY);
}

TEST_F(SpeakBuffer, ReadsNoByteBeyondTheLength) {
  for (const std::string text : {"Hello", "a [[", "[[rate 200", "&", "OS X", "x"}) {
    SCOPED_TRACE(text);
    const SpeechChannelIdentifier id = open();
    const GuardedText guarded(text);
    SESpeakBuffer(id, guarded.text(), static_cast<long>(text.size()), 0);
  }
}

TEST_F(SpeakBuffer, TheTraceReadsNoByteBeyondTheLengthEither) {
  const SpeechChannelIdentifier id = open();
  const GuardedText guarded("Hello");
  {
    const Diagnosing all(0x800, 9);
    EXPECT_EQ(SESpeakBuffer(id, guarded.text(), 5, 0), noErr);
  }
  EXPECT_EQ(engine().port(1).text(), converted("Hello"));
}

TEST_F(SpeakBuffer, BytesAfterTheLengthAreNotSpoken) {
  const SpeechChannelIdentifier id = open();
  char text[] = "Hello world";
  EXPECT_EQ(SESpeakBuffer(id, text, 5, 0), noErr);
  EXPECT_EQ(engine().port(1).text(), converted("Hello"));
}

TEST_F(SpeakBuffer, ANulByteEndsTheText) {
  const SpeechChannelIdentifier id = open();
  EXPECT_EQ(speak(id, std::string("Hel\0lo", 6)), noErr);
  EXPECT_EQ(engine().port(1).text(), converted("Hel"));
}

TEST_F(SpeakBuffer, AMegabyteIsSpokenWhole) {
  const SpeechChannelIdentifier id = open();
  std::string text;
  while (text.size() < 1'000'000) text += "the quick brown fox & ";
  EXPECT_EQ(speak(id, text), noErr);
  EXPECT_EQ(engine().port(1).text(), converted(text));
}

TEST_F(SpeakBuffer, TheCallersBufferMayBeFreedOnceTheCallReturns) {
  const SpeechChannelIdentifier id = open();
  std::string text = "Hello";
  EXPECT_EQ(SESpeakBuffer(id, text.data(), 5, 0), noErr);
  text = "xxxxx";
  EXPECT_EQ(statusInfo(id).inputBytesLeft, static_cast<int>(converted("Hello").size()));
  EXPECT_EQ(std::string(read(id, [](const speech_channel& c) { return std::string(c.text); })),
            converted("Hello"));
}

TEST_F(SpeakBuffer, ControlFlagsChangeNothing) {
  for (const long flags : {0L, 1L, 2L, 4L, 7L, -1L}) {
    Client& own = newClient();
    const SpeechChannelIdentifier id = open(own);
    EXPECT_EQ(speak(id, "Hello", flags), noErr);
    EXPECT_EQ(engine().port(engine().ports()).text(), converted("Hello"));
    EXPECT_EQ(status(id), STATUS_BUSY);
  }
}

// ---- Busy channels

TEST_F(SpeakBuffer, ASecondBufferIsRejectedAndDoesNotDisturbTheFirst) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "first"), noErr);
  engine().forgetCalls();
  EXPECT_EQ(speak(id, "second"), synthNotReady);
  EXPECT_THAT(engine().calls(), IsEmpty());
  EXPECT_TRUE(engine().port(1).running());
  EXPECT_EQ(engine().port(1).text(), converted("first"));
  ASSERT_EQ(SEPauseSpeechAt(id, kImmediate), noErr);
  EXPECT_EQ(speak(id, "second"), synthNotReady);
  EXPECT_EQ(read(id, [](const speech_channel& c) { return std::string(c.text); }),
            converted("first"));
}

TEST_F(SpeakBuffer, ARejectedBufferDoesNotRequestMoreText) {
  const SpeechChannelIdentifier id = openWithPieces({});
  ASSERT_EQ(speak(id, "first"), noErr);
  const int asked = m_asked;
  EXPECT_EQ(speak(id, "second"), synthNotReady);
  EXPECT_EQ(m_asked, asked);
}

// ---- Text-done

TEST_F(SpeakBuffer, MoreTextIsSpokenInTheSameJob) {
  const SpeechChannelIdentifier id = openWithPieces({" world"});
  EXPECT_EQ(speak(id, "Hello"), noErr);
  EXPECT_EQ(m_asked, 2);
  EXPECT_EQ(engine().count(Op::Speak), 1);
  EXPECT_EQ(engine().port(1).text(), converted("Hello world"));
}

TEST_F(SpeakBuffer, ACommandMayBeginInOnePieceAndEndInAnother) {
  const SpeechChannelIdentifier id = openWithPieces({"te 200]", "] b"});
  EXPECT_EQ(speak(id, "a [[ra"), noErr);
  EXPECT_EQ(engine().port(1).text(), converted("a [[rate 200]] b"));
}

TEST_F(SpeakBuffer, AnEmptyPieceIsNotTheEnd) {
  const SpeechChannelIdentifier id = openWithPieces({"", "", " world"});
  EXPECT_EQ(speak(id, "Hello"), noErr);
  EXPECT_EQ(m_asked, 4);
  EXPECT_EQ(engine().port(1).text(), converted("Hello world"));
}

TEST_F(SpeakBuffer, TextDoneReceivesTheChannelTheConstantAndTheFlags) {
  const SpeechChannelIdentifier id = open();
  SpeechChannelIdentifier seen = 0;
  SInt32 flagsSeen = 0;
  unsigned long lengthSeen = 1;
  client().onTextDone = [&](auto channel, const void** next, unsigned long* length, SInt32* flags) {
    seen = channel;
    flagsSeen = *flags;
    lengthSeen = *length;
    *next = nullptr;
  };
  set(id, soTextDoneCallBack, asPointer(Client::textDone));
  EXPECT_EQ(speak(id, "Hello", 6), noErr);
  EXPECT_EQ(seen, id);
  EXPECT_EQ(flagsSeen, 6);
  EXPECT_EQ(lengthSeen, 0u);
}

TEST_F(SpeakBuffer, FlagsThatTheCallbackChangesAreSeenByTheNextCall) {
  const SpeechChannelIdentifier id = open();
  std::vector<SInt32> seen;
  client().onTextDone = [&](auto, const void** next, unsigned long* length, SInt32* flags) {
    seen.push_back(*flags);
    *flags += 1;
    *length = 99;  // ignored: the piece ends at its NUL
    *next = seen.size() < 3 ? "x" : nullptr;
  };
  set(id, soTextDoneCallBack, asPointer(Client::textDone));
  EXPECT_EQ(speak(id, "a", 10), noErr);
  EXPECT_THAT(seen, ElementsAre(10, 11, 12));
  EXPECT_EQ(engine().port(1).text(), converted("axx"));
}

TEST_F(SpeakBuffer, ThePreviousPieceIsTheInitialValueOfTheNext) {
  const SpeechChannelIdentifier id = open();
  std::vector<const void*> found;
  static const char kPiece[] = "x";
  client().onTextDone = [&](auto, const void** next, unsigned long* length, SInt32*) {
    EXPECT_EQ(*length, 0u);
    found.push_back(*next);
    *length = 1;
    *next = found.size() < 2 ? kPiece : nullptr;
  };
  set(id, soTextDoneCallBack, asPointer(Client::textDone));
  EXPECT_EQ(speak(id, "a"), noErr);
  ASSERT_EQ(found.size(), 2u);
  EXPECT_EQ(found[1], kPiece);
}

TEST_F(SpeakBuffer, TextDoneRunsOnTheCallersThreadInsideTheLock) {
  const SpeechChannelIdentifier id = open();
  std::thread::id thread;
  bool locked = false;
  client().onTextDone = [&](auto channel, const void** next, unsigned long*, SInt32*) {
    thread = std::this_thread::get_id();
    speech_channel* const record = find_channel(channel);
    std::thread([&] { locked = pthread_mutex_trylock(&record->mtx) != 0; }).join();
    *next = nullptr;
  };
  set(id, soTextDoneCallBack, asPointer(Client::textDone));
  EXPECT_EQ(speak(id, "Hello"), noErr);
  EXPECT_EQ(thread, std::this_thread::get_id());
  EXPECT_TRUE(locked);
}

// The work must be linear in the number of pieces, not quadratic.
TEST_F(SpeakBuffer, AMillionPiecesOfOneByteAreGathered) {
  const SpeechChannelIdentifier id = open();
  int left = 1'000'000;
  client().onTextDone = [&](auto, const void** next, unsigned long*, SInt32*) {
    *next = left-- > 0 ? "x" : nullptr;
  };
  set(id, soTextDoneCallBack, asPointer(Client::textDone));
  EXPECT_EQ(speak(id, ""), noErr);
  EXPECT_EQ(engine().port(1).text(), converted(std::string(1'000'000, 'x')));
}

TEST_F(SpeakBuffer, AnotherChannelsTextDoneIsNotCalled) {
  openWithPieces({});
  EXPECT_EQ(speak(open(), "Hello"), noErr);
  EXPECT_EQ(m_asked, 0);
}

// ---- Failures

TEST_F(SpeakBuffer, TextThatCannotBeConvertedIsRejectedAndReleased) {
  const SpeechChannelIdentifier id = open();
  engine().forgetCalls();
  EXPECT_EQ(speak(id, "[[inpt PHON]]#!?[[inpt TEXT]]"), badInputText);
  EXPECT_EQ(read(id, [](const speech_channel& c) { return c.text; }), nullptr);
  EXPECT_EQ(read(id, [](const speech_channel& c) { return c.text_offsets; }), nullptr);
  EXPECT_EQ(status(id), STATUS_IDLE);
  EXPECT_THAT(engine().calls(), IsEmpty());
  EXPECT_EQ(speak(id, "Hello"), noErr);
}

TEST_F(SpeakBuffer, MoreTextThatCannotBeConvertedIsRejectedToo) {
  const SpeechChannelIdentifier id = openWithPieces({"#!?[[inpt TEXT]]"});
  EXPECT_EQ(speak(id, "[[inpt PHON]]"), badInputText);
  EXPECT_EQ(status(id), STATUS_IDLE);
}

TEST_F(SpeakBuffer, ARejectedBufferLeavesTheLockFree) {
  const SpeechChannelIdentifier id = open();
  speak(id, "[[inpt PHON]]#!?[[inpt TEXT]]");
  engine().fail(Op::PortOpen, 1);
  speak(id, "Hello");
  EXPECT_EQ(engine().heldLocks(), 0);
}

// Out of memory at any allocation leaves the lock free, no allocated memory, and a channel that can
// speak.
TEST_F(SpeakBuffer, FailedEngineAllocationsLeaveTheChannelUsable) {
  for (int k = 1; k < 1000; ++k) {
    SCOPED_TRACE(k);
    Client& own = newClient();
    const SpeechChannelIdentifier id = open(own);
    engine().fail(Op::Alloc, k);
    const int faults = engine().faultsMet();
    long result = noErr;
    try {
      result = speak(id, "a [[rate 200]] b [[sync 42]] c");
    } catch (const std::exception&) {
      result = memFullErr;
    }
    const bool met = engine().faultsMet() > faults;
    engine().useDefaultResults();
    EXPECT_TRUE(eventually([] { return engine().heldLocks() == 0; }));
    if (result == noErr) {
      engine().port(engine().ports()).end();
      EXPECT_TRUE(own.waitForDone());
    }
    EXPECT_EQ(status(id), STATUS_IDLE);
    EXPECT_EQ(speak(id, "Hello"), noErr);
    close(id);
    if (!met) {
      EXPECT_EQ(result, noErr);
      return;
    }
  }
  FAIL() << "one call makes 1000 allocations or more";
}

// ---- Intended leaks

TEST_F(SpeakBuffer, KeepsOneParameterSetPerOpenAndPerJob) {
  const SpeechChannelIdentifier id = open();
  EXPECT_EQ(engine().live().parameterSets, 1);
  for (int job = 1; job <= 3; ++job) {
    ASSERT_EQ(speak(id, "Hello"), noErr);
    engine().port(1).end();
    ASSERT_TRUE(client().waitForDone(job));
    EXPECT_EQ(engine().live().parameterSets, 1 + job);
    EXPECT_EQ(engine().live().blocks, 0);
    EXPECT_EQ(engine().live().values, 0);
    EXPECT_EQ(engine().live().ports, 1);
  }
  close(id);
  EXPECT_EQ(engine().live().parameterSets, 4);
  EXPECT_EQ(engine().live().ports, 1);
  EXPECT_EQ(engine().count(Op::PortClose), 0);
}

TEST_F(SpeakBuffer, ARejectedBufferKeepsNothing) {
  const SpeechChannelIdentifier id = open();
  speak(id, "[[inpt PHON]]#!?[[inpt TEXT]]");
  EXPECT_EQ(engine().live().parameterSets, 1);
  EXPECT_EQ(engine().live().blocks, 0);
}

}  // namespace
}  // namespace channels
