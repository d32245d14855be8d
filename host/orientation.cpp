#include "host/orientation.h"

#include <cmath>

namespace host {

namespace {

constexpr double kDegreesPerRadian = 57.29577951308232;

// Half the angle, for the quaternion of a turn about one axis.
double HalfRadians(double degrees) { return degrees / kDegreesPerRadian / 2.0; }

Quaternion TurnAboutX(double degrees) {
  return {std::sin(HalfRadians(degrees)), 0.0, 0.0, std::cos(HalfRadians(degrees))};
}
Quaternion TurnAboutY(double degrees) {
  return {0.0, std::sin(HalfRadians(degrees)), 0.0, std::cos(HalfRadians(degrees))};
}
Quaternion TurnAboutZ(double degrees) {
  return {0.0, 0.0, std::sin(HalfRadians(degrees)), std::cos(HalfRadians(degrees))};
}

// The Hamilton product: `b` is applied first.
Quaternion operator*(const Quaternion& a, const Quaternion& b) {
  return {a.w * b.x + a.x * b.w + a.y * b.z - a.z * b.y, a.w * b.y - a.x * b.z + a.y * b.w + a.z * b.x,
          a.w * b.z + a.x * b.y - a.y * b.x + a.z * b.w, a.w * b.w - a.x * b.x - a.y * b.y - a.z * b.z};
}

Quaternion Conjugate(const Quaternion& q) { return {-q.x, -q.y, -q.z, q.w}; }

Quaternion Normalized(const Quaternion& q) {
  const double length = std::sqrt(q.x * q.x + q.y * q.y + q.z * q.z + q.w * q.w);
  if (length < 1e-6) return {};  // the plug-in, too, shows such a one unrotated
  return {q.x / length, q.y / length, q.z / length, q.w / length};
}

// The turns about X, Y and Z, in degrees, that make up `q` when applied in this order about fixed axes.
struct AxisTurns {
  double x;
  double y;
  double z;
};

AxisTurns TurnsOf(const Quaternion& q) {
  const double sine_y = 2 * (q.w * q.y - q.x * q.z);
  if (std::abs(sine_y) > 1 - 1e-9) {
    // Straight up or down the turns about X and Z are one and the same: X takes all of it.
    return {2 * std::atan2(q.x, q.w) * kDegreesPerRadian, std::copysign(90.0, sine_y), 0.0};
  }
  return {std::atan2(2 * (q.w * q.x + q.y * q.z), 1 - 2 * (q.x * q.x + q.y * q.y)) * kDegreesPerRadian,
          std::asin(sine_y) * kDegreesPerRadian,
          std::atan2(2 * (q.w * q.z + q.x * q.y), 1 - 2 * (q.y * q.y + q.z * q.z)) * kDegreesPerRadian};
}

// The quaternion by which the plug-in turns the model.
Quaternion ModelRotation(const Orientation& orientation) {
  if (const auto* quaternion = std::get_if<Quaternion>(&orientation)) return Normalized(*quaternion);
  // NOTE: "setRotation" applies yaw first and roll last, the other way round from AnglesOf.
  const auto& angles = std::get<Angles>(orientation);
  return TurnAboutX(angles.roll) * TurnAboutY(angles.pitch) * TurnAboutZ(angles.yaw);
}

// The quaternion by which the plug-in turns the scene.
Quaternion SceneRotation(const Angles& base) {
  // NOTE: pitch about X and roll about Y, unlike the model's angles; "setBaseRotation" has it so.
  return TurnAboutZ(base.yaw) * TurnAboutY(base.roll) * TurnAboutX(base.pitch);
}

std::string WholeDegrees(double degrees) { return std::to_string(std::lround(degrees)) + "°"; }

}  // namespace

Angles AnglesOf(const Orientation& orientation) {
  if (const auto* angles = std::get_if<Angles>(&orientation)) return *angles;
  const AxisTurns turns = TurnsOf(Normalized(std::get<Quaternion>(orientation)));
  return {turns.x, turns.y, turns.z};
}

std::string OrientationText(const Orientation& orientation) {
  const Angles angles = AnglesOf(orientation);
  return "roll " + WholeDegrees(angles.roll) + "  pitch " + WholeDegrees(angles.pitch) + "  yaw " +
         WholeDegrees(angles.yaw);
}

Angles BaseThatStraightens(const Orientation& now, const Angles& base) {
  const AxisTurns turns = TurnsOf(Normalized(SceneRotation(base) * Conjugate(ModelRotation(now))));
  Angles straightening;
  straightening.roll = turns.y;
  straightening.pitch = turns.x;
  straightening.yaw = turns.z;
  return straightening;
}

}  // namespace host
