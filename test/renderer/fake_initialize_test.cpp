// Display, surface and context: what is called in which mode, what each failure says and keeps, and how all
// of it is released.

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <set>
#include <thread>

#include <EGL/egl.h>
#include <GLES2/gl2.h>

#include "test/renderer/fake_renderer_test.h"

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::EndsWith;
using ::testing::IsEmpty;

namespace {

// One step of `initialize`: the calls that it makes and the lines that it writes to standard output.
struct Step {
  std::vector<std::string> calls;
  std::vector<std::string> lines;
};

// One way through `initialize`.
struct Path {
  bool window_mode;
  std::function<void()> prepare;  // the machine on which it is taken
  std::vector<Step> steps;
  std::vector<std::string> alive;     // what it holds in the end
  std::vector<std::string> releases;  // the calls that release it
};

// ---- What the paths have in common ------------------------------------------------------------------------

Step InitializeDisplay() { return {{"eglInitialize(display1) -> EGL_TRUE"}, {"EGL version: 1.4"}}; }

std::string ChooseConfig(const std::string& surface_type, const std::string& result) {
  return "eglChooseConfig(display1, {EGL_SURFACE_TYPE, " + surface_type +
         ", EGL_RENDERABLE_TYPE, EGL_OPENGL_ES2_BIT, EGL_RED_SIZE, 8, EGL_GREEN_SIZE, 8, EGL_BLUE_SIZE, 8, "
         "EGL_ALPHA_SIZE, 8, EGL_DEPTH_SIZE, 24, EGL_NONE}, 1) -> " +
         result;
}

Step ChooseConfig(const std::string& surface_type) {
  return {{ChooseConfig(surface_type, "EGL_TRUE, 1 config1")}, {"EGL config chosen, numConfigs: 1"}};
}

std::string CreatePbuffer(const std::string& result) {
  return "eglCreatePbufferSurface(display1, config1, {EGL_WIDTH, 640, EGL_HEIGHT, 480, EGL_NONE}) -> " + result;
}

Step CreatePbuffer() { return {{CreatePbuffer("surface1")}, {"Pbuffer surface created"}}; }

std::string CreateContext(const std::string& result) {
  return "eglCreateContext(display1, config1, EGL_NO_CONTEXT, {EGL_CONTEXT_CLIENT_VERSION, 2, EGL_NONE}) "
         "-> " +
         result;
}

std::string MakeCurrent(const std::string& result) {
  return "eglMakeCurrent(display1, surface1, surface1, context1) -> " + result;
}

// From the context to the end. The framebuffer comes in two steps, because its status may be bad.
std::vector<Step> ContextAndFramebuffer() {
  return {
      {{CreateContext("context1")}, {"EGL context created"}},
      {{MakeCurrent("EGL_TRUE"), "glGetString(GL_VENDOR) -> \"Fake vendor\"",
        "glGetString(GL_RENDERER) -> \"Fake renderer\"", "glGetString(GL_VERSION) -> \"OpenGL ES 2.0 fake\"",
        "glGetString(GL_SHADING_LANGUAGE_VERSION) -> \"OpenGL ES GLSL ES 1.00 fake\"", "glGenFramebuffers(1) -> {1}",
        "glGenTextures(1) -> {2}", "glGenRenderbuffers(1) -> {3}", "glBindTexture(GL_TEXTURE_2D, 2)",
        "glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, 640, 480, 0, GL_RGBA, GL_UNSIGNED_BYTE, null)",
        "glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR)",
        "glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR)", "glBindTexture(GL_TEXTURE_2D, 0)",
        "glBindRenderbuffer(GL_RENDERBUFFER, 3)",
        "glRenderbufferStorage(GL_RENDERBUFFER, GL_DEPTH_COMPONENT16, 640, 480)",
        "glBindRenderbuffer(GL_RENDERBUFFER, 0)", "glBindFramebuffer(GL_FRAMEBUFFER, 1)",
        "glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, 2, 0)",
        "glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_ATTACHMENT, GL_RENDERBUFFER, 3)"},
       {"Context made current (temporarily for setup)", "GL Vendor: Fake vendor", "GL Renderer: Fake renderer",
        "GL Version: OpenGL ES 2.0 fake", "GLSL Version: OpenGL ES GLSL ES 1.00 fake",
        "Created FBO: 1, Texture: 2, Depth: 3"}},
      {{"glCheckFramebufferStatus(GL_FRAMEBUFFER) -> GL_FRAMEBUFFER_COMPLETE", "glBindFramebuffer(GL_FRAMEBUFFER, 0)"},
       {"Framebuffer complete"}}};
}

const std::vector<std::string> kGlObjects = {"framebuffer 1", "texture 2", "renderbuffer 3"};
const std::vector<std::string> kGlAndEglReleases = {"glDeleteFramebuffers(1, {1})",
                                                    "glDeleteTextures(1, {2})",
                                                    "glDeleteRenderbuffers(1, {3})",
                                                    "eglDestroyContext(display1, context1) -> EGL_TRUE",
                                                    "eglDestroySurface(display1, surface1) -> EGL_TRUE",
                                                    "eglTerminate(display1) -> EGL_TRUE"};

template <typename Value>
std::vector<Value> operator+(std::vector<Value> front, const std::vector<Value>& back) {
  front.insert(front.end(), back.begin(), back.end());
  return front;
}

// ---- The paths --------------------------------------------------------------------------------------------

const Step kOffscreenStart = {
    {},
    {"Initializing 640x480 (offscreen mode)", "Trying EGL_DEFAULT_DISPLAY for offscreen rendering (X11 system)..."}};

Path DefaultDisplayPath() {
  Path path;
  path.window_mode = false;
  path.prepare = [] {};
  path.steps = std::vector<Step>{kOffscreenStart,
                                 {{"eglGetDisplay(EGL_DEFAULT_DISPLAY) -> display1"}, {}},
                                 InitializeDisplay(),
                                 ChooseConfig("EGL_PBUFFER_BIT"),
                                 CreatePbuffer()} +
               ContextAndFramebuffer();
  path.alive = std::vector<std::string>{"display1", "surface1", "context1"} + kGlObjects;
  path.releases = kGlAndEglReleases;
  return path;
}

constexpr char kRenderNode[] = "/dev/dri/renderD128";

// With the first of the DRM nodes, and the extension that makes a display of a GBM device.
Path GbmPath() {
  Path path;
  path.window_mode = false;
  path.prepare = [] {
    fake_graphics::SetDefaultDisplay(false);
    fake_graphics::SetDrmNodes({kRenderNode});
  };
  path.steps =
      std::vector<Step>{
          kOffscreenStart,
          {{"eglGetDisplay(EGL_DEFAULT_DISPLAY) -> EGL_NO_DISPLAY"},
           {"EGL_DEFAULT_DISPLAY failed, falling back to GBM...", "Setting up GBM device for offscreen rendering..."}},
          {{"open(\"/dev/dri/renderD128\", O_RDWR) -> fd1"},
           {"Trying DRM device: /dev/dri/renderD128", "Successfully opened DRM device: /dev/dri/renderD128"}},
          {{"gbm_create_device(fd1) -> gbm1"}, {"GBM device created successfully"}},
          {{"eglGetProcAddress(\"eglGetPlatformDisplayEXT\") -> found"}, {"Using eglGetPlatformDisplayEXT for GBM"}},
          {{"eglGetPlatformDisplayEXT(EGL_PLATFORM_GBM_KHR, gbm1, null) -> display1"}, {}},
          InitializeDisplay(),
          ChooseConfig("EGL_PBUFFER_BIT"),
          CreatePbuffer()} +
      ContextAndFramebuffer();
  path.alive = std::vector<std::string>{"fd1", "gbm1", "display1", "surface1", "context1"} + kGlObjects;
  path.releases = kGlAndEglReleases + std::vector<std::string>{"gbm_device_destroy(gbm1)", "close(fd1) -> 0"};
  return path;
}

// The same without that extension.
Path PlainGbmPath() {
  Path path = GbmPath();
  path.prepare = [with_extension = path.prepare] {
    with_extension();
    fake_graphics::SetPlatformDisplayFunction(false);
  };
  path.steps[4] = {{"eglGetProcAddress(\"eglGetPlatformDisplayEXT\") -> null"},
                   {"Falling back to eglGetDisplay for GBM"}};
  path.steps[5] = {{"eglGetDisplay(gbm1) -> display1"}, {}};
  return path;
}

Path WindowPath() {
  Path path;
  path.window_mode = true;
  path.prepare = [] {};
  path.steps =
      std::vector<Step>{
          {{}, {"Initializing 640x480 (window mode)"}},
          {{"XOpenDisplay(null) -> xdisplay1",
            "XCreateWindow(xdisplay1, root1, 0, 0, 640, 480, 0, CopyFromParent, InputOutput, CopyFromParent, "
            "CWEventMask, {event_mask KeyPressMask|ExposureMask}) -> window1",
            "XMapWindow(xdisplay1, window1)", "XStoreName(xdisplay1, window1, \"3D Model Viewer - EGL\")",
            "XFlush(xdisplay1)"},
           {"X11 window created"}},
          {{"eglGetDisplay(xdisplay1) -> display1"}, {}},
          InitializeDisplay(),
          ChooseConfig("EGL_WINDOW_BIT"),
          {{"eglCreateWindowSurface(display1, config1, window1, null) -> surface1"}, {"Window surface created"}}} +
      ContextAndFramebuffer();
  path.alive = std::vector<std::string>{"xdisplay1", "window1", "display1", "surface1", "context1"} + kGlObjects;
  path.releases =
      kGlAndEglReleases + std::vector<std::string>{"XDestroyWindow(xdisplay1, window1)", "XCloseDisplay(xdisplay1)"};
  return path;
}

// The calls of the first steps, and their lines.
std::string CallsOf(const Path& path, size_t steps) {
  std::string text;
  for (size_t i = 0; i < steps; ++i) text += Joined(path.steps[i].calls);
  return text;
}

std::string LinesOf(const Path& path, size_t steps) {
  std::string text;
  for (size_t i = 0; i < steps; ++i) text += RendererLines(path.steps[i].lines);
  return text;
}

// ---- Success ----------------------------------------------------------------------------------------------

struct NamedPath {
  const char* name;
  Path path;
};

void PrintTo(const NamedPath& path, std::ostream* stream) { *stream << path.name; }

class InitializeOnFakesTest : public FakeRendererTest, public ::testing::WithParamInterface<NamedPath> {};

std::string NameOfPath(const ::testing::TestParamInfo<NamedPath>& info) { return info.param.name; }

}  // namespace

