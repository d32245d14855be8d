// The fake libraries themselves: that they are the ones in use, that they object to what they should, and
// what a test can ask of them.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GLES2/gl2.h>
#include <gbm.h>

#include "test/fakes/graphics/fake_graphics.h"

// Last: its macros eat names.
#include <X11/Xlib.h>

using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::IsEmpty;

namespace {

// What stands behind an address: the file that holds it.
std::string FileOf(const void* address) {
  Dl_info info = {};
  return dladdr(address, &info) != 0 ? info.dli_fname : "";
}

template <typename Function>
std::string FileOfFunction(Function function) {
  return FileOf(reinterpret_cast<const void*>(function));
}

// How many loaded files go by this name.
int LoadedAs(const char* name) {
  struct Search {
    const char* name;
    int count;
  } search = {name, 0};
  dl_iterate_phdr(
      [](dl_phdr_info* info, size_t, void* data) {
        auto& found = *static_cast<Search*>(data);
        found.count += std::string(info->dlpi_name).find(found.name) != std::string::npos;
        return 0;
      },
      &search);
  return search.count;
}

class FakeLibrariesTest : public ::testing::Test {
 protected:
  FakeLibrariesTest() { fake_graphics::Reset(); }
  ~FakeLibrariesTest() override { fake_graphics::Reset(); }

  // ---- A pbuffer and context on the default display, current here.
  void MakeContext() {
    display_ = eglGetDisplay(EGL_DEFAULT_DISPLAY);
    eglInitialize(display_, nullptr, nullptr);
    const EGLint attributes[] = {EGL_SURFACE_TYPE, EGL_PBUFFER_BIT, EGL_NONE};
    EGLint count = 0;
    eglChooseConfig(display_, attributes, &config_, 1, &count);
    const EGLint size[] = {EGL_WIDTH, 4, EGL_HEIGHT, 3, EGL_NONE};
    surface_ = eglCreatePbufferSurface(display_, config_, size);
    context_ = eglCreateContext(display_, config_, EGL_NO_CONTEXT, nullptr);
    eglMakeCurrent(display_, surface_, surface_, context_);
    ASSERT_THAT(fake_graphics::Complaints(), IsEmpty());
    fake_graphics::ClearCalls();
  }

  EGLBoolean Unbind() { return eglMakeCurrent(display_, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT); }

  static GLuint NewTexture() {
    GLuint name = 0;
    glGenTextures(1, &name);
    return name;
  }

  // A linked program, in use.
  static GLuint UseProgram() {
    const GLuint program = glCreateProgram();
    for (const GLenum type : {GLenum{GL_VERTEX_SHADER}, GLenum{GL_FRAGMENT_SHADER}}) {
      const GLuint shader = glCreateShader(type);
      const char* source =
          type == GL_VERTEX_SHADER ? "attribute vec2 corner; uniform mat4 turn;" : "uniform vec3 tint;";
      glShaderSource(shader, 1, &source, nullptr);
      glCompileShader(shader);
      glAttachShader(program, shader);
    }
    glLinkProgram(program);
    glUseProgram(program);
    return program;
  }

  EGLDisplay display_ = EGL_NO_DISPLAY;
  EGLConfig config_ = nullptr;
  EGLSurface surface_ = EGL_NO_SURFACE;
  EGLContext context_ = EGL_NO_CONTEXT;
};

}  // namespace

// ---- In the place of the real ones ------------------------------------------------------------------------

TEST_F(FakeLibrariesTest, AreWhatThisProgramUses) {
  EXPECT_THAT(FileOfFunction(eglInitialize), EndsWith("graphics/libEGL.so.1"));
  EXPECT_THAT(FileOfFunction(glClear), EndsWith("graphics/libGLESv2.so.2"));
  EXPECT_THAT(FileOfFunction(gbm_create_device), EndsWith("graphics/libgbm.so.1"));
  EXPECT_THAT(FileOfFunction(XOpenDisplay), EndsWith("graphics/libX11.so.6"));
}

