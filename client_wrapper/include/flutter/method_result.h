#ifndef CLIENT_WRAPPER_INCLUDE_FLUTTER_METHOD_RESULT_H_
#define CLIENT_WRAPPER_INCLUDE_FLUTTER_METHOD_RESULT_H_

#include <string>

#include "flutter/encodable_value.h"

namespace flutter {

/// The answer to one method call: exactly one of success, error and not implemented.
///
/// Thread   the platform thread, at once or later.
template <typename T = EncodableValue>
class MethodResult {
 public:
  MethodResult() = default;
  virtual ~MethodResult() = default;
  MethodResult(const MethodResult&) = delete;
  MethodResult& operator=(const MethodResult&) = delete;

  void Success() { SuccessInternal(nullptr); }
  void Success(const T& value) { SuccessInternal(&value); }

  /// `code` is for programs, `message` for people; `details` is whatever helps.
  void Error(const std::string& code, const std::string& message = "") { ErrorInternal(code, message, nullptr); }
  void Error(const std::string& code, const std::string& message, const T& details) {
    ErrorInternal(code, message, &details);
  }

  void NotImplemented() { NotImplementedInternal(); }

 protected:
  virtual void SuccessInternal(const T* value) = 0;
  virtual void ErrorInternal(const std::string& code, const std::string& message, const T* details) = 0;
  virtual void NotImplementedInternal() = 0;
};

}  // namespace flutter

#endif  // CLIENT_WRAPPER_INCLUDE_FLUTTER_METHOD_RESULT_H_
