// The render thread: when it waits, draws, announces, warns, lets commands in and ends. Its body runs on the test's own
// thread and on a clock that stands still but for its sleeps, so that what comes after how many waits and frames is the
// same on every machine.

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "plugin/registrations.h"
#include "plugin/render_thread.h"
#include "test/plugin/hand_clock.h"
#include "test/support/fake_graphics_fixture.h"

using namespace std::chrono_literals;
using ::testing::EndsWith;
using ::testing::HasSubstr;

namespace {

class RenderLoopTest : public FakeGraphicsPluginTest {
 protected:
  // Runs the thread's body on `state`. At each wait, with the lock, and after each frame, without it, asks whether it
  // is `done`; the thread is asked to stop then.
  void RunUntil(OrbiskState& state, const std::function<bool()>& done) {
    waits_ = 0;
    frames_ = 0;
    HandClock clock;
    clock.SetSleepHook([&](std::chrono::nanoseconds length) {
      ++(length == 100ms ? waits_ : frames_);
      const bool never_done = waits_ + frames_ == 1000;
      if (done() || never_done) state.stop_requested = true;
    });
    RenderingThread(&state);
  }

  // The calls of the frame after a "createTexture" that has failed over its size: the thread goes on with the renderer
  // that it leaves.
  std::string FrameAfterFailedCreateTexture(int32_t width, int32_t height) {
    Fetch(CreateViewer());
    const fake_graphics::Allowance without_its_context(fake_graphics::FrameCalls());
    RunUntil(*State(), [&] {
      if (frames_ == 2) return true;
      EXPECT_EQ(Call("createTexture", Size(width, height)), "error INIT_FAILED: Failed to initialize EGL renderer");
      fake_graphics::ClearCalls();
      return false;
    });
    return fake_graphics::Transcript();
  }