TEST_F(FakeLibrariesTest, AreWhatTheBuiltPluginUses) {
  void* plugin = dlopen(ORBISK_PLUGIN_FILE, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(plugin, nullptr) << dlerror();
  // Found as the plug-in finds them: in what it has brought with it.
  EXPECT_THAT(FileOf(dlsym(plugin, "eglInitialize")), EndsWith("graphics/libEGL.so.1"));
  EXPECT_THAT(FileOf(dlsym(plugin, "glClear")), EndsWith("graphics/libGLESv2.so.2"));
  EXPECT_THAT(FileOf(dlsym(plugin, "gbm_create_device")), EndsWith("graphics/libgbm.so.1"));
  EXPECT_THAT(FileOf(dlsym(plugin, "XOpenDisplay")), EndsWith("graphics/libX11.so.6"));
  for (const char* name : {"/libEGL.so", "/libGLESv2.so", "/libgbm.so", "/libX11.so"}) {
    EXPECT_EQ(LoadedAs(name), 1) << name;
  }
  dlclose(plugin);
}

// ---- The record -------------------------------------------------------------------------------------------

TEST_F(FakeLibrariesTest, RecordCallsAndAppendedLinesInOneSequenceWithTheirThreads) {
  eglGetDisplay(EGL_DEFAULT_DISPLAY);
  std::thread::id other;
  std::thread([&other] {
    other = std::this_thread::get_id();
    fake_graphics::AppendLine("between");
    eglGetError();
  }).join();
  const std::vector<fake_graphics::Call> calls = fake_graphics::Calls();
  ASSERT_EQ(calls.size(), 3u);
  EXPECT_EQ(calls[0].function, "eglGetDisplay");
  EXPECT_EQ(calls[1].function, "");
  EXPECT_EQ(calls[2].number, 3u);
  EXPECT_EQ(calls[0].thread, std::this_thread::get_id());
  EXPECT_EQ(calls[1].thread, other);
  EXPECT_EQ(calls[2].thread, other);
  EXPECT_EQ(fake_graphics::Transcript(),
            "eglGetDisplay(EGL_DEFAULT_DISPLAY) -> display1\nbetween\neglGetError() -> 0x3000\n");
  fake_graphics::ClearCalls();
  eglGetError();
  EXPECT_EQ(fake_graphics::Calls().at(0).number, 4u);
}

TEST_F(FakeLibrariesTest, ResetForgetsEverything) {
  MakeContext();
  fake_graphics::FailCall("glClear");
  glBindTexture(GL_TEXTURE_2D, 9);
  fake_graphics::Reset();
  EXPECT_THAT(fake_graphics::Calls(), IsEmpty());
  EXPECT_THAT(fake_graphics::Complaints(), IsEmpty());
  EXPECT_THAT(fake_graphics::Alive(), IsEmpty());
  EXPECT_THAT(fake_graphics::PendingFaults(), IsEmpty());
  EXPECT_EQ(fake_graphics::CurrentContext(), "");
  eglDestroyContext(display_, context_);
  EXPECT_THAT(fake_graphics::Complaints(), ElementsAre("eglDestroyContext: unknown display"));
}

// ---- GL manners -------------------------------------------------------------------------------------------

TEST_F(FakeLibrariesTest, ObjectToGlWithoutAContext) {
  glFlush();
  EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
  EXPECT_EQ(glCreateProgram(), 0u);
  EXPECT_THAT(fake_graphics::Complaints(),
              ElementsAre("glFlush: no current context on this thread", "glGetError: no current context on this thread",
                          "glCreateProgram: no current context on this thread"));
}

TEST_F(FakeLibrariesTest, ObjectToGlOnAnotherThreadThanTheContexts) {
  MakeContext();
  std::thread([] { glFlush(); }).join();
  EXPECT_THAT(fake_graphics::Complaints(), ElementsAre("glFlush: no current context on this thread"));
}

TEST_F(FakeLibrariesTest, AllowWhatATestAllowsAndNoLonger) {
  {
    const fake_graphics::Allowance outer({"glFlush"});
    const fake_graphics::Allowance inner({"glFlush", "glFinish"});
    glFinish();
  }
  {
    const fake_graphics::Allowance allowance({"glFlush"});
    glFlush();
    glFinish();
  }
  glFlush();
  EXPECT_THAT(fake_graphics::Complaints(),
              ElementsAre("glFinish: no current context on this thread", "glFlush: no current context on this thread"));
}

TEST_F(FakeLibrariesTest, ObjectToUnknownForeignAndReleasedNames) {
  MakeContext();
  const GLuint texture = NewTexture();
  glBindTexture(GL_TEXTURE_2D, 77);
  glBindRenderbuffer(GL_RENDERBUFFER, texture);
  glDeleteTextures(1, &texture);
  glDeleteTextures(1, &texture);
  glBindTexture(GL_TEXTURE_2D, texture);
  EXPECT_THAT(
      fake_graphics::Complaints(),
      ElementsAre("glBindTexture: unknown texture 77", "glBindRenderbuffer: unknown renderbuffer 1",
                  "glDeleteTextures: texture 1 is released already", "glBindTexture: texture 1 is released already"));
  EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_INVALID_VALUE));
  EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR)) << "one flag for all of one kind";
}

