// How a file stores its numbers makes no difference to what comes out.

#include <gtest/gtest.h>

#include "test/model_tool/reference.h"

namespace model_tool_test {
namespace {

class GltfStorage : public ::testing::Test, public PreparedFiles {
 protected:
  // The tetrahedron, with other positions or indices.
  void ExpectTetrahedron(Gltf& gltf, const Json& positions, const Json& indices, double tolerance = 1e-5) {
    Json primitive = {{"attributes", {{"POSITION", positions}}}};
    if (!indices.is_null()) primitive["indices"] = indices;
    gltf.Mesh({primitive});
    ExpectTriangles(Prepare(gltf), TetrahedronTriangles(), tolerance);
  }

  static std::vector<float> Unindexed() {
    std::vector<float> corners;
    for (const uint16_t index : kTetrahedronIndices) {
      for (size_t i = 0; i < 3; ++i) corners.push_back(kTetrahedron[3 * size_t{index} + i]);
    }
    return corners;
  }
};

TEST_F(GltfStorage, IndicesOfEightBits) {
  Gltf gltf;
  ExpectTetrahedron(gltf, gltf.Vec3s(kTetrahedron),
                    gltf.Indices(std::vector<uint8_t>(kTetrahedronIndices.begin(), kTetrahedronIndices.end())));
}

TEST_F(GltfStorage, IndicesOfThirtyTwoBits) {
  Gltf gltf;
  ExpectTetrahedron(gltf, gltf.Vec3s(kTetrahedron),
                    gltf.Indices(std::vector<uint32_t>(kTetrahedronIndices.begin(), kTetrahedronIndices.end())));
}

TEST_F(GltfStorage, NoIndices) {
  Gltf gltf;
  ExpectTetrahedron(gltf, gltf.Vec3s(Unindexed()), nullptr);
}

TEST_F(GltfStorage, NoIndicesButNormals) {
  Gltf gltf;
  const std::vector<float> flat = {0, 0, 0, 1, 0, 0, 0, 1, 0};
  gltf.Mesh({{{"attributes", {{"POSITION", gltf.Vec3s(flat)}, {"NORMAL", gltf.Vec3s({0, 0, 1, 0, 0, 1, 0, 0, 1})}}}}});
  ExpectTriangles(Prepare(gltf), Triangles(flat, {0, 1, 2}));
}

TEST_F(GltfStorage, InterleavedView) {
  Gltf gltf;
  std::vector<float> interleaved;
  for (size_t i = 0; i < 4; ++i) {
    interleaved.insert(interleaved.end(),
                       {77, kTetrahedron[3 * i], kTetrahedron[3 * i + 1], kTetrahedron[3 * i + 2], 78});
  }
  const size_t view = gltf.View(BytesOf(interleaved));
  gltf.json["bufferViews"][view]["byteStride"] = 20;
  const size_t positions =
      gltf.Accessor({{"bufferView", view}, {"byteOffset", 4}, {"componentType", 5126}, {"count", 4}, {"type", "VEC3"}});
  ExpectTetrahedron(gltf, positions, gltf.Indices(kTetrahedronIndices));
}

TEST_F(GltfStorage, QuantisedAndNormalised) {
  Gltf gltf;
  std::vector<int16_t> quantised;
  for (size_t i = 0; i < 4; ++i) {
    for (size_t k = 0; k < 3; ++k) quantised.push_back(static_cast<int16_t>(kTetrahedron[3 * i + k] / 3 * 32767));
    quantised.push_back(0x7777);  // elements begin at multiples of four bytes
  }
  const size_t view = gltf.View(BytesOf(quantised));
  gltf.json["bufferViews"][view]["byteStride"] = 8;
  const size_t positions = gltf.Accessor(
      {{"bufferView", view}, {"componentType", 5122}, {"normalized", true}, {"count", 4}, {"type", "VEC3"}});
  const size_t mesh =
      gltf.Mesh({{{"attributes", {{"POSITION", positions}}}, {"indices", gltf.Indices(kTetrahedronIndices)}}});
  gltf.Scene({gltf.Node({{"mesh", mesh}, {"scale", {3, 3, 3}}})});
  constexpr double kStep = 3.0 / 32767;
  ExpectTriangles(Prepare(gltf), TetrahedronTriangles(), 2 * kStep);
}

TEST_F(GltfStorage, QuantisedAndNotNormalised) {
  Gltf gltf;
  std::vector<int8_t> whole;
  for (size_t i = 0; i < 4; ++i) {
    for (size_t k = 0; k < 3; ++k) whole.push_back(static_cast<int8_t>(kTetrahedron[3 * i + k]));
    whole.push_back(99);
  }
  const size_t view = gltf.View(BytesOf(whole));
  gltf.json["bufferViews"][view]["byteStride"] = 4;
  const size_t positions =
      gltf.Accessor({{"bufferView", view}, {"componentType", 5120}, {"count", 4}, {"type", "VEC3"}});
  ExpectTetrahedron(gltf, positions, gltf.Indices(kTetrahedronIndices));
}

Json Sparse(Gltf& gltf, const std::vector<uint8_t>& where, const std::vector<float>& values) {
  return {{"count", where.size()},
          {"indices", {{"bufferView", gltf.View(where)}, {"componentType", 5121}}},
          {"values", {{"bufferView", gltf.View(BytesOf(values))}}}};
}

TEST_F(GltfStorage, SparseOnTopOfAView) {
  Gltf gltf;
  std::vector<float> other = kTetrahedron;
  other[3] = other[10] = 55;
  const size_t positions = gltf.Vec3s(other);
  gltf.json["accessors"][positions]["sparse"] = Sparse(gltf, {1, 3}, {1, 0, 0, 0, 0, 3});
  ExpectTetrahedron(gltf, positions, gltf.Indices(kTetrahedronIndices));
}

TEST_F(GltfStorage, SparseOnTopOfZeros) {
  Gltf gltf;
  const Json sparse = Sparse(gltf, {1, 2, 3}, {1, 0, 0, 0, 2, 0, 0, 0, 3});
  const size_t positions = gltf.Accessor({{"componentType", 5126}, {"count", 4}, {"type", "VEC3"}, {"sparse", sparse}});
  ExpectTetrahedron(gltf, positions, gltf.Indices(kTetrahedronIndices));
}

TEST_F(GltfStorage, TextFileWithItsBufferBeside) {
  Gltf gltf;
  gltf.Mesh({Tetrahedron(gltf)});
  Bytes longer = gltf.bin;
  longer.resize(longer.size() + 10);  // allowed
  folder.Write("parts/all data.bin", longer);
  const std::string path = folder.Write("parts/in.gltf", gltf.Text("all%20data.bin"));
  ExpectTriangles(PrepareFile(path), TetrahedronTriangles());
}

TEST_F(GltfStorage, TextFileWithItsBufferInIt) {
  Gltf gltf;
  gltf.Mesh({{{"attributes", {{"POSITION", gltf.Vec3s({0, 0, 0, 1, 0, 0, 0, 1, 0})}}}}});
  const std::string base64 = "AAAAAAAAAAAAAAAAAACAPwAAAAAAAAAAAAAAAAAAgD8AAAAA";
  const std::string path = folder.Write("in.gltf", gltf.Text("data:application/octet-stream;base64," + base64));
  ExpectTriangles(PrepareFile(path), Triangles({0, 0, 0, 1, 0, 0, 0, 1, 0}, {0, 1, 2}));
}

TEST_F(GltfStorage, BinaryFileThatNamesABufferBesideToo) {
  Gltf gltf;
  gltf.Mesh({Tetrahedron(gltf)});
  folder.Write("beside.bin", gltf.bin);
  gltf.json["buffers"] = {{{"byteLength", gltf.bin.size()}, {"uri", "beside.bin"}}};
  const Bytes file = glb_builder::Glb().Json(gltf.json.dump()).Bin({1, 2, 3, 4}).Build();
  ExpectTriangles(PrepareFile(folder.Write("in.glb", file)), TetrahedronTriangles());
}

// Names that scanning by text search takes for keys, in an encoding of their own.
TEST_F(GltfStorage, NamesDoNotMatter) {
  Gltf gltf;
  gltf.Mesh({Tetrahedron(gltf)});
  gltf.json["extras"] = {{"accessors", "meshes"}, {"note", "}{]["}};
  gltf.json["meshes"][0]["name"] = "\"indices\"";
  std::string text = gltf.Text();
  text.replace(text.find("note"), 4, "n\xF6te");
  const Bytes file = glb_builder::Glb().Json(text).Bin(gltf.bin).Build();
  ExpectTriangles(PrepareFile(folder.Write("in.glb", file)), TetrahedronTriangles());
}

}  // namespace
}  // namespace model_tool_test
