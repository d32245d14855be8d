#include "test/model_tool/reference.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "model_tool/check.h"

namespace model_tool_test {

namespace {

constexpr double kColorTolerance = 0.002;

double Distance(const Place& a, const Place& b) { return std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]); }
Place Minus(const Place& a, const Place& b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }
Place CrossProduct(const Place& a, const Place& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
double DotProduct(const Place& a, const Place& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

std::string Describe(const WorldTriangle& triangle) {
  std::string text;
  for (const Place& corner : triangle.corners) {
    text += "(" + std::to_string(corner[0]) + " " + std::to_string(corner[1]) + " " + std::to_string(corner[2]) + ") ";
  }
  const Place& color = triangle.color;
  return text + "in " + std::to_string(color[0]) + " " + std::to_string(color[1]) + " " + std::to_string(color[2]);
}

Place PlaceAt(const std::vector<float>& numbers, size_t vertex) {
  return {numbers.at(3 * vertex), numbers.at(3 * vertex + 1), numbers.at(3 * vertex + 2)};
}

std::vector<WorldTriangle> TrianglesOf(const GLBModel& model) {
  std::vector<WorldTriangle> triangles;
  for (const MeshData& mesh : model.meshes) {
    for (size_t i = 0; i + 2 < mesh.indices.size(); i += 3) {
      WorldTriangle triangle;
      for (size_t k = 0; k < 3; ++k) {
        triangle.corners[k] = PlaceAt(mesh.positions, mesh.indices[i + k]);
        triangle.color[k] = mesh.color[k];
      }
      triangles.push_back(triangle);
      const auto& corners = triangle.corners;
      const Place face = CrossProduct(Minus(corners[1], corners[0]), Minus(corners[2], corners[0]));
      for (size_t k = 0; k < 3; ++k) {
        const Place normal = PlaceAt(mesh.normals, mesh.indices[i + k]);
        EXPECT_NEAR(std::sqrt(DotProduct(normal, normal)), 1, 1e-3);
        EXPECT_GT(DotProduct(normal, face), 0) << "a normal looks to the back of " << Describe(triangle);
      }
    }
  }
  return triangles;
}

// The same corners in the same sense, beginning anywhere.
bool Match(const WorldTriangle& a, const WorldTriangle& b, double tolerance) {
  if (Distance(a.color, b.color) > kColorTolerance) return false;
  for (size_t first = 0; first < 3; ++first) {
    bool near = true;
    for (size_t k = 0; k < 3; ++k) near = near && Distance(a.corners[k], b.corners[(first + k) % 3]) <= tolerance;
    if (near) return true;
  }
  return false;
}

double MiddleX(const WorldTriangle& triangle) {
  return (triangle.corners[0][0] + triangle.corners[1][0] + triangle.corners[2][0]) / 3;
}

}  // namespace

std::vector<WorldTriangle> Triangles(const std::vector<float>& numbers, const std::vector<uint16_t>& indices,
                                     const PointFunction& move, bool mirrored) {
  std::vector<WorldTriangle> triangles;
  for (size_t i = 0; i + 2 < indices.size(); i += 3) {
    WorldTriangle triangle;
    for (size_t k = 0; k < 3; ++k) triangle.corners[k] = move(PlaceAt(numbers, indices[i + k]));
    if (mirrored) std::swap(triangle.corners[0], triangle.corners[1]);
    triangles.push_back(triangle);
  }
  return triangles;
}

std::vector<WorldTriangle> TetrahedronTriangles(const PointFunction& move, bool mirrored) {
  return Triangles(kTetrahedron, kTetrahedronIndices, move, mirrored);
}

Place Rotated(const std::array<double, 4>& quaternion, const Place& place) {
  const Place axis = {quaternion[0], quaternion[1], quaternion[2]};
  const Place once = CrossProduct(axis, place);
  const Place twice = CrossProduct(axis, once);
  Place rotated;
  for (size_t i = 0; i < 3; ++i) rotated[i] = place[i] + 2 * quaternion[3] * once[i] + 2 * twice[i];
  return rotated;
}

double Display(double light) { return light <= 0.0031308 ? 12.92 * light : 1.055 * std::pow(light, 1 / 2.4) - 0.055; }

std::vector<WorldTriangle> InColor(std::vector<WorldTriangle> triangles, const Place& display) {
  for (WorldTriangle& triangle : triangles) triangle.color = display;
  return triangles;
}

GLBModel PreparedFiles::PrepareFile(const std::string& path) {
  options.in = path;
  options.out = Out();
  model_tool::Prepare(options);
  GLBModel model;
  std::string log;
  EXPECT_TRUE(load_glb_model(Out(), model, &log)) << log;
  EXPECT_EQ(log.find("fail"), std::string::npos) << log;
  model_tool::CheckOptions check;
  check.file = Out();
  const model_tool::CheckReport report = model_tool::Check(check);
  EXPECT_EQ(report.verdict, model_tool::CheckReport::Verdict::kRight) << ReportText(check, report);
  return model;
}

void ExpectTriangles(const GLBModel& model, std::vector<WorldTriangle> expected, double tolerance) {
  std::vector<WorldTriangle> found = TrianglesOf(model);
  EXPECT_EQ(found.size(), expected.size());
  const auto by_middle = [](const WorldTriangle& a, const WorldTriangle& b) { return MiddleX(a) < MiddleX(b); };
  std::sort(found.begin(), found.end(), by_middle);
  std::vector<bool> taken(found.size());
  int missing = 0;
  for (const WorldTriangle& triangle : expected) {
    const double middle = MiddleX(triangle);
    auto candidate = std::lower_bound(found.begin(), found.end(), middle - tolerance,
                                      [](const WorldTriangle& a, double x) { return MiddleX(a) < x; });
    for (; candidate != found.end() && MiddleX(*candidate) <= middle + tolerance; ++candidate) {
      const auto number = static_cast<size_t>(candidate - found.begin());
      if (taken[number] || !Match(triangle, *candidate, tolerance)) continue;
      taken[number] = true;
      break;
    }
    const bool there = candidate != found.end() && MiddleX(*candidate) <= middle + tolerance;
    if (!there && ++missing <= 3) ADD_FAILURE() << "missing: " << Describe(triangle);
  }
  if (missing == 0) return;
  int shown = 0;
  for (size_t i = 0; i < found.size(); ++i) {
    if (!taken[i] && ++shown <= 3) ADD_FAILURE() << "not expected: " << Describe(found[i]);
  }
}

}  // namespace model_tool_test
