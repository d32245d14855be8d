// What a prepared model has to be: triangles in the world and their colours, computed here without any code of the
// program's, and what the plug-in's loader reads from the prepared file.

#ifndef TEST_MODEL_TOOL_REFERENCE_H_
#define TEST_MODEL_TOOL_REFERENCE_H_

#include <array>
#include <functional>
#include <string>
#include <vector>

#include "model/glb_loader.h"
#include "model_tool/prepare.h"
#include "test/model_tool/gltf_builder.h"
#include "test/support/files.h"

namespace model_tool_test {

using Place = std::array<double, 3>;

struct WorldTriangle {
  std::array<Place, 3> corners;
  Place color = {0.8, 0.8, 0.8};  // as the screen is given it
};

using PointFunction = std::function<Place(const Place&)>;

inline Place Same(const Place& place) { return place; }

/// The triangles that the indices make of the numbers, each place moved by `move`; `mirrored`: the other way round.
std::vector<WorldTriangle> Triangles(const std::vector<float>& numbers, const std::vector<uint16_t>& indices,
                                     const PointFunction& move = Same, bool mirrored = false);

/// The body of gltf_builder.h.
std::vector<WorldTriangle> TetrahedronTriangles(const PointFunction& move = Same, bool mirrored = false);

/// Turns about the quaternion x, y, z, w of unit length.
Place Rotated(const std::array<double, 4>& quaternion, const Place& place);

/// What the screen is given for an amount of light.
double Display(double light);

std::vector<WorldTriangle> InColor(std::vector<WorldTriangle> triangles, const Place& display);

/// A test's files, and what the program makes of them.
class PreparedFiles {
 public:
  TemporaryFolder folder;
  model_tool::PrepareOptions options;

  /// Prepares a file and loads what came out, which `check` has to find right.
  GLBModel Prepare(const Gltf& gltf) { return PrepareFile(folder.Write("in.glb", gltf.Glb())); }
  GLBModel PrepareFile(const std::string& path);

  std::string Out() const { return folder.PathOf("out.glb"); }
};

/// Fails where the model is not just these triangles, in any order, each with its front where it should be: corners
/// within `tolerance`, colours within 0.002 of what the screen is given. Its normals have to be of unit length and on
/// the front's side.
void ExpectTriangles(const GLBModel& model, std::vector<WorldTriangle> expected, double tolerance = 1e-5);

}  // namespace model_tool_test

#endif  // TEST_MODEL_TOOL_REFERENCE_H_
