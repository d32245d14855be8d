#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

// Without Xlib, whose macros (None, Success, ...) would eat other names.
#ifndef EGL_NO_X11
#define EGL_NO_X11
#endif
#include <EGL/egl.h>
#include <GLES2/gl2.h>

#include "model/glb_loader.h"
#include "plugin/scene_transform.h"
#include "plugin/shaders.h"
#include "test/endurance/subject.h"

namespace endurance {

namespace {

void Require(bool done, const char* step) {
  if (!done) throw std::runtime_error(std::string("bare program: ") + step + " failed");
}

class BareSubject : public Subject {
 public:
  BareSubject(const std::string& model_path, WhenThreadEnds when_thread_ends) : when_thread_ends_(when_thread_ends) {
    Require(load_glb_model(model_path, model_, nullptr), "loading the model");
    const ModelFit fit = FitModel(model_);
    mvp_ = ProjectionMatrix() * (ViewMatrix({}, 3.5f) * ModelMatrix({0, 0, 0, 1}, 1.2f * fit.scale, fit.center));
  }

  void Open() override {
    display_ = eglGetDisplay(EGL_DEFAULT_DISPLAY);
    Require(display_ != EGL_NO_DISPLAY && eglInitialize(display_, nullptr, nullptr), "eglInitialize");
    // clang-format off
    const EGLint config_attributes[] = {
        EGL_SURFACE_TYPE, EGL_PBUFFER_BIT,
        EGL_RENDERABLE_TYPE, EGL_OPENGL_ES2_BIT,
        EGL_RED_SIZE, 8, EGL_GREEN_SIZE, 8, EGL_BLUE_SIZE, 8, EGL_ALPHA_SIZE, 8, EGL_DEPTH_SIZE, 24,
        EGL_NONE};
    // clang-format on
    EGLConfig config = nullptr;
    EGLint config_count = 0;
    Require(eglChooseConfig(display_, config_attributes, &config, 1, &config_count) && config_count > 0,
            "eglChooseConfig");
    const EGLint surface_attributes[] = {EGL_WIDTH, kFrameSide, EGL_HEIGHT, kFrameSide, EGL_NONE};
    surface_ = eglCreatePbufferSurface(display_, config, surface_attributes);
    Require(surface_ != EGL_NO_SURFACE, "eglCreatePbufferSurface");
    const EGLint context_attributes[] = {EGL_CONTEXT_CLIENT_VERSION, 2, EGL_NONE};
    context_ = eglCreateContext(display_, config, EGL_NO_CONTEXT, context_attributes);
    Require(context_ != EGL_NO_CONTEXT, "eglCreateContext");
    Require(eglMakeCurrent(display_, surface_, surface_, context_), "eglMakeCurrent");
    MakeFramebuffer();
    MakeProgram();
    ReleaseContext();
  }

  // As the plug-in's renderer ends: on a thread without a context, so that the GL objects go with the context.
  void Close() override {
    ReleaseContext();
    eglDestroyContext(display_, context_);
    eglDestroySurface(display_, surface_);
    eglTerminate(display_);
  }

  void Start() override {
    stop_requested_ = false;
    failed_ = false;
    thread_ = std::thread([this] { DrawUntilStopped(); });
  }

  void Stop() override {
    stop_requested_ = true;
    thread_.join();
  }

  bool WaitForFrames(int count) override {
    std::unique_lock<std::mutex> lock(mutex_);
    const int wanted = frames_ + count;
    changed_.wait(lock, [&] { return failed_ || frames_ >= wanted; });
    return !failed_;
  }

 private:
  void MakeFramebuffer() {
    GLuint texture = 0;
    GLuint depth = 0;
    glGenFramebuffers(1, &framebuffer_);
    glGenTextures(1, &texture);
    glGenRenderbuffers(1, &depth);
    glBindTexture(GL_TEXTURE_2D, texture);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, kFrameSide, kFrameSide, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glBindTexture(GL_TEXTURE_2D, 0);
    glBindRenderbuffer(GL_RENDERBUFFER, depth);
    glRenderbufferStorage(GL_RENDERBUFFER, GL_DEPTH_COMPONENT16, kFrameSide, kFrameSide);
    glBindRenderbuffer(GL_RENDERBUFFER, 0);
    glBindFramebuffer(GL_FRAMEBUFFER, framebuffer_);
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture, 0);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_ATTACHMENT, GL_RENDERBUFFER, depth);
    Require(glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE, "the framebuffer");
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
  }

