// From the viewer's numbers to matrices.

#include "test/plugin/double_matrices.h"
#include "test/plugin/simple_model_fit.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

// Elements within 2e-6 of the largest in the matrix, which is a few roundings of it: smaller ones are sums in
// which larger terms cancel out.
void ExpectMatrix(const Matrix4& actual, const Rows& expected) {
  double largest = 0;
  for (const auto& row : expected) {
    for (const double element : row) largest = std::max(largest, std::abs(element));
  }
  for (size_t row = 0; row < 4; ++row) {
    for (size_t column = 0; column < 4; ++column) {
      EXPECT_NEAR(actual.at(row, column), expected[row][column], 2e-6 * largest)
          << "row " << row << ", column " << column;
    }
  }
}

std::array<double, 3> Apply(const Matrix4& matrix, const std::array<double, 3>& point) {
  std::array<double, 3> result = {};
  for (size_t row = 0; row < 3; ++row) {
    result[row] = matrix.at(row, 3);
    for (size_t k = 0; k < 3; ++k) result[row] += matrix.at(row, k) * point[k];
  }
  return result;
}

void ExpectPoint(const std::array<double, 3>& actual, const std::array<double, 3>& expected) {
  for (size_t axis = 0; axis < 3; ++axis) EXPECT_NEAR(actual[axis], expected[axis], 2e-6) << "axis " << axis;
}

// ---- Models -----------------------------------------------------------------------------------------------

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

// A model with one mesh for each list of coordinates.
GLBModel Model(std::initializer_list<std::vector<float>> meshes) {
  GLBModel model;
  for (const std::vector<float>& positions : meshes) {
    MeshData mesh;
    mesh.positions = positions;
    model.meshes.push_back(mesh);
  }
  return model;
}

void ExpectFit(const GLBModel& model, const std::array<double, 3>& center, double scale) {
  const ModelFit fit = FitModel(model);
  for (size_t axis = 0; axis < 3; ++axis) {
    EXPECT_NEAR(fit.center[axis], center[axis], 2e-6 * std::max(1.0, std::abs(center[axis]))) << "axis " << axis;
  }
  EXPECT_NEAR(fit.scale, scale, 2e-6 * scale);
}

const Quaternion kUnturned = {0, 0, 0, 1};

// The three matrices of a frame, multiplied as the render thread does.
Matrix4 Mvp(const GLBModel& model, const Quaternion& orientation, float model_scale, const EulerDegrees& base,
            float distance) {
  const ModelFit fit = FitModel(model);
  return ProjectionMatrix() *
         (ViewMatrix(base, distance) * ModelMatrix(orientation, fit.scale * model_scale, fit.center));
}

// ---- Matrix4 ----------------------------------------------------------------------------------------------

TEST(Matrix4Test, IsSixteenFloatsColumnByColumn) {
  static_assert(sizeof(Matrix4) == 16 * sizeof(float), "OpenGL takes it as it lies");
  static_assert(std::is_trivially_copyable_v<Matrix4>);
  Matrix4 matrix;
  for (size_t i = 0; i < 16; ++i) EXPECT_EQ(matrix.m[i], 0.0f);
  for (size_t row = 0; row < 4; ++row) {
    for (size_t column = 0; column < 4; ++column) {
      matrix.at(row, column) = static_cast<float>(10 * row + column);
    }
  }
  const Matrix4& constant = matrix;
  EXPECT_EQ(matrix.m, (std::array<float, 16>{0, 10, 20, 30, 1, 11, 21, 31, 2, 12, 22, 32, 3, 13, 23, 33}));
  EXPECT_EQ(constant.at(1, 3), 13.0f);
  EXPECT_EQ(constant.at(3, 1), 31.0f);
}

