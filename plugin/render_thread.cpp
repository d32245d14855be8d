#include "plugin/render_thread.h"

#include "plugin/log.h"
#include "plugin/registrations.h"
#include "plugin/scene_transform.h"

namespace {

constexpr int kWaitsPerWaitingLine = 30;
constexpr int kLastIterationToWarn = 4;

bool HasFrameToDraw(const OrbiskState& state) ORBISK_REQUIRES(state.mutex) {
  return state.renderer && !state.model.meshes.empty();
}

// False where the renderer's frame is larger than the buffer, which keeps the size of the renderer that it was made
// for.
bool FrameFits(const FlutterDesktopPixelBuffer& buffer, const EGLRenderer& renderer) {
  if (renderer.width() < 0 || renderer.height() < 0) return false;
  const size_t frame_pixels = static_cast<size_t>(renderer.width()) * static_cast<size_t>(renderer.height());
  return frame_pixels <= buffer.width * buffer.height;
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

bool BindContextToRenderThread(OrbiskState& state) ORBISK_EXCLUDES(state.mutex) {
  // "createTexture" may be replacing the renderer at this moment.
  const RenderLock lock(state);
  // NOTE: without a renderer the loop runs without a context and draws a later renderer with none.
  // RenderLoopTest.StartedWithoutRendererWaitsAndBindsNoContext holds it.
  if (!state.renderer) return true;
  if (!state.renderer->makeContextCurrent()) return false;
  Log("EGL context made current in rendering thread");
  return true;
}

// Draws a frame; or waits where there is nothing to draw, and returns false.
bool DrawOrWait(OrbiskState& state, int iteration) ORBISK_EXCLUDES(state.mutex) {
  const RenderLock lock(state);
  if (HasFrameToDraw(state)) {
    DrawFrame(state);
    return true;
  }
  if (iteration % kWaitsPerWaitingLine == 0) {
    Log("Waiting for renderer/model... renderer=", state.renderer ? "OK" : "NULL",
        " mesh_count=", state.model.meshes.size());
  }
  // NOTE: with the lock held, so a command may wait 100 ms while there is nothing to draw.
  // RenderLoopTest.IdleWaitKeepsTheLock holds it.
  std::this_thread::sleep_for(kIdleWait);
  return false;
}

}  // namespace

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

std::chrono::milliseconds PacingSleep(std::chrono::nanoseconds elapsed) {
  if (elapsed >= kFrameInterval) return std::chrono::milliseconds(0);
  return kFrameInterval - std::chrono::duration_cast<std::chrono::milliseconds>(elapsed);
}

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
    if (DrawOrWait(*state, iteration)) {
      AnnounceFrame(*state, iteration);
      std::this_thread::sleep_for(PacingSleep(std::chrono::steady_clock::now() - start));
    }
    ++iteration;
  }

  state->rendering = false;
  LogBanner("Rendering thread STOPPED (rendered ", iteration, " frames)");
}

void RequestStopAndJoin(OrbiskState& state) {
  state.stop_requested = true;
  if (state.render_thread->joinable()) state.render_thread->join();
}
