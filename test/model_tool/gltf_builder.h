// Builds glTF files that are more than the plug-in's loader understands: nodes, textures, any accessor.

#ifndef TEST_MODEL_TOOL_GLTF_BUILDER_H_
#define TEST_MODEL_TOOL_GLTF_BUILDER_H_

#include <array>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "test/support/glb_builder.h"

namespace model_tool_test {

using Json = nlohmann::json;
using glb_builder::Bytes;
using glb_builder::BytesOf;

/// A file in the making. `json` is open for whatever a test wants otherwise.
struct Gltf {
  Json json = {{"asset", {{"version", "2.0"}}}};
  Bytes bin;

  /// A view of the bytes; returns its number, as all of these do.
  size_t View(const Bytes& bytes) {
    bin.resize((bin.size() + 3) / 4 * 4, glb_builder::kFiller);
    json["bufferViews"].push_back({{"buffer", 0}, {"byteOffset", bin.size()}, {"byteLength", bytes.size()}});
    glb_builder::Append(bin, bytes);
    return json["bufferViews"].size() - 1;
  }

  size_t Accessor(const Json& accessor) {
    json["accessors"].push_back(accessor);
    return json["accessors"].size() - 1;
  }
  template <typename Value>
  size_t Accessor(const std::vector<Value>& values, const char* type, size_t components, bool normalized = false) {
    Json accessor = {{"bufferView", View(BytesOf(values))},
                     {"componentType", ComponentType(Value())},
                     {"count", values.size() / components},
                     {"type", type}};
    if (normalized) accessor["normalized"] = true;
    return Accessor(accessor);
  }
  size_t Vec3s(const std::vector<float>& values) { return Accessor(values, "VEC3", 3); }
  size_t Vec2s(const std::vector<float>& values) { return Accessor(values, "VEC2", 2); }
  template <typename Index>
  size_t Indices(const std::vector<Index>& values) {
    return Accessor(values, "SCALAR", 1);
  }

  size_t Mesh(const std::vector<Json>& primitives) {
    json["meshes"].push_back({{"primitives", primitives}});
    return json["meshes"].size() - 1;
  }
  size_t Material(const Json& material) {
    json["materials"].push_back(material);
    return json["materials"].size() - 1;
  }
  size_t Node(const Json& node) {
    json["nodes"].push_back(node);
    return json["nodes"].size() - 1;
  }
  void Scene(const std::vector<size_t>& roots) { json["scenes"].push_back({{"nodes", roots}}); }

  /// The description with the buffer's length, and `uri` where it is not in the file.
  std::string Text(const std::string& uri = "") const {
    Json whole = json;
    if (!bin.empty() && !whole.contains("buffers")) {
      whole["buffers"].push_back({{"byteLength", bin.size()}});
      if (!uri.empty()) whole["buffers"][0]["uri"] = uri;
    }
    return whole.dump();
  }

  Bytes Glb() const { return glb_builder::Glb().Json(Text()).Bin(bin).Build(); }

 private:
  static int ComponentType(int8_t) { return 5120; }
  static int ComponentType(uint8_t) { return 5121; }
  static int ComponentType(int16_t) { return 5122; }
  static int ComponentType(uint16_t) { return 5123; }
  static int ComponentType(uint32_t) { return 5125; }
  static int ComponentType(float) { return 5126; }
};

/// A body of four sides, none like another.
inline const std::vector<float> kTetrahedron = {0, 0, 0, 1, 0, 0, 0, 2, 0, 0, 0, 3};
inline const std::vector<uint16_t> kTetrahedronIndices = {0, 2, 1, 0, 1, 3, 0, 3, 2, 1, 2, 3};

/// A primitive of that body.
inline Json Tetrahedron(Gltf& gltf) {
  return {{"attributes", {{"POSITION", gltf.Vec3s(kTetrahedron)}}}, {"indices", gltf.Indices(kTetrahedronIndices)}};
}

inline Json Colored(const std::array<double, 4>& factor) {
  return {{"pbrMetallicRoughness", {{"baseColorFactor", factor}}}};
}

}  // namespace model_tool_test

#endif  // TEST_MODEL_TOOL_GLTF_BUILDER_H_
