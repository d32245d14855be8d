// Everything that can fail under a command, failed one after the other: the first allocation, the second, ... until the
// command gets through; the same with what a file read gives, and with each call of the graphics libraries. Each time
// the command comes to what it is documented to come to, the viewer's lock is free, nothing is lost, and the next
// command works.

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <exception>
#include <filesystem>
#include <functional>
#include <iostream>
#include <map>
#include <new>
#include <optional>
#include <set>
#include <stdexcept>
#include <tuple>

#include "renderer/log_line.h"
#include "test/faults/operator_new.h"
#include "test/faults/watchdog.h"
#include "test/model/glb_builder.h"
#include "test/model/read_fault.h"
#include "test/plugin/fake_graphics_fixture.h"
#include "test/support/commands.h"

using ::testing::AnyOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

namespace {

const char kInitFailed[] = "error INIT_FAILED: Failed to initialize EGL renderer";
const char kShaderFailed[] = "error SHADER_FAILED: Failed to load shaders";
const char kOutOfMemory[] = "throws std::bad_alloc";
const char kUnanswered[] = "Warning: Failed to respond to a message. This is a memory leak.\n";

// As AnswerText has it, or the exception's type: "throws ...".
using Outcome = std::string;

// A plug-in from nothing, as the fixtures of other tests are; here a test needs one for each point of failure.
class Rig : private FreshGraphics, public PluginTest {
 public:
  Rig() = default;
  ~Rig() override {
    DestroyPlugin();
    // Where a call that releases was the one to fail, what it was to release is not the plug-in's to release again.
    if (!a_release_failed) {
      EXPECT_THAT(fake_graphics::Alive(), IsEmpty());
    }
    fake_graphics::Reset();
  }

  using CommandTest::Call;
  using CommandTest::DestroyPlugin;
  using CommandTest::Encode;
  using CommandTest::Fetch;
  using CommandTest::WaitForFrames;
  using PluginTest::CreateViewer;
  using PluginTest::SetSmallModel;
  using PluginTest::State;
  fakes::FakeEmbedder& embedder() { return embedder_; }
  std::string TakeErrors() { return err_.Take(); }

  // Delivers a message. Allocates nothing itself, so that this can be done under a fault; see OutcomeOf for the rest.
  const char* Deliver(const fakes::Bytes& message) {
    const char* thrown = nullptr;
    try {
      embedder_.Deliver("orbisk", message);
    } catch (const std::bad_alloc&) {
      thrown = kOutOfMemory;
    } catch (const std::invalid_argument&) {
      thrown = "throws std::invalid_argument";
    } catch (const std::out_of_range&) {
      thrown = "throws std::out_of_range";
    }
    return thrown;
  }
  // What the last message came to, of which Deliver has returned `thrown`.
  Outcome OutcomeOf(const char* thrown) const {
    return thrown == nullptr ? AnswerText::Of(embedder_.last_reply()) : thrown;
  }
  bool answered() const { return embedder_.last_reply().answered(); }

  void StartAndWaitForFrames() {
    ASSERT_EQ(Call("startRendering"), "success true");
    ASSERT_TRUE(WaitForFrames(embedder_.texture_ids().back(), 2));
  }

  // Stops the thread, which has the lock most of the time, and looks.
  void ExpectTheLockToBeFree() {
    ASSERT_EQ(Call("stopRendering"), "success true");
    if (State() != nullptr) {
      EXPECT_FALSE(IsLocked(State()->mutex));
    }
  }

  bool a_release_failed = false;

