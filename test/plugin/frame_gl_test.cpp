// Pictures, from the command to the pixels in the engine's buffer, drawn by a real driver.

#include <cmath>
#include <cstring>

#include "test/support/source_fixture.h"

namespace {

constexpr int kWidth = 320;
constexpr int kHeight = 240;

struct Point {
  double x, y;
};

struct Vector {
  double x, y, z;
};

struct Color {
  int r, g, b, a;
  bool operator==(const Color& other) const { return r == other.r && g == other.g && b == other.b && a == other.a; }
};

// Where a point of the scene appears, in pixels from the top left corner: 60 degrees from top to bottom, 4:3.
Point OnScreen(const Vector& v, double distance) {
  const double focal = 1 / std::tan(M_PI / 6);
  const double depth = distance - v.z;
  return {(focal * 3 / 4 * v.x / depth + 1) / 2 * kWidth, (1 - focal * v.y / depth) / 2 * kHeight};
}

// Three cubes of different colours, on the ends of the three axes of a box from -1 to 1, with small corners that
// make the box. Asymmetric: no turn and no mirror takes it to itself.
const std::array<float, 4> kRed = {0.8f, 0.0f, 0.0f, 1};
const std::array<float, 4> kGreen = {0.0f, 0.8f, 0.0f, 1};
const std::array<float, 4> kBlue = {0.0f, 0.0f, 0.8f, 1};

std::vector<MeshData> AxisModel() {
  return {Box({0.96f, 0, 0}, 0.04f, kRed), Box({0, 0.96f, 0}, 0.04f, kGreen), Box({0, 0, 0.96f}, 0.04f, kBlue),
          Box({-0.98f, -0.98f, -0.98f}, 0.02f, {0.1f, 0.1f, 0.1f, 1})};
}
constexpr double kAxisLength = 0.96 * 1.5 / 2 * 1.2;  // fitted to 1.5, times the default scale

class FrameGLTest : public PluginTest {
 protected:
  FrameGLTest() {
    id_ = CreateTexture(kWidth, kHeight);
    frame_ = Fetch(id_);
  }

  // Draws the state as it is and leaves the frame in the buffer.
  void Draw() {
    ASSERT_EQ(Call("startRendering"), "success true");
    ASSERT_TRUE(WaitForFrames(id_, 1));
    ASSERT_EQ(Call("stopRendering"), "success true");
    EXPECT_EQ(err_.Take(), "");
  }

  Color At(int x, int y) const {
    const uint8_t* pixel = frame_->buffer + (y * kWidth + x) * 4;
    return {pixel[0], pixel[1], pixel[2], pixel[3]};
  }

  // The middle of all pixels in which one channel alone is set.
  Point MiddleOf(size_t channel) const {
    Point sum = {0, 0};
    int count = 0;
    for (int y = 0; y < kHeight; ++y) {
      for (int x = 0; x < kWidth; ++x) {
        const uint8_t* pixel = frame_->buffer + (y * kWidth + x) * 4;
        if (pixel[channel] < 100 || pixel[(channel + 1) % 3] != 0 || pixel[(channel + 2) % 3] != 0) continue;
        sum = {sum.x + x + 0.5, sum.y + y + 0.5};
        ++count;
      }
    }
    EXPECT_GT(count, 0) << "channel " << channel << " is not to be seen";
    return {sum.x / count, sum.y / count};
  }

  // Expects the middles of the visible cubes where the turned axes end; the middle of a cube's outline lies within
  // three pixels of its projected centre.
  void ExpectAxes(const Vector& x_axis, const Vector& y_axis, const Vector& z_axis, double distance = 3.5) {
    const Vector axes[] = {x_axis, y_axis, z_axis};
    for (size_t channel = 0; channel < 3; ++channel) {
      const Vector& axis = axes[channel];
      const Point expected = OnScreen({axis.x * kAxisLength, axis.y * kAxisLength, axis.z * kAxisLength}, distance);
      const Point seen = MiddleOf(channel);
      EXPECT_NEAR(seen.x, expected.x, 3) << "channel " << channel;
      EXPECT_NEAR(seen.y, expected.y, 3) << "channel " << channel;
    }
  }

