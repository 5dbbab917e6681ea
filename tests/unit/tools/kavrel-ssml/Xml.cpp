// SPDX-License-Identifier: Apache-2.0
#include "Xml.h"

#include <memory>

#include <expat.h>

namespace xml {
namespace {

struct Reading {
  Document document;
  std::vector<std::size_t> open;
};

void XMLCALL onStart(void* data, const char* name, const char** attributes) {
  auto& reading = *static_cast<Reading*>(data);
  Element element;
  element.name = name;
  if (!reading.open.empty()) element.parent = reading.document.elements[reading.open.back()].name;
  element.start = reading.document.text.size();
  for (const std::size_t index : reading.open) {
    if (element.name == "phoneme") reading.document.elements[index].hasPhoneme = true;
  }
  for (; *attributes != nullptr; attributes += 2) element.attributes[attributes[0]] = attributes[1];
  reading.open.push_back(reading.document.elements.size());
  reading.document.elements.push_back(std::move(element));
}

void XMLCALL onEnd(void* data, const char*) {
  static_cast<Reading*>(data)->open.pop_back();
}

void XMLCALL onText(void* data, const char* text, int length) {
  auto& reading = *static_cast<Reading*>(data);
  const std::string piece(text, static_cast<std::size_t>(length));
  reading.document.text += piece;
  for (const std::size_t index : reading.open) reading.document.elements[index].contents += piece;
}

}  // namespace

std::vector<Element> Document::named(const std::string& name) const {
  std::vector<Element> found;
  for (const Element& element : elements) {
    if (element.name == name) found.push_back(element);
  }
  return found;
}

Document parse(const std::string& text) {
  const std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)> parser(
      XML_ParserCreate(nullptr), &XML_ParserFree);
  Reading reading;
  XML_SetUserData(parser.get(), &reading);
  XML_SetElementHandler(parser.get(), onStart, onEnd);
  XML_SetCharacterDataHandler(parser.get(), onText);
  if (XML_Parse(parser.get(), text.data(), static_cast<int>(text.size()), 1) != XML_STATUS_OK) {
    reading.document.error = XML_ErrorString(XML_GetErrorCode(parser.get()));
  }
  return reading.document;
}

}  // namespace xml
