// The built library on fake graphics libraries: every call and every line of whole runs, thread by thread, compared
// as a whole. A board's driver far away is told from ours by nothing else.

#include <algorithm>
#include <atomic>
#include <cmath>
#include <thread>

#include "test/plugin/double_matrices.h"
#include "test/plugin/transcript_fixture.h"
#include "test/plugin/transcript_texts.h"

using ::testing::EndsWith;
using ::testing::HasSubstr;
using namespace transcript;

namespace {

// ---- Whole runs --------------------------------------------------------------------------------------------

TEST_F(TranscriptTest, ATypicalRun) {
  const std::string path = WriteModel(TwoMeshes());
  const auto names = Names(1, 4, 2);

  const int64_t id = CreateTexture(4, 2);
  EXPECT_EQ(TakePlatformTranscript(), CreateTranscript(1, 4, 2, ViewerWas::kNotThere, 7, 1));
  Call("loadModel", Map({{"modelPath", path}}));
  EXPECT_EQ(TakePlatformTranscript(), With(kLoad, {{"path", path}, {"message", "2"}}));
  ASSERT_NE(Fetch(id), nullptr);
  EXPECT_EQ(TakePlatformTranscript(), "") << "asking for a frame calls nothing";

  // Ten frames, then one of another orientation, then as many as there are until the thread has stopped.
  const std::string frame = With(With(kFrame, {{"readback", kReadback}, {"id", "7"}}), names);
  StartAndHoldTheFirstFrame();
  gate_.LetOn(9);
  gate_.WaitForFrame(10);
  EXPECT_EQ(WithoutMatrices(RenderTranscript()), With(kThreadStart, names) + Times(10, frame));
  EXPECT_EQ(TakePlatformTranscript(), With(kStart, {{"id", "7"}, {"message", "3"}}));
  Call("setQuaternion", QuaternionArguments(1, 0, 0, 0));
  EXPECT_EQ(TakePlatformTranscript(), "MessengerSendResponse(message 4, 2 bytes)\n");
  gate_.LetOn(1);
  gate_.WaitForFrame(11);
  EXPECT_EQ(WithoutMatrices(RenderTranscript()), frame);
  gate_.Open();
  Call("stopRendering");
  const std::string last_frames = WithoutMatrices(RenderTranscript());
  const int last_count = CountOf(last_frames, "glFinish()");
  EXPECT_EQ(last_frames,
            frame + Times(last_count - 1, frame) + With(kThreadStop, {{"count", std::to_string(10 + last_count)}}));
  EXPECT_EQ(TakePlatformTranscript(), With(kStop, {{"message", "5"}}));

  StartAndHoldTheFirstFrame();
  EXPECT_EQ(TakePlatformTranscript(), With(kStart, {{"id", "7"}, {"message", "6"}}));
  gate_.Open();
  const fake_graphics::Allowance allowance(fake_graphics::CleanupDeletions());
  Call("dispose");
  EXPECT_EQ(TakePlatformTranscript(), With(With(kDispose, {{"id", "7"}, {"message", "7"}}), names));

  CreateTexture(6, 4);
  EXPECT_EQ(TakePlatformTranscript(), CreateTranscript(2, 6, 4, ViewerWas::kThere, 8, 8));
  DestroyPlugin();
  EXPECT_EQ(TakePlatformTranscript(),
            "out: [Orbisk] Plugin destructor called\n"
            "TextureRegistrarUnregisterExternalTexture(8, null, null)\n"
            "sleep 500 ms\n"
            "out: [Orbisk] Destroying all resources...\n" +
                With(kReleaseRenderer, Names(2, 6, 4)) + "out: [Orbisk] Plugin destroyed\n");
}

TEST_F(TranscriptTest, WithoutAFrameRequestFramesAreDrawnAndAnnouncedButNotReadBack) {
  CreateViewer();
  StartAndHoldTheFirstFrame();
  EXPECT_EQ(CountOf(RenderTranscript(), "glFinish()"), 1);
  EXPECT_EQ(CountOf(RenderTranscript(), "TextureRegistrarMarkExternalTextureFrameAvailable(7)"), 1);
  EXPECT_EQ(CountOf(RenderTranscript(), "glReadPixels"), 0);
  gate_.Open();
  Call("stopRendering");
}

TEST_F(TranscriptTest, CreateTextureAgainReplacesTheRendererFirstAndUnregistersNothing) {
  CreateTexture(4, 2);
  TakePlatformTranscript();
  const fake_graphics::Allowance allowance(fake_graphics::CleanupDeletions());
  CreateTexture(6, 4);
  const std::string transcript = TakePlatformTranscript();
  EXPECT_THAT(transcript,
              HasSubstr("out: [Orbisk] Creating EGL renderer...\n" + With(kReleaseRenderer, Names(1, 4, 2)) +
                        "out: [EGLRenderer] Initializing 6x4 (offscreen mode)\n"));
  EXPECT_THAT(transcript, EndsWith(RegisterTranscript(8, 2)));
  EXPECT_EQ(CountOf(transcript, "TextureRegistrarUnregister"), 0);
}

TEST_F(TranscriptTest, OnADrmNodeItsDisplayIsDrawnForAndTheNodeClosedLast) {
  fake_graphics::SetDefaultDisplay(false);
  fake_graphics::SetDrmNodes({"/dev/dri/card0"});
  CreateTexture(4, 2);
  const std::string transcript = TakePlatformTranscript();
  const std::string display = With(kDrmNodeDisplay, {{"node", "/dev/dri/card0"}});
  EXPECT_THAT(transcript, HasSubstr(display + "eglInitialize(display1) -> EGL_TRUE\n"));
  EXPECT_THAT(transcript, EndsWith(RegisterTranscript(7, 1)));
  const fake_graphics::Allowance allowance(fake_graphics::CleanupDeletions());
  DestroyPlugin();
  EXPECT_THAT(TakePlatformTranscript(),
              HasSubstr(With(kReleaseRenderer, Names(1, 4, 2)) + "gbm_device_destroy(gbm1)\nclose(fd1) -> 0\n"));
}

// The frame's size is the renderer's, not that of the buffer, which keeps the size of the renderer that it was made
// for.
TEST_F(TranscriptTest, AfterCreateTextureWithASmallerSizeTheSmallerFrameIsReadIntoTheOldBuffer) {
  const FlutterDesktopPixelBuffer* const frame = Fetch(CreateTexture(6, 4));
  ASSERT_NE(frame, nullptr);
  const fake_graphics::Allowance allowance(fake_graphics::CleanupDeletions());
  CreateViewer();
  const size_t small = 4 * 2 * 4;
  fake_graphics::SetPixels(std::vector<uint8_t>(small, 9));
  StartAndHoldTheFirstFrame();
  EXPECT_THAT(RenderTranscript(), HasSubstr(With(kReadback, Names(2, 4, 2))));
  gate_.Open();
  Call("stopRendering");
  std::vector<uint8_t> expected(6 * 4 * 4, 0);
  std::fill_n(expected.begin(), small, uint8_t{9});
  EXPECT_EQ(std::vector<uint8_t>(frame->buffer, frame->buffer + expected.size()), expected);
}

// ---- Commands without arguments ----------------------------------------------------------------------------

TEST_F(TranscriptTest, StartStopAndDisposeIgnoreArguments) {
  CreateViewer();
  int message = 2;
  const auto number = [&] { return std::to_string(++message); };
  for (const EncodableValue& arguments :
       {EncodableValue(), Map({{"width", 2.5}}), EncodableValue(EncodableList{1}), EncodableValue("text")}) {
    EXPECT_EQ(Call("startRendering", arguments), "success true");
    EXPECT_EQ(TakePlatformTranscript(), With(kStart, {{"id", "7"}, {"message", number()}}));
    EXPECT_EQ(Call("startRendering", arguments), "success true");
    EXPECT_EQ(CountOf(RenderTranscript(), "Rendering thread STOPPED"), 1) << "that of the start before";
    EXPECT_EQ(TakePlatformTranscript(), With(kStartAgain, {{"id", "7"}, {"message", number()}}));
    EXPECT_EQ(Call("stopRendering", arguments), "success true");
    EXPECT_EQ(CountOf(RenderTranscript(), "Rendering thread STOPPED"), 1);
    EXPECT_EQ(TakePlatformTranscript(), With(kStop, {{"message", number()}}));
  }
  const fake_graphics::Allowance allowance(fake_graphics::CleanupDeletions());
  EXPECT_EQ(Call("dispose", EncodableValue(EncodableList{1})), "success true");
}

// ---- The end of a run --------------------------------------------------------------------------------------

TEST_F(TranscriptTest, TheEndOfThePluginJoinsTheThreadBeforeItUnregistersTheTexture) {
  CreateViewer();
  StartAndHoldTheFirstFrame();
  gate_.Open();
  const fake_graphics::Allowance allowance(fake_graphics::CleanupDeletions());
  DestroyPlugin();
  const std::string transcript = fake_graphics::Transcript();
  EXPECT_LT(transcript.find("Rendering thread STOPPED"), transcript.find("TextureRegistrarUnregister"));
}

TEST_F(TranscriptTest, AFrameThatIsDrawnWhileItsViewerIsDisposedIsNotAnnounced) {
  CreateViewer();
  StartAndHoldTheFirstFrame();
  fake_graphics::ClearCalls();
  // Holds the second frame until "dispose" has set its flag and waits for the thread.
  std::atomic<bool> drawing{false};
  fake_graphics::SetHook("glFinish", [&drawing] {
    drawing = true;
    while (CountOf(fake_graphics::Transcript(), "Stopping rendering thread...") == 0) std::this_thread::yield();
  });
  gate_.Open();
  while (!drawing) std::this_thread::yield();
  const fake_graphics::Allowance allowance(fake_graphics::CleanupDeletions());
  EXPECT_EQ(Call("dispose"), "success true");
  fake_graphics::SetHook("glFinish", nullptr);

  EXPECT_THAT(RenderTranscript(),
              EndsWith("glFinish()\nout: [Orbisk] WARNING: Cannot mark texture - registrar=OK texture_id=7\n" +
                       With(kThreadStop, {{"count", "2"}})));
}

// ---- The matrix --------------------------------------------------------------------------------------------

TEST_F(TranscriptTest, TheMatrixOfAFrameFollowsFromFileAndState) {
  // The two meshes reach from (0, 0, 0) to (2, 2, 1).
  CreateViewer();
  Call("setQuaternion", QuaternionArguments(0.6, 0, 0, 1.6));  // of length sqrt(2.92), about X
  Call("setBaseRotation", AngleArguments(20, 30, 40));
  Call("setCameraDistance", Map({{"distance", 5.0}}));
  Call("setModelScale", Map({{"scale", 2.0}}));
  StartAndHoldTheFirstFrame();
  gate_.Open();
  Call("stopRendering");

  const Rows model =
      Turned(kXAxis, 2 * std::atan2(0.6, 1.6) / kRadiansPerDegree) * Scaled(1.5 / 2 * 2) * Moved(-1, -1, -0.5);
  const Rows view = Moved(0, 0, -5) * Turned(kZAxis, 40) * Turned(kYAxis, 20) * Turned(kXAxis, 30);
  const Rows expected = Perspective() * view * model;

  const std::vector<fake_graphics::Draw> draws = fake_graphics::Draws();
  ASSERT_GE(draws.size(), 2u);
  for (size_t draw = 0; draw < 2; ++draw) {
    const std::vector<float> matrix = draws[draw].uniforms.at("u_mvp");
    for (size_t row = 0; row < 4; ++row) {
      for (size_t column = 0; column < 4; ++column) {
        EXPECT_NEAR(matrix[column * 4 + row], expected[row][column], 1e-5) << row << ", " << column;
      }
    }
  }
}

}  // namespace
