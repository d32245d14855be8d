#include "model/json_scanning.h"

#include <locale.h>
#include <stdlib.h>

#include <algorithm>
#include <cerrno>
#include <cfenv>
#include <cmath>
#include <limits>
#include <stdexcept>

#include "model/text_search.h"

namespace json_scanning {

size_t find_key(std::string_view text, std::string_view key, size_t start) {
  return text_search::find_quoted(text, key, start);
}

size_t find_after_key(std::string_view text, std::string_view key, char wanted) {
  const size_t key_position = find_key(text, key, 0);
  if (key_position == npos) return npos;
  const size_t colon = text.find(':', key_position);
  return colon == npos ? npos : text.find(wanted, colon);
}

namespace {

bool is_digit(char c) { return c >= '0' && c <= '9'; }
bool is_digit_or_minus(char c) { return is_digit(c) || c == '-'; }

// The first run of `wanted` characters after the key's colon, as an integer.
template <typename Predicate>
int parse_integer_run(std::string_view text, std::string_view key, Predicate wanted, int default_value) {
  const size_t colon = find_after_key(text, key, ':');
  if (colon == npos) return default_value;
  const char* const end = text.data() + text.size();
  const char* const first = std::find_if(text.data() + colon + 1, end, wanted);
  if (first == end) return default_value;
  return std::stoi(std::string(first, std::find_if_not(first, end, wanted)));
}

}  // namespace

int parse_int_field(std::string_view text, std::string_view key, int default_value) {
  return parse_integer_run(text, key, is_digit_or_minus, default_value);
}

size_t parse_size_field(std::string_view text, std::string_view key) {
  const int value = parse_int_field(text, key, 0);
  return value < 0 ? 0 : static_cast<size_t>(value);
}

int parse_attribute_index(std::string_view text, std::string_view key) {
  return parse_integer_run(text, key, is_digit, -1);
}

std::string parse_string_field(std::string_view text, std::string_view key) {
  const size_t opening = find_after_key(text, key, '"');
  if (opening == npos) return "";
  const size_t closing = text.find('"', opening + 1);
  if (closing == npos) return "";
  return std::string(text.substr(opening + 1, closing - opening - 1));
}

ArrayScan scan_array(std::string_view text, size_t bracket, int index) {
  const size_t wanted = index < 0 ? npos : static_cast<size_t>(index);
  ArrayScan scan;
  long depth = 0;
  size_t start = npos;
  size_t position = bracket + 1;
  text_search::BraceCandidates candidates(text, position);
  for (size_t brace; (brace = candidates.next()) != text.size(); position = brace + 1) {
    // Outside of its objects a bracket ends the array.
    if (depth == 0 && std::find(&text[position], &text[brace], ']') != &text[brace]) break;
    if (text[brace] == '{') {
      if (depth == 0 && scan.object_count++ == wanted) start = brace;
      ++depth;
    } else if (text[brace] == '}') {
      --depth;
      if (depth == 0 && start != npos) {
        scan.object = text.substr(start, brace + 1 - start);
        break;
      }
    }
  }
  return scan;
}

bool get_array_element_object(std::string_view text, std::string_view key, int index, std::string& out) {
  const size_t bracket = find_after_key(text, key, '[');
  if (bracket == npos) return false;
  const std::string_view object = scan_array(text, bracket, index).object;
  if (object.empty()) return false;
  out = object;
  return true;
}

bool find_nested_object(std::string_view text, std::string_view key, NestedObject& object) {
  const size_t opening = find_after_key(text, key, '{');
  if (opening == npos) return false;
  object = {text.substr(opening, 1), false};
  long depth = 0;
  text_search::BraceCandidates candidates(text, opening);
  for (size_t brace; (brace = candidates.next()) != text.size();) {
    if (text[brace] == '{') ++depth;
    if (text[brace] == '}' && --depth == 0) {
      object = {text.substr(opening, brace + 1 - opening), true};
      break;
    }
  }
  return true;
}

namespace {

locale_t c_locale() {
  static const locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
  return locale;
}

// Whether the number is close enough to the smallest normal float to become that when rounded to 24 bits, however small
// its exponent.
bool rounds_to_smallest_normal(const char* number) {
  constexpr double kLeast = 0x1.ffffffp-127;  // between 24 one-bits and the next number: a tie goes to the even one
  const int mode = std::fegetround();
  std::fesetround(FE_TOWARDZERO);  // so that what is less, by however little, comes out less
  const double truncated = strtod_l(number, nullptr, c_locale());
  std::fesetround(mode);
  return std::abs(truncated) >= kLeast;
}

}  // namespace

float parse_float(const std::string& run) {
  const int errno_before = errno;
  errno = 0;
  char* end = nullptr;
  const float value = strtof_l(run.c_str(), &end, c_locale());
  // A number just below the smallest normal float has no exact float, and may become that one. On AArch64 it is out of
  // range then, having been too small before it was rounded. On x86-64 it is so only if rounding to 24 bits would have
  // left it too small, and in range otherwise: so everywhere.
  const bool out_of_range = errno == ERANGE && !(std::abs(value) == std::numeric_limits<float>::min() &&
                                                 rounds_to_smallest_normal(run.c_str()));
  if (!out_of_range) errno = errno_before;
  if (end == run.c_str()) throw std::invalid_argument("stof");
  if (out_of_range) throw std::out_of_range("stof");
  return value;
}

std::vector<float> parse_floats(std::string_view text) {
  constexpr std::string_view kStartCharacters = "-0123456789.";
  constexpr std::string_view kCharacters = "0123456789+-.Ee";
  std::vector<float> numbers;
  size_t position = 0;
  while (position < text.size()) {
    const size_t first = text.find_first_of(kStartCharacters, position);
    if (first == npos) break;
    const size_t end = std::min(text.find_first_not_of(kCharacters, first), text.size());
    numbers.push_back(parse_float(std::string(text.substr(first, end - first))));
    position = end + 1;
  }
  return numbers;
}

}  // namespace json_scanning
