#include "orbisk/orbisk_plugin.h"

#include <array>
#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <utility>

#include "flutter/method_channel.h"
#include "flutter/plugin_registrar.h"
#include "flutter/standard_method_codec.h"
#include "plugin/arguments.h"
#include "plugin/log.h"
#include "plugin/model_path.h"
#include "plugin/orbisk_state.h"
#include "plugin/pixel_texture.h"
#include "plugin/registrations.h"
#include "plugin/render_thread.h"
#include "plugin/scene_transform.h"
#include "plugin/shaders.h"

std::unique_ptr<OrbiskState> g_viewer_state;

namespace {

using flutter::EncodableMap;
using flutter::EncodableValue;
using MethodCall = flutter::MethodCall<EncodableValue>;
using MethodResult = flutter::MethodResult<EncodableValue>;

void StopRenderThread(OrbiskState& state) {
  RequestStopAndJoin(state);
  state.render_thread.reset();
}

void UnregisterTexture(const OrbiskState& state) {
  g_registrar.load()->texture_registrar()->UnregisterTexture(state.texture_id);
}

bool HasRegisteredTexture(const OrbiskState& state) { return g_registrar != nullptr && state.texture_id >= 0; }

// ---- Arguments ---------------------------------------------------------------------------------------------

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

// A single number, as received.
bool TakeDouble(const MethodCall& call, MethodResult& result, const char* key, const char* missing_message,
                double& value) {
  std::array<double, 1> values;
  if (!TakeDoubles<1>(call, result, {key}, missing_message, values)) return false;
  value = values[0];
  return true;
}

bool TakeQuaternion(const MethodCall& call, MethodResult& result, Quaternion& quaternion) {
  std::array<double, 4> values;
  if (!TakeDoubles<4>(call, result, {"x", "y", "z", "w"}, "Missing quaternion components", values)) return false;
  quaternion = {static_cast<float>(values[0]), static_cast<float>(values[1]), static_cast<float>(values[2]),
                static_cast<float>(values[3])};
  return true;
}

// Roll, pitch and yaw in degrees: as received, and as they are stored.
bool TakeAngles(const MethodCall& call, MethodResult& result, std::array<double, 3>& received, EulerDegrees& angles) {
  if (!TakeDoubles<3>(call, result, {"roll", "pitch", "yaw"}, "Missing 'roll', 'pitch', or 'yaw' parameter",
                      received)) {
    return false;
  }
  angles = {static_cast<float>(received[0]), static_cast<float>(received[1]), static_cast<float>(received[2])};
  return true;
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
  AddRegistration(plugin.get(), registrar);
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
  RemoveRegistration(this);
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
  // NOTE: with the lock held to the end, the answers included.
  // LockingTest.OnlyLoadModelCreateTextureAndSetRotationAnswerUnderTheLock holds it.
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

void LogLoadedModel(const GLBModel& model, const std::string& path, const std::string& loader_log) {
  Log("Successfully loaded from: ", path);
  Log(kLogSeparator);
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
  Log(kLogSeparator);
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
  // NOTE: with the lock held to the end, the answers included.
  // LockingTest.OnlyLoadModelCreateTextureAndSetRotationAnswerUnderTheLock holds it.
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

// Unchecked, as it takes no lock: only commands change the model, and they run on this thread. With the lock, a start
// would wait for a frame under way.
size_t LoadedMeshCount(const OrbiskState& state) ORBISK_UNCHECKED { return state.model.meshes.size(); }

void OrbiskPlugin::StartRendering(const MethodCall&, std::unique_ptr<MethodResult> result) {
  LogBanner("StartRendering called");
  if (!g_viewer_state) {
    Log("ERROR: Viewer state not initialized");
    result->Error("NOT_INITIALIZED", "Texture not created");
    return;
  }
  OrbiskState& state = *g_viewer_state;
  const size_t mesh_count = LoadedMeshCount(state);
  if (mesh_count == 0) {
    Log("ERROR: No model loaded");
    result->Error("NO_MODEL", "Model not loaded");
    return;
  }
  Log("Model check: ", mesh_count, " meshes loaded");
  if (state.render_thread) {
    Log("Stopping existing rendering thread...");
    StopRenderThread(state);
    Log("Existing thread stopped");
  }
  Log("Starting new rendering thread...");
  state.stop_requested = false;
  state.render_thread = std::make_unique<std::thread>(RenderingThread, &state);
  Log(kLogSeparator);
  Log("Rendering thread started successfully!");
  Log("Texture ID: ", state.texture_id);
  Log(kLogSeparator);
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
  double distance = 0;
  if (!TakeDouble(call, *result, "distance", "Missing 'distance' parameter", distance)) return;
  {
    const StateLock lock(*g_viewer_state);
    g_viewer_state->camera_distance = static_cast<float>(distance);
  }
  Log("Camera distance set to: ", distance);
  result->Success(EncodableValue(true));
}

void OrbiskPlugin::SetModelScale(const MethodCall& call, std::unique_ptr<MethodResult> result) {
  double scale = 0;
  if (!TakeDouble(call, *result, "scale", "Missing 'scale' parameter", scale)) return;
  {
    const StateLock lock(*g_viewer_state);
    g_viewer_state->model_scale = static_cast<float>(scale);
  }
  Log("Model scale set to: ", scale);
  result->Success(EncodableValue(true));
}

void StoreOrientation(OrbiskState& state, const Quaternion& quaternion, const EulerDegrees& angles)
    ORBISK_REQUIRES(state.mutex) {
  state.quat_x = quaternion.x;
  state.quat_y = quaternion.y;
  state.quat_z = quaternion.z;
  state.quat_w = quaternion.w;
  state.roll = angles.roll;
  state.pitch = angles.pitch;
  state.yaw = angles.yaw;
}

void StoreBaseOrientation(OrbiskState& state, const EulerDegrees& angles) ORBISK_EXCLUDES(state.mutex) {
  const StateLock lock(state);
  state.base_roll = angles.roll;
  state.base_pitch = angles.pitch;
  state.base_yaw = angles.yaw;
}

void OrbiskPlugin::SetRotation(const MethodCall& call, std::unique_ptr<MethodResult> result) {
  std::array<double, 3> received;
  EulerDegrees angles;
  if (!TakeAngles(call, *result, received, angles)) return;
  const Quaternion quaternion = EulerToQuaternion(angles);
  // NOTE: with the lock held to the end, the answer included; "setQuaternion" answers without it.
  // LockingTest.OnlyLoadModelCreateTextureAndSetRotationAnswerUnderTheLock holds it.
  const StateLock lock(*g_viewer_state);
  StoreOrientation(*g_viewer_state, quaternion, angles);
  result->Success(EncodableValue(true));
}

void OrbiskPlugin::SetBaseRotation(const MethodCall& call, std::unique_ptr<MethodResult> result) {
  std::array<double, 3> received;
  EulerDegrees angles;
  if (!TakeAngles(call, *result, received, angles)) return;
  StoreBaseOrientation(*g_viewer_state, angles);
  Log("Base rotation set to: roll=", received[0], "° pitch=", received[1], "° yaw=", received[2], "°");
  result->Success(EncodableValue(true));
}

void OrbiskPlugin::SetQuaternion(const MethodCall& call, std::unique_ptr<MethodResult> result) {
  Quaternion quaternion;
  if (!TakeQuaternion(call, *result, quaternion)) return;
  const EulerDegrees angles = QuaternionToEuler(quaternion);
  {
    const StateLock lock(*g_viewer_state);
    StoreOrientation(*g_viewer_state, quaternion, angles);
  }
  result->Success(EncodableValue(true));
}

void OrbiskPlugin::SetBaseQuaternion(const MethodCall& call, std::unique_ptr<MethodResult> result) {
  Quaternion quaternion;
  if (!TakeQuaternion(call, *result, quaternion)) return;
  StoreBaseOrientation(*g_viewer_state, QuaternionToEuler(quaternion));
  Log("Base quaternion set to: x=", quaternion.x, " y=", quaternion.y, " z=", quaternion.z, " w=", quaternion.w);
  result->Success(EncodableValue(true));
}

}  // namespace

void OrbiskPluginRegisterWithRegistrar(FlutterDesktopPluginRegistrar* registrar) {
  OrbiskPlugin::RegisterWithRegistrar(flutter::PluginRegistrarManager::GetInstance()->GetRegistrar(registrar));
}