TEST_P(InitializeOnFakesTest, CallsLogHoldingsAndReleaseOfAWholeRun) {
  const Path& path = GetParam().path;
  path.prepare();
  ASSERT_TRUE(Initialize(path.window_mode));
  EXPECT_EQ(TakeCalls(), CallsOf(path, path.steps.size()));
  EXPECT_EQ(out_.Take(), LinesOf(path, path.steps.size()));
  EXPECT_EQ(err_.Take(), "");
  EXPECT_EQ(renderer_->width(), 640);
  EXPECT_EQ(renderer_->height(), 480);
  EXPECT_EQ(fake_graphics::CurrentContext(), "context1");
  EXPECT_THAT(fake_graphics::Alive(), ElementsAreArray(path.alive));

  Destroy();
  EXPECT_EQ(TakeCalls(), Joined(path.releases));
}

INSTANTIATE_TEST_SUITE_P(Paths, InitializeOnFakesTest,
                         ::testing::Values(NamedPath{"DefaultDisplay", DefaultDisplayPath()},
                                           NamedPath{"Gbm", GbmPath()}, NamedPath{"PlainGbm", PlainGbmPath()},
                                           NamedPath{"Window", WindowPath()}),
                         NameOfPath);

// ---- Failure ----------------------------------------------------------------------------------------------

