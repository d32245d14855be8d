// Every allocation under a command, failed one after the other: the first, the second, ... until the command gets
// through. Each time the exception leaves, or a log line is cut, the viewer's lock is free, nothing is lost, and the next
// command works. Besides: what needs no memory at all, and what a frame needs.

#include <unistd.h>

#include <chrono>
#include <exception>
#include <functional>
#include <new>
#include <optional>
#include <ostream>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "logging/log_line.h"
#include "plugin/pixel_texture.h"
#include "test/faults/rig.h"
#include "test/faults/watchdog.h"
#include "test/plugin/right_arguments.h"
#include "test/support/files.h"
#include "test/support/glb_builder.h"
#include "test/support/operator_new.h"

using ::testing::AnyOf;
using ::testing::StartsWith;

namespace {

// ---- Commands ----------------------------------------------------------------------------------------------

void Viewer(Rig& rig) { rig.CreateViewer(); }
void ViewerAtWork(Rig& rig) {
  rig.Fetch(rig.CreateViewer());
  rig.StartAndWaitForFrames();
}

// A command as it is given where nothing fails.
class Case {
 public:
  Case(std::string name, std::string command) : name_(std::move(name)), command_(std::move(command)) {}

  Case& After(std::function<void(Rig&)> prepare) { return prepare_ = std::move(prepare), *this; }
  Case& With(EncodableValue arguments) { return arguments_ = std::move(arguments), *this; }
  /// With a model file, whose path has this in front of it.
  Case& WithModel(std::string before_path) { return before_path_ = std::move(before_path), *this; }
  /// The beginning of the outcome; "success true" unless it is told.
  Case& ComesTo(Outcome outcome) { return outcome_ = std::move(outcome), *this; }
  /// What else is right where an allocation has failed, besides the exception: the beginning of an outcome.
  Case& OrTo(Outcome outcome) { return other_outcome_ = std::move(outcome), *this; }

  const std::string& name() const { return name_; }
  const Outcome& outcome() const { return outcome_; }
  const Outcome& other_outcome() const { return other_outcome_; }
  void Prepare(Rig& rig) const { prepare_(rig); }
  fakes::Bytes Message(const std::string& model_path) const {
    if (!before_path_) return Rig::Encode(command_, arguments_);
    return Rig::Encode(command_, Map({{"modelPath", *before_path_ + model_path}}));
  }

  friend void PrintTo(const Case& it, std::ostream* stream) { *stream << it.name_; }

 private:
  std::string name_;
  std::string command_;
  std::function<void(Rig&)> prepare_ = [](Rig&) {};
  EncodableValue arguments_;
  std::optional<std::string> before_path_;
  Outcome outcome_ = "success true";
  Outcome other_outcome_ = kOutOfMemory;
};

std::vector<Case> Cases() {
  const std::string load_failed = "error LOAD_FAILED: Failed to load model: ";
  std::vector<Case> cases = {
      Case("createTexture", "createTexture").With(Size(64, 48)).ComesTo("success "),
      Case("createTextureWhileFramesAreDrawn", "createTexture")
          .After(ViewerAtWork)
          .With(Size(64, 48))
          .ComesTo("success "),
      Case("createTextureThatFails", "createTexture")
          .After(Viewer)
          .With(Size(-5, 48))
          .ComesTo("error INIT_FAILED: Failed to initialize EGL renderer"),
      Case("loadModel", "loadModel").After(Viewer).WithModel("").OrTo(load_failed),
      Case("loadModelWhileFramesAreDrawn", "loadModel").After(ViewerAtWork).WithModel("").OrTo(load_failed),
      Case("loadModelOfTheSecondPath", "loadModel").After(Viewer).WithModel("data/flutter_assets/").OrTo(load_failed),
      Case("loadModelThatFails", "loadModel")
          .After(Viewer)
          .With(Map({{"modelPath", "nowhere"}}))
          .ComesTo(load_failed + "fail: read file\nfail: read file\n"),
      Case("startRendering", "startRendering").After(Viewer),
      Case("startRenderingAgain", "startRendering").After(ViewerAtWork),
      Case("stopRendering", "stopRendering").After(ViewerAtWork),
      Case("aMissingArgument", "setModelScale")
          .After(Viewer)
          .With(Map({{"Scale", 2.0}}))
          .ComesTo(commands::Named("setModelScale").missing_answer()),
      Case("anUnknownCommand", "noSuchCommandOfThePlugIn").After(Viewer).ComesTo("not implemented"),
      Case("dispose", "dispose").After(Viewer),
      Case("disposeWhileFramesAreDrawn", "dispose").After(ViewerAtWork),
  };
  for (const commands::Command& command : commands::ThatTakeNumbers()) {
    cases.push_back(Case(command.name, command.name).After(ViewerAtWork).With(Map(RightArguments(command))));
  }
  return cases;
}

class AllocationFailureTest : public ::testing::TestWithParam<std::tuple<Case, operator_new::Fault::Extent>> {};

TEST_P(AllocationFailureTest, TheExceptionLeavesOrALogLineIsCutAndTheNextCommandWorks) {
  const auto& [it, extent] = GetParam();
  const TemporaryFolder folder;
  const fakes::Bytes message =
      it.Message(folder.Write("model.glb", glb_builder::Glb().Add(glb_builder::Triangle().Color("1, 0.5, 0.25"))));
  bool a_result_existed = false;
  size_t points = 0;
  Watchdog watchdog(std::chrono::minutes(4));
  watchdog.BeginStory(it.name());
  for (int nth = 1;; ++nth) {
    SCOPED_TRACE("allocation " + std::to_string(nth));
    watchdog.Step("allocation " + std::to_string(nth) + " fails");
    Rig rig;
    it.Prepare(rig);
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
      EXPECT_THAT(outcome, StartsWith(it.outcome()));
      EXPECT_EQ(errors.find(kUnanswered), std::string::npos);
      break;
    }
    ++points;

    EXPECT_THAT(outcome, AnyOf(kOutOfMemory, StartsWith(it.outcome()), StartsWith(it.other_outcome())));
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
    EXPECT_THAT(rig.OutcomeOf(rig.Deliver(message)), StartsWith(it.outcome())) << "the same again, without the fault";
    rig.CreateViewer();
    rig.StartAndWaitForFrames();
    if (HasFailure()) break;
  }
  ReportPoints("Allocations", it.name(), points);
}

std::string NameOf(const ::testing::TestParamInfo<AllocationFailureTest::ParamType>& info) {
  const bool once = std::get<1>(info.param) == operator_new::Fault::kOnce;
  return std::get<0>(info.param).name() + std::string(once ? "_once" : "_fromThenOn");
}

INSTANTIATE_TEST_SUITE_P(Commands, AllocationFailureTest,
                         ::testing::Combine(::testing::ValuesIn(Cases()),
                                            ::testing::Values(operator_new::Fault::kOnce,
                                                              operator_new::Fault::kFromThenOn)),
                         NameOf);

// ---- Frame requests ----------------------------------------------------------------------------------------

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
          CopyPixelBuffer(rig.State());
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
  EXPECT_EQ(CopyPixelBuffer(rig.State()), nullptr);
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

}  // namespace
