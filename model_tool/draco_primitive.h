#ifndef MODEL_TOOL_DRACO_PRIMITIVE_H_
#define MODEL_TOOL_DRACO_PRIMITIVE_H_

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "model_tool/gltf_file.h"

namespace model_tool {

/// A primitive's data as KHR_draco_mesh_compression keeps it.
struct DracoData {
  struct Attribute {
    size_t components = 0;
    std::vector<float> numbers;
  };
  size_t vertex_count = 0;
  std::vector<uint32_t> indices;  // of triangles
  std::map<std::string, Attribute> attributes;
};

bool IsDraco(const tinygltf::Primitive& primitive);

/// Failure  ToolError.
DracoData DecodeDraco(const GltfFile& file, const tinygltf::Primitive& primitive);

}  // namespace model_tool

#endif  // MODEL_TOOL_DRACO_PRIMITIVE_H_
