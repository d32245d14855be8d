// A mesh's normals: the file's where they can be taken, computed ones otherwise.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>
#include <vector>

#include "test/model/mesh_primitive_fixture.h"

using namespace glb_builder;
using ::testing::ElementsAre;

namespace glb {
namespace {

using NormalsTest = MeshPrimitiveTest;

// ---- Normals of the file ----------------------------------------------------------------------------------

TEST_F(NormalsTest, NormalsOfTheFileAreTakenAsTheyAre) {
  const Values kNormals = {2, 0, 0, 0, 0, 0, -1, 0.5f, 3};
  ExpectDecoded(Triangle().Normals(Floats(kNormals)));
  EXPECT_EQ(mesh_.normals, kNormals);
  EXPECT_THAT(mesh_.indices, ElementsAre(0, 1, 2));
}

TEST_F(NormalsTest, NormalsOfAnotherFormAreComputedInstead) {
  const std::pair<const char*, std::vector<const char*>> kFields[] = {
      {"componentType", {"5120", "5122", "5125"}},
      {"type", {"\"VEC2\"", "\"VEC4\"", "\"vec3\""}},
      {"count", {"0", "2", "4", "-3"}},
  };
  for (const auto& [field, values] : kFields) {
    SCOPED_TRACE(field);
    ExpectDecoded(Triangle().Normals(Floats(Repeat(3, {5, 5, 5})).Without(field)));
    EXPECT_EQ(mesh_.normals, Repeat(3, {0, 0, 1}));
    for (const char* value : values) {
      SCOPED_TRACE(value);
      ExpectDecoded(Triangle().Normals(Floats(Repeat(4, {5, 5, 5})).Field("count", "3").Field(field, value)));
      EXPECT_EQ(mesh_.normals, Repeat(3, {0, 0, 1}));
    }
  }
}

TEST_F(NormalsTest, NormalsOfAnotherCountBesideNoIndicesLeadToIndicesInOrder) {
  ExpectDecoded(Mesh(Floats(kTrianglePositions)).Normals(Floats({5, 5, 5})));
  EXPECT_THAT(mesh_.indices, ElementsAre(0, 1, 2));
  EXPECT_EQ(mesh_.normals, Repeat(3, {0, 0, 1}));
}

// ---- Computed normals -------------------------------------------------------------------------------------

void ExpectNear(const Values& values, const Values& expected) {
  ASSERT_EQ(values.size(), expected.size());
  for (size_t i = 0; i < values.size(); ++i) EXPECT_NEAR(values[i], expected[i], 1e-6) << "component " << i;
}

TEST_F(NormalsTest, ComputedNormalsPointOutOfTheCounterclockwiseSide) {
  const Values kAxes = {0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1};
  const struct {
    std::vector<uint16_t> indices;
    Values normal;
  } kRows[] = {{{0, 1, 2}, {0, 0, 1}},  {{0, 2, 1}, {0, 0, -1}},
               {{1, 2, 0}, {0, 0, 1}},  {{0, 2, 3}, {1, 0, 0}},
               {{0, 3, 2}, {-1, 0, 0}}, {{0, 3, 1}, {0, 1, 0}},
               {{0, 1, 3}, {0, -1, 0}}, {{1, 2, 3}, Repeat(1, {0.57735027f, 0.57735027f, 0.57735027f})}};
  for (const auto& row : kRows) {
    ExpectDecoded(Mesh(Floats(kAxes)).Indices(Ushorts(row.indices)));
    Values expected = Repeat(4, {0, 1, 0});
    for (const uint16_t index : row.indices) {
      std::copy(row.normal.begin(), row.normal.end(), expected.begin() + 3 * index);
    }
    ExpectNear(mesh_.normals, expected);
  }
}

TEST_F(NormalsTest, ComputedNormalsAreTheCrossProductOfTheEdges) {
  // Edges (1, 2, 3) and (4, -5, 6): (27, 6, -13).
  ExpectDecoded(Mesh(Floats({10, 20, 30, 11, 22, 33, 14, 15, 36})));
  const float length = std::sqrt(934.0f);
  ExpectNear(mesh_.normals, Repeat(3, {27 / length, 6 / length, -13 / length}));
}

TEST_F(NormalsTest, FacesCountInProportionToTheirArea) {
  // Two faces on the edge 0-1: one of area 1 upright on z, one of area 1/2 upright on y.
  ExpectDecoded(Mesh(Floats({0, 0, 0, 1, 0, 0, 0, 2, 0, 0, 0, 1})).Indices(Uints({0, 1, 2, 0, 3, 1})));
  const float one = 1 / std::sqrt(5.0f), two = 2 / std::sqrt(5.0f);
  ExpectNear(mesh_.normals, {0, one, two, 0, one, two, 0, 0, 1, 0, 1, 0});
}

TEST_F(NormalsTest, ComputedNormalsAreTheSameToTheLastBitEverywhere) {
  ExpectDecoded(Mesh(Floats({0.1f, 0.7f, 0.3f, 1.3f, 0.2f, 0.9f, 0.4f, 1.1f, 5.3f, -0.6f, 2.3f, 0.7f}))
                    .Indices(Ushorts({0, 1, 2, 0, 2, 3, 1, 3, 2})));
  // Worked out apart from this code, each operation rounded to single precision one by one.
  EXPECT_EQ(mesh_.normals,
            (Values{-0.742603183f, -0.662587345f, 0.0975631773f, 0.920378268f, 0.3747648f, 0.111602724f, -0.539651692f,
                    -0.418695122f, 0.730390608f, 0.300822049f, 0.936736763f, 0.178969994f}));
}

TEST_F(NormalsTest, OppositeFacesCancelOut) {
  ExpectDecoded(Triangle().Indices(Ushorts({0, 1, 2, 0, 2, 1})));
  EXPECT_EQ(mesh_.normals, Repeat(3, {0, 1, 0}));
}

TEST_F(NormalsTest, AVertexWithoutAFaceOfAnyAreaGetsTheNormalUp) {
  // Vertices 3 to 5 lie on one spot, 6 belongs to no face, 0 belongs to a face and to a degenerate one.
  const Values kPositions = {0, 0, 0, 1, 0, 0, 0, 1, 0, 2, 2, 2, 2, 2, 2, 2, 2, 2, 9, 9, 9};
  ExpectDecoded(Mesh(Floats(kPositions)).Indices(Ushorts({0, 1, 2, 3, 4, 5, 0, 0, 3})));
  ExpectNear(mesh_.normals, {0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1, 0});
}

TEST_F(NormalsTest, IndicesLeftOverAfterTheLastTripleAreIgnored) {
  ExpectDecoded(Mesh(Floats(Curve(6))).Indices(Ushorts({0, 1, 2})));
  const Values expected = mesh_.normals;
  EXPECT_EQ(Values(expected.begin() + 9, expected.end()), Repeat(3, {0, 1, 0}));
  ExpectDecoded(Mesh(Floats(Curve(6))).Indices(Ushorts({0, 1, 2, 3})));
  EXPECT_EQ(mesh_.normals, expected);
  ExpectDecoded(Mesh(Floats(Curve(6))).Indices(Ushorts({0, 1, 2, 3, 4})));
  EXPECT_EQ(mesh_.normals, expected);
  ExpectDecoded(Mesh(Floats(Curve(6))).Indices(Ushorts({0, 1, 2, 3, 4, 5})));
  EXPECT_NE(mesh_.normals, expected);
}

TEST_F(NormalsTest, OneOrTwoIndicesMakeNoFace) {
  ExpectDecoded(Triangle().Indices(Ushorts({0, 1})));
  EXPECT_EQ(mesh_.normals, Repeat(3, {0, 1, 0}));
}

TEST_F(NormalsTest, ALengthOfUpToOneTrillionthIsNoLength) {
  const float limit = 1e-12f;
  const struct {
    float length;
    Values normal;
  } kRows[] = {{limit, {0, 1, 0}},
               {std::nextafter(limit, 1.0f), {0, 0, 1}},
               {std::nextafter(limit, 0.0f), {0, 1, 0}},
               {-limit, {0, 1, 0}},
               {std::nextafter(-limit, -1.0f), {0, 0, -1}}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.length);
    ExpectDecoded(Mesh(Floats({0, 0, 0, row.length, 0, 0, 0, 1, 0})));
    EXPECT_EQ(mesh_.normals, Repeat(3, row.normal));
  }
}

TEST_F(NormalsTest, TheLimitIsTheSinglePrecisionValue) {
  const float limit = 1e-12f;
  uint32_t bits;
  std::memcpy(&bits, &limit, sizeof bits);
  EXPECT_EQ(bits, 0x2B8CBCCCu);
}

TEST_F(NormalsTest, LengthsAreComputedInSinglePrecision) {
  // The square of each length is too large for a float: the length is infinite, the quotient 0.
  for (const Values& positions : {Values{0, 0, 0, 0, 1e20f, 0, 0, 0, 1}, Values{0, 0, 0, 0, 0, 1e20f, 1, 0, 0},
                                  Values{0, 0, 0, 1e20f, 0, 0, 0, 1, 0}}) {
    ExpectDecoded(Mesh(Floats(positions)));
    EXPECT_EQ(mesh_.normals, Repeat(3, {0, 0, 0}));
  }
}

TEST_F(NormalsTest, ALengthThatIsNotANumberIsNoLength) {
  ExpectDecoded(Mesh(Floats({0, 0, 0, std::nanf(""), 0, 0, 0, 1, 0})));
  EXPECT_EQ(mesh_.normals, Repeat(3, {0, 1, 0}));
}

TEST_F(NormalsTest, PositionsAreUntouchedByTheNormals) {
  ExpectDecoded(Mesh(Floats(Curve(6))));
  EXPECT_EQ(mesh_.positions, Curve(6));
}

}  // namespace
}  // namespace glb
