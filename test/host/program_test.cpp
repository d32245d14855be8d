// orbisk_host itself, run as a person runs it, with the built plug-in and the sample files.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <map>
#include <sstream>
#include <thread>

#include "test/host/pictures_on_disk.h"
#include "test/support/files.h"

namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

using Environment = std::map<std::string, std::string>;

const std::string kModel = ORBISK_ASSETS "/device.glb";
const std::string kImu = ORBISK_ASSETS "/imu_run.csv";
const Environment kSurfaceless = {{"EGL_PLATFORM", "surfaceless"}};

constexpr char kSurfacelessChosen[] =
    "orbisk_host: no DISPLAY, WAYLAND_DISPLAY or EGL_PLATFORM is set: drawing with "
    "EGL_PLATFORM=surfaceless\n";

// Variables of the test's own environment that a program needs to run at all, or to be checked.
const char* const kInherited[] = {"PATH",         "HOME",          "LD_LIBRARY_PATH", "ASAN_OPTIONS",
                                  "LSAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS"};

// The command line of the host; an emulator's first where the host is built for another machine.
std::vector<std::string> HostCommand(const std::vector<std::string>& arguments) {
  std::vector<std::string> command;
  std::istringstream emulator(ORBISK_EMULATOR);
  for (std::string part; std::getline(emulator, part, ';');) command.push_back(part);
  command.push_back(ORBISK_HOST_PROGRAM);
  command.insert(command.end(), arguments.begin(), arguments.end());
  return command;
}

// A pair of descriptors, closed with it or earlier: what is written to one can be read from the other.
class Descriptors {
 public:
  Descriptors() = default;
  ~Descriptors() {
    CloseReading();
    CloseWriting();
  }
  Descriptors(const Descriptors&) = delete;
  Descriptors& operator=(const Descriptors&) = delete;

  int reading_end() const { return reading_; }
  int writing_end() const { return writing_; }
  void CloseReading() { Close(reading_); }
  void CloseWriting() { Close(writing_); }

  void Write(const std::string& text) const {
    ASSERT_EQ(write(writing_, text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }
  // What comes next; empty once nobody writes any more.
  std::string Read() const {
    char piece[4096];
    const ssize_t size = read(reading_, piece, sizeof(piece));
    return std::string(piece, size > 0 ? static_cast<size_t>(size) : 0);
  }

 protected:
  int reading_ = -1;
  int writing_ = -1;

 private:
  static void Close(int& end) {
    if (end >= 0) close(end);
    end = -1;
  }
};

class Pipe : public Descriptors {
 public:
  Pipe() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("pipe2");
    reading_ = ends[0];
    writing_ = ends[1];
  }
};

// A terminal, on which the test is the person; the program writes.
class Terminal : public Descriptors {
 public:
  Terminal() {
    if (openpty(&reading_, &writing_, nullptr, nullptr, nullptr) != 0) throw std::runtime_error("openpty");
    fcntl(reading_, F_SETFD, FD_CLOEXEC);
    fcntl(writing_, F_SETFD, FD_CLOEXEC);
  }
};

// A running program. Its standard error goes to a file, or where the test says.
class Process {
 public:
  struct Result {
    int status = -1;  // exit status; -1: it was killed by a signal
    int signal = 0;
    std::string out;
    std::string err;
  };

  Process(const TemporaryFolder& folder, std::vector<std::string> command, const Environment& environment, int input,
          int error_output = -1)
      : err_path_(folder.PathOf("stderr")) {
    std::vector<std::string> variables;
    for (const char* name : kInherited) {
      if (const char* value = getenv(name)) variables.push_back(std::string(name) + "=" + value);
    }
    for (const auto& [name, value] : environment) variables.push_back(name + "=" + value);
    const int err = open(err_path_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    const std::vector<char*> arguments = Pointers(command);
    const std::vector<char*> environment_pointers = Pointers(variables);
    id_ = fork();
    if (id_ == 0) {
      dup2(input, STDIN_FILENO);
      dup2(out_.writing_end(), STDOUT_FILENO);
      dup2(error_output < 0 ? err : error_output, STDERR_FILENO);
      execvpe(arguments[0], arguments.data(), environment_pointers.data());
      _exit(127);
    }
    out_.CloseWriting();
    close(err);
  }
  // One that nobody has waited for has nothing more to do.
  ~Process() {
    if (id_ < 0) return;
    kill(id_, SIGTERM);
    Wait();
  }

  pid_t id() const { return id_; }
  bool running() const {
    siginfo_t ended = {};
    return waitid(P_PID, static_cast<id_t>(id_), &ended, WEXITED | WNOHANG | WNOWAIT) == 0 && ended.si_pid == 0;
  }

  // The first line of its standard output, once it is there.
  std::string FirstLine() {
    while (output_.find('\n') == std::string::npos) {
      const std::string more = out_.Read();
      if (more.empty()) break;
      output_ += more;
    }
    return output_.substr(0, output_.find('\n'));
  }
  // Nobody reads its standard output any more.
  void CloseOutput() { out_.CloseReading(); }

  Result Wait() {
    for (std::string more; !(more = out_.Read()).empty();) output_ += more;
    int status = 0;
    waitpid(std::exchange(id_, -1), &status, 0);
    Result result;
    if (WIFEXITED(status)) result.status = WEXITSTATUS(status);
    if (WIFSIGNALED(status)) result.signal = WTERMSIG(status);
    result.out = output_;
    result.err = ReadFile(err_path_);
    return result;
  }

 private:
  static std::vector<char*> Pointers(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (std::string& text : texts) pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
  }

  const std::string err_path_;
  Pipe out_;
  std::string output_;
  pid_t id_ = -1;
};

class ProgramTest : public ::testing::Test {
 protected:
  using Result = Process::Result;

