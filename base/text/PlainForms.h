// SPDX-License-Identifier: Apache-2.0
//
// PlainForms: what the characters of Unicode are spoken as in Mac OS Roman, character by character.
// MacRomanEncoder.h does whole texts.
//
// Form of a character, the first of these that applies
//  1. itself, if Mac OS Roman has it;
//  2. its canonical decomposition, with every accent that makes a character of Mac OS Roman with
//     the letter, and without the others;
//  3. nothing, if it has no width: combining marks, format characters, soft hyphen, whatever
//     Unicode calls default ignorable;
//  4. its customary plain form (a table here: "-" for a minus sign, "->" for an arrow);
//  5. its compatibility decomposition, each part of which takes its own form: fullwidth forms,
//     ligatures, superscripts, Roman numerals, fractions;
//  6. the base letter of a Latin letter with a stroke or hook; the digit 0 to 9 for a digit of any
//     script; "-" for a dash; '"' for a quotation mark; a blank for a space;
//  7. one blank.
// NUL is a blank, since synthesizers end a text there.
//
// Unicode's data come from ICU. If ICU cannot load them (no memory at their first use), steps 2 and
// 5 find nothing. Pure functions, safe on any thread.
#pragma once

#include <string>

namespace base {

// Appends the form of `character` in Mac OS Roman. Surrogates and numbers above U+10FFFF are a
// blank.
void appendPlainForm(std::string& macRoman, char32_t character);

// Whether `character` is a combining mark: it belongs to the character before it.
bool isCombiningMark(char32_t character);

// The one character that stands for `letter` with the combining mark `mark`, as far as Mac OS Roman
// has it; `letter` otherwise. `letter` may be precomposed with accents that Mac OS Roman lacks:
// withAccent(ạ, U+0302) is â.
char32_t withAccent(char32_t letter, char32_t mark);

// Whether `character` is a number other than a digit: a fraction, a superscript, a numeral. Its
// form must not run into the digits before it.
bool isNumberForm(char32_t character);

}  // namespace base
