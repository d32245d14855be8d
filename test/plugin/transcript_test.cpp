// The built library on fake graphics libraries: every call and every line of whole runs, thread by thread, compared
// as a whole. A board's driver far away is told from ours by nothing else.

#include <dlfcn.h>

#include <algorithm>
#include <cmath>
#include <condition_variable>
#include <mutex>
#include <stdexcept>

#include "fake_graphics.h"
#include "test/model/glb_builder.h"
#include "test/plugin/line_recorder.h"
#include "test/plugin/plugin_fixture.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

decltype(&OrbiskPluginRegisterWithRegistrar) LoadedRegistration() {
  static void* const library = dlopen(ORBISK_PLUGIN_FILE, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) throw std::runtime_error(dlerror());
  return reinterpret_cast<decltype(&OrbiskPluginRegisterWithRegistrar)>(
      dlsym(library, "OrbiskPluginRegisterWithRegistrar"));
}

// Stops the render thread behind each frame that it announces, until the test lets it on.
class FrameGate {
 public:
  void Pass() {
    std::unique_lock<std::mutex> lock(mutex_);
    ++frames_;
    changed_.notify_all();
    changed_.wait(lock, [this] { return open_ || allowed_ > 0; });
    if (!open_) --allowed_;
  }
  // Waits until the thread stands behind frame number `count`.
  void WaitForFrame(int count) {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [&] { return frames_ >= count && allowed_ == 0; });
  }
  void LetOn(int frames) {
    const std::lock_guard<std::mutex> lock(mutex_);
    allowed_ += frames;
    changed_.notify_all();
  }
  void Open() {
    const std::lock_guard<std::mutex> lock(mutex_);
    open_ = true;
    changed_.notify_all();
  }
  void Close() {
    const std::lock_guard<std::mutex> lock(mutex_);
    open_ = false;
    frames_ = 0;
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  int frames_ = 0;
  int allowed_ = 0;
  bool open_ = false;
};

struct FreshRecording {
  FreshRecording() {
    fake_graphics::Reset();
    line_recorder::Start();
  }
  ~FreshRecording() { line_recorder::Stop(); }
};

class TranscriptTest : private FreshRecording, public CommandTest {
 protected:
  TranscriptTest() : CommandTest(LoadedRegistration()) {
    embedder_.SetCallHook([](const fakes::Call& call) { fake_graphics::AppendLine(call.text); });
    embedder_.SetMarkHook([this](int64_t) { gate_.Pass(); });
    gate_.Open();
    fake_graphics::ClearCalls();
  }
  ~TranscriptTest() override {
    const fake_graphics::Allowance allowance(fake_graphics::CleanupDeletions());
    DestroyPlugin();
    EXPECT_THAT(fake_graphics::Complaints(), IsEmpty());
    EXPECT_THAT(fake_graphics::Alive(), IsEmpty());
    EXPECT_THAT(fake_graphics::PendingFaults(), IsEmpty());
  }

  // What the test's own thread has called and written since the last look; what others did is forgotten.
  std::string TakePlatformTranscript() {
    std::string text = TranscriptOf([this](std::thread::id thread) { return thread == platform_thread_; });
    fake_graphics::ClearCalls();
    return text;
  }

  // The same of all other threads, of which there is one at a time; nothing is forgotten.
  std::string RenderTranscript() const {
    return TranscriptOf([this](std::thread::id thread) { return thread != platform_thread_; });
  }

  std::string WriteModel(const glb_builder::Glb& glb) { return folder_.Write("model.glb", glb); }

  glb_builder::TemporaryFolder folder_;
  FrameGate gate_;

 private:
  template <typename Predicate>
  static std::string TranscriptOf(Predicate wanted) {
    std::string text;
    for (const fake_graphics::Call& call : fake_graphics::Calls()) {
      if (wanted(call.thread)) text += call.text + "\n";
    }
    return text;
  }

  const std::thread::id platform_thread_ = std::this_thread::get_id();
};

// ---- What whole runs are made of ---------------------------------------------------------------------------

// `text` with each {name} replaced by its value.
std::string With(std::string text, const std::vector<std::pair<std::string, std::string>>& values) {
  for (const auto& [name, value] : values) {
    const std::string mark = "{" + name + "}";
    for (size_t at = text.find(mark); at != std::string::npos; at = text.find(mark, at + value.size())) {
      text.replace(at, mark.size(), value);
    }
  }
  return text;
}

