// "startRendering" and "stopRendering".

#include "test/support/source_fixture.h"

using ::testing::HasSubstr;
using ::testing::MatchesRegex;

namespace {

class RenderingCommandsTest : public PluginTest {};

const std::vector<std::string> kStartBanner = {kBar, "StartRendering called", kBar};

std::vector<std::string> operator+(std::vector<std::string> lines, const std::vector<std::string>& more) {
  lines.insert(lines.end(), more.begin(), more.end());
  return lines;
}

TEST_F(RenderingCommandsTest, StartBeforeAnyTextureAnswersNotInitialized) {
  out_.Take();
  EXPECT_EQ(Call("startRendering"), "error NOT_INITIALIZED: Texture not created");
  EXPECT_EQ(out_.Take(), OrbiskLines(kStartBanner + std::vector<std::string>{"ERROR: Viewer state not initialized"}));
  EXPECT_EQ(err_.Take(), "");
}

TEST_F(RenderingCommandsTest, StartWithoutAModelAnswersNoModelAndStartsNoThread) {
  CreateTexture();
  out_.Take();
  EXPECT_EQ(Call("startRendering"), "error NO_MODEL: Model not loaded");
  EXPECT_EQ(out_.Take(), OrbiskLines(kStartBanner + std::vector<std::string>{"ERROR: No model loaded"}));
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

TEST_F(RenderingCommandsTest, StartLogsItsStepsAndTheThreadItsOwn) {
  const int64_t id = CreateViewer();
  EXPECT_EQ(Call("startRendering"), "success true");
  ASSERT_TRUE(WaitForFrames(id, 1));
  const std::string log = out_.Take();
  EXPECT_THAT(log, ::testing::StartsWith(
                       OrbiskLines(kStartBanner + std::vector<std::string>{"Model check: 1 meshes loaded",
                                                                           "Starting new rendering thread..."})));
  // The lines of the two threads may come in any order; each thread's own order holds.
  for (const std::string& in_order :
       {OrbiskLines({"Rendering thread STARTED"}), OrbiskLines({"EGL context made current in rendering thread"}),
        OrbiskLines({"Rendering thread started successfully!"}), OrbiskLines({"Texture ID: 7"})}) {
    EXPECT_THAT(log, HasSubstr(in_order));
  }
  EXPECT_EQ(err_.Take(), "");
}

TEST_F(RenderingCommandsTest, StartTwiceJoinsTheFirstThreadAndRunsExactlyOne) {
  const int64_t id = CreateViewer();
  Call("startRendering");
  ASSERT_TRUE(WaitForFrames(id, 1));
  out_.Take();
  EXPECT_EQ(Call("startRendering"), "success true");
  ASSERT_TRUE(WaitForFrames(id, 1));
  EXPECT_THAT(out_.Take(), MatchesRegex("\\[Orbisk\\] =+\n"
                                        "\\[Orbisk\\] StartRendering called\n"
                                        "\\[Orbisk\\] =+\n"
                                        "\\[Orbisk\\] Model check: 1 meshes loaded\n"
                                        "\\[Orbisk\\] Stopping existing rendering thread...\n"
                                        "\\[Orbisk\\] =+\n"
                                        "\\[Orbisk\\] Rendering thread STOPPED \\(rendered [0-9]+ frames\\)\n"
                                        "\\[Orbisk\\] =+\n"
                                        "\\[Orbisk\\] Existing thread stopped\n"
                                        "\\[Orbisk\\] Starting new rendering thread...\n"
                                        "(\\[Orbisk\\] .*\n)+"));
  EXPECT_TRUE(State()->rendering);
  Call("stopRendering");
  EXPECT_FALSE(State()->rendering) << "no second thread may be left";
}

TEST_F(RenderingCommandsTest, StopWithoutAViewerWritesOneLine) {
  out_.Take();
  EXPECT_EQ(Call("stopRendering"), "success true");
  EXPECT_EQ(out_.Take(), OrbiskLines({"StopRendering called"}));
}

TEST_F(RenderingCommandsTest, StopWithoutAThreadWritesTwoLinesAlsoTheSecondTime) {
  CreateViewer();
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(Call("stopRendering"), "success true");
    EXPECT_EQ(out_.Take(), OrbiskLines({"StopRendering called", "Rendering stopped"}));
  }
}

TEST_F(RenderingCommandsTest, StopJoinsTheThreadAndKeepsTheFlagUntilTheNextStart) {
  const int64_t id = CreateViewer();
  Call("startRendering");
  ASSERT_TRUE(WaitForFrames(id, 1));
  out_.Take();
  EXPECT_EQ(Call("stopRendering"), "success true");
  EXPECT_THAT(out_.Take(), MatchesRegex("\\[Orbisk\\] StopRendering called\n"
                                        "\\[Orbisk\\] =+\n"
                                        "\\[Orbisk\\] Rendering thread STOPPED \\(rendered [0-9]+ frames\\)\n"
                                        "\\[Orbisk\\] =+\n"
                                        "\\[Orbisk\\] Rendering stopped\n"));
  EXPECT_EQ(State()->render_thread, nullptr);
  EXPECT_FALSE(State()->rendering);
  EXPECT_TRUE(State()->stop_requested);
  Call("startRendering");
  EXPECT_FALSE(State()->stop_requested);
  EXPECT_TRUE(WaitForFrames(id, 1));
}

TEST_F(RenderingCommandsTest, StartAfterDisposeAnswersNoModel) {
  CreateViewer();
  Call("dispose");
  EXPECT_EQ(Call("startRendering"), "error NO_MODEL: Model not loaded");
}

TEST_F(RenderingCommandsTest, AThreadStartedWhileDisposedEndsAtOnceWithACountOfZero) {
  CreateViewer();
  Call("dispose");
  SetSmallModel();
  out_.Take();
  EXPECT_EQ(Call("startRendering"), "success true");
  EXPECT_EQ(Call("stopRendering"), "success true");
  const std::string log = out_.Take();
  // Line by line: the platform thread writes at the same time.
  EXPECT_THAT(log, HasSubstr(OrbiskLines({"Rendering thread STARTED"})));
  EXPECT_THAT(log, HasSubstr(OrbiskLines({"Rendering thread STOPPED (rendered 0 frames)"})));
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
