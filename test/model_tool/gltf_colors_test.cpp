// Which flat colour each triangle gets.

#include <gtest/gtest.h>
#include <webp/encode.h>

#include "test/model_tool/png.h"
#include "test/model_tool/reference.h"

namespace model_tool_test {
namespace {

Place DisplayOf(const Rgba& pixel) { return {pixel[0] / 255.0, pixel[1] / 255.0, pixel[2] / 255.0}; }

// A quad of two triangles in the plane z = 0 from x = 0 to 2, one over the other, each with its own corners.
const std::vector<float> kTwoTriangles = {0, 0, 0, 2, 0, 0, 2, 2, 0, 0, 3, 0, 2, 5, 0, 0, 5, 0};

class GltfColors : public ::testing::Test, public PreparedFiles {
 protected:
  // The two triangles with one more attribute, in a material.
  void AddTwoTriangles(const Json& material, const char* attribute = nullptr, size_t accessor = 0) {
    Json primitive = {{"attributes", {{"POSITION", gltf.Vec3s(kTwoTriangles)}}}};
    if (attribute != nullptr) primitive["attributes"][attribute] = accessor;
    if (!material.is_null()) primitive["material"] = gltf.Material(material);
    gltf.Mesh({primitive});
  }
  void AddPicture(const Bytes& png) {
    gltf.json["images"] = {{{"bufferView", gltf.View(png)}, {"mimeType", "image/png"}}};
    gltf.json["textures"] = {{{"source", 0}}};
  }
  // The first triangle in the left half of the picture, the second in the right one.
  size_t HalfAndHalf() { return gltf.Vec2s({0, 0, 0.5f, 0, 0.5f, 1, 0.5f, 0, 1, 0, 1, 1}); }

  static std::vector<WorldTriangle> InColors(const Place& first, const Place& second) {
    std::vector<WorldTriangle> triangles = Triangles(kTwoTriangles, {0, 1, 2, 3, 4, 5});
    triangles[0].color = first;
    triangles[1].color = second;
    return triangles;
  }
  static Json Textured() { return {{"pbrMetallicRoughness", {{"baseColorTexture", {{"index", 0}}}}}}; }

