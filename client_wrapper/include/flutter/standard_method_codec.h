#ifndef CLIENT_WRAPPER_INCLUDE_FLUTTER_STANDARD_METHOD_CODEC_H_
#define CLIENT_WRAPPER_INCLUDE_FLUTTER_STANDARD_METHOD_CODEC_H_

#include <memory>
#include <string>
#include <vector>

#include "flutter/encodable_value.h"
#include "flutter/method_codec.h"
#include "flutter/standard_codec_serializer.h"

namespace flutter {

/// Method calls and answers in Flutter's standard encoding.
///
/// Shape    call     name, arguments
///          success  byte 0, value
///          error    byte 1, code, message or null, details or null
///          not implemented: no bytes at all
/// Failure  a response envelope whose error code is not a string throws std::bad_variant_access.
class StandardMethodCodec : public MethodCodec<EncodableValue> {
 public:
  /// The codec over `serializer`, or over the standard one when null.
  ///
  /// Lifetime each serializer's codec is made once and lives as long as the process; so must the serializer.
  /// Thread   the platform thread.
  static const StandardMethodCodec& GetInstance(const StandardCodecSerializer* serializer = nullptr);

 protected:
  std::unique_ptr<MethodCall<EncodableValue>> DecodeMethodCallInternal(const uint8_t* bytes,
                                                                       size_t size) const override;
  std::unique_ptr<std::vector<uint8_t>> EncodeMethodCallInternal(const MethodCall<EncodableValue>& call) const override;
  std::unique_ptr<std::vector<uint8_t>> EncodeSuccessEnvelopeInternal(const EncodableValue* result) const override;
  std::unique_ptr<std::vector<uint8_t>> EncodeErrorEnvelopeInternal(const std::string& code, const std::string& message,
                                                                    const EncodableValue* details) const override;
  bool DecodeAndProcessResponseEnvelopeInternal(const uint8_t* bytes, size_t size,
                                                MethodResult<EncodableValue>* result) const override;

 private:
  explicit StandardMethodCodec(const StandardCodecSerializer* serializer) : serializer_(serializer) {}

  const StandardCodecSerializer* serializer_;
};

}  // namespace flutter

#endif  // CLIENT_WRAPPER_INCLUDE_FLUTTER_STANDARD_METHOD_CODEC_H_
