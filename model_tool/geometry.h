// Vectors and matrices, in double precision: positions go through long chains of transforms.

#ifndef MODEL_TOOL_GEOMETRY_H_
#define MODEL_TOOL_GEOMETRY_H_

#include <array>
#include <cmath>

namespace model_tool {

struct Vec3 {
  double x = 0;
  double y = 0;
  double z = 0;
};

inline Vec3 operator+(const Vec3& a, const Vec3& b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
inline Vec3 operator-(const Vec3& a, const Vec3& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
inline Vec3 operator*(double factor, const Vec3& a) { return {factor * a.x, factor * a.y, factor * a.z}; }

inline double Dot(const Vec3& a, const Vec3& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
inline Vec3 Cross(const Vec3& a, const Vec3& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
inline double Length(const Vec3& a) { return std::sqrt(Dot(a, a)); }
inline bool IsFinite(const Vec3& a) { return std::isfinite(a.x) && std::isfinite(a.y) && std::isfinite(a.z); }

/// Of unit length; zero where `a` has no direction.
inline Vec3 Normalized(const Vec3& a) {
  const double length = Length(a);
  return length > 0 && std::isfinite(length) ? (1 / length) * a : Vec3();
}

/// An affine transform: three columns for the axes and one for the origin.
struct Transform {
  Vec3 x = {1, 0, 0};
  Vec3 y = {0, 1, 0};
  Vec3 z = {0, 0, 1};
  Vec3 origin;

  Vec3 Direction(const Vec3& v) const { return v.x * x + v.y * y + v.z * z; }
  Vec3 Point(const Vec3& v) const { return Direction(v) + origin; }

  /// What the transform makes of a surface's normal, of unit length. A mirrored surface keeps its outside.
  Vec3 Normal(const Vec3& v) const {
    const Vec3 turned = v.x * Cross(y, z) + v.y * Cross(z, x) + v.z * Cross(x, y);
    return Normalized((Mirrors() ? -1.0 : 1.0) * turned);
  }

  bool Mirrors() const { return Dot(Cross(x, y), z) < 0; }
};

/// First `inner`, then `outer`.
inline Transform operator*(const Transform& outer, const Transform& inner) {
  return {outer.Direction(inner.x), outer.Direction(inner.y), outer.Direction(inner.z), outer.Point(inner.origin)};
}

/// From the 16 numbers of a matrix, column by column.
inline Transform TransformFromMatrix(const std::array<double, 16>& m) {
  return {{m[0], m[1], m[2]}, {m[4], m[5], m[6]}, {m[8], m[9], m[10]}, {m[12], m[13], m[14]}};
}

/// Scaled, then turned by the quaternion x, y, z, w (of any length but zero), then moved.
inline Transform TransformFromParts(const Vec3& translation, const std::array<double, 4>& rotation, const Vec3& scale) {
  const auto [x, y, z, w] = rotation;
  const double square = x * x + y * y + z * z + w * w;
  const double two = square > 0 ? 2 / square : 0;
  Transform result;
  result.x = scale.x * Vec3{1 - two * (y * y + z * z), two * (x * y + z * w), two * (x * z - y * w)};
  result.y = scale.y * Vec3{two * (x * y - z * w), 1 - two * (x * x + z * z), two * (y * z + x * w)};
  result.z = scale.z * Vec3{two * (x * z + y * w), two * (y * z - x * w), 1 - two * (x * x + y * y)};
  result.origin = translation;
  return result;
}

}  // namespace model_tool

#endif  // MODEL_TOOL_GEOMETRY_H_
