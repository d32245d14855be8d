// Compressed data, made here with the libraries' own encoders.

#include <draco/compression/encode.h>
#include <draco/mesh/triangle_soup_mesh_builder.h>
#include <gtest/gtest.h>
#include <meshoptimizer.h>

#include "test/model_tool/reference.h"

namespace model_tool_test {
namespace {

class CompressedData : public ::testing::Test, public PreparedFiles {};

Bytes DracoTetrahedron() {
  draco::TriangleSoupMeshBuilder builder;
  builder.Start(4);
  const int positions = builder.AddAttribute(draco::GeometryAttribute::POSITION, 3, draco::DT_FLOAT32);
  for (uint32_t face = 0; face < 4; ++face) {
    const auto corner = [&](size_t i) { return &kTetrahedron[3 * size_t{kTetrahedronIndices[3 * face + i]}]; };
    builder.SetAttributeValuesForFace(positions, draco::FaceIndex(face), corner(0), corner(1), corner(2));
  }
  const std::unique_ptr<draco::Mesh> mesh = builder.Finalize();
  draco::Encoder encoder;
  encoder.SetAttributeQuantization(draco::GeometryAttribute::POSITION, 14);
  draco::EncoderBuffer buffer;
  EXPECT_TRUE(encoder.EncodeMeshToBuffer(*mesh, &buffer).ok());
  return {buffer.data(), buffer.data() + buffer.size()};
}

// As exporters write it: the accessors tell counts and have no view.
Gltf DracoFile(const Bytes& compressed) {
  Gltf gltf;
  const Json extension = {{"bufferView", gltf.View(compressed)}, {"attributes", {{"POSITION", 0}}}};
  const size_t positions = gltf.Accessor({{"componentType", 5126}, {"count", 4}, {"type", "VEC3"}});
  const size_t indices = gltf.Accessor({{"componentType", 5123}, {"count", 12}, {"type", "SCALAR"}});
  gltf.json["extensionsRequired"] = {"KHR_draco_mesh_compression"};
  gltf.Mesh({{{"attributes", {{"POSITION", positions}}},
              {"indices", indices},
              {"extensions", {{"KHR_draco_mesh_compression", extension}}}}});
  return gltf;
}

TEST_F(CompressedData, DracoIsDecoded) {
  constexpr double kStep = 3.0 / (1 << 14);
  ExpectTriangles(Prepare(DracoFile(DracoTetrahedron())), TetrahedronTriangles(), kStep);
}

TEST_F(CompressedData, EveryCutDracoIsRefusedOrDecoded) {
  const Bytes whole = DracoTetrahedron();
  for (size_t size = 0; size < whole.size(); ++size) {
    const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
    options.in = folder.Write("in.glb", DracoFile(cut).Glb());
    options.out = Out();
    EXPECT_THROW(model_tool::Prepare(options), std::runtime_error) << size;
  }
}

// A view whose data is at another place, compressed, with a buffer that has none.
size_t MeshoptView(Gltf& gltf, const Bytes& compressed, size_t count, size_t stride, const std::string& mode) {
  const size_t source = gltf.View(compressed);
  const Json place = gltf.json["bufferViews"][source];
  const Json extension = {{"buffer", 0},
                          {"byteOffset", place["byteOffset"]},
                          {"byteLength", compressed.size()},
                          {"byteStride", stride},
                          {"count", count},
                          {"mode", mode}};
  Json view = {{"buffer", 1}, {"byteLength", count * stride}, {"extensions", {{"EXT_meshopt_compression", extension}}}};
  if (mode == "ATTRIBUTES") view["byteStride"] = stride;
  gltf.json["bufferViews"].push_back(view);
  return gltf.json["bufferViews"].size() - 1;
}

Gltf MeshoptFile() {
  Gltf gltf;
  Bytes vertices(meshopt_encodeVertexBufferBound(4, 12));
  vertices.resize(meshopt_encodeVertexBuffer(vertices.data(), vertices.size(), kTetrahedron.data(), 4, 12));
  Bytes indices(meshopt_encodeIndexBufferBound(12, 4));
  const std::vector<unsigned int> wide(kTetrahedronIndices.begin(), kTetrahedronIndices.end());
  indices.resize(meshopt_encodeIndexBuffer(indices.data(), indices.size(), wide.data(), 12));
  const size_t vertex_view = MeshoptView(gltf, vertices, 4, 12, "ATTRIBUTES");
  const size_t index_view = MeshoptView(gltf, indices, 12, 2, "TRIANGLES");
  const size_t positions =
      gltf.Accessor({{"bufferView", vertex_view}, {"componentType", 5126}, {"count", 4}, {"type", "VEC3"}});
  const size_t index_accessor =
      gltf.Accessor({{"bufferView", index_view}, {"componentType", 5123}, {"count", 12}, {"type", "SCALAR"}});
  gltf.Mesh({{{"attributes", {{"POSITION", positions}}}, {"indices", index_accessor}}});
  gltf.json["buffers"] = {{{"byteLength", gltf.bin.size()}},
                          {{"byteLength", 72}, {"extensions", {{"EXT_meshopt_compression", {{"fallback", true}}}}}}};
  return gltf;
}

TEST_F(CompressedData, MeshoptIsDecoded) { ExpectTriangles(Prepare(MeshoptFile()), TetrahedronTriangles()); }

TEST_F(CompressedData, MeshoptWithBrokenShapeIsRefused) {
  const std::vector<std::pair<const char*, Json>> changes = {
      {"count", 0},        {"count", 1e15},   {"byteStride", 0},        {"byteStride", 6},
      {"byteStride", 260}, {"byteLength", 3}, {"byteLength", 100000},   {"byteOffset", 1e14},
      {"buffer", 7},       {"mode", "OTHER"}, {"filter", "OCTAHEDRAL"}, {"count", -1}};
  for (const auto& [key, value] : changes) {
    Gltf gltf = MeshoptFile();
    gltf.json["bufferViews"][1]["extensions"]["EXT_meshopt_compression"][key] = value;
    options.in = folder.Write("in.glb", gltf.Glb());
    options.out = Out();
    EXPECT_THROW(model_tool::Prepare(options), std::runtime_error) << key << " " << value;
  }
}

}  // namespace
}  // namespace model_tool_test