 private:
  void TestBody() override {}
};

void ReportPoints(const std::string& kind, const std::string& what, size_t count) {
  std::cout << kind << ", " << what << ": " << count << " points of failure\n";
}

// ---- Allocations -------------------------------------------------------------------------------------------

// What a command needs before it, and what it comes to where nothing fails.
struct AllocationCase {
  const char* name;
  const char* command;
  std::function<void(Rig&)> prepare;
  std::function<EncodableValue(const std::string& folder)> arguments;
  std::string good;                     // the beginning of the outcome
  std::vector<const char*> also_right;  // besides: out of memory, or good with a log line that lacks its end
};

EncodableValue NoArguments(const std::string&) { return EncodableValue(); }
EncodableValue SmallTexture(const std::string&) { return Size(64, 48); }
EncodableValue Numbers(const std::string&) { return QuaternionArguments(0.1, 0.2, 0.3, 0.9); }
EncodableValue Angles(const std::string&) { return AngleArguments(1, 2, 3); }
void Viewer(Rig& rig) { rig.CreateViewer(); }
void ViewerAtWork(Rig& rig) {
  rig.Fetch(rig.CreateViewer());
  rig.StartAndWaitForFrames();
}

const AllocationCase kAllocationCases[] = {
    {"createTexture", "createTexture", [](Rig&) {}, SmallTexture, "success ", {}},
    {"createTextureWhileFramesAreDrawn", "createTexture", ViewerAtWork, SmallTexture, "success ", {}},
    {"createTextureThatFails",
     "createTexture",
     Viewer,
     [](const std::string&) { return Size(-5, 48); },
     kInitFailed,
     {}},
    {"loadModel",
     "loadModel",
     Viewer,
     [](const std::string& folder) {
       return Map({{"modelPath", folder + "/model.glb"}});
     },
     "success true",
     {"error LOAD_FAILED: Failed to load model: "}},
    {"loadModelWhileFramesAreDrawn",
     "loadModel",
     ViewerAtWork,
     [](const std::string& folder) {
       return Map({{"modelPath", folder + "/model.glb"}});
     },
     "success true",
     {"error LOAD_FAILED: Failed to load model: "}},
    {"loadModelOfTheSecondPath",
     "loadModel",
     Viewer,
     [](const std::string& folder) {
       return Map({{"modelPath", "data/flutter_assets/" + folder + "/model.glb"}});
     },
     "success true",
     {"error LOAD_FAILED: Failed to load model: "}},
    {"loadModelThatFails",
     "loadModel",
     Viewer,
     [](const std::string&) {
       return Map({{"modelPath", "nowhere"}});
     },
     "error LOAD_FAILED: Failed to load model: fail: read file\nfail: read file\n",
     {}},
    {"startRendering", "startRendering", Viewer, NoArguments, "success true", {}},
    {"startRenderingAgain", "startRendering", ViewerAtWork, NoArguments, "success true", {}},
    {"stopRendering", "stopRendering", ViewerAtWork, NoArguments, "success true", {}},
    {"setQuaternion", "setQuaternion", ViewerAtWork, Numbers, "success true", {}},
    {"setBaseQuaternion", "setBaseQuaternion", ViewerAtWork, Numbers, "success true", {}},
    {"setRotation", "setRotation", ViewerAtWork, Angles, "success true", {}},
    {"setBaseRotation", "setBaseRotation", ViewerAtWork, Angles, "success true", {}},
    {"setCameraDistance",
     "setCameraDistance",
     Viewer,
     [](const std::string&) {
       return Map({{"distance", 2.0}});
     },
     "success true",
     {}},
    {"aMissingArgument",
     "setModelScale",
     Viewer,
     [](const std::string&) {
       return Map({{"Scale", 2.0}});
     },
     commands::Named("setModelScale").missing_answer(),
     {}},
    {"anUnknownCommand", "noSuchCommandOfThePlugIn", Viewer, NoArguments, "not implemented", {}},
    {"dispose", "dispose", Viewer, NoArguments, "success true", {}},
    {"disposeWhileFramesAreDrawn", "dispose", ViewerAtWork, NoArguments, "success true", {}},
};

std::ostream& operator<<(std::ostream& stream, const AllocationCase& it) { return stream << it.name; }

class AllocationFailureTest : public ::testing::TestWithParam<std::tuple<AllocationCase, operator_new::Fault::Extent>> {
};

TEST_P(AllocationFailureTest, TheExceptionLeavesOrALogLineIsCutAndTheNextCommandWorks) {
  const auto& [it, extent] = GetParam();
  const glb_builder::TemporaryFolder folder;
  folder.Write("model.glb", glb_builder::Glb().Add(glb_builder::Triangle().Color("1, 0.5, 0.25")));
  const fakes::Bytes message = Rig::Encode(it.command, it.arguments(folder.path()));
  bool a_result_existed = false;
  size_t points = 0;
  Watchdog watchdog(std::chrono::minutes(4));
  watchdog.BeginStory(it.name);
  for (int nth = 1;; ++nth) {
    SCOPED_TRACE("allocation " + std::to_string(nth));
    watchdog.Step("allocation " + std::to_string(nth) + " fails");
    Rig rig;
    it.prepare(rig);
    rig.TakeErrors();
    bool happened = false;
    const char* thrown = nullptr;
    {
      const operator_new::Fault fault(nth, extent);
      thrown = rig.Deliver(message);
      happened = fault.happened();
    }
    const Outcome outcome = rig.OutcomeOf(thrown);
    const std::string errors = rig.TakeErrors();
    if (!happened) {
      EXPECT_THAT(outcome, StartsWith(it.good));
      EXPECT_EQ(errors.find(kUnanswered), std::string::npos);
      break;
    }
    ++points;

    const bool is_right = outcome == kOutOfMemory || outcome.rfind(it.good, 0) == 0 ||
                          std::any_of(it.also_right.begin(), it.also_right.end(),
                                      [&](const char* right) { return outcome.rfind(right, 0) == 0; });
    EXPECT_TRUE(is_right) << outcome;
    EXPECT_EQ(rig.answered(), outcome != kOutOfMemory) << outcome;
    // Until the channel has made the result there is none to die.
    const bool warned = errors.find(kUnanswered) != std::string::npos;
    a_result_existed = a_result_existed || warned || rig.answered();
    EXPECT_EQ(warned, !rig.answered() && a_result_existed);

    rig.ExpectTheLockToBeFree();
    if (HasFailure()) break;  // whatever follows would wait for the lock
    // What a failed command may have left half done, its own like completes; "loadModel" empties the model first.
    if (rig.State() == nullptr || rig.State()->disposed || rig.State()->renderer == nullptr) rig.CreateViewer();
    if (rig.State()->model.meshes.empty()) rig.SetSmallModel();
    EXPECT_THAT(rig.OutcomeOf(rig.Deliver(message)), StartsWith(it.good)) << "the same again, without the fault";
    rig.CreateViewer();
    rig.StartAndWaitForFrames();
    if (HasFailure()) break;
  }
  ReportPoints("Allocations", it.name, points);
}

std::string NameOf(const ::testing::TestParamInfo<AllocationFailureTest::ParamType>& info) {
  const bool once = std::get<1>(info.param) == operator_new::Fault::kOnce;
  return std::get<0>(info.param).name + std::string(once ? "_once" : "_fromThenOn");
}

INSTANTIATE_TEST_SUITE_P(Commands, AllocationFailureTest,
                         ::testing::Combine(::testing::ValuesIn(kAllocationCases),
                                            ::testing::Values(operator_new::Fault::kOnce,
                                                              operator_new::Fault::kFromThenOn)),
                         NameOf);

TEST(FrameRequestFailureTest, AnAllocationThatFailsLeavesNoBufferAndTheNextRequestMakesOne) {
  size_t points = 0;
  for (const auto extent : {operator_new::Fault::kOnce, operator_new::Fault::kFromThenOn}) {
    for (int nth = 1;; ++nth) {
      Rig rig;
      const int64_t id = rig.CreateViewer(64, 48);
      bool thrown = false;
      bool happened = false;
      const long balance_before = operator_new::BalanceOnThisThread();
      {
        const operator_new::Fault fault(nth, extent);
        try {
          plugin_under_test::CopyPixelBuffer(rig.State());
        } catch (const std::bad_alloc&) {
          thrown = true;
        }
        happened = fault.happened();
      }
      EXPECT_EQ(thrown, happened);
      EXPECT_EQ(rig.State()->pixel_buffer == nullptr, happened);
      // Counted here, because the leak sanitizer has been told to overlook pixels that are lost.
      EXPECT_EQ(operator_new::BalanceOnThisThread() - balance_before, happened ? 0 : 2);
      EXPECT_FALSE(IsLocked(rig.State()->mutex));
      EXPECT_NE(rig.Fetch(id), nullptr);
      rig.StartAndWaitForFrames();
      EXPECT_EQ(rig.Call("dispose"), "success true");
      if (!happened) break;
      ++points;
    }
  }
  EXPECT_EQ(points, 4u) << "descriptor and pixels, each twice";
  ReportPoints("Allocations", "frame request", points);
}

TEST(FrameRequestFailureTest, ASizeWhoseByteCountWrapsAroundIsRefusedBeforeAnythingIsAllocated) {
  Rig rig;
  rig.CreateViewer();
  rig.Call("createTexture", Size(40000, 30000));  // 4.8 GB, of which 32 bits keep 505 MB
  const long count_before = operator_new::CountOnThisThread();
  EXPECT_EQ(plugin_under_test::CopyPixelBuffer(rig.State()), nullptr);
  EXPECT_EQ(operator_new::CountOnThisThread(), count_before);
}

// ---- Log lines ---------------------------------------------------------------------------------------------

TEST(LogLineFailureTest, ALineOfAnyLengthNeedsNoMemory) {
  const std::string path(10000, 'p');
  LogCapture out(stdout);
  std::string written;
  bool asked = false;
  {
    const operator_new::Fault fault(1, operator_new::Fault::kFromThenOn);
    WriteLogLine(stdout, "[Tag] ", path, " ", 640, "x", size_t{480}, " ", 0.1f, " ", 1e300, " ", Hex{0x8CD6});
    asked = fault.happened();
  }
  EXPECT_FALSE(asked);
  EXPECT_EQ(out.Take(), "[Tag] " + path + " 640x480 0.1 1e+300 0x8cd6\n");
}

TEST(LogLineFailureTest, ThePluginsEndNeedsNoMemory) {
  Rig rig;
  rig.Fetch(rig.CreateViewer());
  bool asked = false;
  {
    const operator_new::Fault fault(1, operator_new::Fault::kFromThenOn);
    rig.DestroyPlugin();
    asked = fault.happened();
  }
  EXPECT_FALSE(asked);
}

// ---- Allocations of the render thread ----------------------------------------------------------------------

// How many blocks each frame of a viewer asks for, from one glClear to the next.
std::set<long> AllocationsPerFrame(Rig& rig) {
  std::set<long> counts;
  std::optional<long> at_last_clear;
  fake_graphics::SetHook("glClear", [&] {
    const long now = operator_new::CountOnThisThread();
    if (at_last_clear) counts.insert(now - *at_last_clear);
    at_last_clear = now;
  });
  EXPECT_EQ(rig.Call("startRendering"), "success true");
  EXPECT_TRUE(rig.WaitForFrames(rig.embedder().texture_ids().back(), 8));
  EXPECT_EQ(rig.Call("stopRendering"), "success true");
  fake_graphics::SetHook("glClear", nullptr);
  return counts;
}

TEST(RenderThreadAllocationTest, AFrameAllocatesNothingButTheTemporaryOfItsReadback) {
  Rig rig;
  const int64_t id = rig.CreateViewer();
  EXPECT_EQ(AllocationsPerFrame(rig), std::set<long>{0});
  rig.Fetch(id);
  EXPECT_EQ(AllocationsPerFrame(rig), std::set<long>{1});
}

// Nobody could catch it: the thread's body is the plug-in's, and a viewer that silently stops is no better.
TEST(RenderThreadAllocationDeathTest, AReadbackThatFindsNoMemoryEndsTheProgram) {
  constexpr int kTerminated = 42;
  EXPECT_EXIT(
      {
        Rig rig;
        rig.Fetch(rig.CreateViewer());
        std::set_terminate([] { _exit(kTerminated); });
        thread_local std::optional<operator_new::Fault> fault;  // the render thread's
        fake_graphics::SetHook("glFinish", [] { fault.emplace(1, operator_new::Fault::kOnce); });
        rig.Call("startRendering");
        if (!rig.WaitForFrames(rig.embedder().texture_ids().back(), 3)) _exit(1);
        _exit(0);
      },
      ::testing::ExitedWithCode(kTerminated), "");
}

// ---- File reads --------------------------------------------------------------------------------------------

// A short read leaves the rest of the file's bytes zero, an error no less: what comes of it is what comes of a file
// that has the zeros.
TEST(FileReadFailureTest, AReadThatIsCutShortIsLikeAFileOfZerosBehindTheCut) {
  const glb_builder::Bytes file =
      glb_builder::Glb().Add(glb_builder::Triangle().Color("1, 0.5, 0.25")).Add(glb_builder::Triangle()).Build();
  const glb_builder::TemporaryFolder folder;
  const EncodableValue arguments = Map({{"modelPath", folder.Write("model.glb", file)}});
  const fakes::Bytes load_model = Rig::Encode("loadModel", arguments);
  const fakes::Bytes load_zeros = Rig::Encode("loadModel", Map({{"modelPath", folder.PathOf("zeros.glb")}}));
  std::map<Outcome, int> outcomes;
  size_t points = 0;
  std::optional<Rig> captured;  // standard output, too
  Rig& rig = captured.emplace();
  rig.CreateViewer();
  for (const auto kind : {model_test::ReadFault::kEnd, model_test::ReadFault::kError}) {
    for (size_t bytes = 0; bytes <= file.size(); ++bytes) {
      SCOPED_TRACE("after byte " + std::to_string(bytes));
      glb_builder::Bytes cut = file;
      std::fill(cut.begin() + static_cast<std::ptrdiff_t>(bytes), cut.end(), uint8_t{0});
      std::filesystem::remove(folder.PathOf("zeros.glb"));  // to truncate it would wait for the disk
      folder.Write("zeros.glb", cut);
      const Outcome expected = rig.OutcomeOf(rig.Deliver(load_zeros));
      rig.TakeErrors();

      bool happened = false;
      const char* thrown = nullptr;
      {
        const model_test::ReadFault fault(bytes, kind);
        thrown = rig.Deliver(load_model);
        happened = fault.happened();
      }
      const Outcome outcome = rig.OutcomeOf(thrown);
      EXPECT_EQ(outcome, expected);
      const bool warned = rig.TakeErrors().find(kUnanswered) != std::string::npos;
      EXPECT_EQ(warned, outcome.rfind("throws", 0) == 0);
      EXPECT_FALSE(IsLocked(rig.State()->mutex));
      EXPECT_EQ(rig.Call("loadModel", arguments), "success true");
      EXPECT_EQ(happened, bytes < file.size());
      if (HasFailure()) break;
      if (bytes == file.size()) continue;  // nothing is lost: the run that succeeds
      ++points;
      ++outcomes[outcome.substr(0, outcome.find(':'))];
    }
  }
  captured.reset();
  for (const auto& [outcome, count] : outcomes) std::cout << "  " << outcome << ": " << count << " times\n";
  EXPECT_GT(outcomes["error LOAD_FAILED"], 0);
  EXPECT_GT(outcomes["success true"], 0) << "what is cut off may be zeros anyway, or coordinates";
  ReportPoints("File reads", "loadModel", points);
}

// ---- Calls of the graphics libraries -----------------------------------------------------------------------

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

// Runs `message` after `prepare` as often as it makes calls, each time with another one failing.
void FailEachCall(const char* what, const std::function<void(Rig&)>& prepare, const fakes::Bytes& message,
                  const std::string& good, const std::map<std::string, std::string>& failing) {
  std::vector<CallPoint> points;
  {
    Rig rig;
    prepare(rig);
    fake_graphics::ClearCalls();
    ASSERT_THAT(rig.OutcomeOf(rig.Deliver(message)), StartsWith(good));
    points = CallPoints([](const fake_graphics::Call&) { return true; });
  }
  std::set<std::string> unused;
  for (const auto& [call, outcome] : failing) unused.insert(call);
  for (const CallPoint& point : points) {
    SCOPED_TRACE(point.text());
    Rig rig;
    prepare(rig);
    rig.a_release_failed = Releases(point);
    fake_graphics::FailCall(point.function, point.occurrence);
    const auto expected = failing.find(point.text());
    unused.erase(point.text());
    EXPECT_THAT(rig.OutcomeOf(rig.Deliver(message)), StartsWith(expected == failing.end() ? good : expected->second));
    EXPECT_THAT(fake_graphics::PendingFaults(), IsEmpty());
    EXPECT_FALSE(IsLocked(rig.State()->mutex));
    rig.CreateViewer();
    rig.StartAndWaitForFrames();
    EXPECT_EQ(rig.Call("dispose"), "success true");
  }
  EXPECT_THAT(unused, IsEmpty()) << "calls that were not made";
  ReportPoints("Graphics calls", what, points.size());
}

const std::map<std::string, std::string> kSetUpFailures = {
    {"eglInitialize 1", kInitFailed},           {"eglChooseConfig 1", kInitFailed},
    {"eglCreatePbufferSurface 1", kInitFailed}, {"eglCreateContext 1", kInitFailed},
    {"eglMakeCurrent 1", kInitFailed},          {"glGenTextures 1", kInitFailed},
    {"glBindTexture 1", kInitFailed},           {"glTexImage2D 1", kInitFailed},
    {"glBindRenderbuffer 1", kInitFailed},      {"glRenderbufferStorage 1", kInitFailed},
    {"glFramebufferTexture2D 1", kInitFailed},  {"glCheckFramebufferStatus 1", kInitFailed},
    {"glCreateShader 1", kShaderFailed},        {"glCreateShader 2", kShaderFailed},
    {"glCompileShader 1", kShaderFailed},       {"glCompileShader 2", kShaderFailed},
    {"glGetShaderiv 1", kShaderFailed},         {"glGetShaderiv 2", kShaderFailed},
    {"glCreateProgram 1", kShaderFailed},       {"glAttachShader 1", kShaderFailed},
    {"glAttachShader 2", kShaderFailed},        {"glLinkProgram 1", kShaderFailed},
    {"glGetProgramiv 1", kShaderFailed}};

std::map<std::string, std::string> And(std::map<std::string, std::string> all,
                                       const std::map<std::string, std::string>& more) {
  all.insert(more.begin(), more.end());
  return all;
}

// The GL calls that a viewer at work makes meanwhile on its own thread are not among the points.
TEST(GraphicsFailureTest, CreateTextureAnswersWhichHalfOfTheSetUpFailed) {
  FailEachCall(
      "createTexture", [](Rig&) {}, Rig::Encode("createTexture", Size(64, 48)), "success 7",
      And(kSetUpFailures, {{"eglGetDisplay 1", kInitFailed}}));
}

TEST(GraphicsFailureTest, CreateTextureOnAGbmDeviceAnswersTheSameAndTriesTheNextNode) {
  const auto gbm_only = [](Rig&) {
    fake_graphics::SetDefaultDisplay(false);
    fake_graphics::SetDrmNodes({"/dev/dri/renderD128", "/dev/dri/card0"});
  };
  FailEachCall(
      "createTexture on GBM", gbm_only, Rig::Encode("createTexture", Size(64, 48)), "success 7",
      And(kSetUpFailures, {{"gbm_create_device 1", kInitFailed}, {"eglGetPlatformDisplayEXT 1", kInitFailed}}));
}

TEST(GraphicsFailureTest, CreateTextureInPlaceOfAnEarlierOneAnswersTheSame) {
  FailEachCall(
      "createTexture again", [](Rig& rig) { rig.CreateViewer(32, 24); }, Rig::Encode("createTexture", Size(64, 48)),
      "success 8", And(kSetUpFailures, {{"eglGetDisplay 1", kInitFailed}}));
}

TEST(GraphicsFailureTest, DisposeAnswersTrueWhateverFails) {
  FailEachCall("dispose", [](Rig& rig) { rig.Fetch(rig.CreateViewer()); }, Rig::Encode("dispose", EncodableValue()),
               "success true", {});
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
    over = read;  // the glGetError behind glReadPixels is the last
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