namespace {

// A path that ends early: after some good steps, with these calls and lines.
struct Failure {
  const char* name;
  Path path;
  std::function<void()> fault;
  size_t good_steps;
  Step last_step;
  std::vector<std::string> error_lines;
  std::vector<std::string> alive;  // afterwards
  size_t releases;                 // so many of the path's last ones are made
};

void PrintTo(const Failure& failure, std::ostream* stream) { *stream << failure.name; }

std::function<void()> Fail(const char* function, int nth = 1, std::optional<unsigned> error = std::nullopt) {
  return [=] { fake_graphics::FailCall(function, nth, error); };
}

const std::vector<std::string> kNoSuchNode = {"open(\"/dev/dri/renderD128\", O_RDWR) -> -1",
                                              "open(\"/dev/dri/card0\", O_RDWR) -> -1",
                                              "open(\"/dev/dri/card1\", O_RDWR) -> -1"};
const std::vector<std::string> kTryingAllNodes = {
    "Trying DRM device: /dev/dri/renderD128", "Trying DRM device: /dev/dri/card0", "Trying DRM device: /dev/dri/card1"};

// From eglInitialize to the framebuffer, each path fails alike. `start` is what the path holds before, made
// in `start_steps` steps and released in `start_releases` calls.
std::vector<Failure> CommonFailures(const Path& path, size_t start_steps, const std::vector<std::string>& start,
                                    size_t start_releases, const std::string& surface_type,
                                    const char* surface_function, const std::string& surface_call,
                                    const std::string& surface_error) {
  using Names = std::vector<std::string>;
  const std::string no_config = ChooseConfig(surface_type, "EGL_TRUE, 0");
  const std::string config_failed = ChooseConfig(surface_type, "EGL_FALSE");
  const Names with_display = start + Names{"display1"};
  const Names with_surface = with_display + Names{"surface1"};
  const Names with_context = with_surface + Names{"context1"};
  const size_t display = start_releases + 1;
  return {
      {"Initialize",
       path,
       Fail("eglInitialize"),
       start_steps,
       {{"eglInitialize(display1) -> EGL_FALSE"}, {}},
       {"Failed to initialize EGL"},
       start,
       display},
      {"ChooseConfig",
       path,
       Fail("eglChooseConfig"),
       start_steps + 1,
       {{config_failed}, {}},
       {"Failed to choose EGL config"},
       with_display,
       display},
      {"NoConfig",
       path,
       [] { fake_graphics::SetConfigCount(0); },
       start_steps + 1,
       {{no_config}, {}},
       {"Failed to choose EGL config"},
       with_display,
       display},
      {"Surface",
       path,
       Fail(surface_function),
       start_steps + 2,
       {{surface_call}, {}},
       {surface_error},
       with_display,
       display},
      {"Context",
       path,
       Fail("eglCreateContext"),
       start_steps + 3,
       {{CreateContext("EGL_NO_CONTEXT")}, {}},
       {"Failed to create EGL context"},
       with_surface,
       display + 1},
      {"MakeCurrent",
       path,
       Fail("eglMakeCurrent"),
       start_steps + 4,
       {{MakeCurrent("EGL_FALSE")}, {}},
       {"Failed to make context current"},
       with_context,
       display + 2},
      {"Framebuffer",
       path,
       [] { fake_graphics::SetFramebufferStatus(GL_FRAMEBUFFER_UNSUPPORTED); },
       start_steps + 5,
       {{"glCheckFramebufferStatus(GL_FRAMEBUFFER) -> GL_FRAMEBUFFER_UNSUPPORTED"}, {}},
       {"Framebuffer incomplete: 0x8cdd"},
       with_context + kGlObjects,
       display + 5},
  };
}

std::vector<Failure> DefaultDisplayFailures() {
  return CommonFailures(DefaultDisplayPath(), 2, {}, 0, "EGL_PBUFFER_BIT", "eglCreatePbufferSurface",
                        CreatePbuffer("EGL_NO_SURFACE"), "Failed to create pbuffer surface");
}

std::vector<Failure> GbmFailures() {
  const Path path = GbmPath();
  const std::vector<Failure> of_gbm = {
      {"NoNode",
       path,
       [] {
         fake_graphics::SetDrmNodes({"/dev/dri/renderD129", "/dev/dri/card2"});
       },
       2,
       {kNoSuchNode, kTryingAllNodes},
       {"Failed to open any DRM device"},
       {},
       0},
      {"Device",
       path,
       Fail("gbm_create_device"),
       3,
       {{"gbm_create_device(fd1) -> null", "close(fd1) -> 0"}, {}},
       {"Failed to create GBM device"},
       {},
       0},
      {"Display",
       path,
       Fail("eglGetPlatformDisplayEXT", 1, EGL_BAD_PARAMETER),
       5,
       {{"eglGetPlatformDisplayEXT(EGL_PLATFORM_GBM_KHR, gbm1, null) -> EGL_NO_DISPLAY", "eglGetError() -> 0x300c"},
        {}},
       {"Failed to get EGL display", "EGL error code: 0x300c"},
       {"fd1", "gbm1"},
       2},
      {"PlainDisplay",
       PlainGbmPath(),
       Fail("eglGetDisplay", 2, EGL_BAD_ALLOC),
       5,
       {{"eglGetDisplay(gbm1) -> EGL_NO_DISPLAY", "eglGetError() -> 0x3003"}, {}},
       {"Failed to get EGL display", "EGL error code: 0x3003"},
       {"fd1", "gbm1"},
       2},
  };
  return of_gbm + CommonFailures(path, 6, {"fd1", "gbm1"}, 2, "EGL_PBUFFER_BIT", "eglCreatePbufferSurface",
                                 CreatePbuffer("EGL_NO_SURFACE"), "Failed to create pbuffer surface");
}

std::vector<Failure> WindowFailures() {
  const Path path = WindowPath();
  const std::vector<Failure> of_window = {
      {"XDisplay",
       path,
       Fail("XOpenDisplay"),
       1,
       {{"XOpenDisplay(null) -> null"}, {}},
       {"Failed to open X11 display"},
       {},
       0},
      {"Display",
       path,
       Fail("eglGetDisplay", 1, EGL_BAD_NATIVE_WINDOW),
       2,
       {{"eglGetDisplay(xdisplay1) -> EGL_NO_DISPLAY", "eglGetError() -> 0x300b"}, {}},
       {"Failed to get EGL display", "EGL error code: 0x300b"},
       {"xdisplay1", "window1"},
       2},
  };
  return of_window + CommonFailures(path, 3, {"xdisplay1", "window1"}, 2, "EGL_WINDOW_BIT", "eglCreateWindowSurface",
                                    "eglCreateWindowSurface(display1, config1, window1, null) -> EGL_NO_SURFACE",
                                    "Failed to create window surface");
}

class InitializeFailureOnFakesTest : public FakeRendererTest, public ::testing::WithParamInterface<Failure> {};

std::string NameOfFailure(const ::testing::TestParamInfo<Failure>& info) { return info.param.name; }

}  // namespace

