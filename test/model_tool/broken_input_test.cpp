// Files that cannot be read: one line, exit status 3, nothing written.

#include <sys/stat.h>

#include "test/model_tool/gltf_builder.h"
#include "test/model_tool/program.h"

namespace model_tool_test {
namespace {

class BrokenInput : public ProgramTest {
 protected:
  void ExpectRefused(const Gltf& gltf, const std::string& words) {
    ProgramTest::ExpectRefused(Prepare(folder_.Write("in.glb", gltf.Glb())), words);
  }
  void ExpectFileRefused(const std::string& content, const std::string& words) {
    ProgramTest::ExpectRefused(Prepare(folder_.Write("in.glb", content)), words);
  }
  static Gltf Good() {
    Gltf gltf;
    gltf.Scene({gltf.Node({{"mesh", gltf.Mesh({Tetrahedron(gltf)})}})});
    return gltf;
  }
  static std::string GoodBytes() {
    const Bytes bytes = Good().Glb();
    return {bytes.begin(), bytes.end()};
  }
};

TEST_F(BrokenInput, GoodFileIsNoneOfThem) { EXPECT_EQ(Prepare(folder_.Write("in.glb", GoodBytes())).status, 0); }

TEST_F(BrokenInput, MissingFile) { ProgramTest::ExpectRefused(Prepare(folder_.PathOf("none.glb")), "No such file"); }

TEST_F(BrokenInput, FolderAndPipe) {
  ProgramTest::ExpectRefused(Prepare(folder_.path()), "is a folder");
  const std::string pipe = folder_.PathOf("pipe.glb");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  ProgramTest::ExpectRefused(Prepare(pipe), "is a pipe");
}

TEST_F(BrokenInput, EmptyFileAndNonsense) {
  ExpectFileRefused("", "cannot read");
  ExpectFileRefused("glTF", "ends within its header");
  ExpectFileRefused("nonsense of no kind", "cannot read");
  ExpectFileRefused("{}", "cannot read");
  ExpectFileRefused("[]", "cannot read");
}

TEST_F(BrokenInput, CutOffAnywhere) {
  const std::string good = GoodBytes();
  for (size_t size = 0; size + 4 < good.size(); size += 37) ExpectFileRefused(good.substr(0, size), "cannot read");
  ExpectFileRefused(good.substr(0, good.size() - 1), "the file is cut off");
}

TEST_F(BrokenInput, VersionOne) {
  std::string old = GoodBytes();
  old[4] = 1;
  ExpectFileRefused(old, "glTF version 1");
}

TEST_F(BrokenInput, NodesInARing) {
  Gltf gltf = Good();
  gltf.Node({{"children", {2}}});
  gltf.Node({{"children", {1}}});
  ExpectRefused(gltf, "ring");
}

TEST_F(BrokenInput, NodeThatIsItsOwnChild) {
  Gltf gltf = Good();
  gltf.json["nodes"][0]["children"] = {0};
  ExpectRefused(gltf, "ring");
}

TEST_F(BrokenInput, NodeWithTwoParents) {
  Gltf gltf = Good();
  gltf.Node({{"children", {0}}});
  gltf.Node({{"children", {0}}});
  ExpectRefused(gltf, "nodes[0] has two parents");
}

TEST_F(BrokenInput, JsonNestedTooDeep) {
  Gltf gltf = Good();
  std::string text = gltf.Text();
  text.insert(1, "\"extras\":" + std::string(100000, '[') + std::string(100000, ']') + ",");
  const Bytes file = glb_builder::Glb().Json(text).Bin(gltf.bin).Build();
  ProgramTest::ExpectRefused(Prepare(folder_.Write("in.glb", file)), "nested more than");
}

TEST_F(BrokenInput, NumbersThatNameWhatIsNotThere) {
  struct Change {
    const char* place;
    Json value;
    const char* words;
  };
  const std::vector<Change> changes = {
      {"/nodes/0/mesh", 7, "mesh that does not exist"},
      {"/nodes/0/children", {9}, "child that does not exist"},
      {"/nodes/0/skin", 3, ""},
      {"/scenes/0/nodes", {4}, "node that does not exist"},
      {"/scene", 5, "no scene 5"},
      {"/meshes/0/primitives/0/attributes/POSITION", 9, "accessors[9]"},
      {"/meshes/0/primitives/0/indices", 9, "out of bounds"},
      {"/meshes/0/primitives/0/material", 9, "material that does not exist"},
      {"/meshes/0/primitives/0/mode", 17, "unknown mode"},
      {"/accessors/0/bufferView", 9, "bufferViews[9]"},
      {"/bufferViews/0/buffer", 9, "buffers[9]"},
  };
  for (const Change& change : changes) {
    Gltf gltf = Good();
    if (std::string(change.place) == "/nodes/0/skin") {
      gltf.json["meshes"][0]["primitives"][0]["attributes"]["JOINTS_0"] = 0;
      gltf.json["meshes"][0]["primitives"][0]["attributes"]["WEIGHTS_0"] = 0;
    }
    gltf.json[Json::json_pointer(change.place)] = change.value;
    SCOPED_TRACE(change.place);
    ExpectRefused(gltf, change.words);
  }
}

TEST_F(BrokenInput, SizesThatOverflow) {
  const std::vector<std::pair<const char*, Json>> changes = {
      {"/accessors/0/count", 5},
      {"/accessors/0/count", 0xFFFFFFFFu},
      {"/accessors/0/count", 0x1555555555555556u},
      {"/accessors/0/count", -1},
      {"/accessors/0/byteOffset", 0xFFFFFFFFFFFFFFF0u},
      {"/accessors/1/count", 13},
      {"/accessors/1/byteOffset", 0xFFFFFFFFFFFFFFFEu},
      {"/accessors/0/componentType", 5999},
      {"/accessors/0/type", "VEC9"},
      {"/bufferViews/0/byteOffset", 0xFFFFFFFFFFFFFFF0u},
      {"/bufferViews/0/byteLength", 0xFFFFFFFFFFFFFFF0u},
      {"/buffers/0/byteLength", 0x7FFFFFFF},
  };
  for (const auto& [place, value] : changes) {
    Gltf gltf = Good();
    gltf.json["buffers"] = {{{"byteLength", gltf.bin.size()}}};
    gltf.json[Json::json_pointer(place)] = value;
    SCOPED_TRACE(std::string(place) + " " + value.dump());
    ExpectRefused(gltf, "cannot read");
  }
}

TEST_F(BrokenInput, IndexThatNamesNoVertex) {
  Gltf gltf;
  gltf.Mesh({{{"attributes", {{"POSITION", gltf.Vec3s(kTetrahedron)}}},
              {"indices", gltf.Indices(std::vector<uint16_t>{0, 1, 4})}}});
  ExpectRefused(gltf, "an index names vertex 4 of 4");
}

TEST_F(BrokenInput, MissingBufferBeside) {
  const Gltf gltf = Good();
  ProgramTest::ExpectRefused(Prepare(folder_.Write("in.gltf", gltf.Text("none.bin"))), "none.bin");
}

TEST_F(BrokenInput, BufferBesideThatIsAPipe) {
  ASSERT_EQ(mkfifo(folder_.PathOf("pipe.bin").c_str(), 0600), 0);
  const Gltf gltf = Good();
  ProgramTest::ExpectRefused(Prepare(folder_.Write("in.gltf", gltf.Text("pipe.bin"))), "pipe.bin is a pipe");
}

TEST_F(BrokenInput, BufferBesideThatIsTooShort) {
  const Gltf gltf = Good();
  folder_.Write("short.bin", "123");
  ProgramTest::ExpectRefused(Prepare(folder_.Write("in.gltf", gltf.Text("short.bin"))), "short.bin");
}

Gltf WithPicture(const Json& image) {
  Gltf gltf;
  gltf.json["images"] = {image};
  gltf.json["textures"] = {{{"source", 0}}};
  Json primitive = Tetrahedron(gltf);
  primitive["attributes"]["TEXCOORD_0"] = gltf.Vec2s(std::vector<float>(8, 0.5f));
  primitive["material"] = gltf.Material({{"pbrMetallicRoughness", {{"baseColorTexture", {{"index", 0}}}}}});
  gltf.Mesh({primitive});
  return gltf;
}

TEST_F(BrokenInput, PictureThatDoesNotDecode) {
  ExpectRefused(WithPicture({{"bufferView", 0}, {"mimeType", "image/png"}}), "images[0] cannot be decoded");
  ExpectRefused(WithPicture({{"bufferView", 99}, {"mimeType", "image/png"}}), "bufferViews[99] does not exist");
  ExpectRefused(WithPicture({{"uri", "data:image/png;base64,AAAA"}}), "images[0] cannot be decoded");
}

TEST_F(BrokenInput, MissingPictureBeside) { ExpectRefused(WithPicture({{"uri", "none.png"}}), "none.png"); }

TEST_F(BrokenInput, NothingToSee) {
  Gltf gltf = Good();
  gltf.json["meshes"][0]["primitives"][0]["mode"] = 1;
  ExpectRefused(gltf, "no triangle in it");
}

}  // namespace
}  // namespace model_tool_test
