#ifndef MODEL_GLB_CONTAINER_H_
#define MODEL_GLB_CONTAINER_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "model/glb_loader.h"

// The bytes of a .glb file: its two chunks, and all meshes in them.
namespace glb {

/// How many meshes the JSON text has.
size_t count_meshes(std::string_view json);

/// Adds the meshes of the file that has these bytes; otherwise as load_glb_model.
bool add_meshes(const std::vector<uint8_t>& bytes, GLBModel& model, std::string* log);

}  // namespace glb

#endif  // MODEL_GLB_CONTAINER_H_
