// SPDX-License-Identifier: Apache-2.0
#include "Screen.h"

#include <algorithm>
#include <cstdlib>

#include <wchar.h>

namespace program {
namespace {

std::size_t lengthOf(char first) {
  const auto byte = static_cast<unsigned char>(first);
  if (byte < 0xC0) return 1;
  return byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : 4;
}

wchar_t codeOf(const std::string& character) {
  if (character.size() == 1) return static_cast<unsigned char>(character[0]);
  unsigned code = static_cast<unsigned char>(character[0]) & (0x7FU >> character.size());
  for (std::size_t i = 1; i < character.size(); ++i) {
    code = (code << 6U) | (static_cast<unsigned char>(character[i]) & 0x3FU);
  }
  return static_cast<wchar_t>(code);
}

}  // namespace

Screen::Screen(std::size_t columns, std::size_t rows)
    : m_columns(columns), m_cells(rows, Cells(columns)) {}

void Screen::write(const std::string& bytes) {
  for (const char byte : bytes) {
    m_pending += byte;
    if (m_pending[0] == '\033') {
      if (m_pending.size() < 3 || byte < '@' || byte > '~') continue;
      sequence(m_pending.substr(2, m_pending.size() - 3), byte);
    } else if (static_cast<unsigned char>(m_pending[0]) < 0x20) {
      control(byte);
    } else if (m_pending.size() < lengthOf(m_pending[0])) {
      continue;
    } else {
      const int width = ::wcwidth(codeOf(m_pending));
      if (width < 0) m_unknown += m_pending;
      put(m_pending, std::max(width, 0));
    }
    m_pending.clear();
  }
}

void Screen::put(const std::string& character, int width) {
  if (width == 0) {
    std::size_t at = m_column;
    while (at > 0 && m_cells[m_row][at - 1].text.empty()) --at;
    if (at > 0) m_cells[m_row][at - 1].text += character;
    return;
  }
  const auto cells = static_cast<std::size_t>(width);
  if (m_column + cells > m_columns) {
    m_column = 0;
    nextRow();
  }
  m_cells[m_row][m_column] = {character, m_isMarked};
  if (cells == 2) m_cells[m_row][m_column + 1] = {"", m_isMarked};
  m_column += cells;
}

void Screen::control(char character) {
  if (character == '\r') {
    m_column = 0;
  } else if (character == '\n') {
    nextRow();
  } else {
    m_unknown += character;
  }
}

void Screen::sequence(const std::string& parameters, char final) {
  // A cursor after a full row counts as being on its last cell.
  const std::size_t column = std::min(m_column, m_columns - 1);
  Cells& row = m_cells[m_row];
  if (final == 'A') {
    const std::size_t count =
        parameters.empty() ? 1 : static_cast<std::size_t>(std::atoi(parameters.c_str()));
    m_row -= std::min(count, m_row);
  } else if (final == 'K' && parameters.empty()) {
    std::fill(row.begin() + static_cast<std::ptrdiff_t>(column), row.end(), Cell());
  } else if (final == 'J' && parameters.empty()) {
    std::fill(row.begin() + static_cast<std::ptrdiff_t>(column), row.end(), Cell());
    for (std::size_t i = m_row + 1; i < m_cells.size(); ++i) m_cells[i] = emptyRow();
  } else if (final == 'm') {
    m_isMarked = !parameters.empty() && parameters != "0";
  } else if (parameters == "?25" && (final == 'h' || final == 'l')) {
    m_isCursorShown = final == 'h';
  } else {
    m_unknown += m_pending;
  }
}

void Screen::nextRow() {
  if (m_row + 1 < m_cells.size()) {
    ++m_row;
    return;
  }
  m_gone.push_back(m_cells.front());
  m_cells.erase(m_cells.begin());
  m_cells.push_back(emptyRow());
}

void Screen::resize(std::size_t columns, std::size_t rows) {
  while (m_row >= rows) {
    m_gone.push_back(m_cells.front());
    m_cells.erase(m_cells.begin());
    --m_row;
  }
  m_columns = columns;
  m_cells.resize(rows);
  for (Cells& row : m_cells) row.resize(columns);
  m_column = std::min(m_column, columns - 1);
}

std::string Screen::textOf(const Cells& cells) {
  std::string text;
  for (const Cell& cell : cells) text += cell.text;
  text.erase(text.find_last_not_of(' ') + 1);
  return text;
}

std::vector<std::string> Screen::visibleRows() const {
  std::vector<std::string> rows;
  for (const Cells& cells : m_cells) rows.push_back(textOf(cells));
  while (!rows.empty() && rows.back().empty()) rows.pop_back();
  return rows;
}

std::vector<std::string> Screen::rows() const {
  std::vector<std::string> rows;
  for (const Cells& cells : m_gone) rows.push_back(textOf(cells));
  for (std::string& row : visibleRows()) rows.push_back(std::move(row));
  return rows;
}

std::string Screen::marked() const {
  std::string text;
  for (const Cells& cells : m_cells) {
    std::string inRow;
    for (const Cell& cell : cells) {
      if (cell.isMarked) inRow += cell.text;
    }
    if (!inRow.empty()) text += (text.empty() ? "" : " ") + inRow;
  }
  return text;
}

}  // namespace program
