#include "model_tool/gltf_primitive.h"

#include <algorithm>
#include <optional>
#include <string>

#include "model_tool/draco_primitive.h"
#include "model_tool/gltf_accessor.h"
#include "model_tool/tool_error.h"

namespace model_tool {

namespace {

// ---- Attributes --------------------------------------------------------------------------------------------

// A primitive's attributes by name, compressed or not.
class Attributes {
 public:
  Attributes(const GltfFile& file, const tinygltf::Primitive& primitive) : file_(file), primitive_(primitive) {
    if (IsDraco(primitive)) draco_ = DecodeDraco(file, primitive);
  }

  const std::optional<DracoData>& draco() const { return draco_; }

  bool Has(const std::string& name) const { return FromDraco(name) != nullptr || Accessor(name) >= 0; }

  size_t VertexCount() const { return draco_ ? draco_->vertex_count : ElementCount(file_, Accessor("POSITION")); }

  // So many numbers per vertex; empty where there is no such attribute.
  std::vector<float> Numbers(const std::string& name, size_t components, float fill = 0) const {
    std::vector<float> numbers;
    if (const DracoData::Attribute* attribute = FromDraco(name)) {
      numbers.assign(VertexCount() * components, fill);
      for (size_t i = 0; i < VertexCount(); ++i) {
        for (size_t c = 0; c < std::min(components, attribute->components); ++c) {
          numbers[i * components + c] = attribute->numbers[i * attribute->components + c];
        }
      }
    } else if (Accessor(name) >= 0) {
      numbers = ReadFloats(file_, Accessor(name), components, fill);
      CheckCount(name, numbers.size() / components);
    }
    return numbers;
  }

  std::vector<uint32_t> Integers(const std::string& name, size_t components) const {
    if (FromDraco(name) != nullptr) {
      const std::vector<float> numbers = Numbers(name, components);
      std::vector<uint32_t> integers(numbers.size());
      std::transform(numbers.begin(), numbers.end(), integers.begin(),
                     [](float number) { return number > 0 ? static_cast<uint32_t>(number) : 0; });
      return integers;
    }
    std::vector<uint32_t> integers = ReadIntegers(file_, Accessor(name), components);
    CheckCount(name, integers.size() / components);
    return integers;
  }

 private:
  const DracoData::Attribute* FromDraco(const std::string& name) const {
    if (!draco_) return nullptr;
    const auto found = draco_->attributes.find(name);
    return found == draco_->attributes.end() ? nullptr : &found->second;
  }
  int Accessor(const std::string& name) const {
    const auto found = primitive_.attributes.find(name);
    return found == primitive_.attributes.end() ? -1 : found->second;
  }
  void CheckCount(const std::string& name, size_t count) const {
    if (count == VertexCount()) return;
    throw ToolError("a primitive has " + std::to_string(VertexCount()) + " vertices, but " + std::to_string(count) +
                    " of " + name);
  }

