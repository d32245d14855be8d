#ifndef MODEL_TOOL_TRIANGLE_SINK_H_
#define MODEL_TOOL_TRIANGLE_SINK_H_

#include <array>
#include <optional>
#include <string>
#include <utility>

#include "model_tool/scene.h"
#include "model_tool/tool_error.h"

namespace model_tool {

/// Adds a part to a scene, triangle by triangle; leaves out what cannot be seen, and counts it.
class TriangleSink {
 public:
  struct Corners {
    std::array<Vec3, 3> positions;
    std::array<Vec3, 3> normals;
  };

  TriangleSink(std::string name, Scene& scene) : scene_(scene) {
    scene.parts.emplace_back();
    scene.parts.back().name = std::move(name);
  }
  ~TriangleSink() {
    if (scene_.parts.back().triangles.empty()) scene_.parts.pop_back();
  }
  TriangleSink(const TriangleSink&) = delete;
  TriangleSink& operator=(const TriangleSink&) = delete;

  /// `color` is a function that returns an optional LinearColor; it is called for triangles with an area only.
  template <typename ColorFunction>
  void Add(const Corners& corners, const ColorFunction& color) {
    Triangle triangle;
    for (size_t i = 0; i < 3; ++i) {
      triangle.positions[i] = ToPoint(corners.positions[i]);
      triangle.normals[i] = ToPoint(corners.normals[i]);
    }
    if (!HasArea(triangle)) {
      ++scene_.left_out.degenerate_triangles;
      return;
    }
    const std::optional<LinearColor> found = color();
    if (!found) {
      ++scene_.left_out.transparent_triangles;
      return;
    }
    triangle.color = {static_cast<float>(found->r), static_cast<float>(found->g), static_cast<float>(found->b)};
    // A few bytes of a file may ask for any number of copies of a large mesh.
    constexpr size_t kMost = 50'000'000;
    if (++scene_.triangle_count > kMost) {
      throw ToolError("it has more than " + std::to_string(kMost) + " triangles");
    }
    scene_.parts.back().triangles.push_back(triangle);
  }

 private:
  Scene& scene_;
};

}  // namespace model_tool

#endif  // MODEL_TOOL_TRIANGLE_SINK_H_
