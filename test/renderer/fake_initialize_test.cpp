// `initialize` from the display on: what the renderer holds on each kind of machine, and, where a step fails, what it
// says and keeps for its destructor.

#include <unistd.h>

#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include <GLES2/gl2.h>

#include "test/renderer/fake_renderer_test.h"

using ::testing::ElementsAreArray;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

namespace {

using Names = std::vector<std::string>;

Names operator+(Names front, const Names& back) {
  front.insert(front.end(), back.begin(), back.end());
  return front;
}

// ---- Machines ---------------------------------------------------------------------------------------------

struct Machine {
  std::string name;
  bool window_mode = false;
  std::function<void()> prepare = [] {};
  Names before_display;      // what is held of the machine before there is a display
  std::string display_line;  // the last thing said about the display
  std::string surface_function = "eglCreatePbufferSurface";
  std::string surface_line = "Pbuffer surface created";
  std::string surface_error = "Failed to create pbuffer surface";
};

Machine WithDefaultDisplay() {
  Machine machine;
  machine.name = "DefaultDisplay";
  machine.display_line = "Trying EGL_DEFAULT_DISPLAY for offscreen rendering (X11 system)...";
  return machine;
}

Machine WithDrmNode() {
  Machine machine;
  machine.name = "DrmNode";
  machine.prepare = [] {
    fake_graphics::SetDefaultDisplay(false);
    fake_graphics::SetDrmNodes({"/dev/dri/renderD128"});
  };
  machine.before_display = {"fd1", "gbm1"};
  machine.display_line = "Using eglGetPlatformDisplayEXT for GBM";
  return machine;
}

Machine WithWindow() {
  Machine machine;
  machine.name = "Window";
  machine.window_mode = true;
  machine.before_display = {"xdisplay1", "window1"};
  machine.display_line = "X11 window created";
  machine.surface_function = "eglCreateWindowSurface";
  machine.surface_line = "Window surface created";
  machine.surface_error = "Failed to create window surface";
  return machine;
}

void PrintTo(const Machine& machine, std::ostream* stream) { *stream << machine.name; }

class InitializeOnFakesTest : public FakeRendererTest, public ::testing::WithParamInterface<Machine> {};

}  // namespace

TEST_P(InitializeOnFakesTest, HoldsEachHandleUntilCleanupReleasesItOnce) {
  const Machine& machine = GetParam();
  machine.prepare();
  ASSERT_TRUE(Initialize(machine.window_mode));
  EXPECT_EQ(err_.Take(), "");
  EXPECT_THAT(out_.Take(), EndsWith(RendererLines({"Framebuffer complete"})));
  EXPECT_EQ(renderer_->width(), 640);
  EXPECT_EQ(renderer_->height(), 480);
  EXPECT_EQ(fake_graphics::CurrentContext(), "context1");
  ASSERT_TRUE(LoadShaders());
  EXPECT_THAT(
      fake_graphics::Alive(),
      ElementsAreArray(machine.before_display + Names{"display1", "surface1", "context1", "framebuffer 1", "texture 2",
                                                      "renderbuffer 3", "shader 4", "shader 5", "program 6"}));
  ForgetCallsAndLog();

  renderer_->cleanup();
  EXPECT_THAT(fake_graphics::Alive(), IsEmpty());
  TakeCalls();
  renderer_->cleanup();
  Destroy();
  EXPECT_EQ(TakeCalls(), "");
}

INSTANTIATE_TEST_SUITE_P(On, InitializeOnFakesTest,
                         ::testing::Values(WithDefaultDisplay(), WithDrmNode(), WithWindow()),
                         [](const auto& test) { return test.param.name; });

// ---- Failures ---------------------------------------------------------------------------------------------

namespace {

// A step that fails.
struct Failure {
  std::string name;
  Machine machine;
  std::function<void()> fail;
  std::string error;
  std::string last_line;  // on standard output
  Names alive;
};

void PrintTo(const Failure& failure, std::ostream* stream) { *stream << failure.name; }

std::function<void()> FailCall(const std::string& function) {
  return [function] { fake_graphics::FailCall(function); };
}

std::vector<Failure> FailuresOn(const Machine& machine) {
  Failure initialize;
  initialize.name = "Initialize";
  initialize.fail = FailCall("eglInitialize");
  initialize.error = "Failed to initialize EGL";
  initialize.last_line = machine.display_line;
  initialize.alive = machine.before_display;

  Failure choose_config;
  choose_config.name = "ChooseConfig";
  choose_config.fail = FailCall("eglChooseConfig");
  choose_config.error = "Failed to choose EGL config";
  choose_config.last_line = "EGL version: 1.4";
  choose_config.alive = machine.before_display + Names{"display1"};

  Failure no_config = choose_config;
  no_config.name = "NoConfig";
  no_config.fail = [] { fake_graphics::SetConfigCount(0); };

  Failure surface;
  surface.name = "Surface";
  surface.fail = FailCall(machine.surface_function);
  surface.error = machine.surface_error;
  surface.last_line = "EGL config chosen, numConfigs: 1";
  surface.alive = choose_config.alive;

  Failure context;
  context.name = "Context";
  context.fail = FailCall("eglCreateContext");
  context.error = "Failed to create EGL context";
  context.last_line = machine.surface_line;
  context.alive = surface.alive + Names{"surface1"};

  Failure make_current;
  make_current.name = "MakeCurrent";
  make_current.fail = FailCall("eglMakeCurrent");
  make_current.error = "Failed to make context current";
  make_current.last_line = "EGL context created";
  make_current.alive = context.alive + Names{"context1"};

  Failure framebuffer;
  framebuffer.name = "Framebuffer";
  framebuffer.fail = [] { fake_graphics::SetFramebufferStatus(GL_FRAMEBUFFER_UNSUPPORTED); };
  framebuffer.error = "Framebuffer incomplete: 0x8cdd";
  framebuffer.last_line = "Created FBO: 1, Texture: 2, Depth: 3";
  framebuffer.alive = make_current.alive + Names{"framebuffer 1", "texture 2", "renderbuffer 3"};

  std::vector<Failure> failures = {initialize, choose_config, no_config, surface, context, make_current, framebuffer};
  for (Failure& failure : failures) failure.machine = machine;
  return failures;
}

class InitializeFailureOnFakesTest : public FakeRendererTest, public ::testing::WithParamInterface<Failure> {};

std::string NameOfFailure(const ::testing::TestParamInfo<Failure>& test) { return test.param.name; }

}  // namespace

