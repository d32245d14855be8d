#ifndef PLUGIN_SCENE_TRANSFORM_H_
#define PLUGIN_SCENE_TRANSFORM_H_

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

#include "model/glb_loader.h"
#include "renderer/matrix4.h"

// From the viewer's numbers to matrices. Right-handed, column vectors, single precision; angles in degrees outside,
// radians inside. The camera stands on the +Z axis, looks towards -Z and has +Y up.

inline constexpr float kPi = 3.1415927f;

/// Hamilton quaternion, w the scalar part.
struct Quaternion {
  float x, y, z, w;
};

struct EulerDegrees {
  float roll, pitch, yaw;
};

/// Where a model lies and what scales it to a longest side of 1.5.
struct ModelFit {
  std::array<float, 3> center;
  float scale;
};

struct SineCosine {
  explicit SineCosine(float radians) { sincosf(radians, &sine, &cosine); }
  float sine, cosine;
};

// ---- Orientation -------------------------------------------------------------------------------------------

/// Angles of a unit quaternion; pitch stays within -90 to 90.
inline EulerDegrees QuaternionToEuler(const Quaternion& q) {
  const auto degrees = [](float radians) { return radians * 180.0f / kPi; };
  EulerDegrees angles;
  angles.roll = degrees(std::atan2(2.0f * (q.x * q.w + q.y * q.z), 1.0f - 2.0f * (q.x * q.x + q.y * q.y)));
  const float sine_of_pitch = 2.0f * (q.y * q.w - q.x * q.z);
  angles.pitch =
      std::abs(sine_of_pitch) >= 1.0f ? std::copysign(90.0f, sine_of_pitch) : degrees(std::asin(sine_of_pitch));
  angles.yaw = degrees(std::atan2(2.0f * (q.z * q.w + q.x * q.y), 1.0f - 2.0f * (q.y * q.y + q.z * q.z)));
  return angles;
}

/// The quaternion qx * qy * qz of turns by roll about X, pitch about Y and yaw about Z.
///
/// NOTE: not the inverse of QuaternionToEuler, which takes the turns in the other order; the two agree for a turn
/// about a single axis. OrientationTest.AnglesOfSeveralAxesDoNotReadBack holds it.
inline Quaternion EulerToQuaternion(const EulerDegrees& angles) {
  const auto half_radians = [](float degrees) { return degrees * kPi / 360.0f; };
  const SineCosine r(half_radians(angles.roll));
  const SineCosine p(half_radians(angles.pitch));
  const SineCosine y(half_radians(angles.yaw));
  Quaternion q;
  q.x = r.sine * p.cosine * y.cosine + r.cosine * p.sine * y.sine;
  q.y = r.cosine * p.sine * y.cosine - r.sine * p.cosine * y.sine;
  q.z = r.cosine * p.cosine * y.sine + r.sine * p.sine * y.cosine;
  q.w = r.cosine * p.cosine * y.cosine - r.sine * p.sine * y.sine;
  const float norm = std::sqrt(q.x * q.x + q.y * q.y + q.z * q.z + q.w * q.w);
  if (norm > 1e-6f) q = {q.x / norm, q.y / norm, q.z / norm, q.w / norm};
  return q;
}

// ---- Matrices ----------------------------------------------------------------------------------------------

inline Matrix4 MatrixFromRows(const std::array<std::array<float, 4>, 4>& rows) {
  Matrix4 matrix;
  for (size_t row = 0; row < 4; ++row) {
    for (size_t column = 0; column < 4; ++column) matrix.at(row, column) = rows[row][column];
  }
  return matrix;
}

inline Matrix4 Translation(float x, float y, float z) {
  return MatrixFromRows({{{1, 0, 0, x}, {0, 1, 0, y}, {0, 0, 1, z}, {0, 0, 0, 1}}});
}

inline Matrix4 UniformScale(float k) {
  return MatrixFromRows({{{k, 0, 0, 0}, {0, k, 0, 0}, {0, 0, k, 0}, {0, 0, 0, 1}}});
}

inline SineCosine SineCosineOfDegrees(float degrees) { return SineCosine(degrees * kPi / 180.0f); }

inline Matrix4 RotationX(float degrees) {
  const auto [s, c] = SineCosineOfDegrees(degrees);
  return MatrixFromRows({{{1, 0, 0, 0}, {0, c, -s, 0}, {0, s, c, 0}, {0, 0, 0, 1}}});
}

inline Matrix4 RotationY(float degrees) {
  const auto [s, c] = SineCosineOfDegrees(degrees);
  return MatrixFromRows({{{c, 0, s, 0}, {0, 1, 0, 0}, {-s, 0, c, 0}, {0, 0, 0, 1}}});
}

