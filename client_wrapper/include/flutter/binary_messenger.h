#ifndef CLIENT_WRAPPER_INCLUDE_FLUTTER_BINARY_MESSENGER_H_
#define CLIENT_WRAPPER_INCLUDE_FLUTTER_BINARY_MESSENGER_H_

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace flutter {

/// Takes the bytes of a reply, which live until it returns.
using BinaryReply = std::function<void(const uint8_t* reply, size_t reply_size)>;

/// Takes the bytes of a message, which live until it returns, and the function that answers it. The reply may
/// be kept and called later, once.
using BinaryMessageHandler = std::function<void(const uint8_t* message, size_t message_size, BinaryReply reply)>;

/// Sends and receives the raw messages of named channels.
///
/// Thread   the platform thread.
class BinaryMessenger {
 public:
  virtual ~BinaryMessenger() = default;

  /// Sends a message; `reply`, when not empty, is called once with the other side's answer.
  virtual void Send(const std::string& channel, const uint8_t* message, size_t message_size,
                    BinaryReply reply = nullptr) const = 0;

  /// Makes `handler` receive the channel's messages from now on, in place of any earlier one; an empty one stops
  /// them. A handler may replace or remove itself while it runs.
  virtual void SetMessageHandler(const std::string& channel, BinaryMessageHandler handler) = 0;
};

}  // namespace flutter

#endif  // CLIENT_WRAPPER_INCLUDE_FLUTTER_BINARY_MESSENGER_H_