  Gltf gltf;
};

constexpr Rgba kRed = {200, 10, 10, 255};
constexpr Rgba kBlue = {20, 40, 180, 255};

TEST_F(GltfColors, FactorIsLightAndBecomesWhatTheScreenIsGiven) {
  AddTwoTriangles(Colored({0.5, 0.2, 0.001, 1}));
  const Place display = {Display(0.5), Display(0.2), Display(0.001)};
  ExpectTriangles(Prepare(gltf), InColors(display, display));
}

TEST_F(GltfColors, NoMaterialIsThePlugInsGrey) {
  AddTwoTriangles(nullptr);
  ExpectTriangles(Prepare(gltf), InColors({0.8, 0.8, 0.8}, {0.8, 0.8, 0.8}));
}

TEST_F(GltfColors, MaterialWithoutAColourIsWhite) {
  AddTwoTriangles({{"name", "bare"}});
  ExpectTriangles(Prepare(gltf), InColors({1, 1, 1}, {1, 1, 1}));
}

TEST_F(GltfColors, SpecularGlossinessHasItsOwnFactor) {
  const Json extension = {{"diffuseFactor", {0.25, 0.5, 0.75, 1}}};
  AddTwoTriangles({{"extensions", {{"KHR_materials_pbrSpecularGlossiness", extension}}}});
  const Place display = {Display(0.25), Display(0.5), Display(0.75)};
  ExpectTriangles(Prepare(gltf), InColors(display, display));
}

TEST_F(GltfColors, TextureGivesEachTriangleItsPart) {
  AddPicture(Png(2, 1, {kRed, kBlue}));
  AddTwoTriangles(Textured(), "TEXCOORD_0", HalfAndHalf());
  ExpectTriangles(Prepare(gltf), InColors(DisplayOf(kRed), DisplayOf(kBlue)));
}

TEST_F(GltfColors, FactorAndTextureMultiplyAsLight) {
  AddPicture(Png(2, 1, {kRed, kBlue}));
  Json material = Textured();
  material["pbrMetallicRoughness"]["baseColorFactor"] = {0.5, 1, 0.25, 1};
  AddTwoTriangles(material, "TEXCOORD_0", HalfAndHalf());
  const auto light = [](uint8_t byte) { return std::pow((byte / 255.0 + 0.055) / 1.055, 2.4); };
  ExpectTriangles(Prepare(gltf), InColors({Display(0.5 * light(200)), 10 / 255.0, Display(0.25 * 10 / 255 / 12.92)},
                                          {Display(0.5 * light(20)), 40 / 255.0, Display(0.25 * light(180))}));
}

TEST_F(GltfColors, TriangleOverSeveralPixelsGetsTheMeanOfTheirLight) {
  // The diagonal of each triangle leaves as much of the black pixel as of the white one.
  AddPicture(Png(2, 2, {{{0, 0, 0, 255}, {255, 255, 255, 255}, {255, 255, 255, 255}, {0, 0, 0, 255}}}));
  AddTwoTriangles(Textured(), "TEXCOORD_0", gltf.Vec2s({0, 0, 40, 0, 40, 40, 0, 0, 40, 40, 0, 40}));
  const double half = Display(0.5);
  const GLBModel model = Prepare(gltf);
  ASSERT_EQ(model.meshes.size(), 1u);
  EXPECT_NEAR(model.meshes[0].color[0], half, 0.02);
}

TEST_F(GltfColors, SixColouredCubeKeepsItsSixColours) {
  const std::vector<Rgba> sides = {
      kRed, kBlue, {10, 150, 30, 255}, {240, 240, 20, 255}, {30, 30, 30, 255}, {230, 120, 230, 255}};
  std::vector<Rgba> pixels;
  for (int row = 0; row < 8; ++row) {
    for (const Rgba& side : sides) pixels.insert(pixels.end(), 8, side);
  }
  AddPicture(Png(48, 8, pixels));
  std::vector<float> positions, coordinates;
  std::vector<uint16_t> indices;
  std::vector<WorldTriangle> expected;
  for (size_t side = 0; side < 6; ++side) {
    const size_t axis = side / 2;
    const float end = side % 2 == 0 ? 1.0f : -1.0f;
    const auto first = static_cast<uint16_t>(positions.size() / 3);
    for (const auto& [u, v] : {std::pair(-1.0f, -1.0f), {1.0f, -1.0f}, {1.0f, 1.0f}, {-1.0f, 1.0f}}) {
      std::array<float, 3> place;
      place[axis] = end;
      place[(axis + 1) % 3] = end * u;
      place[(axis + 2) % 3] = v;
      positions.insert(positions.end(), place.begin(), place.end());
      coordinates.insert(coordinates.end(), {(static_cast<float>(side) + (u + 1) / 2) / 6, (v + 1) / 2});
    }
    const std::vector<uint16_t> quad = {first, uint16_t(first + 1), uint16_t(first + 2),
                                        first, uint16_t(first + 2), uint16_t(first + 3)};
    indices.insert(indices.end(), quad.begin(), quad.end());
    const auto triangles = InColor(Triangles(positions, quad), DisplayOf(sides[side]));
    expected.insert(expected.end(), triangles.begin(), triangles.end());
  }
  gltf.Mesh({{{"attributes", {{"POSITION", gltf.Vec3s(positions)}, {"TEXCOORD_0", gltf.Vec2s(coordinates)}}},
              {"indices", gltf.Indices(indices)},
              {"material", gltf.Material(Textured())}}});
  const GLBModel model = Prepare(gltf);
  EXPECT_EQ(model.meshes.size(), 6u);
  ExpectTriangles(model, expected);
}

TEST_F(GltfColors, TextureTransformAndSecondCoordinatesCount) {
  AddPicture(Png(2, 1, {kRed, kBlue}));
  Json material = Textured();
  Json& texture = material["pbrMetallicRoughness"]["baseColorTexture"];
  texture["extensions"]["KHR_texture_transform"] = {{"offset", {0.5, 0}}, {"texCoord", 1}};
  AddTwoTriangles(material, "TEXCOORD_1", HalfAndHalf());
  gltf.json["meshes"][0]["primitives"][0]["attributes"]["TEXCOORD_0"] = gltf.Vec2s(std::vector<float>(12, 0.1f));
  ExpectTriangles(Prepare(gltf), InColors(DisplayOf(kBlue), DisplayOf(kRed)));
}

TEST_F(GltfColors, PictureMayLieBesideTheFileOrInItsText) {
  folder.Write("skin pic.png", Png(2, 1, {kRed, kBlue}));
  AddPicture({1});
  gltf.json["images"] = {{{"uri", "skin%20pic.png"}}};
  AddTwoTriangles(Textured(), "TEXCOORD_0", HalfAndHalf());
  ExpectTriangles(Prepare(gltf), InColors(DisplayOf(kRed), DisplayOf(kBlue)));
}

TEST_F(GltfColors, PictureMayBeWebp) {
  const std::vector<uint8_t> pixels = {200, 10, 10, 255, 20, 40, 180, 255};
  uint8_t* encoded = nullptr;
  const size_t size = WebPEncodeLosslessRGBA(pixels.data(), 2, 1, 8, &encoded);
  AddPicture(Bytes(encoded, encoded + size));
  WebPFree(encoded);
  gltf.json["textures"][0] = {{"extensions", {{"EXT_texture_webp", {{"source", 0}}}}}};
  AddTwoTriangles(Textured(), "TEXCOORD_0", HalfAndHalf());
  ExpectTriangles(Prepare(gltf), InColors(DisplayOf(kRed), DisplayOf(kBlue)));
}

TEST_F(GltfColors, VertexColoursAreLightToo) {
  AddTwoTriangles(Colored({1, 0.5, 1, 1}), "COLOR_0",
                  gltf.Vec3s({1, 0, 0, 0, 1, 0, 0, 0, 1, 0.25f, 0.5f, 0.75f, 0.25f, 0.5f, 0.75f, 0.25f, 0.5f, 0.75f}));
  ExpectTriangles(Prepare(gltf), InColors({Display(1.0 / 3), Display(0.5 / 3), Display(1.0 / 3)},
                                          {Display(0.25), Display(0.25), Display(0.75)}));
}

TEST_F(GltfColors, VertexColoursMayBeNormalisedBytes) {
  std::vector<uint8_t> bytes;
  for (int i = 0; i < 6; ++i) bytes.insert(bytes.end(), {51, 102, 153, 255});
  AddTwoTriangles(Colored({1, 1, 1, 1}), "COLOR_0", gltf.Accessor(bytes, "VEC4", 4, true));
  const Place display = {Display(0.2), Display(0.4), Display(0.6)};
  ExpectTriangles(Prepare(gltf), InColors(display, display));
}

TEST_F(GltfColors, MaskedTexelsDoNotCount) {
  AddPicture(Png(4, 1, {kRed, {255, 255, 255, 20}, kBlue, {255, 255, 255, 20}}));
  Json material = Textured();
  material["alphaMode"] = "MASK";
  AddTwoTriangles(material, "TEXCOORD_0", HalfAndHalf());
  ExpectTriangles(Prepare(gltf), InColors(DisplayOf(kRed), DisplayOf(kBlue)));
}

TEST_F(GltfColors, WhatIsFullyTransparentIsLeftOut) {
  AddPicture(Png(2, 1, {kRed, {9, 9, 9, 0}}));
  Json material = Textured();
  material["alphaMode"] = "BLEND";
  AddTwoTriangles(material, "TEXCOORD_0", HalfAndHalf());
  std::vector<WorldTriangle> expected = InColors(DisplayOf(kRed), {});
  expected.pop_back();
  ExpectTriangles(Prepare(gltf), expected);
}

TEST_F(GltfColors, AlphaOfAnOpaqueMaterialMeansNothing) {
  AddTwoTriangles(Colored({1, 0, 0, 0}));
  ExpectTriangles(Prepare(gltf), InColors({1, 0, 0}, {1, 0, 0}));
}

TEST_F(GltfColors, TooManyColoursBecomeTheNearestFew) {
  std::vector<float> positions, colors;
  constexpr size_t kCount = 100;
  for (size_t i = 0; i < kCount; ++i) {
    const auto x = static_cast<float>(3 * i);
    positions.insert(positions.end(), {x, 0, 0, x + 1, 0, 0, x, 1, 0});
    // Shades of red, and among them one green.
    const float shade = static_cast<float>(i) / kCount;
    for (int k = 0; k < 3; ++k) colors.insert(colors.end(), {i == 50 ? 0 : 0.5f + 0.5f * shade, i == 50 ? 0.8f : 0, 0});
  }
  gltf.Mesh({{{"attributes", {{"POSITION", gltf.Vec3s(positions)}, {"COLOR_0", gltf.Vec3s(colors)}}},
              {"material", gltf.Material(Colored({1, 1, 1, 1}))}}});
  options.colors = 5;
  const GLBModel model = Prepare(gltf);
  EXPECT_EQ(model.meshes.size(), 5u);
  size_t green = 0;
  for (const MeshData& mesh : model.meshes) {
    if (mesh.color[1] < 0.5f) continue;
    ++green;
    EXPECT_NEAR(mesh.color[1], Display(0.8), 0.01);
    EXPECT_NEAR(mesh.color[0], 0, 0.02);
    EXPECT_EQ(mesh.indices.size(), 3u);
  }
  EXPECT_EQ(green, 1u);
}

}  // namespace
}  // namespace model_tool_test
