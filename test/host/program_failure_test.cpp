// Runs of orbisk_host that fail: one line says why, whatever the plug-in does.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "test/host/program_fixture.h"
#include "test/support/glb_builder.h"

namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

class ProgramFailureTest : public ProgramTest {
 protected:
  Result RunModel(const std::string& model) { return Run({"--model", model, "--imu", kImu, "--out", Out()}); }
  Result RunInto(const std::string& folder) { return Run({"--model", kModel, "--imu", kImu, "--out", folder}); }
};

TEST_F(ProgramFailureTest, WrongUseIsExplainedInOneLine) {
  const Result result = RunImu(kImu, {"--size", "0x480"});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err,
            "orbisk_host: --size: expected WIDTHxHEIGHT in pixels, each from 1 to 4096, found \"0x480\" "
            "(orbisk_host --help explains)\n");
}

// ---- The model --------------------------------------------------------------------------------------------

TEST_F(ProgramFailureTest, MissingModelShowsThePluginsMessage) {
  const Result result = RunModel("nosuch.glb");
  EXPECT_EQ(result.out, "");
  ExpectPluginFailure(result,
                      "cannot load the model nosuch.glb: there is no such file, nor data/flutter_assets/nosuch.glb "
                      "(LOAD_FAILED: Failed to load model: fail: read file; fail: read file)");
  EXPECT_THAT(Log(), HasSubstr("[Orbisk] ERROR: Failed to load model from any path\n"));
}

TEST_F(ProgramFailureTest, ModelThatIsRefusedIsExplained) {
  const std::string model = folder_.Write("device.gltf", R"({"asset": {"version": "2.0"}, "meshes": []})");
  ExpectPluginFailure(RunModel(model), "cannot load the model " + model +
                                           ": it is a text .gltf file, not the binary kind; open it in Blender, say, "
                                           "and export it as glTF 2.0 in the format \"glTF Binary (.glb)\" "
                                           "(LOAD_FAILED: Failed to load model: fail: magic/version; fail: read file)");
}

TEST_F(ProgramFailureTest, ModelWithANumberThatIsNoneIsExplained) {
  const std::string model =
      folder_.Write("device.glb", glb_builder::Glb().Add(glb_builder::Triangle().Attribute("POSITION", "99999999999")));
  ExpectPluginFailure(RunModel(model), "cannot load the model " + model +
                                           ": it has a whole number that cannot be read; it is damaged or its exporter "
                                           "is: export it again (an exception left the plug-in's handler: stoi)");
}

TEST_F(ProgramFailureTest, ModelThatIsAPipeIsRefusedBeforeAnythingStarts) {
  const std::string model = folder_.PathOf("pipe.glb");
  ASSERT_EQ(mkfifo(model.c_str(), 0600), 0);
  ExpectFailure(RunModel(model), "cannot load the model " + model + ": it is a pipe, and no file");
  EXPECT_FALSE(std::filesystem::exists(Out()));
}

// ---- The plug-in's file -----------------------------------------------------------------------------------

TEST_F(ProgramFailureTest, MissingPluginIsNamed) {
  ExpectFailure(RunImu(kImu, {"--plugin", "/no/such/plugin.so"}),
                "cannot load the plug-in: /no/such/plugin.so: cannot open shared object file: No such file or "
                "directory");
}

TEST_F(ProgramFailureTest, LibraryThatIsNoPluginIsNamed) {
  ExpectFailure(RunImu(kImu, {"--plugin", ORBISK_OTHER_LIBRARY}),
                "this is not the plug-in: " ORBISK_OTHER_LIBRARY
                ": undefined symbol: OrbiskPluginRegisterWithRegistrar");
}

// ---- The orientations -------------------------------------------------------------------------------------

TEST_F(ProgramFailureTest, MalformedImuFileIsReportedBeforeAnythingStarts) {
  const std::string imu = folder_.Write("bad.csv", "t,qx,qy,qz,qw\n0,0,0,0,1\n0.01,0,0,zero,1\n");
  const Result result = RunImu(imu);
  EXPECT_EQ(result.out, "");
  ExpectFailure(result, imu + ", line 3: expected a number for qz, found \"zero\"");
  EXPECT_FALSE(std::filesystem::exists(Out()));
}

TEST_F(ProgramFailureTest, MissingImuFileIsNamed) {
  ExpectFailure(RunImu("nosuch.csv"), "cannot read the IMU file nosuch.csv: No such file or directory");
}

TEST_F(ProgramFailureTest, ImuFileWithoutSamplesIsRefused) {
  const std::string imu = folder_.Write("empty.csv", "t,roll,pitch,yaw\n");
  ExpectFailure(RunImu(imu), imu + ": expected samples after the header, found the end of the input");
}

TEST_F(ProgramFailureTest, MalformedLineFromASensorEndsTheRunAfterItsPictures) {
  const Result result =
      RunImu("-", {}, kSurfaceless, "t,roll,pitch,yaw\n0,0,0,0\n0.5,10,0,0\n0.6,oops,0,0\n0.7,0,0,0\n");
  ExpectFailure(result, "standard input, line 4: expected a number for roll, found \"oops\"");
  EXPECT_THAT(result.out, HasSubstr(" ms, of 2 orientations\n"));
  EXPECT_TRUE(Exists("contact_sheet.png"));
}

