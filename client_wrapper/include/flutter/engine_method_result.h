#ifndef CLIENT_WRAPPER_INCLUDE_FLUTTER_ENGINE_METHOD_RESULT_H_
#define CLIENT_WRAPPER_INCLUDE_FLUTTER_ENGINE_METHOD_RESULT_H_

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "flutter/binary_messenger.h"
#include "flutter/method_codec.h"
#include "flutter/method_result.h"

namespace flutter {

namespace internal {

/// Holds the function that answers one message, and sees to it that it is called once at most.
///
/// Failure  a second answer is dropped with a line on standard error; so is, with a warning, the right to answer
///          when the manager dies with no answer given.
class ReplyManager {
 public:
  explicit ReplyManager(BinaryReply reply);
  ~ReplyManager();
  ReplyManager(const ReplyManager&) = delete;
  ReplyManager& operator=(const ReplyManager&) = delete;

  /// Null `data`: an answer of no bytes.
  void SendResponseData(const std::vector<uint8_t>* data);

 private:
  BinaryReply reply_;  // empty once answered
};

}  // namespace internal

/// The answer to a call that came through a channel: encodes it and sends it back.
///
/// Lifetime borrows the codec.
template <typename T = EncodableValue>
class EngineMethodResult : public MethodResult<T> {
 public:
  EngineMethodResult(BinaryReply reply, const MethodCodec<T>* codec)
      : reply_manager_(std::move(reply)), codec_(codec) {}

 protected:
  void SuccessInternal(const T* value) override {
    reply_manager_.SendResponseData(codec_->EncodeSuccessEnvelope(value).get());
  }
  void ErrorInternal(const std::string& code, const std::string& message, const T* details) override {
    reply_manager_.SendResponseData(codec_->EncodeErrorEnvelope(code, message, details).get());
  }
  void NotImplementedInternal() override { reply_manager_.SendResponseData(nullptr); }

 private:
  internal::ReplyManager reply_manager_;
  const MethodCodec<T>* codec_;
};

}  // namespace flutter

#endif  // CLIENT_WRAPPER_INCLUDE_FLUTTER_ENGINE_METHOD_RESULT_H_