TEST_P(InitializeFailureOnFakesTest, SaysItsLineAndKeepsWhatItHasForTheDestructor) {
  const Failure& failure = GetParam();
  failure.path.prepare();
  failure.fault();
  EXPECT_FALSE(Initialize(failure.path.window_mode));
  EXPECT_EQ(TakeCalls(), CallsOf(failure.path, failure.good_steps) + Joined(failure.last_step.calls));
  EXPECT_EQ(out_.Take(), LinesOf(failure.path, failure.good_steps) + RendererLines(failure.last_step.lines));
  EXPECT_EQ(err_.Take(), RendererLines(failure.error_lines));
  EXPECT_THAT(fake_graphics::Alive(), ElementsAreArray(failure.alive));

  Destroy();
  EXPECT_EQ(TakeCalls(), LastLines(failure.path.releases, failure.releases));
}

INSTANTIATE_TEST_SUITE_P(DefaultDisplay, InitializeFailureOnFakesTest, ::testing::ValuesIn(DefaultDisplayFailures()),
                         NameOfFailure);
INSTANTIATE_TEST_SUITE_P(Gbm, InitializeFailureOnFakesTest, ::testing::ValuesIn(GbmFailures()), NameOfFailure);
INSTANTIATE_TEST_SUITE_P(Window, InitializeFailureOnFakesTest, ::testing::ValuesIn(WindowFailures()), NameOfFailure);

