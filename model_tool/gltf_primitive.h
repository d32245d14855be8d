#ifndef MODEL_TOOL_GLTF_PRIMITIVE_H_
#define MODEL_TOOL_GLTF_PRIMITIVE_H_

#include <array>
#include <cstdint>
#include <map>
#include <vector>

#include "model_tool/geometry.h"
#include "model_tool/gltf_file.h"

namespace model_tool {

/// The triangles of a primitive where its mesh has them, in its rest pose.
struct Vertices {
  std::vector<Vec3> positions;
  std::vector<Vec3> normals;                                     // empty: the file gives none
  std::map<int, std::vector<std::array<float, 2>>> coordinates;  // of textures, by their set
  std::vector<std::array<float, 4>> colors;                      // linear light and alpha; empty: none
  std::vector<uint32_t> indices;                                 // three per triangle; all name a vertex
  bool posed = false;                                            // the positions are the world's: a skin placed them
  bool mirrored = false;                                         // and turned its inside out
};

/// Whether the primitive consists of triangles, and not of lines or points.
bool HasTriangles(const tinygltf::Primitive& primitive);

/// Reads a primitive. `node` (-1: none) gives the weights of its morph targets and its skin; `world` has the transform
/// of each node.
///
/// Failure  ToolError.
Vertices ReadPrimitive(const GltfFile& file, const tinygltf::Mesh& mesh, const tinygltf::Primitive& primitive, int node,
                       const std::vector<Transform>& world);

}  // namespace model_tool

#endif  // MODEL_TOOL_GLTF_PRIMITIVE_H_