TEST(Matrix4Test, ProductsAreOfAllSixteenElementsAndApplyRightToLeft) {
  std::mt19937 random(42);
  std::uniform_real_distribution<float> element(-10.0f, 10.0f);
  for (int i = 0; i < 100; ++i) {
    Matrix4 a;
    Matrix4 b;
    Rows wide_a;
    Rows wide_b;
    for (size_t row = 0; row < 4; ++row) {
      for (size_t column = 0; column < 4; ++column) {
        wide_a[row][column] = a.at(row, column) = element(random);
        wide_b[row][column] = b.at(row, column) = element(random);
      }
    }
    ExpectMatrix(a * b, wide_a * wide_b);
  }
}

// ---- The bounding box -------------------------------------------------------------------------------------

TEST(SceneTransformTest, AModelIsCentredAndItsLongestSideFittedToOneAndAHalf) {
  ExpectFit(Model({{0, 0, 0, 2, 4, 6}}), {1, 2, 3}, 0.25);
  ExpectFit(Model({{-1, -1, -1, 1, 1, 1}}), {0, 0, 0}, 0.75);
  ExpectFit(Model({{-7, 20, 0.5f, -1, 21, 0.25f}}), {-4, 20.5, 0.375}, 0.25);
}

TEST(SceneTransformTest, EachAxisMayBeTheLongest) {
  ExpectFit(Model({{0, 0, 0, 3, 1, 2}}), {1.5, 0.5, 1}, 0.5);
  ExpectFit(Model({{0, 0, 0, 1, 3, 2}}), {0.5, 1.5, 1}, 0.5);
  ExpectFit(Model({{0, 0, 0, 1, 2, 3}}), {0.5, 1, 1.5}, 0.5);
}

TEST(SceneTransformTest, AllMeshesAreFittedTogether) {
  ExpectFit(Model({{0, 0, 0, 1, 1, 1}, {}, {5, -2, 0.5f}, {1, 1, 10}}), {2.5, -0.5, 5}, 0.15);
}

TEST(SceneTransformTest, CoordinatesThatMakeNoWholeVertexAreLeftOut) {
  ExpectFit(Model({{0, 0, 0, 1, 1, 1, 100}, {50, 60}}), {0.5, 0.5, 0.5}, 1.5);
}

TEST(SceneTransformTest, AModelWithoutMeshesOrVerticesIsLeftAtTheOriginInItsSize) {
  ExpectFit(GLBModel(), {0, 0, 0}, 1);
  ExpectFit(Model({{}, {}}), {0, 0, 0}, 1);
  ExpectMatrix(ModelMatrix(kUnturned, FitModel(GLBModel()).scale * 1.2f, FitModel(GLBModel()).center), Scaled(1.2));
}

TEST(SceneTransformTest, AModelOfOnePointIsCentredInItsSize) {
  const ModelFit fit = FitModel(Model({{3, -4, 5}, {3, -4, 5, 3, -4, 5}}));
  EXPECT_EQ(fit.scale, 1.0f);
  EXPECT_EQ(fit.center, (std::array<float, 3>{3, -4, 5}));
  const Quaternion quarter_turn_about_y = {0, 0.7071068f, 0, 0.7071068f};
  ExpectMatrix(ModelMatrix(quarter_turn_about_y, fit.scale * 1.2f, fit.center),
               Turned(kYAxis, 90) * Scaled(1.2) * Moved(-3, 4, -5));
}

TEST(SceneTransformTest, AnExtentOfAMillionthOrLessKeepsItsSize) {
  EXPECT_EQ(FitModel(Model({{0, 0, 0, 1e-6f, 0, 0}})).scale, 1.0f);
  EXPECT_EQ(FitModel(Model({{0, 0, 0, 0, 9e-7f, 0}})).scale, 1.0f);
  const float just_more = std::nextafter(1e-6f, 1.0f);
  EXPECT_EQ(FitModel(Model({{0, 0, 0, 0, 0, just_more}})).scale, 1.5f / just_more);
}