// ---- The DRM nodes ----------------------------------------------------------------------------------------

namespace {

class DrmNodesOnFakesTest : public FakeRendererTest {
 protected:
  // The calls and lines about nodes while these nodes open.
  void InitializeWith(const std::set<std::string>& nodes) {
    fake_graphics::SetDefaultDisplay(false);
    fake_graphics::SetDrmNodes(nodes);
    ASSERT_TRUE(Initialize());
    for (const fake_graphics::Call& call : fake_graphics::Calls()) {
      if (call.function == "open") opened_.push_back(call.text);
    }
    std::istringstream lines(out_.Take());
    for (std::string line; std::getline(lines, line);) {
      if (line.find("DRM device") != std::string::npos) lines_.push_back(line);
    }
  }

  std::vector<std::string> opened_;
  std::vector<std::string> lines_;
};

}  // namespace

TEST_F(DrmNodesOnFakesTest, RenderNodeThatOpensKeepsTheCardsUntried) {
  InitializeWith({kRenderNode, "/dev/dri/card0", "/dev/dri/card1"});
  EXPECT_EQ(Joined(opened_), "open(\"/dev/dri/renderD128\", O_RDWR) -> fd1\n");
  EXPECT_EQ(Joined(lines_), RendererLines({"Trying DRM device: /dev/dri/renderD128",
                                           "Successfully opened DRM device: /dev/dri/renderD128"}));
}