  int waits_ = 0;
  int frames_ = 0;
};

std::string Warning(const char* registrar, const char* texture_id) {
  return "[Orbisk] WARNING: Cannot mark texture - registrar=" + std::string(registrar) + " texture_id=" + texture_id +
         "\n";
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
  RunUntil(state, [] { return true; });
  EXPECT_EQ(out_.Take(), kStarted + Waiting("NULL", 0) + Stopped(1));
  EXPECT_EQ(err_.Take(), "");
  EXPECT_EQ(fake_graphics::Transcript(), "");
  EXPECT_FALSE(state.rendering);
}

TEST_F(RenderLoopTest, WithoutAModelItWaitsWithOneLineEveryThirtyWaitsAndAnnouncesNothing) {
  const int64_t id = CreateTexture();
  out_.Take();
  std::vector<std::string> before_each_wait;
  RunUntil(*State(), [&] {
    before_each_wait.push_back(out_.Take());
    return waits_ == 62;
  });

  std::vector<std::string> expected(62);
  expected[0] = kStarted + OrbiskLines({"EGL context made current in rendering thread"}) + Waiting("OK", 0);
  expected[30] = Waiting("OK", 0);
  expected[60] = Waiting("OK", 0);
  EXPECT_EQ(before_each_wait, expected);
  EXPECT_EQ(out_.Take(), Stopped(62));
  EXPECT_EQ(embedder_.texture(id).marks, 0);
}

TEST_F(RenderLoopTest, AStopWhileWaitingEndsAfterTheWaitUnderWay) {
  OrbiskState state;
  RunUntil(state, [] { return true; });
  EXPECT_EQ(waits_, 1);
}

TEST_F(RenderLoopTest, ItEndsWhenItsViewerIsDisposed) {
  OrbiskState state;
  RunUntil(state, [&] {
    state.disposed = true;
    return false;
  });
  EXPECT_EQ(waits_, 1);
  EXPECT_FALSE(state.rendering);
}

TEST_F(RenderLoopTest, ItStartsDrawingWhenAModelArrives) {
  const int64_t id = CreateTexture();
  RunUntil(*State(), [this] {
    State()->model.meshes = {Box({0, 0, 0}, 1, {1, 1, 1, 1})};
    return frames_ == 2;
  });
  EXPECT_EQ(waits_, 1);
  EXPECT_EQ(embedder_.texture(id).marks, 2);
}

TEST_F(RenderLoopTest, AThreadThatHasEndedForWantOfItsContextIsLetGoByTheNextStop) {
  CreateViewer();
  fake_graphics::FailCall("eglMakeCurrent");
  EXPECT_EQ(Call("startRendering"), "success true");
  State()->render_thread->join();
  EXPECT_FALSE(State()->rendering);
  EXPECT_EQ(Call("stopRendering"), "success true");
  EXPECT_EQ(State()->render_thread, nullptr);
}

TEST_F(RenderLoopTest, WithoutARegistrarItDrawsAndWarnsFiveTimesThenNeverAgain) {
  const int64_t id = CreateViewer();
  flutter::PluginRegistrar* const registrar = g_registrar;
  g_registrar = nullptr;
  RunUntil(*State(), [this] { return frames_ == 8; });
  g_registrar = registrar;
  EXPECT_EQ(out_.Take(), kStarted + OrbiskLines({"EGL context made current in rendering thread"}) +
                             Times(5, Warning("NULL", "7")) + Stopped(8));
  EXPECT_EQ(embedder_.texture(id).marks, 0);
}

TEST_F(RenderLoopTest, WithoutATextureItDrawsAndWarnsFiveTimesThenNeverAgain) {
  const int64_t id = CreateViewer(4, 2);
  const FlutterDesktopPixelBuffer* frame = Fetch(id);
  fake_graphics::SetPixels(std::vector<uint8_t>(4 * 2 * 4, 9));
  State()->texture_id = -1;
  RunUntil(*State(), [this] { return frames_ == 8; });
  State()->texture_id = id;
  EXPECT_EQ(out_.Take(), kStarted + OrbiskLines({"EGL context made current in rendering thread"}) +
                             Times(5, Warning("OK", "-1")) + Stopped(8));
  EXPECT_EQ(embedder_.texture(id).marks, 0);
  EXPECT_EQ(frame->buffer[0], 9) << "drawn and read back all the same";
}

TEST_F(RenderLoopTest, WarningsStopAfterTheFirstFiveIterationsWaitsIncluded) {
  const int64_t id = CreateTexture();
  State()->texture_id = -1;
  out_.Take();
  RunUntil(*State(), [this] {
    if (waits_ == 4) State()->model.meshes = {Box({0, 0, 0}, 1, {1, 1, 1, 1})};
    return frames_ == 3;
  });
  State()->texture_id = id;
  EXPECT_EQ(out_.Take(), kStarted + OrbiskLines({"EGL context made current in rendering thread"}) + Waiting("OK", 0) +
                             Warning("OK", "-1") + Stopped(7));
}

TEST_F(RenderLoopTest, AFrameThatIsDrawnWhileItsThreadIsAskedToStopIsAnnounced) {
  const int64_t id = CreateViewer();
  fake_graphics::SetHook("glFinish", [] { State()->stop_requested = true; });
  RenderingThread(State());
  EXPECT_EQ(embedder_.texture(id).marks, 1);
}

TEST_F(RenderLoopTest, AFrameOfNoPixelsIsReadBackLikeAnyOther) {
  EXPECT_THAT(FrameAfterFailedCreateTexture(0, 0),
              HasSubstr("glFinish()\nglBindFramebuffer(GL_FRAMEBUFFER, 7)\n"
                        "glReadPixels(0, 0, 0, 0, GL_RGBA, GL_UNSIGNED_BYTE)\nglGetError()"));
}

TEST_F(RenderLoopTest, AFrameWithANegativeSideIsNotReadBack) {
  EXPECT_THAT(FrameAfterFailedCreateTexture(-1, 0), EndsWith("glFinish()\n"));
}

TEST_F(RenderLoopTest, IdleWaitKeepsTheLock) {
  OrbiskState state;
  int locked_waits = 0;
  RunUntil(state, [&] {
    locked_waits += IsLocked(state.mutex);
    return waits_ == 2;
  });
  EXPECT_EQ(locked_waits, 2);
}

TEST_F(RenderLoopTest, AFramesSleepLeavesTheLock) {
  CreateViewer();
  int locked_sleeps = 0;
  RunUntil(*State(), [&] {
    locked_sleeps += IsLocked(State()->mutex);
    return frames_ == 2;
  });
  EXPECT_EQ(locked_sleeps, 0);
}

TEST_F(RenderLoopTest, WaitersThatKeepComingDoNotHoldTheThreadUp) {
  OrbiskState state;
  state.lock_waiters = 2;
  HandClock clock;
  // One is let in, and another one comes.
  clock.SetSleepHook([&](std::chrono::nanoseconds) {
    if (++state.lock_admissions == 100) state.lock_waiters = 0;
  });
  LetWaitersIn(state);
  EXPECT_EQ(state.lock_admissions, 2u) << "as many as there were";
}

TEST_F(RenderLoopTest, AWaiterThatGivesUpDoesNotHoldTheThreadUp) {
  OrbiskState state;
  state.lock_waiters = 2;
  HandClock clock;
  clock.SetSleepHook([&](std::chrono::nanoseconds) {
    if (state.lock_waiters > 0) {
      --state.lock_waiters;
    } else {
      ++state.lock_admissions;
    }
  });
  LetWaitersIn(state);
  EXPECT_EQ(clock.sleeps().size(), 2u);
}

}  // namespace
