// The embedder of a desk: Flutter's C interface for plug-ins, with this program in place of engine and
// application. embedder.cpp defines the functions of flutter_desktop.h themselves; a plug-in that is loaded
// into the program finds them there.

#ifndef HOST_EMBEDDER_H_
#define HOST_EMBEDDER_H_

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "flutter_desktop.h"
#include "host/frame.h"

namespace host {

/// One engine with one plug-in registrar: delivers messages to the plug-in and fetches frames from its
/// textures.
///
/// Only pixel-buffer textures are shown; registering one of another kind gives -1. Messages that the plug-in
/// sends find nobody on the other side.
///
/// Thread   all members on the platform thread, which is the one that made the embedder. Frames are fetched and passed
///          on by a raster thread of its own.
class Embedder {
 public:
  using FrameSink = std::function<void(std::shared_ptr<const Frame>)>;

  /// `on_frame` receives every frame that is fetched, on the raster thread.
  explicit Embedder(FrameSink on_frame);
  /// Stops the raster thread and destroys the registrar, unless that has been done.
  ~Embedder();
  Embedder(const Embedder&) = delete;
  Embedder& operator=(const Embedder&) = delete;

  /// What a plug-in's registration function takes.
  FlutterDesktopPluginRegistrarRef registrar() const { return registrar_.get(); }

  /// Delivers a message and returns the answer's bytes; none when nobody listens on the channel or the
  /// handler returned without an answer.
  ///
  /// Failure  what the plug-in's handler throws comes through.
  std::optional<std::vector<uint8_t>> Deliver(const std::string& channel, const std::vector<uint8_t>& message);

  /// Brings a texture on screen at this size: fetches it once, keeping the picture to itself (a plug-in may
  /// make its buffer only now, with nothing in it), and from now on whenever the plug-in marks a frame. Marks
  /// that come faster than frames can be fetched count as one.
  ///
  /// Failure  HostError: there is no such texture, or the plug-in hands out no buffer.
  void ShowTexture(int64_t texture_id, int width, int height);

  /// Throws HostError when the plug-in's pixel-buffer callback has thrown.
  void CheckRaster() const;

  /// Ends fetching; no texture callback runs any more when it returns.
  void StopRaster();

  /// Tells the plug-in that its registrar goes away. Marks and messages are still accepted, and ignored.
  void DestroyRegistrar();

  uint64_t frames_marked() const;   // frames that the plug-in has drawn for a texture on screen
  uint64_t frames_fetched() const;  // frames that `on_frame` has taken

 private:
  std::unique_ptr<FlutterDesktopPluginRegistrar> registrar_;
};

}  // namespace host

#endif  // HOST_EMBEDDER_H_
