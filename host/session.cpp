#include "host/session.h"

#include <exception>
#include <utility>

#include "host/environment.h"
#include "host/host_error.h"
#include "host/model_trouble.h"

namespace host {

Session::Session(RegisterPluginFunction register_plugin, const Options& options, Embedder::FrameSink on_frame)
    : embedder_(std::move(on_frame)), viewer_(embedder_) {
  register_plugin(embedder_.registrar());
  try {
    SetUp(options);
  } catch (...) {
    EndQuietly();
    throw;
  }
}

Session::~Session() { EndQuietly(); }

void Session::SetUp(const Options& options) {
  int64_t texture_id = -1;
  try {
    texture_id = viewer_.CreateTexture(options.width, options.height);
  } catch (const CommandError& error) {
    if (error.code() != "INIT_FAILED") throw;
    throw HostError(std::string(error.what()) + ": " + EglAdvice());
  }
  create_texture_latency_ = viewer_.last_latency();

  // Before anything is drawn: the plug-in makes its pixel buffer when it is first asked for a frame, and only
  // what it draws from then on gets into it.
  embedder_.ShowTexture(texture_id, options.width, options.height);

  try {
    viewer_.LoadModel(options.model);
  } catch (const CommandError& error) {
    if (error.code() != "LOAD_FAILED" && !error.left_by_exception()) throw;
    throw HostError("cannot load the model " + options.model + ": " + ModelTrouble(options.model, error.message()) +
                    " (" + error.code() + (error.code().empty() ? "" : ": ") + error.message() + ")");
  }
  load_model_latency_ = viewer_.last_latency();

  if (options.distance) viewer_.SetCameraDistance(*options.distance);
  if (options.scale) viewer_.SetModelScale(*options.scale);
  if (options.base) viewer_.SetBaseRotation(*options.base);
}

void Session::End() {
  if (std::exchange(ended_, true)) return;
  viewer_.StopRendering();
  embedder_.StopRaster();
  viewer_.Dispose();
  embedder_.DestroyRegistrar();
}

void Session::EndQuietly() {
  try {
    End();
  } catch (const std::exception&) {
    // There is an error under way already, or one that nobody could do anything about.
  }
}

}  // namespace host