// A renderer and its GL names, which go on counting from renderer to renderer.
std::vector<std::pair<std::string, std::string>> Names(int renderer, int width, int height) {
  const int first = 6 * (renderer - 1);
  return {{"n", std::to_string(renderer)},          {"w", std::to_string(width)},
          {"h", std::to_string(height)},            {"fbo", std::to_string(first + 1)},
          {"texture", std::to_string(first + 2)},   {"depth", std::to_string(first + 3)},
          {"vertex", std::to_string(first + 4)},    {"fragment", std::to_string(first + 5)},
          {"program", std::to_string(first + 6)}};
}

const std::string kInitialize = R"(out: [Orbisk] ========================================
out: [Orbisk] CreateTexture called
out: [Orbisk] ========================================
out: [Orbisk] Requested texture size: {w}x{h}
out: [Orbisk] {state}
out: [Orbisk] Creating EGL renderer...
{replaced}out: [EGLRenderer] Initializing {w}x{h} (offscreen mode)
out: [EGLRenderer] Trying EGL_DEFAULT_DISPLAY for offscreen rendering (X11 system)...
eglGetDisplay(EGL_DEFAULT_DISPLAY) -> display1
eglInitialize(display1) -> EGL_TRUE
out: [EGLRenderer] EGL version: 1.4
eglChooseConfig(display1, {EGL_SURFACE_TYPE, EGL_PBUFFER_BIT, EGL_RENDERABLE_TYPE, EGL_OPENGL_ES2_BIT, EGL_RED_SIZE, 8, EGL_GREEN_SIZE, 8, EGL_BLUE_SIZE, 8, EGL_ALPHA_SIZE, 8, EGL_DEPTH_SIZE, 24, EGL_NONE}, 1) -> EGL_TRUE, 1 config{n}
out: [EGLRenderer] EGL config chosen, numConfigs: 1
eglCreatePbufferSurface(display1, config{n}, {EGL_WIDTH, {w}, EGL_HEIGHT, {h}, EGL_NONE}) -> surface{n}
out: [EGLRenderer] Pbuffer surface created
eglCreateContext(display1, config{n}, EGL_NO_CONTEXT, {EGL_CONTEXT_CLIENT_VERSION, 2, EGL_NONE}) -> context{n}
out: [EGLRenderer] EGL context created
eglMakeCurrent(display1, surface{n}, surface{n}, context{n}) -> EGL_TRUE
out: [EGLRenderer] Context made current (temporarily for setup)
glGetString(GL_VENDOR) -> "Fake vendor"
out: [EGLRenderer] GL Vendor: Fake vendor
glGetString(GL_RENDERER) -> "Fake renderer"
out: [EGLRenderer] GL Renderer: Fake renderer
glGetString(GL_VERSION) -> "OpenGL ES 2.0 fake"
out: [EGLRenderer] GL Version: OpenGL ES 2.0 fake
glGetString(GL_SHADING_LANGUAGE_VERSION) -> "OpenGL ES GLSL ES 1.00 fake"
out: [EGLRenderer] GLSL Version: OpenGL ES GLSL ES 1.00 fake
glGenFramebuffers(1) -> {{fbo}}
glGenTextures(1) -> {{texture}}
glGenRenderbuffers(1) -> {{depth}}
out: [EGLRenderer] Created FBO: {fbo}, Texture: {texture}, Depth: {depth}
glBindTexture(GL_TEXTURE_2D, {texture})
glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, {w}, {h}, 0, GL_RGBA, GL_UNSIGNED_BYTE, null)
glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR)
glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR)
glBindTexture(GL_TEXTURE_2D, 0)
glBindRenderbuffer(GL_RENDERBUFFER, {depth})
glRenderbufferStorage(GL_RENDERBUFFER, GL_DEPTH_COMPONENT16, {w}, {h})
glBindRenderbuffer(GL_RENDERBUFFER, 0)
glBindFramebuffer(GL_FRAMEBUFFER, {fbo})
glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, {texture}, 0)
glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_ATTACHMENT, GL_RENDERBUFFER, {depth})
glCheckFramebufferStatus(GL_FRAMEBUFFER) -> GL_FRAMEBUFFER_COMPLETE
out: [EGLRenderer] Framebuffer complete
glBindFramebuffer(GL_FRAMEBUFFER, 0)
out: [Orbisk] EGL renderer initialized successfully
out: [Orbisk] Loading shaders...
out: [EGLRenderer] Loading shaders...
glCreateShader(GL_VERTEX_SHADER) -> {vertex}
glCreateShader(GL_FRAGMENT_SHADER) -> {fragment}
glShaderSource({vertex}, 1, {{vertex source}}, null)
glCompileShader({vertex})
)";

