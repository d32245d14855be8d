// The display that frames are drawn for: a window's, the default one, or one on a DRM node. What is called to get it,
// and what is said where that fails. The default display on its own is in the transcripts of the built library.

#include <fcntl.h>
#include <unistd.h>

#include <string>
#include <vector>

#include <EGL/egl.h>

#include "test/renderer/fake_renderer_test.h"

using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::IsEmpty;
using ::testing::StartsWith;

namespace {

const std::vector<std::string> kNodes = {"/dev/dri/renderD128", "/dev/dri/card0", "/dev/dri/card1"};

class DisplayOnFakesTest : public FakeRendererTest {
 protected:
  // A machine without a default display, on which these DRM nodes open.
  static void SetNodes(const std::set<std::string>& nodes) {
    fake_graphics::SetDefaultDisplay(false);
    fake_graphics::SetDrmNodes(nodes);
  }

  // The calls so far up to the one that makes the display ready for use.
  static std::string CallsBeforeEglInitialize() {
    const std::string calls = fake_graphics::Transcript();
    return calls.substr(0, calls.find("eglInitialize("));
  }

  // What is said before the display is asked for its version.
  std::string TakeLinesBeforeTheVersion() {
    const std::string lines = out_.Take();
    return lines.substr(0, lines.find("[EGLRenderer] EGL version"));
  }

  void ExpectFailure(bool window_mode, const std::string& last_line, const std::vector<std::string>& errors) {
    EXPECT_FALSE(Initialize(window_mode));
    EXPECT_THAT(out_.Take(), EndsWith(RendererLines({last_line})));
    EXPECT_EQ(err_.Take(), RendererLines(errors));
  }
};

}  // namespace

// ---- A window ---------------------------------------------------------------------------------------------

TEST_F(DisplayOnFakesTest, WindowModeOpensAWindowOfTheSizeAndTakesItsDisplay) {
  ASSERT_TRUE(Initialize(true));
  EXPECT_EQ(CallsBeforeEglInitialize(),
            "XOpenDisplay(null) -> xdisplay1\n"
            "XCreateWindow(xdisplay1, root1, 0, 0, 640, 480, 0, CopyFromParent, InputOutput, CopyFromParent, "
            "CWEventMask, {event_mask KeyPressMask|ExposureMask}) -> window1\n"
            "XMapWindow(xdisplay1, window1)\n"
            "XStoreName(xdisplay1, window1, \"3D Model Viewer - EGL\")\n"
            "XFlush(xdisplay1)\n"
            "eglGetDisplay(xdisplay1) -> display1\n");
  EXPECT_THAT(TakeCallsOf({"eglChooseConfig"}),
              StartsWith("eglChooseConfig(display1, {EGL_SURFACE_TYPE, "
                         "EGL_WINDOW_BIT, EGL_RENDERABLE_TYPE, EGL_OPENGL_ES2_BIT, "));
  const std::string lines = out_.Take();
  EXPECT_THAT(
      lines,
      StartsWith(RendererLines({"Initializing 640x480 (window mode)", "X11 window created", "EGL version: 1.4"})));
  EXPECT_THAT(lines, ::testing::HasSubstr(RendererLines({"Window surface created"})));
  EXPECT_EQ(err_.Take(), "");
}

TEST_F(DisplayOnFakesTest, TheWindowIsWhatIsDrawnOn) {
  ASSERT_TRUE(Initialize(true));
  EXPECT_EQ(TakeCallsOf({"eglCreateWindowSurface", "eglCreatePbufferSurface"}),
            "eglCreateWindowSurface(display1, config1, window1, null) -> surface1\n");
  out_.Take();
}

TEST_F(DisplayOnFakesTest, WithoutAnXServerNoEglCallIsMade) {
  fake_graphics::FailCall("XOpenDisplay");
  ExpectFailure(true, "Initializing 640x480 (window mode)", {"Failed to open X11 display"});
  EXPECT_EQ(TakeCalls(), "XOpenDisplay(null) -> null\n");
}

TEST_F(DisplayOnFakesTest, AWindowWithoutADisplayIsReportedWithEglsError) {
  fake_graphics::FailCall("eglGetDisplay", 1, EGL_BAD_NATIVE_WINDOW);
  ExpectFailure(true, "X11 window created", {"Failed to get EGL display", "EGL error code: 0x300b"});
  EXPECT_THAT(fake_graphics::Alive(), ElementsAre("xdisplay1", "window1"));
}

// ---- A DRM node -------------------------------------------------------------------------------------------

