// A renderer's whole life as the plug-in leads it: every call and every line, in order.

#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "test/renderer/fake_renderer_test.h"

namespace {

constexpr char kSetUpCalls[] = R"(eglGetDisplay(EGL_DEFAULT_DISPLAY) -> display1
eglInitialize(display1) -> EGL_TRUE
eglChooseConfig(display1, {EGL_SURFACE_TYPE, EGL_PBUFFER_BIT, EGL_RENDERABLE_TYPE, EGL_OPENGL_ES2_BIT, EGL_RED_SIZE, 8, EGL_GREEN_SIZE, 8, EGL_BLUE_SIZE, 8, EGL_ALPHA_SIZE, 8, EGL_DEPTH_SIZE, 24, EGL_NONE}, 1) -> EGL_TRUE, 1 config1
eglCreatePbufferSurface(display1, config1, {EGL_WIDTH, 3, EGL_HEIGHT, 2, EGL_NONE}) -> surface1
eglCreateContext(display1, config1, EGL_NO_CONTEXT, {EGL_CONTEXT_CLIENT_VERSION, 2, EGL_NONE}) -> context1
eglMakeCurrent(display1, surface1, surface1, context1) -> EGL_TRUE
glGetString(GL_VENDOR) -> "Fake vendor"
glGetString(GL_RENDERER) -> "Fake renderer"
glGetString(GL_VERSION) -> "OpenGL ES 2.0 fake"
glGetString(GL_SHADING_LANGUAGE_VERSION) -> "OpenGL ES GLSL ES 1.00 fake"
glGenFramebuffers(1) -> {1}
glGenTextures(1) -> {2}
glGenRenderbuffers(1) -> {3}
glBindTexture(GL_TEXTURE_2D, 2)
glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, 3, 2, 0, GL_RGBA, GL_UNSIGNED_BYTE, null)
glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR)
glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR)
glBindTexture(GL_TEXTURE_2D, 0)
glBindRenderbuffer(GL_RENDERBUFFER, 3)
glRenderbufferStorage(GL_RENDERBUFFER, GL_DEPTH_COMPONENT16, 3, 2)
glBindRenderbuffer(GL_RENDERBUFFER, 0)
glBindFramebuffer(GL_FRAMEBUFFER, 1)
glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, 2, 0)
glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_ATTACHMENT, GL_RENDERBUFFER, 3)
glCheckFramebufferStatus(GL_FRAMEBUFFER) -> GL_FRAMEBUFFER_COMPLETE
glBindFramebuffer(GL_FRAMEBUFFER, 0)
glCreateShader(GL_VERTEX_SHADER) -> 4
glCreateShader(GL_FRAGMENT_SHADER) -> 5
glShaderSource(4, 1, {"attribute vec3 a_position; attribute vec3 a_normal;\nuniform mat4 u_mvp;"}, null)
glCompileShader(4)
glGetShaderiv(4, GL_COMPILE_STATUS) -> 1
glShaderSource(5, 1, {"uniform vec3 u_lightDir;\nuniform vec3 u_objectColor;"}, null)
glCompileShader(5)
glGetShaderiv(5, GL_COMPILE_STATUS) -> 1
glCreateProgram() -> 6
glAttachShader(6, 4)
glAttachShader(6, 5)
glLinkProgram(6)
glGetProgramiv(6, GL_LINK_STATUS) -> 1
glGetAttribLocation(6, "a_position") -> 2
glGetAttribLocation(6, "a_normal") -> 5
glGetUniformLocation(6, "u_mvp") -> 7
glGetUniformLocation(6, "u_lightDir") -> 11
glGetUniformLocation(6, "u_objectColor") -> 15
eglMakeCurrent(display1, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT) -> EGL_TRUE
)";

constexpr char kFrameCalls[] = R"(glBindFramebuffer(GL_FRAMEBUFFER, 1)
glViewport(0, 0, 3, 2)
glClearColor(0, 0, 0, 0)
glClear(GL_COLOR_BUFFER_BIT|GL_DEPTH_BUFFER_BIT)
glEnable(GL_DEPTH_TEST)
glDisable(GL_CULL_FACE)
glEnable(GL_BLEND)
glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA)
glUseProgram(6)
glUniformMatrix4fv(7, 1, GL_FALSE, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16})
glUniform3f(11, 0.5, 0.75, 1)
glUniform3f(15, 0.125, 0.25, 0.375)
glEnableVertexAttribArray(2)
glVertexAttribPointer(2, 3, GL_FLOAT, GL_FALSE, 0, client memory)
glEnableVertexAttribArray(5)
glVertexAttribPointer(5, 3, GL_FLOAT, GL_FALSE, 0, client memory)
glDrawElements(GL_TRIANGLES, 3, GL_UNSIGNED_INT, {0, 2, 1}) a_normal {0, 0, 1, 0, 1, 0, -1, 0, 0} a_position {1, 2, 3, 4, 5, 6, 7, 8, 9.5}
glGetError() -> GL_NO_ERROR
glDisableVertexAttribArray(2)
glDisableVertexAttribArray(5)
glUniform3f(15, 1, 0, 0.625)
glEnableVertexAttribArray(2)
glVertexAttribPointer(2, 3, GL_FLOAT, GL_FALSE, 0, client memory)
glDrawElements(GL_TRIANGLES, 6, GL_UNSIGNED_INT, {3, 1, 2, 1, 3, 0}) a_normal off a_position {-1, -2, -3, -4, -5, -6, -7, -8, -9, -10, -11, -12}
glGetError() -> GL_NO_ERROR
glDisableVertexAttribArray(2)
glDisableVertexAttribArray(5)
glFlush()
glFinish()
glBindFramebuffer(GL_FRAMEBUFFER, 1)
glReadPixels(0, 0, 3, 2, GL_RGBA, GL_UNSIGNED_BYTE)
glGetError() -> GL_NO_ERROR
)";