TEST_F(DrmNodesOnFakesTest, FirstCardIsTriedSecond) {
  InitializeWith({"/dev/dri/card0", "/dev/dri/card1"});
  EXPECT_EQ(Joined(opened_), "open(\"/dev/dri/renderD128\", O_RDWR) -> -1\nopen(\"/dev/dri/card0\", O_RDWR) -> fd1\n");
  EXPECT_EQ(Joined(lines_),
            RendererLines({"Trying DRM device: /dev/dri/renderD128", "Trying DRM device: /dev/dri/card0",
                           "Successfully opened DRM device: /dev/dri/card0"}));
}

TEST_F(DrmNodesOnFakesTest, SecondCardIsTriedLast) {
  InitializeWith({"/dev/dri/card1"});
  EXPECT_EQ(Joined(opened_),
            "open(\"/dev/dri/renderD128\", O_RDWR) -> -1\n"
            "open(\"/dev/dri/card0\", O_RDWR) -> -1\n"
            "open(\"/dev/dri/card1\", O_RDWR) -> fd1\n");
  EXPECT_EQ(Joined(lines_),
            RendererLines({"Trying DRM device: /dev/dri/renderD128", "Trying DRM device: /dev/dri/card0",
                           "Trying DRM device: /dev/dri/card1", "Successfully opened DRM device: /dev/dri/card1"}));
}

TEST_F(DrmNodesOnFakesTest, EachNodeIsNamedBeforeItIsTried) {
  fake_graphics::SetDefaultDisplay(false);
  std::vector<std::string> lines_before;
  fake_graphics::SetHook("open", [&] { lines_before.push_back(out_.Take() + err_.Take()); });
  EXPECT_FALSE(Initialize());
  ASSERT_EQ(lines_before.size(), 3u);
  EXPECT_THAT(lines_before[0], EndsWith(RendererLines({"Trying DRM device: /dev/dri/renderD128"})));
  EXPECT_EQ(lines_before[1], RendererLines({"Trying DRM device: /dev/dri/card0"}));
  EXPECT_EQ(lines_before[2], RendererLines({"Trying DRM device: /dev/dri/card1"}));
  EXPECT_EQ(out_.Take(), "");
  EXPECT_EQ(err_.Take(), RendererLines({"Failed to open any DRM device"}));
}

TEST_F(DrmNodesOnFakesTest, FailingDeviceIsReportedBeforeItsNodeIsClosed) {
  fake_graphics::SetDefaultDisplay(false);
  fake_graphics::SetDrmNodes({kRenderNode});
  fake_graphics::FailCall("gbm_create_device");
  std::vector<std::string> errors_before;
  fake_graphics::SetHook("close", [&] { errors_before.push_back(err_.Take()); });
  EXPECT_FALSE(Initialize());
  EXPECT_THAT(errors_before, ElementsAre(RendererLines({"Failed to create GBM device"})));
  out_.Take();
}