TEST_F(FakeLibrariesTest, ObjectToNamesOfAnotherContext) {
  MakeContext();
  const GLuint texture = NewTexture();
  const EGLContext second = eglCreateContext(display_, config_, EGL_NO_CONTEXT, nullptr);
  eglMakeCurrent(display_, surface_, surface_, second);
  EXPECT_EQ(NewTexture(), texture + 1) << "no name comes twice";
  glDeleteTextures(1, &texture);
  EXPECT_THAT(fake_graphics::Complaints(), ElementsAre("glDeleteTextures: unknown texture 1"));
}

TEST_F(FakeLibrariesTest, ObjectToDrawsThatCannotDraw) {
  MakeContext();
  const GLuint indices[] = {0, 1, 2};
  glDrawElements(GL_TRIANGLES, 3, GL_UNSIGNED_INT, indices);
  GLuint framebuffer = 0;
  glGenFramebuffers(1, &framebuffer);
  glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
  glDrawElements(GL_TRIANGLES, 3, GL_UNSIGNED_INT, indices);
  glClear(GL_COLOR_BUFFER_BIT);
  EXPECT_THAT(fake_graphics::Complaints(),
              ElementsAre("glDrawElements: no program in use", "glDrawElements: incomplete framebuffer 1",
                          "glClear: incomplete framebuffer 1"));
  EXPECT_THAT(fake_graphics::Draws(), IsEmpty());
  EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_INVALID_OPERATION));
  EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_INVALID_FRAMEBUFFER_OPERATION));
}

TEST_F(FakeLibrariesTest, ObjectToUniformsOfAnotherType) {
  MakeContext();
  const GLuint program = UseProgram();
  glUniform3f(glGetUniformLocation(program, "turn"), 1, 2, 3);
  glUniform3f(99, 1, 2, 3);
  glUniform3f(-1, 1, 2, 3);
  EXPECT_THAT(fake_graphics::Complaints(),
              ElementsAre("glUniform3f: turn is of another type", "glUniform3f: no uniform at location 99"));
}

TEST_F(FakeLibrariesTest, ObjectToLinkingWhatDidNotCompile) {
  MakeContext();
  fake_graphics::FailCompile("reason", 2);
  UseProgram();
  EXPECT_THAT(fake_graphics::Complaints(),
              ElementsAre("glLinkProgram: program 1 lacks a compiled shader", "glUseProgram: program 1 is not linked"));
}

TEST_F(FakeLibrariesTest, ObjectToWhatMakesAGlErrorAndSetIt) {
  struct Misuse {
    std::function<void()> calls;
    const char* complaint;
    GLenum error;
  };
  GLint value = 0;
  const Misuse misuses[] = {
      {[] { glBindTexture(GL_RENDERBUFFER, 0); }, "glBindTexture: target", GL_INVALID_ENUM},
      {[] { glBindTexture(GL_TEXTURE_2D, 99); }, "glBindTexture: unknown texture 99", GL_INVALID_VALUE},
      {[] {
         glBindTexture(GL_TEXTURE_2D, 0);
         glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, 4, 3, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
       },
       "glTexImage2D: nothing is bound", GL_INVALID_OPERATION},
      {[] { glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR); }, "glTexParameteri: no texture is bound",
       GL_INVALID_OPERATION},
      {[] { glRenderbufferStorage(GL_RENDERBUFFER, GL_DEPTH_COMPONENT16, 4, 3); },
       "glRenderbufferStorage: nothing is bound", GL_INVALID_OPERATION},
      {[] { glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, 0, 0); },
       "glFramebufferTexture2D: no framebuffer is bound", GL_INVALID_OPERATION},
      {[&value] { glGetShaderiv(glCreateShader(GL_VERTEX_SHADER), GL_LINK_STATUS, &value); },
       "glGetShaderiv: parameter", GL_INVALID_ENUM},
      {[] {
         const GLuint program = glCreateProgram();
         for (int i = 0; i < 2; ++i) glAttachShader(program, glCreateShader(GL_VERTEX_SHADER));
       },
       "glAttachShader: program 2 has a shader of this type", GL_INVALID_OPERATION},
      {[] { glGetAttribLocation(glCreateProgram(), "corner"); }, "glGetAttribLocation: program 5 is not linked",
       GL_INVALID_OPERATION},
      {[] { glEnableVertexAttribArray(8); }, "glEnableVertexAttribArray: no attribute 8", GL_INVALID_VALUE},
      {[] { glVertexAttribPointer(0, 3, GL_SHORT, GL_FALSE, 0, nullptr); },
       "glVertexAttribPointer: the fake reads floats only", GL_NO_ERROR},
      {[] { glReadPixels(0, 0, -1, 1, GL_RGBA, GL_UNSIGNED_BYTE, nullptr); }, "glReadPixels: negative size",
       GL_INVALID_VALUE},
  };
  MakeContext();
  for (const Misuse& misuse : misuses) {
    const size_t before = fake_graphics::Complaints().size();
    misuse.calls();
    const std::vector<std::string> complaints = fake_graphics::Complaints();
    ASSERT_EQ(complaints.size(), before + 1) << misuse.complaint;
    EXPECT_EQ(complaints.back(), misuse.complaint);
    EXPECT_EQ(glGetError(), misuse.error) << misuse.complaint;
  }
}

