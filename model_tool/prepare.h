#ifndef MODEL_TOOL_PREPARE_H_
#define MODEL_TOOL_PREPARE_H_

#include <cstddef>
#include <optional>
#include <string>

#include "model_tool/geometry.h"
#include "model_tool/scene.h"

namespace model_tool {

/// What `orbisk_model prepare` is asked for.
struct PrepareOptions {
  std::string in;
  std::string out;
  std::optional<int> scene;
  size_t colors = 16;
  double crease = 40;                  // degrees
  std::optional<size_t> max_vertices;  // none: all
  std::optional<Vec3> up;
  std::optional<Vec3> front;
  bool center = false;
};

/// A model as the plug-in shows it right, and what was done to it.
struct Prepared {
  std::string glb;  // the file's bytes
  size_t meshes = 0;
  size_t vertices = 0;
  size_t triangles = 0;
  size_t colors = 0;
  size_t triangles_before = 0;  // of simplifying
  double error = 0;             // of simplifying, as a share of the longest side
};

/// Failure  ToolError.
Prepared PrepareScene(Scene scene, const PrepareOptions& options);

/// Reads, prepares and writes. What stands at `out` is a whole file, or what was there before.
///
/// Returns lines for a person. Failure: ToolError.
std::string Prepare(const PrepareOptions& options);

}  // namespace model_tool

#endif  // MODEL_TOOL_PREPARE_H_