const std::string kRestOfShaders = R"(glGetShaderiv({vertex}, GL_COMPILE_STATUS) -> 1
out: [EGLRenderer] Vertex shader compiled
glShaderSource({fragment}, 1, {{fragment source}}, null)
glCompileShader({fragment})
glGetShaderiv({fragment}, GL_COMPILE_STATUS) -> 1
out: [EGLRenderer] Fragment shader compiled
glCreateProgram() -> {program}
glAttachShader({program}, {vertex})
glAttachShader({program}, {fragment})
glLinkProgram({program})
glGetProgramiv({program}, GL_LINK_STATUS) -> 1
out: [EGLRenderer] Shader program linked
glGetAttribLocation({program}, "a_position") -> 2
glGetAttribLocation({program}, "a_normal") -> 5
glGetUniformLocation({program}, "u_mvp") -> 7
glGetUniformLocation({program}, "u_lightDir") -> 11
glGetUniformLocation({program}, "u_objectColor") -> 15
out: [EGLRenderer] Attribute locations - position: 2, normal: 5
out: [EGLRenderer] Uniform locations - mvp: 7, lightDir: 11, objectColor: 15
out: [Orbisk] Shaders loaded successfully
eglMakeCurrent(display1, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT) -> EGL_TRUE
out: [Orbisk] Context released from main thread
)";

const std::string kRegister = R"(out: [Orbisk] Creating Flutter texture variant...
out: [Orbisk] Registering texture with Flutter...
TextureRegistrarRegisterExternalTexture(pixel buffer)
out: [Orbisk] ========================================
out: [Orbisk] Texture created with ID: {id}
out: [Orbisk] ========================================
MessengerSendResponse(message {message}, 10 bytes)
)";

// The shaders' texts, in quotes and escaped as the recorder shows them.
const std::string kVertexSource =
    R"("\nattribute vec3 a_position;\nattribute vec3 a_normal;\n\nuniform mat4 u_mvp;\n\nvarying vec3 v_normal;\n\n)"
    R"(void main() {\n    gl_Position = u_mvp * vec4(a_position, 1.0);\n    v_normal = a_normal;\n}\n")";
const std::string kFragmentSource =
    R"("\nprecision mediump float;\n\nvarying vec3 v_normal;\n\nuniform vec3 u_lightDir;\nuniform vec3 u_objectColor;\n)"
    R"(\nvoid main() {\n    // Simple diffuse lighting\n    vec3 norm = normalize(v_normal);\n)"
    R"(    vec3 lightDir = normalize(u_lightDir);\n    float diff = max(dot(norm, lightDir), 0.0);\n)"
    R"(\n    // Ambient + diffuse (using shared constants for consistency)\n)"
    R"(    float ambient = 0.6;  // OrbiskConstants::AMBIENT_STRENGTH\n)"
    R"(    float lighting = ambient + diff * 0.5;  // diff * OrbiskConstants::DIFFUSE_STRENGTH\n)"
    R"(\n    vec3 result = lighting * u_objectColor;\n    gl_FragColor = vec4(result, 1.0);\n}\n")";

const std::string kReleaseRenderer = R"(glDeleteProgram({program})
glDeleteShader({vertex})
glDeleteShader({fragment})
glDeleteFramebuffers(1, {{fbo}})
glDeleteTextures(1, {{texture}})
glDeleteRenderbuffers(1, {{depth}})
eglDestroyContext(display1, context{n}) -> EGL_TRUE
eglDestroySurface(display1, surface{n}) -> EGL_TRUE
eglTerminate(display1) -> EGL_TRUE
)";

enum class ViewerWas { kThere, kNotThere };

std::string InitializeTranscript(int renderer, int width, int height, ViewerWas viewer, const std::string& replaced = "") {
  return With(With(kInitialize, {{"state", viewer == ViewerWas::kThere ? "Reusing existing viewer state"
                                                                      : "Creating new viewer state"},
                                 {"replaced", replaced},
                                 {"vertex source", kVertexSource}}),
              Names(renderer, width, height));
}

