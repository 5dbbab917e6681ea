// SPDX-License-Identifier: Apache-2.0
#include "screen/Display.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <string_view>
#include <utility>
#include <vector>

namespace say {
namespace {

constexpr std::string_view kClearRow = "\r\033[K";
constexpr std::string_view kClearToEnd = "\r\033[J";
// What begins each row brings the cursor to its front.
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
    // Nobody is there any more.
  }
}

void Display::word(std::size_t position, std::size_t length) {
  const tool::Slice slice = m_text.origin(position, length);
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
  m_isHalted = true;
  m_haltedAt = base::Clock::now();
  m_terminal.release();
}

void Display::resume() {
  const base::ScopedLock held(m_lock);
  m_isHalted = false;
  m_start += base::Clock::now() - m_haltedAt;
  m_terminal.take();
  draw();
}

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
    rows.append(kClearRow).append(row(current)).append(kNextRow);
    m_begin = current.next;
    if (wasInterrupted) break;
  }
  if (m_parts.bar) {
    rows.append(kClearRow).append(m_progress.bar(m_size.columns, now())).append(kNextRow);
  }
  m_terminal.write(rows.append("\r"));
}

void Display::draw() {
  if (m_isHalted || m_isFinished) return;
  m_size = m_terminal.size();
  const std::string passed = passedRows();
  m_terminal.write(passed + block());
}

// The rows of the block in front of the one with the word; they leave it.
std::string Display::passedRows() {
  std::string rows;
  const std::string& text = m_text.given();
  while (m_parts.text && m_begin < text.size()) {
    const Row current = rowAt(text, m_begin, m_size.columns);
    if (m_word.begin < current.next || current.next >= text.size()) break;
    rows.append(kClearRow).append(row(current)).append(kNextRow);
    m_begin = current.next;
  }
  return rows;
}

// The block, and the cursor back to its first cell.
std::string Display::block() const {
  const bool hasBar = m_parts.bar && (!m_parts.text || m_size.rows > 1);
  const std::size_t room = std::max<std::size_t>((m_size.rows - (hasBar ? 1 : 0)) / 2, 1);
  const std::string& text = m_text.given();
  std::vector<std::string> rows;
  for (std::size_t at = m_begin; m_parts.text && at < text.size() && rows.size() < room;) {
    const Row next = rowAt(text, at, m_size.columns);
    rows.push_back(row(next));
    at = next.next;
  }
  if (hasBar) rows.push_back(m_progress.bar(m_size.columns, now()));
  std::string written;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    if (i > 0) written += kNextRow;
    // In front of what is written: behind a full row the cursor stands on its last cell.
    written.append(i + 1 < rows.size() ? kClearRow : kClearToEnd).append(rows[i]);
  }
  return written + cursorUp(rows.empty() ? 0 : rows.size() - 1);
}

std::string Display::row(const Row& row) const {
  return shown(m_text.given(), row, m_size.columns, m_word, m_parts.text->on, m_parts.text->off);
}

double Display::now() const {
  const base::Clock::time_point at = m_isHalted ? m_haltedAt : base::Clock::now();
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

void RunningText::writeUpTo(std::size_t end) {
  if (end <= m_written) return;
  const std::size_t from = std::exchange(m_written, end);
  m_output.write(std::string_view(m_text.given()).substr(from, end - from));
}

}  // namespace say
