#include "model_tool/gltf_nodes.h"

#include <algorithm>
#include <string>

#include "model_tool/gltf_accessor.h"
#include "model_tool/tool_error.h"

namespace model_tool {

namespace {

std::string NameOf(size_t node) { return "nodes[" + std::to_string(node) + "]"; }

Transform LocalTransform(const tinygltf::Node& node, size_t index) {
  const auto numbers = [&](const std::vector<double>& values, size_t count) {
    if (!values.empty() && values.size() != count) throw ToolError(NameOf(index) + " has a broken transform");
    return !values.empty();
  };
  if (numbers(node.matrix, 16)) {
    std::array<double, 16> matrix;
    std::copy_n(node.matrix.begin(), 16, matrix.begin());
    return TransformFromMatrix(matrix);
  }
  Vec3 translation;
  std::array<double, 4> rotation = {0, 0, 0, 1};
  Vec3 scale = {1, 1, 1};
  if (numbers(node.translation, 3)) translation = {node.translation[0], node.translation[1], node.translation[2]};
  if (numbers(node.rotation, 4)) std::copy_n(node.rotation.begin(), 4, rotation.begin());
  if (numbers(node.scale, 3)) scale = {node.scale[0], node.scale[1], node.scale[2]};
  return TransformFromParts(translation, rotation, scale);
}

// The parent of each node, or none.
std::vector<std::optional<size_t>> Parents(const std::vector<tinygltf::Node>& nodes) {
  std::vector<std::optional<size_t>> parents(nodes.size());
  for (size_t i = 0; i < nodes.size(); ++i) {
    for (const int child : nodes[i].children) {
      if (child < 0 || static_cast<size_t>(child) >= nodes.size()) {
        throw ToolError(NameOf(i) + " has a child that does not exist: " + std::to_string(child));
      }
      std::optional<size_t>& parent = parents[static_cast<size_t>(child)];
      if (parent) throw ToolError(NameOf(static_cast<size_t>(child)) + " has two parents; its nodes are no tree");
      parent = i;
    }
  }
  return parents;
}

std::vector<int> Roots(const GltfFile& file, std::optional<int> wanted) {
  const std::vector<tinygltf::Scene>& scenes = file.model.scenes;
  if (!scenes.empty()) {
    const int scene = wanted.value_or(file.model.defaultScene < 0 ? 0 : file.model.defaultScene);
    if (scene < 0 || static_cast<size_t>(scene) >= scenes.size()) {
      throw ToolError("it has no scene " + std::to_string(scene) + ", but " + std::to_string(scenes.size()));
    }
    return scenes[static_cast<size_t>(scene)].nodes;
  }
  if (wanted) throw ToolError("it has no scene " + std::to_string(*wanted) + ", and none at all");
  std::vector<int> roots;
  const auto parents = Parents(file.model.nodes);
  for (size_t i = 0; i < parents.size(); ++i) {
    if (!parents[i]) roots.push_back(static_cast<int>(i));
  }
  return roots;
}

std::vector<Transform> Instances(const GltfFile& file, const tinygltf::Node& node) {
  const auto extension = node.extensions.find("EXT_mesh_gpu_instancing");
  if (extension == node.extensions.end()) return {Transform()};
  const tinygltf::Value& attributes = extension->second.Get("attributes");
  size_t count = 0;
  const auto read = [&](const char* name, size_t components) {
    std::vector<float> numbers;
    if (!attributes.Has(name)) return numbers;
    const tinygltf::Value& accessor = attributes.Get(name);
    if (!accessor.IsInt()) throw ToolError("EXT_mesh_gpu_instancing: broken attributes");
    numbers = ReadFloats(file, accessor.Get<int>(), components);
    count = std::max(count, numbers.size() / components);
    return numbers;
  };
  const std::vector<float> translations = read("TRANSLATION", 3);
  const std::vector<float> rotations = read("ROTATION", 4);
  const std::vector<float> scales = read("SCALE", 3);
  for (const auto& [numbers, components] :
       {std::pair(&translations, size_t{3}), std::pair(&rotations, size_t{4}), std::pair(&scales, size_t{3})}) {
    if (!numbers->empty() && numbers->size() != count * components) {
      throw ToolError("EXT_mesh_gpu_instancing: attributes of different length");
    }
  }
  std::vector<Transform> instances;
  for (size_t i = 0; i < count; ++i) {
    const auto vec3 = [i](const std::vector<float>& values, const Vec3& otherwise) {
      return values.empty() ? otherwise : Vec3{values[3 * i], values[3 * i + 1], values[3 * i + 2]};
    };
    std::array<double, 4> rotation = {0, 0, 0, 1};
    if (!rotations.empty()) std::copy_n(rotations.begin() + static_cast<std::ptrdiff_t>(4 * i), 4, rotation.begin());
    instances.push_back(TransformFromParts(vec3(translations, {}), rotation, vec3(scales, {1, 1, 1})));
  }
  return instances;
}

}  // namespace

std::vector<Transform> WorldTransforms(const GltfFile& file) {
  const std::vector<tinygltf::Node>& nodes = file.model.nodes;
  const std::vector<std::optional<size_t>> parents = Parents(nodes);
  std::vector<size_t> order;  // parents before their children; a deep tree would exhaust the stack of a recursion
  for (size_t i = 0; i < nodes.size(); ++i) {
    if (!parents[i]) order.push_back(i);
  }
  std::vector<Transform> world(nodes.size());
  for (size_t i = 0; i < order.size(); ++i) {
    const size_t node = order[i];
    world[node] = LocalTransform(nodes[node], node);
    if (parents[node]) world[node] = world[*parents[node]] * world[node];
    for (const int child : nodes[node].children) order.push_back(static_cast<size_t>(child));
  }
  if (order.size() != nodes.size()) throw ToolError("its nodes form a ring: a node is its own ancestor");
  return world;
}

std::vector<PlacedMesh> PlaceMeshes(const GltfFile& file, const std::vector<Transform>& world,
                                    std::optional<int> scene) {
  const std::vector<tinygltf::Node>& nodes = file.model.nodes;
  std::vector<PlacedMesh> placed;
  if (nodes.empty() && file.model.scenes.empty() && !scene) {
    for (size_t i = 0; i < file.model.meshes.size(); ++i) placed.push_back({static_cast<int>(i), -1, Transform()});
    return placed;
  }
  std::vector<int> pending = Roots(file, scene);
  std::reverse(pending.begin(), pending.end());
  std::vector<bool> met(nodes.size());
  while (!pending.empty()) {
    const int index = pending.back();
    pending.pop_back();
    if (index < 0 || static_cast<size_t>(index) >= nodes.size()) {
      throw ToolError("its scene names a node that does not exist: " + std::to_string(index));
    }
    const auto node = static_cast<size_t>(index);
    if (met[node]) throw ToolError("its scene names " + NameOf(node) + " twice");
    met[node] = true;
    if (nodes[node].mesh >= 0) {
      if (static_cast<size_t>(nodes[node].mesh) >= file.model.meshes.size()) {
        throw ToolError(NameOf(node) + " names a mesh that does not exist: " + std::to_string(nodes[node].mesh));
      }
      for (const Transform& instance : Instances(file, nodes[node])) {
        placed.push_back({nodes[node].mesh, index, world[node] * instance});
      }
    }
    pending.insert(pending.end(), nodes[node].children.rbegin(), nodes[node].children.rend());
  }
  return placed;
}

}  // namespace model_tool
