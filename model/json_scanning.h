#ifndef MODEL_JSON_SCANNING_H_
#define MODEL_JSON_SCANNING_H_

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// Picks values out of the JSON text of a model file.
//
// The text is never parsed into a tree: values are found by looking for a quoted key and for what follows the next
// colon. Looking only inside the text of one object keeps equal keys of other objects apart. What the scanning misreads
// (a value that is a word of the format, braces inside strings) stays misread: the same file must always give the same
// model.
//
// Failure  what is not there gives npos, false or a default. A number that cannot be read throws as std::stoi and
//          std::stof do: std::invalid_argument, std::out_of_range.
namespace json_scanning {

inline constexpr size_t npos = std::string::npos;

/// The position of the first quoted `key` at or after `start`.
size_t find_key(std::string_view text, std::string_view key, size_t start);

/// The position of the first `wanted` at or after the colon that follows the key.
size_t find_after_key(std::string_view text, std::string_view key, char wanted);

/// The first run of digits and minus signs after the key's colon, as an integer.
int parse_int_field(std::string_view text, std::string_view key, int default_value);

/// The same where less than zero makes no sense: 0 then, and without a number.
size_t parse_size_field(std::string_view text, std::string_view key);

/// The first run of digits after the key's colon, or -1.
///
/// NOTE: a minus sign is not among the characters, so -1 is read as 1.
int parse_attribute_index(std::string_view text, std::string_view key);

/// What stands between the next two quotes after the key's colon.
std::string parse_string_field(std::string_view text, std::string_view key);

struct ArrayScan {
  size_t object_count = 0;  // objects begun directly in the array, up to where the scan stopped
  std::string_view object;  // the wanted one, braces included; empty when the array has no such object
};

/// Scans the array whose "[" is at `bracket` for its object number `index`, or to its end when there is none.
ArrayScan scan_array(std::string_view text, size_t bracket, int index);

/// The text of object number `index` in the array that is the key's value; false leaves `out` alone.
bool get_array_element_object(std::string_view text, std::string_view key, int index, std::string& out);

struct NestedObject {
  std::string_view text;  // braces included; the opening brace alone when none closes it
  bool closed = false;
};

/// The object that is the key's value. False: no key, no colon or no brace.
bool find_nested_object(std::string_view text, std::string_view key, NestedObject& object);

/// As std::stof on x86-64, but with a decimal point in every locale: an application that calls setlocale must not turn
/// 0.8 into 0.
float parse_float(const std::string& run);

/// Every run of number characters in the text, as a number.
std::vector<float> parse_floats(std::string_view text);

}  // namespace json_scanning

#endif  // MODEL_JSON_SCANNING_H_
