#ifndef CLIENT_WRAPPER_BINARY_MESSENGER_IMPL_H_
#define CLIENT_WRAPPER_BINARY_MESSENGER_IMPL_H_

#include <map>
#include <memory>
#include <string>

#include "flutter/binary_messenger.h"
#include "flutter_desktop.h"

namespace flutter {

/// A messenger over the embedder's.
class BinaryMessengerImpl : public BinaryMessenger {
 public:
  explicit BinaryMessengerImpl(FlutterDesktopMessengerRef messenger) : messenger_(messenger) {}

  void Send(const std::string& channel, const uint8_t* message, size_t message_size, BinaryReply reply) const override;
  void SetMessageHandler(const std::string& channel, BinaryMessageHandler handler) override;

 private:
  // Shared with a call that is under way, so that a handler which removes or replaces itself outlives the call.
  using SharedHandler = std::shared_ptr<const BinaryMessageHandler>;

  static void ForwardToHandler(FlutterDesktopMessengerRef messenger, const FlutterDesktopMessage* message,
                               void* user_data);

  FlutterDesktopMessengerRef messenger_;
  std::map<std::string, SharedHandler> handlers_;  // the embedder's user data points to the mapped values
};

}  // namespace flutter

#endif  // CLIENT_WRAPPER_BINARY_MESSENGER_IMPL_H_
