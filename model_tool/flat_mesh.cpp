#include "model_tool/flat_mesh.h"

#include <meshoptimizer.h>

#include <map>
#include <tuple>

namespace model_tool {

namespace {

// Corners are compared by their bytes: -0 is 0.
Point WithoutMinusZero(const Point& point) { return {point.x + 0.0f, point.y + 0.0f, point.z + 0.0f}; }

void Weld(FlatMesh& mesh) {
  std::vector<FlatMesh::Vertex>& corners = mesh.vertices;
  mesh.indices.resize(corners.size());
  const size_t count = meshopt_generateVertexRemap(mesh.indices.data(), nullptr, corners.size(), corners.data(),
                                                   corners.size(), sizeof(FlatMesh::Vertex));
  std::vector<FlatMesh::Vertex> vertices(count);
  for (size_t i = 0; i < corners.size(); ++i) vertices[mesh.indices[i]] = corners[i];
  corners = std::move(vertices);
}

}  // namespace

std::vector<FlatMesh> JoinByColor(const Scene& scene) {
  std::vector<FlatMesh> meshes;
  std::map<std::tuple<float, float, float>, size_t> numbers;
  for (const Part& part : scene.parts) {
    for (const Triangle& triangle : part.triangles) {
      const Color& color = triangle.color;
      const auto found = numbers.emplace(std::tuple(color.r, color.g, color.b), meshes.size());
      if (found.second) meshes.push_back({color, {}, {}});
      FlatMesh& mesh = meshes[found.first->second];
      for (size_t i = 0; i < 3; ++i) {
        mesh.vertices.push_back({WithoutMinusZero(triangle.positions[i]), WithoutMinusZero(triangle.normals[i])});
      }
    }
  }
  for (FlatMesh& mesh : meshes) {
    Weld(mesh);
    Optimize(mesh);
  }
  return meshes;
}

Scene TakeApart(const std::vector<FlatMesh>& meshes) {
  Scene scene;
  scene.parts.emplace_back();
  for (const FlatMesh& mesh : meshes) {
    for (size_t i = 0; i < mesh.indices.size(); i += 3) {
      Triangle triangle;
      triangle.color = mesh.color;
      for (size_t k = 0; k < 3; ++k) {
        triangle.positions[k] = mesh.vertices[mesh.indices[i + k]].position;
        triangle.normals[k] = mesh.vertices[mesh.indices[i + k]].normal;
      }
      scene.parts.back().triangles.push_back(triangle);
    }
  }
  scene.triangle_count = scene.parts.back().triangles.size();
  return scene;
}

size_t VertexCount(const std::vector<FlatMesh>& meshes) {
  size_t count = 0;
  for (const FlatMesh& mesh : meshes) count += mesh.vertices.size();
  return count;
}

void Optimize(FlatMesh& mesh) {
  meshopt_optimizeVertexCache(mesh.indices.data(), mesh.indices.data(), mesh.indices.size(), mesh.vertices.size());
  std::vector<FlatMesh::Vertex> ordered(mesh.vertices.size());
  ordered.resize(meshopt_optimizeVertexFetch(ordered.data(), mesh.indices.data(), mesh.indices.size(),
                                             mesh.vertices.data(), mesh.vertices.size(), sizeof(FlatMesh::Vertex)));
  mesh.vertices = std::move(ordered);
}

}  // namespace model_tool
