#include "orbisk/orbisk_plugin.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <limits>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "flutter/method_channel.h"
#include "flutter/plugin_registrar.h"
#include "flutter/standard_method_codec.h"
#include "plugin/orbisk_state.h"
#include "plugin/scene_transform.h"
#include "plugin/shaders.h"
#include "renderer/log_line.h"

namespace {

using flutter::EncodableMap;
using flutter::EncodableValue;
using MethodCall = flutter::MethodCall<EncodableValue>;
using MethodResult = flutter::MethodResult<EncodableValue>;

// The one viewer state; empty until the first "createTexture". Written on the platform thread alone.
std::unique_ptr<OrbiskState> g_viewer_state;

// The registrar of the last registration that has not ended, or of the last one when all have; the manager owns it.
// Atomic: the render thread reads it, and the embedder may register the plug-in once more while that runs.
std::atomic<flutter::PluginRegistrar*> g_registrar{nullptr};

struct Registration {
  const flutter::Plugin* plugin;
  flutter::PluginRegistrar* registrar;
};

// One for each engine that is there, in the order in which they came. Never destroyed: an engine may close while the
// process exits. Platform thread only.
std::vector<Registration>& Registrations() {
  static auto* const registrations = new std::vector<Registration>();
  return *registrations;
}

// The registrar goes with its plug-in: the commands of an engine that stays must not meet it.
void ForgetRegistration(const flutter::Plugin* plugin) {
  std::vector<Registration>& registrations = Registrations();
  registrations.erase(std::remove_if(registrations.begin(), registrations.end(),
                                     [plugin](const Registration& it) { return it.plugin == plugin; }),
                      registrations.end());
  if (!registrations.empty()) g_registrar = registrations.back().registrar;
}

// ---- Log lines ---------------------------------------------------------------------------------------------

constexpr char kSeparator[] = "========================================";

template <typename... Parts>
void Log(const Parts&... parts) {
  WriteLogLine(stdout, "[Orbisk] ", parts...);
}

template <typename... Parts>
void LogError(const Parts&... parts) {
  WriteLogLine(stderr, "[Orbisk] ", parts...);
}

template <typename... Parts>
void LogBanner(const Parts&... parts) {
  Log(kSeparator);
  Log(parts...);
  Log(kSeparator);
}

// ---- Render thread -----------------------------------------------------------------------------------------

constexpr auto kFrameInterval = std::chrono::milliseconds(33);
constexpr auto kIdleWait = std::chrono::milliseconds(100);
constexpr int kWaitsPerWaitingLine = 30;
constexpr int kLastIterationToWarn = 4;

bool HasFrameToDraw(const OrbiskState& state) { return state.renderer && !state.model.meshes.empty(); }

// False where the renderer's frame is larger than the buffer, which keeps the size of the renderer that it was made
// for.
bool FrameFits(const FlutterDesktopPixelBuffer& buffer, const EGLRenderer& renderer) {
  if (renderer.width() < 0 || renderer.height() < 0) return false;
  const size_t frame_pixels = static_cast<size_t>(renderer.width()) * static_cast<size_t>(renderer.height());
  return frame_pixels <= buffer.width * buffer.height;
}

void DrawFrame(OrbiskState& state) {
  EGLRenderer& renderer = *state.renderer;
  renderer.beginFrame();

  const ModelFit fit = FitModel(state.model);
  const Quaternion orientation = {state.quat_x, state.quat_y, state.quat_z, state.quat_w};
  const Matrix4 model = ModelMatrix(orientation, fit.scale * state.model_scale, fit.center);
  const Matrix4 view = ViewMatrix({state.base_roll, state.base_pitch, state.base_yaw}, state.camera_distance);
  renderer.setMVP(ProjectionMatrix() * (view * model));
  renderer.setModel(model);
  renderer.setLighting(0.5f, 0.7f, 1.0f, 1.0f, 1.0f, 1.0f);

  for (const MeshData& mesh : state.model.meshes) {
    renderer.setObjectColor(mesh.color[0], mesh.color[1], mesh.color[2]);
    renderer.renderMesh(mesh.positions, mesh.normals, mesh.indices);
  }
  renderer.endFrame();

  // Until the engine has asked for a frame there is no buffer to read into.
  if (state.pixel_buffer && FrameFits(*state.pixel_buffer, renderer)) {
    renderer.readPixels(const_cast<uint8_t*>(state.pixel_buffer->buffer), renderer.width(), renderer.height());
  }
}

// Tells the engine that there is a new frame. Without the lock: the engine may ask for the frame at once.
void AnnounceFrame(const OrbiskState& state, int iteration) {
  const int64_t texture_id = state.texture_id;
  flutter::PluginRegistrar* const registrar = g_registrar;
  if (!state.disposed && registrar != nullptr && texture_id >= 0) {
    registrar->texture_registrar()->MarkTextureFrameAvailable(texture_id);
  } else if (iteration <= kLastIterationToWarn) {
    Log("WARNING: Cannot mark texture - registrar=", registrar != nullptr ? "OK" : "NULL", " texture_id=", texture_id);
  }
}

// What is left of the frame interval after a frame that took `elapsed`; whole milliseconds of it count.
std::chrono::milliseconds PacingSleep(std::chrono::nanoseconds elapsed) {
  if (elapsed >= kFrameInterval) return std::chrono::milliseconds(0);
  return kFrameInterval - std::chrono::duration_cast<std::chrono::milliseconds>(elapsed);
}

bool BindContextToRenderThread(OrbiskState& state) {
  // "createTexture" may be replacing the renderer at this moment.
  const std::lock_guard<std::mutex> lock(state.mutex);
  // NOTE: without a renderer the loop runs without a context and draws a later renderer with none.
  // RenderLoopTest.StartedWithoutRendererWaitsAndBindsNoContext holds it.
  if (!state.renderer) return true;
  if (!state.renderer->makeContextCurrent()) return false;
  Log("EGL context made current in rendering thread");
  return true;
}

// The body of the render thread. The context is still current on the thread when it ends: whoever joins it destroys
// the renderer or starts the next thread.
void RenderingThread(OrbiskState* state) {
  LogBanner("Rendering thread STARTED");
  state->rendering = true;
  if (!BindContextToRenderThread(*state)) {
    LogError("ERROR: Failed to make EGL context current in rendering thread!");
    state->rendering = false;
    return;
  }

  int iteration = 0;  // waits count as well
  while (!state->stop_requested && !state->disposed) {
    const auto start = std::chrono::steady_clock::now();
    LetWaitersIn(*state);
    std::unique_lock<std::mutex> lock(state->mutex);
    if (!HasFrameToDraw(*state)) {
      if (iteration % kWaitsPerWaitingLine == 0) {
        Log("Waiting for renderer/model... renderer=", state->renderer ? "OK" : "NULL",
            " mesh_count=", state->model.meshes.size());
      }
      // NOTE: with the lock held, so a command may wait 100 ms while there is nothing to draw.
      // RenderLoopTest.IdleWaitKeepsTheLock holds it.
      std::this_thread::sleep_for(kIdleWait);
    } else {
      DrawFrame(*state);
      lock.unlock();
      AnnounceFrame(*state, iteration);
      std::this_thread::sleep_for(PacingSleep(std::chrono::steady_clock::now() - start));
    }
    ++iteration;
  }

  state->rendering = false;
  LogBanner("Rendering thread STOPPED (rendered ", iteration, " frames)");
}

// Asks the render thread to end and waits until it has; without the lock, which the thread needs for its last frame.
void RequestStopAndJoin(OrbiskState& state) {
  state.stop_requested = true;
  if (state.render_thread->joinable()) state.render_thread->join();
}

void StopRenderThread(OrbiskState& state) {
  RequestStopAndJoin(state);
  state.render_thread.reset();
}

void UnregisterTexture(const OrbiskState& state) {
  g_registrar.load()->texture_registrar()->UnregisterTexture(state.texture_id);
}

bool HasRegisteredTexture(const OrbiskState& state) { return g_registrar != nullptr && state.texture_id >= 0; }

// ---- Pixel-buffer texture ----------------------------------------------------------------------------------

// Null where the byte count has wrapped around to less than such a frame has: the engine would copy past the end.
// A count that is negative throws std::bad_alloc.
std::unique_ptr<FlutterDesktopPixelBuffer> MakePixelBuffer(int width, int height) {
  const size_t byte_count = FrameByteCount(width, height, 4);
  const bool countable = byte_count <= size_t{std::numeric_limits<int32_t>::max()};
  const size_t frame_byte_count = static_cast<size_t>(width) * static_cast<size_t>(height) * 4;
  if (countable && (width < 0 || byte_count < frame_byte_count)) return nullptr;
  auto pixels = std::make_unique<uint8_t[]>(byte_count);
  auto pixel_buffer = std::make_unique<FlutterDesktopPixelBuffer>();
  pixel_buffer->width = static_cast<size_t>(width);
  pixel_buffer->height = static_cast<size_t>(height);
  pixel_buffer->buffer = pixels.release();
  return pixel_buffer;
}

// Hands the engine the buffer that frames are read into, the same one every time. Null: there is no frame.
const FlutterDesktopPixelBuffer* CopyPixelBuffer(OrbiskState* state) {
  if (state == nullptr || state->disposed) return nullptr;
  const StateLock lock(*state);
  if (state->disposed || !state->renderer) return nullptr;
  if (!state->pixel_buffer) {
    state->pixel_buffer = MakePixelBuffer(state->renderer->width(), state->renderer->height());
  }
  return state->pixel_buffer.get();
}

// The texture objects of states that are gone. Never destroyed: the engine asks a texture for frames for as long as it
// has an identifier for it, and those of earlier "createTexture" commands are never unregistered.
std::vector<std::unique_ptr<flutter::TextureVariant>>& TexturesLeftToEngine() {
  static auto* const textures = new std::vector<std::unique_ptr<flutter::TextureVariant>>();
  return *textures;
}

void MakeTexture(OrbiskState& state) {
  TexturesLeftToEngine().reserve(TexturesLeftToEngine().size() + 1);  // the plug-in's end needs no memory for it
  state.texture_path = std::make_shared<ViewerPath>(&state);
  state.texture = std::make_unique<flutter::TextureVariant>(flutter::PixelBufferTexture(
      [path = state.texture_path](size_t, size_t) { return path->Follow(CopyPixelBuffer); }));
}

// For a state that is about to go. Its texture gives no frames from now on.
void LeaveTextureToEngine(OrbiskState& state) {
  if (!state.texture) return;
  state.texture_path->Close();
  TexturesLeftToEngine().push_back(std::move(state.texture));
}

// ---- Arguments ---------------------------------------------------------------------------------------------

// The call's arguments as a map, or null.
const EncodableMap* ArgumentMap(const MethodCall& call) {
  return call.arguments() == nullptr ? nullptr : std::get_if<EncodableMap>(call.arguments());
}

// The value of `key`, or null.
const EncodableValue* FindArgument(const EncodableMap& arguments, const char* key) {
  const auto entry = arguments.find(EncodableValue(key));
  return entry == arguments.end() ? nullptr : &entry->second;
}

void AnswerNotAMap(MethodResult& result) { result.Error("INVALID_ARGS", "Arguments must be a map"); }

// What the commands that only set numbers have in common: takes the doubles of all keys, or answers why not.
//
// A value of another type is not converted: the exception leaves the handler.
template <size_t N>
bool TakeDoubles(const MethodCall& call, MethodResult& result, const std::array<const char*, N>& keys,
                 const char* missing_message, std::array<double, N>& values) {
  if (!g_viewer_state) {
    result.Error("NOT_INITIALIZED", "Viewer state not initialized");
    return false;
  }
  const EncodableMap* arguments = ArgumentMap(call);
  if (arguments == nullptr) {
    AnswerNotAMap(result);
    return false;
  }
  std::array<const EncodableValue*, N> found;
  for (size_t i = 0; i < N; ++i) {
    found[i] = FindArgument(*arguments, keys[i]);
    if (found[i] == nullptr) {
      result.Error("INVALID_ARGS", missing_message);
      return false;
    }
  }
  for (size_t i = 0; i < N; ++i) values[i] = std::get<double>(*found[i]);
  return true;
}

bool TakeQuaternion(const MethodCall& call, MethodResult& result, Quaternion& quaternion) {
  std::array<double, 4> values;
  if (!TakeDoubles<4>(call, result, {"x", "y", "z", "w"}, "Missing quaternion components", values)) return false;
  quaternion = {static_cast<float>(values[0]), static_cast<float>(values[1]), static_cast<float>(values[2]),
                static_cast<float>(values[3])};
  return true;
}

// Roll, pitch and yaw, in degrees.
bool TakeAngles(const MethodCall& call, MethodResult& result, std::array<double, 3>& angles) {
  return TakeDoubles<3>(call, result, {"roll", "pitch", "yaw"}, "Missing 'roll', 'pitch', or 'yaw' parameter", angles);
}

EulerDegrees Narrow(const std::array<double, 3>& angles) {
  return {static_cast<float>(angles[0]), static_cast<float>(angles[1]), static_cast<float>(angles[2])};
}

// ---- The plug-in -------------------------------------------------------------------------------------------

// Answers the commands of the channel "orbisk", each exactly once unless it throws. Everything runs on the platform
// thread.
class OrbiskPlugin : public flutter::Plugin {
 public:
  static void RegisterWithRegistrar(flutter::PluginRegistrar* registrar);

