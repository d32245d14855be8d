#ifndef MODEL_TOOL_GLTF_ACCESSOR_H_
#define MODEL_TOOL_GLTF_ACCESSOR_H_

#include <cstdint>
#include <vector>

#include "model_tool/gltf_file.h"

// The elements of an accessor as numbers, whatever they are stored as: of any component type, normalised or not,
// interleaved, sparse, without a view (all zero).
//
// Failure  ToolError: no such accessor, of another shape, or reaching outside its data.
namespace model_tool {

/// How many elements an accessor has.
size_t ElementCount(const GltfFile& file, int accessor);

/// Elements of `components` numbers each; further ones in the file are left out, missing ones are `fill`.
std::vector<float> ReadFloats(const GltfFile& file, int accessor, size_t components, float fill = 0.0f);

/// Scalars that number something: indices, joints with `components` per element.
std::vector<uint32_t> ReadIntegers(const GltfFile& file, int accessor, size_t components = 1);

}  // namespace model_tool

#endif  // MODEL_TOOL_GLTF_ACCESSOR_H_
