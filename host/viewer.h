#ifndef HOST_VIEWER_H_
#define HOST_VIEWER_H_

#include <chrono>
#include <cstdint>
#include <stdexcept>
#include <string>

#include "flutter/encodable_value.h"
#include "host/embedder.h"
#include "host/latency.h"
#include "host/orientation.h"

namespace host {

/// A command that failed: what() is "<command> failed: <code>: <message>" in one line.
class CommandError : public std::runtime_error {
 public:
  CommandError(const std::string& command, const std::string& code, const std::string& message);

  /// The plug-in's code, such as "LOAD_FAILED"; empty when it gave no coded answer.
  const std::string& code() const { return code_; }
  /// True when an exception left the plug-in's handler; its text is in the message.
  bool left_by_exception() const;
  /// The plug-in's message, in one line; what happened instead when it gave no coded answer.
  const std::string& message() const { return message_; }

 private:
  const std::string code_;
  const std::string message_;
};

/// The commands of the channel "orbisk", as an application sends them: encoded, and answered in bytes.
///
/// Thread   the platform thread.
/// Lifetime borrows the embedder.
/// Failure  CommandError, from every command: an error envelope, no answer, an answer of the wrong type, or an
/// exception
///          that left the plug-in's handler.
class Viewer {
 public:
  explicit Viewer(Embedder& embedder) : embedder_(embedder) {}

  /// Returns the texture's identifier.
  int64_t CreateTexture(int width, int height);
  void LoadModel(const std::string& path);
  void StartRendering();
  void StopRendering();
  void Dispose();
  void SetCameraDistance(double distance);
  void SetModelScale(double scale);
  void SetBaseRotation(const Angles& base);
  /// "setQuaternion" or "setRotation", according to the form of `orientation`.
  void SetOrientation(const Orientation& orientation);

  uint64_t commands_sent() const { return commands_sent_; }
  /// From delivery to answer, of SetOrientation alone: the commands that an application sends all the time.
  const LatencyRecord& orientation_latency() const { return orientation_latency_; }
  /// How long the last command took.
  std::chrono::nanoseconds last_latency() const { return last_latency_; }

 private:
  flutter::EncodableValue Invoke(const std::string& command, flutter::EncodableMap arguments = {});
  void InvokeForTrue(const std::string& command, flutter::EncodableMap arguments = {});

  Embedder& embedder_;
  uint64_t commands_sent_ = 0;
  LatencyRecord orientation_latency_;
  std::chrono::nanoseconds last_latency_{0};
};

}  // namespace host

#endif  // HOST_VIEWER_H_
