// The builder itself, so that it and the loader cannot be wrong together.

#include "test/support/glb_builder.h"

#include <gtest/gtest.h>

namespace glb_builder {
namespace {

TEST(GlbBuilderTest, AFileIsHeaderPaddedJsonAndPaddedBin) {
  const Bytes expected = {'g', 'l', 'T', 'F', 2,   0,   0,   0,   40,  0,   0,   0,    // header
                          4,   0,   0,   0,   'J', 'S', 'O', 'N', '{', '}', ' ', ' ',  // JSON
                          8,   0,   0,   0,   'B', 'I', 'N', 0,   1,   2,   3,   4,   5, 0, 0, 0};
  EXPECT_EQ(Glb().Json("{}").Bin({1, 2, 3, 4, 5}).Build(), expected);
}

TEST(GlbBuilderTest, AMeshBecomesAccessorsAndViewsOfItsOwn) {
  const Glb glb = Glb().Add(Mesh(Floats({1, 2, 3}).Offset(4))
                                .Normals(Floats({4, 5, 6}))
                                .Indices(Ushorts({7}).ViewField("byteStride", "2"))
                                .Field("name", "\"lid\"")
                                .Color("1, 0, 0"));
  EXPECT_EQ(glb.JsonText(),
            R"({"asset":{"version":"2.0"},)"
            R"("meshes":[{"name":"lid","primitives":[)"
            R"({"attributes":{"POSITION":0,"NORMAL":1},"indices":2,"material":0}]}],)"
            R"("materials":[{"pbrMetallicRoughness":{"baseColorFactor":[1, 0, 0]}}],)"
            R"("accessors":[{"bufferView":0,"byteOffset":4,"componentType":5126,"count":1,"type":"VEC3"},)"
            R"({"bufferView":1,"componentType":5126,"count":1,"type":"VEC3"},)"
            R"({"bufferView":2,"componentType":5123,"count":1,"type":"SCALAR"}],)"
            R"("bufferViews":[{"buffer":0,"byteOffset":0,"byteLength":16},)"
            R"({"buffer":0,"byteOffset":16,"byteLength":12},)"
            R"({"byteStride":2,"buffer":0,"byteOffset":28,"byteLength":2}],)"
            R"("buffers":[{"byteLength":30}]})");
  EXPECT_EQ(glb.BinData(), (Bytes{0xEE, 0xEE, 0xEE, 0xEE, 0,    0, 0x80, 0x3F, 0,    0, 0x00, 0x40, 0,    0, 0x40,
                                  0x40, 0,    0,    0x80, 0x40, 0, 0,    0xA0, 0x40, 0, 0,    0xC0, 0x40, 7, 0}));
}

}  // namespace
}  // namespace glb_builder
