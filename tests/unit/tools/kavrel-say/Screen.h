// SPDX-License-Identifier: Apache-2.0
//
// Screen: a terminal emulator that shows a program's output.
//
// It supports only what a program should rely on: UTF-8 characters of width 0, 1 or 2, wrapping at
// the end of a row, carriage return, line feed, cursor up, clearing to the end of the row or of the
// screen, character attributes, and showing or hiding the cursor. Anything else is recorded in
// unknown().
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace program {

class Screen {
 public:
  Screen(std::size_t columns, std::size_t rows);

  void write(const std::string& bytes);

  // Rows are cut, as on a terminal that does not rewrap them. Rows at the top scroll out when there
  // is no room for the cursor's row.
  void resize(std::size_t columns, std::size_t rows);

  // The rows without trailing blanks: the rows that scrolled out at the top, and the screen's rows
  // down to the last that is not empty.
  std::vector<std::string> rows() const;
  // The rows of the screen only.
  std::vector<std::string> visibleRows() const;
  // The text that has an attribute, from the top. Rows are separated by a blank.
  std::string marked() const;

  bool isCursorShown() const { return m_isCursorShown; }
  std::size_t cursorRow() const { return m_row; }
  std::size_t cursorColumn() const { return m_column; }
  bool hasAttribute() const { return m_isMarked; }
  const std::string& unknown() const { return m_unknown; }

 private:
  struct Cell {
    std::string text = " ";  // empty: the right half of a wide character
    bool isMarked = false;
  };
  using Cells = std::vector<Cell>;

  void put(const std::string& character, int width);
  void control(char character);
  void sequence(const std::string& parameters, char final);
  void nextRow();
  Cells emptyRow() const { return Cells(m_columns); }
  static std::string textOf(const Cells& cells);

  std::size_t m_columns;
  std::vector<Cells> m_cells;
  std::vector<Cells> m_gone;
  std::size_t m_row = 0;
  std::size_t m_column = 0;  // m_columns: after a full row
  bool m_isCursorShown = true;
  bool m_isMarked = false;
  std::string m_pending;  // an unfinished sequence or character
  std::string m_unknown;
};

}  // namespace program
