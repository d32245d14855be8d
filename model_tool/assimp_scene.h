#ifndef MODEL_TOOL_ASSIMP_SCENE_H_
#define MODEL_TOOL_ASSIMP_SCENE_H_

#include <string>

#include "model_tool/scene.h"

namespace model_tool {

/// Reads a model in any format that assimp knows: OBJ, STL, PLY, FBX, COLLADA, 3MF and others. Colours in these are
/// what a screen is given.
///
/// Failure  ToolError.
Scene ReadAssimpScene(const std::string& path);

}  // namespace model_tool

#endif  // MODEL_TOOL_ASSIMP_SCENE_H_