TEST_F(DisplayOnFakesTest, NodesAreTriedInOrderUntilOneOpens) {
  for (size_t first = 0; first < kNodes.size(); ++first) {
    SCOPED_TRACE(kNodes[first]);
    fake_graphics::Reset();
    SetNodes({kNodes.begin() + static_cast<std::ptrdiff_t>(first), kNodes.end()});
    std::string tried;
    std::vector<std::string> lines = {
        "Initializing 640x480 (offscreen mode)", "Trying EGL_DEFAULT_DISPLAY for offscreen rendering (X11 system)...",
        "EGL_DEFAULT_DISPLAY failed, falling back to GBM...", "Setting up GBM device for offscreen rendering..."};
    for (size_t node = 0; node <= first; ++node) {
      tried += "open(\"" + kNodes[node] + "\", O_RDWR) -> " + (node == first ? "fd1" : "-1") + "\n";
      lines.push_back("Trying DRM device: " + kNodes[node]);
    }
    for (const std::string& line :
         {"Successfully opened DRM device: " + kNodes[first], std::string("GBM device created successfully"),
          std::string("Using eglGetPlatformDisplayEXT for GBM")}) {
      lines.push_back(line);
    }
    ASSERT_TRUE(Initialize());
    EXPECT_EQ(TakeLinesBeforeTheVersion(), RendererLines(lines));
    EXPECT_EQ(CallsBeforeEglInitialize(),
              "eglGetDisplay(EGL_DEFAULT_DISPLAY) -> EGL_NO_DISPLAY\n" + tried +
                  "gbm_create_device(fd1) -> gbm1\n"
                  "eglGetProcAddress(\"eglGetPlatformDisplayEXT\") -> found\n"
                  "eglGetPlatformDisplayEXT(EGL_PLATFORM_GBM_KHR, gbm1, null) -> display1\n");
    renderer_->cleanup();
  }
}

TEST_F(DisplayOnFakesTest, EachNodeIsNamedBeforeItIsTried) {
  SetNodes({"/dev/dri/renderD129", "/dev/dri/card2"});
  std::vector<std::string> lines_before;
  fake_graphics::SetHook("open", [&] { lines_before.push_back(out_.Take() + err_.Take()); });
  EXPECT_FALSE(Initialize());
  EXPECT_THAT(lines_before, ElementsAre(EndsWith(RendererLines({"Trying DRM device: " + kNodes[0]})),
                                        RendererLines({"Trying DRM device: " + kNodes[1]}),
                                        RendererLines({"Trying DRM device: " + kNodes[2]})));
  EXPECT_EQ(out_.Take(), "");
  EXPECT_EQ(err_.Take(), RendererLines({"Failed to open any DRM device"}));
  EXPECT_THAT(fake_graphics::Alive(), IsEmpty());
}

TEST_F(DisplayOnFakesTest, ANodeThatIsNoGbmDeviceIsReportedThenClosedAtOnce) {
  SetNodes({kNodes[0]});
  fake_graphics::FailCall("gbm_create_device");
  std::vector<std::string> errors_before;
  fake_graphics::SetHook("close", [&] { errors_before.push_back(err_.Take()); });
  ExpectFailure(false, "Successfully opened DRM device: " + kNodes[0], {});
  fake_graphics::SetHook("close", nullptr);
  EXPECT_THAT(errors_before, ElementsAre(RendererLines({"Failed to create GBM device"})));
  EXPECT_THAT(fake_graphics::Alive(), IsEmpty());
}

TEST_F(DisplayOnFakesTest, WithoutThePlatformFunctionTheDeviceItselfIsTheNativeDisplay) {
  SetNodes({kNodes[0]});
  fake_graphics::SetPlatformDisplayFunction(false);
  ASSERT_TRUE(Initialize());
  EXPECT_THAT(TakeLinesBeforeTheVersion(),
              EndsWith(RendererLines({"GBM device created successfully", "Falling back to eglGetDisplay for GBM"})));
  EXPECT_THAT(CallsBeforeEglInitialize(), EndsWith("eglGetProcAddress(\"eglGetPlatformDisplayEXT\") -> null\n"
                                                   "eglGetDisplay(gbm1) -> display1\n"));
}

TEST_F(DisplayOnFakesTest, ADeviceWithoutADisplayIsReportedWithEglsError) {
  SetNodes({kNodes[0]});
  fake_graphics::FailCall("eglGetPlatformDisplayEXT", 1, EGL_BAD_PARAMETER);
  ExpectFailure(false, "Using eglGetPlatformDisplayEXT for GBM",
                {"Failed to get EGL display", "EGL error code: 0x300c"});
  EXPECT_THAT(fake_graphics::Alive(), ElementsAre("fd1", "gbm1"));
}

TEST_F(DisplayOnFakesTest, WithoutThePlatformFunctionAMissingDisplayIsReportedToo) {
  SetNodes({kNodes[0]});
  fake_graphics::SetPlatformDisplayFunction(false);
  fake_graphics::FailCall("eglGetDisplay", 2, EGL_BAD_ALLOC);
  ExpectFailure(false, "Falling back to eglGetDisplay for GBM",
                {"Failed to get EGL display", "EGL error code: 0x3003"});
  EXPECT_THAT(fake_graphics::Alive(), ElementsAre("fd1", "gbm1"));
}

TEST_F(DisplayOnFakesTest, DescriptorZeroIsOneLikeAnyOther) {
  const int standard_input = dup(STDIN_FILENO);
  ASSERT_GE(standard_input, 0);
  close(STDIN_FILENO);
  fake_graphics::SetDrmNodesOpenLowest(true);
  SetNodes({kNodes[0]});
  ASSERT_TRUE(Initialize());
  EXPECT_GE(fcntl(STDIN_FILENO, F_GETFD), 0) << "the node has another descriptor";
  Destroy();
  EXPECT_EQ(TakeCallsOf({"open", "close"}), "open(\"" + kNodes[0] + "\", O_RDWR) -> fd1\nclose(0) -> 0\n");
  EXPECT_EQ(dup2(standard_input, STDIN_FILENO), STDIN_FILENO);
  close(standard_input);
  out_.Take();
}
