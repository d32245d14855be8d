#ifndef MODEL_TOOL_GLB_WRITER_H_
#define MODEL_TOOL_GLB_WRITER_H_

#include <string>
#include <vector>

#include "model_tool/flat_mesh.h"

namespace model_tool {

/// What a file that this program wrote has in `asset.generator`, at its beginning.
inline constexpr char kGenerator[] = "orbisk_model prepare";

/// The bytes of a .glb file that the plug-in shows as it is meant: each mesh has one primitive, packed floats, indices,
/// and a material whose base colour is what the screen is given (the plug-in writes it out as it is). No name or word
/// occurs in its JSON that could be taken for another one. The same meshes give the same bytes.
///
/// Failure  ToolError: more than a .glb file can have.
std::string WriteGlb(const std::vector<FlatMesh>& meshes);

}  // namespace model_tool

#endif  // MODEL_TOOL_GLB_WRITER_H_
