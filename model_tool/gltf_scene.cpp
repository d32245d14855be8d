#include "model_tool/gltf_scene.h"

#include <algorithm>

#include "model_tool/gltf_file.h"
#include "model_tool/gltf_material.h"
#include "model_tool/gltf_nodes.h"
#include "model_tool/gltf_primitive.h"
#include "model_tool/tool_error.h"
#include "model_tool/triangle_sink.h"

namespace model_tool {

namespace {

CornerColors ColorsOf(const Vertices& vertices, const Material& material, const std::array<uint32_t, 3>& corners) {
  CornerColors colors;
  const auto set = vertices.coordinates.find(material.coordinate_set);
  if (material.texture && set != vertices.coordinates.end()) {
    colors.coordinates.emplace();
    for (size_t i = 0; i < 3; ++i) {
      const std::array<float, 2>& uv = set->second[corners[i]];
      (*colors.coordinates)[i] = {uv[0], uv[1]};
    }
  }
  if (!vertices.colors.empty()) {
    colors.colors.emplace();
    for (size_t i = 0; i < 3; ++i) {
      const std::array<float, 4>& rgba = vertices.colors[corners[i]];
      (*colors.colors)[i] = {{rgba[0], rgba[1], rgba[2]}, rgba[3]};
    }
  }
  return colors;
}

void AddPrimitive(const Vertices& vertices, const Material& material, const Transform& place, TriangleSink& sink) {
  const Transform transform = vertices.posed ? Transform() : place;
  const bool mirrored = vertices.posed ? vertices.mirrored : place.Mirrors();
  for (size_t i = 0; i < vertices.indices.size(); i += 3) {
    std::array<uint32_t, 3> corners = {vertices.indices[i], vertices.indices[i + 1], vertices.indices[i + 2]};
    if (mirrored) std::swap(corners[1], corners[2]);
    TriangleSink::Corners triangle;
    for (size_t k = 0; k < 3; ++k) {
      triangle.positions[k] = transform.Point(vertices.positions[corners[k]]);
      if (!vertices.normals.empty()) triangle.normals[k] = transform.Normal(vertices.normals[corners[k]]);
    }
    sink.Add(triangle, [&] { return MeanColor(material, ColorsOf(vertices, material, corners)); });
  }
}

std::string NameOf(const GltfFile& file, const PlacedMesh& placed) {
  if (placed.node >= 0 && !file.model.nodes[static_cast<size_t>(placed.node)].name.empty()) {
    return file.model.nodes[static_cast<size_t>(placed.node)].name;
  }
  return file.model.meshes[static_cast<size_t>(placed.mesh)].name;
}

}  // namespace

Scene ReadGltfScene(const GltfFile& file, std::optional<int> number) {
  const std::vector<Transform> world = WorldTransforms(file);
  GltfMaterials materials(file);
  Scene scene;
  for (const PlacedMesh& placed : PlaceMeshes(file, world, number)) {
    const tinygltf::Mesh& mesh = file.model.meshes[static_cast<size_t>(placed.mesh)];
    for (const tinygltf::Primitive& primitive : mesh.primitives) {
      if (!HasTriangles(primitive)) {
        ++scene.left_out.line_and_point_primitives;
        continue;
      }
      const Vertices vertices = ReadPrimitive(file, mesh, primitive, placed.node, world);
      TriangleSink sink(NameOf(file, placed), scene);
      if (!vertices.indices.empty()) AddPrimitive(vertices, materials.Read(primitive.material), placed.transform, sink);
    }
  }
  return scene;
}

}  // namespace model_tool
