#ifndef MODEL_TEXT_SEARCH_H_
#define MODEL_TEXT_SEARCH_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#if defined(__SSE2__)
#include <emmintrin.h>
#elif defined(__aarch64__)
#include <arm_neon.h>
#endif

// Searching long texts for what is far apart in them.
//
// Texts are looked at by the block, each block as a few vectors of 16 characters, which every processor compares in one
// instruction. Only a block that holds something is looked at more closely.
namespace text_search {

// The compilers' own vectors: a comparison gives -1 where it holds and 0 elsewhere.
using Vector = signed char __attribute__((vector_size(16)));

inline constexpr size_t kBlock = 4 * sizeof(Vector);

inline Vector all(char character) { return Vector{} + static_cast<signed char>(character); }

inline Vector vector_at(const char* characters) {
  Vector vector;
  std::memcpy(&vector, characters, sizeof vector);
  return vector;
}

// A bit for each character of a block, the first one's the lowest: set where the comparison holds, of which
// `comparison_at(offset)` gives the results for the vector that begins there.
template <typename ComparisonAt>
inline uint64_t bits_where(ComparisonAt comparison_at) {
  const Vector results[] = {comparison_at(0), comparison_at(16), comparison_at(32), comparison_at(48)};
#if defined(__SSE2__)
  const auto bits = [](Vector result) {
    return static_cast<uint32_t>(_mm_movemask_epi8(reinterpret_cast<__m128i>(result)));
  };
  if (bits((results[0] | results[1]) | (results[2] | results[3])) == 0) return 0;
  return (bits(results[0]) | bits(results[1]) << 16) | uint64_t{bits(results[2]) | bits(results[3]) << 16} << 32;
#elif defined(__aarch64__)
  // Each character's bit in its byte, then neighbours added up until eight of them share a byte.
  const uint8x16_t bit = {1, 2, 4, 8, 16, 32, 64, 128, 1, 2, 4, 8, 16, 32, 64, 128};
  const auto bits = [=](Vector result) { return reinterpret_cast<uint8x16_t>(result) & bit; };
  const uint8x16_t pairs =
      vpaddq_u8(vpaddq_u8(bits(results[0]), bits(results[1])), vpaddq_u8(bits(results[2]), bits(results[3])));
  return vgetq_lane_u64(vreinterpretq_u64_u8(vpaddq_u8(pairs, pairs)), 0);
#else
  uint64_t bits = 0;
  for (size_t i = 0; i < kBlock; ++i) bits |= uint64_t{results[i / 16][i % 16] != 0} << i;
  return bits;
#endif
}

inline size_t lowest(uint64_t bits) { return static_cast<size_t>(__builtin_ctzll(bits)); }

/// The first position at or after `start` at which the text has the word in quotes, or npos.
///
/// Quotes are everywhere in a JSON text; a word's first and last letter at their distance are not.
inline size_t find_quoted(std::string_view text, std::string_view word, size_t start) {
  const size_t size = word.size() + 2;
  if (text.size() < size || start > text.size() - size) return std::string_view::npos;
  // Nobody's keys are that long: the blocks below leave no room for it.
  if (word.size() >= kBlock) return text.find('"' + std::string(word) + '"', start);
  // Of a word without letters its quotes.
  const Vector first = all(word.empty() ? '"' : word.front());
  const Vector last = all(word.empty() ? '"' : word.back());
  // The position in the block, or its end.
  const auto find_in_block = [=](const char* block) {
    uint64_t pairs = bits_where([=](size_t offset) -> Vector {
      return (vector_at(block + offset + 1) == first) & (vector_at(block + offset + word.size()) == last);
    });
    for (; pairs != 0; pairs &= pairs - 1) {
      const char* const place = block + lowest(pairs);
      if (place[0] == '"' && place[size - 1] == '"' && std::memcmp(place + 1, word.data(), word.size()) == 0) {
        return lowest(pairs);
      }
    }
    return kBlock;
  };
  const size_t end = text.size() - size + 1;  // of the positions where it may begin
  for (; end - start >= kBlock; start += kBlock) {
    const size_t position = find_in_block(text.data() + start);
    if (position != kBlock) return start + position;
  }
  char rest[2 * kBlock] = {};
  std::memcpy(rest, text.data() + start, text.size() - start);
  const size_t position = find_in_block(rest);
  return position == kBlock ? std::string_view::npos : start + position;
}

/// Where a text may have braces, one place after the other: the caller looks which it is, if it is one. The other
/// characters that come after the letters in ASCII come along, bars, tildes and DEL, which are as rare.
class BraceCandidates {
 public:
  /// Those at or after `start`.
  BraceCandidates(std::string_view text, size_t start)
      : text_(text), block_(std::min(start, text.size())), bits_(bits_of_block()) {}

  /// The position of the next one, or the text's size when there is none.
  size_t next() {
    while (bits_ == 0) {
      if (text_.size() - block_ <= kBlock) return text_.size();
      block_ += kBlock;
      bits_ = bits_of_block();
    }
    const size_t position = block_ + lowest(bits_);
    bits_ &= bits_ - 1;
    return position;
  }

 private:
  uint64_t bits_of_block() const {
    if (text_.size() - block_ >= kBlock) return bits_of(text_.data() + block_);
    char rest[kBlock] = {};
    std::memcpy(rest, text_.data() + block_, text_.size() - block_);
    return bits_of(rest);
  }
  // What is not ASCII is negative.
  static uint64_t bits_of(const char* block) {
    return bits_where([=](size_t offset) -> Vector { return vector_at(block + offset) > all('z'); });
  }

  std::string_view text_;
  size_t block_;   // where the block begins that is looked at
  uint64_t bits_;  // its candidates that are still to come
};

}  // namespace text_search

#endif  // MODEL_TEXT_SEARCH_H_
