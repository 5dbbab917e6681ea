// SPDX-License-Identifier: Apache-2.0
//
// Display: shows the text on a terminal while it is spoken, with the current word highlighted, or a
// progress bar, or both.
//
// The display redraws a block at the end of the output: the row with the current word, following
// rows up to half of the screen, and the bar. Rows that have been spoken stay above the block and
// are not changed again. Between two writes the cursor is in the first cell of the block. So the
// block can be redrawn from there, however the terminal rewraps its rows when its size changes.
//
// Threads: all functions are safe to call on any thread.
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
  // What to show; either part may be absent.
  struct Parts {
    std::optional<Highlight> text;
    bool bar = false;
  };

  // `output` is a terminal. It and `text` outlive the display. All functions throw what
  // Output::write() throws.
  Display(const Output& output, const tool::SpokenText& text, Parts parts);
  // Finishes as after an interruption, unless finish() was called, and restores the terminal.
  ~Display() override;

  void word(std::size_t position, std::size_t length) EXCLUDES(m_lock) override;

  // Redraws, for a new terminal size or a later time.
  void refresh() EXCLUDES(m_lock);

  // To be called before the program is suspended and after it resumes. The progress clock stands
  // still in between; the terminal is restored for other programs.
  void suspend() EXCLUDES(m_lock);
  void resume() EXCLUDES(m_lock);

  // The speech has ended: writes the rest of the text, or, if the speech was interrupted, the rest
  // of the row. Leaves the cursor below. Later calls do nothing.
  void finish(bool wasInterrupted) EXCLUDES(m_lock);

 private:
  void draw() REQUIRES(m_lock);
  std::string takeSpokenRows() REQUIRES(m_lock);
  std::string renderBlock() const REQUIRES(m_lock);
  std::string renderRow(const Row& row) const REQUIRES(m_lock);
  double now() const REQUIRES(m_lock);

  const Terminal m_terminal;
  const tool::SpokenText& m_text;
  const Parts m_parts;

  base::Mutex m_lock;
  Terminal::Size m_size GUARDED_BY(m_lock){};
  std::size_t m_begin GUARDED_BY(m_lock) = 0;  // start of the block's text
  TextRange m_word GUARDED_BY(m_lock);
  Progress m_progress GUARDED_BY(m_lock);
  // Moved by the time that the program was suspended.
  base::Clock::time_point m_start GUARDED_BY(m_lock) = base::Clock::now();
  base::Clock::time_point m_suspendedAt GUARDED_BY(m_lock){};
  bool m_isSuspended GUARDED_BY(m_lock) = false;
  bool m_isFinished GUARDED_BY(m_lock) = false;
};

// Writes the text up to the current word, for output that is not a terminal.
class RunningText : public Listener {
 public:
  // Both arguments outlive the object.
  RunningText(const Output& output, const tool::SpokenText& text);

  void word(std::size_t position, std::size_t length) override;
  // Writes the rest of the text, unless the speech was interrupted, and ends the last line.
  void finish(bool wasInterrupted);

 private:
  void writeUpTo(std::size_t end);

  const Output& m_output;
  const tool::SpokenText& m_text;
  std::size_t m_written = 0;
};

}  // namespace say
