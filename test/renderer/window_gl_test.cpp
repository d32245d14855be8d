// Window mode on a real X server. Looks at the window from a connection of its own, as a user's eyes would.

#include <chrono>
#include <memory>
#include <thread>

#include "test/renderer/gl_fixture.h"

// Last, because of its macros.
#include <X11/Xlib.h>
#include <X11/Xutil.h>

namespace {

const char kTitle[] = "3D Model Viewer - EGL";

class WindowTest : public GlTest {
 protected:
  void SetUp() override {
    const char* const x_server = std::getenv("DISPLAY");
    if (x_server == nullptr || *x_server == '\0') {
      GTEST_SKIP() << "no X server: needs xvfb-run (package xvfb)";
    }
    GlTest::SetUp();
    if (IsSkipped()) return;
    onlooker_.reset(XOpenDisplay(nullptr));
    ASSERT_NE(onlooker_, nullptr);
  }

  // A window's context has to be released before the renderer closes its X connection: EGL keeps a surface as
  // long as it is current, and then still frees things through that connection.
  void TearDown() override { renderer_.releaseContext(); }

  // The window of that title, 0 when there is none.
  Window FindWindow() const {
    XSync(onlooker_.get(), False);
    Window root = 0;
    Window parent = 0;
    Window* children = nullptr;
    unsigned int count = 0;
    Window found = 0;
    XQueryTree(onlooker_.get(), DefaultRootWindow(onlooker_.get()), &root, &parent, &children, &count);
    for (unsigned int i = 0; i < count; ++i) {
      char* title = nullptr;
      if (XFetchName(onlooker_.get(), children[i], &title) != 0 && std::string(title) == kTitle) {
        found = children[i];
      }
      XFree(title);
    }
    XFree(children);
    return found;
  }

  XWindowAttributes AttributesOf(Window window) const {
    XWindowAttributes attributes = {};
    EXPECT_TRUE(XGetWindowAttributes(onlooker_.get(), window, &attributes));
    return attributes;
  }

  // What the window shows; opaque, as a screen is. The renderer's requests and ours reach the X server on two
  // connections, so a frame may come a little later: looks until there is something, for ten minutes at most.
  Frame Screenshot(int width, int height) const {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(10);
    const Frame nothing(width, height);
    Frame shown = nothing;
    while (shown.bytes == nothing.bytes && std::chrono::steady_clock::now() < deadline) CopyWindowTo(shown);
    for (size_t alpha = 3; alpha < shown.bytes.size(); alpha += 4) shown.bytes[alpha] = 255;
    return shown;
  }

  void CopyWindowTo(Frame& frame) const {
    XImage* const image = XGetImage(onlooker_.get(), FindWindow(), 0, 0, static_cast<unsigned int>(frame.width),
                                    static_cast<unsigned int>(frame.height), AllPlanes, ZPixmap);
    if (image == nullptr) throw std::runtime_error("XGetImage");
    for (int y = 0; y < frame.height; ++y) {
      for (int x = 0; x < frame.width; ++x) {
        const unsigned long color = XGetPixel(image, x, y);
        const size_t pixel = static_cast<size_t>(y * frame.width + x) * 4;
        for (size_t channel = 0; channel < 3; ++channel) {
          frame.bytes[pixel + channel] = static_cast<unsigned char>(color >> (16 - 8 * channel));
        }
      }
    }
    XDestroyImage(image);
  }

  Said InitializeWindow(int width, int height) {
    bool initialized = false;
    Said said = WhatIsSaid([&] { initialized = renderer_.initialize(width, height, true); });
    EXPECT_TRUE(initialized) << said.err;
    return said;
  }

  void StartWindow(int width, int height) {
    InitializeWindow(width, height);
    bool loaded = false;
    WhatIsSaid([&] { loaded = renderer_.loadShaders(kVertexShader, kFragmentShader); });
    if (!loaded) throw std::runtime_error("StartWindow: no shaders");
  }

  // Four corners in four colours.
  std::vector<MeshData> Corners() const {
    const int right = renderer_.width();
    const int bottom = renderer_.height();
    return {Rectangle({0, 0, 10, 10}, kOrange), Rectangle({right - 10, 0, right, 10}, kTeal),
            Rectangle({0, bottom - 10, 10, bottom}, kViolet),
            Rectangle({right - 10, bottom - 10, right, bottom}, {1, 0, 0, 1})};
  }

