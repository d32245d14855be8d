// Quaternions to angles and back.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "plugin/scene_transform.h"

namespace {

constexpr double kDegreesPerRadian = 57.295779513082320877;

// Twice as wide as floats make necessary over a handful of operations: of the result, or of 1 where terms
// cancel out.
constexpr double kTolerance = 2e-6;

struct Angles {
  double roll, pitch, yaw;
};

// A quaternion in double precision, multiplied as Hamilton does.
struct Turn {
  double x, y, z, w;

  Turn operator*(const Turn& o) const {
    return {w * o.x + x * o.w + y * o.z - z * o.y, w * o.y - x * o.z + y * o.w + z * o.x,
            w * o.z + x * o.y - y * o.x + z * o.w, w * o.w - x * o.x - y * o.y - z * o.z};
  }
};

Turn AboutX(double degrees) {
  return {std::sin(degrees / 2 / kDegreesPerRadian), 0, 0, std::cos(degrees / 2 / kDegreesPerRadian)};
}
Turn AboutY(double degrees) {
  return {0, std::sin(degrees / 2 / kDegreesPerRadian), 0, std::cos(degrees / 2 / kDegreesPerRadian)};
}
Turn AboutZ(double degrees) {
  return {0, 0, std::sin(degrees / 2 / kDegreesPerRadian), std::cos(degrees / 2 / kDegreesPerRadian)};
}

Quaternion Narrowed(const Turn& turn) {
  return {static_cast<float>(turn.x), static_cast<float>(turn.y), static_cast<float>(turn.z),
          static_cast<float>(turn.w)};
}

void ExpectQuaternion(const Quaternion& actual, const Turn& expected) {
  EXPECT_NEAR(actual.x, expected.x, kTolerance);
  EXPECT_NEAR(actual.y, expected.y, kTolerance);
  EXPECT_NEAR(actual.z, expected.z, kTolerance);
  EXPECT_NEAR(actual.w, expected.w, kTolerance);
}

// `tolerance` in radians.
void ExpectAngles(const EulerDegrees& actual, const Angles& expected, double tolerance = kTolerance) {
  EXPECT_NEAR(actual.roll, expected.roll, tolerance * kDegreesPerRadian);
  EXPECT_NEAR(actual.pitch, expected.pitch, tolerance * kDegreesPerRadian);
  EXPECT_NEAR(actual.yaw, expected.yaw, tolerance * kDegreesPerRadian);
}

constexpr float kHalfRoot = 0.7071068f;
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

// ---- Quaternion to angles ---------------------------------------------------------------------------------

TEST(OrientationTest, TheIdentityHasZeroAngles) {
  const EulerDegrees angles = QuaternionToEuler({0, 0, 0, 1});
  EXPECT_EQ(angles.roll, 0.0f);
  EXPECT_EQ(angles.pitch, 0.0f);
  EXPECT_EQ(angles.yaw, 0.0f);
}

TEST(OrientationTest, QuarterTurnsHaveOneAngleOfNinety) {
  ExpectAngles(QuaternionToEuler({kHalfRoot, 0, 0, kHalfRoot}), {90, 0, 0});
  ExpectAngles(QuaternionToEuler({0, 0, kHalfRoot, kHalfRoot}), {0, 0, 90});
  ExpectAngles(QuaternionToEuler({-kHalfRoot, 0, 0, kHalfRoot}), {-90, 0, 0});
  ExpectAngles(QuaternionToEuler({0, 0, -kHalfRoot, kHalfRoot}), {0, 0, -90});
}

TEST(OrientationTest, AQuarterTurnAboutYHasAPitchOfExactlyNinety) {
  EXPECT_EQ(QuaternionToEuler({0, kHalfRoot, 0, kHalfRoot}).pitch, 90.0f);
  EXPECT_EQ(QuaternionToEuler({0, -kHalfRoot, 0, kHalfRoot}).pitch, -90.0f);
  EXPECT_EQ(QuaternionToEuler({-kHalfRoot, 0, kHalfRoot, 0}).pitch, 90.0f);
  EXPECT_EQ(QuaternionToEuler({kHalfRoot, 0, kHalfRoot, 0}).pitch, -90.0f);
}

TEST(OrientationTest, ASineOfPitchOfExactlyOneIsNinety) {
  // 2 * 0.5 * 1
  EXPECT_EQ(QuaternionToEuler({0, 0.5f, 0, 1}).pitch, 90.0f);
  EXPECT_EQ(QuaternionToEuler({0, 0.5f, 0, -1}).pitch, -90.0f);
}

TEST(OrientationTest, PitchStaysWithinNinetyForLongQuaternions) {
  EXPECT_EQ(QuaternionToEuler({0, 2, 0, 2}).pitch, 90.0f);
  EXPECT_EQ(QuaternionToEuler({3, 0, 3, 0}).pitch, -90.0f);
  EXPECT_EQ(QuaternionToEuler({1e20f, 0, -1e20f, 0}).pitch, 90.0f);  // the sine is infinite
}

TEST(OrientationTest, PitchNeverLeavesNinetyNearThePoles) {
  for (int step = -2000; step <= 2000; ++step) {
    const double degrees = 90.0 + step * 1e-4;
    const float pitch = QuaternionToEuler(Narrowed(AboutY(degrees))).pitch;
    EXPECT_LE(pitch, 90.0f) << degrees;
    EXPECT_GT(pitch, 89.7f) << degrees;
    const float opposite = QuaternionToEuler(Narrowed(AboutY(-degrees))).pitch;
    EXPECT_GE(opposite, -90.0f) << degrees;
    EXPECT_LT(opposite, -89.7f) << degrees;
  }
}

TEST(OrientationTest, PitchIsComputedUpToThePoles) {
  // The sine is flat here: its last bit is worth some thousandths of a degree.
  for (const double degrees : {88.0, 89.0, 89.3, 89.6, 89.8, -88.0, -89.0, -89.3, -89.6, -89.8}) {
    EXPECT_NEAR(QuaternionToEuler(Narrowed(AboutY(degrees))).pitch, degrees, 0.01);
  }
}

TEST(OrientationTest, AnglesAreThoseOfTurningAboutXThenYThenZ) {
  // About the fixed axes in that order: the last turn stands leftmost in the product.
  for (double roll = -175; roll <= 175; roll += 35) {
    for (double pitch = -80; pitch <= 80; pitch += 20) {
      for (double yaw = -175; yaw <= 175; yaw += 35) {
        SCOPED_TRACE(::testing::Message() << roll << ", " << pitch << ", " << yaw);
        // A quaternion of floats is only so near to the double one, and towards the poles that shows more.
        const double rounding = kTolerance / std::cos(pitch / kDegreesPerRadian);
        ExpectAngles(QuaternionToEuler(Narrowed(AboutZ(yaw) * AboutY(pitch) * AboutX(roll))), {roll, pitch, yaw},
                     rounding);
      }
    }
  }
}

TEST(OrientationTest, AnglesOfQuaternionsOfAnyLengthFollowTheFormulas) {
  std::mt19937 random(42);
  std::uniform_real_distribution<float> component(-0.9f, 0.9f);
  int compared = 0;
  while (compared < 1000) {
    const Quaternion q = {component(random), component(random), component(random), component(random)};
    const double x = q.x, y = q.y, z = q.z, w = q.w;
    const double sine = 2 * (y * w - x * z);
    const double roll_sine = 2 * (x * w + y * z);
    const double roll_cosine = 1 - 2 * (x * x + y * y);
    const double yaw_sine = 2 * (z * w + x * y);
    const double yaw_cosine = 1 - 2 * (y * y + z * z);
    // Where the formulas are steep, a last bit of a float moves the angle by more than any tolerance that
    // says something.
    if (std::abs(sine) > 0.95 || std::hypot(roll_sine, roll_cosine) < 0.3 || std::hypot(yaw_sine, yaw_cosine) < 0.3) {
      continue;
    }
    ++compared;
    SCOPED_TRACE(::testing::Message() << q.x << ", " << q.y << ", " << q.z << ", " << q.w);
    ExpectAngles(QuaternionToEuler(q),
                 {std::atan2(roll_sine, roll_cosine) * kDegreesPerRadian, std::asin(sine) * kDegreesPerRadian,
                  std::atan2(yaw_sine, yaw_cosine) * kDegreesPerRadian});
  }
}

TEST(OrientationTest, DegreesAreRadiansTimes180DividedByPiInThatOrder) {
  // To the last bit, because targets shall agree to the last bit. A factor of 180 / pi would round otherwise.
  int other_rounding = 0;
  for (int step = 1; step < 100; ++step) {
    const Quaternion q = Narrowed(AboutX(step * 1.7));
    const float radians = std::atan2(2.0f * (q.x * q.w), 1.0f - 2.0f * (q.x * q.x));
    EXPECT_EQ(QuaternionToEuler(q).roll, radians * 180.0f / 3.1415927f) << step;
    if (radians * (180.0f / 3.1415927f) != radians * 180.0f / 3.1415927f) ++other_rounding;
  }
  EXPECT_GT(other_rounding, 10);
}

TEST(OrientationTest, AnglesOfWhatIsNoNumberAreNoNumbers) {
  const EulerDegrees angles = QuaternionToEuler({0, 0, 0, kNan});
  EXPECT_TRUE(std::isnan(angles.roll));
  EXPECT_TRUE(std::isnan(angles.pitch));
  EXPECT_TRUE(std::isnan(angles.yaw));
}

// ---- Angles to quaternion ---------------------------------------------------------------------------------

TEST(OrientationTest, ZeroAnglesAreTheIdentity) {
  const Quaternion q = EulerToQuaternion({0, 0, 0});
  EXPECT_EQ(q.x, 0.0f);
  EXPECT_EQ(q.y, 0.0f);
  EXPECT_EQ(q.z, 0.0f);
  EXPECT_EQ(q.w, 1.0f);
}

TEST(OrientationTest, OneAngleOfNinetyIsAQuarterTurn) {
  ExpectQuaternion(EulerToQuaternion({90, 0, 0}), {0.7071068, 0, 0, 0.7071068});
  ExpectQuaternion(EulerToQuaternion({0, 90, 0}), {0, 0.7071068, 0, 0.7071068});
  ExpectQuaternion(EulerToQuaternion({0, 0, 90}), {0, 0, 0.7071068, 0.7071068});
}

TEST(OrientationTest, SeveralAnglesMultiplyInTheOrderXYZ) {
  for (float roll = -400; roll <= 400; roll += 50) {
    for (float pitch = -200; pitch <= 200; pitch += 50) {
      for (float yaw = -190; yaw <= 190; yaw += 38) {
        SCOPED_TRACE(::testing::Message() << roll << ", " << pitch << ", " << yaw);
        ExpectQuaternion(EulerToQuaternion({roll, pitch, yaw}), AboutX(roll) * AboutY(pitch) * AboutZ(yaw));
      }
    }
  }
}

TEST(OrientationTest, AQuaternionOfAnglesIsRoundedAlikeOnAllTargets) {
  // To the last bit: half angles are degrees * pi, then / 360, and the components are divided by their
  // length.
  int other_half_angles = 0;
  int other_lengths = 0;
  for (int step = 1; step < 100; ++step) {
    const float degrees = static_cast<float>(step) * 1.7f;
    const float half = degrees * 3.1415927f / 360.0f;
    float sine = 0;
    float cosine = 0;
    sincosf(half, &sine, &cosine);
    const float length = std::sqrt(sine * sine + cosine * cosine);
    const Quaternion q = EulerToQuaternion({0, 0, degrees});
    EXPECT_EQ(q.z, sine / length) << degrees;
    EXPECT_EQ(q.w, cosine / length) << degrees;
    if (degrees * (3.1415927f / 360.0f) != half) ++other_half_angles;
    if (length != 1.0f) ++other_lengths;
  }
  // Simpler ways would show.
  EXPECT_GT(other_half_angles, 10);
  EXPECT_GT(other_lengths, 5);
}

TEST(OrientationTest, AnglesThatAreNoNumbersMakeNoNumbers) {
  const Quaternion q = EulerToQuaternion({kNan, 0, 0});
  EXPECT_TRUE(std::isnan(q.x));
  EXPECT_TRUE(std::isnan(q.y));
  EXPECT_TRUE(std::isnan(q.z));
  EXPECT_TRUE(std::isnan(q.w));
}

// ---- There and back ---------------------------------------------------------------------------------------

TEST(OrientationTest, AnAngleAboutASingleAxisReadsBack) {
  for (float angle = -175; angle <= 175; angle += 12.5f) {
    ExpectAngles(QuaternionToEuler(EulerToQuaternion({angle, 0, 0})), {angle, 0, 0});
    ExpectAngles(QuaternionToEuler(EulerToQuaternion({0, 0, angle})), {0, 0, angle});
  }
  for (float angle = -75; angle <= 75; angle += 12.5f) {
    ExpectAngles(QuaternionToEuler(EulerToQuaternion({0, angle, 0})), {0, angle, 0}, 1e-5);
  }
}

TEST(OrientationTest, AnglesOfSeveralAxesDoNotReadBack) {
  const EulerDegrees back = QuaternionToEuler(EulerToQuaternion({30, 40, 50}));
  EXPECT_GT(std::abs(back.roll - 30.0f), 10.0f);
  EXPECT_GT(std::abs(back.pitch - 40.0f), 5.0f);
  EXPECT_GT(std::abs(back.yaw - 50.0f), 5.0f);
  // What they read back as: the same turn, taken apart in the other order.
  const Turn turn = AboutX(30) * AboutY(40) * AboutZ(50);
  ExpectQuaternion(EulerToQuaternion({30, 40, 50}), turn);
  const Turn again = AboutZ(back.yaw) * AboutY(back.pitch) * AboutX(back.roll);
  ExpectQuaternion(Narrowed(again), turn);
}

}  // namespace
