#ifndef MODEL_MESH_PRIMITIVE_H_
#define MODEL_MESH_PRIMITIVE_H_

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "model/glb_loader.h"

// From the JSON text and the BIN data of a file to one of its meshes.
//
// Failure  numbers throw as json_scanning.h says.
namespace glb {

/// The data of the BIN chunk.
struct BinChunk {
  const uint8_t* data;
  uint64_t size;
};

/// One attribute's elements as they lie in the BIN chunk. All numbers come from 32-bit integers of the JSON, so no
/// product or sum of them reaches 2^64.
struct ElementRange {
  uint64_t offset;
  uint64_t stride;
  uint64_t count;
  uint64_t element_size;

  uint64_t end() const { return count == 0 ? offset : offset + (count - 1) * stride + element_size; }
};

/// The base colour of a material, or kDefaultMeshColor where it has none.
std::array<float, 4> load_material(std::string_view json, int material_index);

/// Decodes the first primitive of mesh number `mesh_index`. False: a message in `log`, or none where an accessor is
/// missing.
bool load_mesh_primitive(std::string_view json, const BinChunk& bin, int mesh_index, MeshData& mesh, std::string* log);

}  // namespace glb

#endif  // MODEL_MESH_PRIMITIVE_H_