  struct CloseConnection {
    void operator()(Display* connection) const { XCloseDisplay(connection); }
  };
  std::unique_ptr<Display, CloseConnection> onlooker_;
};

TEST_F(WindowTest, InitializeShowsAWindowOfTheSizeWithItsTitle) {
  EXPECT_EQ(FindWindow(), 0u);
  InitializeWindow(120, 80);
  const Window window = FindWindow();
  ASSERT_NE(window, 0u);
  const XWindowAttributes attributes = AttributesOf(window);
  EXPECT_EQ(attributes.width, 120);
  EXPECT_EQ(attributes.height, 80);
  EXPECT_EQ(attributes.x, 0);
  EXPECT_EQ(attributes.y, 0);
  EXPECT_EQ(attributes.border_width, 0);
  EXPECT_EQ(attributes.c_class, InputOutput);
  EXPECT_EQ(attributes.depth, DefaultDepth(onlooker_.get(), DefaultScreen(onlooker_.get())));
  EXPECT_EQ(attributes.visual, DefaultVisual(onlooker_.get(), DefaultScreen(onlooker_.get())));
  EXPECT_EQ(attributes.map_state, IsViewable);
  EXPECT_FALSE(attributes.override_redirect);
}

TEST_F(WindowTest, TheWindowAsksForExposuresAndKeys) {
  InitializeWindow(120, 80);
  // EGL may listen to more, on connections of its own.
  const long wanted = ExposureMask | KeyPressMask;
  EXPECT_EQ(
      AttributesOf(FindWindow()).all_event_masks & (wanted | ButtonPressMask | PointerMotionMask | KeyReleaseMask),
      wanted);
}

TEST_F(WindowTest, InitializeLogsEachStep) {
  const Said said = InitializeWindow(120, 80);
  EXPECT_THAT(said.out,
              ::testing::StartsWith(RendererLines({"Initializing 120x80 (window mode)", "X11 window created"}) +
                                    "[EGLRenderer] EGL version: 1."));
  EXPECT_THAT(said.out, ::testing::HasSubstr(RendererLines({"Window surface created", "EGL context created",
                                                            "Context made current (temporarily for setup)"})));
  EXPECT_THAT(said.out, ::testing::EndsWith(RendererLines({"Framebuffer complete"})));
  EXPECT_EQ(said.err, "");
}

TEST_F(WindowTest, SwapBuffersShowsTheFrameTheRightWayUp) {
  StartWindow(120, 80);
  Frame unused(120, 80);
  Draw(Corners(), unused);
  bool swapped = false;
  const Said said = WhatIsSaid([&] { swapped = renderer_.swapBuffers(); });
  EXPECT_TRUE(swapped);
  EXPECT_EQ(said.out + said.err, "");

  const Frame shown = Screenshot(120, 80);
  EXPECT_THAT(shown.At(0, 0), IsNear(Opaque(kOrange, kFacingTheLight)));
  EXPECT_THAT(shown.At(119, 0), IsNear(Opaque(kTeal, kFacingTheLight)));
  EXPECT_THAT(shown.At(0, 79), IsNear(Opaque(kViolet, kFacingTheLight)));
  EXPECT_THAT(shown.At(119, 79), IsNear(Pixel{255, 0, 0, 255}));
  EXPECT_EQ(shown.At(60, 40), (Pixel{0, 0, 0, 255}));
  EXPECT_EQ(shown.At(10, 10), (Pixel{0, 0, 0, 255}));
}

TEST_F(WindowTest, FramesAreDrawnInDepthOnTheWindowToo) {
  StartWindow(120, 80);
  Frame unused(120, 80);
  Draw({WholeFrame(kOrange, -0.5f), WholeFrame(kTeal, 0.5f)}, unused);
  ASSERT_TRUE(renderer_.swapBuffers());
  EXPECT_THAT(Screenshot(120, 80).At(60, 40), IsNear(Opaque(kOrange, kFacingTheLight)));
}

TEST_F(WindowTest, ReadPixelsReadsTheOffscreenFramebufferInWindowModeToo) {
  StartWindow(120, 80);
  Frame frame(120, 80);
  Draw({}, frame);  // leaves the framebuffer object bound
  ASSERT_NE(GlInteger(GL_FRAMEBUFFER_BINDING), 0);
  glClearColor(1.0f, 0.0f, 0.6f, 0.2f);
  glClear(GL_COLOR_BUFFER_BIT);
  // Drawing goes to the window, so that colour is what is read.
  Draw({WholeFrame(kTeal)}, frame);
  EXPECT_THAT(frame.At(0, 0), IsNear(Pixel{255, 0, 153, 51}));
  EXPECT_THAT(frame.At(119, 79), IsNear(Pixel{255, 0, 153, 51}));
}

TEST_F(WindowTest, AnotherThreadMayDrawAndShow) {
  StartWindow(120, 80);
  renderer_.releaseContext();
  bool shown = false;
  std::thread([&] {
    Frame unused(120, 80);
    shown = renderer_.makeContextCurrent();
    Draw({WholeFrame(kTeal)}, unused);
    shown = shown && renderer_.swapBuffers();
    renderer_.releaseContext();
  }).join();
  EXPECT_TRUE(shown);
  EXPECT_THAT(Screenshot(120, 80).At(119, 0), IsNear(Opaque(kTeal, kFacingTheLight)));
}

TEST_F(WindowTest, CleanupClosesTheWindowAndAnotherMayFollow) {
  StartWindow(120, 80);
  renderer_.releaseContext();
  const Said said = WhatIsSaid([&] { renderer_.cleanup(); });
  EXPECT_EQ(said.out + said.err, "");
  EXPECT_EQ(FindWindow(), 0u);

  StartWindow(30, 70);
  Frame unused(30, 70);
  Draw({WholeFrame(kViolet)}, unused);
  EXPECT_TRUE(renderer_.swapBuffers());
  EXPECT_EQ(AttributesOf(FindWindow()).height, 70);
  EXPECT_THAT(Screenshot(30, 70).At(29, 69), IsNear(Opaque(kViolet, kFacingTheLight)));
}

TEST_F(WindowTest, TheDestructorClosesTheWindow) {
  {
    EGLRenderer renderer;
    bool initialized = false;
    WhatIsSaid([&] { initialized = renderer.initialize(120, 80, true); });
    ASSERT_TRUE(initialized);
    ASSERT_NE(FindWindow(), 0u);
    renderer.releaseContext();
  }
  EXPECT_EQ(FindWindow(), 0u);
}

TEST_F(WindowTest, OffscreenModeOpensNoWindow) {
  Start(120, 80);
  EXPECT_THAT(Render({WholeFrame(kOrange)}).At(119, 79), IsNear(Opaque(kOrange, kFacingTheLight)));
  EXPECT_EQ(FindWindow(), 0u);
}

}  // namespace
