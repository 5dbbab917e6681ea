// SPDX-License-Identifier: Apache-2.0
//
// phone-lists: prints the lists of phones that the tree contains, for the synthesiser of this
// system. "events": tests/unit/engine/text/phone_events.tsv; "inputs": the rows of
// engine/src/text/phone_inputs.h.
#include <cstdio>
#include <map>
#include <string>
#include <string_view>

#include "phone_lists/PhoneLists.h"
#include "text/phones.h"

namespace {

// Control characters in a name are written as their codes.
std::string shown(const std::string& name) {
  std::string text;
  for (const char c : name) {
    if (c > 0 && c < ' ') {
      char code[8];
      std::snprintf(code, sizeof code, "\\x%02x", static_cast<unsigned>(c));
      text += code;
    } else {
      text += c;
    }
  }
  return text;
}

// One row for each name and each meaning of it, with the first language that has it.
void printEvents() {
  std::map<std::string, std::map<std::string, std::string>> rows;
  for (const phone_lists::Sample& sample : phone_lists::samples()) {
    for (const std::string& name : phone_lists::eventNames(sample)) {
      std::string phones;
      for (const std::string_view phone : kavrel::phonesOfEvent(name, sample.language)) {
        phones += (phones.empty() ? "" : " ") + std::string(phone);
      }
      rows[name].try_emplace(phones, sample.language);
    }
  }
  std::puts("# name of the event\tlanguage, the synthesiser's name\tphones");
  for (const auto& [name, meanings] : rows) {
    for (const auto& [phones, language] : meanings) {
      std::printf("%s\t%s\t%s\n", shown(name).c_str(), language.c_str(), phones.c_str());
    }
  }
}

void printInputs() {
  for (const phone_lists::Sample& sample : phone_lists::samples()) {
    std::string inputs = phone_lists::inputsOf(sample.language);
    for (std::size_t at = 0; (at = inputs.find('"', at)) != std::string::npos; at += 2) {
      inputs.insert(at, "\\");
    }
    std::printf("    {\"%s\", \"%s\"},\n", sample.language.c_str(), inputs.c_str());
  }
}

}  // namespace

int main(int argc, char** argv) {
  const std::string_view list = argc == 2 ? argv[1] : "";
  if (list == "events") {
    printEvents();
  } else if (list == "inputs") {
    printInputs();
  } else {
    std::fputs("usage: phone-lists events|inputs\n", stderr);
    return 2;
  }
  return 0;
}