TEST_F(ProgramFailureTest, EmptyStandardInputIsRefused) {
  ExpectFailure(RunImu("-", {}, kSurfaceless, ""),
                "standard input: expected a header naming either qx,qy,qz,qw or roll,pitch,yaw (and t, if any), found "
                "the end of the input");
  EXPECT_FALSE(Exists("contact_sheet.png"));
}

// ---- The display ------------------------------------------------------------------------------------------

TEST_F(ProgramFailureTest, MissingEglIsExplained) {
  const Result result = RunImu(kImu, {}, {{"EGL_PLATFORM", "x11"}});
  EXPECT_EQ(result.out, "");
  ExpectPluginFailure(result,
                      "createTexture failed: INIT_FAILED: Failed to initialize EGL renderer: OpenGL ES needs a display "
                      "that runs (DISPLAY is not set, WAYLAND_DISPLAY is not set), or EGL_PLATFORM=surfaceless to draw "
                      "without one (EGL_PLATFORM is \"x11\"), and the packages libegl1, libgles2, libegl-mesa0 and "
                      "libgl1-mesa-dri");
}

TEST_F(ProgramFailureTest, WindowNeedsADisplay) {
  ExpectFailure(RunImu(kImu, {"--window"}),
                "cannot open a window: neither DISPLAY nor WAYLAND_DISPLAY is set; --headless needs no display");
}

TEST_F(ProgramFailureTest, WindowNeedsADisplayThatRuns) {
  ExpectFailure(RunImu(kImu, {"--window"}, {{"DISPLAY", ":987"}, {"XDG_RUNTIME_DIR", folder_.path()}}),
                "cannot open a window: x11,wayland not available; --headless needs no display");
}

// ---- What is written --------------------------------------------------------------------------------------

TEST_F(ProgramFailureTest, ReportThatCannotBeWrittenIsAFailureAfterThePictures) {
  if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "no /dev/full here";
  std::vector<std::string> command =
      HostCommand({"--model", kModel, "--imu", kImu, "--out", Out(), "--seconds", "0.5"});
  command.insert(command.begin(), {"sh", "-c", "exec \"$0\" \"$@\" >/dev/full"});
  ExpectFailure(
      RunCommand(command, kSurfaceless),
      "cannot write to standard output: No space left on device; the report is lost; the pictures are in " + Out());
  EXPECT_TRUE(Exists("contact_sheet.png"));
}

TEST_F(ProgramFailureTest, FolderThatCannotBeWrittenIsNamed) {
  const std::string file = folder_.Write("file", "");
  ExpectFailure(RunInto(file + "/pictures"), "cannot write into the folder " + file + "/pictures: Not a directory");
  ExpectFailure(RunInto(file), "cannot write into the folder " + file + ": Not a directory");
}

// ---- Plug-ins that misbehave ------------------------------------------------------------------------------

class MisbehaviourTest : public ProgramTest {
 protected:
  Result RunWith(const std::string& misbehaviour, const std::string& imu = kImu,
                 std::vector<std::string> arguments = {}) {
    arguments.insert(arguments.begin(), {"--plugin", ORBISK_MISBEHAVING_PLUGIN});
    return RunImu(imu, std::move(arguments), {{"EGL_PLATFORM", "surfaceless"}, {"ORBISK_MISBEHAVIOUR", misbehaviour}});
  }
};

TEST_F(MisbehaviourTest, ExceptionFromThePluginsHandlerIsOneLine) {
  ExpectPluginFailure(RunWith("throw"),
                      "createTexture failed: an exception left the plug-in's handler: thrown by the plug-in");
}

TEST_F(MisbehaviourTest, SilenceIsOneLine) {
  ExpectPluginFailure(RunWith("silence"), "createTexture failed: the plug-in gave no answer");
}

TEST_F(MisbehaviourTest, UnknownCommandIsOneLine) {
  ExpectPluginFailure(RunWith("no implementation"), "createTexture failed: the plug-in does not implement it");
}

TEST_F(MisbehaviourTest, UnknownTextureIsOneLine) {
  ExpectPluginFailure(RunWith("unknown texture"), "there is no texture 12");
}

TEST_F(MisbehaviourTest, ARunWithoutFramesEndsAndHasNoPictures) {
  const std::string imu = folder_.Write("one.csv", "t,roll,pitch,yaw\n0,10,20,30\n");
  ExpectPluginFailure(RunWith("no frames", imu, {"--wait", "0.1"}), "the plug-in drew no frame during the run");
  // What the first frame is to show is said before there is one.
  EXPECT_EQ(Log(), "createTexture\nloadModel\nsetRotation\nstartRendering\nstopRendering\ndispose\n");
  EXPECT_FALSE(Exists("contact_sheet.png"));
}

TEST_F(MisbehaviourTest, CrashSaysWhereTheLastLinesAre) {
  const Result result = RunWith("abort");
  EXPECT_NE(result.status, 0);
  // An emulator adds a line of its own.
  EXPECT_THAT(result.err, StartsWith("orbisk_host: the program crashed; the last lines of the plug-in are in " + Out() +
                                     "/plugin.log\n"));
  EXPECT_THAT(Log(), StartsWith("about to abort\n"));
}

}  // namespace