inline Matrix4 RotationZ(float degrees) {
  const auto [s, c] = SineCosineOfDegrees(degrees);
  return MatrixFromRows({{{c, -s, 0, 0}, {s, c, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}});
}

/// The rotation by a quaternion of any length; the identity when it has none.
inline Matrix4 Rotation(const Quaternion& q) {
  const float norm = std::sqrt(q.x * q.x + q.y * q.y + q.z * q.z + q.w * q.w);
  if (norm < 1e-6f) return UniformScale(1.0f);
  const float x = q.x / norm;
  const float y = q.y / norm;
  const float z = q.z / norm;
  const float w = q.w / norm;
  return MatrixFromRows({{{1 - 2 * (y * y + z * z), 2 * (x * y - z * w), 2 * (x * z + y * w), 0},
                          {2 * (x * y + z * w), 1 - 2 * (x * x + z * z), 2 * (y * z - x * w), 0},
                          {2 * (x * z - y * w), 2 * (y * z + x * w), 1 - 2 * (x * x + y * y), 0},
                          {0, 0, 0, 1}}});
}

/// The least and the greatest of what has been included, for each of several coordinates.
template <size_t count>
struct CoordinateBounds {
  CoordinateBounds() {
    low.fill(1e30f);
    high.fill(-1e30f);
  }
  void Include(const float* coordinates) {
    for (size_t i = 0; i < count; ++i) {
      // Strict comparisons: a coordinate that is not a number moves no bound.
      const float coordinate = coordinates[i];
      low[i] = coordinate < low[i] ? coordinate : low[i];
      high[i] = coordinate > high[i] ? coordinate : high[i];
    }
  }
  std::array<float, count> low, high;
};

/// Fits all meshes together by their bounding box. A model without extent keeps its size; one without vertices is
/// centred at the origin.
inline ModelFit FitModel(const GLBModel& model) {
  // Every frame passes over all vertices, so sixteen of them at a time: lanes that do not wait for each other, and so
  // many that the compiler makes vector instructions of their loop.
  constexpr size_t kLanes = 3 * 16;
  CoordinateBounds<kLanes> lanes;
  CoordinateBounds<3> bounds;
  for (const MeshData& mesh : model.meshes) {
    const float* const positions = mesh.positions.data();
    const size_t count = mesh.positions.size() - mesh.positions.size() % 3;
    size_t i = 0;
    for (; i + kLanes <= count; i += kLanes) lanes.Include(positions + i);
    for (; i < count; i += 3) bounds.Include(positions + i);
  }
  auto& [low, high] = bounds;
  for (size_t lane = 0; lane < kLanes; ++lane) {
    low[lane % 3] = std::min(low[lane % 3], lanes.low[lane]);
    high[lane % 3] = std::max(high[lane % 3], lanes.high[lane]);
  }
  const float extent = std::max({high[2] - low[2], high[1] - low[1], high[0] - low[0]});
  return {{(low[0] + high[0]) * 0.5f, (low[1] + high[1]) * 0.5f, (low[2] + high[2]) * 0.5f},
          extent > 1e-6f ? 1.5f / extent : 1.0f};
}

/// Centres the model, scales it, turns it by the current orientation.
inline Matrix4 ModelMatrix(const Quaternion& orientation, float scale, const std::array<float, 3>& center) {
  return Rotation(orientation) * (UniformScale(scale) * Translation(-center[0], -center[1], -center[2]));
}

/// Turns the whole scene by the reference orientation and moves it away from the camera.
///
/// NOTE: yaw turns about Z, roll about Y and pitch about X, unlike the current orientation's angles.
/// SceneTransformTest.BaseAnglesTurnAboutXThenYThenZThenMoveAway holds it.
inline Matrix4 ViewMatrix(const EulerDegrees& base, float camera_distance) {
  return Translation(0.0f, 0.0f, -camera_distance) *
         (RotationZ(base.yaw) * (RotationY(base.roll) * RotationX(base.pitch)));
}

/// A fixed perspective: 60 degrees from top to bottom, 4:3, from 0.1 to 100. A texture of another shape shows the
/// model stretched.
inline Matrix4 ProjectionMatrix() {
  return MatrixFromRows(
      {{{1.2990382f, 0, 0, 0}, {0, 1.7320509f, 0, 0}, {0, 0, -1.002002f, -0.2002002f}, {0, 0, -1, 0}}});
}

#endif  // PLUGIN_SCENE_TRANSFORM_H_
