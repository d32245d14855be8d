#ifndef TEST_MODEL_MESH_PRIMITIVE_FIXTURE_H_
#define TEST_MODEL_MESH_PRIMITIVE_FIXTURE_H_

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "model/mesh_primitive.h"
#include "test/model/throws_as.h"
#include "test/support/glb_builder.h"

namespace glb {

using Values = std::vector<float>;

/// `count` times the same three values.
inline Values Repeat(size_t count, const Values& vector) {
  Values values;
  for (size_t i = 0; i < count; ++i) values.insert(values.end(), vector.begin(), vector.end());
  return values;
}

/// `count` vertices, no two alike and no three on a line.
inline Values Curve(size_t count) {
  Values values;
  for (size_t i = 0; i < count; ++i) {
    const auto t = static_cast<float>(i);
    values.insert(values.end(), {t + 1, t * t, t * t * t});
  }
  return values;
}

/// Decodes one mesh of what the builder makes.
class MeshPrimitiveTest : public ::testing::Test {
 protected:
  // BIN is in a block of exactly its size.
  bool Decode(const glb_builder::Glb& glb, int mesh_index = 0) {
    const glb_builder::Bytes data = glb.BinData();
    log_.clear();
    return load_mesh_primitive(glb.JsonText(), BinChunk{data.data(), data.size()}, mesh_index, mesh_, &log_);
  }
  bool Decode(const glb_builder::Mesh& mesh) { return Decode(glb_builder::Glb().Add(mesh)); }

  void ExpectDecoded(const glb_builder::Mesh& mesh) {
    EXPECT_TRUE(Decode(mesh));
    EXPECT_EQ(log_, "");
  }

  void ExpectFailure(const glb_builder::Glb& glb, const std::string& message, int mesh_index = 0) {
    EXPECT_FALSE(Decode(glb, mesh_index));
    EXPECT_EQ(log_, message);
  }
  void ExpectFailure(const glb_builder::Mesh& mesh, const std::string& message) {
    ExpectFailure(glb_builder::Glb().Add(mesh), message);
  }

  template <typename Exception>
  void ExpectThrow(const glb_builder::Mesh& mesh, const char* what) {
    EXPECT_THAT([&] { Decode(mesh); }, ThrowsAs<Exception>(what));
  }
  void ExpectBadInteger(const glb_builder::Mesh& mesh) { ExpectThrow<std::invalid_argument>(mesh, "stoi"); }

  MeshData mesh_;
  std::string log_;
};

}  // namespace glb

#endif  // TEST_MODEL_MESH_PRIMITIVE_FIXTURE_H_
