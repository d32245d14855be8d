#include "model_tool/simplify.h"

#include <meshoptimizer.h>

#include <algorithm>

#include "model_tool/normals.h"

namespace model_tool {

namespace {

// All meshes as one, so that the borders between them are simplified on both sides alike. Two vertices of different
// meshes in one place are to meshoptimizer what the two sides of a seam are, which it keeps closed.
struct Whole {
  std::vector<FlatMesh::Vertex> vertices;
  std::vector<size_t> mesh_of_vertex;
  std::vector<unsigned int> indices;
};

Whole Join(const std::vector<FlatMesh>& meshes) {
  Whole whole;
  for (size_t i = 0; i < meshes.size(); ++i) {
    const auto first = static_cast<unsigned int>(whole.vertices.size());
    whole.vertices.insert(whole.vertices.end(), meshes[i].vertices.begin(), meshes[i].vertices.end());
    whole.mesh_of_vertex.resize(whole.vertices.size(), i);
    for (const uint32_t index : meshes[i].indices) whole.indices.push_back(first + index);
  }
  return whole;
}

std::vector<FlatMesh> Split(const Whole& whole, const std::vector<unsigned int>& indices,
                            const std::vector<FlatMesh>& meshes) {
  std::vector<FlatMesh> result(meshes.size());
  std::vector<uint32_t> number(whole.vertices.size());
  for (size_t i = 0; i < meshes.size(); ++i) result[i].color = meshes[i].color;
  for (size_t i = 0; i < whole.vertices.size(); ++i) {
    FlatMesh& mesh = result[whole.mesh_of_vertex[i]];
    number[i] = static_cast<uint32_t>(mesh.vertices.size());
    mesh.vertices.push_back(whole.vertices[i]);
  }
  for (size_t i = 0; i < indices.size(); i += 3) {
    FlatMesh& mesh = result[whole.mesh_of_vertex[indices[i]]];
    for (size_t k = 0; k < 3; ++k) mesh.indices.push_back(number[indices[i + k]]);
  }
  for (FlatMesh& mesh : result) {
    if (!mesh.indices.empty()) Optimize(mesh);
  }
  result.erase(std::remove_if(result.begin(), result.end(), [](const FlatMesh& mesh) { return mesh.indices.empty(); }),
               result.end());
  return result;
}

struct Attempt {
  std::vector<FlatMesh> meshes;
  double error = 0;
};

// To about so many triangles' corners.
Attempt Reduce(const Whole& whole, const std::vector<FlatMesh>& meshes, size_t target) {
  std::vector<unsigned int> indices(whole.indices.size());
  float error = 0;
  indices.resize(meshopt_simplify(indices.data(), whole.indices.data(), whole.indices.size(),
                                  &whole.vertices[0].position.x, whole.vertices.size(), sizeof(FlatMesh::Vertex),
                                  target / 3 * 3, 1.0f, 0, &error));
  return {Split(whole, indices, meshes), static_cast<double>(error)};
}

// New normals, which the vertices' number depends on.
std::vector<FlatMesh> WithNormals(const std::vector<FlatMesh>& meshes, double crease) {
  Scene scene = TakeApart(meshes);
  for (Part& part : scene.parts) FillNormals(part, crease);
  return JoinByColor(scene);
}

std::vector<FlatMesh> WithoutNormals(const std::vector<FlatMesh>& meshes) {
  Scene scene = TakeApart(meshes);
  for (Triangle& triangle : scene.parts.front().triangles) triangle.normals = {};
  return JoinByColor(scene);
}

// Tries ever smaller targets; `finish` makes of an attempt what counts.
template <typename Finish>
bool ReduceTo(size_t most, const std::vector<FlatMesh>& meshes, const Finish& finish, Attempt& best) {
  const Whole whole = Join(meshes);
  size_t target = whole.indices.size();
  size_t count = VertexCount(finish(meshes));
  constexpr int kRounds = 12;
  for (int round = 0; round < kRounds && count > most; ++round) {
    target = static_cast<size_t>(static_cast<double>(target) * static_cast<double>(most) / static_cast<double>(count) *
                                 0.98);
    if (target < 3) break;
    Attempt attempt = Reduce(whole, meshes, target);
    if (attempt.meshes.empty()) break;
    attempt.meshes = finish(attempt.meshes);
    count = VertexCount(attempt.meshes);
    if (best.meshes.empty() || count < VertexCount(best.meshes)) best = std::move(attempt);
  }
  return count <= most;
}

}  // namespace

double Simplify(std::vector<FlatMesh>& meshes, size_t most, double crease) {
  if (VertexCount(meshes) <= most) return 0;
  Attempt best;
  if (!ReduceTo(
          most, meshes, [](const std::vector<FlatMesh>& found) { return found; }, best)) {
    // Sharp edges hold on to their vertices as long as these have normals of their own.
    const std::vector<FlatMesh> bare = WithoutNormals(meshes);
    best = {};
    if (!ReduceTo(
            most, bare, [&](const std::vector<FlatMesh>& found) { return WithNormals(found, crease); }, best)) {
      constexpr double kAnyAngle = 180;
      Attempt smooth;
      ReduceTo(
          most, bare, [&](const std::vector<FlatMesh>& found) { return WithNormals(found, kAnyAngle); }, smooth);
      if (!smooth.meshes.empty() && (best.meshes.empty() || VertexCount(smooth.meshes) < VertexCount(best.meshes))) {
        best = std::move(smooth);
      }
    }
  }
  if (best.meshes.empty()) return 0;
  meshes = std::move(best.meshes);
  return best.error;
}

}  // namespace model_tool
