// Inside the fakes: arguments and results in words.

#ifndef TEST_FAKES_GRAPHICS_TEXT_H_
#define TEST_FAKES_GRAPHICS_TEXT_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

#pragma GCC visibility push(default)
namespace fake_graphics {

inline std::string Text(const std::string& text) { return text; }
std::string Text(float value);
template <typename Integer, typename = std::enable_if_t<std::is_integral_v<Integer>>>
std::string Text(Integer value) {
  return std::to_string(value);
}

/// Null pointers show as such, others as what they stand for.
std::string PointerText(const void* pointer, const char* otherwise);

std::string HexText(unsigned long value);

/// "{1, 2, 3}"; a long list is cut and says how long it is.
template <typename Value>
std::string ListText(const Value* values, size_t count) {
  constexpr size_t kShown = 36;
  std::string text;
  for (size_t i = 0; i < count && i < kShown; ++i) text += (i == 0 ? "" : ", ") + Text(values[i]);
  if (count > kShown) text += ", ... " + std::to_string(count) + " values";
  return "{" + text + "}";
}

/// A number and the name by which texts show it; FAKE_NAMED makes one of a constant.
struct NamedNumber {
  unsigned long number;
  const char* name;
};

#define FAKE_NAMED(constant) \
  { constant, #constant }

/// The number's name; without one, the number in hexadecimal.
std::string NumberText(const std::vector<NamedNumber>& names, unsigned long number);
/// The names of the bits that are set, joined by "|".
std::string BitsText(const std::vector<NamedNumber>& names, unsigned long bits);

}  // namespace fake_graphics
#pragma GCC visibility pop

#endif  // TEST_FAKES_GRAPHICS_TEXT_H_
