// Runs of orbisk_host that succeed: what it draws, writes and tells, and how a run is ended.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <thread>

#include "test/host/program_fixture.h"

namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

constexpr char kSurfacelessChosen[] =
    "orbisk_host: no DISPLAY, WAYLAND_DISPLAY or EGL_PLATFORM is set: drawing with "
    "EGL_PLATFORM=surfaceless\n";

// ---- Runs -------------------------------------------------------------------------------------------------

TEST_F(ProgramTest, HeadlessRunWritesPicturesAndReports) {
  constexpr int kSamples = 61;
  const Result result = RunImu(BeginningOfTheSampleRun(kSamples), {"--headless"});
  EXPECT_EQ(result.status, 0) << Log();
  EXPECT_EQ(result.err, "");

  // A slow machine adds a line about frames that were left out.
  EXPECT_THAT(WithoutFigures(result.out), StartsWith("First picture: DIR/frame_#.png\n"
                                                     "Ran for # s at #x#:\n"
                                                     "  frames drawn      #, # per second\n"
                                                     "  frames fetched    #\n"
                                                     "  commands sent     #\n"
                                                     "  command latency   median # ms, worst # ms, of # orientations\n"
                                                     "  set-up            createTexture # ms, loadModel # ms\n"
                                                     "  files written     DIR/frame_#.png to DIR/frame_#.png\n"
                                                     "                    DIR/contact_sheet.png\n"
                                                     "                    DIR/orientation.webp\n"
                                                     "                    DIR/plugin.log (the plug-in's own lines)\n"));

  const int drawn = Figure(result.out, "frames drawn");
  const int fetched = Figure(result.out, "frames fetched");
  EXPECT_GE(fetched, 2) << "the last sample has been seen";
  EXPECT_LE(fetched, drawn);
  // Besides the samples: createTexture, loadModel, startRendering, stopRendering and dispose.
  EXPECT_EQ(Figure(result.out, "commands sent"), kSamples + 5);

  // Two at least, however slow the machine is, and no more than there were frames.
  const int stills = std::min(12, fetched - std::max(0, Figure(result.out, "left out")));
  EXPECT_TRUE(Exists("frame_02.png"));
  EXPECT_FALSE(Exists(StillName(stills + 1)));
  for (int i = 1; Exists(StillName(i)); ++i) {
    const std::string path = Out() + "/" + StillName(i);
    EXPECT_EQ(PngOnDisk(path).width(), 640) << path;
    EXPECT_EQ(PngOnDisk(path).height(), 480) << path;
    EXPECT_TRUE(ShowsTheModel(path)) << path;
  }
  EXPECT_GE(PngOnDisk(Out() + "/contact_sheet.png").width(), 12 + 2 * 252);
  const WebPOnDisk webp(Out() + "/orientation.webp");
  EXPECT_EQ(webp.width, 320);
  EXPECT_EQ(webp.height, 240);

  // Nothing is taken away while it is in use.
  const std::string log = Log();
  size_t last = 0;
  for (const char* line : {"Texture created with ID: 1", "Model loaded successfully!", "Rendering thread STARTED",
                           "StopRendering called", "Rendering stopped", "Dispose called", "Unregistering texture 1",
                           "Plugin destructor called", "Plugin destroyed"}) {
    const size_t at = log.find(std::string("[Orbisk] ") + line + "\n", last);
    ASSERT_NE(at, std::string::npos) << line;
    last = at;
  }
}

TEST_F(ProgramTest, SizeViewAndFrameOptionsReachThePlugin) {
  // A run that ends with its last sample ends with two frames at least.
  const Result result = RunImu(BeginningOfTheSampleRun(21), {"--size", "64x48", "--distance", "2.25", "--scale", "1.5",
                                                             "--base-rpy", "-10,20,30", "--frames", "2"});
  EXPECT_EQ(result.status, 0) << Log();
  EXPECT_THAT(Log(), HasSubstr("[Orbisk] Requested texture size: 64x48\n"));
  EXPECT_THAT(Log(), HasSubstr("[Orbisk] Camera distance set to: 2.25\n"));
  EXPECT_THAT(Log(), HasSubstr("[Orbisk] Model scale set to: 1.5\n"));
  EXPECT_THAT(Log(), HasSubstr("[Orbisk] Base rotation set to: roll=-10° pitch=20° yaw=30°\n"));
  EXPECT_EQ(PngOnDisk(Out() + "/frame_02.png").width(), 64);
  EXPECT_FALSE(Exists("frame_03.png"));
}

TEST_F(ProgramTest, RunEndsAfterItsSeconds) {
  const Result result = RunImu(kImu, {"--seconds", "0.5"});
  EXPECT_EQ(result.status, 0) << Log();
  EXPECT_EQ(Figure(result.out, "commands sent"), 51 + 5) << "those of half a second, the first and the last included";
}