  Result Run(std::vector<std::string> arguments, const Environment& environment = kSurfaceless,
             const std::string& input = "") {
    return RunCommand(HostCommand(std::move(arguments)), environment, input);
  }
  Result RunCommand(const std::vector<std::string>& command, const Environment& environment,
                    const std::string& input = "") {
    const int file = open(folder_.Write("stdin", input).c_str(), O_RDONLY);
    Result result = Process(folder_, command, environment, file).Wait();
    close(file);
    return result;
  }
  // With model and pictures' folder.
  Result RunImu(const std::string& imu, std::vector<std::string> arguments = {},
                const Environment& environment = kSurfaceless, const std::string& input = "") {
    arguments.insert(arguments.begin(), {"--model", kModel, "--imu", imu, "--out", Out()});
    return Run(std::move(arguments), environment, input);
  }

  std::string Out() const { return folder_.PathOf("pictures"); }
  // How an error line ends that has to do with the plug-in.
  std::string LogHint() const { return "; the plug-in's own lines are in " + Out() + "/plugin.log\n"; }
  std::string Log() const { return ReadFile(Out() + "/plugin.log"); }
  bool Exists(const std::string& name) const { return std::filesystem::exists(Out() + "/" + name); }

  // The whole number after `name` in the report.
  static int Figure(const std::string& report, const std::string& name) {
    const size_t found = report.find(name);
    return found == std::string::npos ? -1 : std::atoi(report.c_str() + found + name.size());
  }

  // The report with DIR for the pictures' folder and # for every number.
  std::string WithoutFigures(std::string report) const {
    for (size_t at; (at = report.find(Out())) != std::string::npos;) report.replace(at, Out().size(), "DIR");
    std::string text;
    for (const char c : report) {
      const bool in_number = !text.empty() && text.back() == '#';
      const bool digit = c >= '0' && c <= '9';
      if (digit && !in_number) text += '#';
      if (!digit && !(c == '.' && in_number)) text += c;
    }
    // The point of "frame_01.png" is not one of a number.
    for (size_t at; (at = text.find("#png")) != std::string::npos;) text.insert(at + 1, ".");
    return text;
  }

  // A run of the sample file's first `samples`, which are a hundred a second.
  std::string BeginningOfTheSampleRun(int samples) const {
    std::istringstream whole(ReadFile(kImu));
    std::string beginning;
    for (std::string line; samples > 0 && std::getline(whole, line);) {
      beginning += line + '\n';
      if (line[0] >= '0' && line[0] <= '9') --samples;
    }
    return folder_.Write("beginning.csv", beginning);
  }

  static std::string StillName(int number) {
    return std::string("frame_") + (number < 10 ? "0" : "") + std::to_string(number) + ".png";
  }

  static bool ShowsTheModel(const std::string& png_path) {
    const PngOnDisk png(png_path);
    int opaque = 0;
    int transparent = 0;
    for (int y = 0; y < png.height(); ++y) {
      for (int x = 0; x < png.width(); ++x) {
        const uint32_t alpha = png.Pixel(x, y) >> 24;
        opaque += alpha == 255 ? 1 : 0;
        transparent += alpha == 0 ? 1 : 0;
      }
    }
    return opaque > png.width() * png.height() / 100 && transparent > png.width() * png.height() / 4;
  }

