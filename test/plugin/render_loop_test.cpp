// The render thread: when it waits, draws, announces, warns, paces itself, lets commands in and ends.

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "test/plugin/sleep_recorder.h"
#include "test/plugin/source_fixture.h"

using namespace std::chrono_literals;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

namespace {

class RenderLoopTest : public PluginTest {
 protected:
  // Runs the thread's body on `state` until `done` returns true, then asks it to stop and waits for its end.
  template <typename Done>
  static void RunUntil(OrbiskState& state, Done done) {
    std::thread thread(plugin_under_test::RenderingThread, &state);
    const auto deadline = std::chrono::steady_clock::now() + 1min;
    while (!done() && std::chrono::steady_clock::now() < deadline) std::this_thread::yield();
    EXPECT_TRUE(done());
    state.stop_requested = true;
    thread.join();
  }

  static int WaitsBegun() { return sleep_recorder::Begun(100ms); }
  static int FramesPaced() { return sleep_recorder::Begun(1ms, 33ms); }
};

std::string Warning(const char* registrar, const char* texture_id) {
  return "[Orbisk] WARNING: Cannot mark texture - registrar=" + std::string(registrar) +
         " texture_id=" + texture_id + "\n";
}

std::string Repeated(int count, const std::string& text) {
  std::string all;
  for (int i = 0; i < count; ++i) all += text;
  return all;
}

std::string Waiting(const char* renderer, int mesh_count) {
  return "[Orbisk] Waiting for renderer/model... renderer=" + std::string(renderer) +
         " mesh_count=" + std::to_string(mesh_count) + "\n";
}

std::string Stopped(int count) {
  return OrbiskLines({kBar, "Rendering thread STOPPED (rendered " + std::to_string(count) + " frames)", kBar});
}

const std::string kStarted = OrbiskLines({kBar, "Rendering thread STARTED", kBar});

TEST_F(RenderLoopTest, StartedWithoutRendererWaitsAndBindsNoContext) {
  OrbiskState state;
  out_.Take();
  const int waits_before = WaitsBegun();
  RunUntil(state, [&] { return WaitsBegun() >= waits_before + 1; });
  EXPECT_EQ(out_.Take(), kStarted + Waiting("NULL", 0) + Stopped(WaitsBegun() - waits_before));
  EXPECT_EQ(err_.Take(), "");
  EXPECT_FALSE(state.rendering);
}

TEST_F(RenderLoopTest, WithoutAModelItWaitsWithOneLineEveryThirtyWaitsAndAnnouncesNothing) {
  const int64_t id = CreateTexture();
  SetModel({});
  out_.Take();
  std::vector<std::string> before_each_wait;
  sleep_recorder::SetHook(100ms, [&] { before_each_wait.push_back(out_.Take()); });
  const int waits_before = WaitsBegun();
  RunUntil(*State(), [&] { return WaitsBegun() >= waits_before + 31; });
  sleep_recorder::SetHook({}, nullptr);

  std::vector<std::string> expected(before_each_wait.size());
  expected[0] = kStarted + OrbiskLines({"EGL context made current in rendering thread"}) + Waiting("OK", 0);
  expected[30] = Waiting("OK", 0);
  EXPECT_EQ(before_each_wait, expected);
  EXPECT_EQ(out_.Take(), Stopped(WaitsBegun() - waits_before));
  EXPECT_EQ(embedder_.texture(id).marks, 0);
}

TEST_F(RenderLoopTest, AStopWhileWaitingEndsAfterTheWaitUnderWay) {
  OrbiskState state;
  const int waits_before = WaitsBegun();
  RunUntil(state, [&] { return WaitsBegun() >= waits_before + 1; });
  EXPECT_LE(WaitsBegun(), waits_before + 2) << "a stop may come just before the next wait";
}

TEST_F(RenderLoopTest, ItEndsWhenItsViewerIsDisposed) {
  OrbiskState state;
  std::thread thread(plugin_under_test::RenderingThread, &state);
  EXPECT_TRUE(out_.WaitFor(Waiting("NULL", 0)));
  state.disposed = true;
  thread.join();
  EXPECT_FALSE(state.rendering);
}

TEST_F(RenderLoopTest, ItStartsDrawingWhenAModelArrives) {
  const int64_t id = CreateTexture();
  const int waits_before = WaitsBegun();
  RunUntil(*State(), [&] {
    if (WaitsBegun() > waits_before && State()->rendering) {
      const StateLock lock(*State());
      if (State()->model.meshes.empty()) State()->model.meshes = {Box({0, 0, 0}, 1, {1, 1, 1, 1})};
    }
    return embedder_.texture(id).marks >= 2;
  });
}

TEST_F(RenderLoopTest, AContextThatCannotBeMadeCurrentEndsTheThreadWithOneErrorAndNoStoppedLines) {
  CreateViewer();
  ASSERT_TRUE(State()->renderer->makeContextCurrent()) << "on this thread, so that no other can have it";
  EXPECT_EQ(Call("startRendering"), "success true");
  State()->render_thread->join();
  State()->renderer->releaseContext();
  EXPECT_FALSE(State()->rendering);
  EXPECT_EQ(err_.Take(),
            "[EGLRenderer] Failed to make context current\n"
            "[Orbisk] ERROR: Failed to make EGL context current in rendering thread!\n");
  EXPECT_THAT(out_.Take(), Not(HasSubstr("STOPPED")));
  EXPECT_EQ(Call("stopRendering"), "success true") << "a thread that has been joined already is let go";
  EXPECT_EQ(State()->render_thread, nullptr);
}

TEST_F(RenderLoopTest, ARendererWhoseSetUpFailedIsDrawnWithAndDoesNoHarm) {
  Call("createTexture", Size(-1, 48));
  SetSmallModel();
  const int frames_before = FramesPaced();
  EXPECT_EQ(Call("startRendering"), "success true");
  while (FramesPaced() < frames_before + 3) std::this_thread::yield();
  EXPECT_EQ(Call("stopRendering"), "success true");
}

TEST_F(RenderLoopTest, WithoutARegistrarItDrawsAndWarnsFiveTimesThenNeverAgain) {
  const int64_t id = CreateViewer();
  flutter::PluginRegistrar* const registrar = plugin_under_test::Registrar();
  plugin_under_test::SetRegistrar(nullptr);
  const int frames_before = FramesPaced();
  RunUntil(*State(), [&] { return FramesPaced() >= frames_before + 8; });
  plugin_under_test::SetRegistrar(registrar);
  EXPECT_THAT(out_.Take(), StartsWith(kStarted + OrbiskLines({"EGL context made current in rendering thread"}) +
                                      Repeated(5, Warning("NULL", "7")) + OrbiskLines({kBar})));
  EXPECT_EQ(embedder_.texture(id).marks, 0);
}

TEST_F(RenderLoopTest, WithoutATextureItDrawsAndWarnsFiveTimesThenNeverAgain) {
  const int64_t id = CreateViewer();
  const FlutterDesktopPixelBuffer* frame = Fetch(id);
  State()->texture_id = -1;
  const int frames_before = FramesPaced();
  RunUntil(*State(), [&] { return FramesPaced() >= frames_before + 8; });
  State()->texture_id = id;
  EXPECT_THAT(out_.Take(), StartsWith(kStarted + OrbiskLines({"EGL context made current in rendering thread"}) +
                                      Repeated(5, Warning("OK", "-1")) + OrbiskLines({kBar})));
  EXPECT_EQ(embedder_.texture(id).marks, 0);
  EXPECT_EQ(frame->buffer[(24 * 64 + 32) * 4 + 3], 255) << "drawn and read back all the same";
}

TEST_F(RenderLoopTest, WarningsStopAfterTheFirstFiveIterationsWaitsIncluded) {
  CreateTexture();
  State()->texture_id = -1;
  const int waits_before = WaitsBegun();
  const int frames_before = FramesPaced();
  out_.Take();
  RunUntil(*State(), [&] {
    if (WaitsBegun() >= waits_before + 5) SetSmallModel();
    return FramesPaced() >= frames_before + 3;
  });
  State()->texture_id = 7;
  EXPECT_THAT(out_.Take(), Not(HasSubstr("WARNING")));
}

TEST_F(RenderLoopTest, FramesAreAnnouncedWithoutTheLock) {
  const int64_t id = CreateViewer();
  std::atomic<int> locked_marks{0};
  embedder_.SetMarkHook([&](int64_t) { locked_marks += IsLocked(State()->mutex); });
  RunUntil(*State(), [&] { return embedder_.texture(id).marks >= 3; });
  EXPECT_EQ(locked_marks, 0);
}

TEST_F(RenderLoopTest, FramesAreReadBackOnlyOnceTheEngineHasAskedForOne) {
  const int64_t id = CreateViewer();
  RunUntil(*State(), [&] { return embedder_.texture(id).marks >= 2; });
  EXPECT_EQ(State()->pixel_buffer, nullptr);
}

TEST_F(RenderLoopTest, PacingFillsTheIntervalWithWholeMilliseconds) {
  EXPECT_EQ(plugin_under_test::PacingSleep(0ms), 33ms);
  EXPECT_EQ(plugin_under_test::PacingSleep(10'900us), 23ms);
  EXPECT_EQ(plugin_under_test::PacingSleep(32'999'999ns), 1ms);
  EXPECT_EQ(plugin_under_test::PacingSleep(33ms), 0ms);
  EXPECT_EQ(plugin_under_test::PacingSleep(40ms), 0ms);
}

TEST_F(RenderLoopTest, IdleWaitKeepsTheLock) {
  OrbiskState state;
  std::atomic<int> waits{0};
  std::atomic<int> locked_waits{0};
  sleep_recorder::SetHook(100ms, [&] {
    locked_waits += IsLocked(state.mutex);
    ++waits;
  });
  RunUntil(state, [&] { return waits >= 2; });
  sleep_recorder::SetHook(100ms, nullptr);
  EXPECT_EQ(locked_waits, waits);
}

TEST_F(RenderLoopTest, ACommandWaitsForAtMostTheIdleWaitUnderWay) {
  OrbiskState state;
  const int waits_before = WaitsBegun();
  std::thread thread(plugin_under_test::RenderingThread, &state);
  while (WaitsBegun() == waits_before) std::this_thread::yield();
  for (int command = 0; command < 20; ++command) {
    const int waits_at_delivery = WaitsBegun();
    { const StateLock lock(state); }
    EXPECT_LE(WaitsBegun() - waits_at_delivery, 2) << "command " << command;
  }
  state.stop_requested = true;
  thread.join();
}

TEST_F(RenderLoopTest, WaitersThatKeepComingDoNotHoldTheThreadUp) {
  OrbiskState state;
  const int waits_before = WaitsBegun();
  std::atomic<bool> done{false};
  const auto flood = [&] {
    while (!done) {
      const StateLock lock(state);
    }
  };
  std::thread first(flood);
  std::thread second(flood);
  RunUntil(state, [&] { return WaitsBegun() >= waits_before + 3; });
  done = true;
  first.join();
  second.join();
}

}  // namespace