  int64_t id_;
  const FlutterDesktopPixelBuffer* frame_;
};

constexpr double k30 = 30 * M_PI / 180;
const double kCosine = std::cos(k30);
const double kSine = std::sin(k30);

TEST_F(FrameGLTest, UncoveredPixelsAreTransparentBlackAndCoveredOnesOpaque) {
  SetModel(AxisModel());
  Draw();
  EXPECT_EQ(At(0, 0), (Color{0, 0, 0, 0}));
  EXPECT_EQ(At(kWidth - 1, kHeight - 1), (Color{0, 0, 0, 0}));
  const Point red = MiddleOf(0);
  EXPECT_EQ(At(static_cast<int>(red.x), static_cast<int>(red.y)).a, 255);
}

TEST_F(FrameGLTest, FacesAreLitByAmbientAndTheAngleToTheLight) {
  SetModel({Box({0, 0, 0}, 1, {0.2f, 0.4f, 0.6f, 0.5f})});
  Draw();
  // The front face's normal is +Z, the light comes along (0.5, 0.7, 1).
  const double lighting = 0.6 + 0.5 * 1.0 / std::sqrt(0.5 * 0.5 + 0.7 * 0.7 + 1.0);
  const Color middle = At(kWidth / 2, kHeight / 2);
  EXPECT_NEAR(middle.r, 255 * 0.2 * lighting, 1.5);  // mediump and rounding
  EXPECT_NEAR(middle.g, 255 * 0.4 * lighting, 1.5);
  EXPECT_NEAR(middle.b, 255 * 0.6 * lighting, 1.5);
  EXPECT_EQ(middle.a, 255);
}

TEST_F(FrameGLTest, AFaceTurnedAwayFromTheLightHasTheAmbientColourAlone) {
  SetModel({Box({0, 0, 0}, 1, {0.2f, 0.4f, 0.6f, 1})});
  // Half a turn about Y shows the back, whose normal stays -Z: the light turns with the model.
  Call("setQuaternion", QuaternionArguments(0, 1, 0, 0));
  Draw();
  const Color middle = At(kWidth / 2, kHeight / 2);
  EXPECT_NEAR(middle.r, 255 * 0.2 * 0.6, 1.5);
  EXPECT_NEAR(middle.g, 255 * 0.4 * 0.6, 1.5);
  EXPECT_NEAR(middle.b, 255 * 0.6 * 0.6, 1.5);
}

TEST_F(FrameGLTest, UnturnedXPointsRightYUpAndZTowardsTheViewer) {
  SetModel(AxisModel());
  Draw();
  ExpectAxes({1, 0, 0}, {0, 1, 0}, {0, 0, 1});
  EXPECT_LT(MiddleOf(1).y, kHeight / 2.0) << "top row first";
}

TEST_F(FrameGLTest, AQuaternionAboutEachAxisTurnsTheNextOneTowardsTheThird) {
  SetModel(AxisModel());
  const double sine = std::sin(k30 / 2);
  const double cosine = std::cos(k30 / 2);
  Call("setQuaternion", QuaternionArguments(sine, 0, 0, cosine));
  Draw();
  ExpectAxes({1, 0, 0}, {0, kCosine, kSine}, {0, -kSine, kCosine});
  Call("setQuaternion", QuaternionArguments(0, sine, 0, cosine));
  Draw();
  ExpectAxes({kCosine, 0, -kSine}, {0, 1, 0}, {kSine, 0, kCosine});
  Call("setQuaternion", QuaternionArguments(0, 0, sine, cosine));
  Draw();
  ExpectAxes({kCosine, kSine, 0}, {-kSine, kCosine, 0}, {0, 0, 1});
}

TEST_F(FrameGLTest, RotationByRollPitchAndYawTurnsAboutXYAndZ) {
  SetModel(AxisModel());
  Call("setRotation", AngleArguments(30, 0, 0));
  Draw();
  ExpectAxes({1, 0, 0}, {0, kCosine, kSine}, {0, -kSine, kCosine});
  Call("setRotation", AngleArguments(0, 30, 0));
  Draw();
  ExpectAxes({kCosine, 0, -kSine}, {0, 1, 0}, {kSine, 0, kCosine});
  Call("setRotation", AngleArguments(0, 0, 30));
  Draw();
  ExpectAxes({kCosine, kSine, 0}, {-kSine, kCosine, 0}, {0, 0, 1});
}

TEST_F(FrameGLTest, RotationOfTwoAxesAppliesYawFirst) {
  SetModel(AxisModel());
  Call("setRotation", AngleArguments(30, 0, 90));
  Draw();
  // Yaw takes X to Y and Y to -X; roll then tips what points up towards the viewer.
  ExpectAxes({0, kCosine, kSine}, {-1, 0, 0}, {0, -kSine, kCosine});
}

TEST_F(FrameGLTest, BasePitchTurnsAboutXBaseRollAboutYBaseYawAboutZ) {
  SetModel(AxisModel());
  Call("setBaseRotation", AngleArguments(0, 30, 0));
  Draw();
  ExpectAxes({1, 0, 0}, {0, kCosine, kSine}, {0, -kSine, kCosine});
  Call("setBaseRotation", AngleArguments(30, 0, 0));
  Draw();
  ExpectAxes({kCosine, 0, -kSine}, {0, 1, 0}, {kSine, 0, kCosine});
  Call("setBaseRotation", AngleArguments(0, 0, 30));
  Draw();
  ExpectAxes({kCosine, kSine, 0}, {-kSine, kCosine, 0}, {0, 0, 1});
}

TEST_F(FrameGLTest, TheBaseTurnsTheSceneAfterTheModelsOwnTurn) {
  SetModel(AxisModel());
  Call("setQuaternion", QuaternionArguments(0, 0, std::sqrt(0.5), std::sqrt(0.5)));  // X to Y
  Call("setBaseQuaternion", QuaternionArguments(0, 0, std::sin(k30 / 2), std::cos(k30 / 2)));
  Draw();
  ExpectAxes({-kSine, kCosine, 0}, {-kCosine, -kSine, 0}, {0, 0, 1});
}

TEST_F(FrameGLTest, DistanceMovesTheCameraAway) {
  SetModel(AxisModel());
  Call("setCameraDistance", Map({{"distance", 6.0}}));
  Draw();
  ExpectAxes({1, 0, 0}, {0, 1, 0}, {0, 0, 1}, 6.0);
}

TEST_F(FrameGLTest, NearerPartsHideFartherOnesInWhicheverOrderTheyAreDrawn) {
  const MeshData near_box = Box({0, 0, 0.5f}, 0.5f, kRed);
  const MeshData far_box = Box({0, 0, -0.5f}, 0.5f, kGreen);
  for (const std::vector<MeshData>& order : {std::vector<MeshData>{near_box, far_box}, {far_box, near_box}}) {
    SetModel(order);
    Draw();
    const Color middle = At(kWidth / 2, kHeight / 2);
    EXPECT_GT(middle.r, 100);
    EXPECT_EQ(middle.g, 0);
  }
}

TEST_F(FrameGLTest, AnUnknownOrientationStillGivesAFrame) {
  SetModel(AxisModel());
  Call("setQuaternion", QuaternionArguments(NAN, 0, 0, 1));
  Draw();
  Call("setQuaternion", QuaternionArguments(0, 0, 0, 0));
  Draw();
  ExpectAxes({1, 0, 0}, {0, 1, 0}, {0, 0, 1});
}

TEST_F(FrameGLTest, ARendererWhoseSetUpFailedIsDrawnWithAndDoesNoHarm) {
  State()->texture_id = -1;  // a warning tells of the first frame
  Call("createTexture", Size(-1, 48));
  SetSmallModel();
  EXPECT_EQ(Call("startRendering"), "success true");
  EXPECT_TRUE(out_.WaitFor("[Orbisk] WARNING: Cannot mark texture - registrar=OK texture_id=-1\n"));
  EXPECT_EQ(Call("stopRendering"), "success true");
  State()->texture_id = id_;
}

}  // namespace
