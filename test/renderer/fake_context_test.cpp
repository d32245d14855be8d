// The context from thread to thread, and the release of everything where something is missing or fails.

#include <thread>

#include "test/renderer/fake_renderer_test.h"

using ::testing::ElementsAreArray;

namespace {

class ContextOnFakesTest : public FakeRendererTest {};

const std::string kMakeCurrent = "eglMakeCurrent(display1, surface1, surface1, context1) -> EGL_TRUE\n";
const std::string kRelease = "eglMakeCurrent(display1, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT) -> EGL_TRUE\n";
const std::string kWithoutADisplay =
    "eglMakeCurrent(EGL_NO_DISPLAY, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT) -> EGL_FALSE\n";

}  // namespace

TEST_F(ContextOnFakesTest, MovesFromThreadToThread) {
  MakeReady();
  renderer_->releaseContext();
  EXPECT_EQ(fake_graphics::CurrentContext(), "");
  std::thread([this] {
    EXPECT_TRUE(renderer_->makeContextCurrent());
    EXPECT_EQ(fake_graphics::CurrentContext(), "context1");
    renderer_->releaseContext();
    EXPECT_EQ(fake_graphics::CurrentContext(), "");
  }).join();
  EXPECT_TRUE(renderer_->makeContextCurrent());
  EXPECT_EQ(fake_graphics::CurrentContext(), "context1");
  EXPECT_EQ(TakeCalls(), kRelease + kMakeCurrent + kRelease + kMakeCurrent);
  EXPECT_EQ(out_.Take() + err_.Take(), "");
}

TEST_F(ContextOnFakesTest, AFailureToMakeItCurrentIsSaid) {
  MakeReady();
  fake_graphics::FailCall("eglMakeCurrent");
  EXPECT_FALSE(renderer_->makeContextCurrent());
  EXPECT_EQ(out_.Take(), "");
  EXPECT_EQ(err_.Take(), RendererLines({"Failed to make context current"}));
}

TEST_F(ContextOnFakesTest, AFailureToReleaseItIsNot) {
  MakeReady();
  fake_graphics::FailCall("eglMakeCurrent");
  renderer_->releaseContext();
  EXPECT_EQ(out_.Take() + err_.Take(), "");
}

TEST_F(ContextOnFakesTest, BeforeInitializeItCannotBeMadeCurrent) {
  EXPECT_FALSE(renderer_->makeContextCurrent());
  EXPECT_EQ(TakeCalls(), kWithoutADisplay);
  EXPECT_EQ(err_.Take(), RendererLines({"Failed to make context current"}));
}

TEST_F(ContextOnFakesTest, BeforeInitializeItsReleaseSaysNothing) {
  renderer_->releaseContext();
  EXPECT_EQ(TakeCalls(), kWithoutADisplay);
}

TEST_F(ContextOnFakesTest, ConstructionAndDestructionTouchNothing) {
  Destroy();
  EXPECT_EQ(TakeCalls(), "");
}

TEST_F(ContextOnFakesTest, CleanupGoesOnWhenEachReleaseFails) {
  MakeReady();
  for (const char* function : {"glDeleteProgram", "glDeleteFramebuffers", "eglDestroyContext", "eglDestroySurface"}) {
    fake_graphics::FailCall(function);
  }
  {
    const fake_graphics::Allowance allowance({"eglTerminate"});  // which then takes what is left with it
    renderer_->cleanup();
  }
  EXPECT_EQ(fake_graphics::Calls().size(), 9u) << "each of the nine things is released, or tried to be";
  TakeCalls();
  renderer_->cleanup();
  EXPECT_EQ(TakeCalls(), "");
}

TEST_F(ContextOnFakesTest, InitializeAfterCleanupStartsAgain) {
  MakeReady();
  renderer_->cleanup();
  ForgetCallsAndLog();
  ASSERT_TRUE(Initialize(true));
  EXPECT_THAT(fake_graphics::Alive(), ElementsAreArray({"xdisplay1", "window1", "display2", "surface2", "context2",
                                                        "framebuffer 7", "texture 8", "renderbuffer 9"}));
  out_.Take();
}