std::string CreateTranscript(int renderer, int width, int height, ViewerWas viewer, int id, int message) {
  return InitializeTranscript(renderer, width, height, viewer) +
         With(With(kRestOfShaders, {{"fragment source", kFragmentSource}}), Names(renderer, width, height)) +
         With(kRegister, {{"id", std::to_string(id)}, {"message", std::to_string(message)}});
}

// The first mesh without normals in its file, the second one with its own.
glb_builder::Glb TwoMeshes() {
  return glb_builder::Glb()
      .Add(glb_builder::Triangle().Color("1, 0.5, 0.25, 0.5"))
      .Add(glb_builder::Mesh(glb_builder::Floats({0, 0, 0, 2, 0, 0, 0, 2, 1}))
               .Indices(glb_builder::Uints({2, 0, 1}))
               .Normals(glb_builder::Floats({0, 0, 1, 0, 1, 0, 1, 0, 0})));
}

const std::string kLoad = R"(out: [Orbisk] ========================================
out: [Orbisk] LoadModel called
out: [Orbisk] ========================================
out: [Orbisk] Model path (original): {path}
out: [Orbisk] Loading GLB model...
out: [Orbisk] Trying path: {path}
out: [Orbisk] Successfully loaded from: {path}
out: [Orbisk] ========================================
out: [Orbisk] Model loaded successfully!
out: [Orbisk] Total meshes: 2
out: [Orbisk]   Mesh 0: vertices=3 triangles=1 color=(1,0.5,0.25)
out: [Orbisk]   Mesh 1: vertices=3 triangles=1 color=(0.8,0.8,0.8)
out: [Orbisk] Total vertices: 6
out: [Orbisk] Total triangles: 2
out: [Orbisk] GLB loader log: Found 2 meshes
Mesh 0: vertices=3 indices=3 color=(1.000000,0.500000,0.250000)
Mesh 1: vertices=3 indices=3 color=(0.800000,0.800000,0.800000)

out: [Orbisk] ========================================
MessengerSendResponse(message {message}, 2 bytes)
)";

const std::string kStart = R"(out: [Orbisk] ========================================
out: [Orbisk] StartRendering called
out: [Orbisk] ========================================
out: [Orbisk] Model check: 2 meshes loaded
out: [Orbisk] Starting new rendering thread...
out: [Orbisk] ========================================
out: [Orbisk] Rendering thread started successfully!
out: [Orbisk] Texture ID: {id}
out: [Orbisk] ========================================
MessengerSendResponse(message {message}, 2 bytes)
)";

const std::string kThreadStart = R"(out: [Orbisk] ========================================
out: [Orbisk] Rendering thread STARTED
out: [Orbisk] ========================================
eglMakeCurrent(display1, surface{n}, surface{n}, context{n}) -> EGL_TRUE
out: [Orbisk] EGL context made current in rendering thread
)";

// The numbers of the matrix are looked at apart (see TheMatrixOfAFrameFollowsFromFileAndState), because they are only known to a rounding.
const std::string kFrame = R"(glBindFramebuffer(GL_FRAMEBUFFER, {fbo})
glViewport(0, 0, {w}, {h})
glClearColor(0, 0, 0, 0)
glClear(GL_COLOR_BUFFER_BIT|GL_DEPTH_BUFFER_BIT)
glEnable(GL_DEPTH_TEST)
glDisable(GL_CULL_FACE)
glEnable(GL_BLEND)
glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA)
glUseProgram({program})
glUniformMatrix4fv(7, 1, GL_FALSE, {matrix})
glUniform3f(11, 0.5, 0.699999988, 1)
glUniform3f(15, 1, 0.5, 0.25)
glEnableVertexAttribArray(2)
glVertexAttribPointer(2, 3, GL_FLOAT, GL_FALSE, 0, client memory)
glEnableVertexAttribArray(5)
glVertexAttribPointer(5, 3, GL_FLOAT, GL_FALSE, 0, client memory)
glDrawElements(GL_TRIANGLES, 3, GL_UNSIGNED_INT, {0, 1, 2}) a_normal {0, 0, 1, 0, 0, 1, 0, 0, 1} a_position {0, 0, 0, 1, 0, 0, 0, 1, 0}
glGetError() -> GL_NO_ERROR
glDisableVertexAttribArray(2)
glDisableVertexAttribArray(5)
glUniform3f(15, 0.800000012, 0.800000012, 0.800000012)
glEnableVertexAttribArray(2)
glVertexAttribPointer(2, 3, GL_FLOAT, GL_FALSE, 0, client memory)
glEnableVertexAttribArray(5)
glVertexAttribPointer(5, 3, GL_FLOAT, GL_FALSE, 0, client memory)
glDrawElements(GL_TRIANGLES, 3, GL_UNSIGNED_INT, {2, 0, 1}) a_normal {0, 0, 1, 0, 1, 0, 1, 0, 0} a_position {0, 0, 0, 2, 0, 0, 0, 2, 1}
glGetError() -> GL_NO_ERROR
glDisableVertexAttribArray(2)
glDisableVertexAttribArray(5)
glFlush()
glFinish()
{readback}TextureRegistrarMarkExternalTextureFrameAvailable({id})
)";

