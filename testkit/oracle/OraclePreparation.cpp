// SPDX-License-Identifier: Apache-2.0
//
// The oracle's text preparation.
#include "Oracle.h"

namespace oracle {

namespace {

std::string escapeOf(char byte) {
  if (byte == '<') return "&lt;";
  if (byte == '>') return "&gt;";
  if (byte == '&') return "&amp;";
  if (byte == '\xF0') return "Apple";
  return "";
}

struct PlainForm {
  unsigned char macRoman;
  std::string text;  // in ISO 8859-15
};

// The bytes of Mac OS Roman whose characters ISO 8859-15 lacks, with the text that people type or
// read instead; a character that is not read aloud becomes a blank. No text needs an escape.
const std::vector<PlainForm>& plainForms() {
  static const std::vector<PlainForm> forms = {
      {0xA0, " "},               // dagger
      {0xA5, "-"},               // bullet
      {0xAA, "(TM)"},            // trade mark sign
      {0xAB, "'"},               // acute accent
      {0xAC, "\""},              // diaeresis
      {0xAD, " not equal to "},  // not equal to
      {0xB0, "infinity"},        // infinity
      {0xB2, " at most "},       // less than or equal to
      {0xB3, " at least "},      // greater than or equal to
      {0xB6, "d"},               // partial differential
      {0xB7, "sum "},            // summation
      {0xB8, "product "},        // product
      {0xB9, "pi"},              // small pi
      {0xBA, "integral "},       // integral
      {0xBD, "Omega"},           // capital omega
      {0xC3, "root "},           // square root
      {0xC4, "f"},               // f with hook
      {0xC5, "~"},               // almost equal to
      {0xC6, "Delta"},           // increment
      {0xC9, "..."},             // ellipsis
      {0xD0, "-"},               // en dash
      {0xD1, "-"},               // em dash
      {0xD2, "\""},              // left double quotation mark
      {0xD3, "\""},              // right double quotation mark
      {0xD4, "'"},               // left single quotation mark
      {0xD5, "'"},               // right single quotation mark
      {0xD7, " "},               // lozenge
      {0xDA, "/"},               // fraction slash
      {0xDC, "'"},               // single left angle quotation mark
      {0xDD, "'"},               // single right angle quotation mark
      {0xDE, "fi"},              // fi ligature
      {0xDF, "fl"},              // fl ligature
      {0xE0, " "},               // double dagger
      {0xE2, "'"},               // single low quotation mark
      {0xE3, "\""},              // double low quotation mark
      {0xE4, " per mille"},      // per mille sign
      {0xF0, " "},               // Apple logo
      {0xF5, "i"},               // dotless i
      {0xF6, "^"},               // modifier circumflex
      {0xF7, "~"},               // small tilde
      {0xF9, " "},               // breve
      {0xFA, " "},               // dot above
      {0xFB, " "},               // ring above
      {0xFC, ","},               // cedilla
      {0xFD, "\""},              // double acute accent
      {0xFE, " "},               // ogonek
      {0xFF, " "},               // caron
  };
  return forms;
}

// ISO 8859-15 for the bytes of Mac OS Roman from 0x80 on; 0 for the bytes in plainForms().
constexpr unsigned char kExact[128] = {
    0xC4, 0xC5, 0xC7, 0xC9, 0xD1, 0xD6, 0xDC, 0xE1,  // 80
    0xE0, 0xE2, 0xE4, 0xE3, 0xE5, 0xE7, 0xE9, 0xE8,  // 88
    0xEA, 0xEB, 0xED, 0xEC, 0xEE, 0xEF, 0xF1, 0xF3,  // 90
    0xF2, 0xF4, 0xF6, 0xF5, 0xFA, 0xF9, 0xFB, 0xFC,  // 98
    0x00, 0xB0, 0xA2, 0xA3, 0xA7, 0x00, 0xB6, 0xDF,  // A0
    0xAE, 0xA9, 0x00, 0x00, 0x00, 0x00, 0xC6, 0xD8,  // A8
    0x00, 0xB1, 0x00, 0x00, 0xA5, 0xB5, 0x00, 0x00,  // B0
    0x00, 0x00, 0x00, 0xAA, 0xBA, 0x00, 0xE6, 0xF8,  // B8
    0xBF, 0xA1, 0xAC, 0x00, 0x00, 0x00, 0x00, 0xAB,  // C0
    0xBB, 0x00, 0xA0, 0xC0, 0xC3, 0xD5, 0xBC, 0xBD,  // C8
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0xF7, 0x00,  // D0
    0xFF, 0xBE, 0x00, 0xA4, 0x00, 0x00, 0x00, 0x00,  // D8
    0x00, 0xB7, 0x00, 0x00, 0x00, 0xC2, 0xCA, 0xC1,  // E0
    0xCB, 0xC8, 0xCD, 0xCE, 0xCF, 0xCC, 0xD3, 0xD4,  // E8
    0x00, 0xD2, 0xDA, 0xDB, 0xD9, 0x00, 0x00, 0x00,  // F0
    0xAF, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,  // F8
};

std::string inLatin9(char byte) {
  const unsigned char value = static_cast<unsigned char>(byte);
  if (value < 0x80) return std::string(1, byte);
  for (const PlainForm& form : plainForms()) {
    if (form.macRoman == value) return form.text;
  }
  return std::string(1, static_cast<char>(kExact[value - 0x80]));
}

}  // namespace

namespace {

// "OS X" becomes "OS 10".
std::string withSystemNumber(std::string text) {
  std::size_t pos = text.find("OS X");
  while (pos != std::string::npos) {
    text.replace(pos, 4, "OS 10");
    pos = text.find("OS X", pos);
  }
  return text;
}

}  // namespace

std::string prepare(const std::string& text) {
  std::string result = text.substr(0, text.find('\0'));

  for (std::size_t i = 0; i < result.size(); ++i) {
    const std::string escape = escapeOf(result[i]);
    if (!escape.empty()) result.replace(i, 1, escape);
  }

  std::string encoded;
  for (char byte : withSystemNumber(result)) encoded += inLatin9(byte);
  return encoded;
}

std::string prepareUtf8(const std::string& text) {
  std::string result;
  for (std::size_t i = 0; i < text.size() && text[i] != '\0'; ++i) {
    if (text.substr(i, 3) == "\xEF\xA3\xBF") {
      result += "Apple";
      i = i + 2;
    } else if (text[i] == '\xF0' || escapeOf(text[i]).empty()) {
      result += text[i];
    } else {
      result += escapeOf(text[i]);
    }
  }
  return withSystemNumber(result);
}

}  // namespace oracle
