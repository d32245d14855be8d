#include "model/glb_loader.h"

#include <fcntl.h>
#include <locale.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cfenv>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <limits>
#include <locale>
#include <sstream>
#include <stdexcept>
#include <string_view>

#include "model/text_search.h"

namespace {

void append(std::string* log, std::string_view message) {
  if (log != nullptr) log->append(message);
}

// ---- JSON text scanning ------------------------------------------------------------------------------------
//
// The JSON is never parsed into a tree: values are found by looking for a quoted key and for what follows the next
// colon. Looking only inside the text of one object keeps equal keys of other objects apart. What the scanning
// misreads (a value that is a word of the format, braces inside strings) it is known and meant to misread: the same
// file must always give the same model.

constexpr size_t npos = std::string::npos;

constexpr std::string_view kDecimalStartCharacters = "-0123456789.";
constexpr std::string_view kDecimalCharacters = "0123456789+-.Ee";

size_t find_key(std::string_view text, std::string_view key, size_t start) {
  return text_search::find_quoted(text, key, start);
}

// The position of the first `wanted` at or after the colon that follows the key.
size_t find_after_key(std::string_view text, std::string_view key, char wanted) {
  const size_t key_position = find_key(text, key, 0);
  if (key_position == npos) return npos;
  const size_t colon = text.find(':', key_position);
  return colon == npos ? npos : text.find(wanted, colon);
}

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

int parse_int_field(std::string_view text, std::string_view key, int default_value) {
  return parse_integer_run(text, key, is_digit_or_minus, default_value);
}

// NOTE: the minus sign is not among the characters, so -1 is read as 1.
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

struct ArrayScan {
  size_t object_count = 0;  // objects begun directly in the array, up to where the scan stopped
  std::string_view object;  // the wanted one, braces included; empty when the array has no such object
};

// Scans the array whose "[" is at `bracket` for its object number `index`, or to its end when there is none.
ArrayScan scan_array(std::string_view text, size_t bracket, int index) {
  const size_t wanted = index < 0 ? npos : static_cast<size_t>(index);
  ArrayScan scan;
  long depth = 0;
  size_t start = npos;
  size_t position = bracket + 1;
  text_search::Braces braces(text, position);
  for (size_t brace; (brace = braces.Next()) != text.size(); position = brace + 1) {
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

struct NestedObject {
  std::string_view text;  // braces included; the opening brace alone when none closes it
  bool closed = false;
};

// The object that is the key's value. False: no key, no colon or no brace.
bool find_nested_object(std::string_view text, std::string_view key, NestedObject& object) {
  const size_t opening = find_after_key(text, key, '{');
  if (opening == npos) return false;
  object = {text.substr(opening, 1), false};
  long depth = 0;
  text_search::Braces braces(text, opening);
  for (size_t brace; (brace = braces.Next()) != text.size();) {
    if (text[brace] == '{') ++depth;
    if (text[brace] == '}' && --depth == 0) {
      object = {text.substr(opening, brace + 1 - opening), true};
      break;
    }
  }
  return true;
}

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

// As std::stof on x86-64, but with a decimal point in every locale: an application that calls setlocale must not turn
// 0.8 into 0.
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
  std::vector<float> numbers;
  size_t position = 0;
  while (position < text.size()) {
    const size_t first = text.find_first_of(kDecimalStartCharacters, position);
    if (first == npos) break;
    const size_t end = std::min(text.find_first_not_of(kDecimalCharacters, first), text.size());
    numbers.push_back(parse_float(std::string(text.substr(first, end - first))));
    position = end + 1;
  }
  return numbers;
}

// ---- Materials ---------------------------------------------------------------------------------------------

std::array<float, 4> load_material(std::string_view json, int material_index) {
  if (material_index < 0) return kDefaultMeshColor;
  std::string material;
  if (!get_array_element_object(json, "materials", material_index, material)) return kDefaultMeshColor;
  NestedObject metallic_roughness;
  if (!find_nested_object(material, "pbrMetallicRoughness", metallic_roughness)) return kDefaultMeshColor;
  const std::string_view text = metallic_roughness.text;
  const size_t opening = find_after_key(text, "baseColorFactor", '[');
  if (opening == npos) return kDefaultMeshColor;
  const size_t closing = text.find(']', opening);
  if (closing == npos) return kDefaultMeshColor;
  const std::vector<float> numbers = parse_floats(text.substr(opening + 1, closing - opening - 1));
  if (numbers.size() < 3) return kDefaultMeshColor;
  return {numbers[0], numbers[1], numbers[2], numbers.size() > 3 ? numbers[3] : 1.0f};
}

// ---- Accessors ---------------------------------------------------------------------------------------------

constexpr int kFloat = 5126;
constexpr int kUnsignedInt = 5125;
constexpr int kUnsignedShort = 5123;

constexpr size_t kVec3Bytes = 3 * sizeof(float);

// The data of the BIN chunk.
struct BinChunk {
  const uint8_t* data;
  uint64_t size;
};

struct AccessorInfo {
  int bufferView = -1;
  size_t byteOffset = 0;
  size_t count = 0;
  int componentType = 0;
  std::string type;
};

// All zero for an accessor without a view: its data is then taken from the start of the BIN chunk.
struct BufferViewInfo {
  int buffer = 0;  // never used: there is one BIN chunk
  size_t byteOffset = 0;
  size_t byteLength = 0;  // never used: what counts is that the data lies in the BIN chunk
  size_t byteStride = 0;
};

size_t parse_size_field(std::string_view text, std::string_view key) {
  const int value = parse_int_field(text, key, 0);
  return value < 0 ? 0 : static_cast<size_t>(value);
}

bool read_accessor(std::string_view json, int index, AccessorInfo& accessor) {
  std::string text;
  if (!get_array_element_object(json, "accessors", index, text)) return false;
  accessor.bufferView = parse_int_field(text, "bufferView", -1);
  accessor.byteOffset = parse_size_field(text, "byteOffset");
  accessor.count = parse_size_field(text, "count");
  accessor.componentType = parse_int_field(text, "componentType", 0);
  accessor.type = parse_string_field(text, "type");
  return true;
}

BufferViewInfo read_buffer_view(std::string_view json, int index) {
  BufferViewInfo view;
  std::string text;
  if (!get_array_element_object(json, "bufferViews", index, text)) return view;
  view.buffer = parse_int_field(text, "buffer", 0);
  view.byteOffset = parse_size_field(text, "byteOffset");
  view.byteLength = parse_size_field(text, "byteLength");
  view.byteStride = parse_size_field(text, "byteStride");
  return view;
}

// One attribute's elements as they lie in the BIN chunk. All numbers come from 32-bit integers of the JSON, so no
// product or sum of them reaches 2^64.
struct ElementRange {
  uint64_t offset;
  uint64_t stride;
  uint64_t count;
  uint64_t element_size;

  uint64_t end() const { return count == 0 ? offset : offset + (count - 1) * stride + element_size; }
};

bool check_inside(const BinChunk& bin, const ElementRange& range, const char* attribute, std::string* log) {
  if (range.end() <= bin.size) return true;
  append(log, std::string("fail: ") + attribute + " outside BIN: needs bytes " + std::to_string(range.offset) + " to " +
                  std::to_string(range.end()) + " of " + std::to_string(bin.size) + "\n");
  return false;
}

bool is_float_vec3(const AccessorInfo& accessor) { return accessor.componentType == kFloat && accessor.type == "VEC3"; }

// Copies an accessor of three floats per vertex.
//
// Like all loops over vertices it stays out of line: behind as many early returns as a mesh has, the compiler takes a
// loop for one that hardly ever runs, and makes it small instead of fast.
[[gnu::noinline]] bool copy_vec3(const BinChunk& bin, const AccessorInfo& accessor, const BufferViewInfo& view,
                                 const char* attribute, std::vector<float>& out, std::string* log) {
  const uint64_t stride = view.byteStride == 0 ? kVec3Bytes : view.byteStride;
  const ElementRange range{view.byteOffset + accessor.byteOffset, stride, accessor.count, kVec3Bytes};
  if (!check_inside(bin, range, attribute, log)) return false;
  out.resize(3 * accessor.count);
  const uint8_t* source = bin.data + range.offset;
  if (stride == kVec3Bytes) {
    std::memcpy(out.data(), source, accessor.count * kVec3Bytes);
    return true;
  }
  for (size_t i = 0; i < accessor.count; ++i) {
    std::memcpy(&out[3 * i], source + i * stride, kVec3Bytes);
  }
  return true;
}

template <typename Stored>
[[gnu::noinline]] bool copy_indices_as(const BinChunk& bin, const AccessorInfo& accessor, const BufferViewInfo& view,
                                       size_t vertex_count, std::vector<uint32_t>& out, std::string* log) {
  const ElementRange range{view.byteOffset + accessor.byteOffset, sizeof(Stored), accessor.count, sizeof(Stored)};
  if (!check_inside(bin, range, "indices", log)) return false;
  out.resize(accessor.count);
  const uint8_t* source = bin.data + range.offset;
  uint32_t* const indices = out.data();
  const auto limit = static_cast<uint32_t>(vertex_count);
  uint32_t outside = 0;
  for (size_t i = 0; i < accessor.count; ++i) {  // with nothing to stop at
    Stored index;
    std::memcpy(&index, source + i * sizeof(Stored), sizeof(Stored));
    indices[i] = index;
    outside |= uint32_t{index >= limit};
  }
  if (outside == 0) return true;
  const auto first = std::find_if(out.begin(), out.end(), [=](uint32_t index) { return index >= limit; });
  append(log, "fail: index " + std::to_string(first - out.begin()) + " names vertex " + std::to_string(*first) +
                  " of " + std::to_string(vertex_count) + "\n");
  return false;
}

bool copy_indices(const BinChunk& bin, const AccessorInfo& accessor, const BufferViewInfo& view, size_t vertex_count,
                  std::vector<uint32_t>& out, std::string* log) {
  switch (accessor.componentType) {
    case kUnsignedInt: return copy_indices_as<uint32_t>(bin, accessor, view, vertex_count, out, log);
    case kUnsignedShort: return copy_indices_as<uint16_t>(bin, accessor, view, vertex_count, out, log);
    default: append(log, "warn: unsupported index type\n"); return true;
  }
}

// ---- Normals -----------------------------------------------------------------------------------------------

struct Vec3 {
  float x, y, z;
};

Vec3 vertex(const std::vector<float>& values, uint32_t index) {
  const size_t i = 3 * size_t{index};
  return {values[i], values[i + 1], values[i + 2]};
}

Vec3 operator-(const Vec3& a, const Vec3& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }

Vec3 cross(const Vec3& a, const Vec3& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

// Smooth normals: each face counts in proportion to its area.
[[gnu::noinline]] void compute_normals(MeshData& mesh) {
  const size_t vertex_count = mesh.positions.size() / 3;
  if (mesh.indices.empty() && vertex_count % 3 == 0) {
    mesh.indices.resize(vertex_count);
    for (size_t i = 0; i < vertex_count; ++i) mesh.indices[i] = static_cast<uint32_t>(i);
  }
  mesh.normals.assign(mesh.positions.size(), 0.0f);
  for (size_t k = 0; k + 2 < mesh.indices.size(); k += 3) {
    const Vec3 a = vertex(mesh.positions, mesh.indices[k]);
    const Vec3 b = vertex(mesh.positions, mesh.indices[k + 1]);
    const Vec3 c = vertex(mesh.positions, mesh.indices[k + 2]);
    const Vec3 face_normal = cross(b - a, c - a);
    for (size_t corner = k; corner < k + 3; ++corner) {
      float* normal = &mesh.normals[3 * size_t{mesh.indices[corner]}];
      normal[0] += face_normal.x;
      normal[1] += face_normal.y;
      normal[2] += face_normal.z;
    }
  }
  for (size_t i = 0; i < mesh.normals.size(); i += 3) {
    float* normal = &mesh.normals[i];
    const float length = std::sqrt(normal[0] * normal[0] + normal[1] * normal[1] + normal[2] * normal[2]);
    if (length > 1e-12f) {
      for (int component = 0; component < 3; ++component) normal[component] /= length;
    } else {
      normal[0] = 0.0f;
      normal[1] = 1.0f;
      normal[2] = 0.0f;
    }
  }
}

// ---- Meshes ------------------------------------------------------------------------------------------------

// Decodes the first primitive of mesh number `mesh_index`. False: a message in `log`, or none where an accessor
// is missing.
bool load_mesh_primitive(std::string_view json, const BinChunk& bin, int mesh_index, MeshData& mesh, std::string* log) {
  mesh = MeshData();

  std::string mesh_text;
  if (!get_array_element_object(json, "meshes", mesh_index, mesh_text)) {
    append(log, "fail: mesh " + std::to_string(mesh_index) + " not found\n");
    return false;
  }
  if (find_key(mesh_text, "primitives", 0) == npos) {
    append(log, "fail: no primitives in mesh " + std::to_string(mesh_index) + "\n");
    return false;
  }
  const size_t bracket = find_after_key(mesh_text, "primitives", '[');
  if (bracket == npos) {
    append(log, "fail: primitives array not found\n");
    return false;
  }
  const std::string_view primitive = scan_array(mesh_text, bracket, 0).object;
  if (primitive.empty()) {
    append(log, "fail: primitive 0 not found\n");
    return false;
  }
  NestedObject attributes;
  if (!find_nested_object(primitive, "attributes", attributes) || !attributes.closed) {
    append(log, "fail: no attributes\n");
    return false;
  }

  const int position_index = parse_attribute_index(attributes.text, "POSITION");
  const int normal_index = parse_attribute_index(attributes.text, "NORMAL");
  const int indices_index = parse_int_field(primitive, "indices", -1);
  const int material_index = parse_int_field(primitive, "material", -1);
  if (position_index < 0) {
    append(log, "fail: no POSITION\n");
    return false;
  }
  mesh.color = load_material(json, material_index);

  const bool has_normals = normal_index >= 0;
  const bool has_indices = indices_index >= 0;
  AccessorInfo position_accessor;
  AccessorInfo normal_accessor;
  AccessorInfo index_accessor;
  if (!read_accessor(json, position_index, position_accessor)) return false;
  if (has_normals && !read_accessor(json, normal_index, normal_accessor)) return false;
  if (has_indices && !read_accessor(json, indices_index, index_accessor)) return false;
  const BufferViewInfo position_view = read_buffer_view(json, position_accessor.bufferView);
  const BufferViewInfo normal_view =
      has_normals ? read_buffer_view(json, normal_accessor.bufferView) : BufferViewInfo();
  const BufferViewInfo index_view = has_indices ? read_buffer_view(json, index_accessor.bufferView) : BufferViewInfo();

  const size_t vertex_count = position_accessor.count;
  if (!is_float_vec3(position_accessor) || vertex_count == 0) {
    append(log, "fail: pos type\n");
    return false;
  }
  if (!copy_vec3(bin, position_accessor, position_view, "POSITION", mesh.positions, log)) return false;
  if (has_indices && index_accessor.count != 0 &&
      !copy_indices(bin, index_accessor, index_view, vertex_count, mesh.indices, log)) {
    return false;
  }
  if (has_normals && is_float_vec3(normal_accessor) && normal_accessor.count == vertex_count) {
    return copy_vec3(bin, normal_accessor, normal_view, "NORMAL", mesh.normals, log);
  }
  compute_normals(mesh);
  return true;
}

// ---- Container ---------------------------------------------------------------------------------------------

constexpr uint32_t kMagic = 0x46546C67;      // "glTF"
constexpr uint32_t kJsonChunk = 0x4E4F534A;  // "JSON"
constexpr uint32_t kBinChunk = 0x004E4942;   // "BIN\0"

// An open file, closed at the end of its scope.
class File {
 public:
  File(const std::string& path, int flags) : descriptor_(open(path.c_str(), flags | O_CLOEXEC)) {}
  ~File() {
    if (descriptor_ >= 0) close(descriptor_);
  }
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  // False also when it did not open.
  //
  // The C library's fstat is a symbol that many boards do not have yet (glibc 2.33), and the one of before has left its
  // headers. The kernel's call has always been there, and on these machines fills the C library's record.
  bool is_regular() const {
    struct stat status;
#if defined(__x86_64__) || defined(__aarch64__)
    const long result = syscall(SYS_fstat, descriptor_, &status);
#else
    const int result = fstat(descriptor_, &status);
#endif
    return result == 0 && S_ISREG(status.st_mode);
  }

  // Negative: not known.
  off_t size() const { return lseek(descriptor_, 0, SEEK_END); }

  // Fills `bytes` from the file's beginning, as far as it goes.
  void Read(std::vector<uint8_t>& bytes) const {
    lseek(descriptor_, 0, SEEK_SET);
    for (size_t done = 0; done < bytes.size();) {
      const ssize_t count = read(descriptor_, bytes.data() + done, bytes.size() - done);
      if (count < 0 && errno == EINTR) continue;
      if (count <= 0) break;
      done += static_cast<size_t>(count);
    }
  }

 private:
  int descriptor_;
};

// Only regular files: a pipe would be waited for, a device may never end, and a folder tells a size that would exhaust
// the memory.
bool read_file(const std::string& path, std::vector<uint8_t>& bytes) {
  // Looked at before it is opened, which has effects of its own: it lets a pipe's writer go ahead or starts a watchdog.
  // By then something else may have the path, which must not hold up the caller either.
  if (!File(path, O_PATH).is_regular()) return false;
  const File file(path, O_RDONLY | O_NONBLOCK);
  if (!file.is_regular()) return false;
  const off_t size = file.size();
  if (size < 0) return false;
  bytes.resize(static_cast<size_t>(size));
  file.Read(bytes);
  return true;
}

uint32_t read_u32(const std::vector<uint8_t>& bytes, uint64_t offset) {
  uint32_t value;
  std::memcpy(&value, bytes.data() + offset, sizeof value);
  return value;
}

// GLB: "glTF" 4 | version 4 | length 4 | J 4 | "JSON" 4 | text J | B 4 | "BIN\0" 4 | data B
//
// The total length is not looked at, nor is what follows the BIN chunk. `bin` points into `bytes`.
bool read_container(const std::vector<uint8_t>& bytes, std::string& json, BinChunk& bin, std::string* log) {
  if (bytes.size() < 12) {
    append(log, "fail: header\n");
    return false;
  }
  if (read_u32(bytes, 0) != kMagic || read_u32(bytes, 4) != 2) {
    append(log, "fail: magic/version\n");
    return false;
  }
  if (bytes.size() < 20) return false;
  const uint64_t json_end = 20 + uint64_t{read_u32(bytes, 12)};  // 64 bits: the length may be close to 2^32
  if (json_end > bytes.size()) return false;
  json.assign(reinterpret_cast<const char*>(bytes.data()) + 20, json_end - 20);
  if (read_u32(bytes, 16) != kJsonChunk) {
    append(log, "fail: first chunk not JSON\n");
    return false;
  }
  if (json_end + 8 > bytes.size()) return false;
  const uint32_t bin_length = read_u32(bytes, json_end);
  if (json_end + 8 + bin_length > bytes.size()) return false;
  if (read_u32(bytes, json_end + 4) != kBinChunk) {
    append(log, "fail: second chunk not BIN\n");
    return false;
  }
  bin = {bytes.data() + json_end + 8, bin_length};
  return true;
}

size_t count_meshes(std::string_view json) {
  const size_t bracket = find_after_key(json, "meshes", '[');
  return bracket == npos ? 0 : scan_array(json, bracket, -1).object_count;
}

// "Mesh 0: vertices=24 indices=36 color=(0.800000,0.800000,0.800000)\n"
std::string describe_mesh(size_t index, const MeshData& mesh) {
  std::ostringstream line(std::ios_base::out);  // the constructor without a mode is newer than many boards' libstdc++
  line.imbue(std::locale::classic());
  line.setf(std::ios::fixed);
  line.precision(6);
  line << "Mesh " << index << ": vertices=" << mesh.positions.size() / 3 << " indices=" << mesh.indices.size()
       << " color=(" << mesh.color[0] << "," << mesh.color[1] << "," << mesh.color[2] << ")\n";
  return line.str();
}

// Adds the meshes of the file that has these bytes.
bool add_meshes(const std::vector<uint8_t>& bytes, GLBModel& model, std::string* log) {
  std::string json;
  BinChunk bin = {};
  if (!read_container(bytes, json, bin, log)) return false;

  const size_t mesh_count = count_meshes(json);
  append(log, "Found " + std::to_string(mesh_count) + " meshes\n");
  for (size_t i = 0; i < mesh_count; ++i) {
    MeshData mesh;
    std::string mesh_log;
    if (load_mesh_primitive(json, bin, static_cast<int>(i), mesh, &mesh_log)) {
      model.meshes.push_back(mesh);
      append(log, describe_mesh(i, mesh));
    } else {
      append(log, "Failed to load mesh " + std::to_string(i) + ": " + mesh_log + "\n");
    }
  }
  return !model.meshes.empty();
}

}  // namespace

// ---- Entry points ------------------------------------------------------------------------------------------

bool load_glb_model(const std::string& path, GLBModel& model, std::string* log) {
  model.meshes.clear();
  std::vector<uint8_t> bytes;
  if (!read_file(path, bytes)) {
    append(log, "fail: read file\n");
    return false;
  }
  return add_meshes(bytes, model, log);
}

bool load_glb_mesh(const std::string& path, MeshData& mesh, std::string* log) {
  GLBModel model;
  if (!load_glb_model(path, model, log)) return false;
  if (model.meshes.empty()) {
    append(log, "fail: no meshes loaded\n");
    return false;
  }
  mesh = model.meshes.front();
  return true;
}
