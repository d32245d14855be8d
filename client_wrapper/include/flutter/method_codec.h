#ifndef CLIENT_WRAPPER_INCLUDE_FLUTTER_METHOD_CODEC_H_
#define CLIENT_WRAPPER_INCLUDE_FLUTTER_METHOD_CODEC_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "flutter/method_call.h"
#include "flutter/method_result.h"

namespace flutter {

/// Translates between method calls, their answers and bytes. What it returns belongs to the caller.
template <typename T>
class MethodCodec {
 public:
  virtual ~MethodCodec() = default;
  MethodCodec(const MethodCodec&) = delete;
  MethodCodec& operator=(const MethodCodec&) = delete;

  /// Null when the bytes are no method call.
  std::unique_ptr<MethodCall<T>> DecodeMethodCall(const uint8_t* bytes, size_t size) const {
    return DecodeMethodCallInternal(bytes, size);
  }
  std::unique_ptr<std::vector<uint8_t>> EncodeMethodCall(const MethodCall<T>& call) const {
    return EncodeMethodCallInternal(call);
  }

  /// `result` may be null: success without a value.
  std::unique_ptr<std::vector<uint8_t>> EncodeSuccessEnvelope(const T* result = nullptr) const {
    return EncodeSuccessEnvelopeInternal(result);
  }
  /// `details` may be null.
  std::unique_ptr<std::vector<uint8_t>> EncodeErrorEnvelope(const std::string& code, const std::string& message = "",
                                                            const T* details = nullptr) const {
    return EncodeErrorEnvelopeInternal(code, message, details);
  }

  /// Answers `result` with what the non-empty reply says: true when it was a success or an error envelope.
  bool DecodeAndProcessResponseEnvelope(const uint8_t* bytes, size_t size, MethodResult<T>* result) const {
    return DecodeAndProcessResponseEnvelopeInternal(bytes, size, result);
  }

 protected:
  MethodCodec() = default;

  virtual std::unique_ptr<MethodCall<T>> DecodeMethodCallInternal(const uint8_t* bytes, size_t size) const = 0;
  virtual std::unique_ptr<std::vector<uint8_t>> EncodeMethodCallInternal(const MethodCall<T>& call) const = 0;
  virtual std::unique_ptr<std::vector<uint8_t>> EncodeSuccessEnvelopeInternal(const T* result) const = 0;
  virtual std::unique_ptr<std::vector<uint8_t>> EncodeErrorEnvelopeInternal(const std::string& code,
                                                                            const std::string& message,
                                                                            const T* details) const = 0;
  virtual bool DecodeAndProcessResponseEnvelopeInternal(const uint8_t* bytes, size_t size,
                                                        MethodResult<T>* result) const = 0;
};

}  // namespace flutter

#endif  // CLIENT_WRAPPER_INCLUDE_FLUTTER_METHOD_CODEC_H_
