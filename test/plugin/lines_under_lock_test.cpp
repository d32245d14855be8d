// What the plug-in writes under the viewer's lock and what without it, and when the render thread counts as rendering:
// looked at in the middle of every line.

#include <string>
#include <vector>

#include "plugin/render_thread.h"
#include "test/plugin/hand_clock.h"
#include "test/plugin/line_recorder.h"
#include "test/support/fake_graphics_fixture.h"
#include "test/support/files.h"
#include "test/support/glb_builder.h"

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::EndsWith;

namespace {

class LineTest : public FakeGraphicsPluginTest {
 protected:
  // What `noted` makes of each of the plug-in front's lines, at the moment when `action` makes it write that line.
  template <typename Noted, typename Action>
  static std::vector<std::string> Lines(Noted noted, Action action) {
    const std::string tag = "[Orbisk] ";
    std::vector<std::string> lines;
    line_recorder::Start([&](const std::string& text) {
      if (text.compare(0, tag.size(), tag) != 0) return;
      lines.push_back(noted(text.substr(tag.size(), text.find('\n') - tag.size())));
    });
    action();
    line_recorder::Stop();
    return lines;
  }

  static std::string WithLock(const std::string& line) {
    return (IsLocked(State()->mutex) ? "locked: " : "free: ") + line;
  }
  template <typename Action>
  static std::vector<std::string> LinesWithLock(Action action) {
    return Lines(WithLock, action);
  }

  static std::string WithRendering(const std::string& line) {
    return (State()->rendering ? "rendering: " : "not: ") + line;
  }

