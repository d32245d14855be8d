// Setting the renderer up offscreen, its context on several threads, and releasing it, on a real driver.

#include <thread>

#include "test/renderer/gl_fixture.h"

namespace {

class OffscreenTest : public GlTest {
 protected:
  // Initialises; the lines that come with it.
  Said Initialize(int width, int height, bool expected_result = true) {
    bool result = !expected_result;
    Said said = WhatIsSaid([&] { result = renderer_.initialize(width, height, false); });
    EXPECT_EQ(result, expected_result) << said.err;
    return said;
  }
};

std::string GlString(GLenum name) { return reinterpret_cast<const char*>(glGetString(name)); }

std::string SizeText(int width, int height) { return std::to_string(width) + "x" + std::to_string(height); }

// "1.5" of the "1.5 and more" that EGL answers.
std::string EglVersion() {
  const std::string version = eglQueryString(eglGetDisplay(EGL_DEFAULT_DISPLAY), EGL_VERSION);
  return version.substr(0, version.find(' '));
}

EGLint CurrentSurface(EGLint attribute) {
  EGLint value = -1;
  eglQuerySurface(eglGetCurrentDisplay(), eglGetCurrentSurface(EGL_DRAW), attribute, &value);
  return value;
}

EGLint CurrentContext(EGLint attribute) {
  EGLint value = -1;
  eglQueryContext(eglGetCurrentDisplay(), eglGetCurrentContext(), attribute, &value);
  return value;
}

// What an attachment of the framebuffer now bound is: its GL name or its type.
GLint Attachment(GLenum attachment, GLenum property) {
  GLint value = -1;
  glGetFramebufferAttachmentParameteriv(GL_FRAMEBUFFER, attachment, property, &value);
  return value;
}

// ---- Initialising -----------------------------------------------------------------------------------------

TEST_F(OffscreenTest, InitializeLogsEachStepAndWhatTheDriverCallsItself) {
  const struct { int width, height; } sizes[] = {{64, 48}, {48, 64}, {5, 3}, {1, 7}};
  for (const auto& size : sizes) {
    const Said said = Initialize(size.width, size.height);
    EXPECT_EQ(glGetError(), GLenum{GL_NO_ERROR});

    renderer_.beginFrame();  // binds the framebuffer object
    const GLint color = Attachment(GL_COLOR_ATTACHMENT0, GL_FRAMEBUFFER_ATTACHMENT_OBJECT_NAME);
    const GLint depth = Attachment(GL_DEPTH_ATTACHMENT, GL_FRAMEBUFFER_ATTACHMENT_OBJECT_NAME);
    EXPECT_EQ(
        said.out,
        RendererLines({"Initializing " + SizeText(size.width, size.height) + " (offscreen mode)",
                       "Trying EGL_DEFAULT_DISPLAY for offscreen rendering (X11 system)...",
                       "EGL version: " + EglVersion(), "EGL config chosen, numConfigs: 1", "Pbuffer surface created",
                       "EGL context created", "Context made current (temporarily for setup)",
                       "GL Vendor: " + GlString(GL_VENDOR), "GL Renderer: " + GlString(GL_RENDERER),
                       "GL Version: " + GlString(GL_VERSION), "GLSL Version: " + GlString(GL_SHADING_LANGUAGE_VERSION),
                       "Created FBO: " + std::to_string(GlInteger(GL_FRAMEBUFFER_BINDING)) +
                           ", Texture: " + std::to_string(color) + ", Depth: " + std::to_string(depth),
                       "Framebuffer complete"}));
    EXPECT_EQ(said.err, "");
    renderer_.cleanup();
  }
}

TEST_F(OffscreenTest, InitializeLeavesItsContextCurrentWithAPbufferOfTheSize) {
  Initialize(64, 48);
  ASSERT_NE(eglGetCurrentContext(), EGL_NO_CONTEXT);
  EXPECT_EQ(eglGetCurrentSurface(EGL_READ), eglGetCurrentSurface(EGL_DRAW));
  EXPECT_EQ(CurrentSurface(EGL_WIDTH), 64);
  EXPECT_EQ(CurrentSurface(EGL_HEIGHT), 48);
  EXPECT_EQ(CurrentContext(EGL_CONTEXT_CLIENT_VERSION), 2);
  EXPECT_EQ(CurrentContext(EGL_CONTEXT_CLIENT_TYPE), EGL_OPENGL_ES_API);
  EXPECT_EQ(renderer_.width(), 64);
  EXPECT_EQ(renderer_.height(), 48);
}

TEST_F(OffscreenTest, TheConfigHasEightBitsPerChannelAndADeepDepthBuffer) {
  Initialize(5, 3);
  const EGLDisplay display = eglGetCurrentDisplay();
  const EGLint id[] = {EGL_CONFIG_ID, CurrentContext(EGL_CONFIG_ID), EGL_NONE};
  EGLConfig config = nullptr;
  EGLint count = 0;
  ASSERT_TRUE(eglChooseConfig(display, id, &config, 1, &count));
  ASSERT_EQ(count, 1);
  const auto attribute = [&](EGLint name) {
    EGLint value = -1;
    eglGetConfigAttrib(display, config, name, &value);
    return value;
  };
  EXPECT_EQ(attribute(EGL_RED_SIZE), 8);
  EXPECT_EQ(attribute(EGL_GREEN_SIZE), 8);
  EXPECT_EQ(attribute(EGL_BLUE_SIZE), 8);
  EXPECT_EQ(attribute(EGL_ALPHA_SIZE), 8);
  EXPECT_GE(attribute(EGL_DEPTH_SIZE), 24);
  EXPECT_TRUE(attribute(EGL_SURFACE_TYPE) & EGL_PBUFFER_BIT);
  EXPECT_TRUE(attribute(EGL_RENDERABLE_TYPE) & EGL_OPENGL_ES2_BIT);
}

TEST_F(OffscreenTest, FramesAreDrawnIntoARgbaTextureWithSixteenBitsOfDepth) {
  Initialize(5, 3);
  renderer_.beginFrame();
  EXPECT_NE(GlInteger(GL_FRAMEBUFFER_BINDING), 0);
  EXPECT_EQ(Attachment(GL_COLOR_ATTACHMENT0, GL_FRAMEBUFFER_ATTACHMENT_OBJECT_TYPE), GL_TEXTURE);
  EXPECT_EQ(Attachment(GL_DEPTH_ATTACHMENT, GL_FRAMEBUFFER_ATTACHMENT_OBJECT_TYPE), GL_RENDERBUFFER);
  EXPECT_EQ(GlInteger(GL_RED_BITS), 8);
  EXPECT_EQ(GlInteger(GL_GREEN_BITS), 8);
  EXPECT_EQ(GlInteger(GL_BLUE_BITS), 8);
  EXPECT_EQ(GlInteger(GL_ALPHA_BITS), 8);
  EXPECT_EQ(GlInteger(GL_DEPTH_BITS), 16);
  EXPECT_EQ(GlInteger(GL_STENCIL_BITS), 0);

  const auto texture = static_cast<GLuint>(Attachment(GL_COLOR_ATTACHMENT0, GL_FRAMEBUFFER_ATTACHMENT_OBJECT_NAME));
  glBindTexture(GL_TEXTURE_2D, texture);
  const auto parameter = [](GLenum name) {
    GLint value = -1;
    glGetTexParameteriv(GL_TEXTURE_2D, name, &value);
    return value;
  };
  EXPECT_EQ(parameter(GL_TEXTURE_MIN_FILTER), GL_LINEAR);
  EXPECT_EQ(parameter(GL_TEXTURE_MAG_FILTER), GL_LINEAR);
  EXPECT_EQ(parameter(GL_TEXTURE_WRAP_S), GL_REPEAT);
  EXPECT_EQ(parameter(GL_TEXTURE_WRAP_T), GL_REPEAT);

  glBindRenderbuffer(GL_RENDERBUFFER,
                     static_cast<GLuint>(Attachment(GL_DEPTH_ATTACHMENT, GL_FRAMEBUFFER_ATTACHMENT_OBJECT_NAME)));
  GLint width = 0;
  GLint height = 0;
  glGetRenderbufferParameteriv(GL_RENDERBUFFER, GL_RENDERBUFFER_WIDTH, &width);
  glGetRenderbufferParameteriv(GL_RENDERBUFFER, GL_RENDERBUFFER_HEIGHT, &height);
  EXPECT_EQ(width, 5);
  EXPECT_EQ(height, 3);
  EXPECT_EQ(glGetError(), GLenum{GL_NO_ERROR});
}

TEST_F(OffscreenTest, InitializeLeavesNoGlObjectBound) {
  Initialize(5, 3);
  EXPECT_EQ(GlInteger(GL_FRAMEBUFFER_BINDING), 0);
  EXPECT_EQ(GlInteger(GL_TEXTURE_BINDING_2D), 0);
  EXPECT_EQ(GlInteger(GL_RENDERBUFFER_BINDING), 0);
}

// ---- Failures ---------------------------------------------------------------------------------------------

TEST_F(OffscreenTest, NegativeSizesFailAtThePbuffer) {
  const struct { int width, height; } sizes[] = {{-1, 3}, {5, -1}, {-5, -3}, {-2147483647 - 1, 1}};
  for (const auto& size : sizes) {
    const Said said = Initialize(size.width, size.height, false);
    EXPECT_EQ(said.out, RendererLines({"Initializing " + SizeText(size.width, size.height) + " (offscreen mode)",
                                       "Trying EGL_DEFAULT_DISPLAY for offscreen rendering (X11 system)...",
                                       "EGL version: " + EglVersion(), "EGL config chosen, numConfigs: 1"}));
    EXPECT_EQ(said.err, RendererLines({"Failed to create pbuffer surface"}));
    EXPECT_EQ(eglGetCurrentContext(), EGL_NO_CONTEXT);
    renderer_.cleanup();
  }
}

TEST_F(OffscreenTest, SizesThatNoTextureHasLeaveTheFramebufferIncomplete) {
  const struct { int width, height; } sizes[] = {{0, 0}, {0, 3}, {5, 0}, {1000000, 3}, {5, 1000000}};
  for (const auto& size : sizes) {
    SCOPED_TRACE(SizeText(size.width, size.height));
    const Said said = Initialize(size.width, size.height, false);
    EXPECT_THAT(said.out, ::testing::EndsWith(", Depth: 1\n"));
    EXPECT_EQ(said.err, RendererLines({"Framebuffer incomplete: 0x8cd6"}));
    EXPECT_NE(GlInteger(GL_FRAMEBUFFER_BINDING), 0) << "the framebuffer stays bound";
    renderer_.cleanup();
  }
}

// GL keeps the first error until somebody asks; then the next one counts. So the first line below is about
// setMVP without a program, the second about disabling the attribute "-1".
const std::string kErrorsWithoutAProgram = RendererLines({"GL error: 0x502", "readPixels: glReadPixels error: 0x501"});

TEST_F(OffscreenTest, DrawingBeforeShadersAreLoadedReportsGlErrorsAndLeavesTheFrameClear) {
  Initialize(5, 3);
  Frame frame(5, 3, 0xAB);
  EXPECT_EQ(Draw({WholeFrame(kOrange)}, frame).err, kErrorsWithoutAProgram);
  EXPECT_EQ(frame.bytes, Frame(5, 3).bytes);
}

TEST_F(OffscreenTest, DrawingAfterAFailedFramebufferReportsGlErrorsAndReadsZeros) {
  Initialize(1000000, 3, false);
  while (glGetError() != GL_NO_ERROR) {
  }
  Frame frame(5, 3, 0xAB);
  // The clear fails first: there is nothing to clear.
  EXPECT_EQ(Draw({WholeFrame(kOrange)}, frame).err,
            RendererLines({"GL error: 0x506", "readPixels: glReadPixels error: 0x501"}));
  EXPECT_EQ(frame.bytes, Frame(5, 3).bytes);
}

TEST_F(OffscreenTest, DrawingWithoutAContextDoesNothingAndReadsZeros) {
  Initialize(-5, 3, false);
  Frame frame(5, 3, 0xAB);
  EXPECT_EQ(Draw({WholeFrame(kOrange)}, frame).err, "");
  EXPECT_EQ(frame.bytes, Frame(5, 3).bytes);
  EXPECT_FALSE(renderer_.swapBuffers());
}

TEST_F(OffscreenTest, LoadingShadersWithoutAContextFails) {
  Initialize(-5, 3, false);
  bool loaded = true;
  const Said said = WhatIsSaid([&] { loaded = renderer_.loadShaders(kVertexShader, kFragmentShader); });
  EXPECT_FALSE(loaded);
  EXPECT_EQ(said.out, RendererLines({"Loading shaders..."}));
  EXPECT_EQ(said.err, RendererLines({"Failed to compile vertex shader"}));
}

// ---- The context, thread by thread ------------------------------------------------------------------------

TEST_F(OffscreenTest, ReleaseContextLeavesTheThreadWithoutOne) {
  Start(5, 3);
  const Said said = WhatIsSaid([&] { renderer_.releaseContext(); });
  EXPECT_EQ(eglGetCurrentContext(), EGL_NO_CONTEXT);
  EXPECT_EQ(eglGetCurrentSurface(EGL_DRAW), EGL_NO_SURFACE);
  EXPECT_EQ(said.out + said.err, "");
}

TEST_F(OffscreenTest, AReleasedContextDrawsOnAnotherThread) {
  Start(5, 3);
  renderer_.releaseContext();
  Frame frame(5, 3);
  bool current = false;
  Said said;
  std::thread([&] {
    said = WhatIsSaid([&] { current = renderer_.makeContextCurrent(); });
    frame = Render({WholeFrame(kOrange)});
    renderer_.releaseContext();
  }).join();
  EXPECT_TRUE(current);
  EXPECT_EQ(said.out + said.err, "");
  EXPECT_THAT(frame.At(0, 0), IsNear(Opaque(kOrange, kFacingTheLight)));
  EXPECT_THAT(frame.At(4, 2), IsNear(Opaque(kOrange, kFacingTheLight)));

  // And back here.
  ASSERT_TRUE(renderer_.makeContextCurrent());
  EXPECT_THAT(Render({WholeFrame(kTeal)}).At(4, 2), IsNear(Opaque(kTeal, kFacingTheLight)));
}

TEST_F(OffscreenTest, MakeContextCurrentFailsWhileAnotherThreadHasIt) {
  Start(5, 3);
  bool current = true;
  Said said;
  std::thread([&] { said = WhatIsSaid([&] { current = renderer_.makeContextCurrent(); }); }).join();
  EXPECT_FALSE(current);
  EXPECT_EQ(said.out, "");
  EXPECT_EQ(said.err, RendererLines({"Failed to make context current"}));
  EXPECT_THAT(Render({WholeFrame(kOrange)}).At(0, 0), IsNear(Opaque(kOrange, kFacingTheLight)))
      << "the thread that has it keeps it";
}

// ---- Releasing --------------------------------------------------------------------------------------------

TEST_F(OffscreenTest, CleanupDeletesTheGlObjectsAndKeepsTheSize) {
  Start(5, 3);
  renderer_.beginFrame();
  const GLuint framebuffer = GlName(GL_FRAMEBUFFER_BINDING);
  const auto texture = static_cast<GLuint>(Attachment(GL_COLOR_ATTACHMENT0, GL_FRAMEBUFFER_ATTACHMENT_OBJECT_NAME));
  const auto depth = static_cast<GLuint>(Attachment(GL_DEPTH_ATTACHMENT, GL_FRAMEBUFFER_ATTACHMENT_OBJECT_NAME));
  const GLuint program = GlName(GL_CURRENT_PROGRAM);
  GLuint shaders[2] = {};
  glGetAttachedShaders(program, 2, nullptr, shaders);
  glUseProgram(0);  // a program in use is deleted later
  ASSERT_TRUE(glIsShader(shaders[0]) && glIsShader(shaders[1]));

  // The context dies once it is no longer current, so it can still be asked.
  const Said said = WhatIsSaid([&] { renderer_.cleanup(); });
  ASSERT_NE(eglGetCurrentContext(), EGL_NO_CONTEXT) << "cleanup does not unbind it";
  EXPECT_FALSE(glIsFramebuffer(framebuffer));
  EXPECT_FALSE(glIsTexture(texture));
  EXPECT_FALSE(glIsRenderbuffer(depth));
  EXPECT_FALSE(glIsProgram(program));
  EXPECT_FALSE(glIsShader(shaders[0]));
  EXPECT_FALSE(glIsShader(shaders[1]));
  EXPECT_EQ(said.out + said.err, "");
  EXPECT_EQ(renderer_.width(), 5);
  EXPECT_EQ(renderer_.height(), 3);
}

TEST_F(OffscreenTest, ARendererCanBeInitializedAgainAfterCleanupAtAnotherSize) {
  Start(5, 3);
  Render({WholeFrame(kOrange)});
  renderer_.cleanup();
  Start(3, 7);
  EXPECT_EQ(CurrentSurface(EGL_WIDTH), 3);
  const Frame frame = Render({Rectangle({0, 6, 3, 7}, kTeal)});
  EXPECT_EQ(frame.At(2, 5), kUncovered);
  EXPECT_THAT(frame.At(2, 6), IsNear(Opaque(kTeal, kFacingTheLight)));
}

TEST_F(OffscreenTest, CleanupOnAThreadWithoutTheContextReleasesEverythingWithIt) {
  Start(5, 3);
  renderer_.releaseContext();
  const Said said = WhatIsSaid([&] { renderer_.cleanup(); });
  EXPECT_EQ(said.out + said.err, "");
  bool current = true;
  WhatIsSaid([&] { current = renderer_.makeContextCurrent(); });
  EXPECT_FALSE(current);
}

}  // namespace