TEST_F(ProgramTest, WithoutDisplayAndPlatformSurfacelessIsChosen) {
  const Result result = RunImu(kImu, {"--seconds", "0.5"}, {});
  EXPECT_EQ(result.status, 0) << Log();
  EXPECT_EQ(result.err, kSurfacelessChosen);
  EXPECT_TRUE(ShowsTheModel(Out() + "/frame_01.png"));
}

TEST_F(ProgramTest, VerboseRunLeavesThePluginsLinesWhereTheyGo) {
  const Result result = RunImu(kImu, {"--seconds", "0.5", "--verbose"});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.out, StartsWith("[Orbisk] Plugin initialized\n"));
  EXPECT_THAT(result.out, HasSubstr("[Orbisk] Plugin destroyed\n"));
  // Somewhere among the plug-in's lines: the picture is written while the plug-in goes on.
  EXPECT_THAT(result.out, HasSubstr("\nFirst picture: " + Out() + "/frame_01.png\n"));
  EXPECT_THAT(result.out, HasSubstr("\nRan for "));
  EXPECT_THAT(result.out, HasSubstr(" s at 640x480:\n"));
  EXPECT_THAT(result.out, Not(HasSubstr("plugin.log")));
  EXPECT_FALSE(Exists("plugin.log"));
}

TEST_F(ProgramTest, RunOfOneSampleHasAPicture) {
  const std::string imu = folder_.Write("one.csv", "t,roll,pitch,yaw\n5,10,20,30\n");
  const Result result = RunImu(imu);
  EXPECT_EQ(result.status, 0) << result.err << Log();
  EXPECT_EQ(Figure(result.out, "commands sent"), 1 + 5);
  EXPECT_TRUE(ShowsTheModel(Out() + "/frame_01.png"));
}

TEST_F(ProgramTest, TheShortestRunHasAPicture) {
  const Result result = RunImu(kImu, {"--seconds", "0.001"});
  EXPECT_EQ(result.status, 0) << result.err << Log();
  EXPECT_TRUE(ShowsTheModel(Out() + "/frame_01.png"));
}

TEST_F(ProgramTest, StandardInputIsFollowedToItsEnd) {
  const Result result = RunImu("-", {}, kSurfaceless, "t,qx,qy,qz,qw\n0,0,0,0,1\n0.2,0,0,0.1,0.99\n0.4,0,0,0.2,0.97\n");
  EXPECT_EQ(result.status, 0) << result.err << Log();
  EXPECT_THAT(result.out, HasSubstr(" ms, of 3 orientations\n"));
  EXPECT_TRUE(ShowsTheModel(Out() + "/frame_01.png"));
}

TEST_F(ProgramTest, StandardInputNeedsNoTimes) {
  const Result result = RunImu("-", {}, kSurfaceless, "roll,pitch,yaw\n0,0,0\n10,0,0\n");
  EXPECT_EQ(result.status, 0) << result.err << Log();
  EXPECT_THAT(result.out, HasSubstr(" ms, of 2 orientations\n"));
}

TEST_F(ProgramTest, WindowRunShowsFramesUnderAnXServer) {
  if (std::system("command -v Xvfb >/dev/null 2>&1") != 0) GTEST_SKIP() << "no Xvfb here";
  // It takes a number that is free, and tells it once it can be used.
  const std::string input = folder_.Write("no input", "");
  const int no_input = open(input.c_str(), O_RDONLY | O_CLOEXEC);
  const TemporaryFolder server_folder;
  Process server(server_folder, {"Xvfb", "-displayfd", "1", "-screen", "0", "1280x1024x24", "-nolisten", "tcp"}, {},
                 no_input);
  const std::string display = ":" + server.FirstLine();
  const Result result = RunImu(kImu, {"--window", "--seconds", "0.5"}, {{"DISPLAY", display}});
  close(no_input);
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(result.out, HasSubstr("\nRan for "));
  EXPECT_GE(Figure(result.out, "frames fetched"), 1);
  EXPECT_THAT(result.out, Not(HasSubstr("files written")));
  EXPECT_THAT(result.out, HasSubstr("[Orbisk] Plugin destroyed\n"));
}

