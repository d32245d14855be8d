#ifndef MODEL_TOOL_GLTF_SCENE_H_
#define MODEL_TOOL_GLTF_SCENE_H_

#include <optional>
#include <string>

#include "model_tool/scene.h"

namespace model_tool {

/// Reads what a .glb or .gltf file means: every triangle of the scene where it stands in the world, in its one colour.
///
/// `scene`: its number; none: the file's default one.
/// Failure  ToolError.
Scene ReadGltfScene(const std::string& path, std::optional<int> scene);

}  // namespace model_tool

#endif  // MODEL_TOOL_GLTF_SCENE_H_