TEST(SceneTransformTest, HugeAndTinyModelsAreFittedToo) {
  ExpectFit(Model({{-2e9f, 0, 0, 4e9f, 1, 1}}), {1e9, 0.5, 0.5}, 1.5 / 6e9);
  ExpectFit(Model({{0, 0, 0, 3e-5f, 1e-5f, 0}}), {1.5e-5, 5e-6, 0}, 50000);
}

TEST(SceneTransformTest, NotANumberMovesNoBound) {
  ExpectFit(Model({{kNan, 0, 0, 0, kNan, 0, 2, 4, kNan, kNan, kNan, kNan, 0, 0, 6}}), {1, 2, 3}, 0.25);
}

TEST(SceneTransformTest, AnAxisOfNotANumberAloneCountsAsNone) {
  ExpectFit(Model({{kNan, 0, 0, kNan, 1, 3}}), {0, 0.5, 1.5}, 0.5);
  ExpectFit(Model({{kNan, kNan, kNan}}), {0, 0, 0}, 1);
}

TEST(SceneTransformTest, BoundsStartAtTenToTheThirtieth) {
  // A coordinate beyond moves one bound only.
  const ModelFit above = FitModel(Model({{3e30f, 0, 0}}));
  EXPECT_FLOAT_EQ(above.center[0], 2e30f);
  EXPECT_FLOAT_EQ(above.scale, 1.5f / 2e30f);
  const ModelFit below = FitModel(Model({{0, -3e30f, 0}}));
  EXPECT_FLOAT_EQ(below.center[1], -2e30f);
  EXPECT_FLOAT_EQ(below.scale, 1.5f / 2e30f);
  const ModelFit endless = FitModel(Model({{0, 0, kInfinity}}));
  EXPECT_EQ(endless.center[2], kInfinity);
  EXPECT_EQ(endless.scale, 0.0f);
}

