// SPDX-License-Identifier: Apache-2.0
//
// Display: the text on a terminal while it is spoken, with the word being spoken standing out, and
// a bar that shows how far the speech is; or one of the two.
//
// The rows of the text pass through a block at the lower end of what is written: the row with the
// word, as many of the next ones as half of the screen holds, and the bar. Rows that have been
// spoken stay above it and are not touched again. Between two writes the cursor stands at the
// block's first cell, so that whatever the terminal does to its rows when its size changes, the
// block is drawn anew from there.
//
// Threads: all functions may be called on any thread.
#pragma once

#include <optional>
#include <string>

#include "SpokenText.h"
#include "base/threads/Clock.h"
#include "base/threads/Mutex.h"
#include "screen/Highlight.h"
#include "screen/Output.h"
#include "screen/Progress.h"
#include "screen/Terminal.h"
#include "screen/TextLayout.h"
#include "speech/Listener.h"

namespace say {

class Display : public Listener {
 public:
  // Either may be left out.
  struct Parts {
    std::optional<Highlight> text;
    bool bar = false;
  };

  // On `output`, which is a terminal. It and `text` outlive the display. All functions throw what
  // Output::write() throws.
  Display(const Output& output, const tool::SpokenText& text, Parts parts);
  // Finishes as after an interruption if need be, and gives the terminal back.
  ~Display() override;

  void word(std::size_t position, std::size_t length) EXCLUDES(m_lock) override;

  // Draws again: the size of the terminal, or the time, is another.
  void refresh() EXCLUDES(m_lock);

  // The program is halted, and goes on.
  void suspend() EXCLUDES(m_lock);
  void resume() EXCLUDES(m_lock);

  // The speech is over: what is left of the text is written, or, when it was interrupted, what is
  // left of the row. The cursor then stands below.
  void finish(bool wasInterrupted) EXCLUDES(m_lock);

 private:
  void draw() REQUIRES(m_lock);
  std::string passedRows() REQUIRES(m_lock);
  std::string block() const REQUIRES(m_lock);
  std::string row(const Row& row) const REQUIRES(m_lock);
  double now() const REQUIRES(m_lock);

  const Terminal m_terminal;
  const tool::SpokenText& m_text;
  const Parts m_parts;

  base::Mutex m_lock;
  Terminal::Size m_size GUARDED_BY(m_lock){};
  std::size_t m_begin GUARDED_BY(m_lock) = 0;  // where the block's text begins
  Stretch m_word GUARDED_BY(m_lock);
  Progress m_progress GUARDED_BY(m_lock);
  // Later by as long as the program was halted.
  base::Clock::time_point m_start GUARDED_BY(m_lock) = base::Clock::now();
  base::Clock::time_point m_haltedAt GUARDED_BY(m_lock){};
  bool m_isHalted GUARDED_BY(m_lock) = false;
  bool m_isFinished GUARDED_BY(m_lock) = false;
};

// The text as it is spoken, written where there is no terminal: up to the word being spoken.
class RunningText : public Listener {
 public:
  // Both outlive the object.
  RunningText(const Output& output, const tool::SpokenText& text);

  void word(std::size_t position, std::size_t length) override;
  // What is left, unless the speech was interrupted, and the end of the last line.
  void finish(bool wasInterrupted);

 private:
  void writeUpTo(std::size_t end);

  const Output& m_output;
  const tool::SpokenText& m_text;
  std::size_t m_written = 0;
};

}  // namespace say