TEST_F(DrmNodesOnFakesTest, DescriptorZeroIsOneLikeAnyOther) {
  const int standard_input = dup(STDIN_FILENO);
  ASSERT_GE(standard_input, 0);
  close(STDIN_FILENO);
  fake_graphics::SetDrmNodesOpenLowest(true);
  InitializeWith({kRenderNode});
  EXPECT_GE(fcntl(STDIN_FILENO, F_GETFD), 0) << "the node has another descriptor";
  EXPECT_EQ(Joined(opened_), "open(\"/dev/dri/renderD128\", O_RDWR) -> fd1\n");
  Destroy();
  EXPECT_THAT(TakeCalls(), EndsWith("gbm_device_destroy(gbm1)\nclose(0) -> 0\n"));
  EXPECT_EQ(dup2(standard_input, STDIN_FILENO), STDIN_FILENO);
  close(standard_input);
}

// ---- Driver strings ---------------------------------------------------------------------------------------

namespace {

class DriverStringOnFakesTest : public FakeRendererTest, public ::testing::WithParamInterface<size_t> {};

}  // namespace

TEST_P(DriverStringOnFakesTest, NullOneCutsItsOwnLineOnly) {
  constexpr std::array<unsigned, 4> kNames = {GL_VENDOR, GL_RENDERER, GL_VERSION, GL_SHADING_LANGUAGE_VERSION};
  const std::array<std::string, 4> titles = {"GL Vendor: ", "GL Renderer: ", "GL Version: ", "GLSL Version: "};
  fake_graphics::SetDriverString(kNames[GetParam()], std::nullopt);

  Path path = DefaultDisplayPath();
  path.steps[6].lines[1 + GetParam()] = titles[GetParam()];
  ASSERT_TRUE(Initialize());
  EXPECT_EQ(out_.Take(), LinesOf(path, path.steps.size()));
  EXPECT_EQ(err_.Take(), "");
}

INSTANTIATE_TEST_SUITE_P(Strings, DriverStringOnFakesTest, ::testing::Range<size_t>(0, 4));

// ---- The size ---------------------------------------------------------------------------------------------

namespace {

class SizeOnFakesTest : public FakeRendererTest {};

}  // namespace

TEST_F(SizeOnFakesTest, NegativeOneIsHandedOnAsItIs) {
  EXPECT_FALSE(renderer_->initialize(-7, 5, false));
  EXPECT_EQ(fake_graphics::Calls().back().text,
            "eglCreatePbufferSurface(display1, config1, {EGL_WIDTH, -7, EGL_HEIGHT, 5, EGL_NONE}) -> "
            "EGL_NO_SURFACE");
  EXPECT_EQ(err_.Take(), RendererLines({"Failed to create pbuffer surface"}));
  EXPECT_EQ(renderer_->width(), -7);
  EXPECT_EQ(renderer_->height(), 5);
  out_.Take();
}

TEST_F(SizeOnFakesTest, EmptyOneMakesAnIncompleteFramebuffer) {
  EXPECT_FALSE(renderer_->initialize(0, 5, false));
  EXPECT_EQ(err_.Take(), RendererLines({"Framebuffer incomplete: 0x8cd6"}));
  EXPECT_EQ(fake_graphics::Calls().back().function, "glCheckFramebufferStatus") << "the framebuffer stays bound";
  out_.Take();
}

// ---- The log ----------------------------------------------------------------------------------------------

namespace {

class LogOnFakesTest : public FakeRendererTest {};

}  // namespace

TEST_F(LogOnFakesTest, LinesAreOutBeforeTheNextCall) {
  std::string seen;
  fake_graphics::SetHook("eglGetDisplay", [&] {
    char text[256];
    // What has reached the file; the capture's own look would flush.
    const ssize_t count = pread(fileno(stdout), text, sizeof text, 0);
    seen.assign(text, static_cast<size_t>(count));
  });
  ASSERT_TRUE(Initialize());
  EXPECT_EQ(seen, RendererLines(kOffscreenStart.lines));
  out_.Take();
}

