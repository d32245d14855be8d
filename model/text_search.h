#ifndef MODEL_TEXT_SEARCH_H_
#define MODEL_TEXT_SEARCH_H_

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

// Searching long texts for what is far apart in them.
//
// Texts are looked at by the block, each block as a few vectors of 16 characters, which every processor compares in one
// instruction. Only a block that holds something is looked at more closely.
namespace text_search {

inline constexpr size_t kBlock = 64;

// The compilers' own vectors: a comparison gives -1 where it holds and 0 elsewhere, so that their sum counts.
using Vector = signed char __attribute__((vector_size(16)));

inline Vector vector_at(const char* characters) {
  Vector vector;
  std::memcpy(&vector, characters, sizeof vector);
  return vector;
}

inline bool any(Vector results) {
  uint64_t halves[2];
  std::memcpy(halves, &results, sizeof halves);
  return (halves[0] | halves[1]) != 0;
}

// Whether at some place the block at `first` has `first_wanted` and the one at `second` has `second_wanted`.
inline bool have_pair(const char* first, signed char first_wanted, const char* second, signed char second_wanted) {
  Vector pairs = {};
  for (size_t i = 0; i < kBlock; i += sizeof(Vector)) {
    pairs += (vector_at(first + i) == first_wanted) & (vector_at(second + i) == second_wanted);
  }
  return any(pairs);
}

/// As text.find(quoted_word, start), for a word with its quotes.
///
/// Quotes are everywhere in a JSON text; a word's first and last letter at their distance are not.
inline size_t find_quoted(std::string_view text, std::string_view quoted_word, size_t start) {
  const size_t first = 1;
  const size_t last = quoted_word.size() - 2;
  const auto first_letter = static_cast<signed char>(quoted_word[first]);
  const auto last_letter = static_cast<signed char>(quoted_word[last]);
  for (; start < text.size() && text.size() - start >= kBlock + quoted_word.size(); start += kBlock) {
    const char* const block = text.data() + start;
    if (!have_pair(block + first, first_letter, block + last, last_letter)) continue;
    const size_t found = std::string_view(block, kBlock + quoted_word.size() - 1).find(quoted_word);
    if (found != std::string_view::npos) return start + found;
  }
  return text.find(quoted_word, start);
}

// The braces are among the five ASCII characters that come behind the letters; others are below or, signed, negative.
inline bool has_brace(const char* block) {
  Vector braces = {};
  for (size_t i = 0; i < kBlock; i += sizeof(Vector)) braces += vector_at(block + i) > 'z';
  return any(braces);
}

// Sets a bit in each of the eight characters that comes behind the letters.
//
// Adding 5 takes these, and nothing below them, over 0x7F, where the characters outside of ASCII are already. These may
// carry into the next one, which makes a 'z' look like a brace, and a brace no less like one.
inline uint64_t mark_braces(const char* characters) {
  uint64_t word;
  std::memcpy(&word, characters, sizeof word);
  return (word + 0x0505050505050505) & ~word & 0x8080808080808080;
}

/// The position of the first brace at or after `position`, or of a character before it that only looks like one; the
/// text's size where there is neither. `position` is at most that size.
inline size_t find_brace(std::string_view text, size_t position) {
  for (; text.size() - position >= kBlock; position += kBlock) {
    const char* const block = text.data() + position;
    if (!has_brace(block)) continue;
    for (size_t i = 0; i < kBlock; i += sizeof(uint64_t)) {
      const uint64_t marks = mark_braces(block + i);
      if (marks != 0) return position + i + static_cast<size_t>(__builtin_ctzll(marks)) / 8;
    }
  }
  while (position < text.size() && text[position] != '{' && text[position] != '}') ++position;
  return position;
}

}  // namespace text_search

#endif  // MODEL_TEXT_SEARCH_H_
