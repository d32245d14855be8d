// "startRendering" and "stopRendering": the thread and its flags. What they write is in the transcripts.

#include "test/support/source_fixture.h"

namespace {

class RenderingCommandsTest : public PluginTest {};

TEST_F(RenderingCommandsTest, StartWithoutAModelStartsNoThread) {
  CreateTexture();
  EXPECT_EQ(Call("startRendering"), "error NO_MODEL: Model not loaded");
  EXPECT_EQ(State()->render_thread, nullptr);
}

TEST_F(RenderingCommandsTest, StartWithoutAModelLeavesARunningThreadAlone) {
  const int64_t id = CreateViewer();
  Call("startRendering");
  ASSERT_TRUE(WaitForFrames(id, 1));
  SetModel({});
  std::thread* const thread = State()->render_thread.get();
  EXPECT_EQ(Call("startRendering"), "error NO_MODEL: Model not loaded");
  EXPECT_EQ(State()->render_thread.get(), thread);
  EXPECT_TRUE(State()->rendering);
  SetSmallModel();
  EXPECT_TRUE(WaitForFrames(id, 1));
}

TEST_F(RenderingCommandsTest, StartTwiceJoinsTheFirstThreadAndRunsExactlyOne) {
  const int64_t id = CreateViewer();
  Call("startRendering");
  ASSERT_TRUE(WaitForFrames(id, 1));
  EXPECT_EQ(Call("startRendering"), "success true");
  ASSERT_TRUE(WaitForFrames(id, 1));
  EXPECT_TRUE(State()->rendering);
  Call("stopRendering");
  EXPECT_FALSE(State()->rendering) << "no second thread may be left";
}

TEST_F(RenderingCommandsTest, StopJoinsTheThreadAndKeepsTheFlagUntilTheNextStart) {
  const int64_t id = CreateViewer();
  Call("startRendering");
  ASSERT_TRUE(WaitForFrames(id, 1));
  EXPECT_EQ(Call("stopRendering"), "success true");
  EXPECT_EQ(State()->render_thread, nullptr);
  EXPECT_FALSE(State()->rendering);
  EXPECT_TRUE(State()->stop_requested);
  Call("startRendering");
  EXPECT_FALSE(State()->stop_requested);
  EXPECT_TRUE(WaitForFrames(id, 1));
}

TEST_F(RenderingCommandsTest, DisposeAsksTheThreadToStopAndTheFlagStaysUntilTheNextStart) {
  const int64_t id = CreateViewer();
  Call("startRendering");
  ASSERT_TRUE(WaitForFrames(id, 1));
  Call("dispose");
  EXPECT_TRUE(State()->stop_requested);
  const int64_t next_id = CreateViewer();
  EXPECT_TRUE(State()->stop_requested);
  Call("startRendering");
  EXPECT_FALSE(State()->stop_requested);
  EXPECT_TRUE(WaitForFrames(next_id, 1));
}

}  // namespace