const std::string kReadback = R"(glBindFramebuffer(GL_FRAMEBUFFER, {fbo})
glReadPixels(0, 0, {w}, {h}, GL_RGBA, GL_UNSIGNED_BYTE)
glGetError() -> GL_NO_ERROR
)";

const std::string kThreadStop = R"(out: [Orbisk] ========================================
out: [Orbisk] Rendering thread STOPPED (rendered {count} frames)
out: [Orbisk] ========================================
)";

std::string Times(int count, const std::string& text) {
  std::string all;
  for (int i = 0; i < count; ++i) all += text;
  return all;
}

std::string WithoutMatrices(std::string transcript) {
  const std::string before = "glUniformMatrix4fv(7, 1, GL_FALSE, ";
  for (size_t at = transcript.find(before); at != std::string::npos; at = transcript.find(before, at + 1)) {
    const size_t opening = at + before.size();
    transcript.replace(opening, transcript.find('}', opening) + 1 - opening, "{matrix}");
  }
  return transcript;
}

int CountOf(const std::string& text, const std::string& wanted) {
  int count = 0;
  for (size_t at = text.find(wanted); at != std::string::npos; at = text.find(wanted, at + 1)) ++count;
  return count;
}

// ---- Whole runs --------------------------------------------------------------------------------------------

TEST_F(TranscriptTest, ATypicalRun) {
  const std::string path = WriteModel(TwoMeshes());
  const auto names = Names(1, 4, 2);

  const int64_t id = CreateTexture(4, 2);
  EXPECT_EQ(TakePlatformTranscript(), CreateTranscript(1, 4, 2, ViewerWas::kNotThere, 7, 1));
  Call("loadModel", Map({{"modelPath", path}}));
  EXPECT_EQ(TakePlatformTranscript(), With(kLoad, {{"path", path}, {"message", "2"}}));
  ASSERT_NE(Fetch(id), nullptr);
  EXPECT_EQ(TakePlatformTranscript(), "") << "asking for a frame calls nothing";

  // Ten frames, then one of another orientation, then as many as there are until the thread has stopped.
  const std::string frame = With(With(kFrame, {{"readback", kReadback}, {"id", "7"}}), names);
  gate_.Close();
  Call("startRendering");
  gate_.WaitForFrame(1);
  gate_.LetOn(9);
  gate_.WaitForFrame(10);
  EXPECT_EQ(WithoutMatrices(RenderTranscript()), With(kThreadStart, names) + Times(10, frame));
  EXPECT_EQ(TakePlatformTranscript(), With(kStart, {{"id", "7"}, {"message", "3"}}));
  Call("setQuaternion", QuaternionArguments(1, 0, 0, 0));
  EXPECT_EQ(TakePlatformTranscript(), "MessengerSendResponse(message 4, 2 bytes)\n");
  gate_.LetOn(1);
  gate_.WaitForFrame(11);
  EXPECT_EQ(WithoutMatrices(RenderTranscript()), frame);
  gate_.Open();
  Call("stopRendering");
  const std::string last_frames = WithoutMatrices(RenderTranscript());
  const int last_count = CountOf(last_frames, "glFinish()");
  EXPECT_EQ(last_frames,
            frame + Times(last_count - 1, frame) + With(kThreadStop, {{"count", std::to_string(10 + last_count)}}));
  EXPECT_EQ(TakePlatformTranscript(),
            "out: [Orbisk] StopRendering called\nout: [Orbisk] Rendering stopped\n"
            "MessengerSendResponse(message 5, 2 bytes)\n");

  gate_.Close();
  Call("startRendering");
  gate_.WaitForFrame(1);
  EXPECT_EQ(TakePlatformTranscript(), With(kStart, {{"id", "7"}, {"message", "6"}}));
  gate_.Open();
  const fake_graphics::Allowance allowance(fake_graphics::CleanupDeletions());
  Call("dispose");
  EXPECT_EQ(TakePlatformTranscript(),
            "out: [Orbisk] Dispose called\n"
            "out: [Orbisk] Setting disposal flag...\n"
            "out: [Orbisk] Stopping rendering thread...\n"
            "out: [Orbisk] Rendering thread stopped\n"
            "out: [Orbisk] Unregistering texture 7\n"
            "TextureRegistrarUnregisterExternalTexture(7, null, null)\n"
            "out: [Orbisk] Cleaning up pixel buffer...\n"
            "out: [Orbisk] Cleaning up EGL resources...\n"
            "eglMakeCurrent(display1, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT) -> EGL_TRUE\n" +
                With(kReleaseRenderer, names) +
                "out: [Orbisk] Cleaning up model data...\n"
                "out: [Orbisk] Disposed (state and texture kept alive for safety)\n"
                "MessengerSendResponse(message 7, 2 bytes)\n");

  CreateTexture(6, 4);
  EXPECT_EQ(TakePlatformTranscript(), CreateTranscript(2, 6, 4, ViewerWas::kThere, 8, 8));
  DestroyPlugin();
  EXPECT_EQ(TakePlatformTranscript(),
            "out: [Orbisk] Plugin destructor called\n"
            "TextureRegistrarUnregisterExternalTexture(8, null, null)\n"
            "out: [Orbisk] Destroying all resources...\n" +
                With(kReleaseRenderer, Names(2, 6, 4)) + "out: [Orbisk] Plugin destroyed\n");
}

