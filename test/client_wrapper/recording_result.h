#ifndef TEST_CLIENT_WRAPPER_RECORDING_RESULT_H_
#define TEST_CLIENT_WRAPPER_RECORDING_RESULT_H_

#include <string>
#include <vector>

#include "flutter/method_result.h"
#include "message_bytes.h"

namespace client_wrapper_test {

/// Keeps every answer as text: "success", "success <value>", "error <code>, <message>",
/// "error <code>, <message>, <details>", "not implemented".
class RecordingResult : public flutter::MethodResult<> {
 public:
  const std::vector<std::string>& answers() const { return answers_; }

 protected:
  void SuccessInternal(const flutter::EncodableValue* value) override {
    answers_.push_back(value == nullptr ? "success" : "success " + ::testing::PrintToString(*value));
  }
  void ErrorInternal(const std::string& code, const std::string& message,
                     const flutter::EncodableValue* details) override {
    answers_.push_back("error " + code + ", " + message);
    if (details != nullptr) answers_.back() += ", " + ::testing::PrintToString(*details);
  }
  void NotImplementedInternal() override { answers_.push_back("not implemented"); }

 private:
  std::vector<std::string> answers_;
};

}  // namespace client_wrapper_test

#endif  // TEST_CLIENT_WRAPPER_RECORDING_RESULT_H_
