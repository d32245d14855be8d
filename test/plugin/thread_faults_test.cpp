// What the system refuses: a thread, a lock. The exception leaves the command, which stays unanswered; nothing is
// changed, and the next command works.

#include "test/plugin/thread_faults.h"
#include "plugin/render_thread.h"

#include <system_error>

#include "test/plugin/right_arguments.h"
#include "test/support/source_fixture.h"

namespace {

class ThreadFaultsTest : public PluginTest {};

TEST_F(ThreadFaultsTest, AThreadThatCannotBeMadeLeavesStartRenderingUnansweredAndTheNextStartWorks) {
  const int64_t id = CreateViewer();
  thread_faults::FailNextThread();
  EXPECT_THROW(Call("startRendering"), std::system_error);
  EXPECT_FALSE(embedder_.last_reply().answered());
  EXPECT_EQ(out_.Take(), OrbiskLines({kBar, "StartRendering called", kBar, "Model check: 1 meshes loaded",
                                      "Starting new rendering thread..."}));
  EXPECT_EQ(err_.Take(), kUnanswered);
  EXPECT_EQ(State()->render_thread, nullptr);
  EXPECT_EQ(Call("stopRendering"), "success true");

  EXPECT_EQ(Call("startRendering"), "success true");
  EXPECT_TRUE(WaitForFrames(id, 1));
}

TEST_F(ThreadFaultsTest, ALockThatFailsLeavesEveryCommandThatTakesItUnanswered) {
  const int64_t id = CreateViewer();
  {
    const thread_faults::UnlockableMutex unlockable(State()->mutex);
    for (const commands::Command& command : commands::All()) {
      if (command.name == "startRendering" || command.name == "stopRendering") continue;  // take none
      SCOPED_TRACE(command.name);
      err_.Take();
      EXPECT_THROW(Call(command.name, Map(RightArguments(command))), std::system_error);
      EXPECT_FALSE(embedder_.last_reply().answered());
      EXPECT_EQ(err_.Take(), kUnanswered);
    }
  }
  const OrbiskState& state = *State();
  EXPECT_EQ(state.camera_distance, 3.5f);
  EXPECT_EQ(state.model_scale, 1.2f);
  EXPECT_EQ(state.quat_w, 1.0f);
  EXPECT_EQ(state.roll, 0.0f);
  EXPECT_EQ(state.base_roll, 0.0f);
  EXPECT_EQ(state.model.meshes.size(), 1u);
  EXPECT_NE(state.renderer, nullptr);

  // "dispose" had set its flag and unregistered the texture before it asked for the lock; creating one undoes that.
  const int64_t next_id = CreateTexture(32, 24);
  EXPECT_EQ(next_id, id + 1);
  EXPECT_EQ(Call("startRendering"), "success true");
  EXPECT_TRUE(WaitForFrames(next_id, 1));
}

TEST_F(ThreadFaultsTest, ALockThatFailsLeavesTheFrameRequestToo) {
  const int64_t id = CreateViewer();
  {
    const thread_faults::UnlockableMutex unlockable(State()->mutex);
    EXPECT_THROW(Fetch(id), std::system_error);
  }
  EXPECT_NE(Fetch(id), nullptr);
}

TEST_F(ThreadFaultsTest, ALockThatFailsLeavesTheBodyOfTheRenderThread) {
  CreateViewer();
  const thread_faults::UnlockableMutex unlockable(State()->mutex);
  EXPECT_THROW(RenderingThread(State()), std::system_error);
  EXPECT_EQ(out_.Take(), OrbiskLines({kBar, "Rendering thread STARTED", kBar}));
}

}  // namespace
