#ifndef MODEL_TOOL_SCENE_H_
#define MODEL_TOOL_SCENE_H_

#include <array>
#include <cstddef>
#include <string>
#include <vector>

#include "model_tool/color.h"
#include "model_tool/geometry.h"

namespace model_tool {

/// What a renderer is given per corner of a triangle.
struct Point {
  float x = 0;
  float y = 0;
  float z = 0;
};

inline Vec3 ToVec3(const Point& point) { return {point.x, point.y, point.z}; }
inline Point ToPoint(const Vec3& v) {
  return {static_cast<float>(v.x), static_cast<float>(v.y), static_cast<float>(v.z)};
}

struct Color {
  float r = 0;
  float g = 0;
  float b = 0;
};

/// Of one flat colour, counter-clockwise seen from the front.
struct Triangle {
  std::array<Point, 3> positions;
  std::array<Point, 3> normals;  // zero where the file gives none
  Color color;                   // linear light
};

/// Whether it is more than a line, as rounded to what is written: two corners may have become one.
inline bool HasArea(const Triangle& triangle) {
  const Vec3 a = ToVec3(triangle.positions[0]);
  const Vec3 ab = ToVec3(triangle.positions[1]) - a;
  const Vec3 ac = ToVec3(triangle.positions[2]) - a;
  const double area = Length(Cross(ab, ac));
  constexpr double kSliver = 1e-9;  // of the square of its sides: rounding alone makes as much
  return std::isfinite(area) && area > kSliver * (Dot(ab, ab) + Dot(ac, ac));
}

/// What stands together in the file: one primitive in one place. Surfaces are smoothed within a part.
struct Part {
  std::string name;
  std::vector<Triangle> triangles;
};

/// What of a file is not in its scene.
struct LeftOut {
  size_t line_and_point_primitives = 0;
  size_t degenerate_triangles = 0;
  size_t transparent_triangles = 0;
};

/// What a file means: triangles where they stand in the world.
struct Scene {
  std::vector<Part> parts;
  size_t triangle_count = 0;
  LeftOut left_out;
};

}  // namespace model_tool

#endif  // MODEL_TOOL_SCENE_H_
