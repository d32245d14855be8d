#ifndef TEST_SUPPORT_PLUGIN_FIXTURE_H_
#define TEST_SUPPORT_PLUGIN_FIXTURE_H_

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "flutter/encodable_value.h"
#include "flutter/standard_method_codec.h"
#include "orbisk/orbisk_plugin.h"
#include "test/fakes/fake_embedder.h"
#include "test/support/answer_text.h"
#include "test/support/log_capture.h"

using flutter::EncodableList;
using flutter::EncodableMap;
using flutter::EncodableValue;

inline EncodableValue Map(EncodableMap map) { return EncodableValue(std::move(map)); }
inline EncodableValue Size(int32_t width, int32_t height) { return Map({{"width", width}, {"height", height}}); }
inline EncodableValue QuaternionArguments(double x, double y, double z, double w) {
  return Map({{"x", x}, {"y", y}, {"z", z}, {"w", w}});
}
inline EncodableValue AngleArguments(double roll, double pitch, double yaw) {
  return Map({{"roll", roll}, {"pitch", pitch}, {"yaw", yaw}});
}

inline const std::string kBar = "========================================";

/// What the channel writes of a message that dies unanswered.
inline const std::string kUnanswered = "Warning: Failed to respond to a message. This is a memory leak.\n";

inline std::string Times(int count, const std::string& text) {
  std::string all;
  for (int i = 0; i < count; ++i) all += text;
  return all;
}

/// Lines of the plug-in front, each with its tag and newline.
inline std::string OrbiskLines(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text += "[Orbisk] " + line + "\n";
  return text;
}

/// A plug-in, registered with a fake embedder, whose commands a test gives and whose log it reads.
///
/// Derived from by the fixtures of both test programs: the one that has the plug-in inside and the one that
/// loads the built library.
class CommandTest : public ::testing::Test {
 protected:
  // The registration function: that of the test program itself, or of the library it has loaded.
  explicit CommandTest(decltype(&OrbiskPluginRegisterWithRegistrar) register_plugin) {
    register_plugin(embedder_.registrar());
  }
  ~CommandTest() override {
    DestroyPlugin();
    EXPECT_THAT(embedder_.complaints(), ::testing::IsEmpty());
  }

  void DestroyPlugin() { embedder_.DestroyRegistrar(); }

  static fakes::Bytes Encode(const std::string& method, EncodableValue arguments) {
    const flutter::MethodCall<EncodableValue> call(method, std::make_unique<EncodableValue>(std::move(arguments)));
    return *flutter::StandardMethodCodec::GetInstance().EncodeMethodCall(call);
  }

  /// Gives a command and returns its answer (see AnswerText).
  std::string Call(const std::string& method, EncodableValue arguments = EncodableValue()) {
    return AnswerText::Of(embedder_.Deliver("orbisk", Encode(method, std::move(arguments))));
  }

  /// Creates a texture and returns its identifier, or -1.
  int64_t CreateTexture(int32_t width = 64, int32_t height = 48) {
    const size_t textures_before = embedder_.texture_ids().size();
    Call("createTexture", Size(width, height));
    return embedder_.texture_ids().size() == textures_before ? -1 : embedder_.texture_ids().back();
  }

  const FlutterDesktopPixelBuffer* Fetch(int64_t texture_id) { return embedder_.FetchFrame(texture_id, 0, 0); }

  /// Waits for `count` frames more than there were.
  [[nodiscard]] bool WaitForFrames(int64_t texture_id, int count) {
    return embedder_.WaitForMarks(texture_id, embedder_.texture(texture_id).marks + count);
  }

  LogCapture out_{stdout};
  LogCapture err_{stderr};
  fakes::FakeEmbedder embedder_{7};
};

#endif  // TEST_SUPPORT_PLUGIN_FIXTURE_H_
