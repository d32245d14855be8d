// What the end of the plug-in frees of a viewer that was not disposed, what it leaves, and in which order.

#include "test/faults/operator_new.h"
#include "test/plugin/fake_graphics_fixture.h"

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

TEST_F(PluginEndTest, AViewerGivesUpThreadModelDescriptorAndTextureBeforeItsRenderer) {
  const FlutterDesktopPixelBuffer* const frame = Fetch(CreateViewer());
  State()->render_thread = std::make_unique<std::thread>();
  const Watch thread(State()->render_thread.get());
  const Watch model(State()->model.meshes.data());
  const Watch descriptor(frame);
  const Watch texture(State()->texture.get());
  std::vector<bool> released;
  fake_graphics::SetHook("eglDestroyContext", [&] {
    released = {thread.released(), model.released(), descriptor.released(), texture.released()};
  });
  const fake_graphics::Allowance allowance(fake_graphics::CleanupDeletions());
  DestroyPlugin();
  EXPECT_EQ(released, std::vector<bool>(4, true));
}

}  // namespace
