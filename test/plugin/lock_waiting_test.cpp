// Waiting for the viewer's lock: how long a command or a frame request does, and what has changed when it gets it.

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include "plugin/render_thread.h"
#include "test/plugin/hand_clock.h"
#include "test/support/fake_graphics_fixture.h"

using namespace std::chrono_literals;

namespace {

class LockWaitingTest : public FakeGraphicsPluginTest {};

TEST_F(LockWaitingTest, AFrameRequestAfterDisposeDoesNotWaitForTheLock) {
  const int64_t id = CreateViewer();
  const fake_graphics::Allowance allowance(fake_graphics::CleanupDeletions());
  Call("dispose");
  const std::lock_guard<std::mutex> lock(State()->mutex);
  EXPECT_EQ(Fetch(id), nullptr);
}

TEST_F(LockWaitingTest, AFrameRequestThatWaitsForTheLockWhileItsViewerIsDisposedGetsNothing) {
  const int64_t id = CreateViewer();
  std::unique_lock<std::mutex> lock(State()->mutex);
  const FlutterDesktopPixelBuffer not_fetched = {};
  const FlutterDesktopPixelBuffer* frame = &not_fetched;
  std::thread raster([&] { frame = Fetch(id); });
  while (State()->lock_waiters == 0) std::this_thread::yield();
  State()->disposed = true;
  lock.unlock();
  raster.join();
  EXPECT_EQ(frame, nullptr);
  EXPECT_EQ(State()->pixel_buffer, nullptr);
}

TEST_F(LockWaitingTest, FrameRequestsWhileThePluginEndsGiveAFrameOrNothing) {
  const int64_t id = CreateViewer();
  ASSERT_NE(Fetch(id), nullptr);
  std::atomic<bool> ended{false};
  std::thread raster([&] {
    while (!ended) Fetch(id);
    EXPECT_EQ(Fetch(id), nullptr);
  });
  DestroyPlugin();
  ended = true;
  raster.join();
}

TEST(ViewerPathTest, ClosingWaitsForThoseWhoAreAtTheViewer) {
  OrbiskState state;
  ViewerPath path(&state);
  std::atomic<bool> at_the_viewer{false};
  std::atomic<bool> closed{false};
  std::thread follower([&] {
    path.Follow([&](OrbiskState* viewer) {
      EXPECT_EQ(viewer, &state);
      at_the_viewer = true;
      // Nobody who comes now finds the viewer: it is being closed.
      while (path.Follow([](OrbiskState* later) { return later; }) != nullptr) std::this_thread::yield();
      for (int turn = 0; turn < 1000; ++turn) std::this_thread::yield();
      EXPECT_FALSE(closed);
      return nullptr;
    });
  });
  while (!at_the_viewer) std::this_thread::yield();
  path.Close();
  closed = true;
  follower.join();
}

TEST_F(LockWaitingTest, AFrameUnderWayKeepsTheOldValuesAndTheNextOneHasAllNewOnes) {
  const int64_t id = CreateViewer();
  std::mutex gate_mutex;
  std::condition_variable gate;
  bool frame_begun = false;
  bool let_on = false;
  fake_graphics::SetHook("glClear", [&] {
    std::unique_lock<std::mutex> lock(gate_mutex);
    frame_begun = true;
    gate.notify_all();
    gate.wait(lock, [&] { return let_on; });
  });
  Call("startRendering");
  {
    std::unique_lock<std::mutex> lock(gate_mutex);
    gate.wait(lock, [&] { return frame_begun; });
  }
  // Lets the frame on as soon as the command is waiting for it.
  std::thread opener([&] {
    while (State()->lock_waiters == 0) std::this_thread::yield();
    const std::lock_guard<std::mutex> lock(gate_mutex);
    let_on = true;
    gate.notify_all();
  });
  Call("setQuaternion", QuaternionArguments(1, 0, 0, 0));
  opener.join();
  ASSERT_TRUE(WaitForFrames(id, 2)) << "the first may be the one that was under way";
  Call("stopRendering");

  const std::vector<fake_graphics::Draw> draws = fake_graphics::Draws();
  ASSERT_GE(draws.size(), 2u);
  const auto y_scale = [&](size_t frame) { return draws[frame].uniforms.at("u_mvp")[5]; };
  EXPECT_GT(y_scale(0), 0.0f);
  EXPECT_EQ(y_scale(1), -y_scale(0)) << "half a turn about X turns Y around";
}

// ---- Nobody waits for more than the hold under way ---------------------------------------------------------

// A render thread, on a clock of its own, that keeps the lock until somebody waits for it, and asks for it again as
// soon as it has let go of it.
class LongHoldTest : public FakeGraphicsPluginTest {
 protected:
  void StartRenderThread() {
    render_thread_ = std::thread([this] {
      HandClock clock;
      clock_ = &clock;
      clock.SetSleepHook([this](std::chrono::nanoseconds length) {
        if (length != 100ms) return;
        HoldBegins();
        Hold();
      });
      RenderingThread(State());
    });
  }

  void TearDown() override {
    over_ = true;
    State()->stop_requested = true;
    render_thread_.join();
    FakeGraphicsPluginTest::TearDown();
  }

  // On the render thread, with the lock.
  void HoldBegins() { begun_while_waited_for_ += State()->lock_waiters != 0; }
  void Hold() {
    held_ = true;
    while (State()->lock_waiters == 0 && !over_) std::this_thread::yield();
    held_ = false;
  }

  // Runs `action`, which waits for the lock, again and again on this thread, each time while the lock is held. The
  // render thread may not have it once more before it.
  template <typename Action>
  void ExpectToBeLetInNext(Action action) {
    for (int time = 0; time < 100; ++time) {
      while (!held_) std::this_thread::yield();
      action();
      ASSERT_EQ(begun_while_waited_for_, 0) << "time " << time;
    }
  }

  HandClock* clock_ = nullptr;  // the render thread's
  std::atomic<int> begun_while_waited_for_{0};
  std::atomic<bool> held_{false};
  std::atomic<bool> over_{false};
  std::thread render_thread_;
};

TEST_F(LongHoldTest, ACommandWaitsForTheIdleWaitUnderWayAndNoOther) {
  CreateTexture();
  StartRenderThread();
  ExpectToBeLetInNext([this] { ASSERT_EQ(Call("setQuaternion", QuaternionArguments(0, 0, 0, 1)), "success true"); });
}

// Every frame takes longer than the frame interval, so that none is followed by a sleep.
class SlowFrameTest : public LongHoldTest {
 protected:
  SlowFrameTest() {
    id_ = CreateViewer();
    Fetch(id_);
    fake_graphics::SetHook("glClear", [this] { HoldBegins(); });
    fake_graphics::SetHook("glFinish", [this] {
      Hold();
      clock_->Advance(45ms);
    });
    StartRenderThread();
  }

  int64_t id_;
};

TEST_F(SlowFrameTest, ACommandWaitsForTheFrameUnderWayAndNoOther) {
  ExpectToBeLetInNext([this] { ASSERT_EQ(Call("setQuaternion", QuaternionArguments(0, 0, 0, 1)), "success true"); });
}

TEST_F(SlowFrameTest, AFrameRequestWaitsForTheFrameUnderWayAndNoOther) {
  ExpectToBeLetInNext([this] { ASSERT_NE(Fetch(id_), nullptr); });
}

}  // namespace
