// Orientations as text, and the base that makes the present one look level.

#include "host/orientation.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <vector>

namespace host {
namespace {

using Matrix = std::array<std::array<double, 3>, 3>;

Matrix Product(const Matrix& a, const Matrix& b) {
  Matrix product = {};
  for (size_t row = 0; row < 3; ++row) {
    for (size_t column = 0; column < 3; ++column) {
      for (size_t i = 0; i < 3; ++i) product[row][column] += a[row][i] * b[i][column];
    }
  }
  return product;
}

double Radians(double degrees) { return degrees * std::acos(-1.0) / 180.0; }

Matrix TurnX(double degrees) {
  const double c = std::cos(Radians(degrees)), s = std::sin(Radians(degrees));
  return {{{1, 0, 0}, {0, c, -s}, {0, s, c}}};
}
Matrix TurnY(double degrees) {
  const double c = std::cos(Radians(degrees)), s = std::sin(Radians(degrees));
  return {{{c, 0, s}, {0, 1, 0}, {-s, 0, c}}};
}
Matrix TurnZ(double degrees) {
  const double c = std::cos(Radians(degrees)), s = std::sin(Radians(degrees));
  return {{{c, -s, 0}, {s, c, 0}, {0, 0, 1}}};
}

// How the plug-in turns the scene, and the model for an orientation that came as angles.
Matrix Scene(const Angles& base) { return Product(TurnZ(base.yaw), Product(TurnY(base.roll), TurnX(base.pitch))); }
Matrix Model(const Angles& angles) {
  return Product(TurnX(angles.roll), Product(TurnY(angles.pitch), TurnZ(angles.yaw)));
}

void ExpectSame(const Matrix& actual, const Matrix& expected) {
  for (size_t row = 0; row < 3; ++row) {
    for (size_t column = 0; column < 3; ++column) EXPECT_NEAR(actual[row][column], expected[row][column], 1e-9);
  }
}

TEST(OrientationText, AnglesAreRoundedToWholeDegrees) {
  EXPECT_EQ(OrientationText(Angles{12.4, -3.5, 179.6}), "roll 12°  pitch -4°  yaw 180°");
}

TEST(OrientationText, NoMinusStandsBeforeZero) {
  EXPECT_EQ(OrientationText(Angles{-0.3, -0.0, 0.0}), "roll 0°  pitch 0°  yaw 0°");
}

TEST(OrientationText, QuaternionsAreTurnedIntoAngles) {
  const double h = std::sqrt(0.5);
  const struct {
    Quaternion quaternion;
    const char* text;
  } kCases[] = {
      {{0, 0, 0, 1}, "roll 0°  pitch 0°  yaw 0°"},
      {{h, 0, 0, h}, "roll 90°  pitch 0°  yaw 0°"},
      {{0, h, 0, h}, "roll 0°  pitch 90°  yaw 0°"},
      {{0, 0, h, h}, "roll 0°  pitch 0°  yaw 90°"},
      {{0, 0, -h, h}, "roll 0°  pitch 0°  yaw -90°"},
      {{5, 0, 0, 5}, "roll 90°  pitch 0°  yaw 0°"},  // of any length
      {{0, 0, 0, 0}, "roll 0°  pitch 0°  yaw 0°"},   // shown unrotated
      {{0.5, 0.5, 0.5, 0.5}, "roll 90°  pitch 0°  yaw 90°"},
  };
  for (const auto& c : kCases) EXPECT_EQ(OrientationText(c.quaternion), c.text);
}

TEST(BaseThatStraightens, MakesThePresentOrientationLookLevel) {
  const Angles kBases[] = {{0, 0, 0}, {0, -90, 0}, {20, 30, 40}};
  const Angles kOrientations[] = {{0, 0, 0},       {70, 0, 0}, {0, 0, -120}, {10, 20, 30},
                                  {-150, 60, 100}, {0, 90, 0}, {30, -90, 0}};
  for (const Angles& base : kBases) {
    for (const Angles& now : kOrientations) {
      ExpectSame(Product(Scene(BaseThatStraightens(now, base)), Model(now)), Scene(base));
    }
  }
}

TEST(BaseThatStraightens, TakesQuaternionsOfAnyLength) {
  const double h = std::sqrt(0.5);
  const Angles level = BaseThatStraightens(Quaternion{0, 0, 3 * h, 3 * h}, {});  // 90 degrees about Z
  EXPECT_NEAR(level.yaw, -90, 1e-9);
  EXPECT_NEAR(level.roll, 0, 1e-9);
  EXPECT_NEAR(level.pitch, 0, 1e-9);
}

}  // namespace
}  // namespace host
