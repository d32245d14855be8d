// Every call of the graphics libraries under a command and in a frame, failed one after the other: the command comes to
// what it is documented to come to, the viewer's lock is free, and the next frame is good.

#include <algorithm>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "test/faults/rig.h"

using ::testing::AnyOf;
using ::testing::IsEmpty;
using ::testing::StartsWith;

namespace {

const Outcome kInitFailed = "error INIT_FAILED: Failed to initialize EGL renderer";
const Outcome kShaderFailed = "error SHADER_FAILED: Failed to load shaders";

// One call among those of a run: the `occurrence`th of its function.
struct CallPoint {
  std::string function;
  int occurrence;

  std::string text() const { return function + " " + std::to_string(occurrence); }
};

template <typename Predicate>
std::vector<CallPoint> CallPoints(Predicate wanted) {
  std::vector<CallPoint> points;
  std::map<std::string, int> occurrences;
  for (const fake_graphics::Call& call : fake_graphics::Calls()) {
    if (!call.function.empty() && wanted(call)) points.push_back({call.function, ++occurrences[call.function]});
  }
  return points;
}

bool Releases(const CallPoint& point) {
  static const std::set<std::string> kReleasing = {"eglDestroyContext", "eglDestroySurface", "eglTerminate",
                                                   "gbm_device_destroy", "close"};
  return kReleasing.count(point.function) != 0;
}

// A command each of whose calls is to fail.
struct Attempt {
  std::string what;
  std::function<void(Rig&)> prepare = [](Rig&) {};
  fakes::Bytes message;
  Outcome good;  // the beginning of the outcome where nothing fails, or what fails is let pass
  std::map<std::string, Outcome> otherwise;  // by the call that fails; each of them must be made
};

void FailEachCall(const Attempt& attempt) {
  std::vector<CallPoint> points;
  {
    Rig rig;
    attempt.prepare(rig);
    fake_graphics::ClearCalls();
    ASSERT_THAT(rig.OutcomeOf(rig.Deliver(attempt.message)), StartsWith(attempt.good));
    points = CallPoints([](const fake_graphics::Call&) { return true; });
  }
  std::map<std::string, Outcome> not_made = attempt.otherwise;
  for (const CallPoint& point : points) {
    SCOPED_TRACE(point.text());
    Rig rig;
    attempt.prepare(rig);
    rig.a_release_failed = Releases(point);
    fake_graphics::FailCall(point.function, point.occurrence);
    const auto otherwise = attempt.otherwise.find(point.text());
    not_made.erase(point.text());
    EXPECT_THAT(rig.OutcomeOf(rig.Deliver(attempt.message)),
                StartsWith(otherwise == attempt.otherwise.end() ? attempt.good : otherwise->second));
    EXPECT_THAT(fake_graphics::PendingFaults(), IsEmpty());
    EXPECT_FALSE(IsLocked(rig.State()->mutex));
    rig.CreateViewer();
    rig.StartAndWaitForFrames();
    EXPECT_EQ(rig.Call("dispose"), "success true");
  }
  EXPECT_THAT(not_made, IsEmpty());
  ReportPoints("Graphics calls", attempt.what, points.size());
}

// The calls of "createTexture" without which there is nothing to draw with; `display_calls`: those that find the display.
std::map<std::string, Outcome> SetUpFailures(const std::vector<std::string>& display_calls) {
  std::map<std::string, Outcome> failures;
  for (const std::string& call : display_calls) failures[call] = kInitFailed;
  for (const char* call :
       {"eglInitialize 1", "eglChooseConfig 1", "eglCreatePbufferSurface 1", "eglCreateContext 1", "eglMakeCurrent 1",
        "glGenTextures 1", "glBindTexture 1", "glTexImage2D 1", "glBindRenderbuffer 1", "glRenderbufferStorage 1",
        "glFramebufferTexture2D 1", "glCheckFramebufferStatus 1"}) {
    failures[call] = kInitFailed;
  }
  for (const char* call : {"glCreateShader 1", "glCreateShader 2", "glCompileShader 1", "glCompileShader 2",
                           "glGetShaderiv 1", "glGetShaderiv 2", "glCreateProgram 1", "glAttachShader 1",
                           "glAttachShader 2", "glLinkProgram 1", "glGetProgramiv 1"}) {
    failures[call] = kShaderFailed;
  }
  return failures;
}

// The GL calls that a viewer at work makes meanwhile on its own thread are not among the points.
TEST(GraphicsFailureTest, CreateTextureAnswersWhichHalfOfTheSetUpFailed) {
  Attempt attempt;
  attempt.what = "createTexture";
  attempt.message = Rig::Encode("createTexture", Size(64, 48));
  attempt.good = "success 7";
  attempt.otherwise = SetUpFailures({"eglGetDisplay 1"});
  FailEachCall(attempt);
}

TEST(GraphicsFailureTest, CreateTextureOnAGbmDeviceAnswersTheSameAndTriesTheNextNode) {
  Attempt attempt;
  attempt.what = "createTexture on GBM";
  attempt.prepare = [](Rig&) {
    fake_graphics::SetDefaultDisplay(false);
    fake_graphics::SetDrmNodes({"/dev/dri/renderD128", "/dev/dri/card0"});
  };
  attempt.message = Rig::Encode("createTexture", Size(64, 48));
  attempt.good = "success 7";
  attempt.otherwise = SetUpFailures({"gbm_create_device 1", "eglGetPlatformDisplayEXT 1"});
  FailEachCall(attempt);
}

TEST(GraphicsFailureTest, CreateTextureInPlaceOfAnEarlierOneAnswersTheSame) {
  Attempt attempt;
  attempt.what = "createTexture again";
  attempt.prepare = [](Rig& rig) { rig.CreateViewer(32, 24); };
  attempt.message = Rig::Encode("createTexture", Size(64, 48));
  attempt.good = "success 8";
  attempt.otherwise = SetUpFailures({"eglGetDisplay 1"});
  FailEachCall(attempt);
}

TEST(GraphicsFailureTest, DisposeAnswersTrueWhateverFails) {
  Attempt attempt;
  attempt.what = "dispose";
  attempt.prepare = [](Rig& rig) { rig.Fetch(rig.CreateViewer()); };
  attempt.message = Rig::Encode("dispose", EncodableValue());
  attempt.good = "success true";
  FailEachCall(attempt);
}

// The calls of the render thread up to the end of its first frame.
std::vector<CallPoint> FirstFramePoints() {
  Rig rig;
  rig.Fetch(rig.CreateViewer());
  const auto platform_thread = std::this_thread::get_id();
  fake_graphics::ClearCalls();
  rig.StartAndWaitForFrames();
  EXPECT_EQ(rig.Call("stopRendering"), "success true");
  bool over = false;
  bool read = false;
  return CallPoints([&](const fake_graphics::Call& call) {
    if (over || call.thread == platform_thread) return false;
    over = read;  // the glGetError after glReadPixels is the last
    read = read || call.function == "glReadPixels";
    return true;
  });
}

TEST(GraphicsFailureTest, AFrameWithAFailedCallIsReportedOnceAndTheNextOneIsGood) {
  const std::vector<CallPoint> points = FirstFramePoints();
  ASSERT_EQ(points.front().function, "eglMakeCurrent");
  for (const CallPoint& point : points) {
    SCOPED_TRACE(point.text());
    Rig rig;
    const int64_t id = rig.CreateViewer();
    rig.Fetch(id);
    rig.TakeErrors();
    fake_graphics::FailCall(point.function, point.occurrence);
    EXPECT_EQ(rig.Call("startRendering"), "success true");
    if (&point == &points.front()) {
      rig.State()->render_thread->join();
      EXPECT_EQ(rig.embedder().texture(id).marks, 0);
      EXPECT_EQ(rig.TakeErrors(),
                "[EGLRenderer] Failed to make context current\n"
                "[Orbisk] ERROR: Failed to make EGL context current in rendering thread!\n");
    } else {
      EXPECT_TRUE(rig.WaitForFrames(id, 4));
      const std::string errors = rig.TakeErrors();
      EXPECT_THAT(errors, AnyOf(StartsWith("[EGLRenderer] GL error: 0x"),
                                StartsWith("[EGLRenderer] readPixels: glReadPixels error: 0x")));
      EXPECT_EQ(std::count(errors.begin(), errors.end(), '\n'), 1) << errors;
    }
    EXPECT_THAT(fake_graphics::PendingFaults(), IsEmpty());
    rig.ExpectTheLockToBeFree();
    fake_graphics::ClearCalls();
    rig.StartAndWaitForFrames();
    EXPECT_FALSE(fake_graphics::Draws().empty());
    EXPECT_EQ(rig.TakeErrors(), "");
  }
  ReportPoints("Graphics calls", "render thread's start and one frame", points.size());
}

}  // namespace