  TemporaryFolder folder_;
};

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

INSTANTIATE_TEST_SUITE_P(Signals, InterruptTest, ::testing::Values(SIGINT, SIGTERM, SIGHUP));

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
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "orbisk_host: cannot write " + Out() + "/frame_01.png: Is a directory" + LogHint());
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

// ---- Failures ---------------------------------------------------------------------------------------------

TEST_F(ProgramTest, WrongUseIsExplainedInOneLine) {
  const Result result = RunImu(kImu, {"--size", "0x480"});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err,
            "orbisk_host: --size: expected WIDTHxHEIGHT in pixels, each from 1 to 4096, found \"0x480\" "
            "(orbisk_host --help explains)\n");
}

TEST_F(ProgramTest, MissingModelShowsThePluginsMessage) {
  const Result result = Run({"--model", "nosuch.glb", "--imu", kImu, "--out", Out()});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err,
            "orbisk_host: cannot load the model nosuch.glb: there is no such file, nor "
            "data/flutter_assets/nosuch.glb (LOAD_FAILED: Failed to load model: fail: read file; fail: read file)" +
                LogHint());
  EXPECT_THAT(Log(), HasSubstr("[Orbisk] ERROR: Failed to load model from any path\n"));
}

TEST_F(ProgramTest, ModelThatIsRefusedIsExplained) {
  const std::string model = folder_.Write("device.gltf", R"({"asset": {"version": "2.0"}, "meshes": []})");
  const Result result = Run({"--model", model, "--imu", kImu, "--out", Out()});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "orbisk_host: cannot load the model " + model +
                            ": it is a text .gltf file, not the binary kind; open it in Blender, say, and "
                            "export it as glTF 2.0 in the format \"glTF Binary (.glb)\" (LOAD_FAILED: "
                            "Failed to load model: fail: magic/version; fail: read file)" +
                            LogHint());
}

TEST_F(ProgramTest, ModelWithANumberThatIsNoneIsExplained) {
  const std::string json = R"({"meshes":[{"primitives":[{"attributes":{"POSITION":99999999999}}]}]})";
  const auto word = [](size_t number) { return std::string(1, static_cast<char>(number)) + std::string(3, '\0'); };
  const std::string model = folder_.Write("device.glb", "glTF" + word(2) + word(28 + json.size()) + word(json.size()) +
                                                            "JSON" + json + word(0) + std::string("BIN\0", 4));
  const Result result = Run({"--model", model, "--imu", kImu, "--out", Out()});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "orbisk_host: cannot load the model " + model +
                            ": it has a whole number that cannot be read; it is damaged or its exporter is: export "
                            "it again (an exception left the plug-in's handler: stoi)" +
                            LogHint());
}

TEST_F(ProgramTest, ModelThatIsAPipeIsRefusedBeforeAnythingStarts) {
  const std::string model = folder_.PathOf("pipe.glb");
  ASSERT_EQ(mkfifo(model.c_str(), 0600), 0);
  const Result result = Run({"--model", model, "--imu", kImu, "--out", Out()});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "orbisk_host: cannot load the model " + model + ": it is a pipe, and no file\n");
  EXPECT_FALSE(std::filesystem::exists(Out()));
}

TEST_F(ProgramTest, ReportThatCannotBeWrittenIsAFailureAfterThePictures) {
  if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "no /dev/full here";
  std::vector<std::string> command =
      HostCommand({"--model", kModel, "--imu", kImu, "--out", Out(), "--seconds", "0.5"});
  command.insert(command.begin(), {"sh", "-c", "exec \"$0\" \"$@\" >/dev/full"});
  const Result result = RunCommand(command, kSurfaceless);
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err,
            "orbisk_host: cannot write to standard output: No space left on device; the report is lost; the "
            "pictures are in " +
                Out() + "\n");
  EXPECT_TRUE(Exists("contact_sheet.png"));
}

TEST_F(ProgramTest, MissingPluginIsNamed) {
  const Result result = RunImu(kImu, {"--plugin", "/no/such/plugin.so"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err,
            "orbisk_host: cannot load the plug-in: /no/such/plugin.so: cannot open shared object file: No "
            "such file "
            "or directory\n");
}

TEST_F(ProgramTest, LibraryThatIsNoPluginIsNamed) {
  const Result result = RunImu(kImu, {"--plugin", ORBISK_OTHER_LIBRARY});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "orbisk_host: this is not the plug-in: " ORBISK_OTHER_LIBRARY
                        ": undefined symbol: OrbiskPluginRegisterWithRegistrar\n");
}

TEST_F(ProgramTest, MalformedImuFileIsReportedBeforeAnythingStarts) {
  const std::string imu = folder_.Write("bad.csv", "t,qx,qy,qz,qw\n0,0,0,0,1\n0.01,0,0,zero,1\n");
  const Result result = RunImu(imu);
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "orbisk_host: " + imu + ", line 3: expected a number for qz, found \"zero\"\n");
  EXPECT_FALSE(std::filesystem::exists(Out()));
}