  // Runs the body of the render thread on this thread, on a clock of its own.
  static void RunRenderThread() {
    const HandClock clock;
    RenderingThread(State());
  }
};

const std::string kFreeBar = "free: " + kBar;
const std::string kLockedBar = "locked: " + kBar;

TEST_F(LineTest, CreateTextureWritesUnderTheLockFromTheRendererOn) {
  CreateViewer();
  EXPECT_THAT(LinesWithLock([this] { CreateTexture(32, 24); }),
              ElementsAre(kFreeBar, "free: CreateTexture called", kFreeBar, "free: Requested texture size: 32x24",
                          "free: Reusing existing viewer state", "locked: Creating EGL renderer...",
                          "locked: EGL renderer initialized successfully", "locked: Loading shaders...",
                          "locked: Shaders loaded successfully", "locked: Context released from main thread",
                          "locked: Creating Flutter texture variant...", "locked: Registering texture with Flutter...",
                          kLockedBar, "locked: Texture created with ID: 8", kLockedBar));
}

TEST_F(LineTest, LoadModelWritesUnderTheLockFromTheFirstAttemptOn) {
  const TemporaryFolder folder;
  const std::string path = folder.Write("model.glb", glb_builder::Glb().Add(glb_builder::Triangle()));
  CreateViewer();
  EXPECT_THAT(LinesWithLock([&] {
                Call("loadModel", Map({{"modelPath", path}}));
              }),
              ElementsAre(kFreeBar, "free: LoadModel called", kFreeBar, "free: Model path (original): " + path,
                          "locked: Loading GLB model...", "locked: Trying path: " + path,
                          "locked: Successfully loaded from: " + path, kLockedBar, "locked: Model loaded successfully!",
                          "locked: Total meshes: 1", "locked:   Mesh 0: vertices=3 triangles=1 color=(0.8,0.8,0.8)",
                          "locked: Total vertices: 3", "locked: Total triangles: 1",
                          "locked: GLB loader log: Found 1 meshes", kLockedBar));
}

TEST_F(LineTest, AFailedLoadModelWritesUnderTheLockToo) {
  CreateViewer();
  EXPECT_THAT(
      LinesWithLock([this] {
        Call("loadModel", Map({{"modelPath", "none"}}));
      }),
      ElementsAre(kFreeBar, "free: LoadModel called", kFreeBar, "free: Model path (original): none",
                  "locked: Loading GLB model...", "locked: Trying path: none",
                  "locked: Trying path: data/flutter_assets/none", "locked: ERROR: Failed to load model from any path",
                  "locked: Tried paths:", "locked:   - none", "locked:   - data/flutter_assets/none",
                  "locked: GLB loader log: fail: read file"));
}

TEST_F(LineTest, DisposeWritesUnderTheLockOnlyWhileItReleases) {
  CreateViewer();
  const fake_graphics::Allowance allowance(fake_graphics::CleanupDeletions());
  EXPECT_THAT(
      LinesWithLock([this] { Call("dispose"); }),
      ElementsAre("free: Dispose called", "free: Setting disposal flag...", "free: Stopping rendering thread...",
                  "free: Rendering thread stopped", "free: Unregistering texture 7",
                  "locked: Cleaning up pixel buffer...", "locked: Cleaning up EGL resources...",
                  "locked: Cleaning up model data...", "free: Disposed (state and texture kept alive for safety)"));
}

TEST_F(LineTest, TheCommandsThatSetNumbersWriteWithoutTheLock) {
  CreateViewer();
  EXPECT_THAT(LinesWithLock([this] {
                Call("setCameraDistance", Map({{"distance", 2.0}}));
                Call("setModelScale", Map({{"scale", 3.0}}));
                Call("setBaseRotation", AngleArguments(1, 2, 3));
                Call("setBaseQuaternion", QuaternionArguments(0, 0, 0, 1));
              }),
              ElementsAre("free: Camera distance set to: 2", "free: Model scale set to: 3",
                          "free: Base rotation set to: roll=1\xC2\xB0 pitch=2\xC2\xB0 yaw=3\xC2\xB0",
                          "free: Base quaternion set to: x=0 y=0 z=0 w=1"));
}

TEST_F(LineTest, TheRenderThreadTellsWhatItWaitsForUnderTheLock) {
  CreateTexture();
  const auto stop_at_the_wait = [](const std::string& line) {
    State()->stop_requested = line.rfind("Waiting", 0) == 0;
    return WithLock(line);
  };
  EXPECT_THAT(Lines(stop_at_the_wait, RunRenderThread),
              ElementsAre(kFreeBar, "free: Rendering thread STARTED", kFreeBar,
                          EndsWith("EGL context made current in rendering thread"),
                          "locked: Waiting for renderer/model... renderer=OK mesh_count=0", kFreeBar,
                          "free: Rendering thread STOPPED (rendered 1 frames)", kFreeBar));
}

TEST_F(LineTest, TheRenderThreadWarnsOfAFrameThatCannotBeAnnouncedWithoutTheLock) {
  CreateViewer();
  State()->texture_id = -1;
  fake_graphics::SetHook("glFinish", [] { State()->stop_requested = true; });
  EXPECT_THAT(LinesWithLock(RunRenderThread),
              Contains("free: WARNING: Cannot mark texture - registrar=OK texture_id=-1"));
}

TEST_F(LineTest, TheRenderThreadCountsAsRenderingBetweenItsStartedAndItsStoppedLines) {
  CreateViewer();
  fake_graphics::SetHook("glFinish", [] { State()->stop_requested = true; });
  EXPECT_THAT(Lines(WithRendering, RunRenderThread),
              ElementsAre("not: " + kBar, "not: Rendering thread STARTED", "not: " + kBar,
                          "rendering: EGL context made current in rendering thread", "not: " + kBar,
                          "not: Rendering thread STOPPED (rendered 1 frames)", "not: " + kBar));
}

TEST_F(LineTest, ARenderThreadWithoutItsContextCountsAsRenderingUntilItHasSaidSo) {
  CreateViewer();
  fake_graphics::FailCall("eglMakeCurrent");
  EXPECT_THAT(Lines(WithRendering, RunRenderThread),
              ElementsAre("not: " + kBar, "not: Rendering thread STARTED", "not: " + kBar,
                          "rendering: ERROR: Failed to make EGL context current in rendering thread!"));
  EXPECT_FALSE(State()->rendering);
}

}  // namespace
