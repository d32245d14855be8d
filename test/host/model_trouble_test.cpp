// Explanations are asked for as the host does: for files on disk, with the loader's own words about them.

#include "host/model_trouble.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "model/glb_loader.h"
#include "test/host/failure.h"
#include "test/support/files.h"
#include "test/support/glb_builder.h"

namespace host {
namespace {

using namespace glb_builder;
using ::testing::StartsWith;

std::string AsText(const Bytes& bytes) { return std::string(bytes.begin(), bytes.end()); }

// A binary STL file of two triangles.
std::string BinaryStl() {
  std::string file(80, ' ');
  file += std::string("\2\0\0\0", 4);
  return file + std::string(2 * 50, '\0');
}

class ModelTroubleTest : public ::testing::Test {
 protected:
  // In one line, as an answer is shown, with what the second path gives.
  static std::string LoaderWords(const std::string& path) {
    GLBModel model;
    std::string log = "Failed to load model: ";
    EXPECT_FALSE(load_glb_model(path, model, &log)) << "the loader takes it";
    log += "fail: read file";
    for (size_t at; (at = log.find('\n')) != std::string::npos;) log.replace(at, 1, "; ");
    return log;
  }
  std::string TroubleOf(const std::string& file) const {
    const std::string path = folder_.Write("model.glb", file);
    return ModelTrouble(path, LoaderWords(path));
  }