// ---- Context and release ----------------------------------------------------------------------------------

namespace {

class ContextOnFakesTest : public FakeRendererTest {};

}  // namespace

TEST_F(ContextOnFakesTest, ConstructionAndDestructionTouchNothing) {
  Destroy();
  EXPECT_EQ(TakeCalls(), "");
}

TEST_F(ContextOnFakesTest, ReleaseBeforeInitializePassesANullDisplayAndSaysNothing) {
  renderer_->releaseContext();
  EXPECT_EQ(TakeCalls(),
            "eglMakeCurrent(EGL_NO_DISPLAY, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT) -> EGL_FALSE\n");
}

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

  const std::string release = "eglMakeCurrent(display1, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT) -> EGL_TRUE\n";
  EXPECT_EQ(TakeCalls(), release + MakeCurrent("EGL_TRUE") + "\n" + release + MakeCurrent("EGL_TRUE") + "\n");
  EXPECT_EQ(out_.Take() + err_.Take(), "");
}

TEST_F(ContextOnFakesTest, FailureToMakeItCurrentIsSaid) {
  MakeReady();
  fake_graphics::FailCall("eglMakeCurrent");
  EXPECT_FALSE(renderer_->makeContextCurrent());
  EXPECT_EQ(TakeCalls(), MakeCurrent("EGL_FALSE") + "\n");
  EXPECT_EQ(out_.Take(), "");
  EXPECT_EQ(err_.Take(), RendererLines({"Failed to make context current"}));
}

TEST_F(ContextOnFakesTest, FailureToReleaseItIsNot) {
  MakeReady();
  fake_graphics::FailCall("eglMakeCurrent");
  renderer_->releaseContext();
  EXPECT_EQ(out_.Take() + err_.Take(), "");
}

TEST_F(ContextOnFakesTest, BeforeInitializeItCannotBeMadeCurrent) {
  EXPECT_FALSE(renderer_->makeContextCurrent());
  EXPECT_EQ(TakeCalls(),
            "eglMakeCurrent(EGL_NO_DISPLAY, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT) -> EGL_FALSE\n");
  EXPECT_EQ(err_.Take(), RendererLines({"Failed to make context current"}));
}

namespace {

const std::string kShaderReleases = "glDeleteProgram(6)\nglDeleteShader(4)\nglDeleteShader(5)\n";

}  // namespace

TEST_F(ContextOnFakesTest, CleanupReleasesEachHandleOnce) {
  MakeReady(true);
  renderer_->cleanup();
  EXPECT_EQ(TakeCalls(), kShaderReleases + Joined(WindowPath().releases));
  EXPECT_THAT(fake_graphics::Alive(), IsEmpty());
  renderer_->cleanup();
  Destroy();
  EXPECT_EQ(TakeCalls(), "");
}

TEST_F(ContextOnFakesTest, DestructorReleasesAllWithoutACurrentContextToo) {
  MakeReady();
  renderer_->releaseContext();
  TakeCalls();
  Destroy();
  EXPECT_EQ(TakeCalls(), kShaderReleases + Joined(DefaultDisplayPath().releases));
}

TEST_F(ContextOnFakesTest, CleanupClosesTheDrmNodeOnce) {
  const Path path = GbmPath();
  path.prepare();
  MakeReady();
  renderer_->cleanup();
  EXPECT_EQ(TakeCalls(), kShaderReleases + Joined(path.releases));
  renderer_->cleanup();
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
  EXPECT_EQ(TakeCalls(),
            kShaderReleases +
                Joined({"glDeleteFramebuffers(1, {1})", "glDeleteTextures(1, {2})", "glDeleteRenderbuffers(1, {3})",
                        "eglDestroyContext(display1, context1) -> EGL_FALSE",
                        "eglDestroySurface(display1, surface1) -> EGL_FALSE", "eglTerminate(display1) -> EGL_TRUE"}));
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