TEST_F(FakeLibrariesTest, SetTheGlErrorOfANegativeSizeWithoutObjecting) {
  MakeContext();
  glBindTexture(GL_TEXTURE_2D, NewTexture());
  glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, -4, 3, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
  EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_INVALID_VALUE));
  EXPECT_THAT(fake_graphics::Complaints(), IsEmpty());
}

TEST_F(FakeLibrariesTest, JudgeAFramebufferByItsAttachments) {
  MakeContext();
  const auto status = [] { return glCheckFramebufferStatus(GL_FRAMEBUFFER); };
  EXPECT_EQ(status(), static_cast<GLenum>(GL_FRAMEBUFFER_COMPLETE));
  GLuint framebuffer = 0;
  glGenFramebuffers(1, &framebuffer);
  glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
  EXPECT_EQ(status(), static_cast<GLenum>(GL_FRAMEBUFFER_INCOMPLETE_MISSING_ATTACHMENT));

  const GLuint texture = NewTexture();
  glBindTexture(GL_TEXTURE_2D, texture);
  glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture, 0);
  EXPECT_EQ(status(), static_cast<GLenum>(GL_FRAMEBUFFER_INCOMPLETE_ATTACHMENT));
  glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, 4, 3, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
  EXPECT_EQ(status(), static_cast<GLenum>(GL_FRAMEBUFFER_COMPLETE));

  GLuint renderbuffer = 0;
  glGenRenderbuffers(1, &renderbuffer);
  glBindRenderbuffer(GL_RENDERBUFFER, renderbuffer);
  glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_ATTACHMENT, GL_RENDERBUFFER, renderbuffer);
  EXPECT_EQ(status(), static_cast<GLenum>(GL_FRAMEBUFFER_INCOMPLETE_ATTACHMENT));
  glRenderbufferStorage(GL_RENDERBUFFER, GL_DEPTH_COMPONENT16, 3, 4);
  EXPECT_EQ(status(), static_cast<GLenum>(GL_FRAMEBUFFER_INCOMPLETE_DIMENSIONS));
  glRenderbufferStorage(GL_RENDERBUFFER, GL_DEPTH_COMPONENT16, 4, 3);
  EXPECT_EQ(status(), static_cast<GLenum>(GL_FRAMEBUFFER_COMPLETE));

  fake_graphics::SetFramebufferStatus(GL_FRAMEBUFFER_UNSUPPORTED);
  EXPECT_EQ(status(), static_cast<GLenum>(GL_FRAMEBUFFER_UNSUPPORTED));
  EXPECT_THAT(fake_graphics::Complaints(), IsEmpty());
}

TEST_F(FakeLibrariesTest, ReadBackTheClearColourOrWhatATestSets) {
  MakeContext();
  glClearColor(1.0f, 0.5f, 0.0f, 0.2f);
  std::vector<uint8_t> pixels(8);
  const auto read = [&pixels](GLsizei width) {
    glReadPixels(0, 0, width, 1, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
    return pixels;
  };
  EXPECT_THAT(read(2), ElementsAre(0, 0, 0, 0, 0, 0, 0, 0)) << "not cleared yet";
  glClear(GL_DEPTH_BUFFER_BIT);
  EXPECT_THAT(read(2), ElementsAre(0, 0, 0, 0, 0, 0, 0, 0)) << "other buffers";
  glClear(GL_COLOR_BUFFER_BIT);
  EXPECT_THAT(read(2), ElementsAre(255, 128, 0, 51, 255, 128, 0, 51));
  fake_graphics::SetPixels({1, 2, 3, 4, 5, 6, 7, 8});
  EXPECT_THAT(read(2), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8));
  EXPECT_THAT(fake_graphics::Complaints(), IsEmpty());
  read(1);
  EXPECT_THAT(fake_graphics::Complaints(), ElementsAre("glReadPixels: the test has set 2 pixels"));
}