TEST_P(InitializeFailureOnFakesTest, SaysItsLineAndKeepsWhatItHasForTheDestructor) {
  const Failure& failure = GetParam();
  failure.machine.prepare();
  failure.fail();
  EXPECT_FALSE(Initialize(failure.machine.window_mode));
  EXPECT_EQ(err_.Take(), RendererLines({failure.error}));
  EXPECT_THAT(out_.Take(), EndsWith(RendererLines({failure.last_line})));
  EXPECT_THAT(fake_graphics::Alive(), ElementsAreArray(failure.alive));
}

INSTANTIATE_TEST_SUITE_P(DefaultDisplay, InitializeFailureOnFakesTest,
                         ::testing::ValuesIn(FailuresOn(WithDefaultDisplay())), NameOfFailure);
INSTANTIATE_TEST_SUITE_P(DrmNode, InitializeFailureOnFakesTest, ::testing::ValuesIn(FailuresOn(WithDrmNode())),
                         NameOfFailure);
INSTANTIATE_TEST_SUITE_P(Window, InitializeFailureOnFakesTest, ::testing::ValuesIn(FailuresOn(WithWindow())),
                         NameOfFailure);

// ---- Driver strings and sizes -----------------------------------------------------------------------------

namespace {

class UnusualSetUpOnFakesTest : public FakeRendererTest {};

}  // namespace

TEST_F(UnusualSetUpOnFakesTest, ANullDriverStringCutsItsOwnLineOnly) {
  const std::pair<unsigned, std::string> kStrings[] = {{GL_VENDOR, "GL Vendor: "},
                                                       {GL_RENDERER, "GL Renderer: "},
                                                       {GL_VERSION, "GL Version: "},
                                                       {GL_SHADING_LANGUAGE_VERSION, "GLSL Version: "}};
  for (const auto& [null_name, null_title] : kStrings) {
    std::vector<std::string> lines;
    for (const auto& [name, title] : kStrings) {
      const bool is_null = name == null_name;
      fake_graphics::SetDriverString(name, is_null ? std::nullopt : std::optional<std::string>(title + "text"));
      lines.push_back(is_null ? title : title + title + "text");
    }
    ASSERT_TRUE(Initialize());
    EXPECT_THAT(out_.Take(), HasSubstr(RendererLines(lines))) << null_title;
    EXPECT_EQ(err_.Take(), "");
    renderer_->cleanup();
  }
}

TEST_F(UnusualSetUpOnFakesTest, ANegativeSizeIsHandedOnAsItIs) {
  EXPECT_FALSE(renderer_->initialize(-7, 5, false));
  EXPECT_EQ(fake_graphics::Calls().back().text,
            "eglCreatePbufferSurface(display1, config1, {EGL_WIDTH, -7, EGL_HEIGHT, 5, EGL_NONE}) -> "
            "EGL_NO_SURFACE");
  EXPECT_EQ(err_.Take(), RendererLines({"Failed to create pbuffer surface"}));
  EXPECT_EQ(renderer_->width(), -7);
  EXPECT_EQ(renderer_->height(), 5);
  out_.Take();
}

TEST_F(UnusualSetUpOnFakesTest, AnEmptySizeMakesAnIncompleteFramebufferThatStaysBound) {
  EXPECT_FALSE(renderer_->initialize(0, 5, false));
  EXPECT_EQ(err_.Take(), RendererLines({"Framebuffer incomplete: 0x8cd6"}));
  EXPECT_EQ(fake_graphics::Calls().back().function, "glCheckFramebufferStatus");
  out_.Take();
}

TEST_F(UnusualSetUpOnFakesTest, LinesAreOutBeforeTheNextCall) {
  std::string seen;
  fake_graphics::SetHook("eglGetDisplay", [&] {
    char text[256];
    // What has reached the file; the capture's own look would flush.
    const ssize_t count = pread(fileno(stdout), text, sizeof text, 0);
    seen.assign(text, static_cast<size_t>(count));
  });
  ASSERT_TRUE(Initialize());
  EXPECT_EQ(seen, RendererLines({"Initializing 640x480 (offscreen mode)",
                                 "Trying EGL_DEFAULT_DISPLAY for offscreen rendering (X11 system)..."}));
  out_.Take();
}
