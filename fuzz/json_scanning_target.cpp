// Any text, any key and any index for the functions that pick values out of the JSON chunk's text.
//
//   scripts/fuzz.sh 60 json_scanning
//
// An input: the number of a key of the format, or a byte that gives the length of a key which follows; where the search
// for the key starts; the index of an array's object (signed); the text.
//
// What must hold: none of them reads outside the text (it lies in a block of its own size, under the address
// sanitizer); what they return lies inside it and is the first of its kind; objects have their braces; a number's
// digits stand in the text; only the number conversions throw.

#include "model/json_scanning.h"

#include <cmath>
#include <cstdlib>
#include <iterator>
#include <stdexcept>

#include "fuzz/fuzz_target.h"
#include "model/glb_container.h"
#include "model/mesh_primitive.h"

namespace {

using namespace json_scanning;

constexpr std::string_view kKeys[] = {"meshes",    "primitives",    "attributes",      "POSITION",
                                      "NORMAL",    "indices",       "material",        "materials",
                                      "accessors", "bufferView",    "byteOffset",      "byteLength",
                                      "count",     "componentType", "bufferViews",     "byteStride",
                                      "type",      "buffer",        "baseColorFactor", "pbrMetallicRoughness"};

bool LiesInside(std::string_view part, std::string_view text) {
  const auto position = reinterpret_cast<uintptr_t>(part.data()) - reinterpret_cast<uintptr_t>(text.data());
  return position <= text.size() && part.size() <= text.size() - position;
}

bool Contains(std::string_view text, std::string_view part) { return text.find(part) != npos; }

// From a brace to the one that brings the depth back to zero, which it does not reach before.
bool IsObject(std::string_view object) {
  if (object.empty() || object.front() != '{') return false;
  long depth = 0;
  for (size_t i = 0; i < object.size(); ++i) {
    depth += (object[i] == '{') - (object[i] == '}');
    if (depth == 0) return i + 1 == object.size();
  }
  return false;
}

// What `convert` throws, beside what std::stoi and std::stof are known to throw, ends the program.
template <typename Convert>
void ConvertNumber(const char* thrower, Convert convert) {
  try {
    convert();
  } catch (const std::invalid_argument& exception) {
    FUZZ_REQUIRE(exception.what() == std::string_view(thrower));
  } catch (const std::out_of_range& exception) {
    FUZZ_REQUIRE(exception.what() == std::string_view(thrower));
  }
}

void ScanForKey(std::string_view text, std::string_view key, size_t start) {
  const std::string quoted = '"' + std::string(key) + '"';
  const size_t position = find_key(text, key, start);
  if (position != npos) {
    FUZZ_REQUIRE(position >= start && position < text.size());
    FUZZ_REQUIRE(text.substr(position, quoted.size()) == quoted);
    FUZZ_REQUIRE(!Contains(text.substr(start, position + quoted.size() - 1 - start), quoted));
  } else if (start <= text.size()) {
    FUZZ_REQUIRE(!Contains(text.substr(start), quoted));
  }
  const size_t first_position = find_key(text, key, 0);
  for (const char wanted : {':', '"', '[', '{'}) {
    const size_t found = find_after_key(text, key, wanted);
    if (found == npos) continue;
    FUZZ_REQUIRE(first_position < found && text.at(found) == wanted);
    FUZZ_REQUIRE(Contains(text.substr(first_position, found + 1 - first_position), ":"));
  }
}

void ScanForNumbers(std::string_view text, std::string_view key) {
  constexpr int kNoNumber = 1234567;
  ConvertNumber("stoi", [&] {
    const int number = parse_int_field(text, key, kNoNumber);
    FUZZ_REQUIRE(number == kNoNumber || Contains(text, std::to_string(std::abs(int64_t{number}))));
  });
  ConvertNumber("stoi", [&] {
    const int number = parse_attribute_index(text, key);
    FUZZ_REQUIRE(number == -1 || (number >= 0 && Contains(text, std::to_string(number))));
  });
  ConvertNumber("stof", [&] {
    const std::vector<float> numbers = parse_floats(text);
    FUZZ_REQUIRE(numbers.size() <= (text.size() + 1) / 2);
    for (const float number : numbers) FUZZ_REQUIRE(std::isfinite(number));
  });
  ConvertNumber("stoi", [&] { FUZZ_REQUIRE(parse_size_field(text, key) <= 0x7FFFFFFF); });
}

void ScanForTexts(std::string_view text, std::string_view key, int index) {
  const std::string string = parse_string_field(text, key);
  FUZZ_REQUIRE(!Contains(string, "\""));
  FUZZ_REQUIRE(string.empty() || Contains(text, '"' + string + '"'));

  std::string element = "untouched";
  if (get_array_element_object(text, key, index, element)) {
    FUZZ_REQUIRE(index >= 0);
    FUZZ_REQUIRE(IsObject(element) && Contains(text, element));
  } else {
    FUZZ_REQUIRE(element == "untouched");
  }

  NestedObject object;
  if (find_nested_object(text, key, object)) {
    FUZZ_REQUIRE(LiesInside(object.text, text));
    FUZZ_REQUIRE(object.closed ? IsObject(object.text) : object.text == "{");
  } else {
    FUZZ_REQUIRE(object.text.empty() && !object.closed);
  }
}

void ScanArray(std::string_view text, size_t bracket, int index) {
  const ArrayScan scan = scan_array(text, bracket, index);
  FUZZ_REQUIRE(scan.object_count <= text.size());
  if (scan.object.empty()) return;
  FUZZ_REQUIRE(LiesInside(scan.object, text) && IsObject(scan.object));
  FUZZ_REQUIRE(scan.object.data() > text.data() + bracket);
  FUZZ_REQUIRE(index >= 0 && scan.object_count > static_cast<size_t>(index));
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Input input(data, size);
  const uint8_t key_number = input.Byte();
  const size_t start = input.Byte();
  const int index = static_cast<int8_t>(input.Byte());
  const std::vector<uint8_t> own_key = input.Bytes(key_number < std::size(kKeys) ? 0 : key_number % 16);
  const std::string key =
      key_number < std::size(kKeys) ? std::string(kKeys[key_number]) : std::string(own_key.begin(), own_key.end());
  const std::vector<uint8_t> rest = input.Rest();
  const auto* const characters = reinterpret_cast<const char*>(rest.data());
  const std::string_view text = rest.empty() ? std::string_view("") : std::string_view(characters, rest.size());

  ScanForKey(text, key, start);
  ScanForNumbers(text, key);
  ScanForTexts(text, key, index);
  ScanArray(text, start, index);
  ConvertNumber("stof", [&] { glb::load_material(text, index); });
  FUZZ_REQUIRE(glb::count_meshes(text) <= text.size());
  return 0;
}
