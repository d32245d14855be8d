#ifndef FUZZ_ANSWER_H_
#define FUZZ_ANSWER_H_

#include <memory>
#include <string>

#include "flutter/encodable_value.h"
#include "flutter/method_result.h"

namespace fuzz {

/// Takes a command's answer and keeps it.
class Answer : public flutter::MethodResult<flutter::EncodableValue> {
 public:
  int count = 0;  // of the answers it has had; the rest is the last one's
  bool is_error = false;
  std::string code;
  std::string message;
  flutter::EncodableValue value;  // the result, or an error's details

 private:
  void SuccessInternal(const flutter::EncodableValue* result) override { Keep(false, "", "", result); }
  void ErrorInternal(const std::string& error_code, const std::string& error_message,
                     const flutter::EncodableValue* details) override {
    Keep(true, error_code, error_message, details);
  }
  void NotImplementedInternal() override { Keep(true, "not implemented", "", nullptr); }

  void Keep(bool error, const std::string& error_code, const std::string& error_message,
            const flutter::EncodableValue* kept_value) {
    ++count;
    is_error = error;
    code = error_code;
    message = error_message;
    value = kept_value == nullptr ? flutter::EncodableValue() : *kept_value;
  }
};

}  // namespace fuzz

#endif  // FUZZ_ANSWER_H_
