// How the render thread spends its frame interval, on a clock that the tests turn by hand. The thread's body runs on
// the test's own thread, and what takes time takes it on that clock alone.

#include <chrono>
#include <future>
#include <thread>
#include <vector>

#include "plugin/render_thread.h"
#include "test/plugin/hand_clock.h"
#include "test/support/fake_graphics_fixture.h"

using namespace std::chrono_literals;
using std::chrono::nanoseconds;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

class PacingTest : public FakeGraphicsPluginTest {
 protected:
  // Draws one frame for each of `frame_times`, taking that long, and returns the thread's sleeps.
  std::vector<nanoseconds> SleepsOfFrames(const std::vector<nanoseconds>& frame_times) {
    CreateViewer();
    HandClock clock;
    size_t frame = 0;
    fake_graphics::SetHook("glFinish", [&] {
      clock.Advance(frame_times[frame]);
      ++frame;
      State()->stop_requested = frame == frame_times.size();
    });
    RenderingThread(State());
    fake_graphics::SetHook("glFinish", nullptr);
    return clock.sleeps();
  }
};

TEST_F(PacingTest, AFastFrameSleepsTheRestOfTheInterval) {
  EXPECT_THAT(SleepsOfFrames({0ms, 10'900us, 32'999'999ns}), ElementsAre(33ms, 23ms, 1ms));
}

TEST_F(PacingTest, ASlowFrameIsFollowedByTheNextWithoutASleep) {
  EXPECT_THAT(SleepsOfFrames({33ms, 40ms, 500ms}), IsEmpty());
}

TEST_F(PacingTest, ASlowFrameIsNeverMadeUpFor) {
  EXPECT_THAT(SleepsOfFrames({40ms, 10ms, 500ms, 10ms}), ElementsAre(23ms, 23ms));
}

TEST_F(PacingTest, TheAnnouncementCountsAgainstTheFrame) {
  CreateViewer();
  HandClock clock;
  embedder_.SetMarkHook([&](int64_t) {
    clock.Advance(3ms);
    State()->stop_requested = true;
  });
  RenderingThread(State());
  EXPECT_THAT(clock.sleeps(), ElementsAre(30ms));
}

TEST_F(PacingTest, TheWaitForTheLockCountsAgainstTheFrame) {
  CreateViewer();
  HandClock clock;
  std::thread holder;
  int frames = 0;
  // Behind the first frame somebody takes the lock, and keeps it until 20 ms of the second frame's time are over.
  embedder_.SetMarkHook([&](int64_t) {
    State()->stop_requested = ++frames == 2;
    if (frames == 2) return;
    std::promise<void> held;
    holder = std::thread([&] {
      const std::lock_guard<std::mutex> lock(State()->mutex);
      held.set_value();
      EXPECT_TRUE(clock.WaitForReadings(3)) << "two of the first frame, and the second one's start";
      clock.Advance(20ms);
    });
    held.get_future().wait();
  });
  RenderingThread(State());
  holder.join();
  EXPECT_THAT(clock.sleeps(), ElementsAre(33ms, 13ms));
}

TEST_F(PacingTest, LettingAWaiterInCountsAgainstTheFrame) {
  CreateViewer();
  HandClock clock;
  State()->lock_waiters = 1;
  clock.SetSleepHook([&](nanoseconds) {
    if (State()->lock_waiters == 0) return;
    clock.Advance(20ms);
    State()->lock_waiters = 0;
    State()->stop_requested = true;
  });
  RenderingThread(State());
  EXPECT_EQ(clock.sleeps().back(), 13ms);
}

}  // namespace
