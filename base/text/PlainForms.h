// SPDX-License-Identifier: Apache-2.0
//
// PlainForms: the form in Mac OS Roman in which each Unicode character is spoken. MacRomanEncoder.h
// converts whole texts.
//
// The form of a character is the first of these that exists:
//  1. the character itself, if Mac OS Roman has it;
//  2. its canonical decomposition: the letter with the accents for which Mac OS Roman has a
//  combined
//     character, without the other accents;
//  3. nothing, if the character has no width: combining marks, format characters, the soft hyphen,
//     and all that Unicode defines as default ignorable;
//  4. its customary plain form, from a table: "-" for a minus sign, "->" for an arrow;
//  5. the forms of the parts of its compatibility decomposition: fullwidth forms, ligatures,
//     superscripts, Roman numerals, fractions;
//  6. the base letter of a Latin letter with a stroke or hook; 0 to 9 for a digit of any script;
//  "-"
//     for a dash; '"' for a quotation mark; a blank for a space;
//  7. one blank.
// NUL becomes a blank, since a text for a synthesizer ends at a NUL.
//
// Unicode's data come from ICU. If ICU cannot load them (out of memory at the first use), steps 2
// and 5 find nothing. Pure functions, safe on any thread; they may throw std::bad_alloc where they
// append to a string.
#pragma once

#include <string>

namespace base {

// Appends the form of `character` in Mac OS Roman. Surrogates and values above U+10FFFF become a
// blank.
void appendPlainForm(std::string& macRoman, char32_t character);

// Returns whether `character` is a combining mark, which belongs to the character before it.
bool isCombiningMark(char32_t character);

// Returns `letter` combined with the combining mark `mark` if Mac OS Roman has the result,
// otherwise `letter` without accents that Mac OS Roman lacks. `letter` may be precomposed with such
// accents: withAccent(ạ, U+0302) is â.
char32_t withAccent(char32_t letter, char32_t mark);

// Returns whether `character` is a number other than a digit: a fraction, superscript or numeral.
// Its form must be separated from digits before it.
bool isNumberForm(char32_t character);

}  // namespace base
