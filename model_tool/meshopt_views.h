#ifndef MODEL_TOOL_MESHOPT_VIEWS_H_
#define MODEL_TOOL_MESHOPT_VIEWS_H_

#include <cstdint>
#include <map>
#include <vector>

#include "model_tool/tinygltf.h"

namespace model_tool {

/// Decodes the views that are compressed by EXT_meshopt_compression; the result is by the view's number.
///
/// Failure  ToolError.
std::map<int, std::vector<uint8_t>> DecodeMeshoptViews(const tinygltf::Model& model);

}  // namespace model_tool

#endif  // MODEL_TOOL_MESHOPT_VIEWS_H_