TEST_F(ProgramTest, MissingImuFileIsNamed) {
  const Result result = RunImu("nosuch.csv");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "orbisk_host: cannot read the IMU file nosuch.csv: No such file or directory\n");
}

TEST_F(ProgramTest, ImuFileWithoutSamplesIsRefused) {
  const std::string imu = folder_.Write("empty.csv", "t,roll,pitch,yaw\n");
  const Result result = RunImu(imu);
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "orbisk_host: " + imu + ": expected samples after the header, found the end of the input\n");
}

TEST_F(ProgramTest, MalformedLineFromASensorEndsTheRunAfterItsPictures) {
  const Result result =
      RunImu("-", {}, kSurfaceless, "t,roll,pitch,yaw\n0,0,0,0\n0.5,10,0,0\n0.6,oops,0,0\n0.7,0,0,0\n");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "orbisk_host: standard input, line 4: expected a number for roll, found \"oops\"\n");
  EXPECT_THAT(result.out, HasSubstr(" ms, of 2 orientations\n"));
  EXPECT_TRUE(Exists("contact_sheet.png"));
}

TEST_F(ProgramTest, EmptyStandardInputIsRefused) {
  const Result result = RunImu("-", {}, kSurfaceless, "");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err,
            "orbisk_host: standard input: expected a header naming either qx,qy,qz,qw or roll,pitch,yaw (and t, if "
            "any), found the end of the input\n");
  EXPECT_FALSE(Exists("contact_sheet.png"));
}

TEST_F(ProgramTest, MissingEglIsExplained) {
  const Result result = RunImu(kImu, {}, {{"EGL_PLATFORM", "x11"}});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err,
            "orbisk_host: createTexture failed: INIT_FAILED: Failed to initialize EGL renderer: OpenGL ES needs a "
            "display that runs (DISPLAY is not set, WAYLAND_DISPLAY is not set), or EGL_PLATFORM=surfaceless to "
            "draw "
            "without one (EGL_PLATFORM is \"x11\"), and the packages libegl1, libgles2, libegl-mesa0 and "
            "libgl1-mesa-dri" +
                LogHint());
}

TEST_F(ProgramTest, WindowNeedsADisplay) {
  const Result result = RunImu(kImu, {"--window"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err,
            "orbisk_host: cannot open a window: neither DISPLAY nor WAYLAND_DISPLAY is set; --headless needs no "
            "display\n");
}

TEST_F(ProgramTest, WindowNeedsADisplayThatRuns) {
  const Result result = RunImu(kImu, {"--window"}, {{"DISPLAY", ":987"}, {"XDG_RUNTIME_DIR", folder_.path()}});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "orbisk_host: cannot open a window: x11,wayland not available; --headless needs no display\n");
}

TEST_F(ProgramTest, FolderThatCannotBeWrittenIsNamed) {
  const std::string file = folder_.Write("file", "");
  const Result result = Run({"--model", kModel, "--imu", kImu, "--out", file + "/pictures"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "orbisk_host: cannot write into the folder " + file + "/pictures: Not a directory\n");
}

TEST_F(ProgramTest, FileInThePlaceOfTheFolderIsNamed) {
  const std::string file = folder_.Write("file", "");
  const Result result = Run({"--model", kModel, "--imu", kImu, "--out", file});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "orbisk_host: cannot write into the folder " + file + ": Not a directory\n");
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
  const Result result = RunWith("throw");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(
      result.err,
      "orbisk_host: createTexture failed: an exception left the plug-in's handler: thrown by the plug-in" + LogHint());
}

TEST_F(MisbehaviourTest, SilenceIsOneLine) {
  const Result result = RunWith("silence");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "orbisk_host: createTexture failed: the plug-in gave no answer" + LogHint());
}

TEST_F(MisbehaviourTest, UnknownCommandIsOneLine) {
  const Result result = RunWith("no implementation");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "orbisk_host: createTexture failed: the plug-in does not implement it" + LogHint());
}

TEST_F(MisbehaviourTest, UnknownTextureIsOneLine) {
  const Result result = RunWith("unknown texture");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "orbisk_host: there is no texture 12" + LogHint());
}

TEST_F(MisbehaviourTest, ARunWithoutFramesEndsAndHasNoPictures) {
  const std::string imu = folder_.Write("one.csv", "t,roll,pitch,yaw\n0,10,20,30\n");
  const Result result = RunWith("no frames", imu, {"--wait", "0.1"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "orbisk_host: the plug-in drew no frame during the run" + LogHint());
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