  static GLuint CompiledShader(GLenum kind, const char* source) {
    const GLuint shader = glCreateShader(kind);
    glShaderSource(shader, 1, &source, nullptr);
    glCompileShader(shader);
    return shader;
  }

  void MakeProgram() {
    program_ = glCreateProgram();
    glAttachShader(program_, CompiledShader(GL_VERTEX_SHADER, kVertexShader));
    glAttachShader(program_, CompiledShader(GL_FRAGMENT_SHADER, kFragmentShader));
    glLinkProgram(program_);
    GLint linked = 0;
    glGetProgramiv(program_, GL_LINK_STATUS, &linked);
    Require(linked != 0, "linking the shaders");
  }

  void DrawFrame() {
    glBindFramebuffer(GL_FRAMEBUFFER, framebuffer_);
    glViewport(0, 0, kFrameSide, kFrameSide);
    glClearColor(0.0f, 0.0f, 0.0f, 0.0f);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glEnable(GL_DEPTH_TEST);
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    glUseProgram(program_);
    glUniformMatrix4fv(glGetUniformLocation(program_, "u_mvp"), 1, GL_FALSE, mvp_.m.data());
    glUniform3f(glGetUniformLocation(program_, "u_lightDir"), 0.5f, 0.7f, 1.0f);
    const auto position = static_cast<GLuint>(glGetAttribLocation(program_, "a_position"));
    const auto normal = static_cast<GLuint>(glGetAttribLocation(program_, "a_normal"));
    for (const MeshData& mesh : model_.meshes) {
      glUniform3f(glGetUniformLocation(program_, "u_objectColor"), mesh.color[0], mesh.color[1], mesh.color[2]);
      glEnableVertexAttribArray(position);
      glVertexAttribPointer(position, 3, GL_FLOAT, GL_FALSE, 0, mesh.positions.data());
      glEnableVertexAttribArray(normal);
      glVertexAttribPointer(normal, 3, GL_FLOAT, GL_FALSE, 0, mesh.normals.data());
      glDrawElements(GL_TRIANGLES, static_cast<GLsizei>(mesh.indices.size()), GL_UNSIGNED_INT, mesh.indices.data());
      glDisableVertexAttribArray(position);
      glDisableVertexAttribArray(normal);
    }
    glFlush();
    glFinish();
  }

  void ReleaseContext() { eglMakeCurrent(display_, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT); }

  void DrawUntilStopped() {
    if (!eglMakeCurrent(display_, surface_, surface_, context_)) {
      const std::lock_guard<std::mutex> lock(mutex_);
      failed_ = true;
      changed_.notify_one();
      return;
    }
    std::vector<uint8_t> pixels(size_t{kFrameSide} * kFrameSide * 4);
    while (!stop_requested_) {
      DrawFrame();
      glReadPixels(0, 0, kFrameSide, kFrameSide, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
      const std::lock_guard<std::mutex> lock(mutex_);
      ++frames_;
      changed_.notify_one();
    }
    if (when_thread_ends_ == WhenThreadEnds::kRelease) ReleaseContext();
  }

  GLBModel model_;
  Matrix4 mvp_;  // the plug-in's picture: what a driver keeps depends on it
  const WhenThreadEnds when_thread_ends_;
  EGLDisplay display_ = EGL_NO_DISPLAY;
  EGLSurface surface_ = EGL_NO_SURFACE;
  EGLContext context_ = EGL_NO_CONTEXT;
  GLuint framebuffer_ = 0;
  GLuint program_ = 0;

  std::thread thread_;
  std::atomic<bool> stop_requested_{false};

  // Guarded by `mutex_`.
  std::mutex mutex_;
  std::condition_variable changed_;
  int frames_ = 0;
  bool failed_ = false;
};

}  // namespace

std::unique_ptr<Subject> MakeBareSubject(const std::string& model_path, WhenThreadEnds when_thread_ends) {
  return std::make_unique<BareSubject>(model_path, when_thread_ends);
}

}  // namespace endurance
