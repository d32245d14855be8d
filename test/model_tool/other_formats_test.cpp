// Files of other kinds than glTF.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "test/model_tool/png.h"
#include "test/model_tool/reference.h"

namespace model_tool_test {
namespace {

using ::testing::HasSubstr;
using ::testing::ThrowsMessage;

class OtherFormats : public ::testing::Test, public PreparedFiles {
 protected:
  void ExpectRefused(const std::string& path, const std::string& words) {
    EXPECT_THAT([&] { PrepareFile(path); }, ThrowsMessage<std::runtime_error>(HasSubstr(words)));
  }
};

const std::vector<float> kTwo = {0, 0, 0, 1, 0, 0, 0, 2, 0, 5, 0, 0, 6, 0, 0, 5, 2, 0};

std::vector<WorldTriangle> TwoTriangles(const Place& first, const Place& second) {
  std::vector<WorldTriangle> triangles = Triangles(kTwo, {0, 1, 2, 3, 4, 5});
  triangles[0].color = first;
  triangles[1].color = second;
  return triangles;
}

constexpr char kObj[] =
    "mtllib colors.mtl\n"
    "v 0 0 0\nv 1 0 0\nv 0 2 0\nv 5 0 0\nv 6 0 0\nv 5 2 0\n"
    "vt 0.25 0.25\n"
    "usemtl first\nf 1/1 2/1 3/1\nusemtl second\nf 4/1 5/1 6/1\n";

TEST_F(OtherFormats, ObjHasItsMaterials) {
  folder.Write("colors.mtl", "newmtl first\nKd 0.5 0.25 0.125\nnewmtl second\nKd 0.1 0.2 0.9\n");
  ExpectTriangles(PrepareFile(folder.Write("in.obj", kObj)), TwoTriangles({0.5, 0.25, 0.125}, {0.1, 0.2, 0.9}));
}

// The picture's first row is its upper one; the coordinates count from below.
TEST_F(OtherFormats, ObjHasItsTextures) {
  constexpr Rgba kUpper = {200, 10, 10, 255};
  constexpr Rgba kLower = {20, 40, 180, 255};
  folder.Write("picture.png", Png(1, 2, {kUpper, kLower}));
  folder.Write("colors.mtl", "newmtl first\nKd 1 1 1\nmap_Kd C:\\work\\picture.png\nnewmtl second\nKd 0.1 0.2 0.9\n");
  ExpectTriangles(PrepareFile(folder.Write("in.obj", kObj)),
                  TwoTriangles({20 / 255.0, 40 / 255.0, 180 / 255.0}, {0.1, 0.2, 0.9}));
}

TEST_F(OtherFormats, ObjWithAMissingPictureIsRefused) {
  folder.Write("colors.mtl", "newmtl first\nmap_Kd none.png\n");
  ExpectRefused(folder.Write("in.obj", kObj), "none.png");
}

TEST_F(OtherFormats, ObjWithFacesOfFourCorners) {
  const std::string path = folder.Write("in.obj", "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nf 1 2 3 4\n");
  const GLBModel model = PrepareFile(path);
  ASSERT_EQ(model.meshes.size(), 1u);
  EXPECT_EQ(model.meshes[0].positions.size(), 12u);
  EXPECT_EQ(model.meshes[0].indices.size(), 6u);
}

TEST_F(OtherFormats, TextStlIsGrey) {
  std::string text = "solid two\n";
  for (size_t i = 0; i < kTwo.size(); i += 9) {
    text += "facet normal 0 0 1\nouter loop\n";
    for (size_t k = i; k < i + 9; k += 3) {
      text += "vertex " + std::to_string(kTwo[k]) + " " + std::to_string(kTwo[k + 1]) + " " +
              std::to_string(kTwo[k + 2]) + "\n";
    }
    text += "endloop\nendfacet\n";
  }
  ExpectTriangles(PrepareFile(folder.Write("in.stl", text + "endsolid two\n")),
                  TwoTriangles({0.8, 0.8, 0.8}, {0.8, 0.8, 0.8}));
}

TEST_F(OtherFormats, BinaryStlIsGrey) {
  Bytes file(80, ' ');
  glb_builder::Append(file, BytesOf<uint32_t>({2}));
  for (size_t i = 0; i < kTwo.size(); i += 9) {
    glb_builder::Append(file, BytesOf<float>({0, 0, 1}));
    glb_builder::Append(file, BytesOf(std::vector<float>(&kTwo[i], &kTwo[i] + 9)));
    file.resize(file.size() + 2);
  }
  ExpectTriangles(PrepareFile(folder.Write("in.stl", file)), TwoTriangles({0.8, 0.8, 0.8}, {0.8, 0.8, 0.8}));
}

TEST_F(OtherFormats, PlyHasItsVertexColours) {
  std::string text =
      "ply\nformat ascii 1.0\nelement vertex 6\nproperty float x\nproperty float y\nproperty float z\n"
      "property uchar red\nproperty uchar green\nproperty uchar blue\n"
      "element face 2\nproperty list uchar int vertex_indices\nend_header\n";
  for (size_t i = 0; i < kTwo.size(); i += 3) {
    text += std::to_string(kTwo[i]) + " " + std::to_string(kTwo[i + 1]) + " " + std::to_string(kTwo[i + 2]) +
            (i < 9 ? " 51 102 153\n" : " 204 0 255\n");
  }
  ExpectTriangles(PrepareFile(folder.Write("in.ply", text + "3 0 1 2\n3 3 4 5\n")),
                  TwoTriangles({0.2, 0.4, 0.6}, {0.8, 0, 1}));
}

// Two nodes with one geometry, one of them mirrored.
TEST_F(OtherFormats, ColladaHasItsNodes) {
  const std::string text = R"(<?xml version="1.0"?>
<COLLADA xmlns="http://www.collada.org/2005/11/COLLADASchema" version="1.4.1">
 <asset><up_axis>Y_UP</up_axis></asset>
 <library_geometries><geometry id="g"><mesh>
  <source id="p"><float_array id="a" count="9">0 0 0 1 0 0 0 2 0</float_array><technique_common>
   <accessor source="#a" count="3" stride="3"><param name="X" type="float"/><param name="Y" type="float"/>
   <param name="Z" type="float"/></accessor></technique_common></source>
  <vertices id="v"><input semantic="POSITION" source="#p"/></vertices>
  <triangles count="1"><input semantic="VERTEX" source="#v" offset="0"/><p>0 1 2</p></triangles>
 </mesh></geometry></library_geometries>
 <library_visual_scenes><visual_scene id="s">
  <node id="n1"><translate>5 0 0</translate><instance_geometry url="#g"/></node>
  <node id="n2"><scale>-1 1 1</scale><instance_geometry url="#g"/></node>
 </visual_scene></library_visual_scenes>
 <scene><instance_visual_scene url="#s"/></scene>
</COLLADA>)";
  const std::vector<float> placed = {5, 0, 0, 6, 0, 0, 5, 2, 0, 0, 0, 0, 0, 2, 0, -1, 0, 0};
  std::vector<WorldTriangle> found = Triangles(placed, {0, 1, 2, 3, 4, 5});
  const GLBModel model = PrepareFile(folder.Write("in.dae", text));
  ASSERT_EQ(model.meshes.size(), 1u);
  const auto& color = model.meshes[0].color;
  ExpectTriangles(model, InColor(found, {color[0], color[1], color[2]}));
}

TEST_F(OtherFormats, StepFileSaysHowToExportIt) {
  ExpectRefused(folder.Write("in.step", "ISO-10303-21;\nHEADER;\n"), "export it from a CAD program");
}

TEST_F(OtherFormats, UnknownKindIsRefused) {
  ExpectRefused(folder.Write("in.xyz", "nonsense of no kind"), "of no kind that can be read");
  ExpectRefused(folder.Write("in.stl", "solid nothing\nendsolid\n"), "cannot read");
  ExpectRefused(folder.Write("in.obj", ""), "it is empty");
}

}  // namespace
}  // namespace model_tool_test
