#ifndef TEST_PLUGIN_DOUBLE_MATRICES_H_
#define TEST_PLUGIN_DOUBLE_MATRICES_H_

#include <array>
#include <cmath>
#include <cstddef>

// The scene's matrices once more, in double precision and row by row: what those of the plug-in are compared with.

using Rows = std::array<std::array<double, 4>, 4>;

inline constexpr double kRadiansPerDegree = 0.017453292519943295769;

inline Rows operator*(const Rows& a, const Rows& b) {
  Rows product = {};
  for (size_t row = 0; row < 4; ++row) {
    for (size_t column = 0; column < 4; ++column) {
      for (size_t k = 0; k < 4; ++k) product[row][column] += a[row][k] * b[k][column];
    }
  }
  return product;
}

inline Rows Moved(double x, double y, double z) { return {{{1, 0, 0, x}, {0, 1, 0, y}, {0, 0, 1, z}, {0, 0, 0, 1}}}; }
inline Rows Scaled(double k) { return {{{k, 0, 0, 0}, {0, k, 0, 0}, {0, 0, k, 0}, {0, 0, 0, 1}}}; }

// The turn by `degrees` about an axis of unit length, after Rodrigues.
inline Rows Turned(const std::array<double, 3>& axis, double degrees) {
  const double c = std::cos(degrees * kRadiansPerDegree);
  const double s = std::sin(degrees * kRadiansPerDegree);
  const auto [x, y, z] = axis;
  return {{{c + x * x * (1 - c), x * y * (1 - c) - z * s, x * z * (1 - c) + y * s, 0},
           {y * x * (1 - c) + z * s, c + y * y * (1 - c), y * z * (1 - c) - x * s, 0},
           {z * x * (1 - c) - y * s, z * y * (1 - c) + x * s, c + z * z * (1 - c), 0},
           {0, 0, 0, 1}}};
}

inline constexpr std::array<double, 3> kXAxis = {1, 0, 0};
inline constexpr std::array<double, 3> kYAxis = {0, 1, 0};
inline constexpr std::array<double, 3> kZAxis = {0, 0, 1};

inline const Rows kIdentity = Scaled(1);

// 60 degrees from top to bottom, 4:3, from 0.1 to 100.
inline Rows Perspective() {
  const double cotangent = 1 / std::tan(30 * kRadiansPerDegree);
  return {{{cotangent / (4.0 / 3.0), 0, 0, 0},
           {0, cotangent, 0, 0},
           {0, 0, -100.1 / 99.9, -2 * 100 * 0.1 / 99.9},
           {0, 0, -1, 0}}};
}

#endif  // TEST_PLUGIN_DOUBLE_MATRICES_H_