  OrbiskPlugin();
  ~OrbiskPlugin() override;

  void HandleMethodCall(const MethodCall& call, std::unique_ptr<MethodResult> result);

 private:
  void CreateTexture(const MethodCall& call, std::unique_ptr<MethodResult> result);
  void LoadModel(const MethodCall& call, std::unique_ptr<MethodResult> result);
  void StartRendering(const MethodCall& call, std::unique_ptr<MethodResult> result);
  void StopRendering(const MethodCall& call, std::unique_ptr<MethodResult> result);
  void Dispose(const MethodCall& call, std::unique_ptr<MethodResult> result);
  void SetCameraDistance(const MethodCall& call, std::unique_ptr<MethodResult> result);
  void SetModelScale(const MethodCall& call, std::unique_ptr<MethodResult> result);
  void SetRotation(const MethodCall& call, std::unique_ptr<MethodResult> result);
  void SetBaseRotation(const MethodCall& call, std::unique_ptr<MethodResult> result);
  void SetQuaternion(const MethodCall& call, std::unique_ptr<MethodResult> result);
  void SetBaseQuaternion(const MethodCall& call, std::unique_ptr<MethodResult> result);
};

void OrbiskPlugin::RegisterWithRegistrar(flutter::PluginRegistrar* registrar) {
  g_registrar = registrar;
  // The handler stays installed when the channel object goes at the end of this function.
  const auto channel = std::make_unique<flutter::MethodChannel<EncodableValue>>(
      registrar->messenger(), "orbisk", &flutter::StandardMethodCodec::GetInstance());
  auto plugin = std::make_unique<OrbiskPlugin>();
  channel->SetMethodCallHandler([plugin = plugin.get()](const MethodCall& call, std::unique_ptr<MethodResult> result) {
    plugin->HandleMethodCall(call, std::move(result));
  });
  Registrations().push_back({plugin.get(), registrar});
  registrar->AddPlugin(std::move(plugin));
}

OrbiskPlugin::OrbiskPlugin() { Log("Plugin initialized"); }

OrbiskPlugin::~OrbiskPlugin() {
  Log("Plugin destructor called");
  if (g_viewer_state) {
    g_viewer_state->disposed = true;
    if (g_viewer_state->render_thread) RequestStopAndJoin(*g_viewer_state);
    if (HasRegisteredTexture(*g_viewer_state)) UnregisterTexture(*g_viewer_state);
    // Unregistering does not wait: the engine may still be copying the last frame.
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    Log("Destroying all resources...");
    LeaveTextureToEngine(*g_viewer_state);
    g_viewer_state.reset();
  }
  ForgetRegistration(this);
  Log("Plugin destroyed");
}

void OrbiskPlugin::HandleMethodCall(const MethodCall& call, std::unique_ptr<MethodResult> result) {
  using Handler = void (OrbiskPlugin::*)(const MethodCall&, std::unique_ptr<MethodResult>);
  static constexpr std::pair<const char*, Handler> kHandlers[] = {
      {"createTexture", &OrbiskPlugin::CreateTexture},
      {"loadModel", &OrbiskPlugin::LoadModel},
      {"startRendering", &OrbiskPlugin::StartRendering},
      {"stopRendering", &OrbiskPlugin::StopRendering},
      {"dispose", &OrbiskPlugin::Dispose},
      {"setCameraDistance", &OrbiskPlugin::SetCameraDistance},
      {"setModelScale", &OrbiskPlugin::SetModelScale},
      {"setRotation", &OrbiskPlugin::SetRotation},
      {"setBaseRotation", &OrbiskPlugin::SetBaseRotation},
      {"setQuaternion", &OrbiskPlugin::SetQuaternion},
      {"setBaseQuaternion", &OrbiskPlugin::SetBaseQuaternion},
  };
  for (const auto& [name, handler] : kHandlers) {
    if (call.method_name() == name) {
      (this->*handler)(call, std::move(result));
      return;
    }
  }
  result->NotImplemented();
}

// ---- Texture -----------------------------------------------------------------------------------------------

void OrbiskPlugin::CreateTexture(const MethodCall& call, std::unique_ptr<MethodResult> result) {
  LogBanner("CreateTexture called");
  const EncodableMap* arguments = ArgumentMap(call);
  if (arguments == nullptr) return AnswerNotAMap(*result);
  const EncodableValue* width_value = FindArgument(*arguments, "width");
  const EncodableValue* height_value = FindArgument(*arguments, "height");
  if (width_value == nullptr || height_value == nullptr) {
    result->Error("INVALID_ARGS", "Missing width or height");
    return;
  }
  const int32_t width = std::get<int32_t>(*width_value);
  const int32_t height = std::get<int32_t>(*height_value);
  Log("Requested texture size: ", width, "x", height);

  if (g_viewer_state) {
    Log("Reusing existing viewer state");
    g_viewer_state->disposed = false;
  } else {
    Log("Creating new viewer state");
    g_viewer_state = std::make_unique<OrbiskState>();
  }
  OrbiskState* const state = g_viewer_state.get();
  const StateLock lock(*state);

  Log("Creating EGL renderer...");
  state->renderer = std::make_unique<EGLRenderer>();
  // A renderer that fails here stays, with what it has acquired, until the next one replaces it.
  if (!state->renderer->initialize(width, height, false)) {
    Log("ERROR: Failed to initialize EGL renderer");
    result->Error("INIT_FAILED", "Failed to initialize EGL renderer");
    return;
  }
  Log("EGL renderer initialized successfully");
  Log("Loading shaders...");
  if (!state->renderer->loadShaders(kVertexShader, kFragmentShader)) {
    Log("ERROR: Failed to load shaders");
    result->Error("SHADER_FAILED", "Failed to load shaders");
    return;
  }
  Log("Shaders loaded successfully");
  state->renderer->releaseContext();
  Log("Context released from main thread");

  Log("Creating Flutter texture variant...");
  // An earlier texture object stays: the engine may be asking it for a frame at this moment, and it would do the same.
  if (!state->texture) MakeTexture(*state);
  Log("Registering texture with Flutter...");
  state->texture_id = g_registrar.load()->texture_registrar()->RegisterTexture(state->texture.get());
  LogBanner("Texture created with ID: ", state->texture_id);
  result->Success(EncodableValue(int64_t{state->texture_id}));
}

void OrbiskPlugin::Dispose(const MethodCall&, std::unique_ptr<MethodResult> result) {
  Log("Dispose called");
  if (!g_viewer_state) {
    Log("No viewer state to dispose");
    result->Success(EncodableValue(true));
    return;
  }
  OrbiskState& state = *g_viewer_state;
  Log("Setting disposal flag...");
  state.disposed = true;
  Log("Stopping rendering thread...");
  if (state.render_thread) StopRenderThread(state);
  Log("Rendering thread stopped");
  if (HasRegisteredTexture(state)) {
    Log("Unregistering texture ", state.texture_id);
    UnregisterTexture(state);
    state.texture_id = -1;
  }
  {
    const StateLock lock(state);
    Log("Cleaning up pixel buffer...");
    state.retired_pixels.reset(state.pixel_buffer ? state.pixel_buffer->buffer : nullptr);
    state.retired_pixel_buffer = std::move(state.pixel_buffer);
    Log("Cleaning up EGL resources...");
    state.spare_pixel_buffer.reset();
    if (state.renderer) {
      state.renderer->releaseContext();
      state.renderer.reset();
    }
    Log("Cleaning up model data...");
    state.model.meshes.clear();
  }
  Log("Disposed (state and texture kept alive for safety)");
  result->Success(EncodableValue(true));
}

// ---- Model -------------------------------------------------------------------------------------------------

// The path as given, and the same with the asset bundle's folder taken off or put before it.
std::array<std::string, 2> ModelPathCandidates(const std::string& path) {
  const std::string bundle = "data/flutter_assets/";
  if (path.compare(0, bundle.size(), bundle) == 0) return {path, path.substr(bundle.size())};
  return {path, bundle + path};
}

void LogLoadedModel(const GLBModel& model, const std::string& path, const std::string& loader_log) {
  Log("Successfully loaded from: ", path);
  Log(kSeparator);
  Log("Model loaded successfully!");
  Log("Total meshes: ", model.meshes.size());
  int total_vertices = 0;
  int total_triangles = 0;
  for (size_t i = 0; i < model.meshes.size(); ++i) {
    const MeshData& mesh = model.meshes[i];
    const int vertices = static_cast<int>(mesh.positions.size() / 3);
    const int triangles = static_cast<int>(mesh.indices.size() / 3);
    total_vertices += vertices;
    total_triangles += triangles;
    Log("  Mesh ", i, ": vertices=", vertices, " triangles=", triangles, " color=(", mesh.color[0], ",", mesh.color[1],
        ",", mesh.color[2], ")");
  }
  Log("Total vertices: ", total_vertices);
  Log("Total triangles: ", total_triangles);
  Log("GLB loader log: ", loader_log);
  Log(kSeparator);
}

void OrbiskPlugin::LoadModel(const MethodCall& call, std::unique_ptr<MethodResult> result) {
  LogBanner("LoadModel called");
  if (!g_viewer_state) {
    Log("ERROR: Viewer state not initialized");
    result->Error("NOT_INITIALIZED", "Texture not created");
    return;
  }
  const EncodableMap* arguments = ArgumentMap(call);
  if (arguments == nullptr) {
    Log("ERROR: Invalid arguments");
    return AnswerNotAMap(*result);
  }
  const EncodableValue* path_value = FindArgument(*arguments, "modelPath");
  if (path_value == nullptr) {
    Log("ERROR: Missing modelPath");
    result->Error("INVALID_ARGS", "Missing modelPath");
    return;
  }
  const std::string path = std::get<std::string>(*path_value);
  Log("Model path (original): ", path);

  OrbiskState& state = *g_viewer_state;
  const StateLock lock(state);
  const std::array<std::string, 2> candidates = ModelPathCandidates(path);
  std::string loader_log;
  Log("Loading GLB model...");
  for (const std::string& candidate : candidates) {
    Log("Trying path: ", candidate);
    if (load_glb_model(candidate, state.model, &loader_log)) {
      LogLoadedModel(state.model, candidate, loader_log);
      result->Success(EncodableValue(true));
      return;
    }
  }
  LogError("ERROR: Failed to load model from any path");
  LogError("Tried paths:");
  for (const std::string& candidate : candidates) LogError("  - ", candidate);
  LogError("GLB loader log: ", loader_log);
  result->Error("LOAD_FAILED", "Failed to load model: " + loader_log);
}

// ---- Rendering ---------------------------------------------------------------------------------------------

void OrbiskPlugin::StartRendering(const MethodCall&, std::unique_ptr<MethodResult> result) {
  LogBanner("StartRendering called");
  if (!g_viewer_state) {
    Log("ERROR: Viewer state not initialized");
    result->Error("NOT_INITIALIZED", "Texture not created");
    return;
  }
  OrbiskState& state = *g_viewer_state;
  // Without the lock: only commands change the model, and they run on this thread.
  if (state.model.meshes.empty()) {
    Log("ERROR: No model loaded");
    result->Error("NO_MODEL", "Model not loaded");
    return;
  }
  Log("Model check: ", state.model.meshes.size(), " meshes loaded");
  if (state.render_thread) {
    Log("Stopping existing rendering thread...");
    StopRenderThread(state);
    Log("Existing thread stopped");
  }
  Log("Starting new rendering thread...");
  state.stop_requested = false;
  state.render_thread = std::make_unique<std::thread>(RenderingThread, &state);
  Log(kSeparator);
  Log("Rendering thread started successfully!");
  Log("Texture ID: ", state.texture_id);
  Log(kSeparator);
  result->Success(EncodableValue(true));
}

void OrbiskPlugin::StopRendering(const MethodCall&, std::unique_ptr<MethodResult> result) {
  Log("StopRendering called");
  if (g_viewer_state) {
    if (g_viewer_state->render_thread) StopRenderThread(*g_viewer_state);
    Log("Rendering stopped");
  }
  result->Success(EncodableValue(true));
}

// ---- Orientation and view ----------------------------------------------------------------------------------

void OrbiskPlugin::SetCameraDistance(const MethodCall& call, std::unique_ptr<MethodResult> result) {
  std::array<double, 1> distance;
  if (!TakeDoubles<1>(call, *result, {"distance"}, "Missing 'distance' parameter", distance)) return;
  {
    const StateLock lock(*g_viewer_state);
    g_viewer_state->camera_distance = static_cast<float>(distance[0]);
  }
  Log("Camera distance set to: ", distance[0]);
  result->Success(EncodableValue(true));
}

void OrbiskPlugin::SetModelScale(const MethodCall& call, std::unique_ptr<MethodResult> result) {
  std::array<double, 1> scale;
  if (!TakeDoubles<1>(call, *result, {"scale"}, "Missing 'scale' parameter", scale)) return;
  {
    const StateLock lock(*g_viewer_state);
    g_viewer_state->model_scale = static_cast<float>(scale[0]);
  }
  Log("Model scale set to: ", scale[0]);
  result->Success(EncodableValue(true));
}

void OrbiskPlugin::SetRotation(const MethodCall& call, std::unique_ptr<MethodResult> result) {
  std::array<double, 3> received;
  if (!TakeAngles(call, *result, received)) return;
  const EulerDegrees angles = Narrow(received);
  const Quaternion quaternion = EulerToQuaternion(angles);
  OrbiskState& state = *g_viewer_state;
  const StateLock lock(state);
  state.yaw = angles.yaw;
  state.pitch = angles.pitch;
  state.roll = angles.roll;
  state.quat_x = quaternion.x;
  state.quat_y = quaternion.y;
  state.quat_z = quaternion.z;
  state.quat_w = quaternion.w;
  result->Success(EncodableValue(true));
}

void OrbiskPlugin::SetBaseRotation(const MethodCall& call, std::unique_ptr<MethodResult> result) {
  std::array<double, 3> received;
  if (!TakeAngles(call, *result, received)) return;
  const EulerDegrees angles = Narrow(received);
  {
    const StateLock lock(*g_viewer_state);
    g_viewer_state->base_roll = angles.roll;
    g_viewer_state->base_pitch = angles.pitch;
    g_viewer_state->base_yaw = angles.yaw;
  }
  Log("Base rotation set to: roll=", received[0], "° pitch=", received[1], "° yaw=", received[2], "°");
  result->Success(EncodableValue(true));
}

void OrbiskPlugin::SetQuaternion(const MethodCall& call, std::unique_ptr<MethodResult> result) {
  Quaternion quaternion;
  if (!TakeQuaternion(call, *result, quaternion)) return;
  const EulerDegrees angles = QuaternionToEuler(quaternion);
  {
    const StateLock lock(*g_viewer_state);
    g_viewer_state->quat_x = quaternion.x;
    g_viewer_state->quat_y = quaternion.y;
    g_viewer_state->quat_z = quaternion.z;
    g_viewer_state->quat_w = quaternion.w;
    g_viewer_state->roll = angles.roll;
    g_viewer_state->pitch = angles.pitch;
    g_viewer_state->yaw = angles.yaw;
  }
  result->Success(EncodableValue(true));
}

void OrbiskPlugin::SetBaseQuaternion(const MethodCall& call, std::unique_ptr<MethodResult> result) {
  Quaternion quaternion;
  if (!TakeQuaternion(call, *result, quaternion)) return;
  const EulerDegrees angles = QuaternionToEuler(quaternion);
  {
    const StateLock lock(*g_viewer_state);
    g_viewer_state->base_roll = angles.roll;
    g_viewer_state->base_pitch = angles.pitch;
    g_viewer_state->base_yaw = angles.yaw;
  }
  Log("Base quaternion set to: x=", quaternion.x, " y=", quaternion.y, " z=", quaternion.z, " w=", quaternion.w);
  result->Success(EncodableValue(true));
}

}  // namespace

void OrbiskPluginRegisterWithRegistrar(FlutterDesktopPluginRegistrar* registrar) {
  OrbiskPlugin::RegisterWithRegistrar(flutter::PluginRegistrarManager::GetInstance()->GetRegistrar(registrar));
}
