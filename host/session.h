#ifndef HOST_SESSION_H_
#define HOST_SESSION_H_

#include <chrono>

#include "host/embedder.h"
#include "host/options.h"
#include "host/plugin_library.h"
#include "host/viewer.h"

namespace host {

/// The plug-in at work: registered, with a texture on screen and a model that is being drawn.
///
/// Failure  HostError or CommandError; whatever has been set up by then is taken down in order.
class Session {
 public:
  /// Registers the plug-in, creates the texture, loads the model and sets the view, all but starting to draw.
  /// `on_frame` receives the frames, on the raster thread.
  Session(RegisterPluginFunction register_plugin, const Options& options, Embedder::FrameSink on_frame);
  /// Ends it, unless that has been done; failures are passed over.
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  /// Stops drawing, then fetching, then disposes of the viewer and lets the plug-in go: nothing that is freed
  /// is in use any more. The plug-in takes half a second to end.
  void End();

  Viewer& viewer() { return viewer_; }
  Embedder& embedder() { return embedder_; }

  std::chrono::nanoseconds create_texture_latency() const { return create_texture_latency_; }
  std::chrono::nanoseconds load_model_latency() const { return load_model_latency_; }

 private:
  void SetUp(const Options& options);
  void EndQuietly();

  Embedder embedder_;
  Viewer viewer_;
  bool ended_ = false;
  std::chrono::nanoseconds create_texture_latency_{0};
  std::chrono::nanoseconds load_model_latency_{0};
};

}  // namespace host

#endif  // HOST_SESSION_H_
