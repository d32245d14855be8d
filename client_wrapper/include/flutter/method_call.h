#ifndef CLIENT_WRAPPER_INCLUDE_FLUTTER_METHOD_CALL_H_
#define CLIENT_WRAPPER_INCLUDE_FLUTTER_METHOD_CALL_H_

#include <memory>
#include <string>
#include <utility>

#include "flutter/encodable_value.h"

namespace flutter {

/// A method's name and its arguments.
template <typename T = EncodableValue>
class MethodCall {
 public:
  MethodCall(std::string method_name, std::unique_ptr<T> arguments)
      : method_name_(std::move(method_name)), arguments_(std::move(arguments)) {}
  virtual ~MethodCall() = default;
  MethodCall(const MethodCall&) = delete;
  MethodCall& operator=(const MethodCall&) = delete;

  const std::string& method_name() const { return method_name_; }
  /// Null when the call has none; the call owns them.
  const T* arguments() const { return arguments_.get(); }

 private:
  std::string method_name_;
  std::unique_ptr<T> arguments_;
};

}  // namespace flutter

#endif  // CLIENT_WRAPPER_INCLUDE_FLUTTER_METHOD_CALL_H_
