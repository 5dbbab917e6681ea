// SPDX-License-Identifier: Apache-2.0
//
// The anchors: well-known operations on the same amount of data, measured in the same run because
// absolute figures depend on the machine.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include <expat.h>
#include <iconv.h>

#include "Workloads.h"
#include "workloads/Prose.h"

namespace bench {

namespace {

void copyBytes(benchmark::State& state) {
  const std::string text = workloads::prose(kLarge);
  const std::vector<char> bytes(text.begin(), text.end());
  std::vector<char> copy(bytes.size());
  while (state.KeepRunning()) {
    // NOLINTNEXTLINE(bugprone-not-null-terminated-result): bytes, not a string.
    std::memcpy(copy.data(), bytes.data(), bytes.size());
    benchmark::ClobberMemory();
  }
  countBytes(state, text.size());
}

void searchBytes(benchmark::State& state) {
  const std::string text = workloads::prose(kLarge);
  while (state.KeepRunning()) {
    // NOLINTNEXTLINE(bugprone-not-null-terminated-result): bytes are searched, not a string.
    benchmark::DoNotOptimize(std::memchr(text.data(), '\x01', text.size()));
  }
  countBytes(state, text.size());
}

void convertEncoding(benchmark::State& state) {
  std::string text = workloads::macProse(kLarge);
  const iconv_t converter = iconv_open("ISO-8859-15//TRANSLIT", "MACINTOSH");
  if (reinterpret_cast<std::intptr_t>(converter) == -1) {
    state.SkipWithError("iconv does not know the encodings");
    return;
  }
  std::string result(2 * text.size(), '\0');
  while (state.KeepRunning()) {
    char* from = text.data();
    std::size_t left = text.size();
    char* to = result.data();
    std::size_t room = result.size();
    iconv(converter, nullptr, nullptr, nullptr, nullptr);
    if (iconv(converter, &from, &left, &to, &room) == static_cast<std::size_t>(-1)) {
      state.SkipWithError("iconv failed");
      break;
    }
    benchmark::ClobberMemory();
  }
  iconv_close(converter);
  countBytes(state, text.size());
}

struct Counts {
  std::size_t elements = 0;
  std::size_t characters = 0;
};

// The handlers only count: the least that any reader of SSML does.
void parse(benchmark::State& state, const std::string& text) {
  while (state.KeepRunning()) {
    Counts counts;
    XML_ParserStruct* const parser = XML_ParserCreate("ISO-8859-1");
    XML_SetUserData(parser, &counts);
    XML_SetElementHandler(
        parser,
        [](void* data, const XML_Char*, const XML_Char**) {
          ++static_cast<Counts*>(data)->elements;
        },
        [](void*, const XML_Char*) {});
    XML_SetCharacterDataHandler(parser, [](void* data, const XML_Char*, int length) {
      static_cast<Counts*>(data)->characters += static_cast<std::size_t>(length);
    });
    if (XML_Parse(parser, text.data(), static_cast<int>(text.size()), 1) != XML_STATUS_OK) {
      state.SkipWithError("expat refused the text");
    }
    XML_ParserFree(parser);
    benchmark::DoNotOptimize(counts);
  }
  countBytes(state, text.size());
}

void parseUtterance(benchmark::State& state) {
  parse(state, "<speak><emphasis>Hello world</emphasis> again now</speak>");
}

// Computes how far markup has moved a position, by adding up the ranges before it.
void walkRanges(benchmark::State& state, bool random) {
  constexpr std::uint32_t kRanges = 1000;
  constexpr std::uint32_t kApart = 40;
  std::vector<std::pair<std::uint32_t, std::uint32_t>> ranges;
  for (std::uint32_t i = 0; i < kRanges; ++i) ranges.emplace_back(i * kApart, 10);
  std::vector<std::uint32_t> positions;
  std::mt19937 dice;
  for (std::uint32_t p = 0; p < kRanges * kApart; p += 7) {
    positions.push_back(random ? static_cast<std::uint32_t>(dice()) % (kRanges * kApart) : p);
  }
  while (state.KeepRunning()) {
    for (const std::uint32_t position : positions) {
      std::uint32_t moved = 0;
      for (const auto& [start, amount] : ranges) {
        if (start > position) break;
        moved += amount;
      }
      benchmark::DoNotOptimize(moved);
    }
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(positions.size()));
}

void sortNumbers(benchmark::State& state) {
  std::mt19937 dice;
  std::vector<std::uint32_t> numbers(100'000);
  for (std::uint32_t& number : numbers) number = static_cast<std::uint32_t>(dice());
  while (state.KeepRunning()) {
    std::vector<std::uint32_t> sorted = numbers;
    std::sort(sorted.begin(), sorted.end());
    benchmark::DoNotOptimize(sorted.data());
  }
}

}  // namespace

void registerAnchors() {
  using benchmark::RegisterBenchmark;
  RegisterBenchmark("anchor/memcpy/16MB", copyBytes);
  RegisterBenchmark("anchor/memchr/16MB", searchBytes);
  RegisterBenchmark("anchor/iconv/16MB", convertEncoding);
  RegisterBenchmark("anchor/expat/16MB", [](benchmark::State& state) {
    parse(state, workloads::ssmlProse(kLarge, 200));
  });
  RegisterBenchmark("anchor/expat/1MB", [](benchmark::State& state) {
    parse(state, workloads::ssmlProse(kMegabyte, 40));
  });
  RegisterBenchmark("anchor/expat/56B", parseUtterance);
  RegisterBenchmark("anchor/walk-ascending/1000", walkRanges, false);
  RegisterBenchmark("anchor/walk-random/1000", walkRanges, true);
  RegisterBenchmark("anchor/sort/100000", sortNumbers);
}

}  // namespace bench
