// The six commands that only store numbers.

#include <cmath>
#include <limits>

#include "test/support/source_fixture.h"

namespace {

constexpr float kRounding = 1e-6f;  // a few units in the last place of numbers up to 1

class OrientationCommandsTest : public PluginTest {
 protected:
  OrientationCommandsTest() {
    CreateTexture();
    out_.Take();
  }

  ~OrientationCommandsTest() override { EXPECT_EQ(err_.Take(), ""); }

  static void ExpectQuaternion(float x, float y, float z, float w, float tolerance = 0) {
    EXPECT_NEAR(State()->quat_x, x, tolerance);
    EXPECT_NEAR(State()->quat_y, y, tolerance);
    EXPECT_NEAR(State()->quat_z, z, tolerance);
    EXPECT_NEAR(State()->quat_w, w, tolerance);
  }
};

TEST_F(OrientationCommandsTest, SetQuaternionIdentityStoresZeroAnglesAndLogsNothing) {
  Call("setRotation", AngleArguments(10, 20, 30));
  EXPECT_EQ(Call("setQuaternion", QuaternionArguments(0, 0, 0, 1)), "success true");
  ExpectQuaternion(0, 0, 0, 1);
  EXPECT_EQ(State()->yaw, 0.0f);
  EXPECT_EQ(State()->pitch, 0.0f);
  EXPECT_EQ(State()->roll, 0.0f);
  EXPECT_EQ(out_.Take(), "");
}

TEST_F(OrientationCommandsTest, SetQuaternionDerivesTheAnglesOfEachAxis) {
  const double sine = std::sin(0.25);
  const double cosine = std::cos(0.25);
  const float degrees = static_cast<float>(0.5 * 180 / M_PI);
  Call("setQuaternion", QuaternionArguments(sine, 0, 0, cosine));
  EXPECT_NEAR(State()->roll, degrees, 1e-4f);
  Call("setQuaternion", QuaternionArguments(0, sine, 0, cosine));
  EXPECT_NEAR(State()->pitch, degrees, 1e-4f);
  Call("setQuaternion", QuaternionArguments(0, 0, sine, cosine));
  EXPECT_NEAR(State()->yaw, degrees, 1e-4f);
}

TEST_F(OrientationCommandsTest, SetQuaternionStoresANonUnitQuaternionAsItComes) {
  Call("setQuaternion", QuaternionArguments(0, 0, 0, 2));
  ExpectQuaternion(0, 0, 0, 2);
}

TEST_F(OrientationCommandsTest, SetQuaternionNarrowsToSinglePrecision) {
  Call("setQuaternion", QuaternionArguments(0.1, 0.2, 0.3, 0.4));
  ExpectQuaternion(0.1f, 0.2f, 0.3f, 0.4f);
}

TEST_F(OrientationCommandsTest, SetRotationByOneAngleAloneTurnsAboutItsAxis) {
  EXPECT_EQ(Call("setRotation", AngleArguments(90, 0, 0)), "success true");
  ExpectQuaternion(0.7071068f, 0, 0, 0.7071068f, kRounding);
  EXPECT_EQ(State()->roll, 90.0f);
  EXPECT_EQ(State()->pitch, 0.0f);
  EXPECT_EQ(State()->yaw, 0.0f);
  Call("setRotation", AngleArguments(0, 90, 0));
  ExpectQuaternion(0, 0.7071068f, 0, 0.7071068f, kRounding);
  EXPECT_EQ(State()->pitch, 90.0f);
  Call("setRotation", AngleArguments(0, 0, 90));
  ExpectQuaternion(0, 0, 0.7071068f, 0.7071068f, kRounding);
  EXPECT_EQ(State()->yaw, 90.0f);
  EXPECT_EQ(out_.Take(), "");
}

TEST_F(OrientationCommandsTest, SetRotationWithNotANumberStoresItUnnormalised) {
  EXPECT_EQ(Call("setRotation", AngleArguments(std::numeric_limits<double>::quiet_NaN(), 0, 0)), "success true");
  EXPECT_TRUE(std::isnan(State()->roll));
  EXPECT_TRUE(std::isnan(State()->quat_w));
}

TEST_F(OrientationCommandsTest, SetBaseRotationStoresAndLogsTheAnglesAndChangesNoQuaternion) {
  EXPECT_EQ(Call("setBaseRotation", AngleArguments(10, 20, 30)), "success true");
  EXPECT_EQ(out_.Take(), "[Orbisk] Base rotation set to: roll=10\xC2\xB0 pitch=20\xC2\xB0 yaw=30\xC2\xB0\n");
  EXPECT_EQ(State()->base_roll, 10.0f);
  EXPECT_EQ(State()->base_pitch, 20.0f);
  EXPECT_EQ(State()->base_yaw, 30.0f);
  ExpectQuaternion(0, 0, 0, 1);
  EXPECT_EQ(State()->roll, 0.0f);
}

TEST_F(OrientationCommandsTest, SetBaseRotationLogsTheDoublesAsReceived) {
  Call("setBaseRotation", AngleArguments(0.1, 1234567.0, 1e300));
  EXPECT_EQ(out_.Take(),
            "[Orbisk] Base rotation set to: roll=0.1\xC2\xB0 pitch=1.23457e+06\xC2\xB0 yaw=1e+300\xC2\xB0\n");
}

TEST_F(OrientationCommandsTest, SetBaseQuaternionKeepsOnlyTheAngles) {
  EXPECT_EQ(Call("setBaseQuaternion", QuaternionArguments(0, 0, 0.7071068, 0.7071068)), "success true");
  EXPECT_EQ(out_.Take(), "[Orbisk] Base quaternion set to: x=0 y=0 z=0.707107 w=0.707107\n");
  EXPECT_NEAR(State()->base_yaw, 90.0f, 1e-4f);
  EXPECT_EQ(State()->base_pitch, 0.0f);
  EXPECT_EQ(State()->base_roll, 0.0f);
  ExpectQuaternion(0, 0, 0, 1);
}

TEST_F(OrientationCommandsTest, SetBaseQuaternionLogsTheNarrowedFloats) {
  // 1e-50 is no float: it is stored, and logged, as 0.
  Call("setBaseQuaternion", QuaternionArguments(1e-50, 0.5, -0.25, 16777217.0));
  EXPECT_EQ(out_.Take(), "[Orbisk] Base quaternion set to: x=0 y=0.5 z=-0.25 w=1.67772e+07\n");
}

TEST_F(OrientationCommandsTest, DistanceAndScaleTakeAnyNumberAndAreLoggedAsReceived) {
  struct Row {
    double value;
    const char* text;
  };
  // The last two are no floats: they are stored as infinity and 0.
  for (const Row& row : {Row{2.5, "2.5"}, Row{0.0, "0"}, Row{-1.0, "-1"}, Row{1e30, "1e+30"}, Row{0.1, "0.1"},
                         Row{1e300, "1e+300"}, Row{1e-50, "1e-50"}}) {
    EXPECT_EQ(Call("setCameraDistance", Map({{"distance", row.value}})), "success true");
    EXPECT_EQ(out_.Take(), std::string("[Orbisk] Camera distance set to: ") + row.text + "\n");
    EXPECT_EQ(State()->camera_distance, static_cast<float>(row.value));
    EXPECT_EQ(Call("setModelScale", Map({{"scale", row.value}})), "success true");
    EXPECT_EQ(out_.Take(), std::string("[Orbisk] Model scale set to: ") + row.text + "\n");
    EXPECT_EQ(State()->model_scale, static_cast<float>(row.value));
  }
}

TEST_F(OrientationCommandsTest, AllThatHasBeenSetSurvivesCreateTextureAndDispose) {
  OrbiskState& state = *State();
  const std::vector<float*> fields = {
      &state.quat_x,          &state.quat_y,     &state.quat_z,   &state.quat_w,     &state.yaw,
      &state.pitch,           &state.roll,       &state.base_yaw, &state.base_pitch, &state.base_roll,
      &state.camera_distance, &state.model_scale};
  std::vector<float> set;
  for (float* field : fields) {
    set.push_back(10.0f + static_cast<float>(set.size()));
    *field = set.back();
  }
  const auto values = [&] {
    std::vector<float> all;
    for (const float* field : fields) all.push_back(*field);
    return all;
  };

  CreateTexture();
  EXPECT_EQ(values(), set) << "after a second createTexture";
  Call("dispose");
  EXPECT_EQ(values(), set) << "after dispose";
  CreateTexture();
  EXPECT_EQ(values(), set) << "after createTexture on a disposed viewer";
  EXPECT_EQ(State(), &state);
}

}  // namespace
