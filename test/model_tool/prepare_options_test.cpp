// What the options of `prepare` do, and what every prepared file has.

#include <gtest/gtest.h>

#include <cmath>
#include <set>

#include "model_tool/orientation.h"
#include "test/model_tool/reference.h"

namespace model_tool_test {
namespace {

// A ball of rings; every vertex has its own place.
Gltf Ball(uint16_t rings, uint16_t points, double radius = 1) {
  std::vector<float> positions;
  std::vector<uint32_t> indices;
  const double pi = std::acos(-1.0);
  for (uint32_t ring = 0; ring <= rings; ++ring) {
    for (uint32_t point = 0; point < points; ++point) {
      const double polar = pi * ring / rings;
      const double width = ring == rings ? 0 : std::sin(polar);  // the poles are points
      const double around = 2 * pi * point / points;
      for (const double place : {width * std::cos(around), std::cos(polar), -width * std::sin(around)}) {
        positions.push_back(static_cast<float>(radius * place));
      }
      if (ring == rings) continue;
      const uint32_t here = ring * points + point;
      const uint32_t next = ring * points + (point + 1) % points;
      indices.insert(indices.end(), {here, here + points, next + points, here, next + points, next});
    }
  }
  Gltf gltf;
  gltf.Mesh({{{"attributes", {{"POSITION", gltf.Vec3s(positions)}}}, {"indices", gltf.Indices(indices)}}});
  return gltf;
}

class PrepareOptionsTest : public ::testing::Test, public PreparedFiles {
 protected:
  Json OutJson() const {
    const std::string bytes = ReadFile(Out());
    uint32_t length = 0;
    std::memcpy(&length, bytes.data() + 12, sizeof length);
    return Json::parse(bytes.substr(20, length));
  }
  Gltf OneTetrahedron() {
    Gltf gltf;
    gltf.Mesh({Tetrahedron(gltf)});
    return gltf;
  }
};

size_t VertexCount(const GLBModel& model) {
  size_t count = 0;
  for (const MeshData& mesh : model.meshes) count += mesh.positions.size() / 3;
  return count;
}

TEST_F(PrepareOptionsTest, SameInputGivesTheSameBytes) {
  const Gltf ball = Ball(30, 40);
  Prepare(ball);
  const std::string first = ReadFile(Out());
  Prepare(ball);
  EXPECT_EQ(ReadFile(Out()), first);
  options.max_vertices = 100;
  Prepare(ball);
  const std::string small = ReadFile(Out());
  Prepare(ball);
  EXPECT_EQ(ReadFile(Out()), small);
}

TEST_F(PrepareOptionsTest, PreparedFileSaysSo) {
  Prepare(OneTetrahedron());
  EXPECT_EQ(OutJson()["asset"]["generator"].get<std::string>().rfind("orbisk_model prepare", 0), 0u);
}

TEST_F(PrepareOptionsTest, PreparedFileIsPackedAndHasItsBounds) {
  Prepare(OneTetrahedron());
  const Json json = OutJson();
  const Json& accessors = json["accessors"];
  ASSERT_EQ(accessors.size(), 3u);
  EXPECT_EQ(accessors[0]["min"], Json({0.0, 0.0, 0.0}));
  EXPECT_EQ(accessors[0]["max"], Json({1.0, 2.0, 3.0}));
  EXPECT_EQ(accessors[2]["componentType"], 5123);
  for (const Json& view : json["bufferViews"]) {
    EXPECT_FALSE(view.contains("byteStride"));
    EXPECT_EQ(view["byteOffset"].get<size_t>() % 4, 0u);
  }
}

TEST_F(PrepareOptionsTest, LargeMeshHasWideIndices) {
  const GLBModel model = Prepare(Ball(300, 300));
  EXPECT_GT(VertexCount(model), 65535u);
  EXPECT_EQ(OutJson()["accessors"][2]["componentType"], 5125);
}

TEST_F(PrepareOptionsTest, SoupOfTrianglesIsWelded) {
  options.crease = 180;
  const GLBModel model = Prepare(Ball(10, 10));
  // The first and the last ring are one place each.
  EXPECT_EQ(VertexCount(model), 9u * 10 + 2);
}

TEST_F(PrepareOptionsTest, CreaseSaysWhichEdgesAreSharp) {
  options.crease = 0;
  EXPECT_EQ(VertexCount(Prepare(OneTetrahedron())), 12u);
  options.crease = 180;
  EXPECT_EQ(VertexCount(Prepare(OneTetrahedron())), 4u);
}

TEST_F(PrepareOptionsTest, UpZTurnsItsFrontToTheViewer) {
  options.up = model_tool::AxisNamed("+Z");
  ExpectTriangles(Prepare(OneTetrahedron()), TetrahedronTriangles([](const Place& p) {
                    return Place{p[0], p[2], -p[1]};
                  }));
}

TEST_F(PrepareOptionsTest, FrontSaysWhatLooksAtTheViewer) {
  options.front = model_tool::AxisNamed("-x");
  ExpectTriangles(Prepare(OneTetrahedron()), TetrahedronTriangles([](const Place& p) {
                    return Place{p[2], p[1], -p[0]};
                  }));
}

TEST_F(PrepareOptionsTest, UpAndFrontOnOneLineAreRefused) {
  options.up = model_tool::AxisNamed("Y");
  options.front = model_tool::AxisNamed("-Y");
  EXPECT_THROW(Prepare(OneTetrahedron()), std::runtime_error);
}

TEST_F(PrepareOptionsTest, CenterMovesTheMiddleOfTheBoxToTheOrigin) {
  options.center = true;
  ExpectTriangles(Prepare(OneTetrahedron()), TetrahedronTriangles([](const Place& p) {
                    return Place{p[0] - 0.5, p[1] - 1, p[2] - 1.5};
                  }));
}

TEST_F(PrepareOptionsTest, BudgetIsKeptAndSoIsTheShape) {
  options.max_vertices = 400;
  const GLBModel model = Prepare(Ball(60, 60, 10));
  const size_t count = VertexCount(model);
  EXPECT_LE(count, 400u);
  EXPECT_GT(count, 200u);
  for (const MeshData& mesh : model.meshes) {
    for (size_t i = 0; i < mesh.positions.size(); i += 3) {
      EXPECT_NEAR(std::hypot(mesh.positions[i], mesh.positions[i + 1], mesh.positions[i + 2]), 10, 0.3);
    }
  }
}

TEST_F(PrepareOptionsTest, BudgetIsKeptWhereEveryEdgeIsSharp) {
  options.crease = 0;
  options.max_vertices = 600;
  EXPECT_LE(VertexCount(Prepare(Ball(30, 30))), 600u);
}

TEST_F(PrepareOptionsTest, BordersBetweenColoursStayClosedWhenSimplified) {
  Gltf ball = Ball(40, 40);
  // Every vertex above the middle red, every other one blue: the border runs along a ring of triangles.
  const size_t count = ball.json["accessors"][0]["count"];
  std::vector<float> colors;
  for (size_t i = 0; i < count; ++i) {
    const bool red = i / 40 < 20;
    colors.insert(colors.end(), {red ? 1.0f : 0.0f, 0, red ? 0.0f : 1.0f});
  }
  Json& primitive = ball.json["meshes"][0]["primitives"][0];
  primitive["attributes"]["COLOR_0"] = ball.Vec3s(colors);
  primitive["material"] = ball.Material(Colored({1, 1, 1, 1}));
  options.colors = 2;
  options.max_vertices = 300;
  const GLBModel model = Prepare(ball);
  EXPECT_EQ(model.meshes.size(), 2u);
  EXPECT_LE(VertexCount(model), 300u);
  // In a closed surface every edge is passed once in each direction.
  std::multiset<std::array<float, 6>> edges;
  for (const MeshData& mesh : model.meshes) {
    for (size_t i = 0; i < mesh.indices.size(); ++i) {
      const size_t a = 3 * size_t{mesh.indices[i]};
      const size_t b = 3 * size_t{mesh.indices[i % 3 == 2 ? i - 2 : i + 1]};
      const std::vector<float>& p = mesh.positions;
      const std::array<float, 6> opposite = {p[b], p[b + 1], p[b + 2], p[a], p[a + 1], p[a + 2]};
      const auto found = edges.find(opposite);
      if (found != edges.end()) {
        edges.erase(found);
      } else {
        edges.insert({p[a], p[a + 1], p[a + 2], p[b], p[b + 1], p[b + 2]});
      }
    }
  }
  EXPECT_TRUE(edges.empty()) << edges.size() << " edges have one side only";
}

}  // namespace
}  // namespace model_tool_test