  TemporaryFolder folder_;
};

TEST_F(ModelTroubleTest, FileOfAnotherKindIsNamedByWhatIsInIt) {
  const struct {
    std::string file;
    const char* trouble;  // its beginning
  } kCases[] = {
      {"", "it is empty; copy, download or export it again"},
      {"version https://git-lfs.github.com/spec/v1\noid sha256:0\nsize 9\n",
       "it is a pointer of git-lfs and not the file itself; run: git lfs pull"},
      {std::string("PK\3\4\x0A\0\0\0", 8) + std::string(22, '\0') + "scene.usdc PXR", "it is a USDZ file; open it"},
      {std::string("PK\3\4\x14\0\0\0", 8) + std::string(22, '\0') + "device.glb", "it is a ZIP archive; unpack it"},
      {std::string("\x1F\x8B\x08\0\0\0\0\0\0\0\0\0", 12), "it is a gzip archive; unpack it"},
      {"7z\xBC\xAF\x27\x1C and so on", "it is a 7z archive; unpack it"},
      {"\x89PNG\r\n\x1a\n\0\0\0\rIHDR", "it is a picture (PNG); give a .glb file"},
      {"\xFF\xD8\xFF\xE0, then JFIF", "it is a picture (JPEG); give a .glb file"},
      {"RIFF....WEBPVP8 ", "it is a picture (WebP); give a .glb file"},
      {"%PDF-1.7 and so on", "it is a PDF document; give a .glb file"},
      {"Kaydara FBX Binary  ", "it is an FBX file; open it in Blender"},
      {"; FBX 7.3.0 project file\n", "it is an FBX file; open it in Blender"},
      {"BLENDER-v300", "it is a Blender file; open it in Blender"},
      {"\x28\xB5\x2F\xFD and so on", "it is compressed (zstd), as Blender saves its files; open it in Blender"},
      {"ply\nformat ascii 1.0\n", "it is a PLY file; open it"},
      {"ply\r\nformat ascii 1.0\r\n", "it is a PLY file; open it"},
      {"#usda 1.0\n(\n)\n", "it is a USD file; open it"},
      {"PXR-USDC and so on", "it is a USD file; open it"},
      {"ISO-10303-21;\nHEADER;\n", "it is a STEP file; open it in FreeCAD"},
      {"\n<!DOCTYPE html>\n<html>", "it is a web page, such as a server sends instead of a file; download the file"},
      {"<HTML><body>404</body>", "it is a web page, such as a server sends instead of a file; download the file"},
      {"\xEF\xBB\xBF<?xml version=\"1.0\"?>\n<COLLADA>", "it is a COLLADA file; open it"},
      {"<?xml version=\"1.0\"?>\n<X3D>", "it is an X3D file; open it"},
      {R"({"asset": {"version": "1.0"}, "meshes": {}, "techniques": {}})",
       "it is a text .gltf file, of glTF 1; open it"},
      {R"({"asset": {"version": "2.0"}, "meshes": []})", "it is a text .gltf file, not the binary kind; open it"},
      {"solid lid\n facet normal 0 0 1\n", "it is an STL file; open it"},
      {BinaryStl(), "it is an STL file; open it"},
      {"mtllib device.mtl\nv 0 0 0\n", "it is an OBJ file; open it"},
      {"# made by hand\nv 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n", "it is an OBJ file; open it"},
      {"nothing that anybody knows", "it is no binary glTF file, nor of a kind that is known here; open it"},
      {"short", "it is no binary glTF file, nor of a kind that is known here; open it"},
  };
  for (const auto& c : kCases) EXPECT_THAT(TroubleOf(c.file), StartsWith(c.trouble)) << c.file.substr(0, 40);
}

TEST_F(ModelTroubleTest, BinaryGltfIsExplainedByWhatTheLoaderStumblesOver) {
  const Glb good = Glb().Add(Triangle());
  const size_t size = good.Build().size();
  const struct {
    const char* what;
    Glb glb;
    std::string trouble;  // its beginning
  } kCases[] = {
      {"version 1", Glb(good).Version(1), "it is binary glTF of version 1, not 2; open it"},
      {"in the header", Glb(good).TruncatedTo(13), "it ends within its header; copy"},
      {"in the JSON text", Glb(good).TruncatedTo(100),
       "it is cut short: of " + std::to_string(size) + " bytes 100 are there; copy"},
      {"behind the JSON text", Glb(good).TruncatedTo(size - 36 - 8 - 8),
       "it is cut short: of " + std::to_string(size) + " bytes " + std::to_string(size - 52) + " are there; copy"},
      {"in the data", Glb(good).TruncatedTo(size - 1),
       "it is cut short: of " + std::to_string(size) + " bytes " + std::to_string(size - 1) + " are there; copy"},
      {"a chunk that is too long", Glb(good).BinLength(1000), "it is cut short: of "},
      {"JSON alone", Glb().Json(R"({"meshes":[{}]})").WithoutBin(), "it has no data of its own (no BIN chunk)"},
      {"no JSON", Glb(good).JsonType(0x12345678), "its first part is not the JSON text"},
      {"no BIN", Glb(good).BinType(0x12345678), "behind the JSON text comes something else than the data"},
      {"no meshes", Glb(), "there are no meshes in it"},
      {"Draco",
       Glb().Add(Mesh(Floats(kTrianglePositions).Field("count", "9"))
                     .PrimitiveField("extensions", R"({"KHR_draco_mesh_compression":{"bufferView":0}})")),
       "its meshes are compressed (Draco); export it again without compression"},
      {"meshopt",
       Glb().Add(Mesh(Floats(kTrianglePositions)
                          .Field("count", "9")
                          .ViewField("extensions", R"({"EXT_meshopt_compression":{}})"))),
       "its meshes are compressed (meshopt); write it again"},
      {"quantised and so declared",
       Glb().Add(
           Mesh(Floats(kTrianglePositions).Field("componentType", "5122")).Field("name", "\"KHR_mesh_quantization\"")),
       "its positions are quantised, no 32-bit floats; write it again"},
      {"quantised", Glb().Add(Mesh(Floats(kTrianglePositions).Field("componentType", "5122"))),
       "its positions are no 32-bit floats, or there are none"},
      {"data elsewhere", Glb().Add(Mesh(Floats(kTrianglePositions).Field("count", "9"))),
       "it names data beyond its end"},
      {"index out of range", Glb().Add(Mesh(Floats(kTrianglePositions)).Indices(Ushorts({0, 1, 3}))),
       "its triangles name vertices that are not there"},
      {"no positions", Glb().Add(Triangle().WithoutAttribute("POSITION")), "its meshes have no positions"},
      {"no primitives", Glb().Add(Triangle().Without("primitives")), "its meshes are empty"},
      {"primitives that are no array", Glb().Json(R"({"meshes":[{"primitives":{}}]})"), "its meshes are empty"},
      {"an empty array", Glb().Add(Triangle().Field("primitives", "[]")), "its meshes are empty"},
      {"no attributes", Glb().Add(Triangle().PrimitiveWithout("attributes")), "its meshes have no vertices"},
      {"an accessor that is not there", Glb().Add(Triangle().Attribute("POSITION", "7")),
       "its meshes name data that the file does not describe"},
  };
  for (const auto& c : kCases) {
    EXPECT_THAT(TroubleOf(AsText(c.glb.Build())), StartsWith(c.trouble)) << c.what;
  }
}

TEST_F(ModelTroubleTest, ExceptionsOfTheLoaderAreExplained) {
  const std::string path = folder_.Write("model.glb", Glb().Add(Triangle()));
  EXPECT_THAT(ModelTrouble(path, "an exception left the plug-in's handler: stoi"),
              StartsWith("it has a whole number that cannot be read"));
  EXPECT_THAT(ModelTrouble(path, "an exception left the plug-in's handler: stof"),
              StartsWith("it has a number that cannot be read"));
  EXPECT_THAT(ModelTrouble(path, "an exception left the plug-in's handler: std::bad_alloc"),
              StartsWith("there is not enough memory for it"));
  EXPECT_THAT(ModelTrouble(path, "nobody has said this before"), StartsWith("the loader cannot make anything of it"));
}

// The plug-in's two paths are relative to the folder that the process is in.
class ModelFileTest : public ModelTroubleTest {
 protected:
  ModelFileTest() : folder_before_(std::filesystem::current_path()) {
    std::filesystem::current_path(folder_.path());
    std::filesystem::create_directories("data/flutter_assets");
  }
  ~ModelFileTest() override { std::filesystem::current_path(folder_before_); }

