// The program: what it says, its exit status, and what it never overwrites.

#include "test/model_tool/program.h"

#include <filesystem>

#include "model/glb_loader.h"
#include "test/model_tool/gltf_builder.h"

namespace model_tool_test {
namespace {

class ModelProgram : public ProgramTest {
 protected:
  std::string WriteTetrahedron() {
    Gltf gltf;
    gltf.Mesh({Tetrahedron(gltf)});
    return folder_.Write("in.glb", gltf.Glb());
  }
};

TEST_F(ModelProgram, SampleDeviceIsPrepared) {
  const ProgramResult result = Prepare(ORBISK_ASSETS "/device.glb");
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.err, "");
  GLBModel model;
  ASSERT_TRUE(load_glb_model(Out(), model, nullptr));
  EXPECT_EQ(model.meshes.size(), 12u);  // two of the fourteen have another one's colour
}

TEST_F(ModelProgram, SaysWhatItWrote) {
  EXPECT_EQ(Prepare(WriteTetrahedron()).out, Out() + ": 12 vertices, 4 triangles, 1 colour\n");
}

TEST_F(ModelProgram, NeverOverwritesItsInput) {
  const std::string path = WriteTetrahedron();
  const std::string before = ReadFile(path);
  const std::string link = folder_.PathOf("link.glb");
  std::filesystem::create_symlink(path, link);
  for (const std::string& out : {path, link}) {
    const ProgramResult result = Run({"prepare", path, out});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.err, "orbisk_model: " + out + " is the file to be read; give the prepared one another name\n");
  }
  EXPECT_EQ(ReadFile(path), before);
}

TEST_F(ModelProgram, OlderFileStaysWhereTheNewOneCannotBeMade) {
  folder_.Write("kept.glb", "older");
  EXPECT_EQ(Run({"prepare", folder_.Write("in.glb", "nonsense"), folder_.PathOf("kept.glb")}).status, 3);
  EXPECT_EQ(ReadFile(folder_.PathOf("kept.glb")), "older");
}

// As on a full disk: what can be written ends after some blocks.
TEST_F(ModelProgram, FileThatCannotBeWrittenWholeIsNotThere) {
  const ProgramResult result = Prepare(ORBISK_ASSETS "/device.glb", "trap '' XFSZ; ulimit -f 8;");
  ExpectRefused(result, "cannot write " + Out() + ": File too large");
}

TEST_F(ModelProgram, CheckAnswersWithItsExitStatus) {
  EXPECT_EQ(Run({"check", ORBISK_ASSETS "/device.glb"}).status, 1);  // its colours are light
  ASSERT_EQ(Prepare(ORBISK_ASSETS "/device.glb").status, 0);
  const ProgramResult right = Run({"check", Out()});
  EXPECT_EQ(right.status, 0);
  EXPECT_EQ(right.out.rfind(Out() + " looks right\n", 0), 0u);
  const ProgramResult unreadable = Run({"check", folder_.Write("in.glb", "nonsense"), "--json"});
  EXPECT_EQ(unreadable.status, 3);
  EXPECT_EQ(Json::parse(unreadable.out)["status"], 3);
}

TEST_F(ModelProgram, WrongCommandLineIsOneLine) {
  const std::vector<std::pair<std::vector<std::string>, std::string>> wrong = {
      {{}, "A subcommand is required"},
      {{"prepare"}, "IN is required"},
      {{"prepare", "a", "b", "--up", "Q"}, "--up: expected +X, -X, +Y, -Y, +Z or -Z, found \"Q\""},
      {{"prepare", "a", "b", "--colors", "0"}, "--colors"},
  };
  for (const auto& [arguments, words] : wrong) {
    const ProgramResult result = Run(arguments);
    EXPECT_EQ(result.status, 64);
    EXPECT_NE(result.err.find(words), std::string::npos) << result.err;
    EXPECT_EQ(result.err.find('\n'), result.err.size() - 1) << result.err;
  }
}

TEST_F(ModelProgram, HelpIsOnStandardOutput) {
  const ProgramResult result = Run({"--help"});
  EXPECT_EQ(result.status, 0);
  EXPECT_NE(result.out.find("prepare"), std::string::npos);
  EXPECT_EQ(result.err, "");
}

}  // namespace
}  // namespace model_tool_test