// Vertices are looked at many at a time, with a rest: meshes of all sizes, with coordinates of all kinds.
TEST(SceneTransformTest, TheFitIsThatOfTheSimpleLoop) {
  std::mt19937 engine(20240607);
  const auto below = [&engine](size_t count) { return static_cast<size_t>(engine() % count); };
  for (int round = 0; round < 3000; ++round) {
    GLBModel model;
    model.meshes.resize(1 + below(4));
    for (MeshData& mesh : model.meshes) {
      mesh.positions.resize(below(250));  // also with coordinates that make no whole vertex
      for (float& coordinate : mesh.positions) {
        coordinate = static_cast<float>(below(100'000)) / 1000 - 50;
        if (below(20) == 0) coordinate = std::array<float, 4>{kNan, 0, 2e30f, -2e30f}[below(round % 2 == 0 ? 2 : 4)];
      }
    }
    const ModelFit fit = FitModel(model);
    const ModelFit expected = SimpleModelFit(model);
    ASSERT_EQ(fit.center, expected.center) << "round " << round;
    ASSERT_EQ(fit.scale, expected.scale) << "round " << round;
  }
}

// ---- Rotations --------------------------------------------------------------------------------------------

TEST(SceneTransformTest, RotationsAboutTheAxesAreRightHanded) {
  ExpectPoint(Apply(RotationX(90), {0, 1, 0}), {0, 0, 1});
  ExpectPoint(Apply(RotationY(90), {0, 0, 1}), {1, 0, 0});
  ExpectPoint(Apply(RotationZ(90), {1, 0, 0}), {0, 1, 0});
  for (float angle = -400; angle <= 400; angle += 12.5f) {
    SCOPED_TRACE(angle);
    ExpectMatrix(RotationX(angle), Turned(kXAxis, angle));
    ExpectMatrix(RotationY(angle), Turned(kYAxis, angle));
    ExpectMatrix(RotationZ(angle), Turned(kZAxis, angle));
  }
}

TEST(SceneTransformTest, RadiansAreDegreesTimesPiDividedBy180InThatOrder) {
  // To the last bit, because targets shall agree to the last bit.
  int other_rounding = 0;
  for (int step = 1; step < 100; ++step) {
    const float degrees = static_cast<float>(step) * 1.7f;
    const float radians = degrees * 3.1415927f / 180.0f;
    float sine = 0;
    float cosine = 0;
    sincosf(radians, &sine, &cosine);
    EXPECT_EQ(RotationX(degrees).at(2, 1), sine);
    EXPECT_EQ(RotationY(degrees).at(0, 2), sine);
    EXPECT_EQ(RotationZ(degrees).at(0, 0), cosine);
    if (degrees * (3.1415927f / 180.0f) != radians) ++other_rounding;
  }
  EXPECT_GT(other_rounding, 10);
}

TEST(SceneTransformTest, AQuaternionOfAnyLengthTurnsAboutItsAxis) {
  std::mt19937 random(42);
  std::uniform_real_distribution<double> component(-1, 1);
  std::uniform_real_distribution<double> angle(-360, 360);
  for (const double length : {1.0, 0.001, 2.0, 1000.0}) {
    for (int i = 0; i < 100; ++i) {
      std::array<double, 3> axis = {component(random), component(random), component(random)};
      const double norm = std::sqrt(axis[0] * axis[0] + axis[1] * axis[1] + axis[2] * axis[2]);
      for (double& a : axis) a /= norm;
      const double degrees = angle(random);
      const double sine = length * std::sin(degrees / 2 * kRadiansPerDegree);
      const double cosine = length * std::cos(degrees / 2 * kRadiansPerDegree);
      const Quaternion q = {static_cast<float>(sine * axis[0]), static_cast<float>(sine * axis[1]),
                            static_cast<float>(sine * axis[2]), static_cast<float>(cosine)};
      SCOPED_TRACE(::testing::Message() << q.x << ", " << q.y << ", " << q.z << ", " << q.w);
      ExpectMatrix(Rotation(q), Turned(axis, degrees));
    }
  }
}

TEST(SceneTransformTest, AQuaternionWithoutLengthIsTheIdentity) {
  const struct {
    const char* what;
    Quaternion q;
  } cases[] = {{"zeros", {0, 0, 0, 0}},
               {"a length of 9e-7", {0, 9e-7f, 0, 0}},
               {"squares that vanish", {1e-30f, 1e-30f, 1e-30f, 1e-30f}}};
  for (const auto& c : cases) {
    EXPECT_EQ(Rotation(c.q).m, UniformScale(1).m) << c.what;
    ExpectMatrix(ModelMatrix(c.q, 2, {1, 2, 3}), Scaled(2) * Moved(-1, -2, -3));
  }
}

TEST(SceneTransformTest, AQuaternionJustLongEnoughIsNormalised) {
  ExpectMatrix(Rotation({0, 1.1e-6f, 0, 0}), Turned(kYAxis, 180));
}

TEST(SceneTransformTest, ALongIdentityIsTheIdentity) {
  EXPECT_EQ(Rotation({0, 0, 0, 2}).m, UniformScale(1).m);
  EXPECT_EQ(Rotation({0, 0, 0, -3}).m, UniformScale(1).m);
}

// ---- Model, view, projection ------------------------------------------------------------------------------

TEST(SceneTransformTest, TheModelIsCentredThenScaledThenTurned) {
  const Quaternion q = {0.1f, -0.2f, 0.3f, 0.4f};
  const double half_angle = std::atan2(std::sqrt(0.14), 0.4);
  const double norm = std::sqrt(0.14);
  const Rows turn = Turned({0.1 / norm, -0.2 / norm, 0.3 / norm}, 2 * half_angle / kRadiansPerDegree);
  ExpectMatrix(ModelMatrix(q, 0.7f, {5, -6, 7}), turn * Scaled(0.7) * Moved(-5, 6, -7));
  ExpectPoint(Apply(ModelMatrix(q, 0.7f, {5, -6, 7}), {5, -6, 7}), {0, 0, 0});
}

TEST(SceneTransformTest, BaseAnglesTurnAboutXThenYThenZThenMoveAway) {
  for (const EulerDegrees& base :
       {EulerDegrees{10, 20, 30}, EulerDegrees{-100, 250, 75}, EulerDegrees{300, -45, 180}}) {
    SCOPED_TRACE(::testing::Message() << base.roll << ", " << base.pitch << ", " << base.yaw);
    ExpectMatrix(ViewMatrix(base, 3.5f),
                 Moved(0, 0, -3.5) * Turned(kZAxis, base.yaw) * Turned(kYAxis, base.roll) * Turned(kXAxis, base.pitch));
  }
}

TEST(SceneTransformTest, TheCameraDistanceMayBeZeroOrNegative) {
  ExpectMatrix(ViewMatrix({0, 0, 0}, 0), kIdentity);
  ExpectMatrix(ViewMatrix({0, 0, 0}, -2), Moved(0, 0, 2));
}

TEST(SceneTransformTest, ABaseYawOfNinetyTurnsTheModelCounterClockwiseOnTheScreen) {
  const GLBModel model = Model({{-1, -1, -1, 1, 1, 1}});
  // What points right points up then, and what points up points left; the camera looks on from +Z.
  const Matrix4 view = ViewMatrix({0, 0, 90}, 3.5f) * ModelMatrix(kUnturned, 0.9f, FitModel(model).center);
  ExpectPoint(Apply(view, {1, 0, 0}), {0, 0.9, -3.5});
  ExpectPoint(Apply(view, {0, 1, 0}), {-0.9, 0, -3.5});
  ExpectPoint(Apply(view, {0, 0, 1}), {0, 0, -2.6});
}

TEST(SceneTransformTest, TheProjectionHasFiveElementsAndNoOthers) {
  const Matrix4 projection = ProjectionMatrix();
  Matrix4 expected;
  expected.m[0] = 1.2990382f;
  expected.m[5] = 1.7320509f;
  expected.m[10] = -1.002002f;
  expected.m[11] = -1.0f;
  expected.m[14] = -0.2002002f;
  EXPECT_EQ(projection.m, expected.m);
  ExpectMatrix(projection, Perspective());
}

TEST(SceneTransformTest, ACubeInTheDefaultViewHasTheseElements) {
  const Matrix4 mvp = Mvp(Model({{-1, -1, -1, 1, 1, 1}}), kUnturned, 1.2f, {0, 0, 0}, 3.5f);
  EXPECT_NEAR(mvp.at(0, 0), 1.1691344, 2e-6);
  EXPECT_NEAR(mvp.at(1, 1), 1.5588458, 2e-6);
  EXPECT_NEAR(mvp.at(2, 2), -0.9018018, 2e-6);
  EXPECT_NEAR(mvp.at(3, 2), -0.9, 2e-6);
  EXPECT_NEAR(mvp.at(2, 3), 3.3068068, 7e-6);
  EXPECT_NEAR(mvp.at(3, 3), 3.5, 7e-6);
  ExpectMatrix(mvp, Perspective() * Moved(0, 0, -3.5) * Scaled(0.9));
}

TEST(SceneTransformTest, AWholeSceneIsTheProductOfItsParts) {
  const Matrix4 mvp = Mvp(Model({{0, 0, 0, 2, 4, 6}}), {0, 0, 1, 1}, 2.0f, {15, -25, 35}, 4.25f);
  ExpectMatrix(mvp, Perspective() * Moved(0, 0, -4.25) * Turned(kZAxis, 35) * Turned(kYAxis, 15) * Turned(kXAxis, -25) *
                        Turned(kZAxis, 90) * Scaled(0.5) * Moved(-1, -2, -3));
}

}  // namespace
