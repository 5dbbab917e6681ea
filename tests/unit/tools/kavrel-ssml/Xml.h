// SPDX-License-Identifier: Apache-2.0
//
// Xml: a document as parsed by an XML parser.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace xml {

struct Element {
  std::string name;
  std::map<std::string, std::string> attributes;
  std::string parent;       // its name; empty for the outermost element
  std::string contents;     // the text inside, including inner elements
  std::size_t start = 0;    // its position in the document's text
  bool hasPhoneme = false;  // has an inner phoneme element
};

struct Document {
  std::string error;  // empty: well-formed
  std::vector<Element> elements;
  std::string text;  // all of it

  std::vector<Element> named(const std::string& name) const;
};

Document parse(const std::string& text);

}  // namespace xml