TEST_F(FakeLibrariesTest, ReadTheDataOfADrawAtThatMoment) {
  MakeContext();
  const GLuint program = UseProgram();
  std::vector<float> corners = {1, 2, 3, 4, 5, 6, 99, 99};
  const auto corner = static_cast<GLuint>(glGetAttribLocation(program, "corner"));
  glEnableVertexAttribArray(corner);
  glVertexAttribPointer(corner, 2, GL_FLOAT, GL_FALSE, 0, corners.data());
  glUniform3f(glGetUniformLocation(program, "tint"), 7, 8, 9);
  corners[0] = 0.5f;
  const GLuint indices[] = {2, 0, 1};
  glDrawElements(GL_LINES, 3, GL_UNSIGNED_INT, indices);
  corners[0] = 1.0f;
  glUniform3f(glGetUniformLocation(program, "tint"), 0, 0, 0);

  const fake_graphics::Draw draw = fake_graphics::Draws().at(0);
  EXPECT_THAT(draw.attributes.at("corner").values, ElementsAre(0.5f, 2, 3, 4, 5, 6)) << "three vertices";
  EXPECT_EQ(draw.attributes.at("corner").size, 2);
  EXPECT_THAT(draw.uniforms.at("tint"), ElementsAre(7, 8, 9));
  EXPECT_EQ(draw.uniforms.at("turn"), std::vector<float>(16));
  EXPECT_EQ(draw.mode, static_cast<unsigned>(GL_LINES));
  EXPECT_FALSE(draw.depth_test);
  EXPECT_FALSE(draw.blend);
}

// ---- EGL manners ------------------------------------------------------------------------------------------

TEST_F(FakeLibrariesTest, ObjectToAContextOnTwoThreads) {
  MakeContext();
  std::thread([this] {
    EXPECT_FALSE(eglMakeCurrent(display_, surface_, surface_, context_));
    EXPECT_EQ(eglGetError(), EGL_BAD_ACCESS);
    EXPECT_EQ(eglGetError(), EGL_SUCCESS);
    const EGLContext second = eglCreateContext(display_, config_, EGL_NO_CONTEXT, nullptr);
    EXPECT_FALSE(eglMakeCurrent(display_, surface_, surface_, second));
    EXPECT_EQ(fake_graphics::CurrentContext(), "");
  }).join();
  EXPECT_EQ(fake_graphics::CurrentContext(), "context1");
  EXPECT_THAT(fake_graphics::Complaints(), ElementsAre("eglMakeCurrent: context1 is current on another thread",
                                                       "eglMakeCurrent: surface1 is current on another thread"));
}

TEST_F(FakeLibrariesTest, SetAContextFreeWhenItsThreadEnds) {
  MakeContext();
  EXPECT_TRUE(Unbind());
  std::thread([this] { EXPECT_TRUE(eglMakeCurrent(display_, surface_, surface_, context_)); }).join();
  EXPECT_TRUE(eglMakeCurrent(display_, surface_, surface_, context_));
  EXPECT_THAT(fake_graphics::Complaints(), IsEmpty());
}

TEST_F(FakeLibrariesTest, LetADestroyedContextWorkWhereItIsCurrent) {
  MakeContext();
  eglDestroyContext(display_, context_);
  eglDestroySurface(display_, surface_);
  eglTerminate(display_);
  glFlush();
  EXPECT_EQ(fake_graphics::CurrentContext(), "context1");
  EXPECT_THAT(fake_graphics::Alive(), IsEmpty());
  EXPECT_TRUE(Unbind()) << "of a display that is not initialised";
  EXPECT_EQ(fake_graphics::CurrentContext(), "");
  EXPECT_THAT(fake_graphics::Complaints(), IsEmpty());
  EXPECT_FALSE(eglMakeCurrent(display_, surface_, surface_, context_));
  EXPECT_THAT(fake_graphics::Complaints(), ElementsAre("eglMakeCurrent: display1 is not initialised"));
}

