#ifndef MODEL_TOOL_SIMPLIFY_H_
#define MODEL_TOOL_SIMPLIFY_H_

#include <cstddef>
#include <vector>

#include "model_tool/flat_mesh.h"

namespace model_tool {

/// Drops the vertices that change the shape least, until `most` are left or no more can go; borders between colours
/// stay closed. `crease`: for normals, where they have to be computed anew (see FillNormals).
///
/// Returns by how far the shape has moved at most, as a share of its longest side.
double Simplify(std::vector<FlatMesh>& meshes, size_t most, double crease);

}  // namespace model_tool

#endif  // MODEL_TOOL_SIMPLIFY_H_
