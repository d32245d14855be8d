#include "model/mesh_primitive.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>

#include "model/json_scanning.h"
#include "model/load_log.h"

namespace glb {

using namespace json_scanning;

namespace {

// ---- Accessors ---------------------------------------------------------------------------------------------

constexpr int kFloat = 5126;
constexpr int kUnsignedInt = 5125;
constexpr int kUnsignedShort = 5123;

constexpr size_t kVec3Bytes = 3 * sizeof(float);

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

bool check_inside(const BinChunk& bin, const ElementRange& range, const char* attribute, std::string* log) {
  if (range.end() <= bin.size) return true;
  append(log, std::string("fail: ") + attribute + " outside BIN: needs bytes " + std::to_string(range.offset) + " to " +
                  std::to_string(range.end()) + " of " + std::to_string(bin.size) + "\n");
  return false;
}

bool is_float_vec3(const AccessorInfo& accessor) { return accessor.componentType == kFloat && accessor.type == "VEC3"; }

// Copies an accessor of three floats per vertex.
//
// Like all loops over vertices it stays out of line: after as many early returns as a mesh has, the compiler takes a
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

}  // namespace

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

// ---- Primitives --------------------------------------------------------------------------------------------

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

}  // namespace glb
