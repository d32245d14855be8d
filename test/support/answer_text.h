#ifndef TEST_SUPPORT_ANSWER_TEXT_H_
#define TEST_SUPPORT_ANSWER_TEXT_H_

#include <cstdint>
#include <optional>
#include <string>
#include <variant>

#include "flutter/encodable_value.h"
#include "flutter/standard_method_codec.h"
#include "test/fakes/fake_embedder.h"

/// What a command was answered, as text: "success true", "success 7", "error CODE: message", "not implemented",
/// "no answer".
class AnswerText : public flutter::MethodResult<flutter::EncodableValue> {
 public:
  static std::string Of(const fakes::Reply& reply) {
    if (!reply.answered()) return "no answer";
    const std::optional<fakes::Bytes> bytes = reply.bytes();
    if (!bytes) return "not implemented";
    AnswerText answer;
    flutter::StandardMethodCodec::GetInstance().DecodeAndProcessResponseEnvelope(bytes->data(), bytes->size(), &answer);
    return answer.text_;
  }

 private:
  void SuccessInternal(const flutter::EncodableValue* value) override {
    if (value != nullptr && *value == flutter::EncodableValue(true)) {
      text_ = "success true";
    } else if (value != nullptr && std::holds_alternative<int64_t>(*value)) {
      text_ = "success " + std::to_string(std::get<int64_t>(*value));
    } else {
      text_ = "success with something else";
    }
  }
  void ErrorInternal(const std::string& code, const std::string& message,
                     const flutter::EncodableValue* details) override {
    text_ = "error " + code + ": " + message + (details == nullptr ? "" : " and details");
  }
  void NotImplementedInternal() override { text_ = "not implemented, in an envelope"; }

  std::string text_;
};

#endif  // TEST_SUPPORT_ANSWER_TEXT_H_