TEST_F(FakeLibrariesTest, ObjectToHandlesAfterTheirRelease) {
  MakeContext();
  for (int time = 0; time < 2; ++time) {
    eglDestroyContext(display_, context_);
    eglDestroySurface(display_, surface_);
  }
  eglMakeCurrent(display_, surface_, surface_, context_);
  EXPECT_THAT(
      fake_graphics::Complaints(),
      ElementsAre("eglDestroyContext: context1 is released already", "eglDestroySurface: surface1 is released already",
                  "eglMakeCurrent: context1 is released already", "eglMakeCurrent: surface1 is released already"));
}

TEST_F(FakeLibrariesTest, ObjectToHandlesOfAnotherDisplay) {
  MakeContext();
  Display* x_display = XOpenDisplay(nullptr);
  const EGLDisplay other = eglGetDisplay(reinterpret_cast<EGLNativeDisplayType>(x_display));
  eglInitialize(other, nullptr, nullptr);
  eglDestroySurface(other, surface_);
  EXPECT_EQ(eglGetError(), EGL_BAD_SURFACE);
  EXPECT_EQ(eglCreateContext(other, config_, EGL_NO_CONTEXT, nullptr), EGL_NO_CONTEXT);
  EXPECT_EQ(eglGetError(), EGL_BAD_CONFIG);

  const Window window =
      XCreateWindow(x_display, DefaultRootWindow(x_display), 0, 0, 4, 3, 0, 0, InputOutput, nullptr, 0, nullptr);
  XMapWindow(XOpenDisplay(nullptr), window);
  EXPECT_THAT(fake_graphics::Complaints(), ElementsAre("eglDestroySurface: surface1 is another display's",
                                                       "eglCreateContext: config1 is another display's",
                                                       "XMapWindow: window1 is another display's"));
}

TEST_F(FakeLibrariesTest, SetTheEglErrorOfUnknownHandles) {
  MakeContext();
  int nothing = 0;
  EXPECT_FALSE(eglInitialize(&nothing, nullptr, nullptr));
  EXPECT_EQ(eglGetError(), EGL_BAD_DISPLAY);
  EXPECT_FALSE(eglDestroyContext(display_, &nothing));
  EXPECT_EQ(eglGetError(), EGL_BAD_CONTEXT);
  EXPECT_EQ(eglCreateWindowSurface(display_, config_, 5, nullptr), EGL_NO_SURFACE);
  EXPECT_EQ(eglGetError(), EGL_BAD_NATIVE_WINDOW);
  const EGLint size[] = {EGL_WIDTH, 4, EGL_HEIGHT, 3, EGL_NONE};
  const EGLSurface second = eglCreatePbufferSurface(display_, config_, size);
  EXPECT_FALSE(eglMakeCurrent(display_, surface_, second, context_));
  EXPECT_EQ(eglGetError(), EGL_BAD_MATCH);
  EXPECT_THAT(fake_graphics::Complaints(),
              ElementsAre("eglInitialize: unknown display", "eglDestroyContext: unknown context",
                          "eglCreateWindowSurface: unknown window", "eglMakeCurrent: two surfaces"));
}

// A renderer that is half set up does these.
TEST_F(FakeLibrariesTest, SetTheEglErrorOfHalfMadeRenderersWithoutObjecting) {
  EXPECT_FALSE(eglMakeCurrent(EGL_NO_DISPLAY, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT));
  EXPECT_EQ(eglGetError(), EGL_BAD_DISPLAY);
  MakeContext();
  EXPECT_FALSE(eglMakeCurrent(display_, surface_, surface_, EGL_NO_CONTEXT));
  EXPECT_EQ(eglGetError(), EGL_BAD_MATCH);
  EXPECT_EQ(fake_graphics::CurrentContext(), "context1");
  const EGLint size[] = {EGL_WIDTH, 4, EGL_HEIGHT, -3, EGL_NONE};
  EXPECT_EQ(eglCreatePbufferSurface(display_, config_, size), EGL_NO_SURFACE);
  EXPECT_EQ(eglGetError(), EGL_BAD_PARAMETER);
  EXPECT_THAT(fake_graphics::Complaints(), IsEmpty());
}

TEST_F(FakeLibrariesTest, ObjectToTerminatingBeforeDestroying) {
  MakeContext();
  eglTerminate(display_);
  EXPECT_THAT(fake_graphics::Complaints(),
              ElementsAre("eglTerminate: surface1 is not destroyed", "eglTerminate: context1 is not destroyed"));
  eglDestroySurface(display_, surface_);
  EXPECT_EQ(fake_graphics::Complaints().back(), "eglDestroySurface: display1 is not initialised");
}

