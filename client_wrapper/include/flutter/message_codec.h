#ifndef CLIENT_WRAPPER_INCLUDE_FLUTTER_MESSAGE_CODEC_H_
#define CLIENT_WRAPPER_INCLUDE_FLUTTER_MESSAGE_CODEC_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace flutter {

/// Translates between messages of type T and bytes. What it returns belongs to the caller.
template <typename T>
class MessageCodec {
 public:
  virtual ~MessageCodec() = default;
  MessageCodec(const MessageCodec&) = delete;
  MessageCodec& operator=(const MessageCodec&) = delete;

  std::unique_ptr<T> DecodeMessage(const uint8_t* bytes, size_t size) const {
    return DecodeMessageInternal(bytes, size);
  }
  std::unique_ptr<T> DecodeMessage(const std::vector<uint8_t>& bytes) const {
    return DecodeMessageInternal(bytes.data(), bytes.size());
  }
  std::unique_ptr<std::vector<uint8_t>> EncodeMessage(const T& message) const { return EncodeMessageInternal(message); }

 protected:
  MessageCodec() = default;

  virtual std::unique_ptr<T> DecodeMessageInternal(const uint8_t* bytes, size_t size) const = 0;
  virtual std::unique_ptr<std::vector<uint8_t>> EncodeMessageInternal(const T& message) const = 0;
};

}  // namespace flutter

#endif  // CLIENT_WRAPPER_INCLUDE_FLUTTER_MESSAGE_CODEC_H_
