#ifndef MODEL_GLB_LOADER_H_
#define MODEL_GLB_LOADER_H_

#include <array>
#include <cstdint>
#include <string>
#include <vector>

/// The colour of a mesh whose material gives none: r, g, b, a.
inline constexpr std::array<float, 4> kDefaultMeshColor = {0.8f, 0.8f, 0.8f, 1.0f};

/// One triangle mesh of one colour.
///
/// Shape    positions and normals: x, y, z per vertex, packed; indices: three vertex numbers per triangle,
///          counter-clockwise seen from the front; color: r, g, b, a.
/// Units    positions as in the file; normals of unit length; colour components usually 0 to 1, not clamped.
struct MeshData {
  std::vector<float> positions;
  std::vector<float> normals;     // as long as positions once decoded
  std::vector<uint32_t> indices;  // may be empty: see load_glb_model
  std::array<float, 4> color = kDefaultMeshColor;
};

/// A model: its meshes in the file's order, without those that could not be decoded.
struct GLBModel {
  std::vector<MeshData> meshes;
};

/// Loads a binary glTF 2.0 file (.glb): of each mesh the first primitive, as triangles, with its base colour.
///
/// Positions and normals are floats, indices unsigned 16 or 32 bits; normals that the file does not give (or gives
/// in another form) are computed, smooth and weighted by area. A primitive without indices gets its vertices in
/// order when its normals had to be computed, and stays without indices otherwise. Nodes, textures, skins,
/// animations, sparse and compressed data are ignored. Numbers and names are picked out of the JSON text by
/// scanning it, which well-formed files do not notice.
///
/// `path` names a regular file or a link to one; anything else is not read, nor waited for. `model` is emptied first,
/// whatever happens then. `log` may be null; messages are appended to it, one per line.
///
/// Thread   any; touches nothing but its arguments.
/// Failure  false and a message in `log` (three broken lengths in the container are silent): no mesh could be
///          decoded. A mesh that reaches outside the file's binary data, or has an index that names no vertex, is
///          left out with a message. Throws std::invalid_argument and std::out_of_range where the JSON has no
///          number or one out of range in a number's place, and what allocations throw.
[[nodiscard]] bool load_glb_model(const std::string& path, GLBModel& model, std::string* log);

/// Loads the first mesh of the file that can be decoded.
///
/// Failure  as load_glb_model; `mesh` is then untouched.
[[nodiscard]] bool load_glb_mesh(const std::string& path, MeshData& mesh, std::string* log);

#endif  // MODEL_GLB_LOADER_H_
