// SPDX-License-Identifier: Apache-2.0
//
// Xml: a document as an XML parser reads it.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace xml {

struct Element {
  std::string name;
  std::map<std::string, std::string> attributes;
  std::string parent;       // its name; empty for the outermost
  std::string contents;     // text inside, that of inner elements included
  std::size_t start = 0;    // of that in the document's text
  bool hasPhoneme = false;  // an inner element
};

struct Document {
  std::string error;  // empty: well-formed
  std::vector<Element> elements;
  std::string text;  // all of it

  std::vector<Element> named(const std::string& name) const;
};

Document parse(const std::string& text);

}  // namespace xml