TEST_F(TranscriptTest, WithoutAFrameRequestFramesAreDrawnAndAnnouncedButNotReadBack) {
  const std::string path = WriteModel(TwoMeshes());
  CreateTexture(4, 2);
  Call("loadModel", Map({{"modelPath", path}}));
  fake_graphics::ClearCalls();
  gate_.Close();
  Call("startRendering");
  gate_.WaitForFrame(1);
  EXPECT_EQ(WithoutMatrices(RenderTranscript()),
            With(kThreadStart + With(kFrame, {{"readback", ""}, {"id", "7"}}), Names(1, 4, 2)));
  gate_.Open();
  Call("stopRendering");
}

TEST_F(TranscriptTest, CreateTextureAgainReplacesTheRendererFirstAndUnregistersNothing) {
  CreateTexture(4, 2);
  TakePlatformTranscript();
  const fake_graphics::Allowance allowance(fake_graphics::CleanupDeletions());
  CreateTexture(6, 4);
  EXPECT_EQ(TakePlatformTranscript(),
            InitializeTranscript(2, 6, 4, ViewerWas::kThere, With(kReleaseRenderer, Names(1, 4, 2))) +
                With(With(kRestOfShaders, {{"fragment source", kFragmentSource}}), Names(2, 6, 4)) +
                With(kRegister, {{"id", "8"}, {"message", "2"}}));
}

// ---- Failures ----------------------------------------------------------------------------------------------

TEST_F(TranscriptTest, AFailedInitializeIsAnsweredAndItsRendererStaysUntilTheNextOne) {
  fake_graphics::FailCall("eglCreateContext");
  EXPECT_EQ(Call("createTexture", Size(4, 2)), "error INIT_FAILED: Failed to initialize EGL renderer");
  const std::string whole = InitializeTranscript(1, 4, 2, ViewerWas::kNotThere);
  const std::string transcript = TakePlatformTranscript();
  const size_t failing = whole.find("eglCreateContext(");
  EXPECT_EQ(transcript,
            whole.substr(0, failing) +
                "eglCreateContext(display1, config1, EGL_NO_CONTEXT, {EGL_CONTEXT_CLIENT_VERSION, 2, EGL_NONE}) -> "
                "EGL_NO_CONTEXT\n"
                "err: [EGLRenderer] Failed to create EGL context\n"
                "out: [Orbisk] ERROR: Failed to initialize EGL renderer\n"
                "MessengerSendResponse(message 1, " +
                std::to_string(embedder_.last_reply().bytes()->size()) + " bytes)\n");
  EXPECT_THAT(fake_graphics::Alive(), ElementsAre("display1", "surface1"));

  EXPECT_EQ(Call("createTexture", Size(4, 2)), "success 7");
  EXPECT_THAT(TakePlatformTranscript(), ::testing::HasSubstr("out: [Orbisk] Creating EGL renderer...\n"
                                                             "eglDestroySurface(display1, surface1) -> EGL_TRUE\n"
                                                             "eglTerminate(display1) -> EGL_TRUE\n"
                                                             "out: [EGLRenderer] Initializing 4x2"));
}

