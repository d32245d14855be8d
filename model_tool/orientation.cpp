#include "model_tool/orientation.h"

#include <algorithm>
#include <cctype>
#include <limits>

#include "model_tool/tool_error.h"

namespace model_tool {

namespace {

constexpr Vec3 kY = {0, 1, 0};
constexpr Vec3 kZ = {0, 0, 1};

bool OnOneLine(const Vec3& a, const Vec3& b) { return Length(Cross(a, b)) < 0.5; }

// Where Z is up, as in most CAD programs, the front view looks along +Y.
Vec3 UsualFront(const Vec3& up) { return OnOneLine(up, kZ) ? -1.0 * kY : kZ; }
Vec3 UsualUp(const Vec3& front) { return OnOneLine(front, kY) ? kZ : kY; }

template <typename Function>
void ForEachTriangle(Scene& scene, const Function& function) {
  for (Part& part : scene.parts) {
    for (Triangle& triangle : part.triangles) function(triangle);
  }
}

}  // namespace

std::optional<Vec3> AxisNamed(const std::string& text) {
  const bool sign = text.size() == 2 && (text[0] == '+' || text[0] == '-');
  if (!sign && text.size() != 1) return std::nullopt;
  const double length = text[0] == '-' ? -1 : 1;
  switch (std::toupper(static_cast<unsigned char>(text.back()))) {
    case 'X': return Vec3{length, 0, 0};
    case 'Y': return Vec3{0, length, 0};
    case 'Z': return Vec3{0, 0, length};
    default: return std::nullopt;
  }
}

void Turn(Scene& scene, std::optional<Vec3> wanted_up, std::optional<Vec3> wanted_front) {
  if (!wanted_up && !wanted_front) return;
  const Vec3 up = wanted_up ? *wanted_up : UsualUp(*wanted_front);
  const Vec3 front = wanted_front ? *wanted_front : UsualFront(up);
  if (OnOneLine(up, front)) throw ToolError("--up and --front lie on one line");
  const Vec3 right = Cross(up, front);
  const auto turned = [&](const Point& point) {
    const Vec3 v = ToVec3(point);
    return ToPoint({Dot(right, v), Dot(up, v), Dot(front, v)});
  };
  ForEachTriangle(scene, [&](Triangle& triangle) {
    std::transform(triangle.positions.begin(), triangle.positions.end(), triangle.positions.begin(), turned);
    std::transform(triangle.normals.begin(), triangle.normals.end(), triangle.normals.begin(), turned);
  });
}

void Center(Scene& scene) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  Vec3 low = {kInfinity, kInfinity, kInfinity};
  Vec3 high = {-kInfinity, -kInfinity, -kInfinity};
  ForEachTriangle(scene, [&](Triangle& triangle) {
    for (const Point& point : triangle.positions) {
      const Vec3 v = ToVec3(point);
      low = {std::min(low.x, v.x), std::min(low.y, v.y), std::min(low.z, v.z)};
      high = {std::max(high.x, v.x), std::max(high.y, v.y), std::max(high.z, v.z)};
    }
  });
  const Vec3 middle = 0.5 * (low + high);
  ForEachTriangle(scene, [&](Triangle& triangle) {
    for (Point& point : triangle.positions) point = ToPoint(ToVec3(point) - middle);
  });
}

}  // namespace model_tool
