// The formulas of lib/src/*.dart in C++, name by name: quaternions, angles, frames, mountings, zeros.

#ifndef TEST_FLUTTER_ORIENTATION_FORMULAS_H_
#define TEST_FLUTTER_ORIENTATION_FORMULAS_H_

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <stdexcept>
#include <string>

namespace formulas {

constexpr double kPi = 3.14159265358979323846;
constexpr double kDegreesPerRadian = 180 / kPi;
constexpr double kShortest = 1e-6;

// quaternion.dart

struct Quaternion {
  double x = 0, y = 0, z = 0, w = 1;
};

inline Quaternion operator*(const Quaternion& a, const Quaternion& b) {
  return {a.w * b.x + a.x * b.w + a.y * b.z - a.z * b.y, a.w * b.y - a.x * b.z + a.y * b.w + a.z * b.x,
          a.w * b.z + a.x * b.y - a.y * b.x + a.z * b.w, a.w * b.w - a.x * b.x - a.y * b.y - a.z * b.z};
}

inline Quaternion operator-(const Quaternion& q) { return {-q.x, -q.y, -q.z, -q.w}; }

inline Quaternion Conjugate(const Quaternion& q) { return {-q.x, -q.y, -q.z, q.w}; }

inline double Dot(const Quaternion& a, const Quaternion& b) { return a.x * b.x + a.y * b.y + a.z * b.z + a.w * b.w; }

inline Quaternion Normalized(const Quaternion& q) {
  const double length = std::sqrt(Dot(q, q));
  if (length < kShortest) return {};
  return {q.x / length, q.y / length, q.z / length, q.w / length};
}

inline Quaternion AboutAxis(double x, double y, double z, double radians) {
  const double length = std::sqrt(x * x + y * y + z * z);
  if (length < kShortest) return {};
  const double sine = std::sin(radians / 2) / length;
  return {x * sine, y * sine, z * sine, std::cos(radians / 2)};
}

inline double SineOf(const Quaternion& between) {
  return std::sqrt(between.x * between.x + between.y * between.y + between.z * between.z);
}

inline double AngleTo(const Quaternion& from, const Quaternion& to) {
  const Quaternion between = Conjugate(Normalized(from)) * Normalized(to);
  return 2 * std::atan2(SineOf(between), std::abs(between.w));
}

inline Quaternion Slerp(const Quaternion& first, const Quaternion& second, double t) {
  const Quaternion from = Normalized(first);
  const Quaternion target = Normalized(second);
  const Quaternion to = Dot(from, target) < 0 ? -target : target;
  const Quaternion between = Conjugate(from) * to;
  const double sine = SineOf(between);
  const double stretch = sine < 1e-9 ? t : std::sin(t * std::atan2(sine, between.w)) / sine;
  const double scalar = std::cos(t * std::atan2(sine, between.w));
  return Normalized(from * Quaternion{between.x * stretch, between.y * stretch, between.z * stretch, scalar});
}

// euler_angles.dart

struct EulerAngles {
  double roll = 0, pitch = 0, yaw = 0;
};

enum class AngleOrder { kZyx, kChannel };

inline EulerAngles AnglesOf(const Quaternion& orientation) {
  const Quaternion q = Normalized(orientation);
  const double sine_pitch = 2 * (q.w * q.y - q.x * q.z);
  if (std::abs(sine_pitch) > 1 - 1e-9) {
    const double roll = 2 * std::atan2(q.x, q.w) * kDegreesPerRadian;
    return {roll > 180 ? roll - 360 : (roll < -180 ? roll + 360 : roll), sine_pitch < 0 ? -90.0 : 90.0, 0};
  }
  return {std::atan2(2 * (q.w * q.x + q.y * q.z), 1 - 2 * (q.x * q.x + q.y * q.y)) * kDegreesPerRadian,
          std::asin(sine_pitch) * kDegreesPerRadian,
          std::atan2(2 * (q.w * q.z + q.x * q.y), 1 - 2 * (q.y * q.y + q.z * q.z)) * kDegreesPerRadian};
}

inline Quaternion ToQuaternion(const EulerAngles& angles, AngleOrder order = AngleOrder::kZyx) {
  const Quaternion about_x = AboutAxis(1, 0, 0, angles.roll / kDegreesPerRadian);
  const Quaternion about_y = AboutAxis(0, 1, 0, angles.pitch / kDegreesPerRadian);
  const Quaternion about_z = AboutAxis(0, 0, 1, angles.yaw / kDegreesPerRadian);
  return order == AngleOrder::kZyx ? about_z * about_y * about_x : about_x * about_y * about_z;
}

// earth_frame.dart

inline Quaternion FrameToViewer(const std::string& frame) {
  const double h = std::sqrt(0.5);
  static const std::map<std::string, Quaternion> kFrames = {
      {"view", {}}, {"enu", {-h, 0, 0, h}}, {"ned", {0.5, 0.5, -0.5, 0.5}}, {"nwu", {-0.5, 0.5, 0.5, 0.5}}};
  return kFrames.at(frame);
}

// mounting.dart

using Axis = std::array<double, 3>;

inline Quaternion ModelToSensor(const Axis& a, const Axis& b, const Axis& c) {
  const Axis third = {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
  if (third != c) throw std::invalid_argument("not the axes of a right hand");
  const double xx = 1 + a[0] - b[1] - c[2];
  const double yy = 1 - a[0] + b[1] - c[2];
  const double zz = 1 - a[0] - b[1] + c[2];
  const double ww = 1 + a[0] + b[1] + c[2];
  Quaternion to_columns;
  if (ww >= 1) {
    to_columns = {b[2] - c[1], c[0] - a[2], a[1] - b[0], ww};
  } else if (xx >= 1) {
    to_columns = {xx, a[1] + b[0], c[0] + a[2], b[2] - c[1]};
  } else if (yy >= 1) {
    to_columns = {a[1] + b[0], yy, b[2] + c[1], c[0] - a[2]};
  } else {
    to_columns = {c[0] + a[2], b[2] + c[1], zz, a[1] - b[0]};
  }
  return Conjugate(Normalized(to_columns));
}

// orientation_zero.dart

inline Quaternion HeadingOf(const Quaternion& view) {
  const double right = 2 * (view.x * view.z + view.y * view.w);
  const double near = 1 - 2 * (view.x * view.x + view.y * view.y);
  if (right * right + near * near < 0.0004) return Normalized({0, view.y, 0, view.w});
  return AboutAxis(0, 1, 0, std::atan2(right, near));
}

struct OrientationZero {
  Quaternion earth_side;
  Quaternion body_side;

  Quaternion Apply(const Quaternion& view) const { return Normalized(earth_side * Normalized(view) * body_side); }

  OrientationZero Full(const Quaternion& view) const {
    const Quaternion heading = HeadingOf(Normalized(view));
    return {Conjugate(heading), Normalized(Conjugate(Normalized(view)) * heading)};
  }
  OrientationZero Heading(const Quaternion& view) const {
    return {Conjugate(HeadingOf(Normalized(Normalized(view) * body_side))), body_side};
  }
  OrientationZero Mounting(const Quaternion& view) const {
    return {earth_side, Normalized(Conjugate(Normalized(view)) * HeadingOf(Normalized(view)))};
  }
};

}  // namespace formulas

#endif  // TEST_FLUTTER_ORIENTATION_FORMULAS_H_
