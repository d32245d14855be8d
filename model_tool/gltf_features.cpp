#include "model_tool/gltf_features.h"

#include <nlohmann/json.hpp>
#include <set>

#include "model_tool/draco_primitive.h"

namespace model_tool {

namespace {

using Json = nlohmann::json;

const tinygltf::Accessor* Find(const GltfFile& file, int accessor) {
  const bool there = accessor >= 0 && static_cast<size_t>(accessor) < file.model.accessors.size();
  return there ? &file.model.accessors[static_cast<size_t>(accessor)] : nullptr;
}

const tinygltf::Accessor* FindAttribute(const GltfFile& file, const tinygltf::Primitive& primitive, const char* name) {
  const auto found = primitive.attributes.find(name);
  return found == primitive.attributes.end() ? nullptr : Find(file, found->second);
}

// How often each thing occurs.
struct Counts {
  size_t further_primitives = 0, strips = 0, lines = 0;
  size_t narrow_indices = 0, without_indices = 0, quantised = 0, sparse = 0, draco = 0;
  size_t vertex_colors = 0, morphs = 0;
};

void Count(const GltfFile& file, const tinygltf::Primitive& primitive, Counts& counts) {
  if (primitive.mode < TINYGLTF_MODE_TRIANGLES) ++counts.lines;
  if (primitive.mode > TINYGLTF_MODE_TRIANGLES) ++counts.strips;
  if (IsDraco(primitive)) {
    ++counts.draco;
    return;
  }
  const tinygltf::Accessor* const positions = FindAttribute(file, primitive, "POSITION");
  const tinygltf::Accessor* const indices = Find(file, primitive.indices);
  if (positions != nullptr && positions->componentType != TINYGLTF_COMPONENT_TYPE_FLOAT) ++counts.quantised;
  if (positions != nullptr && positions->sparse.isSparse) ++counts.sparse;
  if (indices != nullptr && indices->componentType == TINYGLTF_COMPONENT_TYPE_UNSIGNED_BYTE) ++counts.narrow_indices;
  if (indices == nullptr && FindAttribute(file, primitive, "NORMAL") != nullptr) ++counts.without_indices;
  if (FindAttribute(file, primitive, "COLOR_0") != nullptr) ++counts.vertex_colors;
  if (!primitive.targets.empty()) ++counts.morphs;
}

bool IsTextured(const tinygltf::Material& material) {
  const auto specular = material.extensions.find("KHR_materials_pbrSpecularGlossiness");
  return material.pbrMetallicRoughness.baseColorTexture.index >= 0 ||
         (specular != material.extensions.end() && specular->second.Has("diffuseTexture"));
}

// The words that the loader looks for, wherever they stand.
const std::set<std::string>& LoadersWords() {
  static const std::set<std::string> words = {"meshes",
                                              "primitives",
                                              "attributes",
                                              "indices",
                                              "material",
                                              "POSITION",
                                              "NORMAL",
                                              "accessors",
                                              "bufferViews",
                                              "bufferView",
                                              "byteOffset",
                                              "byteStride",
                                              "count",
                                              "componentType",
                                              "type",
                                              "buffer",
                                              "byteLength",
                                              "materials",
                                              "pbrMetallicRoughness",
                                              "baseColorFactor"};
  return words;
}

// Texts that the loader takes for keys or for structure. `inside`: of a value that is no business of the loader's, keys
// count as well.
size_t Traps(const Json& value, bool inside) {
  size_t count = 0;
  if (value.is_string()) {
    const auto& text = value.get_ref<const std::string&>();
    count += LoadersWords().count(text) != 0 || text.find_first_of("{}[]\"") != std::string::npos ? 1 : 0;
  }
  if (value.is_array()) {
    for (const Json& element : value) count += Traps(element, inside);
  }
  if (value.is_object()) {
    for (const auto& [key, member] : value.items()) {
      if (inside && LoadersWords().count(key) != 0) ++count;
      count += Traps(member, inside || key == "extras");
    }
  }
  return count;
}

}  // namespace

std::vector<Finding> UnknownFeatures(const GltfFile& file) {
  Counts counts;
  for (const tinygltf::Mesh& mesh : file.model.meshes) {
    if (mesh.primitives.size() > 1) counts.further_primitives += mesh.primitives.size() - 1;
    for (const tinygltf::Primitive& primitive : mesh.primitives) Count(file, primitive, counts);
  }
  size_t textured = 0;
  for (const tinygltf::Material& material : file.model.materials) textured += IsTextured(material) ? 1 : 0;
  size_t outside = 0;
  for (size_t i = 0; i < file.model.buffers.size(); ++i) {
    outside += file.named_buffers[i] ? 1 : 0;
  }
  size_t instanced = 0;
  for (const tinygltf::Node& node : file.model.nodes) instanced += node.extensions.count("EXT_mesh_gpu_instancing");
  const Json json = Json::parse(file.json, nullptr, false);

  using Severity = Finding::Severity;
  const std::vector<Finding> all = {
      {Severity::kWrong, "primitives", counts.further_primitives,
       "primitives that are not drawn: of each mesh the plug-in draws the first one only"},
      {Severity::kWrong, "textures", textured, "materials with a texture, which become one flat colour"},
      {Severity::kWrong, "vertex_colors", counts.vertex_colors, "primitives with vertex colours, which are not read"},
      {Severity::kWrong, "draco", counts.draco, "primitives compressed by Draco, which cannot be read"},
      {Severity::kWrong, "meshopt", file.decoded_views.size(), "views compressed by meshopt, which cannot be read"},
      {Severity::kWrong, "quantised", counts.quantised, "primitives with quantised positions, which cannot be read"},
      {Severity::kWrong, "sparse", counts.sparse, "primitives with sparse positions, whose changes are not read"},
      {Severity::kWrong, "strips", counts.strips, "primitives of strips or fans, which are drawn as single triangles"},
      {Severity::kWrong, "lines", counts.lines, "primitives of lines or points, which are drawn as triangles"},
      {Severity::kWrong, "narrow_indices", counts.narrow_indices, "primitives with 8-bit indices, which are not read"},
      {Severity::kWrong, "without_indices", counts.without_indices,
       "primitives with normals and no indices, which are not drawn"},
      {Severity::kWrong, "external_buffers", outside, "buffers outside of the binary data, which are not read"},
      {Severity::kWrong, "skins", file.model.skins.size(), "skins, which are not read"},
      {Severity::kWrong, "morphs", counts.morphs, "primitives with morph targets, which are not read"},
      {Severity::kWrong, "gpu_instances", instanced, "nodes with instances, which are not read"},
      {Severity::kWrong, "text_traps", json.is_discarded() ? 0 : Traps(json, false),
       "names or texts in its JSON that the plug-in takes for something else"},
  };
  std::vector<Finding> found;
  for (const Finding& finding : all) {
    if (finding.count != 0) found.push_back(finding);
  }
  return found;
}

}  // namespace model_tool
