// SPDX-License-Identifier: Apache-2.0
//
// Screen: what a terminal shows of what a program writes to it.
//
// It knows no more than a program should rely on: characters of UTF-8 in one cell, two or none, the
// end of a row (the next character goes to the next row), carriage return, line feed, the cursor
// up, clearing to the end of the row or of the screen, letters' attributes, and the cursor shown or
// hidden. Anything else is kept in unknown().
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace program {

class Screen {
 public:
  Screen(std::size_t columns, std::size_t rows);

  void write(const std::string& bytes);

  // Rows are cut, as a terminal does that does not wrap them anew; those at the top leave when
  // there is no room for the cursor's.
  void resize(std::size_t columns, std::size_t rows);

  // The rows without the blanks at their ends; those that have left at the top, and the screen's
  // down to the last that is not empty.
  std::vector<std::string> rows() const;
  // Those of the screen alone.
  std::vector<std::string> visibleRows() const;
  // What has an attribute, from the top; rows apart by a blank.
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
  std::size_t m_column = 0;  // m_columns: behind a full row
  bool m_isCursorShown = true;
  bool m_isMarked = false;
  std::string m_pending;  // an unfinished sequence or character
  std::string m_unknown;
};

}  // namespace program
