// "createTexture", the pixel-buffer callback and "dispose": what the viewer holds afterwards. What they write is in the
// transcripts.

#include <algorithm>
#include <new>

#include "plugin/pixel_texture.h"
#include "test/support/source_fixture.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

namespace {

class TextureTest : public PluginTest {};

TEST_F(TextureTest, FirstFrameRequestMakesABufferOfTheRequestedSizeFilledWithZeros) {
  const int64_t id = CreateTexture(640, 480);
  const FlutterDesktopPixelBuffer* frame = Fetch(id);
  ASSERT_NE(frame, nullptr);
  EXPECT_EQ(frame->width, 640u);
  EXPECT_EQ(frame->height, 480u);
  EXPECT_EQ(frame->release_callback, nullptr);
  EXPECT_EQ(frame->release_context, nullptr);
  EXPECT_EQ(std::count(frame->buffer, frame->buffer + 1'228'800, 0), 1'228'800);
}

TEST_F(TextureTest, EveryFrameRequestGivesTheSameDescriptorWhateverSizeItAsksFor) {
  const int64_t id = CreateTexture();
  const FlutterDesktopPixelBuffer* frame = Fetch(id);
  const uint8_t* pixels = frame->buffer;
  EXPECT_EQ(embedder_.FetchFrame(id, 1000, 1), frame);
  EXPECT_EQ(frame->buffer, pixels);
  EXPECT_EQ(frame->width, 64u);
}

TEST_F(TextureTest, ANewViewerStartsWithTheDefaults) {
  CreateTexture();
  EXPECT_EQ(State()->quat_x, 0.0f);
  EXPECT_EQ(State()->quat_y, 0.0f);
  EXPECT_EQ(State()->quat_z, 0.0f);
  EXPECT_EQ(State()->quat_w, 1.0f);
  EXPECT_EQ(State()->camera_distance, 3.5f);
  EXPECT_EQ(State()->model_scale, 1.2f);
  EXPECT_EQ(OrbiskState().texture_id, -1);
}

TEST_F(TextureTest, CreateTextureAgainReusesTheViewerAndKeepsTheOldPixelBuffer) {
  const int64_t first = CreateTexture(64, 48);
  const FlutterDesktopPixelBuffer* frame = Fetch(first);

  EXPECT_EQ(Call("createTexture", Size(32, 24)), "success 8");

  EXPECT_TRUE(embedder_.texture(first).registered);
  EXPECT_EQ(Fetch(8), frame);
  EXPECT_EQ(frame->width, 64u);
  EXPECT_EQ(State()->renderer->width(), 32);
}

TEST_F(TextureTest, TheEarlierTextureStillGivesFramesAfterCreateTextureAgain) {
  const int64_t first = CreateTexture();
  const int64_t second = CreateTexture();
  ASSERT_NE(first, second);
  EXPECT_NE(Fetch(first), nullptr);
  EXPECT_EQ(Fetch(first), Fetch(second));
}

TEST_F(TextureTest, ALargerFrameThanTheBufferLeavesTheBufferAsItIs) {
  CreateViewer(64, 48);
  const FlutterDesktopPixelBuffer* frame = Fetch(7);
  ASSERT_EQ(Call("startRendering"), "success true");
  ASSERT_TRUE(WaitForFrames(7, 2));
  ASSERT_EQ(Call("stopRendering"), "success true");
  const std::vector<uint8_t> before(frame->buffer, frame->buffer + 64 * 48 * 4);
  ASSERT_GT(std::count_if(before.begin(), before.end(), [](uint8_t byte) { return byte != 0; }), 0);

  const int64_t larger = CreateTexture(640, 480);
  Call("setModelScale", Map({{"scale", 0.1}}));
  ASSERT_EQ(Call("startRendering"), "success true");
  ASSERT_TRUE(WaitForFrames(larger, 3));
  Call("stopRendering");

  EXPECT_EQ(std::vector<uint8_t>(frame->buffer, frame->buffer + 64 * 48 * 4), before);
}

TEST_F(TextureTest, ACreateTextureWhileFramesAreDrawnIsAnsweredAndTheThreadGoesOn) {
  const int64_t first = CreateViewer(64, 48);
  Fetch(first);
  ASSERT_EQ(Call("startRendering"), "success true");
  ASSERT_TRUE(WaitForFrames(first, 1));
  const int64_t larger = CreateTexture(640, 480);
  EXPECT_TRUE(WaitForFrames(larger, 3));
}

TEST_F(TextureTest, AFailedInitializeLeavesAViewerWithoutTexture) {
  EXPECT_EQ(Call("createTexture", Size(-640, 480)), "error INIT_FAILED: Failed to initialize EGL renderer");
  EXPECT_THAT(embedder_.texture_ids(), IsEmpty());
  ASSERT_NE(State(), nullptr);
  EXPECT_NE(State()->renderer, nullptr);
  EXPECT_EQ(State()->texture_id, -1);
  EXPECT_FALSE(State()->disposed);

  EXPECT_THAT(Call("loadModel", Map({{"modelPath", "no such file"}})), StartsWith("error LOAD_FAILED"));
  EXPECT_EQ(Call("setModelScale", Map({{"scale", 1.0}})), "success true");
}

TEST_F(TextureTest, AFailedInitializeAfterASuccessKeepsTheOldIdentifier) {
  const int64_t id = CreateTexture();
  EXPECT_EQ(Call("createTexture", Size(0, -1)), "error INIT_FAILED: Failed to initialize EGL renderer");
  EXPECT_EQ(State()->texture_id, id);
  EXPECT_EQ(CreateTexture(), id + 1);
}

TEST_F(TextureTest, ASizeWhoseByteCountIsNegativeFailsToAllocateItsPixelBuffer) {
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "AddressSanitizer ends the program where operator new throws";
#endif
  const int64_t id = CreateTexture();
  Call("createTexture", Size(-5, 10));
  EXPECT_THROW(Fetch(id), std::bad_alloc);
  EXPECT_EQ(State()->pixel_buffer, nullptr);
  EXPECT_EQ(Call("setModelScale", Map({{"scale", 1.0}})), "success true") << "the lock went with the exception";
}

TEST_F(TextureTest, ASizeWhoseByteCountWrapsAroundGetsNoPixelBuffer) {
  const int64_t id = CreateTexture();
  Call("createTexture", Size(65536, 65536));
  EXPECT_EQ(Fetch(id), nullptr);
  Call("createTexture", Size(-10, -10));
  EXPECT_EQ(Fetch(id), nullptr);
}

TEST_F(TextureTest, ThePixelBufferCallbackWithoutARendererGivesNothing) {
  EXPECT_EQ(CopyPixelBuffer(nullptr), nullptr);
  OrbiskState state;
  EXPECT_EQ(CopyPixelBuffer(&state), nullptr);
  EXPECT_EQ(state.pixel_buffer, nullptr);
}

TEST_F(TextureTest, DisposeStopsUnregistersAndFreesAndKeepsStateTextureAndView) {
  const int64_t id = CreateViewer();
  Fetch(id);
  Call("setQuaternion", QuaternionArguments(1, 0, 0, 0));
  Call("setBaseRotation", AngleArguments(10, 20, 30));
  Call("setCameraDistance", Map({{"distance", 5.0}}));
  Call("setModelScale", Map({{"scale", 2.0}}));
  ASSERT_EQ(Call("startRendering"), "success true");
  ASSERT_TRUE(WaitForFrames(id, 1));
  OrbiskState* const state = State();
  embedder_.ClearCalls();

  EXPECT_EQ(Call("dispose"), "success true");

  EXPECT_THAT(embedder_.call_texts_without_marks(),
              ElementsAre("TextureRegistrarUnregisterExternalTexture(7, null, null)",
                          "MessengerSendResponse(message 7, 2 bytes)"));
  EXPECT_EQ(State(), state);
  EXPECT_TRUE(state->disposed);
  EXPECT_EQ(state->texture_id, -1);
  EXPECT_NE(state->texture, nullptr);
  EXPECT_EQ(state->renderer, nullptr);
  EXPECT_EQ(state->pixel_buffer, nullptr);
  EXPECT_EQ(state->render_thread, nullptr);
  EXPECT_TRUE(state->model.meshes.empty());
  EXPECT_EQ(state->quat_x, 1.0f);
  EXPECT_EQ(state->base_pitch, 20.0f);
  EXPECT_EQ(state->camera_distance, 5.0f);
  EXPECT_EQ(state->model_scale, 2.0f);
}

TEST_F(TextureTest, ThePixelBufferCallbackAfterDisposeGivesNothingAndAllocatesNothing) {
  const int64_t id = CreateViewer();
  Fetch(id);
  Call("dispose");
  EXPECT_EQ(Fetch(id), nullptr);
  EXPECT_EQ(State()->pixel_buffer, nullptr);
}

TEST_F(TextureTest, DisposeLeavesTheFrameToACopyThatIsUnderWay) {
  const FlutterDesktopPixelBuffer* const frame = Fetch(CreateViewer(64, 48));
  const uint8_t* const pixels = frame->buffer;
  Call("dispose");
  EXPECT_EQ(State()->retired_pixel_buffer.get(), frame);
  EXPECT_EQ(State()->retired_pixels.get(), pixels);
  EXPECT_EQ(frame->buffer, pixels);
  EXPECT_EQ(frame->width * frame->height, 64u * 48u);
  EXPECT_EQ(std::count(pixels, pixels + 64 * 48 * 4, 0), 64 * 48 * 4);
}

TEST_F(TextureTest, TheNextDisposeFreesTheFrameThatTheLastOneLeft) {
  const FlutterDesktopPixelBuffer* const first = Fetch(CreateViewer());
  Call("dispose");
  const FlutterDesktopPixelBuffer* const second = Fetch(CreateTexture());
  ASSERT_NE(second, first);
  Call("dispose");
  EXPECT_EQ(State()->retired_pixel_buffer.get(), second);
  Call("dispose");
  EXPECT_EQ(State()->retired_pixel_buffer, nullptr);
  EXPECT_EQ(State()->retired_pixels, nullptr);
}

TEST_F(TextureTest, TexturesThatAreStillRegisteredWhenThePluginEndsGiveNothing) {
  const int64_t first = CreateTexture();
  const int64_t second = CreateTexture();
  ASSERT_NE(Fetch(first), nullptr);
  DestroyPlugin();
  EXPECT_TRUE(embedder_.texture(first).registered);
  EXPECT_EQ(Fetch(first), nullptr);
  EXPECT_EQ(Fetch(second), nullptr);
}

TEST_F(TextureTest, CreateTextureAfterDisposeReusesTheViewerWithABufferOfTheNewSize) {
  Fetch(CreateViewer(64, 48));
  Call("dispose");
  OrbiskState* const state = State();
  const int64_t id = CreateTexture(32, 24);
  EXPECT_EQ(id, 8);
  EXPECT_EQ(State(), state);
  EXPECT_FALSE(state->disposed);
  const FlutterDesktopPixelBuffer* frame = Fetch(id);
  ASSERT_NE(frame, nullptr);
  EXPECT_EQ(frame->width, 32u);
  EXPECT_EQ(frame->height, 24u);
}

}  // namespace
