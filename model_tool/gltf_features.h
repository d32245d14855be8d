#ifndef MODEL_TOOL_GLTF_FEATURES_H_
#define MODEL_TOOL_GLTF_FEATURES_H_

#include <vector>

#include "model_tool/finding.h"
#include "model_tool/gltf_file.h"

namespace model_tool {

/// What the file uses that the plug-in's loader does not know: each kind once, with how often it occurs.
std::vector<Finding> UnknownFeatures(const GltfFile& file);

}  // namespace model_tool

#endif  // MODEL_TOOL_GLTF_FEATURES_H_
