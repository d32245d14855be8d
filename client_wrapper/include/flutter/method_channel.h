#ifndef CLIENT_WRAPPER_INCLUDE_FLUTTER_METHOD_CHANNEL_H_
#define CLIENT_WRAPPER_INCLUDE_FLUTTER_METHOD_CHANNEL_H_

#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "flutter/binary_messenger.h"
#include "flutter/engine_method_result.h"
#include "flutter/method_codec.h"

namespace flutter {

namespace internal {

/// Writes "Unable to construct method call from message on channel " and the name to standard error.
void ReportUndecodableCall(const std::string& channel);

}  // namespace internal

/// Handles the calls of one method and answers it through `result`, once.
template <typename T = EncodableValue>
using MethodCallHandler = std::function<void(const MethodCall<T>& call, std::unique_ptr<MethodResult<T>> result)>;

/// A named channel on which Dart calls methods of ours.
///
/// Lifetime borrows messenger and codec, which must outlive the installed handler. The channel object itself need
///          not: the handler stays installed without it.
/// Thread   the platform thread.
template <typename T = EncodableValue>
class MethodChannel {
 public:
  MethodChannel(BinaryMessenger* messenger, std::string name, const MethodCodec<T>* codec)
      : messenger_(messenger), name_(std::move(name)), codec_(codec) {}
  MethodChannel(const MethodChannel&) = delete;
  MethodChannel& operator=(const MethodChannel&) = delete;

  /// Makes `handler` receive the channel's calls; an empty one removes the handler.
  void SetMethodCallHandler(MethodCallHandler<T> handler) const {
    if (!handler) {
      messenger_->SetMessageHandler(name_, nullptr);
      return;
    }
    messenger_->SetMessageHandler(name_, [handler = std::move(handler), codec = codec_, channel = name_](
                                             const uint8_t* message, size_t message_size, BinaryReply reply) {
      auto result = std::make_unique<EngineMethodResult<T>>(std::move(reply), codec);
      const std::unique_ptr<MethodCall<T>> call = codec->DecodeMethodCall(message, message_size);
      if (!call) {
        internal::ReportUndecodableCall(channel);
        result->NotImplemented();
        return;
      }
      handler(*call, std::move(result));
    });
  }

 private:
  BinaryMessenger* messenger_;
  std::string name_;
  const MethodCodec<T>* codec_;
};

}  // namespace flutter

#endif  // CLIENT_WRAPPER_INCLUDE_FLUTTER_METHOD_CHANNEL_H_
