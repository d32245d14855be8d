// Where triangles stand: nodes, instances, modes of primitives, poses.

#include <gtest/gtest.h>

#include "test/model_tool/reference.h"

namespace model_tool_test {
namespace {

class GltfGeometry : public ::testing::Test, public PreparedFiles {};

constexpr std::array<double, 4> kTilted = {0.36, 0.48, 0, 0.8};
constexpr std::array<double, 4> kQuarterAboutZ = {0, 0, 0.70710678118654752, 0.70710678118654752};

std::vector<WorldTriangle> operator+(std::vector<WorldTriangle> a, const std::vector<WorldTriangle>& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

PointFunction MovedBy(double x, double y, double z) {
  return [=](const Place& place) { return Place{place[0] + x, place[1] + y, place[2] + z}; };
}

TEST_F(GltfGeometry, FileWithoutNodesStaysInPlace) {
  Gltf gltf;
  gltf.Mesh({Tetrahedron(gltf)});
  ExpectTriangles(Prepare(gltf), TetrahedronTriangles());
}

TEST_F(GltfGeometry, NestedNodesAreScaledThenTurnedThenMoved) {
  Gltf gltf;
  const size_t mesh = gltf.Mesh({Tetrahedron(gltf)});
  const size_t inner =
      gltf.Node({{"mesh", mesh}, {"scale", {2, 3, 4}}, {"rotation", kTilted}, {"translation", {1, 2, 3}}});
  gltf.Scene({gltf.Node({{"children", {inner}}, {"rotation", kQuarterAboutZ}, {"scale", {1, 1, 2}}})});
  ExpectTriangles(Prepare(gltf), TetrahedronTriangles([](const Place& p) {
                    Place moved = Rotated(kTilted, {2 * p[0], 3 * p[1], 4 * p[2]});
                    moved = {moved[0] + 1, moved[1] + 2, moved[2] + 3};
                    return Rotated(kQuarterAboutZ, {moved[0], moved[1], 2 * moved[2]});
                  }));
}

TEST_F(GltfGeometry, MirroredNodeKeepsItsOutsideOut) {
  Gltf gltf;
  gltf.Scene({gltf.Node({{"mesh", gltf.Mesh({Tetrahedron(gltf)})}, {"scale", {-1, 1, 1}}})});
  ExpectTriangles(Prepare(gltf), TetrahedronTriangles([](const Place& p) { return Place{-p[0], p[1], p[2]}; }, true));
}

TEST_F(GltfGeometry, MirroredNodeTurnsNormalsThatTheFileGives) {
  Gltf gltf;
  const size_t positions = gltf.Vec3s({0, 0, 0, 1, 0, 0, 0, 1, 1});
  const size_t normals =
      gltf.Vec3s({0, -0.70710678f, 0.70710678f, 0, -0.70710678f, 0.70710678f, 0, -0.70710678f, 0.70710678f});
  const size_t mesh = gltf.Mesh({{{"attributes", {{"POSITION", positions}, {"NORMAL", normals}}}}});
  gltf.Scene({gltf.Node({{"mesh", mesh}, {"scale", {1, 3, -1}}})});
  const GLBModel model = Prepare(gltf);
  ExpectTriangles(model, {{{{{0, 0, 0}, {0, 3, -1}, {1, 0, 0}}}}});
  // The plane holds (1, 0, 0) and (0, 3, -1).
  EXPECT_NEAR(model.meshes[0].normals[1], -0.31622777, 1e-5);
  EXPECT_NEAR(model.meshes[0].normals[2], -0.94868330, 1e-5);
}

TEST_F(GltfGeometry, MatrixWithShearIsKept) {
  Gltf gltf;
  const std::array<double, 16> matrix = {1, 0, 0, 0, 0.5, 1, 0, 0, 0, 0.25, 1, 0, 5, 6, 7, 1};
  gltf.Scene({gltf.Node({{"mesh", gltf.Mesh({Tetrahedron(gltf)})}, {"matrix", matrix}})});
  ExpectTriangles(Prepare(gltf), TetrahedronTriangles([](const Place& p) {
                    return Place{p[0] + 0.5 * p[1] + 5, p[1] + 0.25 * p[2] + 6, p[2] + 7};
                  }));
}

TEST_F(GltfGeometry, MeshOfSeveralNodesIsWrittenSeveralTimes) {
  Gltf gltf;
  const size_t mesh = gltf.Mesh({Tetrahedron(gltf)});
  gltf.Scene({gltf.Node({{"mesh", mesh}}), gltf.Node({{"mesh", mesh}, {"translation", {5, 0, 0}}})});
  ExpectTriangles(Prepare(gltf), TetrahedronTriangles() + TetrahedronTriangles(MovedBy(5, 0, 0)));
}

TEST_F(GltfGeometry, GpuInstancesAreWrittenOut) {
  Gltf gltf;
  const Json attributes = {
      {"TRANSLATION", gltf.Vec3s({5, 0, 0, 0, 7, 0})},
      {"ROTATION", gltf.Accessor(std::vector<float>{0, 0, 0.70710678f, 0.70710678f, 0, 0, 0, 1}, "VEC4", 4)},
      {"SCALE", gltf.Vec3s({1, 1, 1, 2, 2, 2})}};
  gltf.Scene({gltf.Node({{"mesh", gltf.Mesh({Tetrahedron(gltf)})},
                         {"extensions", {{"EXT_mesh_gpu_instancing", {{"attributes", attributes}}}}}})});
  const auto first = [](const Place& p) { return Place{5 - p[1], p[0], p[2]}; };
  const auto second = [](const Place& p) { return Place{2 * p[0], 2 * p[1] + 7, 2 * p[2]}; };
  ExpectTriangles(Prepare(gltf), TetrahedronTriangles(first) + TetrahedronTriangles(second));
}

TEST_F(GltfGeometry, TwoThousandPartsBecomeOneMeshPerColour) {
  Gltf gltf;
  std::vector<WorldTriangle> expected;
  std::vector<size_t> roots;
  std::vector<size_t> meshes;
  const std::array<std::array<double, 4>, 3> colors = {{{1, 0, 0, 1}, {0, 0.5, 0, 1}, {0, 0, 0.25, 1}}};
  for (const auto& color : colors) {
    Json primitive = Tetrahedron(gltf);
    primitive["material"] = gltf.Material(Colored(color));
    meshes.push_back(gltf.Mesh({primitive}));
  }
  for (size_t i = 0; i < 2000; ++i) {
    const auto x = static_cast<double>(4 * i);
    roots.push_back(gltf.Node({{"mesh", meshes[i % 3]}, {"translation", {x, 0, 0}}}));
    const auto& color = colors[i % 3];
    expected = expected + InColor(TetrahedronTriangles(MovedBy(x, 0, 0)),
                                  {Display(color[0]), Display(color[1]), Display(color[2])});
  }
  gltf.Scene(roots);
  const GLBModel model = Prepare(gltf);
  EXPECT_EQ(model.meshes.size(), 3u);
  ExpectTriangles(model, expected);
}

TEST_F(GltfGeometry, OnlyTheDefaultSceneIsTaken) {
  Gltf gltf;
  const size_t mesh = gltf.Mesh({Tetrahedron(gltf)});
  const size_t here = gltf.Node({{"mesh", mesh}});
  const size_t there = gltf.Node({{"mesh", mesh}, {"translation", {9, 0, 0}}});
  gltf.Node({{"mesh", mesh}, {"translation", {0, 0, 50}}});  // in no scene
  gltf.Scene({here});
  gltf.Scene({there});
  gltf.json["scene"] = 1;
  ExpectTriangles(Prepare(gltf), TetrahedronTriangles(MovedBy(9, 0, 0)));
  options.scene = 0;
  ExpectTriangles(Prepare(gltf), TetrahedronTriangles());
}

TEST_F(GltfGeometry, NodesTenThousandDeepAreWalked) {
  Gltf gltf;
  size_t node = gltf.Node({{"mesh", gltf.Mesh({Tetrahedron(gltf)})}});
  for (int i = 0; i < 10000; ++i) node = gltf.Node({{"children", {node}}, {"translation", {0, 0.5, 0}}});
  gltf.Scene({node});
  ExpectTriangles(Prepare(gltf), TetrahedronTriangles(MovedBy(0, 5000, 0)));
}

TEST_F(GltfGeometry, EveryPrimitiveIsTaken) {
  Gltf gltf;
  Json second = Tetrahedron(gltf);
  second["attributes"]["POSITION"] = gltf.Vec3s({0, 0, 9, 1, 0, 9, 0, 2, 9, 0, 0, 12});
  gltf.Mesh({Tetrahedron(gltf), second});
  ExpectTriangles(Prepare(gltf), TetrahedronTriangles() + TetrahedronTriangles(MovedBy(0, 0, 9)));
}

// A wall of two folds: seven points, every other one at the bottom.
const std::vector<float> kWall = {0, 0, 0, 0, 1, 0, 1, 0, 0, 1, 1, 0, 2, 0, 1, 2, 1, 1};

TEST_F(GltfGeometry, StripBecomesTrianglesOfOneSide) {
  Gltf gltf;
  gltf.Mesh({{{"attributes", {{"POSITION", gltf.Vec3s(kWall)}}}, {"mode", 5}}});
  ExpectTriangles(Prepare(gltf), Triangles(kWall, {0, 1, 2, 1, 3, 2, 2, 3, 4, 3, 5, 4}));
}

TEST_F(GltfGeometry, FanBecomesTrianglesAroundItsFirstPoint) {
  Gltf gltf;
  const std::vector<float> fan = {0, 0, 0, 2, 0, 0, 2, 2, 0, 0, 2, 0, -2, 2, 0};
  gltf.Mesh({{{"attributes", {{"POSITION", gltf.Vec3s(fan)}}}, {"mode", 6}}});
  ExpectTriangles(Prepare(gltf), Triangles(fan, {0, 1, 2, 0, 2, 3, 0, 3, 4}));
}

TEST_F(GltfGeometry, LinesAndPointsAreLeftOutAndCounted) {
  Gltf gltf;
  std::vector<Json> primitives = {Tetrahedron(gltf)};
  for (int mode = 0; mode <= 3; ++mode) {
    primitives.push_back(Tetrahedron(gltf));
    primitives.back()["mode"] = mode;
  }
  gltf.Mesh(primitives);
  ExpectTriangles(Prepare(gltf), TetrahedronTriangles());
  EXPECT_NE(model_tool::Prepare(options).find("left out: 4 primitives of lines or points\n"), std::string::npos);
}

TEST_F(GltfGeometry, TrianglesWithoutAnAreaAreLeftOut) {
  Gltf gltf;
  Json primitive = Tetrahedron(gltf);
  std::vector<uint16_t> indices = kTetrahedronIndices;
  indices.insert(indices.end(), {0, 1, 1, 2, 2, 2});
  primitive["indices"] = gltf.Indices(indices);
  gltf.Mesh({primitive});
  ExpectTriangles(Prepare(gltf), TetrahedronTriangles());
}

TEST_F(GltfGeometry, MorphTargetsCountWithTheirDefaultWeights) {
  Gltf gltf;
  Json primitive = Tetrahedron(gltf);
  primitive["targets"] = {{{"POSITION", gltf.Vec3s({4, 0, 0, 4, 0, 0, 4, 0, 0, 4, 0, 0})}},
                          {{"POSITION", gltf.Vec3s({0, 8, 0, 0, 8, 0, 0, 8, 0, 0, 8, 0})}}};
  const size_t mesh = gltf.Mesh({primitive});
  gltf.json["meshes"][mesh]["weights"] = {0.5, 0.25};
  gltf.Scene({gltf.Node({{"mesh", mesh}})});
  ExpectTriangles(Prepare(gltf), TetrahedronTriangles(MovedBy(2, 2, 0)));
  gltf.json["nodes"][0]["weights"] = {0, 1};
  ExpectTriangles(Prepare(gltf), TetrahedronTriangles(MovedBy(0, 8, 0)));
}

TEST_F(GltfGeometry, SkinTakesItsRestPoseAndNotItsNode) {
  Gltf gltf;
  Json primitive = Tetrahedron(gltf);
  primitive["attributes"]["JOINTS_0"] =
      gltf.Accessor(std::vector<uint8_t>{0, 0, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 1, 0, 0, 0}, "VEC4", 4);
  primitive["attributes"]["WEIGHTS_0"] =
      gltf.Accessor(std::vector<float>{1, 0, 0, 0, 0.5f, 0.5f, 0, 0, 0.25f, 0.75f, 0, 0, 1, 0, 0, 0}, "VEC4", 4);
  // Bound where they were moved to 0, 0, 1; they stand at 0, 0, 0 and 4, 0, 0 now.
  std::vector<float> inverse_binds;
  for (int i = 0; i < 2; ++i) {
    inverse_binds.insert(inverse_binds.end(), {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, -1, 1});
  }
  const size_t mesh = gltf.Mesh({primitive});
  const size_t first = gltf.Node(Json::object());
  const size_t second = gltf.Node({{"translation", {4, 0, 0}}});
  gltf.json["skins"] = {
      {{"joints", {first, second}}, {"inverseBindMatrices", gltf.Accessor(inverse_binds, "MAT4", 16)}}};
  gltf.Scene({first, second, gltf.Node({{"mesh", mesh}, {"skin", 0}, {"translation", {100, 100, 100}}})});
  const std::vector<float> posed = {0, 0, -1, 3, 0, -1, 3, 2, -1, 4, 0, 2};
  ExpectTriangles(Prepare(gltf), Triangles(posed, kTetrahedronIndices));
}

}  // namespace
}  // namespace model_tool_test
