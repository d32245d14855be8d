#ifndef MODEL_TOOL_ORIENTATION_H_
#define MODEL_TOOL_ORIENTATION_H_

#include <optional>
#include <string>

#include "model_tool/geometry.h"
#include "model_tool/scene.h"

namespace model_tool {

/// The axis that "+X", "-z", "Y" and so on name; none where `text` names none.
std::optional<Vec3> AxisNamed(const std::string& text);

/// Turns the model so that its axis `up` points up on the screen and `front` at the viewer, which are +Y and +Z for the
/// plug-in. Where one is not given, the usual one goes with the other.
///
/// Failure  ToolError: both lie on one line.
void Turn(Scene& scene, std::optional<Vec3> up, std::optional<Vec3> front);

/// Moves the middle of the model's bounding box to the origin. The plug-in does as much when it draws; in the file it
/// saves the digits that a place far out costs.
void Center(Scene& scene);

}  // namespace model_tool

#endif  // MODEL_TOOL_ORIENTATION_H_
