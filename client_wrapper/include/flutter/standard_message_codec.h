#ifndef CLIENT_WRAPPER_INCLUDE_FLUTTER_STANDARD_MESSAGE_CODEC_H_
#define CLIENT_WRAPPER_INCLUDE_FLUTTER_STANDARD_MESSAGE_CODEC_H_

#include <memory>
#include <vector>

#include "flutter/encodable_value.h"
#include "flutter/message_codec.h"
#include "flutter/standard_codec_serializer.h"

namespace flutter {

/// One value per message, in Flutter's standard encoding.
class StandardMessageCodec : public MessageCodec<EncodableValue> {
 public:
  /// The codec over `serializer`, or over the standard one when null.
  ///
  /// Lifetime each serializer's codec is made once and lives as long as the process; so must the serializer.
  /// Thread   the platform thread.
  static const StandardMessageCodec& GetInstance(const StandardCodecSerializer* serializer = nullptr);

 protected:
  std::unique_ptr<EncodableValue> DecodeMessageInternal(const uint8_t* bytes, size_t size) const override;
  std::unique_ptr<std::vector<uint8_t>> EncodeMessageInternal(const EncodableValue& message) const override;

 private:
  explicit StandardMessageCodec(const StandardCodecSerializer* serializer) : serializer_(serializer) {}

  const StandardCodecSerializer* serializer_;
};

}  // namespace flutter

#endif  // CLIENT_WRAPPER_INCLUDE_FLUTTER_STANDARD_MESSAGE_CODEC_H_