TEST_F(ProgramTest, HelpIsShown) {
  const Result result = Run({"--help"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_THAT(result.out, StartsWith("orbisk_host shows a 3D model of a device turned by an IMU"));
}

// ---- Runs whose input the test holds ----------------------------------------------------------------------

// The run goes on until the test ends its input, or ends it otherwise.
class LiveRunTest : public ProgramTest {
 protected:
  LiveRunTest() { sensor_.Write("roll,pitch,yaw\n0,0,0\n"); }

  std::vector<std::string> Command() const { return HostCommand({"--model", kModel, "--imu", "-", "--out", Out()}); }
  Process Start(int error_output = -1) {
    return Process(folder_, Command(), kSurfaceless, sensor_.reading_end(), error_output);
  }
  void EndInput() { sensor_.CloseWriting(); }
  void ExpectAllPictures() const {
    EXPECT_TRUE(ShowsTheModel(Out() + "/frame_01.png"));
    EXPECT_TRUE(Exists("contact_sheet.png"));
    EXPECT_TRUE(Exists("orientation.webp"));
    EXPECT_THAT(Log(), HasSubstr("[Orbisk] Plugin destroyed\n"));
  }

  Pipe sensor_;
};

TEST_F(LiveRunTest, FirstPictureIsThereAndToldWhileTheRunGoesOn) {
  Process process = Start();
  EXPECT_EQ(process.FirstLine(), "First picture: " + Out() + "/frame_01.png");
  EXPECT_TRUE(ShowsTheModel(Out() + "/frame_01.png"));
  EXPECT_FALSE(Exists("contact_sheet.png"));
  EndInput();
  const Result result = process.Wait();
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(result.out, HasSubstr(".png\nRan for "));
  ExpectAllPictures();
}

class InterruptTest : public LiveRunTest, public ::testing::WithParamInterface<int> {};

TEST_P(InterruptTest, InterruptedRunStillWritesItsPictures) {
  Process process = Start();
  process.FirstLine();
  kill(process.id(), GetParam());
  const Result result = process.Wait();
  EXPECT_EQ(result.status, 0) << result.err;
  ExpectAllPictures();
}

INSTANTIATE_TEST_SUITE_P(By, InterruptTest, ::testing::Values(SIGINT, SIGTERM, SIGHUP),
                         [](const ::testing::TestParamInfo<int>& test) {
                           return std::string("SIG") + sigabbrev_np(test.param);
                         });

// The shell tells the program that the terminal has closed, and so does the system.
TEST_F(LiveRunTest, ClosedTerminalMayBeToldTwice) {
  Process process = Start();
  process.FirstLine();
  kill(process.id(), SIGHUP);
  while (Log().find("StopRendering called") == std::string::npos && process.running()) std::this_thread::yield();
  kill(process.id(), SIGHUP);
  EXPECT_EQ(process.Wait().status, 0);
  ExpectAllPictures();
}

TEST_F(LiveRunTest, ClosedTerminalLosesTheReportAndNoPicture) {
  Terminal terminal;
  std::vector<std::string> command = Command();
  command.insert(command.begin(), {"sh", "-c", "exec \"$0\" \"$@\" >&2"});
  Process process(folder_, command, kSurfaceless, sensor_.reading_end(), terminal.writing_end());
  terminal.CloseWriting();
  for (std::string shown; shown.find("First picture: ") == std::string::npos && process.running();) {
    shown += terminal.Read();
  }
  terminal.CloseReading();
  kill(process.id(), SIGHUP);
  EXPECT_EQ(process.Wait().status, 0);
  ExpectAllPictures();
}

TEST_F(LiveRunTest, RunUnderNohupGoesOnWhenTheTerminalCloses) {
  const auto before = signal(SIGHUP, SIG_IGN);  // what nohup does
  Process process = Start();
  signal(SIGHUP, before);
  process.FirstLine();
  kill(process.id(), SIGHUP);
  sensor_.Write("10,0,0\n20,0,0\n");
  EndInput();
  const Result result = process.Wait();
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(result.out, HasSubstr(" ms, of 3 orientations\n"));
}

TEST_F(LiveRunTest, ReaderThatGoesAwayLosesTheReportAndNoPicture) {
  Process process = Start();
  process.FirstLine();
  process.CloseOutput();
  EndInput();
  const Result result = process.Wait();
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "orbisk_host: nobody reads standard output any more; the report is lost; the pictures are in " +
                            Out() + "\n");
  ExpectAllPictures();
}

TEST_F(LiveRunTest, PictureThatCannotBeWrittenEndsTheRunAtOnce) {
  std::filesystem::create_directories(Out() + "/frame_01.png");
  Process process = Start();
  const Result result = process.Wait();
  ExpectPluginFailure(result, "cannot write " + Out() + "/frame_01.png: Is a directory");
  EXPECT_EQ(result.out, "");
}

TEST_F(LiveRunTest, ProgressIsShownOnATerminal) {
  Terminal terminal;
  EndInput();
  Process process = Start(terminal.writing_end());
  terminal.CloseWriting();
  std::string shown;
  for (std::string more; !(more = terminal.Read()).empty();) shown += more;
  EXPECT_EQ(process.Wait().status, 0);
  EXPECT_THAT(shown, HasSubstr(" commands, roll 0°  pitch 0°  yaw 0°\r\x1b[K"));
  EXPECT_THAT(shown, EndsWith("\r\x1b[Kwriting the pictures\r\x1b[K")) << "taken away before the report";
}

}  // namespace
