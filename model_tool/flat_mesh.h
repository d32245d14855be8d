#ifndef MODEL_TOOL_FLAT_MESH_H_
#define MODEL_TOOL_FLAT_MESH_H_

#include <cstdint>
#include <vector>

#include "model_tool/scene.h"

namespace model_tool {

/// What the plug-in draws at once: triangles of one colour.
struct FlatMesh {
  struct Vertex {
    Point position;
    Point normal;
  };

  Color color;  // linear light
  std::vector<Vertex> vertices;
  std::vector<uint32_t> indices;  // three per triangle
};

/// Joins the triangles of each colour into one mesh; corners that are the same become one vertex. Meshes stand in the
/// order in which their colours first occur.
std::vector<FlatMesh> JoinByColor(const Scene& scene);

/// The triangles of the meshes, in one part.
Scene TakeApart(const std::vector<FlatMesh>& meshes);

/// How many vertices the meshes have together.
size_t VertexCount(const std::vector<FlatMesh>& meshes);

/// Orders vertices and triangles as a GPU likes them, and drops vertices that no triangle has.
void Optimize(FlatMesh& mesh);

}  // namespace model_tool

#endif  // MODEL_TOOL_FLAT_MESH_H_
