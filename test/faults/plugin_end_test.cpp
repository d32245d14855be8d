// What the end of the plug-in frees of a viewer that was not disposed, what it leaves, and in which order.

#include "test/faults/short_sleeps.h"
#include "test/support/fake_graphics_fixture.h"
#include "test/support/operator_new.h"

namespace {

using operator_new::Watch;

class PluginEndTest : public FakeGraphicsPluginTest {};

TEST_F(PluginEndTest, AViewerThatWasNotDisposedGivesUpItsDescriptorAndLeavesItsPixels) {
  const FlutterDesktopPixelBuffer* const frame = Fetch(CreateViewer());
  ASSERT_NE(frame, nullptr);
  const Watch descriptor(frame);
  const Watch pixels(frame->buffer);
  DestroyPlugin();
  EXPECT_EQ(State(), nullptr);
  EXPECT_TRUE(descriptor.released());
  EXPECT_FALSE(pixels.released());
}

TEST_F(PluginEndTest, AViewerGivesUpThreadModelAndDescriptorBeforeItsRenderer) {
  const FlutterDesktopPixelBuffer* const frame = Fetch(CreateViewer());
  State()->render_thread = std::make_unique<std::thread>();
  const Watch thread(State()->render_thread.get());
  const Watch model(State()->model.meshes.data());
  const Watch descriptor(frame);
  std::vector<bool> released;
  fake_graphics::SetHook("eglDestroyContext", [&] {
    released = {thread.released(), model.released(), descriptor.released()};
  });
  const fake_graphics::Allowance allowance(fake_graphics::CleanupDeletions());
  DestroyPlugin();
  EXPECT_EQ(released, std::vector<bool>(3, true));
}

TEST_F(PluginEndTest, TheTextureIsLeftToTheEngine) {
  CreateViewer();
  const Watch texture(State()->texture.get());
  DestroyPlugin();
  EXPECT_FALSE(texture.released());
}

TEST_F(PluginEndTest, TheFrameThatDisposeHasLeftIsFreedAfterTheHalfSecond) {
  const FlutterDesktopPixelBuffer* const frame = Fetch(CreateViewer());
  const Watch descriptor(frame);
  const Watch pixels(frame->buffer);
  const fake_graphics::Allowance allowance(fake_graphics::CleanupDeletions());
  Call("dispose");
  EXPECT_FALSE(descriptor.released());
  EXPECT_FALSE(pixels.released());
  bool released_too_early = true;
  short_sleeps::SetHalfSecondHook([&] { released_too_early = descriptor.released() || pixels.released(); });
  DestroyPlugin();
  short_sleeps::SetHalfSecondHook(nullptr);
  EXPECT_FALSE(released_too_early);
  EXPECT_TRUE(descriptor.released());
  EXPECT_TRUE(pixels.released());
}

}  // namespace
