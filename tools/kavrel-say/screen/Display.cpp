// SPDX-License-Identifier: Apache-2.0
#include "screen/Display.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <string_view>
#include <utility>
#include <vector>

#include "base/text/CharacterProperties.h"
#include "base/text/Utf8.h"

namespace say {
namespace {

constexpr std::string_view kClearRow = "\r\033[K";
constexpr std::string_view kClearToEnd = "\r\033[J";
// A line feed is enough: each row starts with a carriage return.
constexpr std::string_view kNextRow = "\n";

std::string cursorUp(std::size_t rows) {
  return rows == 0 ? std::string("\r") : "\r\033[" + std::to_string(rows) + "A";
}

}  // namespace

Display::Display(const Output& output, const tool::SpokenText& text, Parts parts)
    : m_terminal(output), m_text(text), m_parts(std::move(parts)), m_progress(text.given().size()) {
  const base::ScopedLock held(m_lock);
  draw();
}

Display::~Display() {
  try {
    finish(true);
  } catch (const std::exception&) {
    // Silence is right: the terminal is gone, and the failure that led here is reported.
  }
}

void Display::word(std::size_t position, std::size_t length) {
  const tool::Slice slice = m_text.origin(position, length);
  // Text that the Manager inserted: the previous word stays highlighted.
  if (slice.length == 0) return;
  const base::ScopedLock held(m_lock);
  m_word = {slice.position, slice.position + slice.length};
  m_progress.reach(slice.position, now());
  draw();
}

void Display::refresh() {
  const base::ScopedLock held(m_lock);
  draw();
}

void Display::suspend() {
  const base::ScopedLock held(m_lock);
  m_isSuspended = true;
  m_suspendedAt = base::Clock::now();
  m_terminal.release();
}

void Display::resume() {
  const base::ScopedLock held(m_lock);
  m_isSuspended = false;
  m_start += base::Clock::now() - m_suspendedAt;
  m_terminal.take();
  draw();
}

// Writes the remaining rows as final ones. After an interruption only the row with the word is
// final: the reader sees where the speech stopped.
void Display::finish(bool wasInterrupted) {
  const base::ScopedLock held(m_lock);
  if (std::exchange(m_isFinished, true)) return;
  if (!wasInterrupted) m_progress.complete(now());
  m_size = m_terminal.size();
  m_word = {};
  std::string rows(kClearToEnd);
  const std::string& text = m_text.given();
  while (m_parts.text && m_begin < text.size()) {
    const Row current = rowAt(text, m_begin, m_size.columns);
    rows.append(kClearRow).append(renderRow(current)).append(kNextRow);
    m_begin = current.next;
    if (wasInterrupted) break;
  }
  if (m_parts.bar) {
    rows.append(kClearRow).append(m_progress.bar(m_size.columns, now())).append(kNextRow);
  }
  m_terminal.write(rows.append("\r"));
}

void Display::draw() {
  if (m_isSuspended || m_isFinished) return;
  m_size = m_terminal.size();
  const std::string passed = takeSpokenRows();
  m_terminal.write(passed + renderBlock());
}

// Returns the rows of the block before the row with the word, and removes them from the block: they
// stay on the screen as they are. The last row of the text stays in the block until finish().
std::string Display::takeSpokenRows() {
  std::string rows;
  const std::string& text = m_text.given();
  while (m_parts.text && m_begin < text.size()) {
    const Row current = rowAt(text, m_begin, m_size.columns);
    if (m_word.begin < current.next || current.next >= text.size()) break;
    rows.append(kClearRow).append(renderRow(current)).append(kNextRow);
    m_begin = current.next;
  }
  return rows;
}

// Returns the drawn block and the sequence that moves the cursor back to its first cell. At most
// half of the screen: a block as high as the screen would scroll when the terminal rewraps it.
std::string Display::renderBlock() const {
  const bool hasBar = m_parts.bar && (!m_parts.text || m_size.rows > 1);
  const std::size_t room = std::max<std::size_t>((m_size.rows - (hasBar ? 1 : 0)) / 2, 1);
  const std::string& text = m_text.given();
  std::vector<std::string> rows;
  for (std::size_t at = m_begin; m_parts.text && at < text.size() && rows.size() < room;) {
    const Row next = rowAt(text, at, m_size.columns);
    rows.push_back(renderRow(next));
    at = next.next;
  }
  if (hasBar) rows.push_back(m_progress.bar(m_size.columns, now()));
  std::string written;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    if (i > 0) written += kNextRow;
    // Clear before writing: after a full row the cursor is still on its last cell.
    written.append(i + 1 < rows.size() ? kClearRow : kClearToEnd).append(rows[i]);
  }
  return written + cursorUp(rows.empty() ? 0 : rows.size() - 1);
}

std::string Display::renderRow(const Row& row) const {
  return say::renderRow(m_text.given(), row, m_size.columns, m_word, m_parts.text->on,
                        m_parts.text->off);
}

// Seconds on a clock that stands still while the program is suspended.
double Display::now() const {
  const base::Clock::time_point at = m_isSuspended ? m_suspendedAt : base::Clock::now();
  return std::chrono::duration<double>(at - m_start).count();
}

RunningText::RunningText(const Output& output, const tool::SpokenText& text)
    : m_output(output), m_text(text) {}

void RunningText::word(std::size_t position, std::size_t length) {
  const tool::Slice slice = m_text.origin(position, length);
  writeUpTo(slice.position + slice.length);
}

void RunningText::finish(bool wasInterrupted) {
  const std::string& text = m_text.given();
  if (!wasInterrupted) writeUpTo(text.size());
  if (m_written > 0 && text[m_written - 1] != '\n') m_output.write("\n");
}

// Positions can go back in text with unusual markup; nothing is written twice.
void RunningText::writeUpTo(std::size_t end) {
  const std::string_view given = m_text.given();
  // Marks after the word belong to its last character.
  while (end < given.size()) {
    const base::Utf8Character next = base::firstCharacter(given.substr(end));
    if (next.length == 0 || !base::extendsCharacter(next.code)) break;
    end += next.length;
  }
  if (end <= m_written) return;
  const std::size_t from = std::exchange(m_written, end);
  m_output.write(given.substr(from, end - from));
}

}  // namespace say
