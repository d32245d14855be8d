#include "test/plugin/transcript_texts.h"

namespace transcript {

std::string With(std::string text, const Values& values) {
  for (const auto& [name, value] : values) {
    const std::string mark = "{" + name + "}";
    for (size_t at = text.find(mark); at != std::string::npos; at = text.find(mark, at + value.size())) {
      text.replace(at, mark.size(), value);
    }
  }
  return text;
}

Values Names(int renderer, int width, int height) {
  const int first = 6 * (renderer - 1);
  return {{"n", std::to_string(renderer)},        {"w", std::to_string(width)},
          {"h", std::to_string(height)},          {"fbo", std::to_string(first + 1)},
          {"texture", std::to_string(first + 2)}, {"depth", std::to_string(first + 3)},
          {"vertex", std::to_string(first + 4)},  {"fragment", std::to_string(first + 5)},
          {"program", std::to_string(first + 6)}};
}

namespace {

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

}  // namespace

const std::string kDrmNodeDisplay = R"(eglGetDisplay(EGL_DEFAULT_DISPLAY) -> EGL_NO_DISPLAY
out: [EGLRenderer] EGL_DEFAULT_DISPLAY failed, falling back to GBM...
out: [EGLRenderer] Setting up GBM device for offscreen rendering...
out: [EGLRenderer] Trying DRM device: /dev/dri/renderD128
open("/dev/dri/renderD128", O_RDWR) -> -1
out: [EGLRenderer] Trying DRM device: {node}
open("{node}", O_RDWR) -> fd1
out: [EGLRenderer] Successfully opened DRM device: {node}
gbm_create_device(fd1) -> gbm1
out: [EGLRenderer] GBM device created successfully
eglGetProcAddress("eglGetPlatformDisplayEXT") -> found
out: [EGLRenderer] Using eglGetPlatformDisplayEXT for GBM
eglGetPlatformDisplayEXT(EGL_PLATFORM_GBM_KHR, gbm1, null) -> display1
)";

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

std::string InitializeTranscript(int renderer, int width, int height, ViewerWas viewer, const std::string& replaced) {
  return With(With(kInitialize, {{"state", viewer == ViewerWas::kThere ? "Reusing existing viewer state"
                                                                       : "Creating new viewer state"},
                                 {"replaced", replaced},
                                 {"vertex source", kVertexSource}}),
              Names(renderer, width, height));
}

std::string ShadersTranscript(int renderer, int width, int height) {
  return With(With(kRestOfShaders, {{"fragment source", kFragmentSource}}), Names(renderer, width, height));
}

std::string RegisterTranscript(int id, int message) {
  return With(kRegister, {{"id", std::to_string(id)}, {"message", std::to_string(message)}});
}

std::string CreateTranscript(int renderer, int width, int height, ViewerWas viewer, int id, int message) {
  return InitializeTranscript(renderer, width, height, viewer) + ShadersTranscript(renderer, width, height) +
         RegisterTranscript(id, message);
}

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

// Up to what differs between a first start and another one.
const std::string kStartBegins = R"(out: [Orbisk] ========================================
out: [Orbisk] StartRendering called
out: [Orbisk] ========================================
out: [Orbisk] Model check: 2 meshes loaded
)";

const std::string kStartEnds = R"(out: [Orbisk] Starting new rendering thread...
out: [Orbisk] ========================================
out: [Orbisk] Rendering thread started successfully!
out: [Orbisk] Texture ID: {id}
out: [Orbisk] ========================================
MessengerSendResponse(message {message}, 2 bytes)
)";

const std::string kStart = kStartBegins + kStartEnds;

const std::string kStartAgain = kStartBegins + R"(out: [Orbisk] Stopping existing rendering thread...
out: [Orbisk] Existing thread stopped
)" + kStartEnds;

const std::string kThreadStart = R"(out: [Orbisk] ========================================
out: [Orbisk] Rendering thread STARTED
out: [Orbisk] ========================================
eglMakeCurrent(display1, surface{n}, surface{n}, context{n}) -> EGL_TRUE
out: [Orbisk] EGL context made current in rendering thread
)";

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

const std::string kStop = R"(out: [Orbisk] StopRendering called
out: [Orbisk] Rendering stopped
MessengerSendResponse(message {message}, 2 bytes)
)";

const std::string kDispose = R"(out: [Orbisk] Dispose called
out: [Orbisk] Setting disposal flag...
out: [Orbisk] Stopping rendering thread...
out: [Orbisk] Rendering thread stopped
out: [Orbisk] Unregistering texture {id}
TextureRegistrarUnregisterExternalTexture({id}, null, null)
out: [Orbisk] Cleaning up pixel buffer...
out: [Orbisk] Cleaning up EGL resources...
eglMakeCurrent(display1, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT) -> EGL_TRUE
)" + kReleaseRenderer + R"(out: [Orbisk] Cleaning up model data...
out: [Orbisk] Disposed (state and texture kept alive for safety)
MessengerSendResponse(message {message}, 2 bytes)
)";

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

}  // namespace transcript
