#ifndef MODEL_TOOL_GLTF_NODES_H_
#define MODEL_TOOL_GLTF_NODES_H_

#include <optional>
#include <vector>

#include "model_tool/geometry.h"
#include "model_tool/gltf_file.h"

namespace model_tool {

/// A mesh in one place.
struct PlacedMesh {
  int mesh = -1;
  int node = -1;  // -1: of a file without nodes
  Transform transform;
};

/// Where each node of the file stands in the world.
///
/// Failure  ToolError: the nodes are no tree, or a transform is broken.
std::vector<Transform> WorldTransforms(const GltfFile& file);

/// The meshes of a scene in order, instances (EXT_mesh_gpu_instancing too) one by one. Of a file without scenes all
/// nodes are meant, of one without nodes all meshes.
///
/// `scene`: its number; none: the file's default one.
/// Failure  ToolError.
std::vector<PlacedMesh> PlaceMeshes(const GltfFile& file, const std::vector<Transform>& world,
                                    std::optional<int> scene);

}  // namespace model_tool

#endif  // MODEL_TOOL_GLTF_NODES_H_