TEST_F(TranscriptTest, AFailedShaderIsAnsweredWithTheContextStillCurrent) {
  fake_graphics::FailCompile("0:3: no such thing");
  EXPECT_EQ(Call("createTexture", Size(4, 2)), "error SHADER_FAILED: Failed to load shaders");
  EXPECT_EQ(TakePlatformTranscript(),
            InitializeTranscript(1, 4, 2, ViewerWas::kNotThere) +
                "glGetShaderiv(4, GL_COMPILE_STATUS) -> 0\n"
                "glGetShaderiv(4, GL_INFO_LOG_LENGTH) -> 19\n"
                "glGetShaderInfoLog(4, 19, null) -> \"0:3: no such thing\"\n"
                "err: [EGLRenderer] Shader compile error:\n0:3: no such thing\n"
                "err: [EGLRenderer] Failed to compile vertex shader\n"
                "out: [Orbisk] ERROR: Failed to load shaders\n"
                "MessengerSendResponse(message 1, " +
                std::to_string(embedder_.last_reply().bytes()->size()) + " bytes)\n");
  EXPECT_EQ(fake_graphics::CurrentContext(), "context1");
}

TEST_F(TranscriptTest, AContextThatCannotBeMadeCurrentEndsTheThread) {
  const std::string path = WriteModel(TwoMeshes());
  CreateTexture(4, 2);
  Call("loadModel", Map({{"modelPath", path}}));
  fake_graphics::ClearCalls();
  fake_graphics::FailCall("eglMakeCurrent");
  Call("startRendering");
  Call("stopRendering");
  EXPECT_EQ(RenderTranscript(),
            "out: [Orbisk] ========================================\n"
            "out: [Orbisk] Rendering thread STARTED\n"
            "out: [Orbisk] ========================================\n"
            "eglMakeCurrent(display1, surface1, surface1, context1) -> EGL_FALSE\n"
            "err: [EGLRenderer] Failed to make context current\n"
            "err: [Orbisk] ERROR: Failed to make EGL context current in rendering thread!\n");
}

TEST_F(TranscriptTest, GlErrorsAreReportedEveryFrameAndStopNothing) {
  const std::string path = WriteModel(TwoMeshes());
  const int64_t id = CreateTexture(4, 2);
  Call("loadModel", Map({{"modelPath", path}}));
  Fetch(id);
  fake_graphics::ClearCalls();
  fake_graphics::FailCall("glDrawElements");
  fake_graphics::FailCall("glReadPixels");
  gate_.Close();
  Call("startRendering");
  gate_.WaitForFrame(1);
  const std::string transcript = RenderTranscript();
  EXPECT_EQ(CountOf(transcript, "err: [EGLRenderer] GL error: 0x"), 1);
  EXPECT_EQ(CountOf(transcript, "err: [EGLRenderer] readPixels: glReadPixels error: 0x"), 1);
  EXPECT_EQ(CountOf(transcript, "glDrawElements("), 2);
  gate_.LetOn(1);
  gate_.WaitForFrame(2);
  gate_.Open();
  Call("stopRendering");
}

