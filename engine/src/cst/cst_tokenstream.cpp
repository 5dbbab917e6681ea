// SPDX-License-Identifier: Apache-2.0
//
// Token streams: a cursor over the caller's string, and one buffer for the last word. Short words
// use a buffer inside the stream, so that most streams allocate only once.
#include <array>
#include <cstdint>
#include <cstring>
#include <new>

#include "cst.h"

namespace {

// A set of bytes as a bitmap; a lookup takes constant time.
class ByteSet {
 public:
  explicit ByteSet(const char* bytes) {
    for (; *bytes != '\0'; ++bytes) {
      const auto byte = static_cast<unsigned char>(*bytes);
      m_bits[byte / 64] |= std::uint64_t{1} << (byte % 64);
    }
  }

  bool has(char c) const {
    const auto byte = static_cast<unsigned char>(c);
    return ((m_bits[byte / 64] >> (byte % 64)) & 1) != 0;
  }

 private:
  std::array<std::uint64_t, 4> m_bits{};
};

const char* orDefault(const char* set, const char* otherwise) {
  return set != nullptr ? set : otherwise;
}

}  // namespace

struct cst_tokenstream {
  const char* next;
  ByteSet blanks;
  ByteSet symbols;
  ByteSet before;
  ByteSet after;
  char* word;  // from cst_safe_alloc; null until a word does not fit into `shortWord`
  size_t capacity;
  std::array<char, 64> shortWord;

  void skipBlanks() {
    while (*next != '\0' && blanks.has(*next)) ++next;
  }

  // Returns the end of the word that starts at `next`, punctuation included.
  const char* wordEnd() const {
    if (*next == '\0') return next;
    if (symbols.has(*next)) return next + 1;
    const char* end = next;
    while (*end != '\0' && !blanks.has(*end) && !symbols.has(*end)) ++end;
    return end;
  }

  // Returns the word as a NUL-terminated string in the stream's buffer; null when out of memory.
  // The buffer doubles, so that a stream of long words copies each byte a constant number of times.
  const char* keep(const char* begin, const char* end) {
    const auto length = static_cast<size_t>(end - begin);
    char* buffer = shortWord.data();
    if (length >= shortWord.size()) {
      if (length >= capacity) {
        void* grown = cst_safe_realloc(word, length * 2);
        if (grown == nullptr) return nullptr;
        word = static_cast<char*>(grown);
        capacity = length * 2;
      }
      buffer = word;
    }
    std::memcpy(buffer, begin, length);
    buffer[length] = '\0';
    return buffer;
  }
};

cst_tokenstream* ts_open_string(const char* string, const char* whitespace,
                                const char* singlecharsymbols, const char* prepunctuation,
                                const char* postpunctuation) {
  // From the C allocator, so that a failure is a null result and not an exception.
  void* memory = cst_safe_alloc(sizeof(cst_tokenstream));
  if (memory == nullptr) return nullptr;
  return new (memory) cst_tokenstream{orDefault(string, ""),
                                      ByteSet(orDefault(whitespace, " \t\r\n")),
                                      ByteSet(orDefault(singlecharsymbols, "")),
                                      ByteSet(orDefault(prepunctuation, "")),
                                      ByteSet(orDefault(postpunctuation, "")),
                                      nullptr,
                                      0,
                                      {}};
}

const char* ts_get(cst_tokenstream* stream) {
  if (stream == nullptr) return "";
  stream->skipBlanks();
  const char* begin = stream->next;
  const char* end = stream->wordEnd();
  stream->next = end;
  // A symbol is a word even if it is punctuation too.
  const bool symbol = end - begin == 1 && stream->symbols.has(*begin);
  if (!symbol) {
    while (begin != end && stream->before.has(*begin)) ++begin;
    while (begin != end && stream->after.has(end[-1])) --end;
  }
  return stream->keep(begin, end);
}

int ts_eof(cst_tokenstream* stream) {
  if (stream == nullptr) return 1;
  stream->skipBlanks();
  return *stream->next == '\0' ? 1 : 0;
}

void ts_close(cst_tokenstream* stream) {
  if (stream == nullptr) return;
  if (stream->word != nullptr) cst_free(stream->word);
  stream->~cst_tokenstream();
  cst_free(stream);
}
