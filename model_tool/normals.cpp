#include "model_tool/normals.h"

#include <meshoptimizer.h>

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace model_tool {

namespace {

constexpr double kPi = 3.14159265358979323846;

bool IsMissing(const Point& normal) {
  const double length = Length(ToVec3(normal));
  return !(length > 0.5 && length < 2);
}

// A number per corner, the same for corners in the same place.
std::vector<unsigned int> Places(const Part& part) {
  std::vector<Point> positions;
  positions.reserve(part.triangles.size() * 3);
  for (const Triangle& triangle : part.triangles) {
    for (const Point& position : triangle.positions) {
      positions.push_back({position.x + 0.0f, position.y + 0.0f, position.z + 0.0f});  // -0 is 0
    }
  }
  std::vector<unsigned int> places(positions.size());
  meshopt_generateVertexRemap(places.data(), nullptr, positions.size(), positions.data(), positions.size(),
                              sizeof(Point));
  return places;
}

// The corners in each place, as slices of one list.
struct Neighbours {
  explicit Neighbours(const std::vector<unsigned int>& places) : begin(places.size() + 1), corners(places.size()) {
    for (const unsigned int place : places) ++begin[place + 1];
    for (size_t i = 1; i < begin.size(); ++i) begin[i] += begin[i - 1];
    std::vector<size_t> next(begin.begin(), begin.end() - 1);
    for (size_t corner = 0; corner < places.size(); ++corner) corners[next[places[corner]]++] = corner;
  }
  std::vector<size_t> begin;
  std::vector<size_t> corners;
};

struct Face {
  Vec3 normal;
  std::array<double, 3> angles;
};

Face FaceOf(const Triangle& triangle) {
  std::array<Vec3, 3> positions;
  for (size_t i = 0; i < 3; ++i) positions[i] = ToVec3(triangle.positions[i]);
  Face face;
  face.normal = Normalized(Cross(positions[1] - positions[0], positions[2] - positions[0]));
  for (size_t i = 0; i < 3; ++i) {
    const Vec3 to_next = Normalized(positions[(i + 1) % 3] - positions[i]);
    const Vec3 to_last = Normalized(positions[(i + 2) % 3] - positions[i]);
    face.angles[i] = std::acos(std::clamp(Dot(to_next, to_last), -1.0, 1.0));
  }
  return face;
}

}  // namespace

void FillNormals(Part& part, double crease) {
  const bool missing = std::any_of(part.triangles.begin(), part.triangles.end(), [](const Triangle& triangle) {
    return std::any_of(triangle.normals.begin(), triangle.normals.end(), IsMissing);
  });
  if (!missing) return;
  const std::vector<unsigned int> places = Places(part);
  const Neighbours neighbours(places);
  std::vector<Face> faces;
  faces.reserve(part.triangles.size());
  for (const Triangle& triangle : part.triangles) faces.push_back(FaceOf(triangle));

  const double least = std::cos(crease * kPi / 180) - 1e-9;
  for (size_t corner = 0; corner < places.size(); ++corner) {
    Point& normal = part.triangles[corner / 3].normals[corner % 3];
    if (!IsMissing(normal)) continue;
    const Vec3& own = faces[corner / 3].normal;
    const size_t first = neighbours.begin[places[corner]];
    const size_t last = neighbours.begin[places[corner] + 1];
    // At the hub of a fan every face would be compared with every other one.
    constexpr size_t kMost = 1000;
    Vec3 sum;
    for (size_t i = first; i < last && last - first <= kMost; ++i) {
      const size_t other = neighbours.corners[i];
      const Face& face = faces[other / 3];
      if (Dot(own, face.normal) >= least) sum = sum + face.angles[other % 3] * face.normal;
    }
    const Vec3 mean = Normalized(sum);
    normal = ToPoint(Length(mean) > 0 ? mean : own);
  }
}

}  // namespace model_tool