TEST_F(TranscriptTest, ARefusedTextureLeavesFramesUnannouncedWithFiveWarnings) {
  embedder_.RefuseTextures(true);
  const std::string path = WriteModel(TwoMeshes());
  EXPECT_EQ(Call("createTexture", Size(4, 2)), "success -1");
  Call("loadModel", Map({{"modelPath", path}}));
  fake_graphics::ClearCalls();
  std::mutex mutex;
  std::condition_variable drawn;
  int frames = 0;
  fake_graphics::SetHook("glFinish", [&] {
    const std::lock_guard<std::mutex> lock(mutex);
    ++frames;
    drawn.notify_all();
  });
  Call("startRendering");
  {
    std::unique_lock<std::mutex> lock(mutex);
    drawn.wait(lock, [&] { return frames >= 8; });
  }
  Call("stopRendering");
  fake_graphics::SetHook("glFinish", nullptr);
  EXPECT_EQ(CountOf(RenderTranscript(), "out: [Orbisk] WARNING: Cannot mark texture - registrar=OK texture_id=-1\n"), 5);
  EXPECT_EQ(CountOf(RenderTranscript(), "TextureRegistrarMark"), 0);
  TakePlatformTranscript();
  const fake_graphics::Allowance allowance(fake_graphics::CleanupDeletions());
  Call("dispose");
  EXPECT_EQ(CountOf(TakePlatformTranscript(), "TextureRegistrarUnregister"), 0);
}

// ---- The matrix --------------------------------------------------------------------------------------------

using Rows = std::array<std::array<double, 4>, 4>;

Rows Product(const Rows& a, const Rows& b) {
  Rows product = {};
  for (size_t row = 0; row < 4; ++row) {
    for (size_t column = 0; column < 4; ++column) {
      for (size_t k = 0; k < 4; ++k) product[row][column] += a[row][k] * b[k][column];
    }
  }
  return product;
}

TEST_F(TranscriptTest, TheMatrixOfAFrameFollowsFromFileAndState) {
  // The two meshes reach from (0, 0, 0) to (2, 2, 1).
  const std::string path = WriteModel(TwoMeshes());
  CreateTexture(4, 2);
  Call("loadModel", Map({{"modelPath", path}}));
  Call("setQuaternion", QuaternionArguments(0.6, 0, 0, 1.6));  // of length sqrt(2.92), about X
  Call("setBaseRotation", AngleArguments(20, 30, 40));
  Call("setCameraDistance", Map({{"distance", 5.0}}));
  Call("setModelScale", Map({{"scale", 2.0}}));
  gate_.Close();
  Call("startRendering");
  gate_.WaitForFrame(1);
  gate_.Open();
  Call("stopRendering");

  const double scale = 1.5 / 2.0 * 2.0;
  const double angle = 2 * std::atan2(0.6, 1.6);
  const auto radians = [](double degrees) { return degrees * M_PI / 180; };
  const auto x_turn = [](double a) {
    return Rows{{{1, 0, 0, 0}, {0, std::cos(a), -std::sin(a), 0}, {0, std::sin(a), std::cos(a), 0}, {0, 0, 0, 1}}};
  };
  const auto y_turn = [](double a) {
    return Rows{{{std::cos(a), 0, std::sin(a), 0}, {0, 1, 0, 0}, {-std::sin(a), 0, std::cos(a), 0}, {0, 0, 0, 1}}};
  };
  const auto z_turn = [](double a) {
    return Rows{{{std::cos(a), -std::sin(a), 0, 0}, {std::sin(a), std::cos(a), 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}};
  };
  const Rows model = Product(
      x_turn(angle),
      Rows{{{scale, 0, 0, -scale}, {0, scale, 0, -scale}, {0, 0, scale, -scale / 2}, {0, 0, 0, 1}}});
  const Rows view = Product(Rows{{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, -5}, {0, 0, 0, 1}}},
                            Product(z_turn(radians(40)), Product(y_turn(radians(20)), x_turn(radians(30)))));
  const double focal = 1 / std::tan(M_PI / 6);
  const Rows projection = {{{focal * 3 / 4, 0, 0, 0},
                            {0, focal, 0, 0},
                            {0, 0, -(100 + 0.1) / (100 - 0.1), -2 * 100 * 0.1 / (100 - 0.1)},
                            {0, 0, -1, 0}}};
  const Rows expected = Product(projection, Product(view, model));

  const std::vector<fake_graphics::Draw> draws = fake_graphics::Draws();
  ASSERT_GE(draws.size(), 2u);
  for (size_t draw = 0; draw < 2; ++draw) {
    const std::vector<float> matrix = draws[draw].uniforms.at("u_mvp");
    for (size_t row = 0; row < 4; ++row) {
      for (size_t column = 0; column < 4; ++column) {
        EXPECT_NEAR(matrix[column * 4 + row], expected[row][column], 1e-5) << row << ", " << column;
      }
    }
  }
}

}  // namespace