TEST_F(FakeLibrariesTest, ObjectToSurfacesThatTheConfigIsNotFor) {
  MakeContext();
  Display* x_display = XOpenDisplay(nullptr);
  const Window window =
      XCreateWindow(x_display, DefaultRootWindow(x_display), 0, 0, 4, 3, 0, 0, InputOutput, nullptr, 0, nullptr);
  EXPECT_EQ(eglCreateWindowSurface(display_, config_, window, nullptr), EGL_NO_SURFACE);
  EXPECT_EQ(eglGetError(), EGL_BAD_MATCH);
  EXPECT_THAT(fake_graphics::Complaints(), ElementsAre("eglCreateWindowSurface: config1 is not for such surfaces"));
}

TEST_F(FakeLibrariesTest, ObjectToSwappingASurfaceThatIsNotCurrent) {
  MakeContext();
  EXPECT_TRUE(eglSwapBuffers(display_, surface_));
  Unbind();
  EXPECT_FALSE(eglSwapBuffers(display_, surface_));
  EXPECT_THAT(fake_graphics::Complaints(), ElementsAre("eglSwapBuffers: surface1 is not current on this thread"));
}

// ---- X, GBM and descriptors -------------------------------------------------------------------------------

TEST_F(FakeLibrariesTest, ObjectToXCallsOnAClosedDisplay) {
  Display* x_display = XOpenDisplay(nullptr);
  const Window root = DefaultRootWindow(x_display);
  const Window window = XCreateWindow(x_display, root, 0, 0, 4, 3, 0, 0, InputOutput, nullptr, 0, nullptr);
  XDestroyWindow(x_display, window);
  XMapWindow(x_display, window);
  XCloseDisplay(x_display);
  XFlush(x_display);
  XCloseDisplay(x_display);
  EXPECT_THAT(fake_graphics::Complaints(),
              ElementsAre("XMapWindow: window1 is released already", "XFlush: xdisplay1 is released already",
                          "XCloseDisplay: xdisplay1 is released already"));
}

TEST_F(FakeLibrariesTest, ObjectToReleasingInTheWrongOrder) {
  Display* x_display = XOpenDisplay(nullptr);
  const Window root = DefaultRootWindow(x_display);
  const Window window = XCreateWindow(x_display, root, 0, 0, 4, 3, 0, 0, InputOutput, nullptr, 0, nullptr);
  display_ = eglGetDisplay(reinterpret_cast<EGLNativeDisplayType>(x_display));
  eglInitialize(display_, nullptr, nullptr);
  EGLint count = 0;
  eglChooseConfig(display_, nullptr, &config_, 1, &count);
  surface_ = eglCreateWindowSurface(display_, config_, window, nullptr);
  XDestroyWindow(x_display, window);
  XCreateWindow(x_display, root, 0, 0, 4, 3, 0, 0, InputOutput, nullptr, 0, nullptr);
  XCloseDisplay(x_display);
  EXPECT_THAT(fake_graphics::Complaints(),
              ElementsAre("XDestroyWindow: surface1 is still on it", "XCloseDisplay: display1 is not terminated",
                          "XCloseDisplay: window2 is still there"));
}

TEST_F(FakeLibrariesTest, ObjectToReleasingAGbmDeviceUnderItsDisplay) {
  fake_graphics::SetDrmNodes({"/dev/dri/card0"});
  const int descriptor = open("/dev/dri/card0", O_RDWR);
  gbm_device* device = gbm_create_device(descriptor);
  display_ = eglGetDisplay(reinterpret_cast<EGLNativeDisplayType>(device));
  eglInitialize(display_, nullptr, nullptr);
  close(descriptor);
  gbm_device_destroy(device);
  gbm_device_destroy(device);
  EXPECT_THAT(fake_graphics::Complaints(),
              ElementsAre("close: gbm1 is still on it", "gbm_device_destroy: display1 is not terminated",
                          "gbm_device_destroy: gbm1 is released already"));
}

TEST_F(FakeLibrariesTest, ObjectToClosingADescriptorTwice) {
  fake_graphics::SetDrmNodes({"/dev/dri/card0"});
  const int first = open("/dev/dri/card0", O_RDWR);
  struct stat status = {};
  EXPECT_EQ(fstat(first, &status), 0) << "a real one";
  EXPECT_EQ(close(first), 0);
  EXPECT_NE(fstat(first, &status), 0);
  const int second = open("/dev/dri/card0", O_RDWR);
  EXPECT_NE(second, first);
  EXPECT_THAT(fake_graphics::Complaints(), IsEmpty());
  EXPECT_EQ(close(first), -1);
  EXPECT_EQ(errno, EBADF);
  EXPECT_THAT(fake_graphics::Complaints(), ElementsAre("close: fd1 is released already"));
  EXPECT_THAT(fake_graphics::Alive(), ElementsAre("fd2"));
}

