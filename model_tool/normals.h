#ifndef MODEL_TOOL_NORMALS_H_
#define MODEL_TOOL_NORMALS_H_

#include "model_tool/scene.h"

namespace model_tool {

/// Gives normals to the corners that have none: the mean of the faces around the corner, each counting with its angle
/// there. Faces that meet at more than `crease` degrees do not count for each other, so that edges stay sharp.
void FillNormals(Part& part, double crease);

}  // namespace model_tool

#endif  // MODEL_TOOL_NORMALS_H_