  const GltfFile& file_;
  const tinygltf::Primitive& primitive_;
  std::optional<DracoData> draco_;
};

std::vector<Vec3> AsVectors(const std::vector<float>& numbers) {
  std::vector<Vec3> vectors(numbers.size() / 3);
  for (size_t i = 0; i < vectors.size(); ++i) vectors[i] = {numbers[3 * i], numbers[3 * i + 1], numbers[3 * i + 2]};
  return vectors;
}

template <size_t kComponents>
std::vector<std::array<float, kComponents>> AsArrays(const std::vector<float>& numbers) {
  std::vector<std::array<float, kComponents>> arrays(numbers.size() / kComponents);
  for (size_t i = 0; i < arrays.size(); ++i) {
    std::copy_n(numbers.begin() + static_cast<std::ptrdiff_t>(i * kComponents), kComponents, arrays[i].begin());
  }
  return arrays;
}

// ---- Triangles ---------------------------------------------------------------------------------------------

// Of any mode of triangles, as a list.
std::vector<uint32_t> AsTriangleList(const std::vector<uint32_t>& corners, int mode) {
  std::vector<uint32_t> list;
  if (mode == TINYGLTF_MODE_TRIANGLES) {
    list.assign(corners.begin(), corners.end() - static_cast<std::ptrdiff_t>(corners.size() % 3));
    return list;
  }
  for (size_t i = 0; i + 2 < corners.size(); ++i) {
    if (mode == TINYGLTF_MODE_TRIANGLE_FAN) {
      list.insert(list.end(), {corners[0], corners[i + 1], corners[i + 2]});
    } else {
      const size_t odd = i % 2;  // every other triangle of a strip runs the other way round
      list.insert(list.end(), {corners[i], corners[i + 1 + odd], corners[i + 2 - odd]});
    }
  }
  return list;
}

std::vector<uint32_t> ReadTriangles(const GltfFile& file, const tinygltf::Primitive& primitive,
                                    const Attributes& attributes) {
  const size_t vertex_count = attributes.VertexCount();
  std::vector<uint32_t> corners;
  int mode = primitive.mode;
  if (attributes.draco()) {
    corners = attributes.draco()->indices;
    mode = TINYGLTF_MODE_TRIANGLES;
  } else if (primitive.indices >= 0) {
    corners = ReadIntegers(file, primitive.indices);
  } else {
    corners.resize(vertex_count);
    for (size_t i = 0; i < vertex_count; ++i) corners[i] = static_cast<uint32_t>(i);
  }
  std::vector<uint32_t> list = AsTriangleList(corners, mode);
  for (const uint32_t index : list) {
    if (index >= vertex_count) {
      throw ToolError("an index names vertex " + std::to_string(index) + " of " + std::to_string(vertex_count));
    }
  }
  return list;
}

// ---- Rest pose ---------------------------------------------------------------------------------------------

void Morph(const GltfFile& file, const tinygltf::Primitive& primitive, const std::vector<double>& weights,
           Vertices& vertices) {
  for (size_t i = 0; i < primitive.targets.size() && i < weights.size(); ++i) {
    if (weights[i] == 0) continue;
    const auto add = [&](const char* name, std::vector<Vec3>& to) {
      const auto target = primitive.targets[i].find(name);
      if (target == primitive.targets[i].end() || to.empty()) return;
      const std::vector<Vec3> offsets = AsVectors(ReadFloats(file, target->second, 3));
      if (offsets.size() != to.size()) throw ToolError("a morph target has another number of vertices than its mesh");
      for (size_t k = 0; k < to.size(); ++k) to[k] = to[k] + weights[i] * offsets[k];
    };
    add("POSITION", vertices.positions);
    add("NORMAL", vertices.normals);
  }
}

// From where each joint bound its vertices to where it stands.
std::vector<Transform> JointTransforms(const GltfFile& file, int index, const std::vector<Transform>& world) {
  if (static_cast<size_t>(index) >= file.model.skins.size()) throw ToolError("a node names a skin that does not exist");
  const tinygltf::Skin& skin = file.model.skins[static_cast<size_t>(index)];
  std::vector<std::array<float, 16>> inverse_binds;
  if (skin.inverseBindMatrices >= 0) {
    inverse_binds = AsArrays<16>(ReadFloats(file, skin.inverseBindMatrices, 16));
    if (inverse_binds.size() < skin.joints.size()) throw ToolError("a skin has fewer matrices than joints");
  }
  std::vector<Transform> transforms;
  for (size_t i = 0; i < skin.joints.size(); ++i) {
    const int joint = skin.joints[i];
    if (joint < 0 || static_cast<size_t>(joint) >= world.size()) {
      throw ToolError("a skin names a joint that does not exist");
    }
    Transform transform = world[static_cast<size_t>(joint)];
    if (!inverse_binds.empty()) {
      std::array<double, 16> matrix;
      std::copy(inverse_binds[i].begin(), inverse_binds[i].end(), matrix.begin());
      transform = transform * TransformFromMatrix(matrix);
    }
    transforms.push_back(transform);
  }
  return transforms;
}

void Pose(const Attributes& attributes, const std::vector<Transform>& joints, Vertices& vertices) {
  const size_t count = vertices.positions.size();
  std::vector<Vec3> positions(count);
  std::vector<Vec3> normals(vertices.normals.size());
  std::vector<double> sums(count);
  for (int set = 0; attributes.Has("JOINTS_" + std::to_string(set)); ++set) {
    const std::vector<uint32_t> names = attributes.Integers("JOINTS_" + std::to_string(set), 4);
    const std::vector<float> weights = attributes.Numbers("WEIGHTS_" + std::to_string(set), 4);
    if (weights.size() != names.size()) throw ToolError("a skinned primitive has joints without weights");
    for (size_t i = 0; i < names.size(); ++i) {
      if (weights[i] == 0) continue;
      if (names[i] >= joints.size()) throw ToolError("a vertex names a joint that does not exist");
      const double weight = weights[i];
      const Transform& joint = joints[names[i]];
      const size_t vertex = i / 4;
      sums[vertex] += weight;
      positions[vertex] = positions[vertex] + weight * joint.Point(vertices.positions[vertex]);
      if (!normals.empty()) {
        normals[vertex] = normals[vertex] + weight * joint.Normal(vertices.normals[vertex]);
      }
    }
  }
  for (size_t i = 0; i < count; ++i) {
    // Weights that are stored as small integers add up to nearly one.
    if (sums[i] > 0) vertices.positions[i] = (1 / sums[i]) * positions[i];
    if (sums[i] > 0 && !normals.empty()) vertices.normals[i] = Normalized(normals[i]);
  }
  vertices.posed = true;
  vertices.mirrored = !joints.empty() && joints.front().Mirrors();
}

}  // namespace

bool HasTriangles(const tinygltf::Primitive& primitive) {
  if (primitive.mode < TINYGLTF_MODE_POINTS || primitive.mode > TINYGLTF_MODE_TRIANGLE_FAN) {
    throw ToolError("a primitive has an unknown mode: " + std::to_string(primitive.mode));
  }
  return primitive.mode >= TINYGLTF_MODE_TRIANGLES;
}

Vertices ReadPrimitive(const GltfFile& file, const tinygltf::Mesh& mesh, const tinygltf::Primitive& primitive, int node,
                       const std::vector<Transform>& world) {
  const Attributes attributes(file, primitive);
  Vertices vertices;
  if (!attributes.Has("POSITION")) return vertices;  // allowed, and nothing to see
  vertices.positions = AsVectors(attributes.Numbers("POSITION", 3));
  vertices.normals = AsVectors(attributes.Numbers("NORMAL", 3));
  for (int set = 0; attributes.Has("TEXCOORD_" + std::to_string(set)); ++set) {
    vertices.coordinates[set] = AsArrays<2>(attributes.Numbers("TEXCOORD_" + std::to_string(set), 2));
  }
  vertices.colors = AsArrays<4>(attributes.Numbers("COLOR_0", 4, 1.0f));
  vertices.indices = ReadTriangles(file, primitive, attributes);

  const tinygltf::Node* const owner = node < 0 ? nullptr : &file.model.nodes[static_cast<size_t>(node)];
  Morph(file, primitive, owner == nullptr || owner->weights.empty() ? mesh.weights : owner->weights, vertices);
  if (owner != nullptr && owner->skin >= 0 && attributes.Has("JOINTS_0")) {
    Pose(attributes, JointTransforms(file, owner->skin, world), vertices);
  }
  return vertices;
}

}  // namespace model_tool
