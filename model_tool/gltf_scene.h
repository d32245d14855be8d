#ifndef MODEL_TOOL_GLTF_SCENE_H_
#define MODEL_TOOL_GLTF_SCENE_H_

#include <optional>

#include "model_tool/gltf_file.h"
#include "model_tool/scene.h"

namespace model_tool {

/// What a .glb or .gltf file means: every triangle of the scene where it stands in the world, in its one colour.
///
/// `scene`: its number; none: the file's default one.
/// Failure  ToolError.
Scene ReadGltfScene(const GltfFile& file, std::optional<int> scene);

}  // namespace model_tool

#endif  // MODEL_TOOL_GLTF_SCENE_H_