TEST_F(FakeLibrariesTest, HandOtherFilesOn) {
  const std::string path = ::testing::TempDir() + "orbisk_open_" + std::to_string(getpid());
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0640);
  ASSERT_GE(file, 0);
  struct stat status = {};
  EXPECT_EQ(fstat(file, &status), 0);
  EXPECT_EQ(status.st_mode & 0777u, 0640u);
  EXPECT_EQ(close(file), 0);
  EXPECT_EQ(close(file), -1);
  EXPECT_EQ(open64(path.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0640), -1);
  EXPECT_EQ(errno, EEXIST);
  EXPECT_EQ(unlink(path.c_str()), 0);
  EXPECT_THAT(fake_graphics::Calls(), IsEmpty());
}

// ---- Faults and hooks -------------------------------------------------------------------------------------

TEST_F(FakeLibrariesTest, FailTheCallThatATestNames) {
  MakeContext();
  fake_graphics::FailCall("glCreateShader", 2);
  fake_graphics::FailCall("glCreateShader", 3, GL_OUT_OF_MEMORY);
  EXPECT_THAT(fake_graphics::PendingFaults(), ElementsAre("glCreateShader", "glCreateShader"));
  EXPECT_NE(glCreateShader(GL_VERTEX_SHADER), 0u);
  EXPECT_EQ(glCreateShader(GL_VERTEX_SHADER), 0u);
  EXPECT_EQ(glCreateShader(GL_VERTEX_SHADER), 0u);
  EXPECT_NE(glCreateShader(GL_VERTEX_SHADER), 0u);
  EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_INVALID_ENUM));
  EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_OUT_OF_MEMORY));
  EXPECT_THAT(fake_graphics::PendingFaults(), IsEmpty());
  EXPECT_THAT(fake_graphics::Complaints(), IsEmpty());
}

TEST_F(FakeLibrariesTest, FailWithErrnoWhereTheFunctionDoes) {
  fake_graphics::SetDrmNodes({"/dev/dri/card0"});
  fake_graphics::FailCall("open", 1, EBUSY);
  EXPECT_EQ(open("/dev/dri/card0", O_RDWR | O_CLOEXEC), -1);
  EXPECT_EQ(errno, EBUSY);
  EXPECT_EQ(open("/dev/dri/card1", O_RDONLY), -1);
  EXPECT_EQ(errno, ENOENT);
  EXPECT_EQ(fake_graphics::Transcript(),
            "open(\"/dev/dri/card0\", O_RDWR|O_CLOEXEC) -> -1\nopen(\"/dev/dri/card1\", O_RDONLY) -> -1\n");
}

TEST_F(FakeLibrariesTest, RefuseFunctionsThatTheyDoNotHave) {
  EXPECT_THROW(fake_graphics::FailCall("glClaer"), std::logic_error);
  EXPECT_THROW(fake_graphics::SetHook("", [] {}), std::logic_error);
  EXPECT_THROW(fake_graphics::Allowance({"XSync"}), std::logic_error);
}

TEST_F(FakeLibrariesTest, CallAHookBeforeTheCallHasItsEffect) {
  MakeContext();
  int calls = 0;
  fake_graphics::SetHook("glFinish", [&calls] {
    ++calls;
    EXPECT_EQ(fake_graphics::Transcript(), "");
    glFlush();
  });
  glFinish();
  EXPECT_EQ(fake_graphics::Transcript(), "glFlush()\nglFinish()\n");
  fake_graphics::SetHook("glFinish", nullptr);
  glFinish();
  EXPECT_EQ(calls, 1);
}

TEST_F(FakeLibrariesTest, LetACallWaitWhileOthersGoOn) {
  MakeContext();
  std::atomic<bool> inside{false};
  std::atomic<bool> go{false};
  fake_graphics::SetHook("glFinish", [&] {
    inside = true;
    while (!go) std::this_thread::yield();
  });
  Unbind();
  std::thread slow([this] {
    eglMakeCurrent(display_, surface_, surface_, context_);
    glFinish();
  });
  while (!inside) std::this_thread::yield();
  fake_graphics::ClearCalls();
  eglGetError();
  go = true;
  slow.join();
  EXPECT_EQ(fake_graphics::Transcript(), "eglGetError() -> 0x3000\nglFinish()\n");
}