constexpr char kReleaseCalls[] = R"(glDeleteProgram(6)
glDeleteShader(4)
glDeleteShader(5)
glDeleteFramebuffers(1, {1})
glDeleteTextures(1, {2})
glDeleteRenderbuffers(1, {3})
eglDestroyContext(display1, context1) -> EGL_TRUE
eglDestroySurface(display1, surface1) -> EGL_TRUE
eglTerminate(display1) -> EGL_TRUE
)";

constexpr char kLines[] = R"([EGLRenderer] Initializing 3x2 (offscreen mode)
[EGLRenderer] Trying EGL_DEFAULT_DISPLAY for offscreen rendering (X11 system)...
[EGLRenderer] EGL version: 1.4
[EGLRenderer] EGL config chosen, numConfigs: 1
[EGLRenderer] Pbuffer surface created
[EGLRenderer] EGL context created
[EGLRenderer] Context made current (temporarily for setup)
[EGLRenderer] GL Vendor: Fake vendor
[EGLRenderer] GL Renderer: Fake renderer
[EGLRenderer] GL Version: OpenGL ES 2.0 fake
[EGLRenderer] GLSL Version: OpenGL ES GLSL ES 1.00 fake
[EGLRenderer] Created FBO: 1, Texture: 2, Depth: 3
[EGLRenderer] Framebuffer complete
[EGLRenderer] Loading shaders...
[EGLRenderer] Vertex shader compiled
[EGLRenderer] Fragment shader compiled
[EGLRenderer] Shader program linked
[EGLRenderer] Attribute locations - position: 2, normal: 5
[EGLRenderer] Uniform locations - mvp: 7, lightDir: 11, objectColor: 15
)";

class WholeRunOnFakesTest : public FakeRendererTest {
 protected:
  void DrawFrame(std::vector<uint8_t>& pixels) {
    renderer_->beginFrame();
    renderer_->setMVP({{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16}});
    renderer_->setModel({{16, 15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1}});
    renderer_->setLighting(0.5f, 0.75f, 1.0f, 2.0f, 3.0f, 4.0f);
    renderer_->setObjectColor(0.125f, 0.25f, 0.375f);
    renderer_->renderMesh({1, 2, 3, 4, 5, 6, 7, 8, 9.5f}, {0, 0, 1, 0, 1, 0, -1, 0, 0}, {0, 2, 1});
    renderer_->setObjectColor(1.0f, 0.0f, 0.625f);
    renderer_->renderMesh({-1, -2, -3, -4, -5, -6, -7, -8, -9, -10, -11, -12}, {}, {3, 1, 2, 1, 3, 0});
    renderer_->endFrame();
    renderer_->readPixels(pixels.data(), 3, 2);
  }
};

}  // namespace

TEST_F(WholeRunOnFakesTest, CallsAndLogOfTwoFramesOnAThreadOfTheirOwn) {
  ASSERT_TRUE(renderer_->initialize(3, 2, false));
  ASSERT_TRUE(LoadShaders());
  renderer_->releaseContext();

  std::vector<uint8_t> pixels(24, 99);
  std::thread::id render_thread;
  std::thread([&] {
    render_thread = std::this_thread::get_id();
    EXPECT_TRUE(renderer_->makeContextCurrent());
    DrawFrame(pixels);
    DrawFrame(pixels);
  }).join();
  EXPECT_EQ(pixels, std::vector<uint8_t>(24, 0)) << "transparent black, where nothing is drawn";

  Destroy();
  const std::vector<fake_graphics::Call> calls = fake_graphics::Calls();
  EXPECT_EQ(TakeCalls(), std::string(kSetUpCalls) +
                             "eglMakeCurrent(display1, surface1, surface1, context1) -> EGL_TRUE\n" + kFrameCalls +
                             kFrameCalls + kReleaseCalls);
  EXPECT_EQ(out_.Take(), kLines);
  EXPECT_EQ(err_.Take(), "");

  std::string threads;  // of each call: (s)et-up or (r)ender, repetitions left out
  for (const fake_graphics::Call& call : calls) {
    const char thread = call.thread == render_thread ? 'r' : 's';
    if (threads.empty() || threads.back() != thread) threads += thread;
  }
  EXPECT_EQ(threads, "srs");
}