  static std::string FailureOf(const std::string& path) {
    return host::FailureOf([&] { CheckModelFile(path); });
  }

 private:
  const std::filesystem::path folder_before_;
};

TEST_F(ModelFileTest, FileAsGivenComesBeforeTheOneAmongTheAssets) {
  EXPECT_EQ(ModelFile("a.glb"), "a.glb") << "neither is there";
  folder_.Write("data/flutter_assets/a.glb", "");
  EXPECT_EQ(ModelFile("a.glb"), "data/flutter_assets/a.glb");
  EXPECT_EQ(ModelFile("data/flutter_assets/a.glb"), "data/flutter_assets/a.glb");
  folder_.Write("a.glb", "");
  EXPECT_EQ(ModelFile("a.glb"), "a.glb");
  folder_.Write("b.glb", "");
  EXPECT_EQ(ModelFile("data/flutter_assets/b.glb"), "b.glb");
}

TEST_F(ModelFileTest, TroubleIsThatOfTheFileThatIsThere) {
  folder_.Write("data/flutter_assets/a.glb", "");
  EXPECT_EQ(ModelTrouble("a.glb", "fail: read file; fail: header"),
            "data/flutter_assets/a.glb: it is empty; copy, download or export it again");
  EXPECT_EQ(ModelTrouble("none.glb", "fail: read file; fail: read file"),
            "there is no such file, nor data/flutter_assets/none.glb");
}

TEST_F(ModelFileTest, WhatIsNoFileIsRefused) {
  ASSERT_EQ(mkfifo("pipe.glb", 0600), 0);
  EXPECT_EQ(FailureOf("pipe.glb"), "cannot load the model pipe.glb: it is a pipe, and no file");
  EXPECT_EQ(FailureOf("data"), "cannot load the model data: it is a folder, and no file");
  EXPECT_EQ(FailureOf("data/flutter_assets/pipe.glb"), "cannot load the model pipe.glb: it is a pipe, and no file");
  EXPECT_EQ(FailureOf("/dev/zero"), "cannot load the model /dev/zero: it is a device, and no file");
}

TEST_F(ModelFileTest, FilesArePassedOnWhateverIsInThem) {
  folder_.Write("text.glb", "no model");
  EXPECT_EQ(FailureOf("text.glb"), "no failure");
  EXPECT_EQ(FailureOf("none.glb"), "no failure");
}

TEST_F(ModelFileTest, FileBeyondTheLengthThatAGlbCanHaveIsRefused) {
  folder_.Write("huge.glb", "");
  std::filesystem::resize_file("huge.glb", 0xFFFFFFFF);  // takes no room on the disk
  EXPECT_EQ(FailureOf("huge.glb"), "no failure");
  std::filesystem::resize_file("huge.glb", 0x100000000);
  EXPECT_EQ(FailureOf("huge.glb"),
            "cannot load the model huge.glb: it has 4294967296 bytes, a .glb file has 4294967295 at most");
}

}  // namespace
}  // namespace host
