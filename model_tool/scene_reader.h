#ifndef MODEL_TOOL_SCENE_READER_H_
#define MODEL_TOOL_SCENE_READER_H_

#include <optional>
#include <string>

#include "model_tool/scene.h"

namespace model_tool {

/// Reads a model file of any kind that is known here, by what is in it.
///
/// `scene`: which one of a glTF file; none: its default one.
/// Failure  ToolError, also where there is nothing to see in it.
Scene ReadScene(const std::string& path, std::optional<int> scene);

}  // namespace model_tool

#endif  // MODEL_TOOL_SCENE_READER_H_
