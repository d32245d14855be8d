#include "host/viewer.h"

#include <exception>
#include <memory>
#include <optional>
#include <utility>
#include <variant>
#include <vector>

#include "flutter/method_call.h"
#include "flutter/method_result.h"
#include "flutter/standard_method_codec.h"

namespace host {

namespace {

using flutter::EncodableMap;
using flutter::EncodableValue;

constexpr char kChannel[] = "orbisk";
constexpr char kLeft[] = "an exception left the plug-in's handler: ";

// The model loader's log is one line per attempt; an error is one line.
std::string InOneLine(const std::string& text) {
  std::string line;
  for (const char c : text.substr(0, text.find_last_not_of('\n') + 1)) {
    if (c == '\n') {
      line += "; ";
    } else {
      line += c;
    }
  }
  return line;
}

// Takes one answer.
class Answer : public flutter::MethodResult<EncodableValue> {
 public:
  struct Failure {
    std::string code;
    std::string message;
  };

  std::optional<EncodableValue> value;
  std::optional<Failure> failure;

 protected:
  void SuccessInternal(const EncodableValue* result) override {
    value = result == nullptr ? EncodableValue() : *result;
  }
  void ErrorInternal(const std::string& code, const std::string& message, const EncodableValue*) override {
    failure = Failure{code, message};
  }
  void NotImplementedInternal() override {}
};

}  // namespace

CommandError::CommandError(const std::string& command, const std::string& code, const std::string& message)
    : std::runtime_error(command + " failed: " + (code.empty() ? "" : code + ": ") + InOneLine(message)),
      code_(code),
      message_(InOneLine(message)) {}

bool CommandError::left_by_exception() const { return message_.compare(0, sizeof(kLeft) - 1, kLeft) == 0; }

int64_t Viewer::CreateTexture(int width, int height) {
  const EncodableValue id = Invoke("createTexture", {{"width", int32_t{width}}, {"height", int32_t{height}}});
  const auto* const texture_id = std::get_if<int64_t>(&id);
  if (texture_id == nullptr) throw CommandError("createTexture", "", "the answer is no 64-bit integer");
  return *texture_id;
}

void Viewer::LoadModel(const std::string& path) { InvokeForTrue("loadModel", {{"modelPath", path}}); }

void Viewer::StartRendering() { InvokeForTrue("startRendering"); }

void Viewer::StopRendering() { InvokeForTrue("stopRendering"); }

void Viewer::Dispose() { InvokeForTrue("dispose"); }

void Viewer::SetCameraDistance(double distance) { InvokeForTrue("setCameraDistance", {{"distance", distance}}); }

void Viewer::SetModelScale(double scale) { InvokeForTrue("setModelScale", {{"scale", scale}}); }

void Viewer::SetBaseRotation(const Angles& base) {
  InvokeForTrue("setBaseRotation", {{"roll", base.roll}, {"pitch", base.pitch}, {"yaw", base.yaw}});
}

void Viewer::SetOrientation(const Orientation& orientation) {
  if (const auto* const q = std::get_if<Quaternion>(&orientation)) {
    InvokeForTrue("setQuaternion", {{"x", q->x}, {"y", q->y}, {"z", q->z}, {"w", q->w}});
  } else {
    const auto& angles = std::get<Angles>(orientation);
    InvokeForTrue("setRotation", {{"roll", angles.roll}, {"pitch", angles.pitch}, {"yaw", angles.yaw}});
  }
  orientation_latency_.Add(last_latency_);
}

EncodableValue Viewer::Invoke(const std::string& command, EncodableMap arguments) {
  const auto& codec = flutter::StandardMethodCodec::GetInstance();
  const std::unique_ptr<std::vector<uint8_t>> message = codec.EncodeMethodCall(flutter::MethodCall<EncodableValue>(
      command, arguments.empty() ? nullptr : std::make_unique<EncodableValue>(std::move(arguments))));

  ++commands_sent_;
  std::optional<std::vector<uint8_t>> reply;
  const auto delivered_at = std::chrono::steady_clock::now();
  try {
    reply = embedder_.Deliver(kChannel, *message);
  } catch (const std::exception& exception) {
    throw CommandError(command, "", std::string(kLeft) + exception.what());
  }
  last_latency_ = std::chrono::steady_clock::now() - delivered_at;

  if (!reply) throw CommandError(command, "", "the plug-in gave no answer");
  if (reply->empty()) throw CommandError(command, "", "the plug-in does not implement it");
  Answer answer;
  try {
    codec.DecodeAndProcessResponseEnvelope(reply->data(), reply->size(), &answer);
  } catch (const std::bad_variant_access&) {
    // Left without value and failure: an error envelope whose code or message is no string.
  }
  if (answer.failure) throw CommandError(command, answer.failure->code, answer.failure->message);
  if (!answer.value) throw CommandError(command, "", "the plug-in's answer cannot be decoded");
  return *answer.value;
}

void Viewer::InvokeForTrue(const std::string& command, EncodableMap arguments) {
  const EncodableValue answer = Invoke(command, std::move(arguments));
  const bool* const done = std::get_if<bool>(&answer);
  if (done == nullptr || !*done) throw CommandError(command, "", "the answer is not true");
}

}  // namespace host
